// SPDX-License-Identifier: MIT
//
// Sample processes: what becomes of the samples of a channel, block by block, such as a filter or a change of
// the sampling rate, and how the channels of a signal go through theirs. A process keeps its state from call
// to call: the results are the same bits however the signal is cut. Signals of any length pass in constant
// memory. An object belongs to one thread at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// What a signal is taken to be beyond its ends: its first and last value, or 0.
enum class Ends { held, zero };

/// What becomes of one channel. Results may come later than the samples they belong to. Operations throw
/// Error or std::bad_alloc.
class KVX_API SampleProcess {
public:
    virtual ~SampleProcess();
    SampleProcess(const SampleProcess&) = delete;
    SampleProcess& operator=(const SampleProcess&) = delete;

    /// Takes the next samples and appends the results that are due to `results`.
    virtual void Feed(std::span<const double> samples, std::vector<double>& results) = 0;
    /// Appends what is due after the last sample. Nothing may be fed from then on.
    virtual void Finish(std::vector<double>& results) = 0;

protected:
    SampleProcess();
};

/// One process after the other; without any, the samples pass as they are. Throws Error (kBadValue) for null.
KVX_API std::unique_ptr<SampleProcess> MakeChain(std::vector<std::unique_ptr<SampleProcess>> links);

/// The rms of samples as they pass.
class KVX_API RunningRms {
public:
    void Add(std::span<const double> samples);
    /// Not-a-number before the first sample.
    double Get() const;

private:
    double squares_ = 0.0;
    __int64 count_ = 0;
};

/// The rms of a signal before and after a process.
struct RmsChange {
    RunningRms before;
    RunningRms after;
};

/// A process that records in `levels`, which must live as long, what it does to the rms. Throws Error
/// (kBadValue) for null.
KVX_API std::unique_ptr<SampleProcess> MakeMeasured(std::unique_ptr<SampleProcess> process,
                                                    RmsChange& levels);

/// A process of the samples less `before`, to whose results `after` is added. Throws Error (kBadValue) for
/// null.
KVX_API std::unique_ptr<SampleProcess> MakeShifted(std::unique_ptr<SampleProcess> process, double before,
                                                   double after);

/// Puts the next samples of every channel, at most `room`, into a block per channel and returns how many; 0
/// at the end.
using ReadBlock = std::function<std::size_t(std::span<double* const> channels, std::size_t room)>;
/// Takes `count` >= 1 samples of every channel, which it may overwrite.
using WriteBlock = std::function<void(std::span<double* const> channels, std::size_t count)>;

/// Takes the channels of a signal, one per process, from `read` through their processes to `write` in blocks
/// of at most `room` >= 1 samples. The processes work side by side on all cores, `read` and `write` in turn
/// with them. Throws what these throw, and Error (kBadValue) when the channels do not come out equally long,
/// when `read` tells of more samples than it had room for, and for what is missing: no process, a null one.
KVX_API void RunProcesses(std::span<const std::unique_ptr<SampleProcess>> processes, std::size_t room,
                          const ReadBlock& read, const WriteBlock& write);

}  // namespace kvx
