// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitCtrlList.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Units.h"
#include "tests/support/FailingMemory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The names in a list that a builder has just filled, or emptied and refused to fill.
std::vector<std::wstring> Names(int done, const CUnitCtrlList& list) {
    EXPECT_EQ(done, list.GetNum() > 0);
    std::vector<std::wstring> names;
    for (const CUnitCtrl& unit : UnitsOf(list)) names.push_back(NameOf(unit));
    return names;
}

std::vector<CItemInfo> Items(const CItemInfoList& list) {
    std::vector<CItemInfo> items(static_cast<std::size_t>(list.GetNum()));
    for (std::size_t i = 0; i < items.size(); ++i) list.GetItem(static_cast<__int64>(i), &items[i]);
    return items;
}

TEST(UnitCtrlList, SingleUnitsOfADimensionComeInTableOrder) {
    CUnitCtrlList list;
    EXPECT_THAT(Names(list.MakeSingleUnitListByDimCode(Dim(0x06000000)), list),
                ElementsAre(L"%", L"dB", L"dB", L"oct", L"ppb", L"ppm", L"decade", L"octave"));
    EXPECT_THAT(Names(list.MakeSingleUnitListByUnitCode(Unit(0x02000005)), list),
                ElementsAre(L"Hz", L"kHz", L"rpm", L"mHz", L"MHz", L"GHz"));
    EXPECT_THAT(Names(list.MakeSingleUnitListByDimCode(Dim(0x19000000)), list), IsEmpty());
}

TEST(UnitCtrlList, CompoundsVaryOneMemberAndKeepTheRest) {
    constexpr auto ohm = CUnitCtrl::UNIT_CODE{0x0C000002}, henry = CUnitCtrl::UNIT_CODE{0x16000003};
    CUnitCtrlList list;
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnitCode(Unit(kVolt), ohm, 1, 1), list),
                ElementsAre(L"V/m\u03A9", L"V/\u03A9", L"V/k\u03A9", L"V/M\u03A9"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnitCode(henry, Unit(kSec), 0, 0), list),
                ElementsAre(L"\u03BCH・s", L"mH・s", L"H・s"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnitCode(henry, Unit(0x19000001), 1, 0), list), IsEmpty());

    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(Make({henry, 0x010}), 1), list),
                ElementsAre(L"\u03BCH#u2#n", L"mH#u2#n", L"H#u2#n"));
    EXPECT_TRUE(UnitsOf(list)[0].IsSingle());
    const CUnitCtrl unit = Make({0x08000001, 0x010}, {henry, 0x100}, {kVolt});
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(unit, 0), list),
                ElementsAre(L"cycle#u2#n/H・V", L"kcycle#u2#n/H・V"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(unit, 1), list),
                ElementsAre(L"cycle#u2#n/\u03BCH・V", L"cycle#u2#n/mH・V", L"cycle#u2#n/H・V"));

    const CUnitCtrl cycles = Single(0x08000002), perHenry = Make({henry, 0x100}, {kVolt});
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(cycles, perHenry, 0, 0), list),
                ElementsAre(L"cycle/H", L"kcycle/H"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(cycles, perHenry, 1, 1), list),
                ElementsAre(L"kcycle・\u03BCH", L"kcycle・mH", L"kcycle・H"));
}

TEST(UnitCtrlList, ItemsShowTheNamesAndLeadBackByIndex) {
    CUnitCtrlList list;
    EXPECT_EQ(list.Append(Single(kG)), 1);
    EXPECT_EQ(list.Append(Make({kAcc, 0x010}, {kHz, 0x100})), 1);
    CItemInfoList items;
    items.Append(99, L"left over");
    EXPECT_EQ(list.MakeItemInfoList(&items), 1);
    EXPECT_THAT(Items(items), ElementsAre(CItemInfo(0, L"g"), CItemInfo(1, L"(m/s#u2#n)#u2#n/Hz")));
    EXPECT_EQ(list.MakeItemInfoList(nullptr), 0);
    CUnitCtrl unit;
    for (const __int64 index : {-1, 2}) EXPECT_EQ(list.GetUnit(index, &unit), 0);
    EXPECT_EQ(list.GetUnit(0, nullptr), 0);
    EXPECT_EQ(InfoOf(unit), Info());
    EXPECT_EQ(list.GetUnit(1, &unit), 1);
    EXPECT_EQ(NameOf(unit), L"(m/s#u2#n)#u2#n/Hz");
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
