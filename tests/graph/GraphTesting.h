// SPDX-License-Identifier: MIT
//
// What the tests of graph settings share: records as bytes, and a person who sees messages.
#pragma once

#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/UserInterface.h>

#include <span>
#include <string>
#include <vector>

/// Everything that `store` writes into an archive.
template <typename Store>
std::string BytesOf(Store store) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    store(archive);
    archive.Flush();
    const std::span<const std::byte> bytes = stream.Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

/// The record of an object.
template <typename Object>
std::string Stored(Object& object) {
    return BytesOf([&](CArchive& archive) { object.Serialize(archive); });
}

/// Sees messages, and answers the dialog of the graph settings with `edit`.
class Person final : public kvx::UserInterface {
public:
    Person() { kvx::SetUserInterface(this); }
    ~Person() override { kvx::SetUserInterface(nullptr); }
    Person(const Person&) = delete;
    Person& operator=(const Person&) = delete;

    int ShowMessage(const kvx::MessageRequest& request) override {
        messages.push_back(request);
        return 1;
    }
    std::vector<std::wstring> ChooseFiles(const kvx::FileDialogRequest&) override { return {}; }
    bool EditGraphSettings(CWnd* window, CGraphInfo& settings) override {
        owner = window;
        settings.GetGraphConfigInfo()->SetScaleDigit(7);
        return accepts;
    }

    std::vector<kvx::MessageRequest> messages;
    CWnd* owner = nullptr;
    bool accepts = false;
};
