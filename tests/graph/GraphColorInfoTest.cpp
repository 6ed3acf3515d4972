// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphColorInfo.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/files/FileSupport.h"
#include "tests/graph/GraphTesting.h"

namespace {

using Sample = CKvxGraphLineSample;
using Output = CGraphColorInfo::OUTPUT_KIND;
using Line = CGraphColorInfo::DATALINE_KIND;
using Compo = CGraphColorInfo::COMPO_KIND;
using Thick = GRAPH_COLOR_LINE_TAG::THICK_KIND;
constexpr Output kDisplay = CGraphColorInfo::OUTPUT_DISPLAY;
constexpr Output kPrinter = CGraphColorInfo::OUTPUT_PRINTER;

constexpr std::size_t kSetSize = 17'536;

/// A built-in scheme with its colours as 0xRRGGBB: components, half a group of lines, special lines.
struct Scheme {
    std::uint32_t compos[8], lines[8], specials[4];
    std::uint32_t firstTypes[8], secondType, specialTypes[4];
};
// clang-format off
constexpr Scheme kBlack = {
    {0xD4D0C8, 0x000000, 0xC0C0C0, 0x000000, 0x555555, 0xFF0000, 0xDFDFDF, 0x000000},
    {0x00FF00, 0xFF00FF, 0xFFFF00, 0x0000FF, 0x8000FF, 0xFF0080, 0x8080FF, 0xFF80C0},
    {0xECC613, 0xECC613, 0xFF0000, 0xFF0000}, {0, 0, 0, 0, 0, 0, 0, 0}, 2, {0, 1, 1, 1}};
constexpr Scheme kWhite = {
    {0xE9ECF5, 0xFFFFFF, 0xC0C0C0, 0x000000, 0xC0C0C0, 0xFF0000, 0xFFFFFF, 0x000000},
    {0x0000FF, 0xBE00BE, 0x00E372, 0x00BDE6, 0x808000, 0x0000A0, 0x1C1C1C, 0x008080},
    {0xFF8000, 0xFF8000, 0xFF0000, 0xFF0000}, {0, 0, 0, 0, 0, 0, 0, 0}, 2, {0, 1, 1, 1}};
constexpr Scheme kPaper = {
    {0xFFFFFF, 0xFFFFFF, 0x000000, 0x000000, 0x808080, 0xFF2000, 0xFFFFFF, 0x000000},
    {0x0000FF, 0xB700B7, 0x00E372, 0x00BDE6, 0x800080, 0x0000A0, 0x424242, 0xB70000},
    {0xFF8000, 0xFF8000, 0xFF0000, 0xFF0000}, {0, 1, 2, 3, 4, 0, 0, 0}, 0, {0, 2, 2, 2}};
// clang-format on
constexpr std::uint32_t kMarks[8] = {5, 10, 7, 8, 9, 6, 1, 11};

std::uint32_t Bgr(std::uint32_t rgb) {
    return (rgb & 0xFF) << 16 | (rgb & 0xFF00) | rgb >> 16;
}

/// A set of `groups` groups of sixteen lines and the special ones; without reserve and widths when `isFirst`.
std::string SetBytes(const Scheme& scheme, std::size_t groups = 4, bool isFirst = false) {
    ByteImage image;
    const auto line = [&](std::uint32_t type, std::uint32_t rgb, std::uint32_t mark) {
        image.Words({type, 0});
        if (!isFirst) image.Doubles({0.8});
        image.Words({Bgr(rgb)}).Zeros(isFirst ? 0 : 108).Words({mark, Bgr(rgb)}).Zeros(isFirst ? 0 : 120);
    };
    for (const std::uint32_t rgb : scheme.compos) image.Words({Bgr(rgb)});
    image.Zeros(isFirst ? 0 : 96);
    for (std::size_t i = 0; i < groups * 16; ++i) {
        const std::size_t row = i % 8;
        line(i % 16 < 8 ? scheme.firstTypes[row] : scheme.secondType, scheme.lines[row], kMarks[row]);
    }
    for (std::size_t i = 0; i < 4; ++i) line(scheme.specialTypes[i], scheme.specials[i], 11);
    return image.bytes;
}

std::string RecordBytes(const Scheme& display, const Scheme& printer) {
    return ByteImage().Words({2}).bytes + SetBytes(display) + SetBytes(printer);
}

/// The offsets at which `colors` is stored in another way than the defaults.
std::vector<std::size_t> Changes(CGraphColorInfo colors) {
    CGraphColorInfo defaults;
    const std::string before = Stored(defaults), after = Stored(colors);
    std::vector<std::size_t> offsets;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] != after[i]) offsets.push_back(i);
    }
    return offsets;
}

TEST(GraphColorInfo, StoresItsDefaultsAsARecordOfKnownBytes) {
    CGraphColorInfo colors;
    EXPECT_EQ(Stored(colors).size(), 35'076U);
    EXPECT_TRUE(Stored(colors) == RecordBytes(kBlack, kPaper));
    colors.SetDefault2(CGraphColorInfo::OUTPUT_BOTH);
    EXPECT_TRUE(Stored(colors) == RecordBytes(kWhite, kPaper));
    colors.Clear();
    EXPECT_TRUE(Stored(colors) == RecordBytes(kBlack, kPaper));
}

TEST(GraphColorInfo, ADefaultReplacesOnlyTheSetsItIsFor) {
    const GRAPH_COLOR_INFO_TAG zero = {};
    CGraphColorInfo zeros;
    zeros.SetColorInfoT(zero, kDisplay);
    zeros.SetColorInfoT(zero, kPrinter);
    const std::string none(kSetSize, '\0'), word = ByteImage().Words({2}).bytes;
    for (const std::uint32_t output : {0U, 1U, 2U, 7U}) {
        const std::string printer = output == 0 ? none : SetBytes(kPaper);
        CGraphColorInfo first = zeros, second = zeros;
        first.SetDefault1(Output{output});
        second.SetDefault2(Output{output});
        EXPECT_TRUE(Stored(first) == word + (output == 1 ? none : SetBytes(kBlack)) + printer) << output;
        EXPECT_TRUE(Stored(second) == word + (output == 1 ? none : SetBytes(kWhite)) + printer) << output;
    }
}

TEST(GraphColorInfo, EachSetterChangesItsOwnFieldAndItsGetterReadsIt) {
    constexpr std::size_t kPrinterSet = 4 + kSetSize, kLine = 128 + 17 * 256;
    constexpr Line kLine17{17};
    const struct {
        std::function<void(CGraphColorInfo&)> set;
        std::function<std::uint32_t(const CGraphColorInfo&)> get;  // gives 5 after `set`
        std::size_t offset;
    } cases[] = {
        // clang-format off
        {[](auto& c) { c.SetCompoInfo(Compo{6}, 5, kDisplay); }, [](auto& c) { return c.GetCompoInfo(Compo{6}, kDisplay); }, 4 + 6 * 4},
        {[](auto& c) { c.SetCompoInfo(Compo{7}, 5, kPrinter); }, [](auto& c) { return c.GetCompoInfo(Compo{8}, kPrinter); }, kPrinterSet + 7 * 4},
        {[](auto& c) { c.SetCompoInfo(Compo{9}, 5, kDisplay); }, [](auto& c) { return c.GetCompoInfo(Compo{7}, kDisplay); }, 4 + 7 * 4},
        {[](auto& c) { c.SetLineKind(kLine17, Sample::ELineType{5}, kDisplay); }, [](auto& c) { return std::uint32_t(c.GetLineType(kLine17, kDisplay)); }, 4 + kLine},
        {[](auto& c) { c.SetThickKind(kLine17, Thick{5}, kPrinter); }, [](auto& c) { return std::uint32_t(c.GetThickKind(kLine17, kPrinter)); }, kPrinterSet + kLine + 4},
        {[](auto& c) { c.SetPoint(Line{3}, 5.0); }, [](auto& c) { return std::uint32_t(c.GetPoint(Line{3})); }, kPrinterSet + 128 + 3 * 256 + 8},
        {[](auto& c) { c.SetLineColorRef(kLine17, 5, Output{5}); }, [](auto& c) { return c.GetLineColorRef(kLine17, kPrinter); }, kPrinterSet + kLine + 16},
        {[](auto& c) { c.SetMarkKind(kLine17, Sample::EMarkType{5}, kDisplay); }, [](auto& c) { return std::uint32_t(c.GetMarkKind(kLine17, kDisplay)); }, 4 + kLine + 128},
        {[](auto& c) { c.SetMarkColorRef(Line{67}, 5, kDisplay); }, [](auto& c) { return c.GetMarkColorRef(Line{67}, kDisplay); }, 4 + 128 + 67 * 256 + 132},
        // clang-format on
    };
    for (const auto& [set, get, offset] : cases) {
        CGraphColorInfo colors;
        EXPECT_NE(get(colors), 5U) << offset;
        set(colors);
        EXPECT_EQ(get(colors), 5U) << offset;
        const std::vector<std::size_t> changes = Changes(colors);
        ASSERT_FALSE(changes.empty()) << offset;
        EXPECT_GE(changes.front(), offset);
        EXPECT_LT(changes.back(), offset + 8);
        EXPECT_NE(colors, CGraphColorInfo());
    }
}

TEST(GraphColorInfo, TakesTheWidthOfALineFromThePrintersSet) {
    CGraphColorInfo colors;
    GRAPH_COLOR_INFO_TAG display;
    ASSERT_EQ(colors.GetColorInfoT(&display, kDisplay), 1);
    display.Line[3].Point = 9.0;
    colors.SetColorInfoT(display, kDisplay);
    EXPECT_EQ(colors.GetPoint(Line{3}), 0.8);
    EXPECT_EQ(colors.GetColorInfoT(nullptr, kDisplay), 0);
}

TEST(GraphColorInfo, GivesTheLinesOfEarlyRecordsToAllGroups) {
    const std::string lines16 = SetBytes(kWhite, 1) + SetBytes(kPaper, 1);
    const struct {
        std::string bytes;
        void (CGraphColorInfo::*load)(CArchive&);
    } cases[] = {
        {ByteImage().Words({0}).bytes + lines16, &CGraphColorInfo::Serialize},
        {ByteImage().Words({1}).bytes + lines16, &CGraphColorInfo::Serialize},
        {lines16, &CGraphColorInfo::SerializeLine16},
        {SetBytes(kWhite, 1, true) + SetBytes(kPaper, 1, true), &CGraphColorInfo::Serialize1st},
        {RecordBytes(kWhite, kPaper), &CGraphColorInfo::Serialize},
        {ByteImage().Words({3}).bytes + RecordBytes(kWhite, kPaper).substr(4), &CGraphColorInfo::Serialize},
    };
    EXPECT_EQ(lines16.size(), 10'496U);
    EXPECT_EQ(cases[3].bytes.size(), 864U);
    for (const auto& [bytes, load] : cases) {
        CGraphColorInfo colors;
        const auto loading = [&colors, how = load](CArchive& archive) { (colors.*how)(archive); };
        EXPECT_EQ(CauseOfLoading(bytes, loading), CFileException::none) << bytes.size();
        EXPECT_TRUE(Stored(colors) == RecordBytes(kWhite, kPaper)) << bytes.size();

        for (std::size_t size = 0; size < bytes.size(); size += size < 8 ? 1 : bytes.size() / 7) {
            EXPECT_EQ(CauseOfLoading(bytes.substr(0, size), loading), CFileException::endOfFile) << size;
            EXPECT_TRUE(Stored(colors) == ByteImage().Words({2}).Zeros(2 * kSetSize).bytes) << size;
        }
        EXPECT_EQ(CauseOfLoading(bytes.substr(0, bytes.size() - 1), loading), CFileException::endOfFile);
    }
    EXPECT_THROW(BytesOf([](CArchive& a) { CGraphColorInfo().Serialize1st(a); }), CFileException);
    EXPECT_THROW(BytesOf([](CArchive& a) { CGraphColorInfo().SerializeLine16(a); }), CFileException);
}

}  // namespace
