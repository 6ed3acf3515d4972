// SPDX-License-Identifier: MIT
//
// Stopwatches on the system's millisecond tick counters: CTimeCount and CTimerTickCount64 accumulate time
// over pauses, CTimerTickCount tells whether an interval has passed. Plain values; an object belongs to one
// thread. Sums of milliseconds wrap around at 64 bits.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// What the two accumulating stopwatches share. `kBackwardCorrection` is added to a current run whose end
/// lies before its start: the tick counter went backwards or around.
template <std::uint64_t kBackwardCorrection>
class KVX_API TickStopwatch {
public:
    /// Not running, nothing accumulated.
    TickStopwatch() = default;

    /// Runs from now on; what is accumulated stays (resume). A run under way is dropped.
    void Start();

    /// Stops, and sets the accumulated time: in seconds, rounded to whole milliseconds and held at the limits
    /// of 64 bits ("not a number" is 0), or in whole seconds, held likewise.
    void Reset(double seconds);
    void Reset(__int64 seconds);

    /// Does something at most once every `minSeconds`: 1 when that time has passed, and the stopwatch starts
    /// again from 0; 0 before that, and nothing changes but `*elapsed`. With a null `elapsed` it restarts in
    /// any case. `*elapsed` receives the elapsed seconds before the restart; 0.0 when the stopwatch was not
    /// running or `minSeconds` is not positive.
    int Restart(double minSeconds, double* elapsed);

    /// Accumulated time and current run, in seconds; the second form drops the fraction (towards zero).
    double GetElapsed() const;
    __int64 GetElapsed64() const;
    /// Whether it runs.
    int IsActive() const { return running_; }

protected:
    /// Takes the current run, if there is one, into the accumulated time and stops.
    void Pause();
    /// Drops the current run and its start and stops.
    void Discard();
    /// Milliseconds from the start to now, corrected by `correction` when now lies before the start.
    std::uint64_t CurrentRun(std::uint64_t correction) const;

    bool operator==(const TickStopwatch& other) const = default;

private:
    __int64 Total() const;

    int running_ = 0;
    std::uint64_t startTick_ = 0;
    __int64 accumulated_ = 0;  // ms
};

inline constexpr std::uint64_t kHalfTickRange = 0x8000000000000000;

extern template class KVX_API TickStopwatch<kHalfTickRange>;
extern template class KVX_API TickStopwatch<0>;

}  // namespace kvx

/// A stopwatch that pauses. A run whose end lies before its start counts with 2^63 ms added.
class KVX_API CTimeCount : public kvx::TickStopwatch<kvx::kHalfTickRange> {
public:
    /// Pauses: the current run is accumulated.
    void Stop() { Pause(); }

    /// Compares the running flag, the start tick and the accumulated time.
    int operator==(const CTimeCount& other) const { return TickStopwatch::operator==(other); }
    int operator!=(const CTimeCount& other) const { return !TickStopwatch::operator==(other); }
};

/// A stopwatch whose Stop forgets the current run; ReturnStop is its pause. A run whose end lies before its
/// start counts as negative, except in IsElapsed, which adds 2^63 ms.
class KVX_API CTimerTickCount64 : public kvx::TickStopwatch<0> {
public:
    /// Stops; the current run and its start are lost.
    void Stop() { Discard(); }
    /// Pauses: the current run is accumulated.
    void ReturnStop() { Pause(); }
    /// Whether the current run alone has reached `ms`; 0 when not running.
    int IsElapsed(__int64 ms) const;
};

/// Whether an interval of less than 49.7 days has passed, on the 32-bit counter.
class KVX_API CTimerTickCount {
public:
    void Start();
    void Stop();
    int IsActive() const { return running_; }
    /// Whether `ms` milliseconds have passed since Start, across one wrap of the counter; 0 when not running.
    int IsElapsed(std::uint32_t ms) const;

private:
    int running_ = 0;
    std::uint32_t startTick_ = 0;
};
