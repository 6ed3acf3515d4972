// SPDX-License-Identifier: MIT
//
// What only a graphical desktop can do: keep a registry of document types, hold a clipboard and deliver
// messages to windows. An application that has one sets it; the built-in desktop has none of it and says so.
// Set the desktop before other threads start.
#pragma once

#include <string>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Window.h>

namespace kvx {

class KVX_API Desktop {
public:
    /// Opens or creates `key` below the root of the document types with full access, deletes its default
    /// value and then sets it to `value` unless that is null. False when the key cannot be had.
    virtual bool SetDocumentTypeValue(const std::wstring& key, const wchar_t* value) = 0;
    /// Puts a picture of the whole window, frame included, on the clipboard: the screen inside the bounds
    /// that the compositor reports (the window's rectangle without one), and over it what the window's own
    /// client area shows. False when the clipboard was not set.
    virtual bool CopyPictureToClipboard(CWnd& window) = 0;
    /// Translates a keyboard message into characters and delivers the message to its window. Called on the
    /// thread that fetched it.
    virtual void DispatchMessage(const MSG& message) = 0;

protected:
    Desktop() = default;
    // Not virtual, so that the built-in one needs no destruction: threads may use it while the process ends.
    ~Desktop() = default;
    Desktop(const Desktop&) = default;
    Desktop& operator=(const Desktop&) = default;
};

/// The desktop in use; the built-in one until an application sets its own.
KVX_API Desktop& CurrentDesktop();

/// Replaces the desktop (null: the built-in one again) and returns the one used before, null for the
/// built-in. The caller keeps ownership of `desktop`, which must live until it is replaced.
KVX_API Desktop* SetDesktop(Desktop* desktop);

}  // namespace kvx
