// SPDX-License-Identifier: MIT
//
// kvx merge: several recordings as one, their channels side by side or one recording after the other.
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <KvxRecording01/SignalEdit.h>
#include <KvxRecording01/SignalMerge.h>

#include "cli/Failure.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"
#include "commands/Commands.h"
#include "commands/Convert.h"

namespace kvx::tool {
namespace {

struct MergeOptions : ConvertOptions {
    std::vector<std::string> inputs;
    bool isInTime = false;
};

void RunMerge(const MergeOptions& options, ByteStream& out) {
    if (options.inputs.size() < 2) throw UsageError("there is nothing to merge in a single input");
    RequireOneStandardInput(options.inputs);
    const std::optional<std::wstring> text = StatedText(options);
    SignalKinds kinds = KindsFor(options.stream.FormatOfOutput());
    kinds.isJoined = kinds.isJoined || !options.isInTime;
    std::vector<MergeInput> inputs;
    std::size_t told = 0;  // remarks of the inputs, which come first in those of the whole
    for (const std::string& input : options.inputs) {
        StreamOptions one = options.stream;
        one.input = input;
        inputs.push_back({OpenInput("merge", one, kinds), Quote(InputName(input))});
        told += inputs.back().reader->Remarks().size();
    }
    ConvertOptions whole = options;
    whole.stream.input = options.inputs.front();
    const std::unique_ptr<SignalReader> merged = Doing("merge", whole.stream.input, [&] {
        std::unique_ptr<SignalReader> reader = options.isInTime
                                                   ? JoinInTime(std::move(inputs))
                                                   : MergeChannels(std::move(inputs), OptionNames());
        for (std::size_t i = told; i < reader->Remarks().size(); ++i) Note(reader->Remarks()[i]);
        return EditSignal(std::move(reader), {.channels = {}, .text = text});
    });
    WriteSignal("merge", whole, *merged, false, out);
}

}  // namespace

void AddMerge(Command app) {
    const auto options = std::make_shared<MergeOptions>();
    Command command = app.AddCommand("merge", "Make one recording of several");
    command.AddOption("FILE", options->inputs, "Recordings of any format").Many().Required();
    AddOutputOptions(command, "Output", RecordingFormats(), &options->stream.output).Required();
    command.AddFlag("--in-time", options->isInTime,
                    "One recording after the other, instead of their channels side by side");
    AddTextOption(command, options.get());
    AddStreamOptions(command, "--rate", &options->stream);
    command.SetFooter(R"(
Side by side, all must have the same axis: rate, start and number of samples; --start and --end take
equal parts of longer ones. After one another they must have the same channels at one rate; names and
units are those of the first, and each begins where the one before it ends. What is stated is stated
of every input.
)",
                      R"(
printf 'time,top [g]\n0,0.1\n0.5,0.3\n1,0.2\n' > top.csv
printf 'time,base [N]\n0,5\n0.5,6\n1,7\n' > base.csv
kvx merge top.csv base.csv -o both.vdf2
kvx merge top.csv top.csv -o twice.wav --in-time
)");
    command.OnRun([=](ByteStream& out) { RunMerge(*options, out); });
}

}  // namespace kvx::tool
