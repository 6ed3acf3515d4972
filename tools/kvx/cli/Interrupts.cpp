// SPDX-License-Identifier: MIT
#include "cli/Interrupts.h"

#include <csignal>

#include <KvxDevCommon01/platform/File.h>

#include "cli/Progress.h"

namespace kvx::tool {
namespace {

constexpr int kSignals[] = {SIGINT, SIGHUP, SIGTERM, SIGQUIT, SIGPIPE};

/// Only what is safe in the handler of a signal.
void EndProgram(int signal) {
    RemoveUnfinishedFiles();
    Progress::ClearLine();
    // The default action takes effect when this handler returns, before the program goes on.
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

}  // namespace

void RemoveUnfinishedFilesOnSignals() {
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

}  // namespace kvx::tool
