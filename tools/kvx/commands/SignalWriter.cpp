// SPDX-License-Identifier: MIT
#include "commands/SignalWriter.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/Options.h"
#include "cli/StandardStreams.h"
#include "commands/UnitChoice.h"

namespace kvx::tool {
namespace {

struct SampleName {
    std::string_view name;
    WavSamples samples;
};
// clang-format off
constexpr std::array kSampleNames = {
    SampleName{"float",  WavSamples::floating},
    SampleName{"double", WavSamples::doubleFloating},
    SampleName{"pcm16",  WavSamples::pcm16},
    SampleName{"pcm24",  WavSamples::pcm24},
};
// clang-format on

class DataFileSignalWriter : public SignalWriter {
public:
    DataFileSignalWriter(const std::string& path, const std::wstring& text,
                         const std::vector<SignalRun>& runs)
        : target_(path) {
        for (const SignalRun& run : runs) AddRun(run);
        file_.emplace(WidePath(target_.Path()), CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), records_);
        done_.resize(runs.size());
    }

    void Write(std::size_t run, std::span<double* const> channels, std::size_t count) override {
        for (std::size_t c = 0; c < channels.size(); ++c) {
            const auto [record, row] = places_[run][c];
            file_->WriteReal({record, row, 0, done_[run]}, {channels[c], count});
        }
        done_[run] += static_cast<__int64>(count);
    }

    void Commit() override {
        file_->Commit();
        target_.Deliver();
    }

    std::vector<RecordOutline> Records() const override { return records_; }

private:
    struct Place {
        __int64 record;
        __int64 row;
    };

    /// Gives each channel a row in the record of its unit, and appends those records.
    void AddRun(const SignalRun& run) {
        if (run.samples > std::numeric_limits<std::int32_t>::max()) {
            throw Error(ErrorKind::kBadValue,
                        "a record holds at most 2147483647 samples per channel, this has " +
                            std::to_string(run.samples));
        }
        if (!IsAxis(run.delta, run.offset, run.samples))
            throw Error(ErrorKind::kBadValue,
                        "a spacing of " + FormatNumber(run.delta) + " s makes no time axis");
        const std::size_t first = records_.size();
        std::vector<Place>& places = places_.emplace_back();
        for (const SignalRun::Channel& channel : run.channels) {
            const std::wstring unit = PlainUnitName(channel.unit);
            auto record =
                std::find_if(records_.begin() + static_cast<std::ptrdiff_t>(first), records_.end(),
                             [&](const RecordOutline& r) { return PlainUnitName(r.fields.unit) == unit; });
            if (record == records_.end()) {
                RecordOutline outline;
                outline.fields.mode = CComDataBase::MODE_SPACING;
                outline.fields.hunit = SingleUnit(kAxisMilliseconds);
                outline.fields.unit = channel.unit;
                outline.fields.delta = run.delta;
                outline.fields.offset = run.offset;
                outline.cols = 1;
                outline.fields.colNames.resize(1);  // one column, without a name
                outline.nsamp = run.samples;
                record = records_.insert(records_.end(), std::move(outline));
            }
            places.push_back({record - records_.begin(), record->rows++});
            record->fields.rowNames.push_back(channel.name);
        }
    }

    OutputTarget target_;
    std::optional<DataFileWriter> file_;
    std::vector<RecordOutline> records_;
    std::vector<std::vector<Place>> places_;  ///< per run and channel
    std::vector<__int64> done_;               ///< samples written per run
};

const SignalRun& OnlyRun(const std::vector<SignalRun>& runs) {
    if (runs.size() != 1)
        throw Error(ErrorKind::kBadValue, "a WAV file holds one record; choose it with --record");
    return runs.front();
}

class WavSignalWriter : public SignalWriter {
public:
    WavSignalWriter(const std::string& path, const SignalRun& run, const WavOptions& options)
        : target_(path),
          file_(target_.Path(), run.channels.size(), run.samples, WavRate(run.delta), WavSamplesOf(options)) {
        for (const SignalRun::Channel& channel : run.channels) scales_.emplace_back(channel, options);
    }

    void Write(std::size_t, std::span<double* const> channels, std::size_t count) override {
        for (std::size_t c = 0; c < channels.size(); ++c) scales_[c].Apply({channels[c], count});
        file_.Write({channels.data(), channels.size()}, count);
    }
    void Commit() override {
        for (const WavScale& scale : scales_) scale.RequireUnclipped();
        file_.Commit();
        target_.Deliver();
    }

private:
    OutputTarget target_;
    WavWriter file_;
    std::vector<WavScale> scales_;
};

}  // namespace

void AddSamplesOption(Command& command, std::string* samples) {
    command.AddOption("--samples", *samples, "WAV samples: " + Names(kSampleNames))
        .Type("KIND")
        .ShowDefault();
}

WavSamples WavSamplesOf(const WavOptions& options) {
    return Choose(kSampleNames, "--samples", options.samples).samples;
}

int WavRate(double delta) {
    constexpr double kClockAccuracy = 1e-6;
    const double rate = 1.0 / delta;
    const double whole = std::round(rate);
    if (whole < 1.0 || whole > std::numeric_limits<int>::max() ||
        std::abs(rate / whole - 1.0) > kClockAccuracy) {
        throw Error(ErrorKind::kBadValue,
                    "its rate of " + FormatNumber(rate, 10) + " Hz is not whole, as a WAV file needs it");
    }
    return static_cast<int>(whole);
}

WavScale::WavScale(const SignalRun::Channel& channel, const WavOptions& options)
    : channel_(channel),
      fullScale_(options.fullScale.value_or(1.0)),
      isInteger_(IsInteger(WavSamplesOf(options))) {}

void WavScale::Apply(std::span<double> samples) {
    const CUnitCtrl& unit = channel_.unit;
    unit.ConvDtoI(samples.data(), samples.data(), std::ssize(samples), 1.0, unit.IsSingle());
    for (double& sample : samples) {
        peak_ = std::max(peak_, std::abs(sample));
        sample /= fullScale_;
    }
}

void WavScale::RequireUnclipped() const {
    if (isInteger_ && peak_ > fullScale_) {
        throw Error(ErrorKind::kBadValue, "channel " + Quote(channel_.name) +
                                              " would be clipped: it reaches " + FormatNumber(peak_) + " " +
                                              UnitText(channel_.unit) + " and full scale is " +
                                              FormatNumber(fullScale_) + "; raise --full-scale");
    }
}

std::unique_ptr<SignalWriter> CreateDataFile(const std::string& path, const std::wstring& text,
                                             const std::vector<SignalRun>& runs) {
    return std::make_unique<DataFileSignalWriter>(path, text, runs);
}

std::unique_ptr<SignalWriter> CreateWavFile(const std::string& path, const std::vector<SignalRun>& runs,
                                            const WavOptions& options) {
    return std::make_unique<WavSignalWriter>(path, OnlyRun(runs), options);
}

}  // namespace kvx::tool
