// SPDX-License-Identifier: MIT
#include "StopRequest.h"

#include <iterator>

namespace kvx::tool {
namespace {

volatile std::sig_atomic_t noted = 0;

void NoteSignal(int signal) {
    noted = signal;
}

}  // namespace

StopRequest::StopRequest() {
    static_assert(std::size(kSignals) == std::size(decltype(before_){}));
    noted = 0;
    struct sigaction note = {};
    note.sa_handler = &NoteSignal;
    note.sa_flags = SA_RESTART;
    for (std::size_t i = 0; i < std::size(kSignals); ++i) {
        ::sigaction(kSignals[i], nullptr, &before_[i]);
        // What the program was started to ignore, it goes on ignoring.
        if (before_[i].sa_handler != SIG_IGN) ::sigaction(kSignals[i], &note, nullptr);
    }
}

StopRequest::~StopRequest() {
    for (std::size_t i = 0; i < std::size(kSignals); ++i) ::sigaction(kSignals[i], &before_[i], nullptr);
}

void StopRequest::ThrowIfMade() const {
    if (noted != 0) throw Stopped{noted};
}

}  // namespace kvx::tool
