// SPDX-License-Identifier: MIT
#include "commands/SignalWriter.h"

#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

/// A file that goes to standard output, if that was named, when it is complete.
class DeliveredWriter : public SignalWriter {
public:
    DeliveredWriter(const std::string& path, Format format, const std::vector<SignalRun>& runs,
                    const SignalFileOptions& options)
        : target_(path),
          file_(CreateSignalFile(target_.Path(), format, runs, options)),
          loss_(RemarkOnLoss(RowOf(format), runs, options.facts)) {}

    void Write(std::size_t run, std::span<double* const> channels, std::size_t count) override {
        file_->Write(run, channels, count);
    }
    void Commit() override {
        file_->Commit();
        target_.Deliver();
        if (!loss_.empty()) Note(loss_);
    }
    std::vector<RecordOutline> Records() const override { return file_->Records(); }

private:
    OutputTarget target_;
    std::unique_ptr<SignalWriter> file_;
    std::string loss_;  ///< a remark on what the format leaves out
};

}  // namespace

void AddSamplesOption(Command& command, std::optional<std::string>* samples) {
    command
        .AddOption("--samples", *samples,
                   "Samples of a sound file: " + Names(kWavSamples) + " (default float)")
        .Type("KIND")
        .Suggest(NameList(kWavSamples));
}

WavSamples WavSamplesOf(const WavChoice& choice) {
    return Choose(kWavSamples, "--samples", choice.samples.value_or("float")).samples;
}

WavOptions WavOptionsOf(const WavChoice& choice) {
    return {WavSamplesOf(choice), choice.fullScale.value_or(1.0)};
}

std::unique_ptr<SignalWriter> CreateSignal(const std::string& path, Format format,
                                           const std::vector<SignalRun>& runs,
                                           const SignalFileOptions& options) {
    return std::make_unique<DeliveredWriter>(path, format, runs, options);
}

}  // namespace kvx::tool
