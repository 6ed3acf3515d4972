// SPDX-License-Identifier: MIT
//
// The one place where the library asks for the time that has passed and where it sleeps: the millisecond tick
// counters, the high-resolution performance counter and sleeping. A program (a test above all) may put its
// own clock in the place of the host's. Safe from any thread; a replacement has to be, too.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>

namespace kvx {

class KVX_API Clock {
public:
    /// Milliseconds of the 64-bit tick counter, from an origin that stays for the life of the process.
    virtual std::uint64_t Ticks64() = 0;
    /// Milliseconds of the 32-bit tick counter, which wraps around every 49.7 days.
    virtual std::uint32_t Ticks32() = 0;
    /// Counts per second of the performance counter; 0 when there is none.
    virtual std::int64_t CounterFrequency() = 0;
    /// The performance counter, in counts.
    virtual std::int64_t Counter() = 0;
    /// Suspends the calling thread for at least `milliseconds`; 0 gives up the rest of its time slice.
    virtual void Sleep(std::uint32_t milliseconds) = 0;

protected:
    Clock() = default;
    // Not virtual, so that the built-in one needs no destruction: threads may use it while the process ends.
    ~Clock() = default;
    Clock(const Clock&) = default;
    Clock& operator=(const Clock&) = default;
};

/// The clock in use; the host's monotonic clock until a program sets its own.
KVX_API Clock& CurrentClock();

/// Replaces the clock (null: the host's again) and returns the one used before, null for the host's. The
/// caller keeps ownership of `clock`, which must live until it is replaced and no thread uses it any more.
KVX_API Clock* SetClock(Clock* clock);

}  // namespace kvx
