// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphParam.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "tests/support/FailingMemory.h"

namespace {

using Param = CGraphParam;
using ::testing::ElementsAre;

/// Slices named A, B and so on.
class Letters : public kvx::SliceTexts {
public:
    CString GetText(__int64 index) const override { return CString(1, static_cast<wchar_t>(L'A' + index)); }
    std::unique_ptr<SliceTexts> Clone() const override {
        return std::unique_ptr<SliceTexts>(new (std::nothrow) Letters(*this));
    }
};

/// A valid 2D graph of two channels against one reference.
Param Valid() {
    Param param;
    param.m_cells.rowNum = 2;
    param.m_cells.colNum = 1;
    param.m_cells.rowNames = {L"top of the fixture", L"foot"};
    param.m_cells.colNames = {L"table"};
    param.m_lines.CreateInfo(2);
    param.m_x.num = 3;
    param.m_x.interval = 0.5;
    param.m_x.start = 10.0;
    param.m_x.offset = -2;
    param.m_series.num = 2;
    return param;
}

/// The same as a waterfall of two slices with all sources.
Param Waterfall() {
    Param param = Valid();
    param.m_z.dispType = Param::GRAPHDISP_WATERFALL;
    param.m_z.num = 2;
    const std::int32_t integers[] = {7, -8, 9};
    param.m_z.integers = std::make_unique<CDataArrayLong>(3, integers);
    const double values[] = {0.25, kvx::kNoValue<double>};
    param.m_z.values = std::make_unique<CDataArrayDouble>(2, values);
    param.m_z.texts = std::make_unique<Letters>();
    return param;
}

TEST(GraphParam, IsValidWhenItsFieldsAreCompleteAndAgree) {
    const struct {
        std::function<void(Param&)> change;
        BOOL expected;
    } cases[] = {
        {[](Param&) {}, 1},
        {[](Param& p) { p.Clear(); }, 0},
        {[](Param& p) { p.m_cells.rowNum = 0, p.m_cells.rowNames.clear(); }, 0},
        {[](Param& p) { p.m_cells.colNum = -1; }, 0},
        {[](Param& p) { p.m_cells.rowNum = INT64_MAX; }, 0},
        {[](Param& p) { p.m_cells.rowNames.pop_back(); }, 0},
        {[](Param& p) { p.m_cells.colNames.emplace_back(); }, 0},
        {[](Param& p) { p.m_lines.ClearAll(); }, 0},
        {[](Param& p) { p.m_x.num = 0; }, 0},
        {[](Param& p) { p.m_x.interval = 0; }, 0},
        {[](Param& p) { p.m_x.interval = 0.0, p.m_x.values.Append(1.0); }, 1},
        {[](Param& p) { p.m_series.num = 0; }, 0},
        {[](Param& p) { p.m_series.y2Num = 1; }, 0},
        {[](Param& p) { p.m_series.y2Num = p.m_units.y2Enable = 1; }, 1},
        {[](Param& p) { p.m_series.selectedRow = 2; }, 1},
        {[](Param& p) { p.m_series.selected = 1, p.m_series.selectedRow = 1; }, 1},
        {[](Param& p) { p.m_series.selected = 1, p.m_series.selectedRow = 2; }, 0},
        {[](Param& p) { p.m_series.selected = 1, p.m_series.selectedCol = -1; }, 0},
        {[](Param& p) { p.m_z.dispType = static_cast<Param::GRAPHDISP_TYPE>(3); }, 0},
        {[](Param& p) { p = Waterfall(); }, 1},
        {[](Param& p) { p = Waterfall(), p.m_z.num = 0; }, 0},
        {[](Param& p) { p = Waterfall(), p.m_z.integers = nullptr; }, 0},
        {[](Param& p) { p = Waterfall(), p.m_z.integers = nullptr, p.m_z.interval = 1.0; }, 1},
        {[](Param& p) { p = Waterfall(), p.m_z.integers = nullptr, p.m_z.source = Param::Z_VALUES; }, 1},
        {[](Param& p) { p = Waterfall(), p.m_z.values = nullptr, p.m_z.source = Param::Z_VALUES; }, 0},
        {[](Param& p) { p = Waterfall(), p.m_z.texts = nullptr, p.m_z.source = Param::Z_TEXTS; }, 0},
        {[](Param& p) { p = Waterfall(), p.m_z.source = static_cast<Param::Z_SOURCE>(4); }, 0},
        {[](Param& p) { p = Waterfall(), p.m_z.waterfallOption = Param::WATERFALL_FILLED; }, 1},
        {[](Param& p) { p = Waterfall(), p.m_z.dispType = Param::GRAPHDISP_COLORMAP; }, 1},
        {[](Param& p) {
             p = Waterfall(), p.m_z.dispType = Param::GRAPHDISP_COLORMAP;
             p.m_z.waterfallOption = Param::WATERFALL_FILLED;
         },
         0},
    };
    for (const auto& [change, expected] : cases) {
        Param param = Valid();
        change(param);
        EXPECT_EQ(param.Check(), expected) << &change - &cases[0].change;
    }
}

TEST(GraphParam, KnowsThirteenGraphKindsAndFourteenDataKinds) {
    Param param = Valid();
    std::vector<std::uint32_t> graphKinds, dataKinds;
    for (std::uint32_t kind = 0; kind < 200; ++kind) {
        param.m_cells.graphKind = static_cast<Param::GRAPH_KIND>(kind);
        if (param.Check()) graphKinds.push_back(kind);
        param.m_cells.graphKind = Param::GRAPH_VALUE;
        param.m_cells.dataKind = static_cast<Param::DATA_KIND>(kind);
        if (param.Check()) dataKinds.push_back(kind);
        param.m_cells.dataKind = Param::DATA_PSD;
    }
    EXPECT_THAT(graphKinds, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13));
    EXPECT_THAT(dataKinds, ElementsAre(1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 101, 102, 105, 106));
}

CString SliceText(const Param& param, __int64 index) {
    CString text = L"unchanged";
    const BOOL succeeded = param.GetZDataString(index, &text);
    EXPECT_EQ(succeeded, text != L"unchanged");
    return text;
}

TEST(GraphParam, TellsTheSlicesApartByTheirSource) {
    Param param = Waterfall();
    EXPECT_EQ(SliceText(param, 1), L"-8");
    EXPECT_EQ(SliceText(param, 2), L"unchanged");  // there is a third integer, but no third slice
    EXPECT_EQ(SliceText(param, -1), L"unchanged");
    EXPECT_EQ(param.GetZDataString(0, nullptr), 0);
    param.m_z.unit = *kvx::ParseUnit(L"ms");
    EXPECT_EQ(SliceText(param, 0), L"7 ms");
    param.m_z.source = Param::Z_VALUES;
    EXPECT_EQ(SliceText(param, 0), L"250 ms");
    EXPECT_EQ(SliceText(param, 1), L"--- ms");
    param.m_z.num = 3;
    EXPECT_EQ(SliceText(param, 2), L"unchanged");
    param.m_z.source = Param::Z_TEXTS;
    EXPECT_EQ(SliceText(param, 2), L"C ms");
    param.m_z.interval = 0.5;
    param.m_z.start = 2.0;
    EXPECT_EQ(SliceText(param, 2), L"3000 ms");
    param.m_z.unit = *kvx::ParseUnit(L"degC");
    param.m_z.start = 300.15;
    EXPECT_EQ(SliceText(param, 0).substr(0, 2), L"27");
    param.m_z.dispType = Param::GRAPHDISP_2D;
    EXPECT_EQ(SliceText(param, 0), L"unchanged");
}

TEST(GraphParam, KnowsXOfEverySample) {
    Param param = Valid();
    EXPECT_EQ(param.GetXValue(0), 9.0);
    EXPECT_EQ(param.GetXValue(2), 10.0);
    param.m_x.offset = INT64_MAX;
    EXPECT_GT(param.GetXValue(INT64_MAX), 9e18);
    param.m_x.interval = 0.0;
    param.m_x.values.Append(4.0);
    EXPECT_EQ(param.GetXValue(0), 4.0);
    EXPECT_EQ(param.GetXValue(1), 0.0);
}

TEST(GraphParam, IsCopiedWithItsOwnSourcesAndMovedWhole) {
    Param original = Waterfall();
    original.m_series.user[9] = 5;
    original.m_frame.digits.y2 = 4;
    original.m_units.y = *kvx::ParseUnit(L"g2/Hz");
    Param copy = original;
    (*original.m_z.integers)[0] = 70;
    original.m_lines.ClearAll();
    EXPECT_EQ(SliceText(copy, 0), L"7");
    EXPECT_EQ(copy.m_lines.GetNum(), 2);
    EXPECT_EQ(copy.m_series.user[9], 5);
    EXPECT_EQ(copy.m_frame.digits.y2, 4);
    EXPECT_EQ(kvx::PlainUnitName(copy.m_units.y), L"g2/Hz");
    const kvx::SliceTexts* texts = copy.m_z.texts.get();
    EXPECT_NE(texts, original.m_z.texts.get());

    const Param moved = std::move(copy);
    EXPECT_EQ(moved.m_z.texts.get(), texts);
    EXPECT_TRUE(moved.Check());
    EXPECT_FALSE(copy.m_z.texts || copy.m_cells.rowNum || copy.m_lines.GetNum());
}

TEST(GraphParam, IsClearedWhenThereIsNoMemoryForACopy) {
    const Param original = Waterfall();
    Param copy;
    const int failures = Starve([&] { return (copy = original).Check(); },
                                [&] { EXPECT_TRUE(copy.m_cells.rowNames.empty() && !copy.m_z.integers); });
    EXPECT_GT(failures, 5);
}

TEST(GraphParam, OffersTheDisplayTypesOfAMask) {
    CItemInfoList list;
    list.Append(99, L"old");
    ASSERT_EQ(Param::GetGraphDispTypeItemInfoList(&list, 5), 1);
    const std::pair<Param::GRAPHDISP_TYPE, const wchar_t*> expected[] = {
        {Param::GRAPHDISP_2D, L"2D グラフ"},
        {Param::GRAPHDISP_WATERFALL, L"ウォータフォール"},
        {Param::GRAPHDISP_COLORMAP, L"カラーマップ"}};
    ASSERT_EQ(list.GetNum(), 3);
    for (__int64 i = 0; i < 3; ++i) {
        const auto [type, text] = expected[i];
        CItemInfo item;
        list.GetItem(i, &item);
        EXPECT_EQ(item, CItemInfo(static_cast<std::int32_t>(type), text, type & 5));
        CString name;
        EXPECT_EQ(Param::GetGraphDispTypeString(type, &name), 1);
        EXPECT_EQ(name, text);
        EXPECT_EQ(Param::GetGraphDispTypeString(type, nullptr), 0);
    }
    CString name = L"unchanged";
    EXPECT_EQ(Param::GetGraphDispTypeString(static_cast<Param::GRAPHDISP_TYPE>(3), &name), 0);
    EXPECT_EQ(name, L"unchanged");
    EXPECT_EQ(Param::GetGraphDispTypeItemInfoList(nullptr, 7), 0);
}

}  // namespace
