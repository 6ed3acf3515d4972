// SPDX-License-Identifier: MIT
//
// The library draws no windows, but its interface hands them through: to the message boxes as their owner, to
// the desktop for a picture, and with the messages of a thread. What these types hold is the business of the
// host and of the application's toolkit.
#pragma once

#include <cstdint>

namespace kvx {
struct NativeWindow;
}

/// Handle of a window; null is "no window".
using HWND = kvx::NativeWindow*;

/// A window of the application's toolkit.
class CWnd;

/// One message of a thread's queue.
struct MSG {
    HWND hwnd = nullptr;  ///< the window it is meant for; null for the thread itself
    unsigned int message = 0;
    std::uintptr_t wParam = 0;
    std::intptr_t lParam = 0;
    std::uint32_t time = 0;  ///< tick (ms, 32-bit counter) at which it was posted
};
