// SPDX-License-Identifier: MIT
#include <KvxRecording01/RecordingShock.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <new>
#include <utility>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {
namespace {

/// What `work` returns, which is about a channel; an Error of it names the channel.
template <class Work>
auto OfChannel(const SignalRun::Channel& channel, Work work) {
    try {
        return work();
    } catch (const Error& error) {
        throw Error(error.Kind(), "channel " + Quote(channel.name) + ": " + error.Sentence(), error.Place());
    }
}

/// The samples of a baseline in a run; throws Error when it is longer.
std::int64_t BaselineOf(const SignalRun& run, double seconds) {
    const double samples = std::round(seconds * RateOf(run));
    if (samples >= 0.0 && samples <= static_cast<double>(run.samples))
        return static_cast<std::int64_t>(samples);
    throw Error(ErrorKind::kBadValue,
                "a baseline of " + FormatNumber(seconds) + " s is no part of the recording");
}

/// Reads run `r`, of each channel of which the mean of its first samples is taken off.
void ReadFromBaseline(SignalReader& reader, std::size_t r, double baselineSeconds, const TakeSamples& take,
                      const ProgressFunction& progress) {
    const std::size_t channels = reader.Runs()[r].channels.size();
    const std::int64_t baseline = BaselineOf(reader.Runs()[r], baselineSeconds);
    if (baseline == 0) return ReadRun(reader, r, take, progress);
    std::vector<std::vector<double>> first(channels);
    const auto keep = [&](std::span<double* const> columns, std::size_t count) {
        for (std::size_t c = 0; c < channels; ++c)
            first[c].insert(first[c].end(), columns[c], columns[c] + count);
    };
    ReadRun(reader, r, keep, progress, baseline);
    std::vector<double> means;
    std::vector<double*> columns;
    for (std::vector<double>& samples : first) {
        double sum = 0.0;
        for (const double sample : samples) sum += sample;
        means.push_back(sum / static_cast<double>(samples.size()));
        columns.push_back(samples.data());
    }
    const auto takeOff = [&](std::span<double* const> samples, std::size_t count) {
        for (std::size_t c = 0; c < channels; ++c)
            for (std::size_t i = 0; i < count; ++i) samples[c][i] -= means[c];
        take(samples, count);
    };
    takeOff(columns, first.front().size());
    ReadRun(reader, r, takeOff, progress);
}

std::vector<double> FrequenciesFor(const ShockChoice& choice, double rateHz) {
    constexpr double kSpan = 1000.0;
    if (!choice.frequencies.empty()) return choice.frequencies;
    const double to = choice.toHz.value_or(rateHz / kRateOverBand);
    const double from = choice.fromHz.value_or(to / kSpan);
    return choice.stepHz ? FrequenciesPerStep(from, to, *choice.stepHz)
                         : FrequenciesPerOctave(from, to, choice.perOctave);
}

ShockSettings SettingsFor(const ShockChoice& choice, double rateHz) {
    return {rateHz, FrequenciesFor(choice, rateHz), choice.damping, choice.response, choice.peakError};
}

std::vector<ShockExtremes> ExtremesOfRun(SignalReader& reader, std::size_t r, const ShockChoice& choice,
                                         const ProgressFunction& progress) {
    const SignalRun& run = reader.Runs()[r];
    const ShockSettings settings = SettingsFor(choice, RateOf(run));
    std::vector<ShockSpectrum> spectra;
    for (std::size_t c = 0; c < run.channels.size(); ++c) spectra.emplace_back(settings);
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        ForEachInParallel(spectra.size(), [&](std::size_t c) { spectra[c].Add({samples[c], count}); });
    };
    ReadFromBaseline(reader, r, choice.baselineSeconds, add, progress);
    std::vector<ShockExtremes> extremes;
    for (std::size_t c = 0; c < spectra.size(); ++c)
        extremes.push_back(OfChannel(run.channels[c], [&] { return spectra[c].Extremes(); }));
    return extremes;
}

void RequireSpectra(const std::vector<SignalRun>& runs, const ShockChoice& choice) {
    RequireLinearUnits(runs);
    for (const SignalRun& run : runs) {
        BaselineOf(run, choice.baselineSeconds);
        const ShockSettings settings = SettingsFor(choice, RateOf(run));
        for (const double frequency : settings.frequencies) ShockOversampling(settings, frequency);
        for (const SignalRun::Channel& channel : run.channels)
            OfChannel(channel, [&] { return ShockUnit(choice.response, channel.unit); });
    }
}

}  // namespace

std::vector<RecordShockSpectra> ShockSpectraOf(SignalReader& signal, const ShockChoice& choice,
                                               const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    const std::vector<SignalRun>& runs = reader.Runs();
    RequireSpectra(runs, choice);
    std::vector<RecordShockSpectra> results;
    std::vector<ShockExtremes> extremes;
    std::size_t analysed = runs.size();  // the run of the extremes, at first none
    for (const RunRecord& record : RecordsOf(runs)) {
        const SignalRun& run = runs[record.run];
        if (std::exchange(analysed, record.run) != record.run)
            extremes = ExtremesOfRun(reader, record.run, choice, progress);
        const ShockSettings settings = SettingsFor(choice, RateOf(run));
        RecordShockSpectra& result =
            results.emplace_back(RecordShockSpectra{record.number,
                                                    RateOf(run),
                                                    ShockUnit(choice.response, record.unit),
                                                    settings.frequencies,
                                                    1,
                                                    std::nullopt,
                                                    {}});
        for (const double frequency : settings.frequencies) {
            const std::int32_t ratio = ShockOversampling(settings, frequency);
            result.interpolation = std::max(result.interpolation, ratio);
            if (ratio > 1)
                result.interpolatedFromHz =
                    std::min(frequency, result.interpolatedFromHz.value_or(frequency));
        }
        for (const std::size_t c : record.channels)
            result.channels.push_back({run.channels[c], std::move(extremes[c])});
    }
    return results;
}

std::vector<CComDataBase> DataRecords(std::span<const RecordShockSpectra> spectra,
                                      std::span<const ShockExtreme> extremes) {
    std::vector<CComDataBase> records;
    for (const RecordShockSpectra& record : spectra) {
        CStringArray names;
        for (const ChannelShockSpectrum& channel : record.channels) {
            for (const ShockExtreme extreme : extremes) {
                const auto named =
                    std::ranges::find(NamedShockExtremes(), extreme, &NamedShockExtreme::extreme);
                const std::wstring suffix = L" " + FromUtf8(named->name).value_or(L"");
                names.push_back(channel.channel.name + (extremes.size() > 1 ? suffix : L""));
            }
        }
        const CDataArrayDouble axis(std::ssize(record.frequencies), record.frequencies.data());
        CComDataSpecG data(std::ssize(names), 1, 0, record.unit, axis, &names, nullptr);
        if (data.GetReal(0, 0) == nullptr) throw std::bad_alloc();
        __int64 row = 0;
        for (const ChannelShockSpectrum& channel : record.channels) {
            for (const ShockExtreme extreme : extremes)
                std::ranges::copy(channel.extremes.Of(extreme), Samples(data, row++, 0).begin());
        }
        records.push_back(std::move(data));
    }
    return records;
}

std::vector<ChannelPulse> PulsesOf(SignalReader& signal, const PulseChoice& choice,
                                   const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    RequireLinearUnits(reader.Runs());
    for (const SignalRun& run : reader.Runs()) BaselineOf(run, choice.baselineSeconds);
    std::vector<ChannelPulse> pulses;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const SignalRun& run = reader.Runs()[r];
        std::vector<std::vector<double>> samples(run.channels.size());
        const auto append = [&](std::span<double* const> columns, std::size_t count) {
            for (std::size_t c = 0; c < samples.size(); ++c)
                samples[c].insert(samples[c].end(), columns[c], columns[c] + count);
        };
        ReadFromBaseline(reader, r, choice.baselineSeconds, append, progress);
        const std::size_t first = pulses.size();
        for (const SignalRun::Channel& channel : run.channels) pulses.push_back({channel, {}});
        ForEachInParallel(samples.size(), [&](std::size_t c) {
            PulseFigures& figures = pulses[first + c].figures;
            figures = OfChannel(run.channels[c],
                                [&] { return MeasurePulse(samples[c], RateOf(run), choice.measure); });
            const double start = static_cast<double>(run.offset) * run.delta;
            for (double* seconds :
                 {&figures.peakSeconds, &figures.startSeconds, &figures.fromSeconds, &figures.toSeconds})
                *seconds += start;
        });
    }
    return pulses;
}

}  // namespace kvx
