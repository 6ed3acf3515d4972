// SPDX-License-Identifier: MIT
//
// kvx profile: levels, rms and changes of a power spectral density given by breakpoints.
#include <fmt/format.h>
#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxRecording01/ProfileText.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/OutputFormat.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/DataFiles.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::array<OutputFormat, 2> kProfileFormats = {OwnFormat::profile, Format::dataFile};

struct ProfileOptions {
    std::string profile;
    OutputChoice output;  ///< may be empty
    std::vector<std::string> bands;
    std::vector<std::string> bandRatios;
    std::optional<double> rms;
    std::string levelAt;
    std::string lines;
    double sigma = 3.0;
};

/// A change of the levels from one frequency to another.
struct BandChange {
    std::string option;
    double lowHz;
    double highHz;
    double value;  ///< the new level, or the ratio of new to old
    double slope;  ///< of a ratio's edges
};

/// Numbers of a comma list, `least` to `most` of them; throws ValueError.
std::vector<double> ParseNumbers(const std::string& option, const std::string& list, std::size_t least,
                                 std::size_t most) {
    std::vector<double> numbers;
    for (const std::string& piece : SplitList(list)) numbers.push_back(ParseArgument(piece));
    if (numbers.size() < least || numbers.size() > most) {
        throw ValueError(fmt::format("{}: {} has {} instead of {}{}", option, Quote(list),
                                     Count(std::ssize(numbers), "number"), least,
                                     most > least ? fmt::format(" or {}", most) : ""));
    }
    return numbers;
}

std::vector<BandChange> ParseBands(const std::string& option, const std::vector<std::string>& lists,
                                   std::size_t most) {
    std::vector<BandChange> bands;
    for (const std::string& list : lists) {
        const std::vector<double> numbers = ParseNumbers(option, list, 3, most);
        const BandChange& band = bands.emplace_back(
            BandChange{option, numbers[0], numbers[1], numbers[2], numbers.size() > 3 ? numbers[3] : 0.0});
        if (!(band.lowHz > 0.0 && band.lowHz < band.highHz && band.value > 0.0)) {
            throw ValueError(fmt::format("{}: {} is no rising pair of frequencies and a value above 0",
                                         option, Quote(list)));
        }
    }
    return bands;
}

/// Where lines stand: k spacingHz, k = 0..count-1.
struct Grid {
    double spacingHz;
    std::size_t count;
};

std::optional<Grid> ParseLines(const std::string& list) {
    constexpr double kMostLines = 1 << 24;
    if (list.empty()) return std::nullopt;
    const std::vector<double> numbers = ParseNumbers("--lines", list, 2, 2);
    if (!(numbers[0] > 0.0 && numbers[1] >= 2.0 && numbers[1] <= kMostLines &&
          numbers[1] == std::floor(numbers[1]))) {
        throw ValueError(
            fmt::format("--lines: {} is no spacing above 0 and a number of lines from 2 to {:.0f}",
                        Quote(list), kMostLines));
    }
    return Grid{numbers[0], static_cast<std::size_t>(numbers[1])};
}

void RequireOverlap(const PsdProfile& profile, const std::vector<BandChange>& bands) {
    for (const BandChange& band : bands) {
        if (profile.Frequencies().front() <= band.highHz && band.lowHz <= profile.Frequencies().back())
            continue;
        throw ValueError(fmt::format("{}: nothing of the profile lies from {} Hz to {} Hz", band.option,
                                     FormatNumber(band.lowHz), FormatNumber(band.highHz)));
    }
}

/// A record of the lines, which are in the unit shown.
CComDataBase RecordOf(const std::vector<double>& lines, double spacingHz, const CUnitCtrl& density) {
    const CStringArray names = {L"profile"};
    CComDataSpecA record(spacingHz, 1, 1, std::ssize(lines), 0, density, &names, nullptr);
    if (record.GetReal(0, 0) == nullptr) throw std::bad_alloc();
    density.ConvItoD(record.GetReal(0, 0), lines.data(), std::ssize(lines), 1.0, 0);
    return record;
}

/// The motion of which the density of an acceleration tells; nothing for another.
std::string MotionText(const ProfileText& text, double sigma) {
    constexpr double kMillimetresPerMetre = 1000.0;
    const CUnitCtrl unit = text.signalUnit.value_or(CUnitCtrl());
    if (!(unit == CUnitCtrl::DIM_ACCELERATION)) return "";
    const PsdProfile profile = ProfileIn(text, *DensityUnit(unit));
    std::vector<std::vector<std::string>> rows = {
        {"motion", "rms", "", "peak at " + FormatNumber(sigma) + " sigma", ""}};
    const auto add = [&](const char* name, double rms, const std::string& shownUnit) {
        rows.push_back({name, FormatNumber(rms), shownUnit, FormatNumber(sigma * rms), shownUnit});
    };
    add("acceleration", unit.ConvDtoI(profile.Rms(), 1.0, 0), UnitText(unit));
    add("velocity", profile.RmsOfIntegral(1) * kMillimetresPerMetre, "mm/s");
    add("displacement", profile.RmsOfIntegral(2) * kMillimetresPerMetre, "mm");
    return FormatTable({Align::left, Align::right, Align::left, Align::right, Align::left}, rows);
}

/// The limits, a line each; nothing without any.
std::string LimitText(const ProfileText& text) {
    std::string lines;
    const auto add = [&](const char* kind, const std::vector<DensityLimit>& limits) {
        for (const DensityLimit& limit : limits) {
            const auto level = [](double decibels) {
                return std::isfinite(decibels) ? fmt::format("{:+} dB", decibels) : std::string("none");
            };
            lines += fmt::format("{} {}, {}", kind, level(limit.upperDb), level(limit.lowerDb));
            if (limit.fromHz > 0.0 || std::isfinite(limit.toHz)) {
                lines +=
                    fmt::format(" from {} Hz to {} Hz", FormatNumber(limit.fromHz), FormatNumber(limit.toHz));
            }
            lines += "\n";
        }
    };
    add("tolerance", text.tolerance);
    add("abort", text.abort);
    return lines;
}

void RunProfile(const ProfileOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    if (!output.empty()) RequireAnotherFile(options.profile, output);
    const bool isDataFile =
        !output.empty() && FormatOf(options.output, kProfileFormats) == OutputFormat(Format::dataFile);
    const std::optional<Grid> grid = ParseLines(options.lines);
    if (isDataFile && !grid) {
        throw UsageError("--lines is required for a data file: it tells where the lines stand");
    }
    const std::vector<BandChange> bands = ParseBands("--band", options.bands, 3);
    const std::vector<BandChange> bandRatios = ParseBands("--band-ratio", options.bandRatios, 4);
    std::vector<double> frequencies;
    if (!options.levelAt.empty()) {
        for (const std::string& piece : SplitList(options.levelAt))
            frequencies.push_back(ParseArgument(piece));
    }

    ProfileText text = Doing("read", options.profile, [&] {
        ProfileText read = ReadProfileText(InputPath(options.profile));
        ProfileIn(read, CUnitCtrl());
        return read;
    });
    PsdProfile& profile = text.profile;
    RequireOverlap(profile, bands);
    RequireOverlap(profile, bandRatios);
    try {
        for (const BandChange& band : bands)
            profile = WithLevel(profile, band.lowHz, band.highHz, band.value);
        for (const BandChange& band : bandRatios)
            profile = WithLevelRatio(profile, band.lowHz, band.highHz, band.value, band.slope);
        if (options.rms) profile = WithRms(profile, *options.rms);
    } catch (const Error& error) {
        throw ValueError(error.Sentence());
    }

    const CUnitCtrl unit = text.signalUnit.value_or(CUnitCtrl());
    const CUnitCtrl density = *DensityUnit(unit);
    const std::string rmsUnit = unit == CUnitCtrl::DIM_NONE ? "" : " " + UnitText(unit);
    std::string report = fmt::format(
        "{} from {} Hz to {} Hz, rms {}{}\n", Count(std::ssize(profile.Frequencies()), "breakpoint"),
        FormatNumber(profile.Frequencies().front()), FormatNumber(profile.Frequencies().back()),
        FormatNumber(profile.Rms()), rmsUnit);
    std::vector<double> lines;
    if (grid) {
        lines = profile.Lines(grid->spacingHz, grid->count);
        const double rms = CMatSpec::CalcPsdRms(lines.data(), std::ssize(lines), grid->spacingHz, 0, 0);
        report += fmt::format("{} {} Hz apart, rms {}{}\n", Count(std::ssize(lines), "line"),
                              FormatNumber(grid->spacingHz, 10), FormatNumber(rms), rmsUnit);
    }
    std::vector<std::vector<std::string>> rows;
    for (const double hz : frequencies)
        rows.push_back({FormatNumber(hz, 10), "Hz", FormatNumber(profile.LevelAt(hz)), UnitText(density)});
    report += FormatTable({Align::right, Align::left, Align::right, Align::left}, rows) + LimitText(text) +
              MotionText(text, options.sigma);

    if (!output.empty()) {
        Doing("write", output, [&] {
            if (isDataFile) {
                ProfileIn(text, density);  // in the standard unit, too, levels must be numbers
                StoreRecords(options.output, FromUtf8(SourceText(options.profile)).value_or(L""),
                             RecordOf(lines, grid->spacingHz, density));
                return;
            }
            if (grid) profile = ProfileOfLines(lines, grid->spacingHz);
            WriteOutput(output, [&](ByteStream& file) { WriteText(file, FormatProfileText(text)); });
        });
    }
    WriteText(ReportStream(output, out), report);
}

}  // namespace

void AddProfile(Command app) {
    const auto options = std::make_shared<ProfileOptions>();
    Command command = app.AddCommand("profile", "Levels, rms and changes of a power spectral density");
    command
        .AddOption("PROFILE", options->profile,
                   "Text file: 'frequency level' or a slope such as '+3 dB/oct' per line, 'unit g2/Hz', '#' "
                   "comments")
        .Required();
    AddOutputOptions(command, "Profile to write: text, or with --lines a data file", kProfileFormats,
                     &options->output);
    command
        .AddOption("--band", options->bands, "Set the level from one frequency to another; may be repeated")
        .Type("HZ,HZ,LEVEL");
    command
        .AddOption(
            "--band-ratio", options->bandRatios,
            "Multiply the levels in a band, with edges that slope by (f/corner)^SLOPE; may be repeated")
        .Type("HZ,HZ,RATIO[,SLOPE]");
    AddPositive(command, "--scale-rms", "VALUE", options->rms,
                "Scale the profile, after all other changes, to this rms");
    AddList(command, "--level-at", options->levelAt, "Report the levels at these frequencies");
    command
        .AddOption("--lines", options->lines,
                   "Put the profile on N lines from 0 Hz on: each the mean over the HZ around it")
        .Type("HZ,N");
    AddPositive(command, "--sigma", "FACTOR", options->sigma,
                "Report the peaks of the motion at this many times the rms")
        .ShowDefault();
    command.SetFooter(R"(
The density runs straight between breakpoints on log-log axes and is 0 outside. First the bands are
set, then multiplied, each in the order given, then the rms is scaled. Breakpoints are added where a
band needs them; without a slope its flanks are 0.1 % of the frequency wide.

A line '+3 dB/oct' between two frequencies is the slope from one to the other, one of which needs no
level then; 'tolerance +3 -3 dB' and 'abort +6 -6 dB 20 500', in a part, are the limits to which
'kvx compare' holds a measured density. Of accelerations the motion is told: the exact integrals of the
density over powers of 2 pi f.
)",
                      R"(
printf 'unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n' > profile.txt
kvx profile profile.txt --level-at 20,40,1000
kvx profile profile.txt -o notched.txt --band-ratio 100,140,0.25,4 --scale-rms 5
kvx profile notched.txt -o notched.vdf2 --lines 2,1024
)");
    command.OnRun([=](ByteStream& out) { RunProfile(*options, out); });
}

}  // namespace kvx::tool
