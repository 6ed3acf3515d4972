// SPDX-License-Identifier: MIT
//
// CPtimer: a stopwatch on the high-resolution performance counter. On a host without one it never runs and
// reads 0. A plain value; an object belongs to one thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

class KVX_API CPtimer {
public:
    /// Not running, nothing accumulated; asks the host once how fast its counter is.
    CPtimer();

    /// Whether the host has a performance counter.
    int IsAvailable() const { return available_; }
    /// Runs from now on, unless it runs already; what is accumulated stays.
    void Start();
    /// Pauses; returns the accumulated seconds.
    double Stop();
    /// Not running, nothing accumulated.
    void Reset();
    /// Accumulated time and current run, in seconds.
    double GetElapsed() const;
    /// Whether it runs.
    int IsActive() const { return running_; }

    /// Does something at most once every `period` seconds: 1 when the elapsed time exceeds it, and the
    /// stopwatch starts again from 0; else 0. One that does not run is started. `*elapsed` receives the
    /// elapsed seconds before that, 0.0 when it did not run; null is skipped.
    int Restart(double period, double* elapsed);

private:
    __int64 TotalCounts() const;

    int available_;
    double secondsPerCount_;
    int running_ = 0;
    __int64 accumulated_ = 0;  // counts
    __int64 startCount_ = 0;
};
