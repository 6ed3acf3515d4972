// SPDX-License-Identifier: MIT
//
// The one place where the library meets a person: message boxes and dialogs go through a host object that an
// application replaces with its own. The built-in host writes to standard error. It asks only when standard
// input and standard error are terminals; otherwise a message gets its default button and a file dialog
// counts as cancelled. Set the host before other threads start.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Window.h>

class CGraphInfo;

namespace kvx {

/// A message with the button and icon flags of the platform message box.
struct MessageRequest {
    std::wstring text;
    std::vector<std::wstring> details;
    std::wstring caption;
    unsigned int type = 0;
    HWND owner = nullptr;
};

/// A file dialog. The dialog stays open while `accept` refuses a chosen path.
struct FileDialogRequest {
    bool save = false;
    bool multiple = false;
    std::wstring filter;            ///< "name|*.ext|...||"
    std::wstring defaultExtension;  ///< with its dot
    std::wstring initialDirectory;
    std::function<bool(const std::wstring& path)> accept;  ///< empty accepts everything
};

class KVX_API UserInterface {
public:
    virtual ~UserInterface();
    /// Shows the message and returns the pressed button's identifier (1 OK, 2 cancel, 6 yes, 7 no ...).
    virtual int ShowMessage(const MessageRequest& request) = 0;
    /// Returns the chosen and accepted paths; empty when the person cancelled.
    virtual std::vector<std::wstring> ChooseFiles(const FileDialogRequest& request) = 0;
    /// Lets the person change the settings of a graph (graph/GraphInfo.h) in front of `owner` (may be null);
    /// true when they were accepted. A host without such a dialog declines.
    virtual bool EditGraphSettings(CWnd* owner, CGraphInfo& settings);

protected:
    UserInterface() = default;
    UserInterface(const UserInterface&) = default;
    UserInterface& operator=(const UserInterface&) = default;
};

/// The host in use; the built-in one until an application sets its own.
KVX_API UserInterface& CurrentUserInterface();

/// Replaces the host (null: the built-in one again) and returns the one used before, null for the built-in.
/// The caller keeps ownership of `host`, which must live until it is replaced.
KVX_API UserInterface* SetUserInterface(UserInterface* host);

}  // namespace kvx
