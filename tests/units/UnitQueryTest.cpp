// SPDX-License-Identifier: MIT
//
// Questions about units, against what the SI and the suite's dimension list say.
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <tuple>

namespace {

using namespace kvx;
using DIM = CUnitCtrl::DIM_CODE;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(NamedUnit, SuggestsWhatIsNear) {
    EXPECT_EQ(UnitText(NamedUnit("m/s2")), "m/s2");
    EXPECT_EQ(DimensionOf(NamedUnit("G", CUnitCtrl::DIM_MAGNETIC_FLUX_DENSITY)),
              CUnitCtrl::DIM_MAGNETIC_FLUX_DENSITY);
    const std::pair<const char*, const char*> cases[] = {
        {"mm/s3", "'mm/s3' is not a unit (did you mean 'mm/s' or 'cm/s' or 'km/s'?)"},
        {"fortnight", "'fortnight' is not a unit that is known"},
        {"\xFF", "'\\xFF' is not a unit: it is not valid UTF-8"},
        {"psii", "'psii' is not a unit (did you mean 'psi' or 'ps' or 'ksi'?)"},
        {"Vlot", "'Vlot' is not a unit (did you mean 'volt' or 'volts'?)"},
        {"gs", "'gs' is not a unit (did you mean 'g' or 'GA' or 'Gn'?)"},
        {"inches", "'inches' is not a unit (did you mean 'inch/s' or 'inch'?)"},
        {"mV/voltt", "'mV/voltt' is not a unit: no 'voltt' is known (did you mean 'volt' or 'volts'?)"},
        {"furlong/s2", "'furlong/s2' is not a unit: no 'furlong' is known"},
        {"J/kg K",
         "'J/kg K' is not a unit: its parts are, but at most four make one, with powers of 1 and 2 and no "
         "blank behind "
         "'/'"},
    };
    const auto refusal = [](auto read, const char* text) {
        try {
            read(text);
        } catch (const Error& error) {
            return std::pair(error.Kind(), error.Sentence());
        }
        return std::pair(ErrorKind::kHost, std::string("it is one"));
    };
    const auto kept = [](const char* text) { NamedUnit(text); };
    const auto entered = [](const char* text) { NamedEntryUnit(text); };
    for (const auto& [text, sentence] : cases) {
        EXPECT_EQ(refusal(kept, text), std::pair(ErrorKind::kUnknownName, std::string(sentence)));
        EXPECT_EQ(refusal(entered, text), refusal(kept, text));
    }
    EXPECT_EQ(refusal(entered, "psi").second, "it is one");
    EXPECT_EQ(
        refusal(kept, "psi"),
        std::pair(ErrorKind::kBadValue, std::string("values in 'psi' are read, but none are kept in it; the "
                                                    "nearest unit that they can be kept in is 'kPa'")));
}

TEST(UnitNames, AreReadInEveryLanguageAndStoredInOne) {
    for (const DIM dimension : AllDimensions()) {
        for (const CUnitCtrl& unit : UnitsOf(dimension)) {
            SetLanguage(Language::kEnglish);
            const std::wstring english = PlainUnitName(unit, Language::kEnglish),
                               stored = PlainUnitName(unit);
            EXPECT_EQ(UnitText(unit), english.empty() ? "-" : ToUtf8(english));
            EXPECT_EQ(StoredUnitText(unit), stored.empty() ? "-" : ToUtf8(stored));
            SetLanguage(Language::kJapanese);
            EXPECT_EQ(UnitText(unit), StoredUnitText(unit));
            const auto read = ParseUnit(english, dimension);
            const auto readStored = ParseUnit(stored, dimension);
            ASSERT_TRUE(read && readStored) << ToUtf8(english);
            EXPECT_EQ(UnitParts(*read).front().unit, UnitParts(*readStored).front().unit) << ToUtf8(english);
        }
    }
    const std::tuple<const char*, const char*, const char*> cases[] = {
        {"(N.m)2/Hz", "(N·m)2/Hz", "(N·m)2/Hz"},
        {"degC/s", "°C/s", "°C/s"},
        {"1/(g.cm2)", "1/(g·cm2)", "1/(g·cm2)"},
        {"kg.m/s", "kg·(m/s)", "kg·(m/s)"},
        {"K", "K", "K"},
        {"count", "count", "回"},
    };
    for (const auto& [text, english, japanese] : cases) {
        EXPECT_EQ(UnitText(NamedUnit(text), Language::kEnglish), english);
        EXPECT_EQ(UnitText(NamedUnit(text), Language::kJapanese), japanese);
        EXPECT_EQ(UnitText(NamedUnit(english), Language::kJapanese), japanese);
    }
}

TEST(ParseUnitHeading, PartsNameAndUnit) {
    const struct {
        std::wstring text, name;
        std::optional<std::string> unit;
        std::wstring unknown;
    } cases[] = {
        {L"top [m/s2]", L"top", "m/s2", L""},
        {L"force (N)", L"force", "N", L""},
        {L"psd ((m/s2)2/Hz)", L"psd", "(m/s2)2/Hz", L""},
        {L"[g]", L"", "g", L""},
        {L"count [-]", L"count", "-", L""},
        {L"x [flux]", L"x [flux]", std::nullopt, L"flux"},
        {L"x (2)", L"x (2)", std::nullopt, L""},
        {L"x ]", L"x ]", std::nullopt, L""},
        {L"", L"", std::nullopt, L""},
    };
    for (const auto& [text, name, unit, unknown] : cases) {
        const UnitHeading heading = ParseUnitHeading(text);
        EXPECT_EQ(heading.name, name);
        EXPECT_EQ(heading.unit ? std::optional(UnitText(*heading.unit)) : std::nullopt, unit);
        EXPECT_EQ(heading.unknownUnit, unknown);
    }
}

TEST(UnitQuery, MakesDensitiesAndTransferUnits) {
    const auto density = [](const char* unit) {
        const std::optional<CUnitCtrl> made = DensityUnit(NamedUnit(unit));
        return made ? UnitText(*made) : "none";
    };
    EXPECT_EQ(density("g"), "g2/Hz");
    EXPECT_EQ(density("m/s2"), "(m/s2)2/Hz");
    EXPECT_EQ(density(""), "1/Hz");
    EXPECT_EQ(density("g2/Hz"), "none");
    EXPECT_EQ(UnitText(TransferUnit(NamedUnit("g"), NamedUnit("N")).value()), "g/N");
    EXPECT_EQ(UnitText(TransferUnit(NamedUnit("g"), CUnitCtrl()).value()), "g");
    EXPECT_FALSE(TransferUnit(NamedUnit("g2/Hz"), NamedUnit("N")));
    EXPECT_TRUE(IsConvertible(*TransferUnit(NamedUnit("g"), NamedUnit("N")), NamedUnit("(m/s2)/kN")));
    EXPECT_FALSE(IsConvertible(NamedUnit("g/N"), NamedUnit("g2/N")));
    EXPECT_FALSE(IsConvertible(NamedUnit("g"), NamedUnit("g/N")));
}

TEST(UnitQuery, ConvertsBetweenNamedUnits) {
    const struct {
        double value;
        const char *from, *to;
        double converted;
    } cases[] = {
        {1, "g", "m/s2", 9.80665},
        {-40, "degC", "degF", -40},
        {1, "G", "T", 1e-4},
        {2, "kg", "g", 2000},
        {0.04, "g2/Hz", "(m/s2)2/Hz", 0.04 * 9.80665 * 9.80665},
        {60, "rpm", "Hz", 1},
        {1, "psi", "Pa", 6894.757293168361},
        {1, "bar", "psi", 14.503773773020923},
        {1, "g", "in/s2", 386.08858267716533},
        {1, "mm/s2", "g", 1 / 9806.65},
        {1, "kip", "lbf", 1000},
        {120, "CPM", "Hz", 2},
    };
    for (const auto& [value, from, to, converted] : cases) {
        const UnitPair units = NamedUnitPair(from, to);
        EXPECT_NEAR(ConvertValue(value, units.from, units.to), converted, 1e-12) << from;
    }
    EXPECT_THROW(NamedUnitPair("g", "Hz"), Error);
}

TEST(UnitQuery, ListsDimensionsAndTheirUnits) {
    EXPECT_EQ(AllDimensions().size(), 32U);
    std::size_t units = 0;
    for (const CUnitCtrl::DIM_CODE dimension : AllDimensions()) {
        EXPECT_NE(DimensionText(dimension), "");
        EXPECT_NE(DimensionDisplayName(dimension), "");
        units += UnitsOf(dimension).size();
    }
    EXPECT_EQ(units, units::kAll.size());
    EXPECT_THAT(UnitsOf(CUnitCtrl::DIM_CODE{0x7F0000}), IsEmpty());
    for (const char* text : {"magnetic flux", "磁束", "0x17000000", "Wb"})
        EXPECT_THAT(FindDimensions(text), ElementsAre(CUnitCtrl::DIM_MAGNETIC_FLUX)) << text;
    EXPECT_THAT(FindDimensions("g"), ElementsAre(CUnitCtrl::DIM_ACCELERATION, CUnitCtrl::DIM_MASS));
    EXPECT_THAT(FindDimensions("flux"), IsEmpty());
    EXPECT_EQ(UnitsAlike(NamedUnit("g2/Hz")).size(), UnitsOf(CUnitCtrl::DIM_ACCELERATION).size());
}

TEST(FindSuffix, KnowsNamesAndWhatIsUsual) {
    EXPECT_EQ(FindSuffix("p-p", CUnitCtrl()), CValConv::SUFFIX_PEAK_TO_PEAK);
    EXPECT_EQ(FindSuffix("usual", NamedUnit("g")), CValConv::SUFFIX_ZERO_TO_PEAK);
    EXPECT_EQ(FindSuffix("usual", NamedUnit("mm")), CValConv::SUFFIX_PEAK_TO_PEAK);
    EXPECT_EQ(FindSuffix("usual", NamedUnit("g2/Hz")), CValConv::SUFFIX_NONE);
    EXPECT_FALSE(FindSuffix("peak", CUnitCtrl()));
}

}  // namespace
