// SPDX-License-Identifier: MIT
//
// kvx windows: the windows and what they do to a sine.
#include <fmt/format.h>
#include <cstdint>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/Windows.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

struct WindowsOptions {
    std::vector<std::string> names;
    std::int64_t block = 1024;
    bool json = false;
    bool csv = false;
};

struct Row {
    std::string text;
    WindowFigures figures;
};

std::vector<Row> FiguresOf(const WindowsOptions& options) {
    std::vector<Row> rows;
    for (const std::string& text : options.names.empty() ? WindowNames() : options.names) {
        rows.push_back({text, Doing("tell the figures of window", text,
                                    [&] { return FiguresOfWindow(MakeWindow(text, options.block)); })});
    }
    return rows;
}

std::string JsonText(const std::vector<Row>& rows, std::int64_t block) {
    Json json = Json::array();
    for (const auto& [text, figures] : rows) {
        json.push_back({{"window", text},
                        {"description", WindowDescription(text.substr(0, text.find(':')))},
                        {"samples", block},
                        {"mean", figures.mean},
                        {"noiseBandwidth", figures.noiseBandwidth},
                        {"width3dB", figures.width3dB},
                        {"width6dB", figures.width6dB},
                        {"scallop", figures.scallopDb},
                        {"sideLobe", nullptr}});
        if (figures.sideLobeDb) json.back()["sideLobe"] = *figures.sideLobeDb;
    }
    return json.dump(2) + "\n";
}

std::string CsvText(const std::vector<Row>& rows) {
    std::string csv =
        "window,mean,noise bandwidth [lines],3 dB width [lines],6 dB width [lines],scallop [dB],"
        "side lobe [dB]\n";
    for (const auto& [text, figures] : rows) {
        const bool isQuoted = text.find(',') != text.npos;
        csv += (isQuoted ? '"' + text + '"' : text) + ',' + FormatExact(figures.mean) + ',' +
               FormatExact(figures.noiseBandwidth) + ',' + FormatExact(figures.width3dB) + ',' +
               FormatExact(figures.width6dB) + ',' + FormatExact(figures.scallopDb) + ',' +
               (figures.sideLobeDb ? FormatExact(*figures.sideLobeDb) : "") + '\n';
    }
    return csv;
}

std::string FormatFixed(double value, int decimals) {
    return fmt::format("{:.{}f}", value, decimals);
}

std::string TableText(const std::vector<Row>& rows) {
    std::vector<std::vector<std::string>> lines = {
        {"window", "mean", "ENBW", "3 dB", "6 dB", "scallop [dB]", "side lobe [dB]", "what it is"}};
    for (const auto& [text, figures] : rows) {
        lines.push_back({text, FormatNumber(figures.mean, 5), FormatFixed(figures.noiseBandwidth, 4),
                         FormatFixed(figures.width3dB, 3), FormatFixed(figures.width6dB, 3),
                         FormatFixed(figures.scallopDb, 4),
                         figures.sideLobeDb ? FormatFixed(*figures.sideLobeDb, 1) : "-",
                         WindowDescription(text.substr(0, text.find(':')))});
    }
    std::vector<Align> columns(lines.front().size(), Align::right);
    columns.front() = columns.back() = Align::left;
    return FormatTable(columns, lines);
}

void RunWindows(const WindowsOptions& options, ByteStream& out) {
    if (options.json && options.csv) throw ValueError("--csv and --json are two forms; choose one");
    const std::vector<Row> rows = FiguresOf(options);
    WriteText(out, options.json  ? JsonText(rows, options.block)
                   : options.csv ? CsvText(rows)
                                 : TableText(rows));
}

}  // namespace

void AddWindows(Command app) {
    const auto options = std::make_shared<WindowsOptions>();
    Command command = app.AddCommand("windows", "Compare the windows of spectra by their figures");
    command.AddOption("WINDOW", options->names, "Windows as --window takes them; none for all")
        .Many()
        .Suggest(WindowNames());
    command.AddOption("--block", options->block, "Samples of the window, 8 to 65536")
        .Type("N")
        .Check(WholeNumber(8, 65536))
        .ShowDefault();
    command.AddFlag("--csv", options->csv, "As comma-separated values, with all digits");
    command.AddFlag("--json", options->json, "As JSON, with all digits");
    command.SetFooter(R"(
The mean; the equivalent noise bandwidth (ENBW) and the widths of the main lobe at -3 dB and -6 dB,
in lines; the level furthest from 0 with which a sine between two lines is read; and the highest side
lobe, "-" where there is none.

A window may have numbers behind a colon, and end in ':symmetric'. A sum of cosines is that of the
printed coefficients, so that the mean of some flat tops is 1 and their middle above it.
)",
                      R"(
kvx windows hann flat-top hft95
kvx windows kaiser:80dB tukey:0.1 exponential:0.05 --csv
)");
    command.OnRun([=](ByteStream& out) { RunWindows(*options, out); });
}

}  // namespace kvx::tool
