// SPDX-License-Identifier: MIT
//
// CAppFunc: how every program of the suite finds its folders and configuration files, learns its own version
// texts, registers its documents, shows messages and hands out pictures of its screen. All folders hang off
// the environment variable "SystemDrive"; without it their paths have no drive.
//
// Static functions only, safe from any thread. They return 1 for success and 0 for failure, and write their
// result only on success; a null result pointer is a failure unless stated otherwise. No path is longer than
// 260 characters. Nothing is shown to a person except by the message boxes.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Window.h>

class KVX_API CAppFunc {
public:
    CAppFunc() = delete;

    /// "%SystemDrive%\KVX\", with the separator; never created.
    static int GetKvxDir(CString* path);
    /// The folders "Q7" and "Q7_2nd" in the one above, without a separator at the end. A nonzero `create`
    /// creates the folder itself, not those above it; when it cannot be had that is a failure.
    static int GetKvxQ7Dir1st(CString* path, int create);
    static int GetKvxQ7Dir2nd(CString* path, int create);
    /// The one of these two that is in use: the second.
    static int GetKvxQ7Dir(CString* path, int create);
    /// "%SystemDrive%\Q7Data"; `create` as above.
    static int GetQ7DataDir(CString* path, int create);
    /// "Q7.ini" in the folder of GetKvxQ7Dir; "KVXPathConfig.ini" in that of GetKvxDir.
    static int GetQ7IniPath(CString* path);
    static int GetKvxPathConfigIniPath(CString* path);
    /// The user's documents folder with a backslash behind it: where test definitions are first looked for.
    static int GetInitTestDefDir(CString* path);

    /// The computer's name; fails when it is longer than 32 characters.
    static int GetMyComputerName(CString* name);
    /// Version texts of the running program's main executable, as it declares them with KVX_PROGRAM_VERSION.
    /// Null pointers are skipped. Succeeds when at least one of the wanted texts is there.
    static int GetVersionString(CString* fileVersion, CString* legal);
    static int GetInternalNameString(CString* name);

    /// Registers a verb for a document type: its text (null: none) and its command, this program with
    /// `arguments`. Fails when one of the first three is null or the desktop refuses, as the built-in one
    /// does.
    static int AddDocShell(const wchar_t* progId, const wchar_t* arguments, const wchar_t* verb,
                           const wchar_t* verbText);

    /// Whether the screen is to be sent to a monitoring computer: "DesktopJpeg" in the section "Common01" of
    /// "Q7.ini" is not 0; so it is when nothing is configured.
    static int IsEnableSendDesktop();
    /// Copies "Q7pcDesktop.jpeg" from the folder of GetKvxQ7Dir, which is created if missing, to the same
    /// place in the share "KVX$" of `computer`, over an existing one. Fails when the picture does not exist
    /// or the computer cannot be reached, as on every host without such shares.
    static int SendDesktopPicture(const wchar_t* computer);
    /// Puts a picture of the whole frame window on the clipboard. Fails when the desktop refuses, as the
    /// built-in one does.
    static int CopyMainFrmToClipBoard(CWnd& frame);

    /// Show a message with the button and icon flags of the platform message box and return the pressed
    /// button's identifier. `detail` or `details` adds lines below the text. Null texts count as empty.
    static int MessageBoxW(const wchar_t* text, unsigned int type, const wchar_t* caption, HWND owner);
    static int MessageBoxExW(const wchar_t* text, const wchar_t* detail, unsigned int type,
                             const wchar_t* caption, HWND owner);
    static int MessageBoxExW(const wchar_t* text, const CStringArray& details, unsigned int type,
                             const wchar_t* caption, HWND owner);
    /// The same without caption and owner; a null text is the general error message of the string table.
    static int CEMessageBox(const wchar_t* text, unsigned int type);
};

namespace kvx {

/// Where a file of the suite lies seen from another computer: `root` at the front of `path` becomes the share
/// "\\computer\KVX$". No value when the path does not lie below the root, `computer` is not a single name, or
/// the result is longer than a path may be.
KVX_API std::optional<std::wstring> SharePath(std::wstring_view path, std::wstring_view root,
                                              std::wstring_view computer);

}  // namespace kvx
