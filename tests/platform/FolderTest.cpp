// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Folder.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TempFolder.h"

namespace {

TEST(Folder, OnlyTheLastFolderOfAPathIsCreated) {
    const TempFolder root;
    const std::wstring base = root.Path().wstring();
    EXPECT_FALSE(kvx::CreateFolder(base + L"\\a\\b"));
    EXPECT_EQ(root.Count(), 0U);
    EXPECT_TRUE(kvx::CreateFolder(base + L"\\a"));
    EXPECT_TRUE(kvx::CreateFolder(base + L"\\a\\b"));
    EXPECT_TRUE(kvx::CreateFolder(base + L"\\a\\b"));
    EXPECT_TRUE(kvx::IsFolder(base + L"\\a\\b"));
}

TEST(Folder, AFileInTheWayIsNoFolder) {
    const TempFolder root;
    root.Write("file", "x");
    const std::wstring file = (root / "file").wstring();
    EXPECT_FALSE(kvx::IsFolder(file));
    EXPECT_FALSE(kvx::CreateFolder(file));
    EXPECT_FALSE(kvx::CreateFolder(file + L"\\below"));
    EXPECT_FALSE(kvx::CreateFolder(L"C:\\KVX"));
    EXPECT_FALSE(kvx::CreateFolder(L""));
    EXPECT_FALSE(kvx::IsFolder((root / "absent").wstring()));
}

TEST(Folder, DocumentsAreWhereTheUserSettingsSay) {
    const TempFolder home;
    const std::wstring base = home.Path().wstring();
    const ScopedEnvironment setHome("HOME", home.Path().c_str());
    const ScopedEnvironment noSettings("XDG_CONFIG_HOME", nullptr);
    EXPECT_EQ(kvx::DocumentsFolder(), base + L"/Documents");

    std::filesystem::create_directory(home / ".config");
    const struct {
        const char* settings;
        std::wstring folder;
    } cases[] = {
        {"# where things are\nXDG_DOCUMENTS_DIR=\"$HOME/書類\"\n", base + L"/書類"},
        {"XDG_DOCUMENTS_DIR=\"/srv/docs/\"\n", L"/srv/docs"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", base},
        {"XDG_DOCUMENTS_DIR=\"relative\"\n", base + L"/Documents"},
        {"XDG_MUSIC_DIR=\"$HOME/m\"\n", base + L"/Documents"},
    };
    for (const auto& c : cases) {
        home.Write(".config/user-dirs.dirs", c.settings);
        EXPECT_EQ(kvx::DocumentsFolder(), c.folder) << c.settings;
    }
    const ScopedEnvironment homeless("HOME", nullptr);
    EXPECT_EQ(kvx::DocumentsFolder(), std::nullopt);
}

}  // namespace
