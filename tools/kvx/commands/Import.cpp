// SPDX-License-Identifier: MIT
//
// kvx import: recordings of other formats become vibration data files.
#include <memory>

#include "cli/Failure.h"
#include "commands/Commands.h"
#include "commands/Convert.h"

namespace kvx::tool {
namespace {

void RunImport(const ConvertOptions& options, ByteStream& out) {
    Doing("import", options.stream.input, [&] {
        if (IsDataFile(options.stream.input))
            throw Error(ErrorKind::kUnsupported, "it is a data file; 'kvx convert' takes those, too");
    });
    RunConversion("import", options, true, false, out);
}

}  // namespace

void AddImport(Command app) {
    const auto options = std::make_shared<ConvertOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    Command command = app.AddCommand("import", "Make a data file from a recording of another format");
    AddInputs(command, "INPUT",
              "Recordings of another format than the suite's ('kvx formats' lists them); - is standard input",
              batch.get());
    AddOutputOptions(command, "Output, mostly a data file, of several inputs a folder", RecordingFormats(),
                     &batch->output)
        .Required();
    AddBatchOptions(command, batch.get());
    AddTextOption(command, options.get());
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(R"(
Values are stored in the standard unit of their dimension and shown in the unit given. Channels of
one unit make one record.
)",
                      R"(
printf 'time,top [g],base [g]\n0,0.1,0.2\n0.5,0.3,-0.1\n1,0.2,0.4\n' > shaker.csv
kvx import shaker.csv -o shaker.vdf2
kvx import shaker.csv -o force.vdf2 --rate 2.0004 --channels base --unit N --name force
)");
    command.OnRun(
        [=](ByteStream& out) { RunStreams(*batch, BatchReports::asTheyAre, *options, RunImport, out); });
}

}  // namespace kvx::tool
