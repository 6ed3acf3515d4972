// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphColorInfo.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include <KvxDevCommon01/graph/detail/DefaultColors.h>
#include <KvxDevCommon01/graph/detail/FieldStream.h>
#include <KvxDevCommon01/graph/detail/SettingsFile.h>
#include <KvxDevCommon01/platform/FileException.h>

using kvx::detail::ColorScheme;
using kvx::detail::DefaultColors;
using kvx::detail::FieldStream;

static_assert(offsetof(GRAPH_COLOR_LINE_TAG, Thick) == 4);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, Point) == 8);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, LineColor) == 16);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, Reserved1) == 20);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, MarkType) == 128);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, MarkColor) == 132);
static_assert(offsetof(GRAPH_COLOR_LINE_TAG, Reserved2) == 136);
static_assert(offsetof(GRAPH_COLOR_INFO_TAG, Reserved) == 32);
static_assert(offsetof(GRAPH_COLOR_INFO_TAG, Line) == 128);

namespace {

constexpr std::int32_t kVersion = 2;

constexpr kvx::detail::SettingsFileKind kFileKind = {
    CComHdr::EXT_INFO_GRAPH_COLOR, kvx::kTextLoadGraphColorFailed, kvx::kTextStoreGraphColorFailed};

// Before there were four groups of data lines: one group and the special lines.
constexpr std::size_t kGroups = CGraphColorInfo::DATALINE_PHASE / CGraphColorInfo::kGroupLines;
constexpr std::size_t kSpecialLines =
    std::size(GRAPH_COLOR_INFO_TAG{}.Line) - CGraphColorInfo::DATALINE_PHASE;
constexpr std::size_t kEarlyLines = CGraphColorInfo::kGroupLines + kSpecialLines;

void TransferLine(FieldStream& fields, GRAPH_COLOR_LINE_TAG& line) {
    fields(line.LineType);
    fields(line.Thick);
    fields(line.Point);
    fields(line.LineColor);
    fields(line.Reserved1);
    fields(line.MarkType);
    fields(line.MarkColor);
    fields(line.Reserved2);
}

void TransferSet(FieldStream& fields, GRAPH_COLOR_INFO_TAG& set) {
    fields(set.Compo);
    fields(set.Reserved);
    for (GRAPH_COLOR_LINE_TAG& line : set.Line) TransferLine(fields, line);
}

/// Gives the lines of an early set to all groups.
void SpreadLines(const GRAPH_COLOR_LINE_TAG (&lines)[kEarlyLines], GRAPH_COLOR_INFO_TAG& set) {
    GRAPH_COLOR_LINE_TAG* target = set.Line;
    for (std::size_t group = 0; group < kGroups; ++group)
        target = std::copy_n(lines, CGraphColorInfo::kGroupLines, target);
    std::copy_n(lines + CGraphColorInfo::kGroupLines, kSpecialLines, target);
}

void TransferSetOf16(FieldStream& fields, GRAPH_COLOR_INFO_TAG& set) {
    fields(set.Compo);
    fields(set.Reserved);
    GRAPH_COLOR_LINE_TAG lines[kEarlyLines];
    for (GRAPH_COLOR_LINE_TAG& line : lines) TransferLine(fields, line);
    SpreadLines(lines, set);
}

void TransferSet1st(FieldStream& fields, GRAPH_COLOR_INFO_TAG& set) {
    fields(set.Compo);
    GRAPH_COLOR_LINE_TAG lines[kEarlyLines] = {};
    for (GRAPH_COLOR_LINE_TAG& line : lines) {
        fields(line.LineType);
        fields(line.Thick);
        fields(line.LineColor);
        fields(line.MarkType);
        fields(line.MarkColor);
        line.Point = kvx::detail::kDefaultPoint;
    }
    SpreadLines(lines, set);
}

/// Loads both sets, or leaves them as they are.
template <typename Transfer>
void LoadSets(CArchive& archive, GRAPH_COLOR_INFO_TAG& display, GRAPH_COLOR_INFO_TAG& printer,
              Transfer transfer) {
    FieldStream fields(archive);
    GRAPH_COLOR_INFO_TAG sets[2] = {};
    for (GRAPH_COLOR_INFO_TAG& set : sets) transfer(fields, set);
    display = sets[0];
    printer = sets[1];
}

}  // namespace

CGraphColorInfo::CGraphColorInfo() {
    Clear();
}

void CGraphColorInfo::LclInit() {
    display_ = {};
    printer_ = {};
}

bool CGraphColorInfo::operator==(const CGraphColorInfo& other) const {
    const auto size = static_cast<std::size_t>(setSize_);
    return std::memcmp(&display_, &other.display_, size) == 0 &&
           std::memcmp(&printer_, &other.printer_, size) == 0;
}

void CGraphColorInfo::Clear() {
    LclInit();
    SetDefault1(OUTPUT_BOTH);
}

void CGraphColorInfo::SetDefault1(OUTPUT_KIND output) {
    LclSetDefault(DefaultColors(ColorScheme::onBlack), output);
}

void CGraphColorInfo::SetDefault2(OUTPUT_KIND output) {
    LclSetDefault(DefaultColors(ColorScheme::onWhite), output);
}

void CGraphColorInfo::LclSetDefault(const GRAPH_COLOR_INFO_TAG& display, OUTPUT_KIND output) {
    if (output != OUTPUT_PRINTER) display_ = display;
    if (output != OUTPUT_DISPLAY) printer_ = DefaultColors(ColorScheme::printer);
}

GRAPH_COLOR_INFO_TAG& CGraphColorInfo::LclSet(OUTPUT_KIND output) {
    return output == OUTPUT_DISPLAY ? display_ : printer_;
}

const GRAPH_COLOR_INFO_TAG& CGraphColorInfo::LclSet(OUTPUT_KIND output) const {
    return output == OUTPUT_DISPLAY ? display_ : printer_;
}

GRAPH_COLOR_LINE_TAG& CGraphColorInfo::LclLine(DATALINE_KIND line, OUTPUT_KIND output) {
    return LclSet(output).Line[std::min(line, DATALINE_LIMIT)];
}

const GRAPH_COLOR_LINE_TAG& CGraphColorInfo::LclLine(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclSet(output).Line[std::min(line, DATALINE_LIMIT)];
}

BOOL CGraphColorInfo::GetColorInfoT(GRAPH_COLOR_INFO_TAG* out, OUTPUT_KIND output) const {
    if (out == nullptr) return 0;
    *out = LclSet(output);
    return 1;
}

void CGraphColorInfo::SetColorInfoT(const GRAPH_COLOR_INFO_TAG& set, OUTPUT_KIND output) {
    LclSet(output) = set;
}

COLORREF CGraphColorInfo::GetCompoInfo(COMPO_KIND compo, OUTPUT_KIND output) const {
    return LclSet(output).Compo[std::min(compo, COMPO_LEGEND_TEXT)];
}

void CGraphColorInfo::SetCompoInfo(COMPO_KIND compo, COLORREF color, OUTPUT_KIND output) {
    LclSet(output).Compo[std::min(compo, COMPO_LEGEND_TEXT)] = color;
}

COLORREF CGraphColorInfo::GetLineColorRef(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclLine(line, output).LineColor;
}

void CGraphColorInfo::SetLineColorRef(DATALINE_KIND line, COLORREF color, OUTPUT_KIND output) {
    LclLine(line, output).LineColor = color;
}

CKvxGraphLineSample::ELineType CGraphColorInfo::GetLineType(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclLine(line, output).LineType;
}

void CGraphColorInfo::SetLineKind(DATALINE_KIND line, CKvxGraphLineSample::ELineType type,
                                  OUTPUT_KIND output) {
    LclLine(line, output).LineType = type;
}

COLORREF CGraphColorInfo::GetMarkColorRef(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclLine(line, output).MarkColor;
}

void CGraphColorInfo::SetMarkColorRef(DATALINE_KIND line, COLORREF color, OUTPUT_KIND output) {
    LclLine(line, output).MarkColor = color;
}

CKvxGraphLineSample::EMarkType CGraphColorInfo::GetMarkKind(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclLine(line, output).MarkType;
}

void CGraphColorInfo::SetMarkKind(DATALINE_KIND line, CKvxGraphLineSample::EMarkType type,
                                  OUTPUT_KIND output) {
    LclLine(line, output).MarkType = type;
}

GRAPH_COLOR_LINE_TAG::THICK_KIND CGraphColorInfo::GetThickKind(DATALINE_KIND line, OUTPUT_KIND output) const {
    return LclLine(line, output).Thick;
}

void CGraphColorInfo::SetThickKind(DATALINE_KIND line, GRAPH_COLOR_LINE_TAG::THICK_KIND thick,
                                   OUTPUT_KIND output) {
    LclLine(line, output).Thick = thick;
}

double CGraphColorInfo::GetPoint(DATALINE_KIND line) const {
    return LclLine(line, OUTPUT_PRINTER).Point;
}

void CGraphColorInfo::SetPoint(DATALINE_KIND line, double widthPoints) {
    LclLine(line, OUTPUT_PRINTER).Point = widthPoints;
}

void CGraphColorInfo::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        archive << kVersion;
        FieldStream fields(archive);
        TransferSet(fields, display_);
        TransferSet(fields, printer_);
        return;
    }
    LclInit();
    std::int32_t version = 0;
    archive >> version;
    if (version >= kVersion) {
        LoadSets(archive, display_, printer_, TransferSet);
    } else {
        SerializeLine16(archive);
    }
}

void CGraphColorInfo::SerializeLine16(CArchive& archive) {
    if (archive.IsStoring()) throw CFileException(CFileException::endOfFile);
    LclInit();
    LoadSets(archive, display_, printer_, TransferSetOf16);
}

void CGraphColorInfo::Serialize1st(CArchive& archive) {
    if (archive.IsStoring()) throw CFileException(CFileException::endOfFile);
    LclInit();
    LoadSets(archive, display_, printer_, TransferSet1st);
}

BOOL CGraphColorInfo::LoadGraphColorInfo(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, path, headerText, showMessage,
                                     {[this] { Clear(); }, [this](CArchive& a) { Serialize1st(a); },
                                      [this](CArchive& a) { Serialize(a); }});
}

BOOL CGraphColorInfo::LoadGraphColorInfo1st(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::LoadSettings(kFileKind, path, headerText, showMessage,
                                     {[this] { Clear(); }, [this](CArchive& a) { Serialize1st(a); }});
}

BOOL CGraphColorInfo::StoreGraphColorInfo(const CString& path, CString* headerText, int showMessage) {
    return kvx::detail::StoreSettings(kFileKind, path, headerText, showMessage,
                                      [this](CArchive& a) { Serialize(a); });
}
