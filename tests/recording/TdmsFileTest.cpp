// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/TdmsFile.h>

#include "tests/support/Recordings.h"

using namespace std::string_literals;
using namespace kvx;
using namespace kvx::test;

namespace {

// ---- the bytes of a file, by its public description ----

bool isBig = false;  // the byte order of what is made

template <typename Number>
std::string N(std::type_identity_t<Number> number) {
    const auto bytes = std::bit_cast<std::array<char, sizeof(Number)>>(Number(number));
    std::string text(bytes.begin(), bytes.end());
    if (isBig) std::ranges::reverse(text);
    return text;
}
template <typename Number>
std::string Row(std::initializer_list<std::type_identity_t<Number>> numbers) {
    std::string text;
    for (const Number number : numbers) text += N<Number>(number);
    return text;
}
std::string U32(std::uint32_t number) {
    return N<std::uint32_t>(number);
}
std::string T(const std::string& text) {
    return U32(static_cast<std::uint32_t>(text.size())) + text;
}

std::string P(const std::string& name, const std::string& value) {
    return T(name) + U32(0x20) + T(value);
}
std::string P(const std::string& name, double value) {
    return T(name) + U32(10) + N<double>(value);
}
std::string I(const std::string& name, std::int32_t value) {
    return T(name) + U32(3) + N<std::int32_t>(value);
}
std::string Time(std::int64_t seconds, std::uint64_t fraction = 0) {
    return isBig ? N<std::int64_t>(seconds) + N<std::uint64_t>(fraction)
                 : N<std::uint64_t>(fraction) + N<std::int64_t>(seconds);
}

const std::string kNoData = "\xFF\xFF\xFF\xFF";
const std::string kAsBefore(4, '\0');
std::string Index(std::uint32_t type, std::uint64_t count) {
    return U32(20) + U32(type) + U32(1) + N<std::uint64_t>(count);
}

struct Scaler {
    std::uint32_t type, buffer, at, id;
};
std::string Codes(std::uint64_t count, const std::vector<Scaler>& scalers,
                  const std::vector<std::uint32_t>& widths, std::uint32_t kind = 0x1269) {
    std::string text = U32(kind) + U32(0xFFFFFFFF) + U32(1) + N<std::uint64_t>(count) +
                       U32(static_cast<std::uint32_t>(scalers.size()));
    for (const Scaler& s : scalers)
        text += U32(s.type) + U32(s.buffer) + U32(s.at) + (kind == 0x1269 ? U32(0) : "\0"s) + U32(s.id);
    text += U32(static_cast<std::uint32_t>(widths.size()));
    for (const std::uint32_t width : widths) text += U32(width);
    return text;
}

using Properties = std::vector<std::string>;
std::string Object(const std::string& path, const std::string& index, const Properties& properties = {}) {
    std::string text = T(path) + index + U32(static_cast<std::uint32_t>(properties.size()));
    for (const std::string& property : properties) text += property;
    return text;
}

constexpr std::uint32_t kFull = 0xE, kAdded = 0xA, kMetaOnly = 0x6, kRawOnly = 0x8, kRows = 0x20;

std::string Lead(std::uint32_t contents, std::uint64_t next, std::uint64_t raw) {
    const bool wasBig = std::exchange(isBig, false);
    const std::string flags = U32(contents | (wasBig ? 0x40U : 0U));
    isBig = wasBig;
    return "TDSm" + flags + U32(4713) + N<std::uint64_t>(next) + N<std::uint64_t>(raw);
}
std::string Meta(const std::vector<std::string>& objects) {
    std::string text = U32(static_cast<std::uint32_t>(objects.size()));
    for (const std::string& object : objects) text += object;
    return text;
}
std::string Segment(std::uint32_t contents, const std::vector<std::string>& objects, const std::string& raw) {
    const std::string meta = (contents & 2) != 0 ? Meta(objects) : "";
    return Lead(contents, meta.size() + raw.size(), meta.size()) + meta + raw;
}

std::string Step() {
    return P("wf_increment", 0.5);
}
std::string A(const std::string& index, Properties more = {}) {
    more.push_back(Step());
    return Object("/'G'/'a'", index, more);
}
std::string B(const std::string& index, Properties more = {}) {
    more.push_back(Step());
    return Object("/'G'/'b'", index, more);
}

/// The same, made in the other byte order.
template <typename Make>
std::string Big(Make make) {
    isBig = true;
    const std::string text = make();
    isBig = false;
    return text;
}

constexpr std::uint32_t kI16 = 2, kI32 = 3, kF64 = 10, kTime = 0x44;

std::string Described(const std::string& bytes) {
    return kvx::test::Described(OpenTdmsFile, bytes);
}

const std::string kTwo = Meta({A(Index(kI16, 2)), B(Index(kI16, 2))});
/// Two segments: channels side by side and then in rows, another count and a channel that comes later.
std::string Mixed() {
    return Segment(kFull, {A(Index(kI16, 2), {P("unit_string", "g")}), B(Index(kI16, 2))},
                   Row<std::int16_t>({1, -2, 5, 6})) +
           Segment(kRawOnly | kRows, {}, Row<std::int16_t>({3, 7, 4, 8})) +
           Segment(kAdded, {Object("/'G'/'c'", Index(kF64, 1), {Step()}), B(kNoData)},
                   Row<std::int16_t>({5, 6}) + N<double>(0.25)) +
           Segment(kFull, {Object("/'G'/'b'", kAsBefore)}, Row<std::int16_t>({9, 10}));
}

struct Case {
    const char* what;
    std::string bytes;
    std::string outcome;
};

void PrintTo(const Case& parameter, std::ostream* out) {
    *out << parameter.what;
}

class TdmsFile : public testing::TestWithParam<Case> {};

TEST_P(TdmsFile, IsReadOrRefusedWithASentence) {
    EXPECT_EQ(Described(GetParam().bytes), GetParam().outcome);
}

const std::string kMixed =
    "G: s from 0 by 0.5: a [g] 1 -2 3 4 5 6, b [] 5 6 7 8 9 10; G: s from 0 by 0.5: c [] 0.25";
const std::string kOf3 = "G: s from 0 by 0.5: a [] 1 2 3";
constexpr std::uint64_t kNever = std::numeric_limits<std::uint64_t>::max();
const std::string kCut =
    "a segment ends in the middle of a chunk of samples; of it those are taken that all channels of a group "
    "have";

// clang-format off
INSTANTIATE_TEST_SUITE_P(Good, TdmsFile, testing::Values(
    Case{"SegmentsThatSayLessAndLess", Mixed(), kMixed},
    Case{"BigEndian", Big(Mixed), kMixed},
    Case{"SeveralChunks", Segment(kFull, {A(Index(kI16, 1)), B(Index(kI16, 2))}, Row<std::int16_t>({1, 5, 6, 2, 7, 8})),
        "G: s from 0 by 0.5: a [] 1 2; G: s from 0 by 0.5: b [] 5 6 7 8"},
    Case{"TypesOfNumbers", Segment(kFull, {
            Object("/'G'/'i8'", Index(1, 1)), Object("/'G'/'i32'", Index(3, 1)), Object("/'G'/'i64'", Index(4, 1)),
            Object("/'G'/'u8'", Index(5, 1)), Object("/'G'/'u16'", Index(6, 1)), Object("/'G'/'u32'", Index(7, 1)),
            Object("/'G'/'u64'", Index(8, 1)), Object("/'G'/'f32'", Index(9, 1)), Object("/'G'/'f32u'", Index(0x19, 1), {P("unit_string", "m/s^2")}),
            Object("/'G'/'f64u'", Index(0x1A, 1), {P("NI_UnitDescription", "Volts")}), Object("/'G'/'bool'", Index(0x21, 1))},
        "\x80" + N<std::int32_t>(-70000) + N<std::int64_t>(-5000000000) + "\xFF" + N<std::uint16_t>(65535) + U32(4000000000) +
            N<std::uint64_t>(10000000000) + N<float>(-0.5F) + N<float>(0.25F) + N<double>(1e-3) + "\x01"),
        "G: s from 0 by 0: i8 [] -128, i32 [] -70000, i64 [] -5e+09, u8 [] 255, u16 [] 65535, u32 [] 4e+09, u64 [] 1e+10, "
        "f32 [] -0.5, f32u [m/s2] 0.25, f64u [V] 0.001, bool [] 1"},
    Case{"ComplexNumbers", Segment(kFull, {A(Index(0x10000D, 2)), B(Index(0x08000C, 2))}, Row<double>({1, -1, 2, -2}) + Row<float>({3, -3, 4, -4})),
        "G: s from 0 by 0.5: a [] 1 2,  -1 -2, b [] 3 4,  -3 -4"},
    Case{"AnAxisOfItsOwn", Segment(kFull, {Object("/'It''s'/'x'", Index(kF64, 2), {P("wf_increment", 2.0), P("wf_start_offset", -4.0),
            P("wf_xunit_string", "Hz"), P("name", "y")}), Object("/'It''s'", kNoData)}, Row<double>({1, 2})), "It's: Hz from -4 by 2: y [] 1 2"},
    Case{"AnAxisInMilliseconds", Segment(kFull, {Object("/'G'/'x'", Index(kF64, 2), {P("wf_increment", 2.0), P("wf_start_offset", -4.0),
            P("wf_xunit_string", "ms")})}, Row<double>({1, 2})), "G: s from -0.004 by 0.002: x [] 1 2"},
    Case{"AnAxisInAnUnknownUnit", Segment(kFull, {Object("/'G'/'x'", Index(kF64, 2), {P("wf_increment", 2.0),
            P("wf_xunit_string", "furlong")})}, Row<double>({1, 2})), "G: ?furlong from 0 by 2: x [] 1 2"},
    Case{"GroupsAndRates", Segment(kFull, {A(Index(kI16, 2)), Object("/'H'/'a'", Index(kI16, 2), {Step()}), B(Index(kI16, 2)),
            Object("/'G'/'fast'", Index(kI16, 2), {P("wf_increment", 0.25)})}, Row<std::int16_t>({1, 2, 3, 4, 5, 6, 7, 8})),
        "G: s from 0 by 0.5: a [] 1 2, b [] 5 6; H: s from 0 by 0.5: a [] 3 4; G: s from 0 by 0.25: fast [] 7 8"},
    Case{"TextAndEmptyChannels", Segment(kFull, {Object("/'G'/'t'", U32(28) + U32(0x20) + U32(1) + N<std::uint64_t>(2) + N<std::uint64_t>(9)),
            A(Index(kI16, 1)), B(Index(kI16, 0)), Object("/'G'/'n'", kNoData)}, U32(1) + U32(1) + "x" + N<std::int16_t>(3)),
        "G: s from 0 by 0.5: a [] 3; channels are left out because they hold no samples: 'G/b', 'G/n'; channels are left out because they hold text: 'G/t'"},
    Case{"EvenTimeStamps", Segment(kFull, {Object("/'G'/'t'", Index(kTime, 3)), Object("/'G'/'v'", Index(kI16, 3))},
            Time(10, 1ULL << 63) + Time(11) + Time(11, 1ULL << 63) + Row<std::int16_t>({4, 5, 6})), "G: s from 0 by 0: v [] 4 5 6"},
    Case{"UnevenTimeStamps", Segment(kFull, {Object("/'G'/'t'", Index(kTime, 3)), Object("/'G'/'v'", Index(kI16, 3))},
            Time(10) + Time(11) + Time(13, 1ULL << 62) + Row<std::int16_t>({4, 5, 6})), "G: s listed:  0 1 3.25, v [] 4 5 6"},
    Case{"TimeStampsThatFall", Segment(kFull, {Object("/'G'/'t'", Index(kTime, 2)), Object("/'G'/'v'", Index(kI16, 2))},
            Time(11) + Time(10) + Row<std::int16_t>({4, 5})),
        "G: s from 0 by 0: v [] 4 5; channels are left out because their time stamps do not rise: 'G/t'"},
    Case{"TimeStampsBesideAStep", Segment(kFull, {A(Index(kI16, 1)), Object("/'G'/'t'", Index(kTime, 1))}, N<std::int16_t>(4) + Time(11)),
        "G: s from 0 by 0.5: a [] 4; channels are left out because they hold time stamps, which no other channel needs: 'G/t'"},
    Case{"AChannelOfTimes", Segment(kFull, {Object("/'G'/'Time'", Index(kF64, 3), {P("unit_string", "ms")}), Object("/'G'/'v'", Index(kI16, 3))},
            Row<double>({0, 1000, 3000}) + Row<std::int16_t>({4, 5, 6})), "G: s listed:  0 1 3, v [] 4 5 6"},
    Case{"LastSegmentNotCompleted", Lead(kFull, kNever, kTwo.size()) + kTwo + Row<std::int16_t>({1, 2, 5, 6, 3, 4, 7}),
        "G: s from 0 by 0.5: a [] 1 2 3, b [] 5 6 7; its last segment was not completed; what is there is taken; " + kCut},
    Case{"RowsCutShort", Lead(kFull | kRows, 1000, kTwo.size()) + kTwo + Row<std::int16_t>({1, 5, 2, 6, 3}),
        "G: s from 0 by 0.5: a [] 1 2, b [] 5 6; it is cut short in its last segment; what is there is taken; " + kCut},
    Case{"CutInFrontOfAChannel", Lead(kFull, 1000, kTwo.size()) + kTwo + "\1\0\2"s,
        "G: s from 0 by 0.5: a [] 1; it is cut short in its last segment; what is there is taken; " + kCut + "; channels are left out because they hold no samples: 'G/b'"},
    Case{"CutInTheMetaData", Segment(kFull, {A(Index(kI16, 3))}, Row<std::int16_t>({1, 2, 3})) + Lead(kFull, 50, 40) + "xy",
        kOf3 + "; the last 30 bytes are the beginning of a segment that is not there and are left out"},
    Case{"CutInALeadIn", Segment(kFull, {A(Index(kI16, 3))}, Row<std::int16_t>({1, 2, 3})) + "TDSm",
        kOf3 + "; the last 4 bytes are the beginning of a segment that is not there and are left out"},
    Case{"CodesOfAConverter", Segment(0x8E, {A(Codes(2, {{3, 0, 0, 0}}, {3, 4})), B(Codes(2, {{0, 0, 2, 0}}, {3, 4})),
            Object("/'H'/'c'", Codes(1, {{5, 1, 0, 0}}, {3, 4}), {Step()})},
        "\x01\x00\x09\xFE\xFF\xFF"s + U32(70000) + "\x03\x00\x0A\x04\x00\x0B"s + N<std::int32_t>(-1)),
        "G: s from 0 by 0.5: a [] 1 -2 3 4, b [] 9 255 10 11; H: s from 0 by 0.5: c [] 70000 -1"},
    Case{"DigitalLines", Segment(0x8E, {A(Codes(3, {{0, 0, 1, 0}}, {2}, 0x126A)), B(Codes(3, {{0, 0, 15, 0}}, {2}, 0x126A))},
        "\x02\x80\x00\x80\xFF\x7F"s), "G: s from 0 by 0.5: a [] 1 0 1, b [] 1 1 0"},
    Case{"CodesCutShort", Lead(0x8E, kNever, Meta({A(Codes(3, {{3, 0, 0, 0}}, {2}))}).size()) + Meta({A(Codes(3, {{3, 0, 0, 0}}, {2}))}) + "\x01\x00\x02\x00\x03"s,
        "G: s from 0 by 0.5: a [] 1 2; its last segment was not completed; what is there is taken; " + kCut}),
    [](const auto& test) { return test.param.what; });

INSTANTIATE_TEST_SUITE_P(Bad, TdmsFile, testing::Values(
    Case{"NoFile", "", "it is cut short in its first segment"},
    Case{"OnlyALeadIn", Lead(kFull, 50, 40), "it is cut short in its first segment"},
    Case{"NoSegment", Segment(kMetaOnly, {}, "") + std::string(28, 'x'), "byte 32: no segment begins here"},
    Case{"AnotherVersion", "TDSm" + U32(0xE) + U32(5000) + std::string(16, '\0'), "byte 0: the segment is of a version that is not known, 5000"},
    Case{"MoreMetaDataThanBytes", Lead(kFull, 8, 9) + "12345678", "byte 0: the segment has more meta data than bytes"},
    Case{"MetaDataThatEnd", Lead(kMetaOnly, 8, 8) + U32(1) + U32(100), "byte 28: the meta data of the segment end before they are complete"},
    Case{"NoPath", Segment(kMetaOnly, {Object("G", kNoData)}, ""), "byte 28: the meta data of the segment hold the path 'G'"},
    Case{"DataOfAGroup", Segment(kMetaOnly, {Object("/'G'", Index(kI16, 1))}, ""), "byte 28: the meta data of the segment give data to what is no channel"},
    Case{"AsNothingBefore", Segment(kMetaOnly, {A(kAsBefore)}, ""), "byte 28: the meta data of the segment refer to data that 'a' did not have"},
    Case{"AnotherType", Segment(kFull, {A(Index(kI16, 1))}, "12") + Segment(kFull, {A(Index(kI32, 1))}, "1234"),
        "byte 126: the meta data of the segment change the data type of 'a'"},
    Case{"TypeThatIsNotRead", Segment(kFull, {A(Index(0x0B, 1))}, "12"), "it holds samples of a type that is not read, 0xb"},
    Case{"PropertyOfNoType", Segment(kMetaOnly, {A(kNoData, {T("x") + U32(0x99)})}, ""),
        "byte 28: the meta data of the segment hold a property of a type that is not known, 0x99"},
    Case{"TwoDimensions", Segment(kMetaOnly, {A(U32(20) + U32(kI16) + U32(2) + N<std::uint64_t>(1))}, ""),
        "byte 28: the meta data of the segment state data of 2 dimensions"},
    Case{"RowsOfUnequalCounts", Segment(kFull | kRows, {A(Index(kI16, 1)), B(Index(kI16, 2))}, "123456"),
        "byte 0: its interleaved channels differ in their counts"},
    Case{"CodesOutsideTheirRow", Segment(0x8E, {A(Codes(1, {{3, 0, 1, 0}}, {2}))}, "12"),
        "byte 28: the meta data of the segment hold a scaler outside the row of its buffer"},
    Case{"CodesOfNoType", Segment(0x8E, {A(Codes(1, {{77, 0, 0, 0}}, {2}))}, "12"),
        "byte 28: the meta data of the segment hold a scaler of a type that is not known, 77"},
    Case{"CodesBesideNumbers", Segment(0x8E, {A(Codes(1, {{3, 0, 0, 0}}, {2})), B(Index(kI16, 1))}, "1234"),
        "byte 0: it mixes codes of a converter with other data"},
    Case{"BuffersOfUnequalWidths", Segment(0x8E, {A(Codes(1, {{3, 0, 0, 0}}, {2})), B(Codes(1, {{3, 0, 0, 0}}, {4}))}, "1234"),
        "byte 0: its channels differ in the widths of buffers"},
    Case{"UnequalCountsInABuffer", Segment(0x8E, {A(Codes(1, {{3, 0, 0, 0}}, {2})), B(Codes(2, {{3, 0, 0, 0}}, {2}))}, "1234"),
        "byte 0: channels in one buffer differ in their counts"},
    Case{"MoreSamplesThanTheFile", Segment(kFull, {A(Index(kF64, kNever)), B(Index(kI16, kNever))}, "1234567"),
        "it holds no samples; channels are left out because they hold no samples: 'G/a', 'G/b'"},
    Case{"NotANumber", Segment(kFull, {A(Index(kF64, 2))}, Row<double>({1, std::numeric_limits<double>::quiet_NaN()})),
        "channel 1, sample 2: the value is not a finite number"},
    Case{"OnlyText", Segment(kFull, {Object("/'G'/'t'", U32(28) + U32(0x20) + U32(1) + N<std::uint64_t>(1) + N<std::uint64_t>(4))}, U32(0)),
        "it holds no samples; channels are left out because they hold text: 'G/t'"}),
    [](const auto& test) { return test.param.what; });

// ---- scales ----

std::string Scale(int id, const std::string& type, const std::string& of, int source) {
    const std::string name = "NI_Scale[" + std::to_string(id) + "]_";
    return P(name + "Scale_Type", type) + I(name + of + "_Input_Source", source);
}
std::string Values(int id, const std::string& name, const std::vector<double>& values) {
    const std::string whole = "NI_Scale[" + std::to_string(id) + "]_" + name;
    std::string text = I(whole + "_Size", static_cast<int>(values.size()));
    for (std::size_t i = 0; i < values.size(); ++i) text += P(whole + "[" + std::to_string(i) + "]", values[i]);
    return text;
}
std::string Linear(int id, double slope, double intercept, int source) {
    const std::string name = "NI_Scale[" + std::to_string(id) + "]_Linear_";
    return Scale(id, "Linear", "Linear", source) + P(name + "Slope", slope) + P(name + "Y_Intercept", intercept);
}

struct ScaleCase {
    std::string properties;
    std::size_t count;
    std::string outcome;  // of 1, -2 and 3
};

const std::string kLeftOut = "it holds no samples; channels are left out because their ";
const std::string kTable = Values(0, "Table_Scaled_Values", {-1, 1, 2}) + Values(0, "Table_Pre_Scaled_Values", {10, 20, 40});
const ScaleCase kScales[] = {
    {Linear(0, 2, 0.5, -1), 3 + 1, "2.5 -3.5 6.5"},
    {I("NI_Number_Of_Scales", 1) + P("NI_Scaling_Status", "unscaled") + Linear(0, 2, 0.5, -1), 6, "2.5 -3.5 6.5"},
    {I("NI_Number_Of_Scales", 1) + P("NI_Scaling_Status", "scaled") + Linear(0, 2, 0.5, -1), 6, "1 -2 3"},
    {Scale(0, "Polynomial", "Polynomial", -1) + Values(0, "Polynomial_Coefficients", {1, 0, 2}), 6, "3 9 19"},
    {Scale(0, "Table", "Table", -1) + kTable, 10, "20 10 40"},
    {Scale(0, "Table", "Table", -1) + Values(0, "Table_Scaled_Values", {4, -4}) + Values(0, "Table_Pre_Scaled_Values", {0, 8}), 8, "3 6 1"},
    {Linear(1, 2, 0, 0) + Linear(2, 1, 1, 1), 8, "3 -3 7"},
    {Linear(0, 2, 0, -1) + P("NI_Scale[1]_Scale_Type", "Add") + I("NI_Scale[1]_Add_Left_Operand_Input_Source", -1) +
        I("NI_Scale[1]_Add_Right_Operand_Input_Source", 0), 7, "3 -6 9"},
    {Linear(0, 2, 0, -1) + P("NI_Scale[1]_Scale_Type", "Subtract") + I("NI_Scale[1]_Subtract_Left_Operand_Input_Source", -1) +
        I("NI_Scale[1]_Subtract_Right_Operand_Input_Source", 0), 7, "1 -2 3"},
    {Scale(0, "Thermocouple", "Thermocouple", -1), 2, kLeftOut + "scale, 'Thermocouple', is not supported: 'G/a'"},
    {Scale(0, "Linear", "Linear", -1), 2, kLeftOut + "scale lacks 'NI_Scale[0]_Linear_Y_Intercept': 'G/a'"},
    {Scale(0, "Table", "Table", -1) + Values(0, "Table_Scaled_Values", {1, 1}) + Values(0, "Table_Pre_Scaled_Values", {0, 8}), 8,
        kLeftOut + "scale is a table that does not rise: 'G/a'"},
    {Linear(0, 2, 0, 0), 4, kLeftOut + "scales are no chain: 'G/a'"},
    {I("NI_Number_Of_Scales", -5), 1, "1 -2 3"},
};
// clang-format on

TEST(TdmsScales, MakeValuesOfRawData) {
    const std::string raw = Row<std::int16_t>({1, -2, 3});
    for (const ScaleCase& scale : kScales) {
        const auto with = [&](const std::string& index, std::size_t count) {
            return T("/'G'/'a'") + index + U32(static_cast<std::uint32_t>(count));
        };
        const std::string outcome =
            scale.outcome.starts_with("it ") ? scale.outcome : "G: s from 0 by 0.5: a [] " + scale.outcome;
        const std::string properties = Step() + scale.properties;
        EXPECT_EQ(Described(Segment(kFull, {with(Index(kI16, 3), scale.count + 1) + properties}, raw)),
                  outcome);
        EXPECT_EQ(Described(Segment(0x8E, {with(Codes(3, {{3, 0, 0, 0}}, {2}), scale.count + 1) + properties},
                                    raw)),
                  outcome)
            << "of codes";
        const std::string group = T("/'G'") + kNoData + U32(static_cast<std::uint32_t>(scale.count));
        EXPECT_EQ(Described(Segment(kFull, {A(Index(kI16, 3)), group + scale.properties}, raw)), outcome)
            << "of a group";
    }
}

TEST(TdmsScales, TellSeveralCodesApartByTheirIds) {
    const std::string index = Codes(2, {{3, 0, 0, 0}, {5, 0, 2, 2}}, {6});
    const std::string raw = Row<std::int16_t>({10}) + U32(1) + Row<std::int16_t>({20}) + U32(2);
    const auto outcome = [&](const Properties& properties) {
        return Described(Segment(0x8E, {A(index, properties)}, raw));
    };
    const Properties difference = {P("NI_Scale[3]_Scale_Type", "Subtract"),
                                   I("NI_Scale[3]_Subtract_Left_Operand_Input_Source", 2),
                                   I("NI_Scale[3]_Subtract_Right_Operand_Input_Source", 0)};
    EXPECT_EQ(outcome(difference), "G: s from 0 by 0.5: a [] 9 18");
    EXPECT_EQ(outcome({I("NI_Number_Of_Scales", 3)}), "G: s from 0 by 0.5: a [] 1 2");
    EXPECT_EQ(outcome({}), kLeftOut + "codes have no scale: 'G/a'");
}

// ---- the file as a whole ----

TEST(TdmsFileReader, TellsPropertiesOfFileGroupAndChannel) {
    const auto make = [] {
        const Properties properties = {
            P("author", "K\xC3\xA4the"), T("old") + U32(0x20) + T("\xE9t\xE9"),
            T("started") + U32(kTime) + Time(1704067200 + 2082844800LL, 1ULL << 62),
            T("big") + U32(8) + N<std::uint64_t>(kNever), T("yes") + U32(0x21) + "\1"};
        return Segment(kMetaOnly, {Object("/", kNoData, properties), Object("/'G'", kNoData, {I("run", 7)})},
                       "") +
               Segment(kFull, {A(Index(kI16, 1), {P("x", 0.1), I("NI_Number_Of_Scales", 0)})},
                       N<std::int16_t>(1)) +
               Segment(kMetaOnly, {Object("/'G'", kNoData, {I("run", 8)})}, "");
    };
    for (const std::string& bytes : {make(), Big(make)}) {
        const auto reader = Open(OpenTdmsFile, bytes);
        std::string text;
        for (const auto& [name, value] : reader->Info().properties) text += name + "=" + value + "; ";
        EXPECT_EQ(text,
                  "author=K\xC3\xA4the; big=18446744073709551615; old=\xC3\xA9t\xC3\xA9; "
                  "started=2024-01-01T00:00:00.25Z; yes=true; G: run=8; G/a: wf_increment=0.5; G/a: x=0.1; ");
    }
}

TEST(TdmsFileReader, MakesSenseOfEveryCut) {
    ExpectSenseOfEveryCut(OpenTdmsFile, Mixed());
    ExpectSenseOfEveryCut(
        OpenTdmsFile,
        Segment(0x8E, {A(Codes(2, {{3, 0, 0, 0}}, {4})), B(Codes(2, {{3, 0, 2, 0}}, {4}))}, "12345678"));
}

TEST(TdmsFileReader, GoesOnAcrossManySegmentsAndLargeChunks) {
    std::string bytes = Segment(kFull, {A(Index(kI16, 3)), B(Index(kF64, 3))},
                                Row<std::int16_t>({0, 1, 2}) + Row<double>({0, -1, -2}));
    std::vector<double> expected = {0, 1, 2};
    double next = 3;
    const auto raw = [&](std::size_t chunks, std::size_t count, bool isRows) {
        std::string text;
        for (std::size_t chunk = 0; chunk < chunks; ++chunk) {
            std::string a, b;
            for (std::size_t i = 0; i < count; ++i, ++next) {
                const double value = static_cast<int>(next) % 30011;
                expected.push_back(value);
                a += N<std::int16_t>(static_cast<std::int16_t>(value));
                if (isRows) a += N<double>(-value);
                b += N<double>(-value);
            }
            text += isRows ? a : a + b;
        }
        return text;
    };
    for (int i = 0; i < 1000; ++i) bytes += Segment(kRawOnly, {}, raw(2, 3, false));
    bytes += Segment(kAdded, {A(Index(kI16, 150000)), B(Index(kF64, 150000))}, raw(2, 150000, false));
    bytes += Segment(kAdded | kRows, {A(Index(kI16, 70000)), B(Index(kF64, 70000))}, raw(2, 70000, true));
    for (int i = 0; i < 50; ++i) {
        const auto count = static_cast<std::uint64_t>(i + 1);
        bytes += Segment(kAdded, {A(Index(kI16, count)), B(Index(kF64, count))}, raw(1, count, false));
    }
    for (const std::size_t room : {std::size_t{50000}, std::size_t{1} << 20}) {
        const auto reader = Open(OpenTdmsFile, bytes);
        ASSERT_EQ(reader->Info().runs.size(), 1U);
        std::vector<double> a(room), b(room);
        double* const targets[] = {a.data(), b.data()};
        std::size_t done = 0;
        while (const std::size_t count = reader->Read(0, targets, room)) {
            ASSERT_LE(done + count, expected.size());
            for (std::size_t i = 0; i < count; ++i) {
                ASSERT_EQ(a[i], expected[done + i]);
                ASSERT_EQ(b[i], -a[i]);
            }
            done += count;
        }
        EXPECT_EQ(done, expected.size());
    }
}

TEST(TdmsFileReader, PassesOverSamplesAndChannels) {
    const auto reader = Open(OpenTdmsFile, Mixed());
    reader->Skip(0, 3);
    double b[2] = {};
    double* const targets[] = {nullptr, b};
    EXPECT_EQ(reader->Read(0, targets, 2), 2U);
    EXPECT_EQ(b[0], 8.0);
    EXPECT_EQ(b[1], 9.0);
    EXPECT_STREQ(reader->ErrorAt(1, 1, ErrorKind::kUnsupported, "no").what(),
                 "record 1, channel 2, sample 5: no");
    reader->Skip(0, 100);
    EXPECT_EQ(reader->Read(0, targets, 2), 0U);
    double c = 0.0;
    double* const only[] = {&c};
    EXPECT_EQ(reader->Read(1, only, 1), 1U);
    EXPECT_EQ(c, 0.25);
}

// The values were published with the file, which a driver of a converter has written.
TEST(TdmsFileReader, ReadsARealFileOfCodes) {
    const char* const folder = std::getenv("KVX_RECORDINGS");
    if (folder == nullptr || *folder == '\0')
        GTEST_SKIP() << "KVX_RECORDINGS does not name a folder of recordings";
    const auto signal = OpenSignal(folder + "/daqmx_raw1.tdms"s);
    ASSERT_EQ(signal->Runs().size(), 1U);
    const SignalRun& run = signal->Runs()[0];
    EXPECT_EQ(run.channels.size(), 7U);
    EXPECT_EQ(run.samples, 2000);
    EXPECT_NEAR(1.0 / run.delta, 50000.0, 1e-6);
    EXPECT_EQ(ToUtf8(run.channels[0].name), "First  Channel");
    EXPECT_EQ(UnitText(run.channels[0].unit), "V");
    std::vector<std::vector<double>> samples(7, std::vector<double>(10));
    std::vector<double*> targets;
    for (std::vector<double>& channel : samples) targets.push_back(channel.data());
    ASSERT_EQ(signal->Read(0, targets, 10), 10U);
    const double expected[] = {-0.18402661, 0.14801477, -0.24506363, -0.29725028, -0.20020142,
                               0.18158513,  0.02380444, 0.20661031,  0.20447401,  0.2517777};
    for (std::size_t i = 0; i < 10; ++i) EXPECT_NEAR(samples[0][i], expected[i], 0.5e-8);
}

TEST(TdmsFileReader, IsKnownByTheFirstBytes) {
    EXPECT_EQ(RecognizeContent(Mixed()).format, Format::tdms);
    std::string index = Mixed();
    index[3] = 'h';
    EXPECT_EQ(RecognizeContent(index).format, Format::none);
    EXPECT_EQ(RecognizeContent(index).name, "the index of a TDMS file, without samples");
}

TEST(TdmsFile, KeepsSoManyPropertiesScalesAndChannels) {
    // A long name stands in front of each property of its channel.
    Properties many = {Step()};
    for (int i = 0; i < 2000; ++i) many.push_back(I(std::to_string(i), i));
    const std::string path = "/'G'/'" + std::string(20000, 'n') + "'";
    const auto named =
        Open(OpenTdmsFile, Segment(kFull, {Object(path, Index(kI16, 1), many)}, Row<std::int16_t>({1})));
    EXPECT_LT(named->Info().properties.size(), 1000U);
    EXPECT_NE(named->Info().remarks.at(0).find("properties beyond 16 MiB are left out: "), std::string::npos);
    // A table of the file is a table of each channel.
    Properties table = {P("NI_Number_Of_Scales", 1.0), P("NI_Scale[0]_Scale_Type", "Table"),
                        P("NI_Scale[0]_Table_Input_Source", -1.0),
                        P("NI_Scale[0]_Table_Pre_Scaled_Values_Size", 5000.0),
                        P("NI_Scale[0]_Table_Scaled_Values_Size", 5000.0)};
    for (int i = 0; i < 5000; ++i) {
        table.push_back(P("NI_Scale[0]_Table_Pre_Scaled_Values[" + std::to_string(i) + "]", i));
        table.push_back(P("NI_Scale[0]_Table_Scaled_Values[" + std::to_string(i) + "]", i));
    }
    std::vector<std::string> objects = {Object("/", kNoData, table)};
    for (int c = 0; c < 150; ++c)
        objects.push_back(Object("/'G'/'" + std::to_string(c) + "'", Index(kI16, 1), {Step()}));
    const auto scaled = Open(OpenTdmsFile, Segment(kFull, objects, std::string(300, '\0')));
    EXPECT_EQ(scaled->Info().runs.at(0).channels.size(), 105U);
    EXPECT_NE(scaled->Info().remarks.at(0).find("have too many numbers"), std::string::npos);
    // Lists of channels that follow one another.
    std::string lists;
    for (int list = 0; list < 2; ++list) {
        objects.clear();
        for (int c = 0; c < 40000; ++c)
            objects.push_back(Object("/'G'/'" + std::to_string(40000 * list + c) + "'", kNoData));
        lists += Segment(kMetaOnly, objects, "");
    }
    EXPECT_EQ(Described(lists).substr(0, 36), "it has more than 65536 channels");
}

}  // namespace
