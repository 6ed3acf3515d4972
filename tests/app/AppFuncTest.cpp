// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/platform/Program.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <utility>
#include <vector>

#include "tests/support/DesktopRecorder.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TempFolder.h"

KVX_PROGRAM_VERSION(L"23.0.1.2", L"(C) テスト", nullptr);

class CWnd {};

namespace {

using Find = int (*)(CString* path);
using FindOrCreate = int (*)(CString* path, int create);

template <FindOrCreate function>
int FindOnly(CString* path) {
    return function(path, 0);
}

// clang-format off
const std::pair<Find, const wchar_t*> kPlaces[] = {
    {CAppFunc::GetKvxDir,                L"\\KVX\\"},
    {FindOnly<CAppFunc::GetKvxQ7Dir1st>, L"\\KVX\\Q7"},
    {FindOnly<CAppFunc::GetKvxQ7Dir2nd>, L"\\KVX\\Q7_2nd"},
    {FindOnly<CAppFunc::GetKvxQ7Dir>,    L"\\KVX\\Q7_2nd"},
    {FindOnly<CAppFunc::GetQ7DataDir>,   L"\\Q7Data"},
    {CAppFunc::GetQ7IniPath,             L"\\KVX\\Q7_2nd\\Q7.ini"},
    {CAppFunc::GetKvxPathConfigIniPath,  L"\\KVX\\KVXPathConfig.ini"},
};
// clang-format on

constexpr FindOrCreate kCreators[] = {CAppFunc::GetKvxQ7Dir1st, CAppFunc::GetKvxQ7Dir2nd,
                                      CAppFunc::GetKvxQ7Dir, CAppFunc::GetQ7DataDir};

TEST(AppFunc, AllFoldersHangOffTheSystemDrive) {
    for (const char* drive : {"D:", "/srv/suite", static_cast<const char*>(nullptr)}) {
        const ScopedEnvironment setDrive("SystemDrive", drive);
        const std::wstring root = drive != nullptr ? std::filesystem::path(drive).wstring() : L"";
        for (const auto& [find, expected] : kPlaces) {
            CString path;
            EXPECT_EQ(find(&path), 1);
            EXPECT_EQ(path, root + expected);
            EXPECT_EQ(find(nullptr), 0);
        }
    }
}

TEST(AppFunc, PathsBeyondTheLimitFailAndChangeNothing) {
    // The longest path of the suite is 260 characters; "\KVX\" adds 5 and "\KVX\Q7_2nd\Q7.ini" 18.
    const ScopedEnvironment drive("SystemDrive", std::string(255, 'd').c_str());
    CString path = L"before";
    EXPECT_EQ(CAppFunc::GetQ7IniPath(&path), 0);
    EXPECT_EQ(CAppFunc::GetKvxQ7Dir1st(&path, 1), 0);
    EXPECT_EQ(path, L"before");
    EXPECT_EQ(CAppFunc::IsEnableSendDesktop(), 0);
    EXPECT_EQ(CAppFunc::GetKvxDir(&path), 1);
    EXPECT_EQ(path.size(), 260U);
}

TEST(AppFunc, OnlyTheLastFolderIsCreatedAndOnlyOnRequest) {
    const TempFolder root;
    const ScopedEnvironment drive("SystemDrive", root.Path().c_str());
    CString path;
    for (const auto& [find, expected] : kPlaces) EXPECT_EQ(find(&path), 1);
    EXPECT_EQ(CAppFunc::GetKvxQ7Dir(&path, 1), 0);
    EXPECT_EQ(root.Count(), 0U) << "the folder above is missing, and stays so";

    std::filesystem::create_directory(root / "KVX");
    for (int again = 0; again < 2; ++again) {
        for (const FindOrCreate function : kCreators) EXPECT_EQ(function(&path, 1), 1);
    }
    for (const char* folder : {"KVX/Q7", "KVX/Q7_2nd", "Q7Data"}) EXPECT_TRUE(is_directory(root / folder));

    const ScopedEnvironment unwritable("SystemDrive", "/proc");  // where nobody creates anything
    path = L"before";
    for (const FindOrCreate function : kCreators) EXPECT_EQ(function(&path, 1), 0);
    EXPECT_EQ(path, L"before");
}

TEST(AppFunc, TestDefinitionsStartInTheDocumentsFolder) {
    const ScopedEnvironment home("HOME", "/home/tester");
    const ScopedEnvironment noSettings("XDG_CONFIG_HOME", nullptr);
    CString path;
    EXPECT_EQ(CAppFunc::GetInitTestDefDir(nullptr), 0);
    EXPECT_EQ(CAppFunc::GetInitTestDefDir(&path), 1);
    EXPECT_EQ(path, L"/home/tester/Documents\\");
    const ScopedEnvironment tooLong("HOME", ("/" + std::string(260, 'h')).c_str());
    EXPECT_EQ(CAppFunc::GetInitTestDefDir(&path), 0);
}

TEST(AppFunc, SendingTheScreenIsOnUnlessConfiguredOff) {
    const TempFolder root;
    const ScopedEnvironment drive("SystemDrive", root.Path().c_str());
    EXPECT_EQ(CAppFunc::IsEnableSendDesktop(), 1);
    create_directories(root / "KVX/Q7_2nd");
    const std::pair<const char*, int> cases[] = {
        {"", 1},
        {"[Common01]\r\nDesktopJpeg=0\r\n", 0},
        {"[Common01]\nDesktopJpeg=-2", 1},
        {"[Common02]\nDesktopJpeg=0", 1},
    };
    for (const auto& [content, enabled] : cases) {
        root.Write("KVX/Q7_2nd/Q7.ini", content);
        EXPECT_EQ(CAppFunc::IsEnableSendDesktop(), enabled) << content;
    }
}

TEST(AppFunc, ThePictureGoesToTheSamePlaceInTheShare) {
    using Path = std::optional<std::wstring>;
    const std::wstring longName(230, L'm');
    const struct {
        const wchar_t* path;
        const wchar_t* computer;
        Path target;
    } cases[] = {
        {L"D:\\KVX\\Q7_2nd\\a.jpeg", L"MONITOR", L"\\\\MONITOR\\KVX$\\Q7_2nd\\a.jpeg"},
        {L"D:\\KVX\\a", L"", {}},
        {L"D:\\KVX\\a", L"a\\b", {}},
        {L"D:\\KVX\\Q7_2nd\\Q7pcDesktop.jpeg", longName.c_str(), {}},
        {L"D:\\KVX2\\a", L"M", {}},
        {L"E:\\KVX\\a", L"M", {}},
    };
    for (const auto& c : cases) EXPECT_EQ(kvx::SharePath(c.path, L"D:\\KVX\\", c.computer), c.target);

    const TempFolder root;
    const ScopedEnvironment drive("SystemDrive", root.Path().c_str());
    EXPECT_EQ(CAppFunc::SendDesktopPicture(nullptr), 0);
    std::filesystem::create_directory(root / "KVX");
    EXPECT_EQ(CAppFunc::SendDesktopPicture(L"MONITOR"), 0) << "there is no picture";
    EXPECT_TRUE(is_directory(root / "KVX/Q7_2nd"));
    root.Write("KVX/Q7_2nd/Q7pcDesktop.jpeg", "picture");
    EXPECT_EQ(CAppFunc::SendDesktopPicture(L"MONITOR"), 0) << "this host has no such shares";
}

TEST(AppFunc, VersionTextsAreThoseTheProgramDeclares) {
    CString version;
    CString legal;
    EXPECT_EQ(CAppFunc::GetVersionString(&version, &legal), 1);
    EXPECT_EQ(version, L"23.0.1.2");
    EXPECT_EQ(legal, L"(C) テスト");
    EXPECT_EQ(CAppFunc::GetVersionString(nullptr, &legal), 1);
    EXPECT_EQ(CAppFunc::GetVersionString(nullptr, nullptr), 0);
    EXPECT_EQ(CAppFunc::GetInternalNameString(&version), 0) << "not declared";
    EXPECT_EQ(version, L"23.0.1.2");
}

TEST(AppFunc, AComputerNameHasAtMost32Characters) {
    CString name = L"before";
    const auto expected = kvx::ComputerName(32);
    EXPECT_EQ(CAppFunc::GetMyComputerName(&name), expected.has_value());
    EXPECT_EQ(name, expected.value_or(L"before"));
    EXPECT_EQ(CAppFunc::GetMyComputerName(nullptr), 0);
}

TEST(AppFunc, AVerbAndItsCommandAreRegistered) {
    const std::wstring command = L"\"" + *kvx::ProgramPath() + L"\" /v \"%1\"";
    for (const wchar_t* text : {L"表示(&V)", static_cast<const wchar_t*>(nullptr)}) {
        EXPECT_EQ(CAppFunc::AddDocShell(L"Q7.Document", L"/v", L"view", text), 0) << "there is no desktop";
        DesktopRecorder desktop;
        EXPECT_EQ(CAppFunc::AddDocShell(L"Q7.Document", L"/v \"%1\"", L"view", text), 1);
        EXPECT_EQ(desktop.values, (std::vector<std::pair<std::wstring, std::wstring>>{
                                      {L"Q7.Document\\shell\\view", text != nullptr ? text : L"(none)"},
                                      {L"Q7.Document\\shell\\view\\command", command}}));
        EXPECT_EQ(CAppFunc::AddDocShell(nullptr, L"a", L"v", text), 0);
        EXPECT_EQ(CAppFunc::AddDocShell(L"p", nullptr, L"v", text), 0);
        EXPECT_EQ(CAppFunc::AddDocShell(L"p", L"a", nullptr, text), 0);
        EXPECT_EQ(desktop.values.size(), 2U);
        desktop.accepted = 3;
        EXPECT_EQ(CAppFunc::AddDocShell(L"p", L"a", L"v", text), 0) << "the command is refused";
    }
}

TEST(AppFunc, ThePictureOfAWindowGoesToTheDesktop) {
    CWnd frame;
    EXPECT_EQ(CAppFunc::CopyMainFrmToClipBoard(frame), 0) << "there is no desktop";
    DesktopRecorder desktop;
    EXPECT_EQ(CAppFunc::CopyMainFrmToClipBoard(frame), 0);
    desktop.copyable = &frame;
    EXPECT_EQ(CAppFunc::CopyMainFrmToClipBoard(frame), 1);
}

class MessageRecorder final : public kvx::UserInterface {
public:
    MessageRecorder() { kvx::SetUserInterface(this); }
    ~MessageRecorder() override { kvx::SetUserInterface(nullptr); }
    MessageRecorder(const MessageRecorder&) = delete;
    MessageRecorder& operator=(const MessageRecorder&) = delete;

    int ShowMessage(const kvx::MessageRequest& request) override {
        shown = request;
        return 7;
    }
    std::vector<std::wstring> ChooseFiles(const kvx::FileDialogRequest&) override { return {}; }

    kvx::MessageRequest shown;
};

TEST(AppFunc, MessagesGoToTheUserInterface) {
    MessageRecorder person;
    int window = 0;
    auto* owner = reinterpret_cast<HWND>(&window);
    EXPECT_EQ(CAppFunc::MessageBoxW(L"text", 0x24, L"caption", owner), 7);
    EXPECT_EQ(person.shown.text, L"text");
    EXPECT_EQ(person.shown.type, 0x24U);
    EXPECT_EQ(person.shown.caption, L"caption");
    EXPECT_EQ(person.shown.owner, owner);
    EXPECT_TRUE(person.shown.details.empty());

    EXPECT_EQ(CAppFunc::MessageBoxExW(nullptr, L"one\r\ntwo\n\nfour\n", 1, nullptr, nullptr), 7);
    EXPECT_EQ(person.shown.text, L"");
    EXPECT_EQ(person.shown.details, (CStringArray{L"one", L"two", L"", L"four"}));
    EXPECT_EQ(CAppFunc::MessageBoxExW(L"text", nullptr, 1, L"", nullptr), 7);
    EXPECT_TRUE(person.shown.details.empty());
    EXPECT_EQ(CAppFunc::MessageBoxExW(L"text", CStringArray{L"a\nb"}, 1, L"", nullptr), 7);
    EXPECT_EQ(person.shown.details, CStringArray{L"a\nb"});

    EXPECT_EQ(CAppFunc::CEMessageBox(L"own text", 0x10), 7);
    EXPECT_EQ(person.shown.text, L"own text");
    EXPECT_EQ(person.shown.type, 0x10U);
    EXPECT_EQ(CAppFunc::CEMessageBox(nullptr, 0x10), 7);
    EXPECT_EQ(person.shown.text, L"エラーが発生しました。");
}

}  // namespace
