// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComHdr.h>
#include <KvxDevCommon01/graph/GraphInfo.h>
#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <utility>

#include "tests/files/FileSupport.h"
#include "tests/graph/GraphTesting.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TempFolder.h"

namespace {

void MakeUnusual(CGraphColorInfo& colors) {
    colors.SetCompoInfo(CGraphColorInfo::COMPO_GRID, 0x123456, CGraphColorInfo::OUTPUT_DISPLAY);
}
void MakeUnusual(CGraphConfigInfo& config) {
    config.SetDispTestTime(1);
}
void MakeUnusual(CGraphInfo& info) {
    MakeUnusual(*info.GetGraphColorInfo());
    MakeUnusual(*info.GetGraphConfigInfo());
}

/// One kind of settings file: its operations by path and its number in the catalogue.
template <class Info, auto kLoad, auto kLoad1st, auto kStore, CComHdr::EXT_INFO_TYPE type>
struct SettingsFile : Info {
    static constexpr auto kType = type;
    // What messages call it; settings and configuration share theirs.
    static constexpr const wchar_t* kName =
        std::is_same_v<Info, CGraphColorInfo> ? L"グラフ色情報ファイル" : L"グラフ表示設定情報ファイル";

    BOOL Load(const CString& path, CString* text, int show) { return Call(kLoad, path, text, show); }
    BOOL Load1st(const CString& path, CString* text, int show) { return Call(kLoad1st, path, text, show); }
    BOOL Store(const CString& path, CString* text, int show) { return Call(kStore, path, text, show); }

private:
    /// The configuration's operations take the name in the controller's folder.
    template <class Operation>
    BOOL Call(Operation operation, const CString& path, CString* text, int show) {
        if constexpr (std::is_same_v<Info, CGraphConfigInfo>) {
            CString name = path.substr(path.find_last_of(L"\\/") + 1);
            return (this->*operation)(&name, text, show);
        } else {
            return (this->*operation)(path, text, show);
        }
    }
};
using Colors = SettingsFile<CGraphColorInfo, &CGraphColorInfo::LoadGraphColorInfo,
                            &CGraphColorInfo::LoadGraphColorInfo1st, &CGraphColorInfo::StoreGraphColorInfo,
                            CComHdr::EXT_INFO_GRAPH_COLOR>;
using Config = SettingsFile<CGraphConfigInfo, &CGraphConfigInfo::LoadGraphConfigInfo,
                            &CGraphConfigInfo::LoadGraphConfigInfo1st,
                            &CGraphConfigInfo::StoreGraphConfigInfo, CComHdr::EXT_INFO_GRAPH_CONFIG>;
using Settings = SettingsFile<CGraphInfo, &CGraphInfo::LoadGraphInfo, &CGraphInfo::LoadGraphInfo1st,
                              &CGraphInfo::StoreGraphInfo, CComHdr::EXT_INFO_GRAPH_COLOR>;

template <class Kind>
std::string RecordBytes(Kind& kind) {
    return Stored(kind);
}
template <>
std::string RecordBytes(Settings& info) {
    return Stored(*info.GetGraphColorInfo()) + Stored(*info.GetGraphConfigInfo());
}

/// First-generation records: 864 bytes of colours, 28 of configuration.
template <class Kind>
std::string FirstRecord() {
    return std::string(std::is_same_v<Kind, Config> ? 28 : 864, '\1');
}

std::string HeaderBytes(CComHdr::EXT_INFO_TYPE type, const wchar_t* text) {
    CComHdr header(type, text);
    return Stored(header);
}

template <class Kind>
class GraphFile : public testing::Test {
protected:
    GraphFile() { MakeUnusual(unusual_); }

    /// The controller's folder, where the configuration file has to be.
    std::string Name() const { return "KVX/Q7_2nd/graph.set"; }
    void Write(const std::string& bytes) {
        std::filesystem::create_directories(folder_ / "KVX/Q7_2nd");
        folder_.Write(Name(), bytes);
    }
    /// Loading fails in either way, with the defaults as result and one message if wanted.
    void ExpectRefused(unsigned int cause) {
        Person person;
        Kind loaded = unusual_;
        CString text = L"before";
        EXPECT_EQ(loaded.Load(path_, &text, 0), 0);
        EXPECT_TRUE(person.messages.empty());
        EXPECT_EQ(loaded, Kind());
        loaded = unusual_;
        EXPECT_EQ(loaded.Load(path_, &text, 1), 0);
        EXPECT_EQ(loaded, Kind());
        EXPECT_EQ(text, L"before");
        ASSERT_EQ(person.messages.size(), 1U);
        const kvx::MessageRequest& message = person.messages[0];
        EXPECT_EQ(message.text, Kind::kName + (L"[" + path_ + L"]の読み込みに失敗しました。"));
        EXPECT_EQ(message.details.at(0), kvx::ResourceText(kvx::kTextFirstFileError + cause));
        EXPECT_EQ(message.type, 0x10U);
    }

    TempFolder folder_;
    ScopedEnvironment drive_{"SystemDrive", folder_.Path().c_str()};
    // As the library composes it: the drive of this host is a folder.
    CString path_ = folder_.Path().wstring() + L"\\KVX\\Q7_2nd\\graph.set";
    Kind unusual_;
};

using Kinds = testing::Types<Colors, Config, Settings>;
TYPED_TEST_SUITE(GraphFile, Kinds);

TYPED_TEST(GraphFile, IsAHeaderAndTheRecords) {
    std::filesystem::create_directory(this->folder_ / "KVX");
    if (!std::is_same_v<TypeParam, Config>) std::filesystem::create_directory(this->folder_ / "KVX/Q7_2nd");
    CString text = L"説明", loadedText;
    ASSERT_EQ(this->unusual_.Store(this->path_, &text, 1), 1);
    const std::string bytes = HeaderBytes(TypeParam::kType, L"説明") + RecordBytes(this->unusual_);
    EXPECT_TRUE(this->folder_.Read(this->Name()) == bytes);
    TypeParam loaded;
    EXPECT_EQ(loaded.Load(this->path_, &loadedText, 1), 1);
    EXPECT_EQ(loaded, this->unusual_);
    EXPECT_EQ(loadedText, text);
    EXPECT_EQ(loaded.Store(this->path_, nullptr, 1), 1);
    EXPECT_EQ(loaded.Load(this->path_, nullptr, 1), 1);
}

TYPED_TEST(GraphFile, ThatIsDamagedLeavesTheDefaultsAndOneMessage) {
    this->ExpectRefused(CFileException::fileNotFound);
    const std::string bytes = HeaderBytes(TypeParam::kType, L"text") + RecordBytes(this->unusual_);
    for (const std::size_t size : {std::size_t{4}, std::size_t{639}, std::size_t{643}, bytes.size() - 1}) {
        this->Write(bytes.substr(0, size));
        this->ExpectRefused(CFileException::endOfFile);
    }
    this->Write(HeaderBytes(CComHdr::EXT_INFO_VIB_DATA, L"text") + bytes.substr(640));
    this->ExpectRefused(CFileException::invalidFile);
    this->Write("no header");
    this->ExpectRefused(CFileException::invalidFile);
}

TYPED_TEST(GraphFile, OfTheFirstGenerationIsReadByBothAndACurrentOneByOne) {
    this->Write(FirstHeaderBytes(0x40005, "first") + FirstRecord<TypeParam>());
    TypeParam a = this->unusual_, b;
    CString textA, textB;
    ASSERT_EQ(a.Load(this->path_, &textA, 0), 1);
    ASSERT_EQ(b.Load1st(this->path_, &textB, 0), 1);
    EXPECT_EQ(a, b);
    EXPECT_NE(a, TypeParam());
    EXPECT_EQ(textA + textB, L"firstfirst");

    this->Write(HeaderBytes(TypeParam::kType, L"text") + RecordBytes(this->unusual_));
    Person person;
    EXPECT_EQ(b.Load1st(this->path_, nullptr, 1), 0);
    EXPECT_EQ(b, TypeParam());
    EXPECT_EQ(person.messages.size(), 1U);
}

TYPED_TEST(GraphFile, ThatCannotBeStoredLeavesTheOldOneAndTheSettings) {
    std::filesystem::create_directories(this->folder_ / this->Name());  // a folder in its place
    Person person;
    TypeParam settings = this->unusual_;
    EXPECT_EQ(settings.Store(this->path_, nullptr, 0), 0);
    EXPECT_EQ(settings.Store(this->path_, nullptr, 1), 0);
    EXPECT_EQ(settings, this->unusual_);
    ASSERT_EQ(person.messages.size(), 1U);
    EXPECT_EQ(person.messages[0].text,
              TypeParam::kName + (L"[" + this->path_ + L"]の書き込みに失敗しました。"));
}

TEST(GraphConfigInfo, HasAStandardFileName) {
    const TempFolder folder;
    const ScopedEnvironment drive("SystemDrive", folder.Path().c_str());
    std::filesystem::create_directory(folder / "KVX");
    CGraphConfigInfo config;
    CString empty;
    EXPECT_EQ(config.StoreGraphConfigInfo(nullptr, nullptr, 0), 1);
    EXPECT_TRUE(std::filesystem::exists(folder / "KVX/Q7_2nd/GraphConfig.dat2"));
    EXPECT_EQ(config.LoadGraphConfigInfo(&empty, nullptr, 0), 1);
}

TEST(GraphInfo, SerialisesForLoadingOnly) {
    Settings info, loaded;
    MakeUnusual(*info.GetGraphConfigInfo());
    EXPECT_NE(info, loaded);
    loaded = info;
    MakeUnusual(*info.GetGraphColorInfo());
    EXPECT_NE(info, loaded);
    const std::string bytes = RecordBytes(info);
    EXPECT_EQ(CauseOfLoading(bytes, [&](CArchive& archive) { loaded.Serialize(archive); }), 0);
    EXPECT_EQ(loaded, info);
    EXPECT_EQ(CauseOfLoading(bytes.substr(0, bytes.size() - 1),
                             [&](CArchive& archive) { loaded.Serialize(archive); }),
              CFileException::endOfFile);
    EXPECT_EQ(loaded, CGraphInfo());
    Stored(info);
    EXPECT_EQ(info, CGraphInfo()) << "storing resets the settings, too";
}

TEST(GraphSettings, AreColoursWithOrWithoutAConfiguration) {
    Settings both;
    MakeUnusual(both);
    Settings colors;
    MakeUnusual(*colors.GetGraphColorInfo());
    const std::string bytes = HeaderBytes(CComHdr::EXT_INFO_GRAPH_COLOR, L"text") + RecordBytes(both);
    const std::size_t end = bytes.size() - RecordBytes(*both.GetGraphConfigInfo()).size();
    const std::string first = FirstHeaderBytes(0x40005, "first") + FirstRecord<Settings>();
    const auto load = [](const std::string& some) {
        kvx::MemoryStream stream = StreamOf(some);
        return kvx::LoadGraphSettings(stream);
    };
    EXPECT_EQ(load(bytes), both);
    EXPECT_EQ(load(bytes.substr(0, end)), colors);
    EXPECT_NE(load(first), CGraphInfo());
    const std::string none = "it holds no graph settings";
    const std::pair<std::string, std::string> refused[] = {
        {bytes.substr(0, bytes.size() - 1), "its configuration is damaged"},
        {bytes.substr(0, end + 1), "its configuration is damaged"},
        {bytes.substr(0, end - 1), none},
        {bytes.substr(0, 639), none},
        {"", none},
        {"no header", none},
        {first.substr(0, first.size() - 1), none},
        {HeaderBytes(CComHdr::EXT_INFO_GRAPH_CONFIG, L"text") + bytes.substr(640), none},
    };
    for (const auto& c : refused) EXPECT_EQ(WhatOf([&] { load(c.first); }), c.second) << c.first.size();
}

TEST(GraphInfo, IsChangedByTheDialogOnlyWhenAccepted) {
    CGraphInfo info;
    EXPECT_EQ(info.SetGraphInfo(nullptr), 0) << "the built-in host has no such dialog";
    Person person;
    CWnd* const owner = reinterpret_cast<CWnd*>(&person);
    EXPECT_EQ(info.SetGraphInfo(owner), 0);
    EXPECT_EQ(person.owner, owner);
    EXPECT_EQ(info.GetGraphConfigInfo()->GetScaleDigit(), 1);
    person.accepts = true;
    EXPECT_EQ(info.SetGraphInfo(nullptr), 1);
    EXPECT_EQ(info.GetGraphConfigInfo()->GetScaleDigit(), 7);
}

}  // namespace
