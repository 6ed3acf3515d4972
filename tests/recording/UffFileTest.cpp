// SPDX-License-Identifier: MIT
//
// Universal files made by hand, in every kind of dataset 58 and with every oddity of the field; damaged ones;
// and what is written, read back.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/UffFile.h>

#include "tests/support/Recordings.h"
#include "tests/support/TempFolder.h"

using namespace kvx;
using namespace kvx::test;
using namespace std::string_literals;
using testing::HasSubstr;

namespace {

/// What the records of a function say, in Fortran's columns.
struct Function {
    int kind = 1;
    int type = 4;
    long count = 3;
    bool isEven = true;
    std::string spacing = "1.00000E-01";
    std::string line1 = "NONE";
    std::string response = "a                  0   0";  // 10 + 10 + 4 columns
    std::string reference = "NONE               0   0";
    std::string abscissa = "17    0    0    0 Time                 s";
    std::string numerator = "12    1    0    0 Acceleration         m/s^2";
    std::string denominator = "0    0    0    0 NONE                 NONE";
};

std::string Right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

/// An axis record whose number may have any width.
std::string Axis(const std::string& text) {
    return Right(text.substr(0, text.find(' ')), 10) + text.substr(text.find(' ')) + "\n";
}

std::string Records(const Function& f) {
    char sizes[64];
    std::snprintf(sizes, sizeof sizes, "%10d%10ld%10d", f.type, f.count, f.isEven ? 1 : 0);
    return f.line1 + "\nNONE\n18-Apr-16 13:49:58\nNONE\nNONE\n" + Right(std::to_string(f.kind), 5) +
           "         0    0         0 " + f.response + " " + f.reference + "\n" + sizes + "  0.00000E+00" +
           Right(f.spacing, 13) + "  0.00000E+00\n" + Axis(f.abscissa) + Axis(f.numerator) +
           Axis(f.denominator) + Axis("0    0    0    0 NONE                 NONE");
}

const std::string kEnd = "    -1\n";

std::string Text(const Function& f, const std::string& numbers) {
    return kEnd + "    58\n" + Records(f) + numbers + kEnd;
}

std::string Binary(const Function& f, const std::string& bytes, int order = 1, int floats = 2,
                   long stated = -1) {
    char begin[128];
    std::snprintf(begin, sizeof begin, "    58b%6d%6d%12d%12ld%6d%6d%12d%12d\n", order, floats, 11,
                  stated < 0 ? static_cast<long>(bytes.size()) : stated, 0, 0, 0, 0);
    return kEnd + begin + Records(f) + bytes + kEnd;
}

template <typename Real>
void AppendReal(double value, bool isBig, std::string* bytes) {
    const auto real = static_cast<Real>(value);
    std::array<char, sizeof(Real)> raw;
    std::memcpy(raw.data(), &real, sizeof real);
    if (isBig) std::ranges::reverse(raw);
    bytes->append(raw.data(), raw.size());
}

std::string Floats(const std::vector<double>& values, bool isBig = false) {
    std::string bytes;
    for (const double value : values) AppendReal<float>(value, isBig, &bytes);
    return bytes;
}

std::string Doubles(const std::vector<double>& values, bool isBig = false) {
    std::string bytes;
    for (const double value : values) AppendReal<double>(value, isBig, &bytes);
    return bytes;
}

std::string Said(const std::string& bytes) {
    return Described(OpenUffFile, bytes);
}

TEST(UffFile, EveryKindOfNumbersIsRead) {
    const std::string single = "  1.00000E+00 -2.50000E+00  3.00000E+00\n";
    const std::string wide = "  1.000000000000E+00 -2.500000000000E+00  3.000000000000E+00\n";
    const std::string pairs =
        "  0.00000E+00  1.00000E+00  1.00000E-01 -2.50000E+00  5.00000E-01  3.00000E+00\n";
    const std::string widePairs =
        "  0.00000E+00  1.000000000000E+00  1.00000E-01 -2.500000000000E+00\n"
        "  5.00000E-01  3.000000000000E+00\n";
    const std::string triples =
        "  0.00000E+00  1.00000E+00  7.00000E+00  1.00000E-01 -2.50000E+00  8.00000E+00\n"
        "  5.00000E-01  3.00000E+00  9.00000E+00\n";
    const std::string wideTriples =
        "  0.00000E+00  1.000000000000E+00  7.000000000000E+00\n"
        "  1.00000E-01 -2.500000000000E+00  8.000000000000E+00\n"
        "  5.00000E-01  3.000000000000E+00  9.000000000000E+00\n";
    const std::string complexes =
        "  1.00000E+00  7.00000E+00 -2.50000E+00  8.00000E+00  3.00000E+00  9.00000E+00\n";
    const std::string wideComplexes =
        "  1.000000000000E+00  7.000000000000E+00 -2.500000000000E+00  8.000000000000E+00\n"
        "  3.000000000000E+00  9.000000000000E+00\n";
    const std::vector<double> real = {1, -2.5, 3};
    const std::vector<double> listed = {0, 1, 0.125, -2.5, 0.5, 3};
    const std::vector<double> complex = {1, 7, -2.5, 8, 3, 9};
    const std::vector<double> both = {0, 1, 7, 0.125, -2.5, 8, 0.5, 3, 9};
    std::string mixed;
    for (std::size_t i = 0; i < listed.size(); ++i)
        i % 2 == 0 ? AppendReal<float>(listed[i], false, &mixed)
                   : AppendReal<double>(listed[i], false, &mixed);
    const std::string evenReal = "time response: s from 0 by 0.1: a [m/s2] 1 -2.5 3";
    const std::string evenComplex = evenReal + ",  7 8 9";
    const auto listedFrom = [](const std::string& second, const std::string& rest) {
        return "time response: s listed:  0 " + second + " 0.5, a [m/s2] 1 -2.5 3" + rest;
    };
    const auto text = [](int type, bool isEven, const std::string& numbers) {
        return Text({.type = type, .isEven = isEven}, numbers);
    };
    const auto binary = [](int type, bool isEven, const std::string& bytes, int order) {
        return Binary({.type = type, .isEven = isEven}, bytes, order);
    };
    const std::string files[][2] = {
        {text(2, true, single), evenReal},
        {text(4, true, wide), evenReal},
        {text(5, true, complexes), evenComplex},
        {text(6, true, wideComplexes), evenComplex},
        {text(2, false, pairs), listedFrom("0.1", "")},
        {text(4, false, widePairs), listedFrom("0.1", "")},
        {text(5, false, triples), listedFrom("0.1", ",  7 8 9")},
        {text(6, false, wideTriples), listedFrom("0.1", ",  7 8 9")},
        {binary(2, true, Floats(real), 1), evenReal},
        {binary(2, true, Floats(real, true), 2), evenReal},
        {binary(4, true, Doubles(real), 1), evenReal},
        {binary(4, true, Doubles(real, true), 2), evenReal},
        {binary(5, true, Floats(complex, true), 2), evenComplex},
        {binary(6, true, Doubles(complex), 1), evenComplex},
        {binary(2, false, Floats(listed), 1), listedFrom("0.125", "")},
        {binary(4, false, Doubles(listed, true), 2), listedFrom("0.125", "")},
        {binary(4, false, mixed, 1), listedFrom("0.125", "")},
        {binary(5, false, Floats(both), 1), listedFrom("0.125", ",  7 8 9")},
        {binary(6, false, Doubles(both), 1), listedFrom("0.125", ",  7 8 9")},
    };
    for (const auto& [file, said] : files) {
        EXPECT_EQ(Said(file), said) << file;
        EXPECT_TRUE(IsUniversalFile(file));
        ExpectSenseOfEveryCut(OpenUffFile, file);
    }
}

/// `text` with every occurrence of `from` replaced.
std::string With(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
        text.replace(at, from.size(), to);
    return text;
}

TEST(UffFile, OdditiesOfTheFieldAreTaken) {
    const std::string said = "time response: s from 0 by 0.1: a [m/s2] 1 -2.5 3";
    const Function f;
    const std::string line = "  1.000000000000E+00 -2.500000000000E+00  3.000000000000E+00";
    const std::string bytes = Doubles({1, -2.5, 3});
    const std::string ends[] = {"\n", "\n\n", "\r\n", "", "\n  \n\n"};
    for (const std::string& end : ends) {
        EXPECT_EQ(Said(Binary(f, bytes + end, 1, 2, 24)), said);
        EXPECT_EQ(Said(Text(f, line + (end.empty() ? "\n" : end))), said);
    }
    const std::string cases[] = {
        With(Text(f, line + "\n"), "\n", "\r\n"),
        With(Text(f, line + "\n"), "\n", "   \n"),
        Text(f, With(line, "E", "D") + "\n"),
        Text(f, "1 -2.5\n3\n"),
        Text(f, "1.0\n-2.5\n3d0\n"),
        Text(f, line + "  0.000000000000E+00\n"),                       // filled up
        Text({.type = 2}, "  1.00000E+00-2.50000E+000 3.00000E+00\n"),  // columns that touch
        Text({.type = 2}, "  1.00000+000 -2.50000+00  3.00000-00\n"),
        "\n\n" + Text(f, line + "\n"),
        Text(f, line + "\n").substr(0, Text(f, line + "\n").size() - kEnd.size()),  // no delimiter at the end
        Binary(f, bytes + "12345678", 1, 2, 32),
        Binary(f, bytes, 1, 2, 0),
    };
    for (const std::string& file : cases) {
        EXPECT_EQ(Said(file), said) << file;
        EXPECT_TRUE(IsUniversalFile(file));
    }
    for (const char* const table : {"", "    -1\n", "    -1\n     5\n     7\n", "    -1,2\n    58\nx\n"})
        EXPECT_FALSE(IsUniversalFile(table)) << table;
    // Further lines of a header that states so many.
    const std::string records = Records(f);
    std::string longer = Binary(f, bytes);
    longer = With(With(longer, records, records + "x\ny\n"), "          11          24",
                  "          13          24");
    EXPECT_EQ(Said(longer), said);
}

TEST(UffFile, NamesUnitsAndAxesAreThoseOfTheRecords) {
    const std::string numbers = "1 -2.5\n3\n";
    const auto named = [&](int kind, const std::string& line1, const std::string& response,
                           const std::string& reference) {
        return Said(
            Text({.kind = kind, .line1 = line1, .response = response, .reference = reference}, numbers));
    };
    const std::string none = "NONE               0   0";
    const std::string names[][2] = {
        {named(1, "Mic 01.0Scalar", "Mic 01             0   1", none), "Mic 01"},
        {named(1, "control accelerometer", "control ac         0   0", none), "control accelerometer"},
        {named(1, "Record 1", "NONE               5  -3", none), "5:-Z"},
        {named(1, "Record 1", "wing               5   4", none), "wing 5:+RX"},
        {named(4, "Record 1", "NONE               5   1", "NONE              12   0"), "5:+X / 12"},
        {named(2, "Record 1", "NONE               5   1", "NONE               5   1"), "5:+X"},
        {named(1, "Record 1", "NONE               5   1", "NONE              12   3"), "5:+X"},
        {named(1,
               "Messst\xC3\xBC"
               "ck",
               none, none),
         "Messst\u00FC"
         "ck"},
        {named(1, "none", none, none), ""},
    };
    for (const auto& [said, name] : names) EXPECT_THAT(said, HasSubstr(": " + name + " [m/s2] 1 -2.5 3"));
    EXPECT_THAT(named(1,
                      "Messst\xFC"
                      "ck",
                      none, none),
                HasSubstr("the text 'Messst\u00FC"
                          "ck' is not UTF-8 and was read as windows-1252"));

    struct Case {
        int kind;
        std::string abscissa, numerator, denominator, said;
    };
    const std::string hertz = "18    0    0    0 Frequency            Hz";
    const std::string time = "17    0    0    0 Time                 s";
    const std::string nothing = "0    0    0    0 NONE                 NONE";
    const auto force = "13    0    1    0 Force                N"s;
    const Case cases[] = {
        {4, hertz, "12    1    0    0 Acceleration         g", force, "Hz from 0 by 0.1: a [g/N]"},
        {4, hertz, "12    1    0    0 Acceleration         m/s**2", force, "[(m/s2)/N]"},
        {4, hertz, "12    1    0    0 Acceleration         NONE", force, "[(m/s2)/N]"},
        {4, hertz, "8    1    0    0 NONE                 (m)", "0    0    0    0 NONE                 kN",
         "[m/kN]"},
        {9, hertz, "12    1    0    0 PSD                  g^2/Hz", nothing, "[g2/Hz]"},
        {2, hertz, "12    1    0    0 Acceleration         NONE", nothing, "[(m/s2)2]"},
        {9, hertz, "21   -2    1    0 Pressure             NONE", nothing, "[Pa2/Hz]"},
        {3, hertz, "12    1    0    0 NONE                 NONE",
         "13    0    1    0 NONE                 NONE", "[(m/s2)\u00B7N]"},
        {4, hertz, "12    1    0    0 Accelerance          g/N",
         "13    0    1    0 NONE                 NONE", "[g/N]"},
        {9, hertz, "12    1    0    0 PSD                  g^2/Hz",
         "12    1    0    0 NONE                 NONE", "[g2/Hz]"},
        {6, hertz, nothing, nothing, "coherence: Hz from 0 by 0.1: a [] 1"},
        {12, hertz, "16    0    0    0 Mass                 g", nothing, "[g]"},
        {1, "17    0    0    0 Time                 ms", force, nothing, "s from 0 by 0.0001: a [N]"},
        {12, "18    0    0    0 Frequency            kHz", force, nothing, "Hz from 0 by 100: a [N]"},
        {12, "18    0    0    0 Speed                rpm", force, nothing, "Hz from 0 by 0.00166667: a [N]"},
        {0, "20    0    0    0 Order                NONE", force, nothing, "- from 0 by 0.1: a [N]"},
        {1, nothing, force, nothing, "a [N] 1 -2.5 3; the abscissa has no unit, so it is read in s"},
        {4, nothing, force, nothing, "a [N] 1 -2.5 3; the abscissa has no unit, so it is read in Hz"},
        {1, "17    0    0    0 Time                 furlong", force, nothing,
         ": ?furlong from 0 by 0.1: a [N]"},
        {1, "17    0    0    0 Time                 SEC", force, nothing, ": s from 0 by 0.1: a [N]"},
        {1, "17    0    0    0 Time                 us", force, nothing, ": s from 0 by 1e-07: a [N]"},
        {1, "17    0    0    0 Time                 h", force, nothing, ": s from 0 by 360: a [N]"},
        {12, "18    0    0    0 Frequency            CPM", force, nothing,
         ": Hz from 0 by 0.00166667: a [N]"},
        {12, "0    0    0    0 NONE                 dB", force, nothing, ": ?dB from 0 by 0.1: a [N]"},
        {0, "8    1    0    0 Position             mm", force, nothing, ": m from 0 by 0.0001: a [N]"},
        {0, "8    1    0    0 Position             mil", force, nothing, ": m from 0 by 2.54e-06: a [N]"},
        {0, "5    0    0    1 Oven                 degC", force, nothing, ": K from 273.15 by 0.1: a [N]"},
        {1, time, "13    0    1    0 Force                lbs", nothing, "a [lbf]"},
        {1, time, "0    0    0    0 NONE                 wibble", nothing, "a [?wibble]"},
        {1, time, "1    1    0    0 NONE                 NONE", nothing, "a [m]"},
        {1, time, "8    1    0    0 NONE                 NONE", nothing,
         "; units that have no label are those of their quantities in the SI"},
    };
    for (const Case& c : cases) {
        EXPECT_THAT(Said(Text({.kind = c.kind,
                               .abscissa = c.abscissa,
                               .numerator = c.numerator,
                               .denominator = c.denominator},
                              numbers)),
                    HasSubstr(c.said))
            << c.numerator;
    }
}

TEST(UffFile, ASpacingOfFewDigitsIsTakenForTheOnlyWholeRate) {
    const std::pair<const char*, const char*> cases[] = {
        {"1.52588E-05", "65536 Hz"},
        {"2.26757E-05", "44100 Hz"},
        {"3.33333E-01", "3 Hz"},
        {"6.05469E-04", ""},
        {"3.90000E-03", ""},
        {"1.00000E-03", ""},
        {"0.0039", ""},
        {"1.234567E-07", ""},
    };
    for (const auto& [spacing, rate] : cases) {
        const std::string said = Said(Text({.spacing = spacing}, "1 2\n3\n"));
        if (*rate == '\0') {
            EXPECT_THAT(said, Not(HasSubstr("rounded"))) << spacing;
        } else {
            EXPECT_THAT(said, HasSubstr("it is taken for "s + rate)) << spacing;
        }
    }
    const auto reader = Open(OpenUffFile, Text({.spacing = "1.52588E-05"}, "1 2\n3\n"));
    EXPECT_EQ(reader->Info().runs.front().axis.delta, 1.0 / 65536);
}

TEST(UffFile, FunctionsOfOneAxisAreARunWhateverStandsBetween) {
    const std::string numbers = "1 -2.5\n3\n";
    const std::string system =
        "    -1\n   164\n         7  Inch (pound f)              2\n"
        "  3.93700787401574800D+01  2.24808943099710480D-01  1.00000000000000000D+00\n"
        "  0.00000000000000000D+00\n    -1\n";
    const std::string nodes =
        "    -1\n    15\n"
        "         5         0         0        11  3.93701E+01  0.00000E+00 -7.87402E+01\n"
        "         6         0         0        11  1.00000E+00  0.00000E+00  0.00000E+00\n    -1\n";
    const std::string title = "    -1\n   151\nBridge\na test\nanalyser\n      \n    -1\n";
    const std::string unknown = "    -1\n  2411\n         1         1\n   1.0D+00   -1\n    -1\n";
    const std::string file =
        title + system + nodes + unknown + Text({.response = "NONE               5   1"}, numbers) +
        Binary({.response = "b                  0   0",
                .numerator = "12    1    0    0 NONE                 NONE"},
               Doubles({4, 5, 6})) +
        unknown + Text({.count = 2, .response = "c                  0   0"}, "1 2\n") +
        Text({.isEven = false, .response = "d                  0   0"}, "0 1 1 2\n3 3\n") +
        Text({.isEven = false, .response = "e                  0   0"}, "0 4 1 5\n3 6\n") +
        Text({.isEven = false, .response = "f                  0   0"}, "0 7 1 8\n4 9\n");
    EXPECT_EQ(Said(file),
              "time response: s from 0 by 0.1: 5:+X [m/s2] 1 -2.5 3, b [m/s2] 4 5 6; "
              "time response: s from 0 by 0.1: c [m/s2] 1 2; "
              "time response: s listed:  0 1 3, d [m/s2] 1 2 3, e [m/s2] 4 5 6; "
              "time response: s listed:  0 1 4, f [m/s2] 7 8 9; "
              "labels say other units than the unit system 'Inch (pound f)'; the labels are taken; "
              "units that have no label are those of their quantities in the unit system 'Inch (pound f)'");
    const auto reader = Open(OpenUffFile, file);
    EXPECT_NEAR(reader->Info().runs[0].channels[1].scale, 0.0254, 1e-12);
    EXPECT_EQ(reader->Info().runs[0].channels[1].convertedUnit, L"0.0254 m/s2");
    EXPECT_EQ(reader->Info().runs[0].start->Text(), "2016-04-18T13:49:58");
    std::string properties;
    for (const auto& [name, text] : reader->Info().properties) properties += name + "=" + text + "; ";
    EXPECT_EQ(properties,
              "model=Bridge; description=a test; program=analyser; "
              "node 5=1, 0, -2 m; datasets passed over=2411 (2); ");

    // Runs are read again from their start when another one was read in between.
    std::array<double, 9> samples = {};
    std::array<double*, 2> targets = {samples.data(), nullptr};
    for (const double expected : {1.0, 1.0}) {
        EXPECT_EQ(reader->Read(0, targets, 1), 1U);
        EXPECT_EQ(samples[0], expected);
        reader->Read(1, std::span(targets).first(1), 1);
    }
    reader->Skip(0, 1);
    EXPECT_EQ(reader->Read(0, targets, 9), 2U);
    EXPECT_EQ(samples[1], 3.0);
    EXPECT_EQ(std::string(reader->ErrorAt(1, 1, ErrorKind::kDamaged, "x").what()), "channel 2, sample 3: x");
}

TEST(UffFile, DamagedSetsAreNamedAndOthersKept) {
    const Function f;
    const std::string bytes = Doubles({1, -2.5, 3});
    const std::string numbers = "1 -2.5\n3\n";
    const std::pair<std::string, const char*> cases[] = {
        {Text({.count = 9}, numbers), "it holds fewer values than the 9 that it states"},
        {Text({.count = 4000000000}, numbers), "it holds fewer values than the 4000000000 that it states"},
        {Text(f, "1 2 3 4\n5 6 7 8\n9 9\n"), "it holds more numbers than the 3 that it states take"},
        {Text(f, "1 -2.5\nx\n"), "'x' is not a number"},
        {Text(f, ""), "it holds fewer values than the 3 that it states"},
        {Text({.type = 3}, numbers), "its numbers are of type 3, which is none of 2, 4, 5 and 6"},
        {Text({.count = 0}, numbers), "it holds no values"},
        {Text({.spacing = "-1.00000E-01"}, numbers), "its values are -0.1 apart"},
        {Text({.spacing = "nonsense"}, numbers), "does not tell its numbers"},
        {kEnd + "    58\nNONE\nNONE\n" + kEnd, "it ends within its header"},
        {Binary(f, bytes, 1, 1), "its binary numbers are DEC VMS floats, and only IEEE floats are read"},
        {Binary(f, bytes, 2, 3), "its binary numbers are IBM 370 floats, and only IEEE floats are read"},
        {Binary(f, bytes, 1, 7), "its binary numbers are of an unknown kind, and only IEEE floats are read"},
        {Binary(f, bytes, 3), "its byte order is 3, which is neither 1 nor 2"},
        {Binary(f, bytes + "xy", 1, 2, 20),
         "its 3 values take 24 bytes and its header states 20, but it ends behind neither"},
        {Binary({.count = 9000000000}, bytes), "it is cut short: its 9000000000 values take more than"},
    };
    for (const auto& [file, sentence] : cases) {
        EXPECT_THAT(Said(file), HasSubstr(sentence)) << file;
        const std::string good = Text({.response = "good               0   0"}, numbers);
        const std::string said = Said(good + file + good);
        EXPECT_THAT(said, HasSubstr("good [m/s2] 1 -2.5 3, good [m/s2] 1 -2.5 3; dataset 58 number 2 is left "
                                    "out (byte "));
        EXPECT_THAT(said, HasSubstr(sentence));
    }
    // What the numbers between are is found when they are read.
    EXPECT_EQ(Said(Text({.count = 6}, "1 2 3 x\n5 6\n")), "channel 1, sample 1: 'x' is not a number");
    EXPECT_EQ(Said(Text({.count = 6}, "1 2 3\n5 6\n")),
              "channel 1, sample 6: it holds fewer values than it states");
    EXPECT_EQ(Said(Text({.count = 12}, "1 2 3\n5 6\n1 2 3 4\n")),
              "channel 1, sample 10: it holds fewer values than it states");
    EXPECT_EQ(Said(Binary(f, Doubles({1, std::nan(""), 3}))),
              "channel 1, sample 2: the value is not a finite number");
    EXPECT_EQ(Said(Text(f, "1 1e999 3\n")), "byte 7: '1e999' is too large");
    EXPECT_EQ(Said(kEnd + "  2411\n x\n" + kEnd),
              "it holds no functions (dataset 58), only datasets 2411 (1)");
    std::string many;
    for (int i = 0; i < 12; ++i) many += Text({.type = 3}, numbers);
    EXPECT_THAT(Said(many + Text(f, numbers)), HasSubstr("number 10 is left out (byte "));
    EXPECT_THAT(Said(many + Text(f, numbers)), HasSubstr("; 2 further datasets 58 with damage left out"));
    std::string remarked;
    for (int i = 0; i < 12; ++i)
        remarked +=
            Text({.abscissa = "17    0    0    0 Time                 zz" + std::to_string(i)}, numbers);
    const auto settled = SettleSignal(Open(OpenUffFile, remarked), {}, {}, {.anyRun = true});
    EXPECT_EQ(settled->Remarks().size(), 9U) << "eight of the units, and that there are more";
    // A header that states too many lines hides nothing that follows it.
    const char* const counts[] = {"           3", "          14", "         100", "   900000000"};
    for (const std::string lines : counts) {
        const std::string hidden = kEnd + "  2414b     1     2" + lines +
                                   "           0     0     0           0           0\nx\n" + kEnd;
        EXPECT_EQ(Said(hidden + Text(f, numbers)), Said(Text(f, numbers))) << lines;
    }
    EXPECT_THROW(OpenUffFile(nullptr), Error);
}

TEST(UffFile, AMeasuredFileHasItsKnownFigures) {
    const char* const folder = std::getenv("KVX_RECORDINGS");
    if (folder == nullptr) GTEST_SKIP() << "KVX_RECORDINGS does not name a folder of recordings";
    const auto reader = OpenSignal(folder + "/microphone_58b_binary.uff"s);
    const SignalRun& run = reader->Runs().at(0);
    EXPECT_EQ(ToUtf8(run.channels.at(0).name) + " " + UnitText(run.channels[0].unit), "Mic 01 Pa");
    EXPECT_EQ(run.delta, 1.0 / 65536);
    ASSERT_EQ(run.samples, 79292);
    std::vector<double> samples(79292);
    double* const target = samples.data();
    ASSERT_EQ(reader->Read(0, {&target, 1}, samples.size()), samples.size());
    // The first samples are published, the others calculated with another library.
    const double first[] = {-0.01475526, -0.01729571, -0.01661006, -0.0161988};
    for (std::size_t i = 0; i < std::size(first); ++i) EXPECT_NEAR(samples[i], first[i], 5e-9);
    const double square = std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
    EXPECT_NEAR(std::sqrt(square / 79292), 0.01434456206467, 1e-14);
    EXPECT_NEAR(std::accumulate(samples.begin(), samples.end(), 0.0) / 79292, 7.207587220326e-05, 1e-16);
    EXPECT_NEAR(*std::ranges::min_element(samples), -0.1413039416, 5e-11);
    EXPECT_NEAR(*std::ranges::max_element(samples), 0.1174807027, 5e-11);
}

// ---- what is written ----

struct Signal {
    std::vector<SignalRun> runs;
    std::vector<std::vector<std::vector<double>>> columns;  ///< per run
};

std::string WriteSignal(const std::string& path, const Signal& signal, UffNumbers numbers) {
    SignalFileOptions options = {.text = L"a title"};
    options.uff.numbers = numbers;
    const auto writer = CreateSignalFile(path, Format::universal, signal.runs, options);
    for (std::size_t r = 0; r < signal.runs.size(); ++r) {
        const auto samples = static_cast<std::size_t>(signal.runs[r].samples);
        for (std::size_t done = 0, count = 1; done < samples; done += count, count = count * 2 + 1) {
            count = std::min(count, samples - done);
            std::vector<std::vector<double>> block;
            std::vector<double*> targets;
            for (const std::vector<double>& column : signal.columns[r]) {
                const auto begin = column.begin() + static_cast<std::ptrdiff_t>(done);
                block.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(count));
            }
            for (std::vector<double>& column : block) targets.push_back(column.data());
            writer->Write(r, targets, count);
        }
    }
    writer->Commit();
    return path;
}

Signal ReadSignal(const std::string& path) {
    const auto reader = OpenSignal(path, {}, {}, {}, {.anyRun = true});
    Signal signal = {reader->Runs(), {}};
    for (std::size_t r = 0; r < signal.runs.size(); ++r) {
        const auto samples = static_cast<std::size_t>(signal.runs[r].samples);
        auto& columns = signal.columns.emplace_back(signal.runs[r].Columns(), std::vector<double>(samples));
        std::vector<double*> targets;
        for (std::vector<double>& column : columns) targets.push_back(column.data());
        EXPECT_EQ(reader->Read(r, targets, samples), samples);
    }
    // Of the letters "mg" it is told that they are read as a mass.
    for (const std::string& remark : reader->Remarks()) EXPECT_THAT(remark, HasSubstr("is that of a mass"));
    return signal;
}

/// A run whose samples are what was once read in the unit of each channel.
void AddRun(Signal* signal, const std::string& title, CUnitCtrl axis, double delta, __int64 offset,
            bool isListed, __int64 samples, const std::vector<SignalRun::Channel>& channels) {
    SignalRun run = {signal->runs.size() + 1, delta, offset, samples, channels, axis, isListed,
                     FromUtf8Replacing(title)};
    std::mt19937_64 random(signal->runs.size() + 5);
    auto& columns = signal->columns.emplace_back();
    if (isListed) {
        auto& places = columns.emplace_back();
        for (__int64 i = 0; i < samples; ++i) places.push_back(0.5 + 0.25 * static_cast<double>(i * i));
    }
    for (const SignalRun::Channel& channel : channels) {
        for (int part = 0; part < (channel.isComplex ? 2 : 1); ++part) {
            auto& column = columns.emplace_back();
            for (__int64 i = 0; i < samples; ++i) {
                const double value = std::ldexp(static_cast<double>(random() >> 11), -43) - 400.0;
                column.push_back(
                    channel.unit.ConvItoD(value, 1.0, !channel.isComplex && channel.unit.IsSingle()));
            }
        }
    }
    signal->runs.push_back(std::move(run));
}

Signal SignalOfAllKinds() {
    const auto unit = [](const char* name) { return NamedUnit(name); };
    Signal signal;
    AddRun(&signal, "", CUnitCtrl::DIM_TIME, 1.0 / 51200, 0, false, 101,
           {{L"a", unit("g")}, {L"control accelerometer 12 \u00E4", unit("degC")}, {L"5:+Z", unit("kN")}});
    AddRun(&signal, "", CUnitCtrl::DIM_TIME, 0.00060546875001, -300000, false, 7,
           {{L"wing 12:-RX", CUnitCtrl()}});
    AddRun(&signal, "", CUnitCtrl::DIM_FREQUENCY, 1.0 / 3, 2, false, 10,
           {{L"5:+Z / 1:-X", unit("g/N"), 0, true}, {L"b / c", unit("(m/s2)/V"), 0, true}});
    AddRun(&signal, "coherence", CUnitCtrl::DIM_FREQUENCY, 0.5, 0, false, 9, {{L"5:+Z / 1:-X", CUnitCtrl()}});
    AddRun(&signal, "", CUnitCtrl::DIM_FREQUENCY, 0.1953125, 0, false, 5, {{L"psd", unit("g2/Hz")}});
    AddRun(&signal, "", CUnitCtrl::DIM_FREQUENCY, 0.25, 0, false, 1,
           {{L"cross", unit("(m/s2)2/Hz"), 0, true}});
    AddRun(&signal, "", CUnitCtrl::DIM_FREQUENCY, 0.25, 0, false, 4, {{L"lines", unit("um")}});
    AddRun(&signal, "", CUnitCtrl::DIM_ANGULAR_VELOCITY, 2, 0, false, 4, {{L"order 1", unit("mm/s")}});
    AddRun(&signal, "", CUnitCtrl::DIM_FREQUENCY, 0, 0, true, 8,
           {{L"t", unit("Pa"), 0, true}, {L"u", unit("Pa"), 0, true}});
    AddRun(&signal, "", CUnitCtrl::DIM_TIME, 0, 0, true, 5, {{L"v", unit("microstrain")}});
    return signal;
}

TEST(UffWriter, AllKindsComeBackToTheBitAndAsTextTo13Digits) {
    const TempFolder folder;
    const Signal signal = SignalOfAllKinds();
    constexpr double kDigits13 = 5e-13;
    // The kinds that unit and axis tell.
    const wchar_t* const titles[] = {L"time response",
                                     L"time response",
                                     L"frequency response",
                                     L"coherence",
                                     L"power spectral density",
                                     L"cross spectrum",
                                     L"spectrum",
                                     L"",
                                     L"spectrum",
                                     L"time response"};
    for (const UffNumbers numbers : {UffNumbers::binary, UffNumbers::ascii}) {
        const std::string path = WriteSignal((folder / "out.uff").string(), signal, numbers);
        const Signal back = ReadSignal(path);
        ASSERT_EQ(back.runs.size(), signal.runs.size());
        for (std::size_t r = 0; r < back.runs.size(); ++r) {
            const SignalRun& run = back.runs[r];
            const SignalRun& expected = signal.runs[r];
            EXPECT_EQ(run.title, titles[r]);
            EXPECT_EQ(run.samples, expected.samples);
            EXPECT_TRUE(run.axisUnit == expected.axisUnit);
            EXPECT_EQ(run.isListed, expected.isListed);
            EXPECT_EQ(run.delta, expected.delta);
            EXPECT_EQ(run.offset, expected.offset);
            ASSERT_EQ(run.channels.size(), expected.channels.size());
            for (std::size_t c = 0; c < run.channels.size(); ++c) {
                EXPECT_EQ(run.channels[c].name, expected.channels[c].name);
                EXPECT_EQ(UnitText(run.channels[c].unit), UnitText(expected.channels[c].unit));
                EXPECT_EQ(run.channels[c].isComplex, expected.channels[c].isComplex);
            }
            if (numbers == UffNumbers::binary) {
                EXPECT_EQ(back.columns[r], signal.columns[r]) << r;
                continue;
            }
            for (std::size_t c = 0; c < back.columns[r].size(); ++c) {
                for (std::size_t i = 0; i < back.columns[r][c].size(); ++i) {
                    const double value = signal.columns[r][c][i];
                    const bool isTemperature = r == 0 && c == 1;  // held in another place than 0 K
                    ASSERT_NEAR(back.columns[r][c][i], value,
                                (std::abs(value) + (isTemperature ? 273.15 : 0.0)) * kDigits13);
                }
            }
        }
        // What was read is written as the same bytes again.
        const std::string again = WriteSignal((folder / "again.uff").string(), back, numbers);
        EXPECT_TRUE(folder.Read("again.uff") == folder.Read("out.uff"));
    }
}

TEST(UffWriter, EveryUnitIsReadBackAsItselfOrItsValuesAreThoseOfTheStandardUnit) {
    const TempFolder folder;
    Signal signal;
    for (const CUnitCtrl::UNIT_CODE code : units::kAll) {
        const CUnitCtrl unit = SingleUnit(code);
        signal.runs.push_back({1, 0.5, 0, 3, {{L"a", unit}}});
        signal.columns.push_back({{1.5, 0.1, 3.7}});
    }
    const Signal back = ReadSignal(WriteSignal((folder / "out.uff").string(), signal, UffNumbers::binary));
    std::string others;
    std::size_t channel = 0;
    for (const SignalRun& run : back.runs) {
        for (std::size_t c = 0; c < run.channels.size(); ++c, ++channel) {
            const CUnitCtrl& expected = signal.runs[channel].channels.front().unit;
            const CUnitCtrl& unit = run.channels[c].unit;
            if (UnitParts(unit).front().unit != UnitParts(expected).front().unit)
                others += UnitText(expected) + ">" + UnitText(unit) + " ";
            const auto& columns = back.columns[static_cast<std::size_t>(&run - back.runs.data())];
            for (std::size_t i = 0; i < 3; ++i) {
                const double value = signal.columns[channel].front()[i];
                EXPECT_NEAR(columns[c][i], value,
                            1e-13 * (expected == CUnitCtrl::DIM_TEMPERATURE ? 273.15 : value))
                    << UnitText(expected);
            }
        }
    }
    // The labels of these mean 20 log10 and the acceleration.
    EXPECT_EQ(others, "dB>% G>T ");
}

TEST(UffWriter, RefusesWhatCannotBeReadBack) {
    const TempFolder folder;
    const auto refusal = [&](const SignalRun& run, double sample) -> std::string {
        try {
            SignalFileOptions options;
            const auto writer =
                CreateSignalFile((folder / "out.uff").string(), Format::universal, {run}, options);
            double* const column = &sample;
            writer->Write(0, {&column, 1}, 1);
            writer->Commit();
            return "";
        } catch (const Error& error) {
            return error.what();
        }
    };
    SignalRun run = {1, 0.5, 0, 1, {{L"a", NamedUnit("g")}}};
    EXPECT_EQ(refusal(run, kNoValue<double>),
              "sample 1: channel 'a' has a sample that is missing, which a universal file cannot hold");
    EXPECT_EQ(refusal(run, std::nan("")), "sample 1: channel 'a' has a sample that is not finite");
    run.samples = 10'000'000'000;
    EXPECT_THAT(refusal(run, 1.0), HasSubstr("at most 9999999999 values"));
    run = {1, 0.5, 0, 1, {}};
    EXPECT_EQ(refusal(run, 1.0), "there are no channels or no samples to write");
    EXPECT_EQ(folder.Count(), 0U);
}

}  // namespace
