// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/EntryUnit.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>

using namespace kvx;

namespace {

struct Entry {
    const wchar_t* stated;
    const char* unit;  ///< null for what is none
    double scale = 1.0;
    const char* converted = "";
};

// The factors are those of NIST SP 811, appendix B.
// clang-format off
const Entry kEntries[] = {
    {L"g",            "g"},
    {L"m/s2",         "m/s2"},
    {L"mV/g",         "mV/g"},
    {L"",             "-"},
    {L"mil",          "μm",          25.4,                "mil"},
    {L"ips",          "inch/s",      1.0,                 "ips"},
    {L"psi",          "kPa",         6.894757293168361,   "psi"},
    {L"ksi",          "MPa",         6.894757293168361,   "ksi"},
    {L"bar",          "kPa",         100.0,               "bar"},
    {L"mbar",         "hPa",         1.0,                 "mbar"},
    {L"kip",          "kN",          4.4482216152605,     "kip"},
    {L"\u00B5Pa",     "Pa",          1e-6,                "\u00B5Pa"},
    {L"mm/s2",        "m/s2",        1e-3,                "mm/s2"},
    {L"in/s^2",       "m/s2",        0.0254,              "inch/s2"},
    {L"ft/s\u00B2",   "m/s2",        0.3048,              "feet/s2"},
    {L"cm/s/s",       "m/s2",        1e-2,                "(cm/s)/s"},
    {L"um/s",         "m/s",         1e-6,                "μm/s"},
    {L"N/mm2",        "Pa",          1e6,                 "N/mm2"},
    {L"(mm/s2)2/Hz",  "(m/s2)2/Hz",  1e-6,                "(mm/s2)2/Hz"},
    {L"psi^2/Hz",     "kPa2/Hz",     6.894757293168361 * 6.894757293168361, "psi^2/Hz"},
    {L"mm/s2/N",      "(m/s2)/N",    1e-3,                "mm/s2/N"},
    {L"psi/V",        "kPa/V",       6.894757293168361,   "psi/V"},
    {L"V/psi",        "V/kPa",       1 / 6.894757293168361, "V/psi"},
    // As the field writes them.
    {L"Volts",        "V"},
    {L"volt",         "V"},
    {L"ue",           "μ"},
    {L"\u00B5\u03B5",  "μ"},
    {L"microstrain",  "μ"},
    {L"m/s**2",       "m/s2"},
    {L"m/s^2",        "m/s2"},
    {L"m/sec^2",      "m/s2"},
    {L"(m/s\u00B2)",  "m/s2"},
    {L"in/sec",       "inch/s"},
    {L"(m/sec2)2/Hz", "(m/s2)2/Hz"},
    {L"sec",          "sec"},
    {L"\u00B0C",      "\u00B0C"},
    {L"degC",         "\u00B0C"},
    {L"deg C",        "\u00B0C"},
    {L"K",            "K"},
    {L"rpm",          "rpm"},
    {L"RPM",          "rpm"},
    {L"N\u00B7m",     "N\u00B7m"},
    {L"Nm",           "N\u00B7m"},
    {L"lb",           "lb"},
    {L"lbs",          "lb"},
    {L"deg/sec",      "degree/s"},
    {L"grms",         "g",           1.0,                 "grms"},
    {L"g rms",        "g",           1.0,                 "g rms"},
    {L"(m/s2) peak",  "m/s2",        1.0,                 "(m/s2) peak"},
    {L"mm/s2 RMS",    "m/s2",        1e-3,                "mm/s2 RMS"},
    {L"Grms^2/Hz",    "G2/Hz",       1.0,                 "Grms^2/Hz"},
    {L"milli-g",      "g",           1e-3,                "milli-g"},
    {L"CPM",          "rpm",         1.0,                 "CPM"},
    {L"rms",          nullptr},
    {L"Mbar",         nullptr},
    {L"parsec",       nullptr},
    {L"/Hz/Hz/Hz//2", nullptr},
};
// clang-format on

TEST(EntryUnit, IsOfTheTableWhereTheStatedOneIsNot) {
    for (const Entry& entry : kEntries) {
        const std::optional<EntryUnit> unit = ParseEntryUnit(entry.stated);
        ASSERT_EQ(unit.has_value(), entry.unit != nullptr) << ToUtf8(entry.stated);
        if (!unit) continue;
        EXPECT_EQ(UnitText(unit->unit), entry.unit) << ToUtf8(entry.stated);
        EXPECT_DOUBLE_EQ(unit->scale, entry.scale) << ToUtf8(entry.stated);
        EXPECT_EQ(ToUtf8(unit->converted), entry.converted);
    }
}

TEST(EntryUnit, OfALengthOverSquaredTimeIsAnAcceleration) {
    EXPECT_TRUE(ParseEntryUnit(L"mm/s2")->unit.IsAcc());
    EXPECT_TRUE(ParseEntryUnit(L"in/s")->unit.IsVel());
    EXPECT_FALSE(ParseEntryUnit(std::wstring(300, L'm')));
    std::wstring quotients = L"a";
    for (int i = 0; i < 100; ++i) quotients += L"/a";
    EXPECT_FALSE(ParseEntryUnit(quotients));
}

TEST(EntryUnit, OfAForceMayBeAPound) {
    EXPECT_EQ(UnitText(ParseEntryUnit(L"lbs", CUnitCtrl::DIM_FORCE)->unit), "lbf");
    EXPECT_EQ(UnitText(ParseEntryUnit(L"lb")->unit), "lb") << "a mass, as the table has it";
    EXPECT_EQ(UnitText(ParseEntryUnit(L"psi", CUnitCtrl::DIM_FORCE)->unit), "kPa")
        << "a hint forbids nothing";
    EXPECT_EQ(UnitText(ParseEntryUnit(L"cpm")->unit), "rpm");
    EXPECT_DOUBLE_EQ(ParseEntryUnit(L"cpm")->unit.ConvItoD(120.0, 1.0, 0), 2.0) << "hertz";
}

std::string SentenceOf(std::string_view kept) {
    try {
        return UnitText(NamedKeptUnit(kept));
    } catch (const Error& error) {
        return error.Sentence();
    }
}

TEST(EntryUnit, IsNotKeptWhereTheTableHasNoneOfIt) {
    EXPECT_EQ(SentenceOf("mm/s"), "mm/s");
    EXPECT_EQ(
        SentenceOf("psi"),
        "values in 'psi' are read, but none are kept in it; the nearest unit that they can be kept in is "
        "'kPa'");
    EXPECT_THAT(SentenceOf("mm/s2"), testing::EndsWith("'m/s2'"));
    EXPECT_THAT(SentenceOf("parsec"), testing::StartsWith("'parsec' is not a unit"));
}

}  // namespace
