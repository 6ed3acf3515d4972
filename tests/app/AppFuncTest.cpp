// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/platform/Program.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/DesktopRecorder.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TempFolder.h"

KVX_PROGRAM_VERSION(L"23.0.1.2", L"(C) テスト", nullptr);

class CWnd {};

namespace {

using PathFunction = int (*)(CString*);

struct FolderCase {
    PathFunction function;
    const wchar_t* path;
};

template <int (*function)(CString*, int), int create>
int With(CString* path) {
    return function(path, create);
}

// clang-format off
const FolderCase kFolders[] = {
    {CAppFunc::GetKvxDir,                   L"\\KVX\\"},
    {With<CAppFunc::GetKvxQ7Dir1st, 0>,     L"\\KVX\\Q7"},
    {With<CAppFunc::GetKvxQ7Dir2nd, 0>,     L"\\KVX\\Q7_2nd"},
    {With<CAppFunc::GetKvxQ7Dir, 0>,        L"\\KVX\\Q7_2nd"},
    {With<CAppFunc::GetQ7DataDir, 0>,       L"\\Q7Data"},
    {CAppFunc::GetQ7IniPath,                L"\\KVX\\Q7_2nd\\Q7.ini"},
    {CAppFunc::GetKvxPathConfigIniPath,     L"\\KVX\\KVXPathConfig.ini"},
};
// clang-format on

constexpr PathFunction kCreatingFunctions[] = {
    With<CAppFunc::GetKvxQ7Dir1st, 1>, With<CAppFunc::GetKvxQ7Dir2nd, 1>, With<CAppFunc::GetKvxQ7Dir, 1>,
    With<CAppFunc::GetQ7DataDir, 1>};

TEST(AppFunc, AllFoldersHangOffTheSystemDrive) {
    for (const char* drive : {"D:", "/srv/suite", static_cast<const char*>(nullptr)}) {
        const ScopedEnvironment setDrive("SystemDrive", drive);
        const std::wstring root = drive != nullptr ? std::filesystem::path(drive).wstring() : L"";
        for (const FolderCase& c : kFolders) {
            CString path;
            EXPECT_EQ(c.function(&path), 1);
            EXPECT_EQ(path, root + c.path);
            EXPECT_EQ(c.function(nullptr), 0);
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
    for (const FolderCase& c : kFolders) EXPECT_EQ(c.function(&path), 1);
    EXPECT_EQ(CAppFunc::GetKvxQ7Dir(&path, 1), 0);
    EXPECT_EQ(root.Count(), 0U) << "the folder above is missing, and stays so";

    std::filesystem::create_directory(root / "KVX");
    for (int again = 0; again < 2; ++again) {
        for (const PathFunction function : kCreatingFunctions) EXPECT_EQ(function(&path), 1);
    }
    for (const char* folder : {"KVX/Q7", "KVX/Q7_2nd", "Q7Data"}) EXPECT_TRUE(is_directory(root / folder));
}

TEST(AppFunc, AFolderThatCannotBeCreatedIsAFailure) {
    const ScopedEnvironment drive("SystemDrive", "/proc");  // where nobody creates anything
    CString path = L"before";
    for (const PathFunction function : kCreatingFunctions) EXPECT_EQ(function(&path), 0);
    EXPECT_EQ(path, L"before");

    const TempFolder root;
    const ScopedEnvironment inTheWay("SystemDrive", root.Path().c_str());
    root.Write("Q7Data", "a file");
    EXPECT_EQ(CAppFunc::GetQ7DataDir(&path, 1), 0);
}

TEST(AppFunc, TestDefinitionsStartInTheDocumentsFolder) {
    const TempFolder home;
    const ScopedEnvironment setHome("HOME", home.Path().c_str());
    const ScopedEnvironment noSettings("XDG_CONFIG_HOME", nullptr);
    CString path;
    EXPECT_EQ(CAppFunc::GetInitTestDefDir(nullptr), 0);
    EXPECT_EQ(CAppFunc::GetInitTestDefDir(&path), 1);
    EXPECT_EQ(path, home.Path().wstring() + L"/Documents\\");
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
        {"[COMMON01]\ndesktopjpeg = 1", 1},
        {"[Common01]\nDesktopJpeg=-2", 1},
        {"[Common01]\nDesktopJpeg=", 1},
        {"[Common01]\nDesktopJpeg=no", 0},
        {"[Common02]\nDesktopJpeg=0", 1},
    };
    for (const auto& [content, enabled] : cases) {
        root.Write("KVX/Q7_2nd/Q7.ini", content);
        EXPECT_EQ(CAppFunc::IsEnableSendDesktop(), enabled) << content;
    }
}

TEST(AppFunc, ThePictureGoesToTheSamePlaceInTheShare) {
    const auto share = [](const wchar_t* computer) {
        return kvx::SharePath(L"D:\\KVX\\Q7_2nd\\Q7pcDesktop.jpeg", L"D:\\KVX\\", computer);
    };
    EXPECT_EQ(share(L"MONITOR"), L"\\\\MONITOR\\KVX$\\Q7_2nd\\Q7pcDesktop.jpeg");
    EXPECT_EQ(share(L""), std::nullopt);
    EXPECT_EQ(share(L"a\\b"), std::nullopt);
    EXPECT_EQ(share(std::wstring(230, L'm').c_str()), std::nullopt);
    EXPECT_EQ(kvx::SharePath(L"D:\\KVX2\\a", L"D:\\KVX\\", L"M"), std::nullopt);
    EXPECT_EQ(kvx::SharePath(L"E:\\KVX\\a", L"D:\\KVX\\", L"M"), std::nullopt);
}

TEST(AppFunc, APictureThatCannotBeSentIsAFailure) {
    const TempFolder root;
    const ScopedEnvironment drive("SystemDrive", root.Path().c_str());
    EXPECT_EQ(CAppFunc::SendDesktopPicture(nullptr), 0);
    std::filesystem::create_directory(root / "KVX");
    EXPECT_EQ(CAppFunc::SendDesktopPicture(L"MONITOR"), 0);
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
    EXPECT_EQ(CAppFunc::GetMyComputerName(nullptr), 0);
}

TEST(AppFunc, AVerbAndItsCommandAreRegistered) {
    const std::wstring program = *kvx::ProgramPath();
    for (const wchar_t* text : {L"表示(&V)", static_cast<const wchar_t*>(nullptr)}) {
        DesktopRecorder desktop;
        EXPECT_EQ(CAppFunc::AddDocShell(L"Q7.Document", L"/v \"%1\"", L"view", text), 1);
        ASSERT_EQ(desktop.values.size(), 2U);
        EXPECT_EQ(desktop.values[0].first, L"Q7.Document\\shell\\view");
        EXPECT_EQ(desktop.values[0].second, text != nullptr ? text : L"(none)");
        EXPECT_EQ(desktop.values[1].first, L"Q7.Document\\shell\\view\\command");
        EXPECT_EQ(desktop.values[1].second, L"\"" + program + L"\" /v \"%1\"");
    }
}

TEST(AppFunc, WhatTheDesktopRefusesIsAFailure) {
    CWnd frame;
    EXPECT_EQ(CAppFunc::AddDocShell(L"p", L"a", L"v", L"t"), 0);
    EXPECT_EQ(CAppFunc::CopyMainFrmToClipBoard(frame), 0);
    DesktopRecorder desktop;
    desktop.copyable = &frame;
    EXPECT_EQ(CAppFunc::CopyMainFrmToClipBoard(frame), 1);
    desktop.accepted = 1;
    EXPECT_EQ(CAppFunc::AddDocShell(L"p", L"a", L"v", L"t"), 0);
    EXPECT_EQ(CAppFunc::AddDocShell(nullptr, L"a", L"v", L"t"), 0);
    EXPECT_EQ(CAppFunc::AddDocShell(L"p", nullptr, L"v", L"t"), 0);
    EXPECT_EQ(CAppFunc::AddDocShell(L"p", L"a", nullptr, L"t"), 0);
    EXPECT_EQ(desktop.values.size(), 2U);
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

    EXPECT_EQ(CAppFunc::MessageBoxExW(L"text", L"one\r\ntwo\n\nfour", 1, nullptr, nullptr), 7);
    EXPECT_EQ(person.shown.details, (CStringArray{L"one", L"two", L"", L"four"}));
    EXPECT_EQ(CAppFunc::MessageBoxExW(nullptr, nullptr, 1, L"", nullptr), 7);
    EXPECT_TRUE(person.shown.text.empty());
    EXPECT_TRUE(person.shown.details.empty());
    EXPECT_EQ(CAppFunc::MessageBoxExW(L"text", CStringArray{L"a\nb"}, 1, L"", nullptr), 7);
    EXPECT_EQ(person.shown.details, CStringArray{L"a\nb"});

    EXPECT_EQ(CAppFunc::CEMessageBox(L"own text", 0x10), 7);
    EXPECT_EQ(person.shown.text, L"own text");
    EXPECT_EQ(CAppFunc::CEMessageBox(nullptr, 0x10), 7);
    EXPECT_EQ(person.shown.text, L"エラーが発生しました。");
}

}  // namespace
