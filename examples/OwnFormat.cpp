// SPDX-License-Identifier: MIT
//
// A reader of a format that the library does not know: a class that says what a file holds and delivers its
// samples. Everything that works on recordings then works on it: choice of channels, units, analyses, writing
// in any format. The format here is that of a made-up drop logger: the word DROP, the rate, the number of
// channels and of samples, then counts of 1/500 g, channels side by side.
//
// It prints:
//
//     drop.log: 2 channels of 2000 samples at 5000 Hz
//     top: peak 45.000 g
//     base: peak 12.000 g
//     short.log: the file ends within the samples
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <fstream>
#include <memory>
#include <numbers>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

namespace {

class DropReader : public kvx::RecordingReader {
public:
    explicit DropReader(std::string path) : path_(std::move(path)), file_(path_, std::ios::binary) {
        std::string word;
        double rateHz = 0.0;
        if (!(file_ >> word >> rateHz >> channels_ >> samples_) || word != "DROP" || rateHz <= 0.0 ||
            channels_ < 1 || channels_ > 64 || samples_ < 1 || file_.get() != '\n') {
            throw kvx::Error(kvx::ErrorKind::kDamaged, "it has no header of a drop logger", {.path = path_});
        }
        kvx::RecordingInfo::Run run;
        run.axis.delta = 1.0 / rateHz;
        run.samples = samples_;
        for (std::size_t c = 0; c < channels_; ++c)
            run.channels.push_back({.name = c == 0 ? L"top" : L"base", .unit = kvx::NamedUnit("g")});
        info_.runs = {run};
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        kvx::RequireRun(run, 1);
        std::size_t count = 0;
        for (std::vector<std::int16_t> row(channels_); count < room && done_ < samples_; ++count, ++done_) {
            if (!file_.read(reinterpret_cast<char*>(row.data()), std::ssize(row) * 2))
                throw kvx::Error(kvx::ErrorKind::kDamaged, "the file ends within the samples",
                                 {.path = path_, .sample = done_ + 1});
            for (std::size_t c = 0; c < channels_; ++c) {
                if (targets[c] != nullptr) targets[c][count] = row[c] / 500.0;
            }
        }
        return count;
    }

    kvx::Error ErrorAt(std::size_t channel, std::size_t, kvx::ErrorKind kind,
                       const std::string& sentence) const override {
        return kvx::Error(kind, sentence, {.path = path_, .channel = static_cast<std::int64_t>(channel) + 1});
    }

private:
    std::string path_;
    std::ifstream file_;
    std::size_t channels_ = 0;
    std::int64_t samples_ = 0;
    std::int64_t done_ = 0;
};

/// A drop: half sines of 2 ms, 45 g above and 12 g below, a tenth of a second into the recording.
void WriteLog(const char* path, int samples) {
    std::ofstream log(path, std::ios::binary);
    log << "DROP 5000 2 2000\n";
    for (int i = 0; i < samples; ++i) {
        const double t = (i - 500) / 10.0;
        const double pulse = t > 0 && t < 1 ? std::sin(std::numbers::pi * t) : 0.0;
        const std::int16_t row[] = {static_cast<std::int16_t>(std::lround(45 * 500 * pulse)),
                                    static_cast<std::int16_t>(std::lround(12 * 500 * pulse))};
        log.write(reinterpret_cast<const char*>(row), sizeof row);
    }
}

}  // namespace

int main() try {
    WriteLog("drop.log", 2000);
    WriteLog("short.log", 700);

    const auto drop = kvx::SettleSignal(std::make_unique<DropReader>("drop.log"));
    const kvx::SignalRun& run = drop->Runs().front();
    std::printf("drop.log: %zu channels of %lld samples at %g Hz\n", run.channels.size(),
                static_cast<long long>(run.samples), kvx::RateOf(run));
    const auto figures = kvx::MeasureSignal(*drop).front().channels;
    for (std::size_t c = 0; c < figures.size(); ++c) {
        std::printf("%s: peak %.3f %s\n", kvx::ToUtf8(run.channels[c].name).c_str(), figures[c].peak,
                    kvx::UnitText(run.channels[c].unit).c_str());
    }

    try {
        const auto broken = kvx::SettleSignal(std::make_unique<DropReader>("short.log"));
        kvx::MeasureSignal(*broken);
    } catch (const kvx::Error& error) {
        std::printf("%s: %s\n", error.Place().path.c_str(), error.Sentence().c_str());
    }
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
