// SPDX-License-Identifier: MIT
#include "commands/Blocks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <string_view>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/MatWIND.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"

namespace kvx::tool {
namespace {

constexpr std::array kLineFormats = {OutputFormat::dataFile};

struct WindowName {
    std::string_view name;
    int (*generate)(CDataArrayDouble*);
};

// clang-format off
constexpr std::array kWindows = {
    WindowName{"hann",               &CMatWIND::GeneHanning},
    WindowName{"rectangular",        &CMatWIND::GeneRectangular},
    WindowName{"hamming",            &CMatWIND::GeneHamming},
    WindowName{"blackman",           &CMatWIND::GeneBlackman},
    WindowName{"blackman-harris",    &CMatWIND::GeneBlackmanHarris},
    WindowName{"blackman-harris-61", &CMatWIND::GeneBlackmanHarris_61dB},
    WindowName{"blackman-harris-67", &CMatWIND::GeneBlackmanHarris_67dB},
    WindowName{"blackman-harris-74", &CMatWIND::GeneBlackmanHarris_74dB},
    WindowName{"flat-top",           &CMatWIND::GeneFlatTop},
    WindowName{"half-rectangular",   &CMatWIND::GeneHalfRectangular},
};
// clang-format on

}  // namespace

void AddBlockOptions(Command command, BlockOptions* options) {
    command.AddOption("--block", options->size, "Samples per block, a power of two from 2 to 131072")
        .Type("N")
        .Check(WholeNumber(2, 131072))
        .ShowDefault();
    command.AddOption("--window", options->window, "Window: " + Names(kWindows)).Type("NAME").ShowDefault();
    command.AddOption("--overlap", options->overlapPercent, "Overlap of the blocks in percent")
        .Type("PERCENT")
        .Check(FiniteNumber())
        .ShowDefault();
}

void AddLinesOutput(Command& command, OutputChoice* output) {
    AddOutputOptions(command, "Data file for the lines, else there is only a report", kLineFormats, output);
}

void RequireLinesOutput(const std::string& input, const OutputChoice& output) {
    if (output.name.empty()) return;
    RequireAnotherFile(input, output.name);
    FormatOf(output, kLineFormats);
}

void AddBandOptions(Command command, const std::string& figures, BandOptions* options) {
    command.AddOption("--from", options->fromHz, "Report " + figures + " from this frequency on")
        .Type("HZ")
        .Check(NonNegativeNumber());
    command.AddOption("--to", options->toHz, "Report up to this frequency")
        .Type("HZ")
        .Check(PositiveNumber());
}

std::string BandText(const BandOptions& options) {
    if (!(options.fromHz > 0.0) && !options.toHz) return "";
    const std::string text = ", band from " + FormatNumber(options.fromHz) + " Hz";
    return options.toHz ? text + " to " + FormatNumber(*options.toHz) + " Hz" : text;
}

CDataArrayDouble MakeWindow(const BlockOptions& options) {
    if (!BlockCut{options.size, 0}.IsValid()) {
        throw ValueError("--block: " + std::to_string(options.size) +
                         " is not a power of two from 2 to 131072");
    }
    CDataArrayDouble window(options.size, 0.0);
    if (!Choose(kWindows, "--window", options.window).generate(&window)) throw std::bad_alloc();
    return window;
}

__int64 OverlapSamples(const BlockOptions& options) {
    const double samples = std::round(static_cast<double>(options.size) * options.overlapPercent / 100.0);
    if (!(options.overlapPercent >= 0.0 && samples < static_cast<double>(options.size))) {
        throw ValueError("--overlap: " + FormatNumber(options.overlapPercent) +
                         " % leaves no step between blocks of " + std::to_string(options.size));
    }
    return static_cast<__int64>(samples);
}

void RequireBlock(const CComDataBase& record, const BlockOptions& options) {
    if (record.GetNsamp() < options.size) {
        throw Error(ErrorKind::kBadValue, "a block of " + std::to_string(options.size) +
                                              " is more than its " + Count(record.GetNsamp(), "sample") +
                                              "; choose a smaller --block");
    }
}

std::string BlocksText(const BlockOptions& options, __int64 count, double rateHz) {
    return Count(count, "block") + " of " + std::to_string(options.size) + " at " + FormatNumber(rateHz, 10) +
           " Hz, " + options.window + " window, line spacing " +
           FormatNumber(rateHz / static_cast<double>(options.size), 10) + " Hz";
}

Band BandLines(const BandOptions& options, double spacingHz, __int64 lines) {
    // Limits typed with the digits of a line's frequency include that line.
    constexpr double kSlack = 1e-6;
    const double top = static_cast<double>(lines - 1);
    const double from = std::min(std::ceil(options.fromHz / spacingHz - kSlack), top + 1.0);
    const double to = options.toHz ? std::min(std::floor(*options.toHz / spacingHz + kSlack), top) : top;
    const Band band = {static_cast<__int64>(from), static_cast<__int64>(to)};
    if (band.first > band.last) {
        throw Error(ErrorKind::kBadValue, "no line of it, " + FormatNumber(spacingHz) + " Hz apart up to " +
                                              FormatNumber(top * spacingHz) + " Hz, lies in the band");
    }
    return band;
}

__int64 HighestLine(const CDataArrayDouble& lines, const Band& band) {
    const __int64 first = band.first == 0 && band.last > 0 ? 1 : band.first;
    const double* const data = lines.GetData();
    return std::max_element(data + first, data + band.last + 1) - data;
}

}  // namespace kvx::tool
