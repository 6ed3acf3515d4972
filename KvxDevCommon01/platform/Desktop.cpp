// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Desktop.h>

#include <atomic>

namespace kvx {
namespace {

/// The host without a desktop: no document types, no clipboard, and no window that could receive a message.
class NoDesktop final : public Desktop {
public:
    bool SetDocumentTypeValue(const std::wstring&, const wchar_t*) override { return false; }
    bool CopyPictureToClipboard(CWnd&) override { return false; }
    void DispatchMessage(const MSG&) override {}
};

constinit NoDesktop noDesktop;
std::atomic<Desktop*> applicationDesktop = nullptr;

}  // namespace

Desktop& CurrentDesktop() {
    Desktop* desktop = applicationDesktop.load();
    return desktop != nullptr ? *desktop : noDesktop;
}

Desktop* SetDesktop(Desktop* desktop) {
    return applicationDesktop.exchange(desktop);
}

}  // namespace kvx
