// SPDX-License-Identifier: MIT
//
// kvx export: records become a CSV table, a WAV file or a file of another format.
#include <memory>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "commands/Commands.h"
#include "commands/Convert.h"

namespace kvx::tool {
namespace {

void RunExport(const ConvertOptions& options, ByteStream& out) {
    if (options.stream.recording.fullScale && !IsSound(options.stream.FormatOfOutput()))
        throw UsageError("--full-scale is for WAV files");
    RunConversion("export", options, false, false, out);
}

}  // namespace

void AddExport(Command app) {
    const auto options = std::make_shared<ConvertOptions>();
    const auto batch = std::make_shared<BatchOptions>();
    StreamOptions& stream = options->stream;
    stream.first = Format::text;
    options->shownUnitsName = "--unit";
    stream.recording.rateName = "'kvx convert --rate'";
    stream.recording.unitName = "'kvx convert --unit'";
    Command command =
        app.AddCommand("export", "Write records as a CSV table, a WAV file or in another format");
    AddInputs(
        command, "FILE",
        "Recordings that say what they hold, such as data files; what is to be stated, 'kvx convert' takes",
        batch.get());
    AddOutputOptions(command, "Output, of several inputs a folder", RecordingFormats(stream.first),
                     &batch->output)
        .Required();
    AddBatchOptions(command, batch.get());
    AddShownUnitsOption(command, options.get());
    AddPartOptions(command, &stream.part);
    AddSamplesOption(command, &stream.samples);
    AddPositive(command, "--full-scale", "VALUE", stream.recording.fullScale,
                "Value that becomes full scale of the WAV file (default 1)");
    command.SetFooter(R"(
CSV has a heading line, the time in s or the frequency in Hz, and every number with the digits that
read back as the same value; complex channels take two columns.
)",
                      R"(
printf '0,0.1\n0.5,0.3\n1,-0.2\n' > shaker.csv
kvx import shaker.csv -o shaker.vdf2 --unit g --name top
kvx export shaker.vdf2 -o - --unit m/s2
kvx export shaker.vdf2 -o shaker.wav --samples pcm24 --full-scale 0.5
)");
    command.OnRun(
        [=](ByteStream& out) { RunStreams(*batch, BatchReports::asTheyAre, *options, RunExport, out); });
}

}  // namespace kvx::tool
