// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphParam.h>

#include <iterator>
#include <new>
#include <string>
#include <utility>

#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace {

struct DisplayTypeRow {
    CGraphParam::GRAPHDISP_TYPE type;
    kvx::TextId name;
};

// clang-format off
constexpr DisplayTypeRow kDisplayTypes[] = {
    {CGraphParam::GRAPHDISP_2D,        kvx::kTextGraph2D},
    {CGraphParam::GRAPHDISP_WATERFALL, kvx::kTextGraphWaterfall},
    {CGraphParam::GRAPHDISP_COLORMAP,  kvx::kTextGraphColorMap},
};
// clang-format on

bool IsKnown(CGraphParam::GRAPH_KIND kind) {
    return kind >= CGraphParam::GRAPH_VALUE && kind <= CGraphParam::GRAPH_MARKS;
}

bool IsKnown(CGraphParam::DATA_KIND kind) {
    using enum CGraphParam::DATA_KIND;
    if (kind >= DATA_WAVEFORM && kind <= DATA_DISTRIBUTION) return true;
    return kind == DATA_LEVEL_COURSE || kind == DATA_SWEEP || kind == DATA_SWEEP_TRANSFER ||
           kind == DATA_COUNT_COURSE;
}

bool IsInside(__int64 index, __int64 count) {
    return index >= 0 && index < count;
}

}  // namespace

kvx::SliceTexts::~SliceTexts() = default;

CGraphParam::CGraphParam() = default;
CGraphParam::~CGraphParam() = default;

CGraphParam::CGraphParam(const CGraphParam& other) : CGraphParam() {
    *this = other;
}

CGraphParam& CGraphParam::operator=(const CGraphParam& other) try {
    if (this == &other) return *this;
    Clear();
    m_cells = other.m_cells;
    m_lines = other.m_lines;
    m_x = other.m_x;
    m_units = other.m_units;
    m_series = other.m_series;
    m_z = other.m_z;
    m_frame = other.m_frame;
    if (m_x.values.GetNum() != other.m_x.values.GetNum()) Clear();
    return *this;
} catch (const std::bad_alloc&) {
    Clear();
    return *this;
}

CGraphParam::CGraphParam(CGraphParam&& other) noexcept : CGraphParam() {
    *this = std::move(other);
}

CGraphParam& CGraphParam::operator=(CGraphParam&& other) noexcept {
    if (this == &other) return *this;
    m_cells = std::exchange(other.m_cells, {});
    m_lines = std::exchange(other.m_lines, {});
    m_x = std::exchange(other.m_x, {});
    m_units = std::exchange(other.m_units, {});
    m_series = std::exchange(other.m_series, {});
    m_z = std::exchange(other.m_z, {});
    m_frame = std::exchange(other.m_frame, {});
    return *this;
}

void CGraphParam::Clear() {
    *this = CGraphParam();
}

BOOL CGraphParam::Check() const {
    if (m_cells.rowNum <= 0 || m_cells.colNum <= 0) return 0;
    if (!IsKnown(m_cells.graphKind) || !IsKnown(m_cells.dataKind)) return 0;
    if (std::ssize(m_cells.rowNames) != m_cells.rowNum) return 0;
    if (std::ssize(m_cells.colNames) != m_cells.colNum) return 0;
    if (m_lines.GetNum() < 1) return 0;
    if (m_x.num < 1) return 0;
    if (m_x.interval == 0.0 && m_x.values.GetNum() < 1) return 0;
    if (!m_units.y2Enable && m_series.y2Num != 0) return 0;
    if (m_series.num == 0) return 0;
    return LclCheckSelection() && LclCheckDepth();
}

bool CGraphParam::LclCheckSelection() const {
    return m_series.selected == 0 ||
           (IsInside(m_series.selectedRow, m_cells.rowNum) && IsInside(m_series.selectedCol, m_cells.colNum));
}

bool CGraphParam::LclCheckDepth() const {
    switch (m_z.dispType) {
        case GRAPHDISP_2D:
            return true;
        case GRAPHDISP_COLORMAP:
            if (m_z.waterfallOption != WATERFALL_LINES) return false;
            [[fallthrough]];
        case GRAPHDISP_WATERFALL:
            return m_z.num >= 1 && (m_z.interval != 0.0 || LclHasSource());
    }
    return false;
}

bool CGraphParam::LclHasSource() const {
    switch (m_z.source) {
        case Z_INTEGERS:
            return static_cast<bool>(m_z.integers);
        case Z_VALUES:
            return static_cast<bool>(m_z.values);
        case Z_TEXTS:
            return static_cast<bool>(m_z.texts);
    }
    return false;
}

BOOL CGraphParam::GetGraphDispTypeString(GRAPHDISP_TYPE type, CString* text) {
    if (text == nullptr) return 0;
    for (const DisplayTypeRow& row : kDisplayTypes) {
        if (row.type != type) continue;
        *text = kvx::ResourceText(row.name);
        return 1;
    }
    return 0;
}

BOOL CGraphParam::GetGraphDispTypeItemInfoList(CItemInfoList* list, std::int32_t enabledMask) {
    if (list == nullptr) return 0;
    list->Init();
    for (const DisplayTypeRow& row : kDisplayTypes) {
        const auto code = static_cast<std::int32_t>(row.type);
        if (!list->AppendResource(code, row.name, enabledMask & code)) return 0;
    }
    return 1;
}

double CGraphParam::GetXValue(__int64 index) const {
    if (m_x.interval == 0.0) return m_x.values[index];
    return m_x.start + (static_cast<double>(index) + static_cast<double>(m_x.offset)) * m_x.interval;
}

BOOL CGraphParam::GetZDataString(__int64 index, CString* text) const {
    if (m_z.dispType != GRAPHDISP_WATERFALL && m_z.dispType != GRAPHDISP_COLORMAP) return 0;
    if (text == nullptr || !IsInside(index, m_z.num)) return 0;
    CString value;
    if (!LclGetSliceValue(index, &value)) return 0;
    if (!kvx::PlainUnitName(m_z.unit).empty()) {
        CString unit;
        m_z.unit.GetUnitName(&unit);
        value += L' ' + unit;
    }
    *text = value;
    return 1;
}

bool CGraphParam::LclGetSliceValue(__int64 index, CString* text) const {
    const auto show = [&](double value) {
        const CValConv converter(m_z.unit, CValConv::SUFFIX_NONE);
        return converter.ConvTempDataToString(value, text, nullptr, nullptr) != 0;
    };
    if (m_z.interval != 0.0) return show(m_z.start + static_cast<double>(index) * m_z.interval);
    if (!LclHasSource()) return false;
    switch (m_z.source) {
        case Z_INTEGERS:
            if (!IsInside(index, m_z.integers->GetNum())) return false;
            *text = std::to_wstring(std::as_const(*m_z.integers)[index]);
            return true;
        case Z_VALUES:
            return IsInside(index, m_z.values->GetNum()) && show(std::as_const(*m_z.values)[index]);
        case Z_TEXTS:
            *text = m_z.texts->GetText(index);
            return true;
    }
    return false;
}
