// SPDX-License-Identifier: MIT
//
// SAC, SMC, CSMIP and GeoNet recordings: made by hand after the descriptions of the formats, and real ones,
// whose figures stand in their headers or were computed with another library. The real ones lie outside the
// tree: KVX_RECORDINGS names their folder.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/units/EntryUnit.h>
#include <KvxRecording01/CsmipFile.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/GeonetFile.h>
#include <KvxRecording01/SacFile.h>
#include <KvxRecording01/SmcFile.h>

#include "tests/support/Recordings.h"
#include "tests/support/TempFolder.h"

using namespace kvx;
using namespace kvx::test;

namespace {

std::string Bytes(std::uint64_t bits, std::size_t size, bool isBigEndian) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i)
        bytes += static_cast<char>(bits >> 8 * (isBigEndian ? size - 1 - i : i) & 0xFF);
    return bytes;
}

std::string Replaced(std::string bytes, std::size_t at, const std::string& by) {
    return bytes.replace(at, by.size(), by);
}

/// A SAC file in the making: its header by field, then singles.
struct Sac {
    std::map<int, float> reals = {{0, 0.02F}, {5, 1.5F}};
    std::map<int, std::int32_t> wholes = {{6, 6}, {15, 1}, {35, 1}};
    std::map<int, std::string> texts = {{0, "ABCD"}, {21 * 8, "NZ"}};
    std::vector<float> values = {1.0F, -2.5F, 0.25F};
    int count = 3;
    bool isBigEndian = false;
    std::vector<double> footer = {};

    std::string Make() const {
        std::string bytes;
        for (int i = 0; i < 70; ++i) {
            const float value = reals.contains(i) ? reals.at(i) : -12345.0F;
            bytes += Bytes(std::bit_cast<std::uint32_t>(value), 4, isBigEndian);
        }
        for (int i = 0; i < 40; ++i) {
            std::int32_t value = wholes.contains(i) ? wholes.at(i) : -12345;
            if (i == 9) value = count;
            bytes += Bytes(static_cast<std::uint32_t>(value), 4, isBigEndian);
        }
        std::string names;
        for (int i = 0; i < 24; ++i) names += "-12345  ";
        for (const auto& [at, text] : texts)
            names.replace(static_cast<std::size_t>(at), text.size() + 1, text + '\0');
        bytes += names;
        for (const float value : values) bytes += Bytes(std::bit_cast<std::uint32_t>(value), 4, isBigEndian);
        for (const double value : footer) bytes += Bytes(std::bit_cast<std::uint64_t>(value), 8, isBigEndian);
        return bytes;
    }
};

const std::string kNanometres =
    "the header says that the values are velocities, which the format counts in nm/s; some programs write "
    "them in another unit, which is to be stated then";

std::string Right(const std::string& text, std::size_t width) {
    return std::string(width - std::min(width, text.size()), ' ') + text;
}

/// Lines of numbers in columns, as a header has them: those that are not given are `otherwise`.
std::string Grid(std::size_t count, std::size_t perLine, std::size_t width,
                 const std::map<std::size_t, std::string>& given, const std::string& otherwise) {
    std::string text;
    for (std::size_t i = 1; i <= count; ++i) {
        text += Right(given.contains(i) ? given.at(i) : otherwise, width);
        if (i % perLine == 0 || i == count) text += "\r\n";
    }
    return text;
}

std::string Smc(const std::string& title, std::map<std::size_t, std::string> whole,
                std::map<std::size_t, std::string> real, const std::string& data) {
    std::string text = title +
                       "\r\n*\r\nA020A\r\n  1989  10  18    0004 Loma Prieta\r\nMoment Mag= 7.1\r\n"
                       "station = Redwood City  component=    133       \r\n";
    for (int i = 0; i < 5; ++i) text += "*\r\n";
    whole.insert({{2, "1989"}, {3, "291"}, {4, "0"}, {5, "4"}, {14, "133"}, {16, "1"}});
    real.insert({{1, "0.1700000E+39"}, {23, "0.6000000E+00"}});
    return text + Grid(48, 8, 10, whole, "-32768") + Grid(50, 5, 15, real, "0.1700000E+39") +
           "|a comment\r\n" + data;
}

const std::map<std::size_t, std::string> k200Hz = {{2, "0.2000000E+03"}};

std::string CsmipHeader(bool isRaw, int channel, const std::string& unit = "",
                        const std::map<std::size_t, std::string>& whole = {}) {
    const std::string n = std::to_string(channel);
    std::string text =
        isRaw ? "" : "CORRECTED ACCELEROGRAM   36456-S4384       CHAN  " + n + ":  90 DEG   FROM\n";
    text +=
        "UNCORRECTED ACCELEROGRAM DATA       PROCESSED:  6/06/83\nCOALINGA\nMAY 2, 1983\nS4384  TRIGGER "
        "TIME: 16:42\n"
        "STATION NO. 36456\nPARKFIELD ZONE 14\nCHAN  " +
        n + ": 90 DEG            LOCATION: ROOF\n";
    for (int i = isRaw ? 7 : 8; i < (isRaw ? 13 : 25); ++i)
        text += i == 11 && isRaw ? unit + "\n" : "LINE " + std::to_string(i + 1) + " OF POINTS\n";
    return text + Grid(100, 16, 5, whole, "0") + Grid(isRaw ? 50 : 100, 8, 10, {{3, "1.000"}}, ".000");
}

std::string Geonet(bool isRaw, const std::string& component, int velocities, const std::string& factor,
                   const std::string& data) {
    std::string text = isRaw ? "Uncorrected" : "Corrected";
    text +=
        " accelerogram 20160214_001343_NBLC_20 GNS Science\nSite NBLC      43 30 25S  172 43 53E\n"
        "New Brighton Library\nInstrument Cusp_323\nResolution: 18-bit\nAccelerogram\n11 km east\n"
        "2016 February 14\nEpicentre\nNumber of points\nRaw readings\nData is unfiltered\nComponent " +
        component + "\nAcceleration:  Peak  -2080.5 mm/s/s\nVelocity\nDisplacement\n";
    const std::string n = std::to_string(velocities);
    return text +
           Grid(40, 10, 8,
                {{9, "2016"}, {10, "2"}, {19, "14"}, {34, "12"}, {35, n}, {36, n}, {39, "13"}, {40, "25845"}},
                "0") +
           Grid(60, 10, 8, {{8, factor}, {25, "0.0100"}, {26, "0.0050"}}, "0.00") + data;
}

const std::string kTwelve =
    "     1.0    -2.0 -2080.5     0.0     0.0     0.0     0.0     0.0     0.0    10.0\n    11.0    12.0\n";

const std::string kV2 =
    CsmipHeader(false, 1) + "    9 POINTS OF ACCEL DATA EQUALLY SPACED AT  .020 SEC.  (UNITS: CM/SEC/SEC)\n" +
    Grid(8, 8, 10, {{1, "-3.038"}}, ".500") + Right("-267.957\n", 11) +
    "    9 points of veloc data equally spaced at  .020 sec.  (units: cm/sec)\n" +
    Grid(9, 8, 10, {{9, "2.5"}}, "1.0") + "/&  ----------  END OF DATA FOR CHANNEL  1\n" +
    CsmipHeader(false, 2) + "    2 points of displ data equally spaced at  .010 sec.  \n" +
    Grid(2, 8, 10, {}, "5.449") + "/&\n\n";
const std::string kPairs = CsmipHeader(true, 7, "UNITS ARE SEC AND G/10.", {{28, "3"}}) +
                           "   .000   .120   .008  -.125   .021   .131\n/&\n";

struct Case {
    OpenBytes open;
    std::string bytes;
    std::string described;
};

void ExpectDescribed(const std::vector<Case>& cases) {
    for (const Case& each : cases) EXPECT_EQ(Described(each.open, each.bytes), each.described);
}

TEST(Seismic, SacFilesOfBothOrdersVersionsAndAllTypesAreRead) {
    Sac big = {.isBigEndian = true};
    big.wholes[16] = 7;
    Sac footed = {.footer = std::vector<double>(22, -12345.0)};
    footed.wholes[6] = 7;
    footed.footer[0] = 0.1;
    footed.footer[1] = -0.3;
    Sac uneven = {.values = {1.0F, 2.0F, 0.5F, 2.5F}, .count = 2};
    uneven.wholes[35] = 0;
    Sac spectrum = uneven;
    spectrum.reals = {{0, 0.5F}, {5, 0.0F}};
    spectrum.wholes[35] = 1;
    spectrum.wholes[15] = 2;
    Sac polar = spectrum;
    polar.wholes[15] = 3;
    polar.values = {2.0F, 3.0F, 0.0F, 1.57079637F};
    Sac longer = {.values = {1.0F, 2.0F}, .count = 1};
    longer.wholes[15] = 4;
    ExpectDescribed({
        {OpenSac, Sac().Make(), ": s from 1.5 by 0.02: NZ.ABCD [] 1 -2.5 0.25"},
        {OpenSac, big.Make(), ": s from 1.5 by 0.02: NZ.ABCD [mm/s] 1 -2.5 0.25"},
        {OpenSac, footed.Make(), ": s from -0.3 by 0.1: NZ.ABCD [] 1 -2.5 0.25"},
        {OpenSac, uneven.Make(), ": s listed:  0.5 2.5, NZ.ABCD [] 1 2"},
        {OpenSac, spectrum.Make(), ": Hz from 0 by 0.5: NZ.ABCD [] 1 2,  0.5 2.5"},
        {OpenSac, polar.Make(), ": Hz from 0 by 0.5: NZ.ABCD [] 2 -1.3113417e-07,  0 3"},
        {OpenSac, longer.Make(),
         ": - from 1.5 by 0.02: NZ.ABCD [] 1; 4 bytes after the samples are left out"},
    });
    const auto reader = Open(OpenSac, big.Make());
    EXPECT_EQ(reader->Info().runs[0].channels[0].scale, 1e-6);
    EXPECT_EQ(reader->Info().properties.at(0).name, "kstnm");
    EXPECT_EQ(reader->Info().properties.at(0).text, "ABCD");

    // What the unit is taken for is told as long as none is stated.
    const TempFolder folder;
    folder.Write("big.sac", big.Make());
    const std::string path = (folder / "big.sac").string();
    EXPECT_THAT(OpenSignal(path)->Remarks(), testing::Contains(kNanometres));
    EXPECT_THAT(OpenSignal(path, {}, {.units = {NamedEntryUnit("g")}})->Remarks(), testing::IsEmpty());
}

TEST(Seismic, SacFilesAreReadAsTheyWereWritten) {
    struct Written {
        const char* unit;
        bool isListed, isComplex;
        std::size_t bytes;
        std::string described;
    };
    const TempFolder folder;
    const std::string path = (folder / "out.sac").string();
    const std::string third = "0.333333";
    const Written cases[] = {
        {"g", false, false, 820,
         ": s from -0.666667 by " + third + ": shaker t [m/s2] 1.5e+09 -250000000 2e+09"},
        {"N", false, false, 820, ": s from -0.666667 by " + third + ": shaker t [] 1.5 -0.25 2"},
        {"V", true, false, 832, ": s listed:  0.125 0.25 1, shaker t [V] 1.5 -0.25 2"},
        {"m/s2", false, true, 832,
         ": Hz from -0.666667 by " + third + ": shaker t [] 1.5 -0.25 2,  0.125 0.25 1"},
    };
    for (const Written& each : cases) {
        SignalRun run = {1, 1.0 / 3.0, -2, 3, {{L"shaker top", NamedUnit(each.unit), 1, each.isComplex}}};
        run.isListed = each.isListed;
        if (each.isComplex) run.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
        std::vector<double> values = {1.5, -0.25, 2.0}, others = {0.125, 0.25, 1.0};
        std::vector<double*> columns = {values.data()};
        if (each.isListed) columns.insert(columns.begin(), others.data());
        if (each.isComplex) columns.push_back(others.data());
        const auto writer = CreateSignalFile(path, Format::sac, {run}, {L"a text"});
        writer->Write(0, columns, 2);
        for (double*& column : columns) column += 2;
        writer->Write(0, columns, 1);
        writer->Commit();
        const std::string bytes = folder.Read("out.sac");
        EXPECT_EQ(bytes.size(), each.bytes);
        EXPECT_EQ(RecognizeFile(path).format, Format::sac);
        EXPECT_EQ(Open(OpenSac, bytes)->Info().runs[0].axis.delta, each.isListed ? 0.0 : run.delta);
        EXPECT_TRUE(Described(OpenSac, bytes).starts_with(each.described)) << Described(OpenSac, bytes);
    }
    // Names of several parts have fields for them; others are cut behind a whole character.
    const std::pair<std::wstring, std::string> names[] = {
        {L"CJ.T001230.HNE", "CJ.T001230.HNE"}, {L"CJ.T001230.00.HNE", "CJ.T001230.00.HNE"},
        {L"T001230.HNE", "T001230.HNE"},       {L"CJ..T001230.HNE", "CJ..T001"},
        {L"shaker \u4E0A", "shaker"},          {L"shak \u4E0A\u4E0A", "shak \u4E0A"},
    };
    double sample = 4.0;
    double* const single[] = {&sample};
    for (const auto& [name, read] : names) {
        const SignalRun run = {1, 1.0, 0, 1, {{name, ParseEntryUnit(L"(m/s2)2")->unit, 1}}};
        const auto writer = CreateSignalFile(path, Format::sac, {run});
        writer->Write(0, single, 1);
        writer->Commit();
        // A square of a unit is no value of the kind of the unit.
        EXPECT_TRUE(
            Described(OpenSac, folder.Read("out.sac")).starts_with(": s from 0 by 1: " + read + " [] 4"))
            << Described(OpenSac, folder.Read("out.sac"));
    }
    SignalRun two = {1, 1.0, 0, 3, {{L"a", CUnitCtrl(), 1}, {L"b", CUnitCtrl(), 2}}};
    SignalRun lines = {1, 1.0, 0, 3, {{L"a", CUnitCtrl(), 1}}, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY)};
    SignalRun huge = {1, 1.0, 0, 1, {{L"a", NamedUnit("m"), 1}}};
    EXPECT_THROW(CreateSignalFile(path, Format::sac, {two}), Error);
    EXPECT_THROW(CreateSignalFile(path, Format::sac, {lines}), Error);
    double value = 1e30;
    double* const column[] = {&value};
    EXPECT_THROW(CreateSignalFile(path, Format::sac, {huge})->Write(0, column, 1), Error);
    value = kNoValue<double>;
    try {
        CreateSignalFile(path, Format::sac, {huge})->Write(0, column, 1);
        ADD_FAILURE() << "a missing value was written";
    } catch (const Error& error) {
        EXPECT_STREQ(error.what(), "sample 1: the sample holds no value");
    }
}

TEST(Seismic, SacTextIsReadLikeTheBinaryForm) {
    const auto text = [](const std::string& type, const std::string& even, const std::string& data) {
        std::string names;
        for (int i = 0; i < 8; ++i) names += "-12345  -12345  -12345  \n";
        names.replace(0, 24, "ABCD    an event        ");
        return Grid(70, 5, 15, {{1, "0.0200000"}, {6, "1.500000    "}}, "-12345.00") +
               Grid(40, 5, 10,
                    {{1, "2019"},
                     {2, "7"},
                     {3, "1"},
                     {4, "2"},
                     {5, "3"},
                     {6, "45"},
                     {7, "6"},
                     {10, "7"},
                     {16, type},
                     {36, even}},
                    "-12345") +
               names + data;
    };
    const std::string seven = Grid(7, 5, 15, {{2, "-1.250000E-02"}, {7, "7.000000    "}}, "1.000000    ");
    const std::string even = text("1", "1", seven);
    ExpectDescribed({
        {OpenSac, even, ": s from 1.5 by 0.02: ABCD [] 1 -0.0125 1 1 1 1 7"},
        {OpenSac, text("1", "0", seven + seven),
         ": s listed:  1 -0.0125 1 1 1 1 7, ABCD [] 1 -0.0125 1 1 1 1 7"},
        {OpenSac, text("2", "1", seven + seven),
         ": Hz from 1.5 by 0.02: ABCD [] 1 -0.0125 1 1 1 1 7,  1 -0.0125 1 1 1 1 7"},
        {OpenSac, text("3", "1", seven + seven), "amplitudes and phases are read of the binary form only"},
        {OpenSac, text("1", "0", seven), "line 33: the text ends too early"},
    });
    // The reference time and the place of the first sample, 1.5 s behind it.
    EXPECT_EQ(Open(OpenSac, even)->Info().runs[0].start->Text(), "2019-01-07T01:02:04.545Z");
    ExpectSenseOfEveryCut(OpenSac, even);
}

TEST(Seismic, SmcTextsAreReadWithTheirUnitsAndTimes) {
    const std::string ten =
        " 1.2714E+1-3.5253E+0 1.1881E+1 1.2350E+1 1.1932E+1 1.2319E+1 9.5276E+0 6.8952E+0\r\n"
        "-6.5535E+0 5.8278E+0\r\n";
    const std::string values = "12.714 -3.5253 11.881 12.35 11.932 12.319 9.5276 6.8952 -6.5535 5.8278";
    const std::string pairs = " 0.0000E+0 1.0000E+0 1.0000E-2-2.0000E+0\r\n 2.5000E-2 3.0000E+0\r\n";
    const std::string wide = " 1.0000000E+0-2.5000000E-1\r\n";
    const std::string good = Smc("2 CORRECTED ACCELEROGRAM", {{17, "10"}}, k200Hz, ten);
    ExpectDescribed({
        {OpenSmc, good, "Redwood City: s from 0 by 0.005: 133 acceleration [Gal] " + values},
        {OpenSmc, Smc("3 VELOCITY", {{17, "2"}, {47, "8"}}, k200Hz, wide),
         "Redwood City: s from 0 by 0.005: 133 velocity [cm/s] 1 -0.25"},
        {OpenSmc, Smc("1 UNCORRECTED ACCELEROGRAM", {{17, "3"}}, {}, pairs),
         "Redwood City: s listed:  0 0.01 0.025, 133 acceleration [Gal] 1 -2 3"},
        {OpenSmc, Smc("4 DISPLACEMENT", {{17, "6"}}, {}, pairs),
         "Redwood City: s listed:  0 0.01 0.025, 133 displacement [cm] 1 -2 3"},
        {OpenSmc, Smc("0 UNKNOWN", {{17, "2"}}, k200Hz, " 1.7000E+38-1.0000E+0\r\n"),
         "line 29: 2 numbers in columns of one width were expected"},
        {OpenSmc, Smc("5 RESPONSE SPECTRA", {{17, "2"}}, k200Hz, ten),
         "it holds spectra, which are not read of an SMC text"},
        {OpenSmc, Smc("3 VELOCITY", {{17, "-32768"}}, k200Hz, ten), "its header states no samples"},
        {OpenSmc, Smc("3 VELOCITY", {{17, "11"}}, k200Hz, ten), "line 30, column 3: a number is missing"},
        {OpenSmc, Smc("3 VELOCITY", {{17, "17"}}, k200Hz, ten), "line 31: the text ends too early"},
        {OpenSmc, Smc("3 VELOCITY", {{17, "10"}}, k200Hz, Replaced(ten, 10, "**********")),
         "line 29, column 2: '**********' is not a number"},
        {OpenSmc, Smc("3 VELOCITY", {{16, "999999999"}, {17, "10"}}, k200Hz, ten),
         "its header states 999999999 lines of comments"},
        {OpenSmc, Smc("3 VELOCITY", {{17, "5"}}, {}, " 0.000E+0 1.000E+0 1.000E-2 2.000E+0 3.000E+0\r\n"),
         "line 29: its last sample has a time and no value"},
    });
    // The number that stands for unknown ones in the header is a missing sample in the data.
    const std::string missing =
        Smc("3 VELOCITY", {{17, "2"}}, {{1, "1.7000E+8"}, {2, "0.2000000E+03"}}, " 1.7000E+8-1.0000E+0\r\n");
    EXPECT_EQ(ReadColumns(*Open(OpenSmc, missing), 0).at(0),
              (std::vector<double>{std::numeric_limits<double>::lowest(), -1.0}));
    std::map<std::string, std::string> facts;
    const auto reader = Open(OpenSmc, good);
    for (const auto& [name, fact] : reader->Info().properties) facts[name] = fact;
    EXPECT_EQ(reader->Info().runs[0].start->Text(), "1989-10-18T00:04:00");
    EXPECT_EQ(facts["damping of the sensor"], "0.6");
    EXPECT_EQ(facts["comment"], "a comment");
    EXPECT_FALSE(facts.contains("seismic moment"));
    ExpectSenseOfEveryCut(OpenSmc, good);
    ExpectSenseOfEveryCut(OpenSmc, Smc("1 UNCORRECTED ACCELEROGRAM", {{17, "3"}}, {}, pairs));
}

TEST(Seismic, VolumesOfSeveralChannelsAreReadWithAllTheirBlocks) {
    const std::string first = "CHAN 1: 90 DEG ", second = "CHAN 2: 90 DEG displacement [cm] ",
                      zone = "PARKFIELD ZONE 14: s ";
    const std::string headed = CsmipHeader(true, 7) +
                               "   3 points of accel data equally spaced at .005 sec, in g/10. (8f9.6)\n  "
                               ".100000 -.200000  .300000\n/&\n";
    const std::string noStep =
        CsmipHeader(true, 7, "in units of cm/sec/sec") + "   3 points of accel data\n 1. 2. 3.\n/&\n";
    const std::string volume2 =
        Geonet(false, "S14E", 2, "2.000", kTwelve + "     0.1     0.2\n     3.0     4.0\n") +
        Geonet(false, "Up", 0, "2.000", kTwelve);
    const std::string twelve = "1 -2 -2080.5 0 0 0 0 0 0 10 11 12";
    const std::string library = "New Brighton Library: s from 0 by 0.005: ";
    ExpectDescribed({
        {OpenCsmip, kV2,
         zone + "from 0 by 0.02: " + first +
             "acceleration [Gal] -3.038 0.5 0.5 0.5 0.5 0.5 0.5 0.5 -267.957, " + first +
             "velocity [cm/s] 1 1 1 1 1 1 1 1 2.5; " + zone + "from 0 by 0.01: " + second + "5.449 5.449"},
        {OpenCsmip, kPairs,
         zone + "listed:  0 0.008 0.021, CHAN 7: 90 DEG acceleration [g] 0.12 -0.125 0.131"},
        {OpenCsmip, headed, zone + "from 0 by 0.005: CHAN 7: 90 DEG acceleration [g] 0.1 -0.2 0.3"},
        {OpenCsmip, noStep, zone + "from 0 by 0.5: CHAN 7: 90 DEG acceleration [Gal] 1 2 3"},
        {OpenGeonet, volume2,
         library + "S14E acceleration [m/s2] " + twelve + "; " + library +
             "S14E velocity [mm/s] 0.1 0.2, S14E displacement [mm] 3 4; " + library +
             "Up acceleration [m/s2] " + twelve},
        {OpenGeonet, Geonet(true, "Up", 0, "2.000", kTwelve), library + "Up acceleration [m/s2] " + twelve},
    });
    EXPECT_EQ(Open(OpenCsmip, kPairs)->Info().runs[0].channels[0].scale, 0.1);
    EXPECT_EQ(Open(OpenGeonet, volume2)->Info().runs[0].channels[0].scale, 1e-3);
    EXPECT_EQ(Open(OpenGeonet, Geonet(true, "Up", 0, "2.000", kTwelve))->Info().runs[0].channels[0].scale,
              2e-3);
    const auto reader = Open(OpenGeonet, volume2);
    for (const RecordingInfo::Run& run : reader->Info().runs)
        EXPECT_EQ(run.start->Text(), "2016-02-14T00:13:25.845Z");
    for (const std::string& good : {kV2, kPairs, headed}) ExpectSenseOfEveryCut(OpenCsmip, good);
    ExpectSenseOfEveryCut(OpenGeonet, volume2);
}

TEST(Seismic, RunsAreReadAgainAndSkippedAtWill) {
    const auto reader = Open(OpenCsmip, kV2);
    const auto whole = ReadColumns(*reader, 0);
    EXPECT_EQ(ReadColumns(*reader, 1).at(0).size(), 2U);
    const auto again = Open(OpenCsmip, kV2);
    again->Skip(0, 8);
    double velocity = 0.0;
    double* const targets[] = {nullptr, &velocity};
    EXPECT_EQ(again->Read(0, targets, 1), 1U);
    EXPECT_EQ(velocity, 2.5);
    EXPECT_STREQ(again->ErrorAt(0, 0, ErrorKind::kBadValue, "wrong").what(), "line 48, column 1: wrong");
    EXPECT_EQ(again->Read(0, targets, 1), 0U);
    const auto sac = Open(OpenSac, Sac().Make());
    sac->Skip(0, 2);
    EXPECT_EQ(ReadColumns(*sac, 0).at(0), std::vector<double>{0.25});
}

TEST(Seismic, DamagedFilesAreRefusedWithWhatIsWrong) {
    const std::string sac = Sac().Make();
    Sac cube, noStep, bent, endless;
    cube.wholes[15] = 51;
    noStep.reals[0] = std::numeric_limits<float>::quiet_NaN();
    bent.wholes = {{6, 6}, {15, 2}, {35, 0}};
    bent.values.resize(6);
    endless.count = 2147483647;
    Sac infinite;
    infinite.values[1] = std::numeric_limits<float>::infinity();
    const auto without = [](std::string text, const std::string& part) {
        return text.replace(text.find(part), part.size(), "");
    };
    ExpectDescribed({
        {OpenSac, sac.substr(0, 600), "it is cut short within its header"},
        {OpenSac, sac.substr(0, 640), "it is cut short: its header states 644 bytes, and it has 640"},
        {OpenSac, endless.Make(), "it is cut short: its header states 8589935220 bytes, and it has 644"},
        {OpenSac, cube.Make(), "it holds values over two axes, which are not read"},
        {OpenSac, noStep.Make(), "it is no SAC file"},
        {OpenSac, bent.Make(), "its spectrum is not evenly spaced"},
        {OpenSac, infinite.Make(), "sample 2: the value is not a finite number"},
        {OpenCsmip, "RESPONSE AND FOURIER AMPLITUDE SPECTRA\n", "it holds spectra (V3), which are not read"},
        {OpenCsmip, without(kV2, "(UNITS: CM/SEC/SEC)\n"),
         "line 56: neither a block of samples nor the end of the channel was expected"},
        {OpenCsmip,
         without(kV2, "    9 POINTS OF ACCEL DATA EQUALLY SPACED AT  .020 SEC.  (UNITS: CM/SEC/SEC)\n"),
         "line 46: neither a block of samples nor the end of the channel was expected"},
        {OpenCsmip, kV2 + "more\n", "line 102: the heading of a channel was expected"},
        {OpenCsmip, CsmipHeader(false, 1) + "/&\n",
         "line 47: a line that begins a block of samples was expected"},
        {OpenCsmip, CsmipHeader(true, 1) + "/&\n",
         "line 29: a line that begins a block of samples was expected"},
        {OpenCsmip, CsmipHeader(true, 1) + " 0.0 1.0\n", "line 28: its header states no samples"},
        {OpenGeonet, Geonet(false, "Up", 3, "1.0", kTwelve), "line 29: the text ends too early"},
        {OpenGeonet, Geonet(false, "Up", 0, "1.0", kTwelve) + "more\n", "line 30: the text ends too early"},
        {OpenGeonet, "", "it holds no samples"},
        {OpenSmc, std::string(2000, 'x'), "line 1: a line of this format has at most 1000 characters"},
    });
    for (const Sac& good : {Sac(), bent, Sac{.isBigEndian = true}})
        ExpectSenseOfEveryCut(OpenSac, good.Make());
}

TEST(Seismic, FilesAreRecognisedByTheirContentAndOthersAreNot) {
    Sac big = {.isBigEndian = true};
    Sac none;
    none.count = 0;
    const std::pair<std::string, Format> cases[] = {
        {Sac().Make(), Format::sac},
        {big.Make(), Format::sac},
        {Replaced(Sac().Make(), 304, "\5"), Format::text},
        {none.Make(), Format::text},
        {std::string(512, '\0'), Format::text},
        {Grid(70, 5, 15, {{1, "0.0200000"}}, "-12345.00"), Format::sac},
        {Grid(70, 5, 15, {}, "1.00"), Format::text},
        {"2 CORRECTED ACCELEROGRAM          \r\n*\r\n", Format::smc},
        {"6 FOURIER AMPLITUDE SPECTRA OF CORRECTED ACCELERATION\r\n", Format::smc},
        {"3 VELOCITY [m/s]\n1\n2\n", Format::text},
        {kV2, Format::csmip},
        {kPairs, Format::csmip},
        {"Corrected accelerogram\nof mine\n", Format::text},
        {"RESPONSE AND FOURIER AMPLITUDE SPECTRA  1\nCORRECTED ACCELEROGRAM\n", Format::csmip},
        {Geonet(true, "Up", 0, "1.", kTwelve), Format::geonet},
        {Geonet(false, "Up", 0, "1.", kTwelve), Format::geonet},
    };
    for (const auto& [bytes, format] : cases)
        EXPECT_EQ(RecognizeContent(std::string_view(bytes).substr(0, kContentBytes)).format, format)
            << bytes.substr(0, 60);
}

/// What a channel of a real recording is known by.
struct Known {
    const char* file;
    OpenBytes open;
    std::size_t run, channel;
    __int64 samples;
    double delta;
    double peak, peakTime;  ///< the sample of the largest magnitude
    double rms;
    const char* name;
};

// clang-format off
#define LOMA "loma_prieta_1989_redwood_city_133deg.smc", OpenSmc
#define COALINGA "coalinga_1983_parkfield_CE36456.V2", OpenCsmip
#define RIDGECREST "ridgecrest_2019_csn_T001230_HNE.sac", OpenSac
const Known kKnown[] = {
    {LOMA,       0, 0, 7183,  0.005, -222.52,  7.550,  35.9435,   "133 acceleration"},
    {COALINGA,   0, 0, 3251,  0.02,  -267.957, 10.940, 29.2215,   "CHAN 1: 90 DEG acceleration"},
    {COALINGA,   0, 1, 3251,  0.02,  -28.253,  11.100, 4.36576,   "CHAN 1: 90 DEG velocity"},
    {COALINGA,   0, 2, 3251,  0.02,  5.449,    7.660,  1.02509,   "CHAN 1: 90 DEG displacement"},
    {COALINGA,   1, 0, 3250,  0.02,  -94.805,  11.680, 12.1709,   "CHAN 2: UP acceleration"},
    {COALINGA,   1, 1, 3250,  0.02,  -11.377,  7.080,  2.08548,   "CHAN 2: UP velocity"},
    {COALINGA,   1, 2, 3250,  0.02,  -3.820,   7.420,  0.839544,  "CHAN 2: UP displacement"},
    {COALINGA,   1, 3, 3250,  0.02,  -256.231, 7.740,  38.0398,   "CHAN 3: 0 DEG acceleration"},
    {COALINGA,   1, 4, 3250,  0.02,  34.298,   7.440,  6.03638,   "CHAN 3: 0 DEG velocity"},
    {COALINGA,   1, 5, 3250,  0.02,  -8.911,   7.120,  1.49213,   "CHAN 3: 0 DEG displacement"},
    {RIDGECREST, 0, 0, 15001, 0.02,  0.043384, 77.04,  0.0224074, "CJ.T001230.HNE"},
};
// clang-format on

TEST(Seismic, RealRecordingsHaveTheirKnownFigures) {
    const char* const folder = std::getenv("KVX_RECORDINGS");
    if (folder == nullptr || *folder == '\0')
        GTEST_SKIP() << "KVX_RECORDINGS does not name a folder of recordings";
    for (const Known& known : kKnown) {
        std::ifstream file(std::string(folder) + "/" + known.file, std::ios::binary);
        const std::string bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
        const auto reader = Open(known.open, bytes);
        const RecordingInfo::Run& run = reader->Info().runs.at(known.run);
        EXPECT_EQ(ToUtf8(run.channels.at(known.channel).name), known.name);
        EXPECT_EQ(run.samples, known.samples) << known.name;
        EXPECT_EQ(run.axis.delta, known.delta) << known.name;
        const std::vector<double> samples = ReadColumns(*reader, known.run).at(known.channel);
        const auto peak = std::ranges::max_element(samples, {}, [](double v) { return std::abs(v); });
        EXPECT_NEAR(*peak, known.peak, 1e-9) << known.name;
        EXPECT_NEAR(static_cast<double>(peak - samples.begin()) * run.axis.delta, known.peakTime, 1e-9)
            << known.name;
        double sum = 0.0;
        for (const double sample : samples) sum += sample * sample;
        EXPECT_NEAR(std::sqrt(sum / static_cast<double>(samples.size())) / known.rms, 1.0, 5e-6)
            << known.name;
    }
}

}  // namespace
