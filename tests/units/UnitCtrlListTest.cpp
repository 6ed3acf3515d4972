// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Units.h"
#include "tests/support/FailingMemory.h"

namespace {

using testing::ElementsAre;

std::vector<std::wstring> Names(const CUnitCtrlList& list) {
    std::vector<std::wstring> names;
    for (const CUnitCtrl& unit : UnitsOf(list)) names.push_back(NameOf(unit));
    return names;
}

std::vector<CItemInfo> Items(const CItemInfoList& list) {
    std::vector<CItemInfo> items(static_cast<std::size_t>(list.GetNum()));
    for (std::size_t i = 0; i < items.size(); ++i) list.GetItem(static_cast<__int64>(i), &items[i]);
    return items;
}

TEST(UnitCtrlList, KeepsCopiesInOrder) {
    CUnitCtrlList list;
    CUnitCtrl unit = Single(0x00010007);
    EXPECT_EQ(list.Append(unit), 1);
    EXPECT_EQ(list.Append(Single(0x02000001)), 1);
    CUnitCtrlList copy;
    copy = list;
    list.Init();
    EXPECT_EQ(list.GetNum(), 0);
    EXPECT_THAT(Names(copy), ElementsAre(L"g", L"Hz"));
    for (const __int64 index : {-1, 2}) EXPECT_EQ(copy.GetUnit(index, &unit), 0);
    EXPECT_EQ(copy.GetUnit(0, nullptr), 0);
    EXPECT_EQ(NameOf(unit), L"g");
}

TEST(UnitCtrlList, SingleUnitsOfADimensionComeInTableOrder) {
    CUnitCtrlList list;
    EXPECT_EQ(list.MakeSingleUnitListByDimCode(Dim(0x06000000)), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"%", L"dB", L"dB", L"oct", L"ppb", L"ppm", L"decade", L"octave"));
    EXPECT_EQ(list.MakeSingleUnitListByUnitCode(Unit(0x02000005)), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"Hz", L"kHz", L"rpm", L"mHz", L"MHz", L"GHz"));
    EXPECT_EQ(list.MakeSingleUnitListByDimCode(Dim(0x19000000)), 0);
    EXPECT_EQ(list.GetNum(), 0);
}

TEST(UnitCtrlList, CompoundsOfTwoCodesVaryOneOfThem) {
    CUnitCtrlList list;
    EXPECT_EQ(list.MakeConexusUnitListByUnitCode(Unit(0x04000002), Unit(0x0C000002), 1, 1), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"V/m\u03A9", L"V/\u03A9", L"V/k\u03A9", L"V/M\u03A9"));
    EXPECT_EQ(list.MakeConexusUnitListByUnitCode(Unit(0x16000001), Unit(0x01000003), 0, 0), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"\u03BCH・s", L"mH・s", L"H・s"));
    EXPECT_EQ(list.MakeConexusUnitListByUnitCode(Unit(0x16000001), Unit(0x19000001), 1, 0), 0);
    EXPECT_EQ(list.GetNum(), 0);
}

TEST(UnitCtrlList, CompoundsOfADescriptorKeepAllButTheVariedMember) {
    CUnitCtrlList list;
    EXPECT_EQ(list.MakeConexusUnitListByUnit(Make({0x16000002, 0x010}), 1), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"\u03BCH#u2#n", L"mH#u2#n", L"H#u2#n"));
    EXPECT_TRUE(UnitsOf(list)[0].IsSingle());

    const CUnitCtrl unit = Make({0x08000001, 0x010}, {0x16000003, 0x100}, {0x04000002});
    EXPECT_EQ(list.MakeConexusUnitListByUnit(unit, 0), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"cycle#u2#n/H・V", L"kcycle#u2#n/H・V"));
    EXPECT_EQ(list.MakeConexusUnitListByUnit(unit, 1), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"cycle#u2#n/\u03BCH・V", L"cycle#u2#n/mH・V", L"cycle#u2#n/H・V"));
}

TEST(UnitCtrlList, CompoundsOfTwoDescriptorsUseTheirFirstMembers) {
    CUnitCtrlList list;
    const CUnitCtrl cycles = Make({0x08000002});
    const CUnitCtrl perHenry = Make({0x16000003, 0x100}, {0x04000002});
    EXPECT_EQ(list.MakeConexusUnitListByUnit(cycles, perHenry, 0, 0), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"cycle/H", L"kcycle/H"));
    EXPECT_EQ(list.MakeConexusUnitListByUnit(cycles, perHenry, 1, 1), 1);
    EXPECT_THAT(Names(list), ElementsAre(L"kcycle・\u03BCH", L"kcycle・mH", L"kcycle・H"));
}

TEST(UnitCtrlList, ItemsShowTheNamesAndLeadBackByIndex) {
    CUnitCtrlList list;
    list.Append(Single(0x00010007));
    list.Append(Make({0x00010004, 0x010}, {0x02000001, 0x100}));
    CItemInfoList items;
    items.Append(99, L"left over");
    EXPECT_EQ(list.MakeItemInfoList(&items), 1);
    EXPECT_THAT(Items(items), ElementsAre(CItemInfo(0, L"g"), CItemInfo(1, L"(m/s#u2#n)#u2#n/Hz")));
    EXPECT_EQ(list.MakeItemInfoList(nullptr), 0);
}

TEST(SelectionLists, DimensionsAreListedByTheirUse) {
    CItemInfoList all, control, measurement;
    EXPECT_EQ(CUnitCtrl::GetDimList(0, &all), 1);
    EXPECT_EQ(CUnitCtrl::GetControlDimList(&control), 1);
    EXPECT_EQ(CUnitCtrl::GetMeasurementDimList(&measurement), 1);
    std::vector<std::uint32_t> codes;
    for (const CItemInfo& item : Items(all)) codes.push_back(static_cast<std::uint32_t>(item.GetCode()));
    EXPECT_EQ(codes, kDimensions);
    EXPECT_EQ(Items(all)[13], CItemInfo(0x06000000, L"比率"));
    all.Remove(13);
    EXPECT_EQ(Items(control), Items(all));
    EXPECT_EQ(Items(measurement), Items(all));
    EXPECT_EQ(CUnitCtrl::GetDimList(0, nullptr), 0);
}

TEST(SelectionLists, WithoutMemoryTheyFail) {
    CUnitCtrlList units;
    CItemInfoList items;
    const auto nothing = [] {};
    EXPECT_GT(Starve([&] { return units.MakeSingleUnitListByDimCode(Dim(0x00010000)); }, nothing), 0);
    EXPECT_GT(Starve([&] { return units.MakeItemInfoList(&items); }, nothing), 0);
    EXPECT_EQ(items.GetNum(), 8);
    EXPECT_GT(Starve([&] { return CUnitCtrl::GetDimList(0, &items); }, nothing), 0);
    EXPECT_GT(Starve([&] { return CUnitCtrl::GetUnitListByDimCode(Dim(0x00010000), &items); }, nothing), 0);
    EXPECT_EQ(items.GetNum(), 8);
}

TEST(SelectionLists, UnitsOfADimensionAreListedByCode) {
    CItemInfoList list;
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(Dim(0x05000000), &list), 1);
    EXPECT_THAT(Items(list), ElementsAre(CItemInfo(0x05000001, L"\uFF9FK"), CItemInfo(0x05000002, L"\uFF9FC"),
                                         CItemInfo(0x05000003, L"\uFF9FF")));
    EXPECT_EQ(CUnitCtrl::GetUnitListByUnitCode(Unit(0x18000002), &list), 1);
    EXPECT_THAT(Items(list), ElementsAre(CItemInfo(0x18000001, L"T"), CItemInfo(0x18000002, L"gauss"),
                                         CItemInfo(0x18000003, L"G")));
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(Dim(0x19000000), &list), 0);
    EXPECT_EQ(list.GetNum(), 0);
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(Dim(0x05000000), nullptr), 0);
}

}  // namespace
