// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/UserInterface.h>

#include <unistd.h>

#include <array>
#include <atomic>
#include <iostream>
#include <optional>
#include <span>
#include <string>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

struct Button {
    int id;
    wchar_t key;
    const char* label;
};

constexpr Button kOk = {1, L'o', "[O]K"};
constexpr Button kCancel = {2, L'c', "[C]ancel"};
constexpr Button kAbort = {3, L'a', "[A]bort"};
constexpr Button kRetry = {4, L'r', "[R]etry"};
constexpr Button kIgnore = {5, L'i', "[I]gnore"};
constexpr Button kYes = {6, L'y', "[Y]es"};
constexpr Button kNo = {7, L'n', "[N]o"};
constexpr Button kTryAgain = {10, L't', "[T]ry again"};
constexpr Button kContinue = {11, L'u', "Contin[u]e"};

constexpr std::array kOkOnly = {kOk};
constexpr std::array kOkCancel = {kOk, kCancel};
constexpr std::array kAbortRetryIgnore = {kAbort, kRetry, kIgnore};
constexpr std::array kYesNoCancel = {kYes, kNo, kCancel};
constexpr std::array kYesNo = {kYes, kNo};
constexpr std::array kRetryCancel = {kRetry, kCancel};
constexpr std::array kCancelTryContinue = {kCancel, kTryAgain, kContinue};

// Parts of the message box type: button set, icon, default button.
constexpr unsigned int kButtonMask = 0x0F;
constexpr unsigned int kIconMask = 0xF0;
constexpr unsigned int kDefaultMask = 0xF00;

std::span<const Button> Buttons(unsigned int type) {
    switch (type & kButtonMask) {
        case 1:
            return kOkCancel;
        case 2:
            return kAbortRetryIgnore;
        case 3:
            return kYesNoCancel;
        case 4:
            return kYesNo;
        case 5:
            return kRetryCancel;
        case 6:
            return kCancelTryContinue;
        default:
            return kOkOnly;
    }
}

const char* Icon(unsigned int type) {
    switch (type & kIconMask) {
        case 0x10:
            return "error";
        case 0x20:
            return "question";
        case 0x30:
            return "warning";
        default:
            return "note";
    }
}

/// One line from the terminal; no value at its end.
std::optional<std::wstring> AskLine(const std::string& prompt) {
    std::cerr << prompt << std::flush;
    std::string line;
    if (!std::getline(std::cin, line)) return std::nullopt;
    return FromUtf8(line);
}

/// Messages and file names as lines of text; a question is asked only when a person can answer it.
class TerminalUserInterface final : public UserInterface {
public:
    int ShowMessage(const MessageRequest& request) override {
        std::cerr << Icon(request.type) << ": ";
        if (!request.caption.empty()) std::cerr << ToUtf8(request.caption) << ": ";
        std::cerr << ToUtf8(request.text) << '\n';
        for (const std::wstring& detail : request.details) std::cerr << "  " << ToUtf8(detail) << '\n';

        const std::span<const Button> buttons = Buttons(request.type);
        const std::size_t wanted = (request.type & kDefaultMask) >> 8;
        const Button& fallback = buttons[wanted < buttons.size() ? wanted : 0];
        if (buttons.size() == 1 || !HasPerson()) return fallback.id;

        std::string prompt;
        for (const Button& button : buttons) prompt += std::string(button.label) + " ";
        while (const std::optional<std::wstring> answer = AskLine(prompt + "> ")) {
            if (answer->empty()) return fallback.id;
            for (const Button& button : buttons) {
                if ((answer->front() | 0x20) == button.key) return button.id;
            }
        }
        return fallback.id;
    }

    std::vector<std::wstring> ChooseFiles(const FileDialogRequest& request) override {
        std::vector<std::wstring> chosen;
        if (!HasPerson()) return chosen;
        while (std::optional<std::wstring> path = AskLine(request.save ? "Save as: " : "Open file: ")) {
            if (path->empty()) break;
            if (request.accept && !request.accept(*path)) continue;
            chosen.push_back(*std::move(path));
            if (!request.multiple) break;
        }
        return chosen;
    }

private:
    static bool HasPerson() { return ::isatty(STDIN_FILENO) == 1 && ::isatty(STDERR_FILENO) == 1; }
};

std::atomic<UserInterface*> applicationHost = nullptr;

}  // namespace

UserInterface::~UserInterface() = default;

bool UserInterface::EditGraphSettings(CWnd* /*owner*/, CGraphInfo& /*settings*/) {
    return false;
}

UserInterface& CurrentUserInterface() {
    static TerminalUserInterface terminal;
    UserInterface* host = applicationHost.load();
    return host != nullptr ? *host : terminal;
}

UserInterface* SetUserInterface(UserInterface* host) {
    return applicationHost.exchange(host);
}

}  // namespace kvx
