// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Interrupts.h>

#include <atomic>
#include <csignal>

#include <KvxDevCommon01/platform/File.h>

namespace kvx {
namespace {

constexpr int kSignals[] = {SIGINT, SIGHUP, SIGTERM, SIGQUIT, SIGPIPE};

std::atomic<void (*)()> atEnd = nullptr;
static_assert(std::atomic<void (*)()>::is_always_lock_free);

/// Only what is safe in the handler of a signal.
void EndProgram(int signal) {
    RemoveUnfinishedFiles();
    if (const auto also = atEnd.load()) also();
    // The default action takes effect when this handler returns, before the program goes on.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

void RemoveUnfinishedFilesOnSignals(void (*also)()) {
    atEnd = also;
    struct sigaction action = {};
    action.sa_handler = &EndProgram;
    ::sigemptyset(&action.sa_mask);
    for (const int signal : kSignals) ::sigaddset(&action.sa_mask, signal);
    for (const int signal : kSignals) {
        struct sigaction before = {};
        ::sigaction(signal, nullptr, &before);
        if (before.sa_handler != SIG_IGN) ::sigaction(signal, &action, nullptr);
    }
}

}  // namespace kvx
