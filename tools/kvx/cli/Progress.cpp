// SPDX-License-Identifier: MIT
#include "cli/Progress.h"

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstdio>

#include "cli/Output.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kBarWidth = 30;
constexpr auto kFirstDisplay = std::chrono::milliseconds(400);
constexpr auto kInterval = std::chrono::milliseconds(100);

std::atomic<bool> isShown = false;
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

Progress::Progress(std::string_view label)
    : label_(label),
      terminal_(!AmongOthers::IsSo() && ::isatty(STDERR_FILENO) == 1),
      next_(Clock::now() + kFirstDisplay) {}

Progress::~Progress() {
    ClearLine();
}

void Progress::ClearLine() {
    constexpr std::string_view kClear = "\r\x1B[K";
    if (!isShown.exchange(false)) return;
    // A line that stays is no reason to fail.
    [[maybe_unused]] const ssize_t ignored = ::write(STDERR_FILENO, kClear.data(), kClear.size());
}

void Progress::Update(std::uint64_t done, std::uint64_t total) {
    if (!terminal_ || total == 0) return;
    const Clock::time_point now = Clock::now();
    if (now < next_) return;
    next_ = now + kInterval;
    isShown = true;
    const double part = std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(kBarWidth));
    const std::string bar = std::string(filled, '#') + std::string(kBarWidth - filled, '.');
    std::fprintf(stderr, "\r%s [%s] %3.0f %%\x1B[K", label_.c_str(), bar.c_str(), 100.0 * part);
}

ProgressFunction Progress::Function() {
    return [this](std::uint64_t done, std::uint64_t total) { Update(done, total); };
}

}  // namespace kvx::tool
