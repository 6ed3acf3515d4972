// SPDX-License-Identifier: MIT
//
// A progress bar on standard error for work that takes a while: nothing when that is not a terminal, nothing
// for work that is over at once, and the line is cleared at the end.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Progress.h>

namespace kvx::tool {

class Progress {
public:
    explicit Progress(std::string_view label);
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// `done` of `total` pieces are finished.
    void Update(std::uint64_t done, std::uint64_t total);

    /// Update, for what takes a function; the progress must outlive it.
    ProgressFunction Function();

    /// Clears the line if there is one; safe in the handler of a signal.
    static void ClearLine();

private:
    using Clock = std::chrono::steady_clock;

    std::string label_;
    bool terminal_;
    Clock::time_point next_;
};

}  // namespace kvx::tool
