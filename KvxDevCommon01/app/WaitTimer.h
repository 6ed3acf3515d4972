// SPDX-License-Identifier: MIT
//
// CWaitTimer: keeps a loop at its pace by sleeping or spinning. A plain value; an object belongs to one
// thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/app/Ptimer.h>

class KVX_API CWaitTimer {
public:
    /// Load control after 0.01 s of work with a sleep of 0.01 s; the work is timed from now on.
    CWaitTimer();

    /// After `period` seconds of work LoadControlWait sleeps for `sleep` seconds.
    void SetLoadControlCondition(double period, double sleep);
    /// `*period`, unless null, receives the period. `*sleep`, which must not be null, receives the sleep only
    /// when it does not hold 0.0: that is how a caller says that it wants the period alone.
    void GetLoadControlCondition(double* period, double* sleep) const;
    /// Called once per turn of a busy loop: when the period is over it sleeps, times the work anew and
    /// returns 1; else it returns 0.
    int LoadControlWait();

    /// Sleeps for whole milliseconds, rounded down; not at all for a negative time or "not a number", and for
    /// at most 2^32 - 1 ms.
    void NormalWait(double seconds);
    /// Spins: for waits shorter than the scheduler can sleep. Uses, and leaves running, the clock of
    /// LoadControlWait. On a host without a performance counter it is a NormalWait. Returns at once for a
    /// negative time or "not a number", and is meant for no more than milliseconds: infinity never ends.
    void ShortWait(double seconds);

private:
    double loadControlPeriod_ = 0.01;
    double loadControlSleep_ = 0.01;
    CPtimer timer_;
};
