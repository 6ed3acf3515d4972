// SPDX-License-Identifier: MIT
//
// kvx profile: levels, rms and changes of a power spectral density given by breakpoints.
#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/PsdProfile.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/File.h>
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

constexpr std::array kProfileFormats = {OutputFormat::text, OutputFormat::dataFile};

struct ProfileOptions {
    std::string profile;
    OutputChoice output;  ///< may be empty
    std::vector<std::string> bands;
    std::vector<std::string> bandRatios;
    std::optional<double> rms;
    std::string levelAt;
    std::string lines;
};

/// A change of the levels from one frequency to another.
struct BandChange {
    double lowHz;
    double highHz;
    double value;  ///< the new level, or the ratio of new to old
    std::optional<double> slope;
};

/// Numbers of a comma list, `least` to `most` of them; throws ValueError.
std::vector<double> ParseNumbers(const std::string& option, const std::string& list, std::size_t least,
                                 std::size_t most) {
    std::vector<double> numbers;
    for (const std::string& piece : SplitList(list)) numbers.push_back(ParseArgument(piece));
    if (numbers.size() < least || numbers.size() > most) {
        throw ValueError(option + ": " + Quote(list) + " has " + Count(std::ssize(numbers), "number") +
                         " instead of " + std::to_string(least) +
                         (most > least ? " or " + std::to_string(most) : ""));
    }
    return numbers;
}

BandChange ParseBand(const std::string& option, const std::string& list, std::size_t most) {
    const std::vector<double> numbers = ParseNumbers(option, list, 3, most);
    const BandChange band = {numbers[0], numbers[1], numbers[2],
                             numbers.size() > 3 ? std::optional(numbers[3]) : std::nullopt};
    if (!(band.lowHz > 0.0 && band.lowHz < band.highHz && band.value > 0.0)) {
        throw ValueError(option + ": " + Quote(list) +
                         " is no rising pair of frequencies and a value above 0");
    }
    return band;
}

/// Where lines stand: k spacingHz, k = 0..count-1.
struct Grid {
    double spacingHz;
    __int64 count;
};

std::optional<Grid> ParseLines(const std::string& list) {
    constexpr double kMostLines = 1 << 24;
    if (list.empty()) return std::nullopt;
    const std::vector<double> numbers = ParseNumbers("--lines", list, 2, 2);
    if (!(numbers[0] > 0.0 && numbers[1] >= 2.0 && numbers[1] <= kMostLines &&
          numbers[1] == std::floor(numbers[1]))) {
        throw ValueError("--lines: " + Quote(list) +
                         " is no spacing above 0 and a number of lines from 2 to 16777216");
    }
    return Grid{numbers[0], static_cast<__int64>(numbers[1])};
}

CDataArrayDouble ToArray(const std::vector<double>& values) {
    CDataArrayDouble array;
    if (!array.SetData(std::ssize(values), values.data())) throw std::bad_alloc();
    return array;
}

/// Breakpoints that are being changed.
class Shape {
public:
    explicit Shape(ProfileText text) : text_(std::move(text)) {}

    const ProfileText& GetText() const { return text_; }

    /// As the library's profile; throws ValueError when a level is none any more.
    PsdProfile GetProfile() const {
        try {
            return ProfileIn(text_, CUnitCtrl());
        } catch (const Error&) {
            throw ValueError("the changes take levels out of the range of numbers");
        }
    }

    void SetLevel(const BandChange& band) {
        CutOut(band, "--band");
        Change([&](const CDataArrayDouble& frequencies, CDataArrayDouble* levels) {
            CMatSpec::ChangePsdLevel(band.lowHz, band.highHz, band.value, frequencies, levels);
        });
    }

    void MultiplyLevel(const BandChange& band) {
        const double slope = band.slope.value_or(0.0);
        // The gain of an edge is a power of the frequency, straight on log-log axes: from the band's end to
        // where it is 1 again, if it ever is.
        const double reach = slope != 0.0 ? std::pow(band.value, 1.0 / slope) : 1.0;
        if (reach < 1.0) {
            for (const double hz : {band.lowHz * reach, band.lowHz, band.highHz, band.highHz / reach})
                AddPoint(hz);
            RequirePoints(band, "--band-ratio");
        } else {
            CutOut(band, "--band-ratio");
        }
        Change([&](const CDataArrayDouble& frequencies, CDataArrayDouble* levels) {
            CMatSpec::ChangePsdLevelRatio(band.lowHz, band.highHz, band.value, frequencies, levels, slope);
        });
    }

    void ScaleToRms(double rms) {
        Change([&](const CDataArrayDouble& frequencies, CDataArrayDouble* levels) {
            CMatSpec::ChangePsdLevel(rms, frequencies, levels);
        });
    }

private:
    /// Lets `change` alter the levels.
    template <class Action>
    void Change(Action change) {
        CDataArrayDouble levels = ToArray(text_.levels);
        change(ToArray(text_.frequencies), &levels);
        text_.levels.assign(levels.GetData(), levels.GetData() + levels.GetNum());
    }

    /// Adds a breakpoint on the profile as it is; nothing where there is one or outside.
    void AddPoint(double hz) {
        const double level = GetProfile().GetLevel(hz);
        const auto above = std::ranges::lower_bound(text_.frequencies, hz);
        if (!(level > 0.0) || above == text_.frequencies.end() || *above == hz) return;
        text_.levels.insert(text_.levels.begin() + (above - text_.frequencies.begin()), level);
        text_.frequencies.insert(above, hz);
    }

    /// Gives the band steep flanks, so that the profile beside it stays as it is.
    void CutOut(const BandChange& band, const char* option) {
        constexpr double kFlank = 1.001;
        for (const double hz : {band.lowHz / kFlank, band.lowHz, band.highHz, band.highHz * kFlank})
            AddPoint(hz);
        RequirePoints(band, option);
    }

    void RequirePoints(const BandChange& band, const char* option) const {
        const auto first = std::ranges::lower_bound(text_.frequencies, band.lowHz);
        if (first == text_.frequencies.end() || *first > band.highHz) {
            throw ValueError(std::string(option) + ": nothing of the profile lies from " +
                             FormatNumber(band.lowHz) + " Hz to " + FormatNumber(band.highHz) + " Hz");
        }
    }

    ProfileText text_;
};

CDataArrayDouble LinesOf(const PsdProfile& profile, const Grid& grid) {
    CDataArrayDouble lines;
    if (!profile.GetLines(grid.spacingHz, grid.count, &lines)) throw std::bad_alloc();
    return lines;
}

/// The lines that are not 0, as breakpoints; throws Error when fewer than two are left.
ProfileText TextOfLines(const CDataArrayDouble& lines, const Grid& grid,
                        const std::optional<CUnitCtrl>& unit) {
    ProfileText text;
    text.signalUnit = unit;
    for (__int64 k = 0; k < lines.GetNum(); ++k) {
        if (!(lines[k] > 0.0)) continue;
        text.frequencies.push_back(static_cast<double>(k) * grid.spacingHz);
        text.levels.push_back(lines[k]);
    }
    if (text.frequencies.size() < 2)
        throw Error(ErrorKind::kBadValue, "fewer than two of its lines are above 0");
    return text;
}

void WriteLines(const std::string& path, const std::wstring& text, const CDataArrayDouble& lines,
                const Grid& grid, const CUnitCtrl& density) {
    const CStringArray names = {L"profile"};
    CComDataSpecA record(grid.spacingHz, 1, 1, lines.GetNum(), 0, density, &names, nullptr);
    if (record.GetReal(0, 0) == nullptr) throw std::bad_alloc();
    density.ConvItoD(record.GetReal(0, 0), lines.GetData(), lines.GetNum(), 1.0, 0);
    std::vector<CComDataBase> records;
    records.push_back(std::move(record));
    StoreDataFile(path, text, std::move(records));
}

void RunProfile(const ProfileOptions& options, ByteStream& out) {
    const std::string& output = options.output.name;
    if (!output.empty()) RequireAnotherFile(options.profile, output);
    const bool isDataFile =
        !output.empty() && FormatOf(options.output, kProfileFormats) == OutputFormat::dataFile;
    const std::optional<Grid> grid = ParseLines(options.lines);
    if (isDataFile && !grid) {
        throw UsageError("--lines is required for a data file: it tells where the lines stand");
    }
    std::vector<BandChange> bands, bandRatios;
    for (const std::string& band : options.bands) bands.push_back(ParseBand("--band", band, 3));
    for (const std::string& band : options.bandRatios)
        bandRatios.push_back(ParseBand("--band-ratio", band, 4));
    std::vector<double> frequencies;
    if (!options.levelAt.empty()) {
        for (const std::string& piece : SplitList(options.levelAt))
            frequencies.push_back(ParseArgument(piece));
    }

    const ProfileText source = Doing("read", options.profile, [&] {
        ProfileText text = ReadProfileText(InputPath(options.profile));
        ProfileIn(text, CUnitCtrl());
        return text;
    });
    const CUnitCtrl unit = source.signalUnit.value_or(CUnitCtrl());
    const CUnitCtrl density = *DensityUnit(unit);
    Shape shape(source);
    for (const BandChange& band : bands) shape.SetLevel(band);
    for (const BandChange& band : bandRatios) shape.MultiplyLevel(band);
    if (options.rms) shape.ScaleToRms(*options.rms);
    const PsdProfile profile = shape.GetProfile();
    const ProfileText& breakpoints = shape.GetText();
    std::string report = Count(profile.GetNumPoints(), "breakpoint") + " from " +
                         FormatNumber(breakpoints.frequencies.front()) + " Hz to " +
                         FormatNumber(breakpoints.frequencies.back()) + " Hz, rms " +
                         FormatNumber(profile.CalcRms()) +
                         (unit == CUnitCtrl::DIM_NONE ? "" : " " + UnitText(unit)) + "\n";

    std::optional<CDataArrayDouble> lines;
    if (grid) {
        lines = LinesOf(profile, *grid);
        report += Count(grid->count, "line") + " " + FormatNumber(grid->spacingHz, 10) + " Hz apart, rms " +
                  FormatNumber(CMatSpec::CalcPsdRms(*lines, grid->spacingHz, 0, 0)) +
                  (unit == CUnitCtrl::DIM_NONE ? "" : " " + UnitText(unit)) + "\n";
    }
    std::vector<std::vector<std::string>> rows;
    for (const double hz : frequencies)
        rows.push_back({FormatNumber(hz, 10), "Hz", FormatNumber(profile.GetLevel(hz)), UnitText(density)});
    report += FormatTable({Align::right, Align::left, Align::right, Align::left}, rows);

    if (!output.empty()) {
        Doing("write", output, [&] {
            if (isDataFile) {
                ProfileIn(breakpoints, density);  // in the standard unit, too, levels must be numbers
                WriteLines(output, FromUtf8(SourceText(options.profile)).value_or(L""), *lines, *grid,
                           density);
                return;
            }
            const std::string text =
                FormatProfileText(lines ? TextOfLines(*lines, *grid, source.signalUnit) : breakpoints);
            if (IsStandardStream(output)) {
                WriteText(StandardOutput(), text);
                return;
            }
            OutputFile file(WidePath(output));
            WriteText(file, text);
            file.Commit();
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
                   "Text file: a line 'frequency level' per breakpoint, '#' comments, a line 'unit g2/Hz'")
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
    command.AddOption("--scale-rms", options->rms, "Scale the profile, after all other changes, to this rms")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.AddOption("--level-at", options->levelAt, "Report the levels at these frequencies").Type("LIST");
    command
        .AddOption("--lines", options->lines,
                   "Put the profile on N lines from 0 Hz on: each the mean over the HZ around it")
        .Type("HZ,N");
    command.SetFooter(
        "The density runs straight between breakpoints on log-log axes and is 0 outside. First the bands "
        "are\n"
        "set, then multiplied, each in the order given, then the rms is scaled. Breakpoints are added where "
        "a\n"
        "band needs them; without a slope its flanks are 0.1 % of the frequency wide.\n\n"
        "Example:\n"
        "  printf 'unit g2/Hz\\n20 0.01\\n80 0.04\\n350 0.04\\n2000 0.007\\n' > profile.txt\n"
        "  kvx profile profile.txt --level-at 20,40,1000\n"
        "  kvx profile profile.txt -o notched.txt --band-ratio 100,140,0.25,4 --scale-rms 5\n"
        "  kvx profile notched.txt -o notched.vdf2 --lines 2,1024");
    command.OnRun([=](ByteStream& out) { RunProfile(*options, out); });
}

}  // namespace kvx::tool
