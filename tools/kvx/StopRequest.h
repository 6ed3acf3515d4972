// SPDX-License-Identifier: MIT
//
// Ends long work in order when a person or the system ends the program: what was begun is cleaned up first.
#pragma once

#include <csignal>

namespace kvx::tool {

/// Thrown through everything; the command line then lets the signal do what it does.
struct Stopped {
    int signal;
};

/// While one exists, the signals that end a program (interrupt, hang-up, termination) are only noted. One at
/// a time.
class StopRequest {
public:
    StopRequest();
    ~StopRequest();
    StopRequest(const StopRequest&) = delete;
    StopRequest& operator=(const StopRequest&) = delete;

    /// Throws Stopped when a signal was noted.
    void ThrowIfMade() const;

private:
    static constexpr int kSignals[] = {SIGINT, SIGHUP, SIGTERM};
    struct sigaction before_[3];
};

}  // namespace kvx::tool
