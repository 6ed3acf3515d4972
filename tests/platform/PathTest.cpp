// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Path.h>
#include <gtest/gtest.h>

namespace {

struct SplitCase {
    const wchar_t* path;
    const wchar_t* drive;
    const wchar_t* directory;
    const wchar_t* name;
    const wchar_t* extension;
};

TEST(Path, SplittingFindsTheLastSeparatorAndTheLastDot) {
    const SplitCase cases[] = {
        {L"C:\\KVX\\Q7_2nd\\Q7.ini", L"C:", L"\\KVX\\Q7_2nd\\", L"Q7", L".ini"},
        {L"a.b/c.d\\e.tar.gz", L"", L"a.b/c.d\\", L"e.tar", L".gz"},
        {L"D:name", L"D:", L"", L"name", L""},
        {L"\\\\server\\share\\x", L"", L"\\\\server\\share\\", L"x", L""},
        {L"folder\\", L"", L"folder\\", L"", L""},
        {L".hidden", L"", L"", L"", L".hidden"},
        {L"dot.", L"", L"", L"dot", L"."},
        {L"", L"", L"", L"", L""},
        {L"C:", L"C:", L"", L"", L""},
    };
    for (const SplitCase& c : cases) {
        const kvx::PathParts parts = kvx::SplitPath(c.path);
        EXPECT_EQ(parts.drive, c.drive);
        EXPECT_EQ(parts.directory, c.directory);
        EXPECT_EQ(parts.name, c.name);
        EXPECT_EQ(parts.extension, c.extension);
        EXPECT_EQ(kvx::JoinPath(parts), c.path);
    }
}

TEST(Path, JoiningAddsWhatIsMissingAndKeepsTheLimit) {
    EXPECT_EQ(kvx::JoinPath({L"C", L"KVX", L"Q7", L"ini"}), L"C:KVX\\Q7.ini");
    EXPECT_EQ(kvx::JoinPath({L"", L"a/", L"b", L""}), L"a/b");
    EXPECT_EQ(kvx::JoinPath({L"", L"", std::wstring(260, L'n'), L""})->size(), 260U);
    EXPECT_EQ(kvx::JoinPath({L"", L"", std::wstring(261, L'n'), L""}), std::nullopt);
}

TEST(Path, TheHostSeesSlashesAndNeitherDrivesNorShares) {
    EXPECT_EQ(kvx::HostPath(L"/opt/suite\\KVX\\Q7.ini"), "/opt/suite/KVX/Q7.ini");
    EXPECT_EQ(kvx::HostPath(L"データ\\波形.vdf2"), "データ/波形.vdf2");
    EXPECT_EQ(kvx::HostPath(L"C:\\KVX"), std::nullopt);
    EXPECT_EQ(kvx::HostPath(L"\\\\computer\\KVX$\\x"), std::nullopt);
    EXPECT_EQ(kvx::HostPath(L"//srv/x"), "//srv/x");
    EXPECT_EQ(kvx::HostPath(L""), std::nullopt);
    EXPECT_EQ(kvx::HostPath(std::wstring(L"a\0b", 3)), std::nullopt);
}

}  // namespace
