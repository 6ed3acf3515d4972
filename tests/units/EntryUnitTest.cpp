// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/EntryUnit.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>

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

}  // namespace
