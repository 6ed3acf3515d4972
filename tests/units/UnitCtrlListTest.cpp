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
    EXPECT_THAT(Names(list.MakeSingleUnitListByDimCode(DIM_RATIO), list),
                ElementsAre(L"%", L"dB", L"dB", L"oct", L"ppb", L"ppm", L"decade", L"octave"));
    EXPECT_THAT(Names(list.MakeSingleUnitListByUnitCode(kMegahertz), list),
                ElementsAre(L"Hz", L"kHz", L"rpm", L"mHz", L"MHz", L"GHz"));
    EXPECT_THAT(Names(list.MakeSingleUnitListByDimCode(kUnknownDimension), list), IsEmpty());
}

TEST(UnitCtrlList, CompoundsVaryOneMemberAndKeepTheRest) {
    CUnitCtrlList list;
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnitCode(kVolt, kOhm, 1, 1), list),
                ElementsAre(L"V/m\u03A9", L"V/\u03A9", L"V/k\u03A9", L"V/M\u03A9"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnitCode(kHenry, kSecond, 0, 0), list),
                ElementsAre(L"\u03BCH・s", L"mH・s", L"H・s"));
    EXPECT_THAT(
        Names(list.MakeConexusUnitListByUnitCode(kHenry, CUnitCtrl::UNIT_CODE{kUnknownDimension | 1}, 1, 0),
              list),
        IsEmpty());

    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(Make({kHenry, kSquared}), 1), list),
                ElementsAre(L"\u03BCH#u2#n", L"mH#u2#n", L"H#u2#n"));
    EXPECT_TRUE(UnitsOf(list)[0].IsSingle());
    const CUnitCtrl unit = Make({kCycle, kSquared}, {kHenry, kDivide}, {kVolt});
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(unit, 0), list),
                ElementsAre(L"cycle#u2#n/H・V", L"kcycle#u2#n/H・V"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(unit, 1), list),
                ElementsAre(L"cycle#u2#n/\u03BCH・V", L"cycle#u2#n/mH・V", L"cycle#u2#n/H・V"));

    const CUnitCtrl cycles = Single(kKilocycle), perHenry = Make({kHenry, kDivide}, {kVolt});
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(cycles, perHenry, 0, 0), list),
                ElementsAre(L"cycle/H", L"kcycle/H"));
    EXPECT_THAT(Names(list.MakeConexusUnitListByUnit(cycles, perHenry, 1, 1), list),
                ElementsAre(L"kcycle・\u03BCH", L"kcycle・mH", L"kcycle・H"));
}

TEST(UnitCtrlList, ItemsShowTheNamesAndLeadBackByIndex) {
    CUnitCtrlList list;
    EXPECT_EQ(list.Append(Single(kG)), 1);
    EXPECT_EQ(list.Append(Make({kAcc, kSquared}, {kHz, kDivide})), 1);
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
    ASSERT_EQ(all.GetNum(), std::ssize(kDimensions));
    for (std::size_t i = 0; i < kDimensions.size(); ++i)
        EXPECT_EQ(Items(all)[i].GetCode(), static_cast<std::int32_t>(kDimensions[i]));
    EXPECT_EQ(Items(all)[13], CItemInfo(DIM_RATIO, L"比率"));
    all.Remove(13);
    EXPECT_EQ(Items(control), Items(all));
    EXPECT_EQ(Items(measurement), Items(all));
    EXPECT_EQ(CUnitCtrl::GetDimList(0, nullptr), 0);
}

TEST(SelectionLists, WithoutMemoryTheyFail) {
    CUnitCtrlList units;
    CItemInfoList items;
    const auto nothing = [] {};
    EXPECT_GT(Starve([&] { return units.MakeSingleUnitListByDimCode(DIM_ACCELERATION); }, nothing), 0);
    EXPECT_GT(Starve([&] { return units.MakeItemInfoList(&items); }, nothing), 0);
    EXPECT_EQ(items.GetNum(), 8);
    EXPECT_GT(Starve([&] { return CUnitCtrl::GetDimList(0, &items); }, nothing), 0);
    EXPECT_GT(Starve([&] { return CUnitCtrl::GetUnitListByDimCode(DIM_ACCELERATION, &items); }, nothing), 0);
    EXPECT_EQ(items.GetNum(), 8);
}

TEST(SelectionLists, UnitsOfADimensionAreListedByCode) {
    CItemInfoList list;
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(DIM_TEMPERATURE, &list), 1);
    EXPECT_THAT(Items(list),
                ElementsAre(CItemInfo(kKelvin, L"\uFF9FK"), CItemInfo(kDegreeCelsius, L"\uFF9FC"),
                            CItemInfo(kDegreeFahrenheit, L"\uFF9FF")));
    EXPECT_EQ(CUnitCtrl::GetUnitListByUnitCode(kGauss, &list), 1);
    EXPECT_THAT(Items(list), ElementsAre(CItemInfo(kTesla, L"T"), CItemInfo(kGauss, L"gauss"),
                                         CItemInfo(kGaussSymbol, L"G")));
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(kUnknownDimension, &list), 0);
    EXPECT_EQ(list.GetNum(), 0);
    EXPECT_EQ(CUnitCtrl::GetUnitListByDimCode(DIM_TEMPERATURE, nullptr), 0);
}

}  // namespace
