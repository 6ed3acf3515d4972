// SPDX-License-Identifier: MIT
#include <KvxRecording01/RecordingAnalysis.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <new>
#include <optional>
#include <utility>

#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>

namespace kvx {
namespace {

/// Points of the transforms.
std::int64_t PointsOf(const BlockPlan& blocks) {
    return blocks.averaging.transformSize > 0 ? blocks.averaging.transformSize : blocks.cut.size;
}

std::int64_t LinesOf(const BlockPlan& blocks) {
    return PointsOf(blocks) / 2 + (blocks.averaging.hasMiddleLine ? 1 : 0);
}

double SpacingOf(const SignalRun& run, const BlockPlan& blocks) {
    return RateOf(run) / static_cast<double>(PointsOf(blocks));
}

/// Throws Error where blocks are averaged in another way than linearly, with zeros, or with the last line.
void RequirePlainAverage(const BlockPlan& blocks) {
    const Averaging& averaging = blocks.averaging;
    if (averaging.mode == AverageMode::kLinear && averaging.transformSize == 0 && !averaging.hasMiddleLine)
        return;
    throw Error(ErrorKind::kUnsupported,
                "transfer functions and slices are linear averages of blocks without zeros behind them");
}

/// The plans of the runs, in their order.
std::vector<BlockPlan> PlansOf(const std::vector<SignalRun>& runs, const BlockPlan& blocks) {
    std::vector<BlockPlan> plans;
    for (const SignalRun& run : runs) plans.push_back(blocks.At(RateOf(run)));
    return plans;
}

/// Throws Error when the window is of another size and when the signals of a run do not fill a block.
void RequireBlock(const SignalRun& run, const BlockPlan& blocks) {
    RequireCut(blocks.cut, blocks.averaging.transformSize);
    if (std::ssize(blocks.window) != blocks.cut.size)
        throw Error(ErrorKind::kBadValue, "the window has another size than the blocks");
    if (run.samples >= blocks.cut.size) return;
    throw Error(ErrorKind::kBadValue, "a block of " + std::to_string(blocks.cut.size) + " is more than its " +
                                          Count(run.samples, "sample") + "; choose a smaller " +
                                          blocks.sizeName);
}

/// Throws Error when a run does not fill a block, has no density or no line in the band, and for a cut-off
/// where there is no motion.
void RequireSpectra(const std::vector<SignalRun>& runs, const std::vector<BlockPlan>& plans,
                    const SpectraChoice& choice) {
    if (choice.kind == LineKind::kTransfer || choice.kind == LineKind::kCoherence)
        throw Error(ErrorKind::kBadValue, "a transfer function or coherence is of two channels");
    RequireLinearUnits(runs);
    for (std::size_t r = 0; r < runs.size(); ++r) {
        RequireBlock(runs[r], plans[r]);
        choice.figures.band.Lines(SpacingOf(runs[r], plans[r]), LinesOf(plans[r]));
    }
    for (const RunRecord& record : RecordsOf(runs)) {
        if (!IsPower(choice.kind) || SquareUnit(record.unit)) continue;
        throw Error(ErrorKind::kUnsupported, "the unit " + Quote(UnitText(record.unit)) + " of record " +
                                                 std::to_string(record.number) +
                                                 " is a compound, which has no " +
                                                 (choice.kind == LineKind::kDensity ? "density" : "square"));
    }
    const auto isAboutMotion = [](const RunRecord& record) { return record.unit.IsAcc() != 0; };
    if (choice.figures.cutoffHz > 0.0 && std::ranges::none_of(RecordsOf(runs), isAboutMotion)) {
        throw Error(ErrorKind::kBadValue,
                    choice.cutoffName + " is for the motion of accelerations, which no channel is");
    }
}

/// The lines of one block of each channel of run `r`.
std::vector<LineSpectrum> BlockOfRun(SignalReader& reader, std::size_t r, const BlockPlan& plan,
                                     const SpectraChoice& choice, const ProgressFunction& progress) {
    const SignalRun& run = reader.Runs()[r];
    const std::int64_t size = plan.cut.size;
    const double start = std::round(choice.startSeconds * RateOf(run));
    if (!(start >= 0.0 && start <= static_cast<double>(run.samples - size))) {
        throw Error(ErrorKind::kBadValue,
                    "no full block is left from " + FormatNumber(choice.startSeconds) + " s on");
    }
    reader.Skip(r, static_cast<std::int64_t>(start));
    std::vector<std::vector<double>> blocks(run.channels.size());
    const auto append = [&](std::span<double* const> samples, std::size_t count) {
        for (std::size_t c = 0; c < blocks.size(); ++c)
            blocks[c].insert(blocks[c].end(), samples[c], samples[c] + count);
    };
    ReadRun(reader, r, append, progress, size);
    std::vector<LineSpectrum> spectra;
    for (std::size_t c = 0; c < blocks.size(); ++c)
        spectra.push_back(
            BlockLines(blocks[c], plan.window, RateOf(run), run.channels[c].unit, plan.averaging));
    return spectra;
}

/// The averaged lines of each channel of run `r`.
std::vector<LineSpectrum> AverageOfRun(SignalReader& reader, std::size_t r, const BlockPlan& plan,
                                       const SpectraChoice& choice, const ProgressFunction& progress) {
    const SignalRun& run = reader.Runs()[r];
    std::vector<AveragedSpectrum> averages;
    for (std::size_t c = 0; c < run.channels.size(); ++c)
        averages.emplace_back(plan.window, plan.cut.overlap, plan.averaging);
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        ForEachInParallel(averages.size(), [&](std::size_t c) { averages[c].Add({samples[c], count}); });
    };
    ReadRun(reader, r, add, progress);
    std::vector<LineSpectrum> spectra;
    for (std::size_t c = 0; c < averages.size(); ++c)
        spectra.push_back(AveragedLines(choice.kind, averages[c], RateOf(run), run.channels[c].unit));
    return spectra;
}

/// A reader with the responses, the reference, and the records of the responses.
struct Selection {
    std::unique_ptr<SignalReader> reader;
    SignalRun reference = {};  ///< with no other channel
    std::vector<RunRecord> records = {};
};

/// The channels of the runs, each in a run of its own.
std::vector<SignalRun> SingleChannels(const std::vector<SignalRun>& runs) {
    std::vector<SignalRun> singles;
    for (const SignalRun& run : runs) {
        for (const SignalRun::Channel& channel : run.channels) {
            singles.push_back(run);
            singles.back().channels = {channel};
        }
    }
    return singles;
}

std::size_t NumberOf(const SignalRun& single) {
    return single.channels.front().number;
}

/// Opens channels of the recording of the reference.
std::unique_ptr<SignalReader> OpenReference(const OpenChannels& open, const TransferChoice& choice,
                                            const std::string& channels) {
    return choice.openReference ? choice.openReference(channels) : open(channels);
}

Selection SelectChannels(const OpenChannels& open, const TransferChoice& choice) {
    const bool isNamed = !choice.responses.empty();
    const bool isByPart = isNamed && choice.isByPart;
    const bool isAlone = isByPart || choice.openReference;
    // The reference comes first: it is what is told of when the responses are wrong as well.
    Selection selection = {OpenReference(open, choice, isAlone ? choice.reference : "")};
    std::vector<SignalRun> all = SingleChannels(selection.reader->Runs());
    const auto choose = [&](const std::string& list) {
        std::vector<std::wstring> names;
        for (const SignalRun& run : all) names.push_back(run.channels.front().name);
        return ChooseChannels(list, names);
    };
    // Alone, and by part, the reader has chosen.
    const std::vector<std::size_t> references = choose(isAlone ? "" : choice.reference);
    if (references.size() != 1) {
        throw Error(ErrorKind::kBadValue,
                    choice.referenceName + " " + Quote(choice.reference) + " names several channels");
    }
    selection.reference = all[references.front()];
    if (isAlone) {
        selection.reader = open(isByPart ? choice.responses : "");
        all = SingleChannels(selection.reader->Runs());
    }
    std::vector<std::size_t> responses;  // numbers in the order of the choice
    for (const std::size_t at : choose(isByPart ? "" : choice.responses))
        responses.push_back(NumberOf(all[at]));
    const SignalRun::Channel& reference = selection.reference.channels.front();
    if (!choice.isElsewhere && std::erase(responses, reference.number) > 0 && isNamed) {
        throw Error(ErrorKind::kBadValue,
                    "channel " + Quote(reference.name) + " is the reference, not a response");
    }
    selection.records = RecordsOf(selection.reader->Runs());
    for (RunRecord& record : selection.records) {
        const std::vector<SignalRun::Channel>& channels = selection.reader->Runs()[record.run].channels;
        std::vector<std::size_t> chosen;
        for (const std::size_t number : responses) {
            const auto hasNumber = [&](std::size_t c) { return channels[c].number == number; };
            std::ranges::copy_if(record.channels, std::back_inserter(chosen), hasNumber);
        }
        record.channels = std::move(chosen);
    }
    std::erase_if(selection.records, [](const RunRecord& record) { return record.channels.empty(); });
    return selection;
}

/// Throws Error when there is no response, when one was not sampled together with the reference and when
/// their units make no transfer function.
void RequireTransfers(const Selection& selection) {
    if (selection.records.empty()) throw Error(ErrorKind::kBadValue, "it has no channel but the reference");
    const SignalRun& reference = selection.reference;
    RequireLinearUnit(reference.channels.front());
    for (const RunRecord& record : selection.records) {
        const SignalRun& run = selection.reader->Runs()[record.run];
        for (const std::size_t c : record.channels) RequireLinearUnit(run.channels[c]);
        if (run.delta != reference.delta || run.samples != reference.samples ||
            run.offset != reference.offset) {
            throw Error(ErrorKind::kBadValue,
                        "channel " + Quote(run.channels[record.channels.front()].name) +
                            " was not sampled together with the reference: rate, count or start differ");
        }
        TransferUnitOf(record.unit, reference.channels.front().unit);
    }
}

/// The averages over the reference of the channels of run `r`, in their order; those of responses are filled.
std::vector<AveragedTransfer> TransfersOfRun(const Selection& selection, std::size_t r,
                                             const BlockPlan& blocks, const OpenChannels& open,
                                             const TransferChoice& choice, const ProgressFunction& progress) {
    SignalReader& reader = *selection.reader;
    const std::vector<SignalRun::Channel>& channels = reader.Runs()[r].channels;
    std::vector<std::size_t> responses;
    for (const RunRecord& record : selection.records) {
        if (record.run == r)
            responses.insert(responses.end(), record.channels.begin(), record.channels.end());
    }
    auto at = std::ranges::find(channels, NumberOf(selection.reference), &SignalRun::Channel::number);
    if (choice.isElsewhere) at = channels.end();
    const auto column = static_cast<std::size_t>(at - channels.begin());
    std::unique_ptr<SignalReader> other;  // of a reference in another record or recording
    if (at == channels.end()) other = OpenReference(open, choice, choice.reference);
    std::vector<double> excitation;
    bool isSilent = true;
    std::vector<AveragedTransfer> averages;
    for (std::size_t c = 0; c < channels.size(); ++c)
        averages.emplace_back(blocks.window, blocks.cut.overlap, blocks.averaging.detrend);
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        if (other != nullptr) {
            excitation.resize(count);
            double* const target = excitation.data();
            if (other->Read(0, {&target, 1}, count) != count)
                throw Error(ErrorKind::kDamaged, "the reference ends before its responses");
        }
        const std::span<const double> reference(other != nullptr ? excitation.data() : samples[column],
                                                count);
        isSilent = isSilent && std::ranges::all_of(reference, [](double sample) { return sample == 0.0; });
        ForEachInParallel(responses.size(), [&](std::size_t i) {
            averages[responses[i]].Add(reference, {samples[responses[i]], count});
        });
    };
    ReadRun(reader, r, add, progress);
    if (isSilent) {
        throw Error(ErrorKind::kBadValue,
                    "the reference " + Quote(selection.reference.channels.front().name) +
                        " is silent, all its samples are 0, so nothing has a transfer function from it");
    }
    return averages;
}

/// The slices of each channel of run `r`, a row each.
std::vector<CComDataSpecA> SlicesOfRun(SignalReader& reader, std::size_t r, const BlockPlan& blocks,
                                       const Slicing& slicing, const SlicesChoice& choice,
                                       const ProgressFunction& progress) {
    const SignalRun& run = reader.Runs()[r];
    std::vector<CComDataSpecA> slices;
    for (const SignalRun::Channel& channel : run.channels) {
        slices.emplace_back(SpacingOf(run, blocks), slicing.Count(run.samples), 1, slicing.cut.size / 2, 0,
                            LineUnit(choice.kind, channel.unit), nullptr, nullptr);
        if (!slices.back().Check()) throw std::bad_alloc();
    }
    std::vector<SlicedSpectrum> spectra;
    for (CComDataSpecA& record : slices) {
        const auto store = [&record, row = __int64{0}](std::span<const double> lines) mutable {
            std::ranges::copy(lines, Samples(record, row++, 0).begin());
        };
        spectra.emplace_back(blocks.window, slicing, choice.kind, RateOf(run), store,
                             blocks.averaging.detrend);
    }
    const auto add = [&](std::span<double* const> samples, std::size_t count) {
        ForEachInParallel(spectra.size(), [&](std::size_t c) { spectra[c].Add({samples[c], count}); });
    };
    ReadRun(reader, r, add, progress);
    for (std::size_t c = 0; c < slices.size(); ++c) {
        for (__int64 row = 0; row < slices[c].GetNumRow(); ++row)
            RequireNumbers(Samples(std::as_const(slices[c]), row, 0), run.channels[c].name);
    }
    return slices;
}

}  // namespace

BlockPlan BlockPlan::At(double rateHz) const {
    BlockPlan plan = *this;
    if (spacingHz > 0.0) {
        const BlockPlan made =
            PlanBlocks(BlockSizeFor(rateHz, spacingHz), overlapPercent, windowText, averaging);
        plan.cut = made.cut;
        plan.window = made.window;
    }
    if (timeConstantSeconds > 0.0 && averaging.mode == AverageMode::kExponential) {
        plan.averaging.weight =
            ExponentialWeight(timeConstantSeconds, static_cast<double>(plan.cut.Step()) / rateHz);
    }
    return plan;
}

BlockPlan PlanBlocks(std::int64_t size, double overlapPercent, std::string_view window,
                     const Averaging& averaging) {
    BlockPlan plan = {CutWithOverlap(size, overlapPercent, averaging.transformSize),
                      MakeWindow(window, size)};
    plan.averaging = averaging;
    plan.windowText = window;
    plan.overlapPercent = overlapPercent;
    return plan;
}

std::vector<RecordSpectra> SpectraOf(SignalReader& signal, const SpectraChoice& choice,
                                     const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    const std::vector<SignalRun>& runs = reader.Runs();
    const std::vector<BlockPlan> plans = PlansOf(runs, choice.blocks);
    RequireSpectra(runs, plans, choice);
    const auto analyse = choice.kind == LineKind::kComplex ? BlockOfRun : AverageOfRun;
    std::vector<RecordSpectra> results;
    std::vector<LineSpectrum> spectra;
    std::size_t analysed = runs.size();  // the run of the spectra, at first none
    for (const RunRecord& record : RecordsOf(runs)) {
        const SignalRun& run = runs[record.run];
        const BlockPlan& plan = plans[record.run];
        if (std::exchange(analysed, record.run) != record.run) {
            spectra = analyse(reader, record.run, plan, choice, progress);
            const double seconds = static_cast<double>(plan.cut.size) / RateOf(run);
            for (LineSpectrum& lines : spectra)
                lines.decayPerSecond = plan.windowText.empty() ? 0.0 : WindowDecay(plan.windowText, seconds);
        }
        results.push_back({record.number, RateOf(run), record.unit, {}, plan});
        results.back().blocks.window.clear();
        for (const std::size_t c : record.channels) {
            const SignalRun::Channel& channel = run.channels[c];
            RequireNumbers(spectra[c].Levels(), channel.name);
            SpectrumFigures figures = FiguresOf(spectra[c], channel.unit, choice.figures);
            results.back().channels.push_back({channel, std::move(spectra[c]), std::move(figures)});
        }
    }
    return results;
}

RecordingTransfers TransfersOf(const OpenChannels& openSignal, const TransferChoice& choice,
                               const ProgressFunction& progress) {
    const OpenChannels open = [&](const std::string& channels) {
        return AsDifferences(openSignal(channels));
    };
    const Selection selection = SelectChannels(open, choice);
    const std::vector<SignalRun>& runs = selection.reader->Runs();
    const SignalRun& reference = selection.reference;
    const BlockPlan blocks = choice.blocks.At(RateOf(reference));
    RequirePlainAverage(blocks);
    RequireBlock(reference, blocks);
    const std::int64_t lines = blocks.cut.size / 2;
    RecordingTransfers result = {selection.reader->Text(), reference, SpacingOf(reference, blocks)};
    const LineBand band = choice.band.Lines(result.spacingHz, lines);
    const std::vector<std::int64_t> wanted = LinesNear(choice.frequencies, result.spacingHz, lines);
    RequireTransfers(selection);
    std::vector<AveragedTransfer> averages;
    std::size_t analysed = runs.size();  // the run of the averages, at first none
    for (const RunRecord& record : selection.records) {
        if (std::exchange(analysed, record.run) != record.run)
            averages = TransfersOfRun(selection, record.run, blocks, open, choice, progress);
        std::vector<ChannelTransfer>& responses = result.records.emplace_back();
        for (const std::size_t c : record.channels) {
            const SignalRun::Channel& channel = runs[record.run].channels[c];
            LineSpectrum transfer =
                TransferLines(averages[c], RateOf(reference), record.unit, reference.channels.front().unit);
            LineSpectrum coherence = CoherenceLines(averages[c], RateOf(reference));
            RequireNumbers(coherence.real, channel.name);
            const auto lineAt = [&](std::int64_t line) { return TransferLineAt(transfer, coherence, line); };
            const TransferLine largest = lineAt(HighestLine(transfer.Levels(), band));
            std::vector<TransferLine> near;
            std::ranges::transform(wanted, std::back_inserter(near), lineAt);
            result.blocks = transfer.blocks;
            responses.push_back(
                {channel, std::move(transfer), std::move(coherence), largest, std::move(near)});
        }
    }
    return result;
}

std::vector<CComDataBase> DataRecords(std::span<const RecordSpectra> spectra) {
    std::vector<CComDataBase> records;
    for (const RecordSpectra& record : spectra) {
        std::vector<LineSpectrum> lines;
        CStringArray names;
        for (const ChannelSpectrum& channel : record.channels) {
            lines.push_back(channel.lines);
            names.push_back(channel.channel.name);
        }
        records.push_back(SpectrumRecord(lines, names));
    }
    return records;
}

std::vector<CComDataBase> DataRecords(const RecordingTransfers& transfers) {
    const CString& reference = transfers.reference.channels.front().name;
    std::vector<CComDataBase> records;
    std::vector<LineSpectrum> coherences;
    CStringArray names;
    for (const std::vector<ChannelTransfer>& responses : transfers.records) {
        std::vector<LineSpectrum> lines;
        CStringArray own;
        for (const ChannelTransfer& response : responses) {
            lines.push_back(response.transfer);
            coherences.push_back(response.coherence);
            own.push_back(response.channel.name);
        }
        names.insert(names.end(), own.begin(), own.end());
        records.push_back(SpectrumRecord(lines, own, reference));
    }
    records.push_back(SpectrumRecord(coherences, names, reference));
    return records;
}

std::vector<RunSlices> SlicesOf(SignalReader& signal, const SlicesChoice& choice,
                                const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    const std::vector<SignalRun>& runs = reader.Runs();
    RequireLinearUnits(runs);
    const std::vector<BlockPlan> plans = PlansOf(runs, choice.blocks);
    for (std::size_t r = 0; r < runs.size(); ++r) {
        RequirePlainAverage(plans[r]);
        RequireBlock(runs[r], plans[r]);
    }
    std::vector<RunSlices> results;
    for (std::size_t r = 0; r < runs.size(); ++r) {
        const SignalRun& run = runs[r];
        const Slicing slicing = Slicing::AtMost(choice.most, run.samples, plans[r].cut);
        // A slice lies at the middle of its blocks.
        const double middle = static_cast<double>(slicing.Length() - 1) / 2.0;
        results.push_back({SlicesOfRun(reader, r, plans[r], slicing, choice, progress),
                           (static_cast<double>(run.offset) + middle) * run.delta,
                           static_cast<double>(slicing.Start(1)) * run.delta});
    }
    return results;
}

}  // namespace kvx
