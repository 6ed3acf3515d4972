// SPDX-License-Identifier: MIT
//
// Analyses of recordings from end to end: spectra, transfer functions with their coherence, and how a
// spectrum changes. All channels are read together, block by block, and calculated side by side on the cores:
// the memory in use does not grow with the length of the recording, and the results have the same bits on any
// number of threads. What cannot be analysed is refused before the first sample is read: channels in dB, too.
// Temperatures are analysed as differences from the zero of their unit, in K.
//
//     const auto reader = kvx::OpenSignal("shaker.wav");
//     const auto spectra = kvx::SpectraOf(*reader, {kvx::LineKind::kDensity, kvx::PlanBlocks(1024)});
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/dsp/SlicedSpectrum.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Progress.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

namespace kvx {

/// How the signals are cut into blocks, the window of a block, and how blocks are averaged. Of transfer
/// functions and slices only the detrending of `averaging` counts; the rest of it is refused there.
struct BlockPlan {
    BlockCut cut;
    std::vector<double> window;         ///< of cut.size samples
    std::string sizeName = "cut.size";  ///< how sentences name the size of a block
    Averaging averaging = {};
    /// What the window was made of, which tells the decay that it adds; empty for one of other samples.
    std::string windowText = {};
    /// Above 0: the blocks of each run are the smallest whose lines are at most so far apart, as BlockSizeFor
    /// has them, of this overlap and the window of the text; `cut` and `window` do not count.
    double spacingHz = 0.0;
    double overlapPercent = 50.0;
    /// Above 0: the time constant of the exponential average, whose weight follows from the step of the
    /// blocks.
    double timeConstantSeconds = 0.0;

    /// The plan of a signal of that rate, its cut, window and weight made. Throws what PlanBlocks,
    /// BlockSizeFor and ExponentialWeight throw.
    KVX_RECORDING_API BlockPlan At(double rateHz) const;
};

/// Blocks of `size` samples that overlap by `overlapPercent` of it, with the window that a text names. Zeros
/// follow up to the size of a transform, if `averaging` has one. Throws what CutWithOverlap and MakeWindow
/// throw.
KVX_RECORDING_API BlockPlan PlanBlocks(std::int64_t size, double overlapPercent = 50.0,
                                       std::string_view window = "hann", const Averaging& averaging = {});

struct SpectraChoice {
    LineKind kind = LineKind::kDensity;  ///< kComplex is of one block, the others average all of them
    BlockPlan blocks;
    FigureChoice figures = {};
    double startSeconds = 0.0;            ///< of the block of kComplex, from the first sample on
    std::string cutoffName = "cutoffHz";  ///< how sentences name the cut-off of the motion
};

struct ChannelSpectrum {
    SignalRun::Channel channel;
    LineSpectrum lines;
    SpectrumFigures figures;
};

/// The spectra of the channels of a run that have one unit.
struct RecordSpectra {
    std::size_t record;  ///< from 1, as RecordsOf numbers them
    double rateHz;
    CUnitCtrl unit;  ///< of the signals
    std::vector<ChannelSpectrum> channels;
    BlockPlan blocks = {};  ///< of the run, without the samples of the window
};

/// The spectra of all channels of a reader that nothing was read from; of one block no more than that is
/// read. Throws Error for a run that does not fill a block or has no line in the band, for a density of a
/// compound unit, a cut-off where no channel is an acceleration, and lines that leave the range of numbers;
/// and what the reader throws.
KVX_RECORDING_API std::vector<RecordSpectra> SpectraOf(SignalReader& reader, const SpectraChoice& choice,
                                                       const ProgressFunction& progress = {});

/// Opens channels of one recording, as ChooseChannels takes them, each time anew from its start.
using OpenChannels = std::function<std::unique_ptr<SignalReader>(const std::string& channels)>;

struct TransferChoice {
    BlockPlan blocks;
    std::string reference = "1";              ///< the channel that excites the others
    std::string responses = {};               ///< empty for all but the reference
    FrequencyBand band = {};                  ///< of the largest magnitude
    std::vector<double> frequencies = {};     ///< whose lines are wanted, in Hz, from 0 on
    std::string referenceName = "reference";  ///< how sentences name the choice of the reference
    /// Whether the chosen channels are opened by themselves, so that nothing else of a data file need be a
    /// waveform. Otherwise all are opened, and what is stated of the recording is stated of all.
    bool isByPart = false;
    /// Opens the reference where it is not to be opened as the responses are: another record, or with
    /// `isElsewhere` another recording, whose numbers of channels are its own.
    OpenChannels openReference = {};
    bool isElsewhere = false;
};

struct ChannelTransfer {
    SignalRun::Channel channel;
    LineSpectrum transfer;  ///< H1: averaged cross power over the averaged power of the reference
    LineSpectrum coherence;
    TransferLine largest;             ///< the line of the largest magnitude in the band
    std::vector<TransferLine> lines;  ///< those nearest to the frequencies
};

struct RecordingTransfers {
    std::wstring text;    ///< of the recording
    SignalRun reference;  ///< with no other channel
    double spacingHz = 0.0;
    std::int64_t blocks = 0;
    std::vector<std::vector<ChannelTransfer>> records = {};  ///< the responses of one unit each
};

/// The transfer functions from one channel of a recording to others, which may be in other records or another
/// recording but were sampled together with it. Throws Error for channels that are not there, several
/// references, a reference among the responses, no response, another rate, count or start than the
/// reference's, a reference of zeros only, compound units, and as SpectraOf.
KVX_RECORDING_API RecordingTransfers TransfersOf(const OpenChannels& open, const TransferChoice& choice,
                                                 const ProgressFunction& progress = {});

/// The lines as records of a data file: one per unit, after the transfer functions one with all coherences.
KVX_RECORDING_API std::vector<CComDataBase> DataRecords(std::span<const RecordSpectra> spectra);
KVX_RECORDING_API std::vector<CComDataBase> DataRecords(const RecordingTransfers& transfers);

struct SlicesChoice {
    LineKind kind = LineKind::kAmplitude;  ///< or kDensity
    BlockPlan blocks;
    std::int64_t most = 600;  ///< slices of a run; more blocks than that are averaged
};

struct RunSlices {
    std::vector<CComDataSpecA> channels;  ///< in the order of the run, with a row per slice
    double startSeconds;                  ///< of the middle of the first slice
    double intervalSeconds;               ///< from one slice to the next
};

/// The slices of each run. Throws Error as SpectraOf; std::bad_alloc when memory runs out.
KVX_RECORDING_API std::vector<RunSlices> SlicesOf(SignalReader& reader, const SlicesChoice& choice,
                                                  const ProgressFunction& progress = {});

}  // namespace kvx
