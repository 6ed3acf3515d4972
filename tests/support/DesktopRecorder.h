// SPDX-License-Identifier: MIT
//
// A desktop that notes what it is asked for, in place of the built-in one while the object lives.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Desktop.h>

class DesktopRecorder final : public kvx::Desktop {
public:
    DesktopRecorder() { kvx::SetDesktop(this); }
    ~DesktopRecorder() { kvx::SetDesktop(nullptr); }
    DesktopRecorder(const DesktopRecorder&) = delete;
    DesktopRecorder& operator=(const DesktopRecorder&) = delete;

    bool SetDocumentTypeValue(const std::wstring& key, const wchar_t* value) override {
        values.emplace_back(key, value != nullptr ? value : L"(none)");
        return values.size() <= accepted;
    }
    bool CopyPictureToClipboard(CWnd& window) override { return &window == copyable; }
    void DispatchMessage(const MSG& message) override { dispatched.push_back(message.message); }

    std::vector<std::pair<std::wstring, std::wstring>> values;  // of document types
    std::size_t accepted = 2;                                   // how many of them
    const CWnd* copyable = nullptr;
    std::vector<unsigned int> dispatched;
};
