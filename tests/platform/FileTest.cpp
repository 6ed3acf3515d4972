// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <KvxDevCommon01/platform/HandleStream.h>
#include <KvxDevCommon01/platform/Text.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <string>

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TempFolder.h"

namespace {

template <typename File>
int CauseOfOpening(const std::wstring& path) {
    try {
        const File file(path);
        return CFileException::none;
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_strFileName, path);
        return e.m_cause;
    }
}

TEST(OutputFile, TheTargetAppearsOnCommitOnly) {
    const TempFolder folder;
    {
        kvx::OutputFile file((folder / "new.bin").wstring());
        file.Write("abc", 3);
        EXPECT_FALSE(exists(folder / "new.bin"));
        file.Commit();
    }
    EXPECT_EQ(folder.Read("new.bin"), "abc");
    EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, WithoutCommitTheOldFileStaysWhole) {
    const TempFolder folder;
    folder.Write("kept.bin", "old content");
    {
        kvx::OutputFile file((folder / "kept.bin").wstring());
        file.Write("new", 3);
    }
    EXPECT_EQ(folder.Read("kept.bin"), "old content");
    EXPECT_EQ(folder.Count(), 1U);
}

TEST(OutputFile, ANameAsLongAsTheFileSystemHoldsCanBeStored) {
    const TempFolder folder;
    const std::string ascii(255, 'n');
    std::string wide = "n";  // its 64th byte is within a character
    while (wide.size() + 3 <= 255) wide += "加";
    for (const std::string& name : {ascii, wide}) {
        const std::wstring path = kvx::FromUtf8((folder / name).native()).value_or(L"");
        kvx::OutputFile first(path);
        kvx::OutputFile second(path);  // beside the unfinished one
        EXPECT_EQ(folder.Count(), 2U);
        for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
            EXPECT_TRUE(kvx::FromUtf8(entry.path().native())) << entry.path();
        first.Write("abc", 3);
        second.Write("abcd", 4);
        first.Commit();
        EXPECT_EQ(folder.Read(name), "abc");
        second.Commit();
        EXPECT_EQ(folder.Read(name), "abcd");
        EXPECT_TRUE(std::filesystem::remove(folder / name));
    }
    const std::wstring tooLong = (folder / std::string(256, 'n')).wstring();
    EXPECT_EQ(CauseOfOpening<kvx::OutputFile>(tooLong), CFileException::badPath);
}

TEST(OutputFile, ItsTemporaryFileIsKnownToTheHandlerOfASignalUntilItIsCommitted) {
    const TempFolder folder;
    folder.Write("kept.bin", "old");
    kvx::OutputFile done((folder / "done.bin").wstring());
    done.Write("new", 3);
    done.Commit();
    kvx::OutputFile unfinished((folder / "kept.bin").wstring());
    EXPECT_EQ(folder.Count(), 3U);
    kvx::RemoveUnfinishedFiles();
    EXPECT_EQ(folder.Count(), 2U);
    EXPECT_EQ(folder.Read("done.bin"), "new");
    EXPECT_EQ(folder.Read("kept.bin"), "old");
    EXPECT_THROW(unfinished.Commit(), CFileException);
}

TEST(OutputFile, AFileWithoutANameIsWrittenInPlace) {
    std::FILE* const unnamed = std::tmpfile();
    ASSERT_NE(unnamed, nullptr);
    kvx::OutputFile file(L"/dev/fd/" + std::to_wstring(fileno(unnamed)));
    file.Seek(1);
    file.Write("bc", 2);
    file.Seek(0);
    file.Write("a", 1);
    file.Commit();
    char bytes[4] = {};
    EXPECT_EQ(std::fread(bytes, 1, sizeof bytes, unnamed), 3U);
    EXPECT_STREQ(bytes, "abc");
    std::fclose(unnamed);
}

TEST(OutputFile, ReplacingKeepsPermissionsAndFollowsLinks) {
    const TempFolder folder;
    folder.Write("real.bin", "old");
    ::chmod((folder / "real.bin").c_str(), 0640);
    create_symlink(folder / "real.bin", folder / "link.bin");
    kvx::OutputFile file((folder / "link.bin").wstring());
    file.Write("new", 3);
    file.Commit();
    EXPECT_EQ(folder.Read("real.bin"), "new");
    EXPECT_TRUE(is_symlink(folder / "link.bin"));
    struct stat status = {};
    ASSERT_EQ(::stat((folder / "real.bin").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0640U);
}

TEST(OutputFile, AFullDiskIsReportedAndLeavesNothingBehind) {
    kvx::OutputFile file(L"/dev/full");
    try {
        file.Write("x", 1);
        ADD_FAILURE() << "the full device took a byte";
    } catch (const CFileException& e) {
        EXPECT_EQ(e.m_cause, CFileException::diskFull);
        EXPECT_EQ(e.m_lOsError, ENOSPC);
    }
}

TEST(OutputFile, WhatIsExpectedButNotWrittenTakesNoPlace) {
    const TempFolder folder;
    for (const std::uint64_t size : {std::uint64_t{1} << 26, std::uint64_t{1} << 50, UINT64_MAX}) {
        kvx::OutputFile file((folder / "short.bin").wstring());
        file.Write("ab", 2);
        file.Expect(size);
        file.Write("c", 1);
        file.Commit();
        EXPECT_EQ(folder.Read("short.bin"), "abc");
        struct stat status = {};
        ASSERT_EQ(::stat((folder / "short.bin").c_str(), &status), 0);
        EXPECT_LT(status.st_blocks, 1000) << "of 512 bytes";
    }
}

TEST(File, OpeningReportsTheCause) {
    const TempFolder folder;
    folder.Write("plain.bin", "x");
    const std::wstring root = folder.Path().wstring();
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(root + L"/missing.bin"), CFileException::fileNotFound);
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(root + L"/plain.bin/below"), CFileException::badPath);
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(root), CFileException::accessDenied);
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(L"Q:\\Q7Data\\a.vdf2"), CFileException::fileNotFound);
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(L""), CFileException::badPath);
    EXPECT_EQ(CauseOfOpening<kvx::InputFile>(root + L"\\plain.bin"), CFileException::none);
    EXPECT_EQ(CauseOfOpening<kvx::OutputFile>(root + L"/missing/new.bin"), CFileException::badPath);
    EXPECT_EQ(CauseOfOpening<kvx::OutputFile>(root), CFileException::accessDenied);
    EXPECT_EQ(folder.Count(), 1U);
}

TEST(InputFile, RemainingCountsDownToTheEnd) {
    const TempFolder folder;
    folder.Write("five.bin", "12345");
    kvx::InputFile file((folder / "five.bin").wstring());
    char buffer[8] = {};
    EXPECT_EQ(file.Remaining(), 5U);
    EXPECT_EQ(file.Read(buffer, 2), 2U);
    EXPECT_EQ(file.Remaining(), 3U);
    EXPECT_EQ(file.Read(buffer, sizeof(buffer)), 3U);
    EXPECT_EQ(std::string(buffer, 3), "345");
    EXPECT_EQ(file.Remaining(), 0U);
    EXPECT_EQ(file.Read(buffer, 1), 0U);
}

TEST(InputFile, ReadsAheadOnlyBehindAllThatWasAskedFor) {
    const TempFolder folder;
    folder.Write("eight.bin", "12345678");
    kvx::InputFile file((folder / "eight.bin").wstring());
    char data[4] = {}, ahead[3] = {};
    EXPECT_EQ(file.ReadOn(data, 2, ahead, sizeof(ahead)), 5U);
    EXPECT_EQ(std::string(data, 2) + std::string(ahead, 3), "12345");
    EXPECT_EQ(file.Remaining(), 3U);
    file.Seek(4);
    EXPECT_EQ(file.ReadOn(data, 3, ahead, sizeof(ahead)), 4U);
    EXPECT_EQ(std::string(data, 3) + ahead[0], "5678");
    EXPECT_EQ(file.ReadOn(data, 1, ahead, sizeof(ahead)), 0U);
    file.Seek(6);
    EXPECT_EQ(file.ReadOn(data, 4, ahead, sizeof(ahead)), 2U);
    EXPECT_EQ(std::string(data, 2), "78");
}

TEST(File, CopyingReplacesTheTargetOrLeavesItAsItWas) {
    const TempFolder folder;
    const std::string content(200'000, 'c');
    folder.Write("from", content);
    folder.Write("to", "old");
    EXPECT_FALSE(kvx::CopyFile((folder / "absent").wstring(), (folder / "to").wstring()));
    EXPECT_FALSE(kvx::CopyFile((folder / "from").wstring(), (folder / "absent" / "to").wstring()));
    EXPECT_FALSE(kvx::CopyFile((folder / "from").wstring(), L"\\\\computer\\KVX$\\to"));
    EXPECT_EQ(folder.Read("to"), "old");
    EXPECT_TRUE(kvx::CopyFile((folder / "from").wstring(), (folder / "to").wstring()));
    EXPECT_EQ(folder.Read("to"), content);
    EXPECT_EQ(folder.Count(), 2U);
}

TEST(FileTime, IsTheLocalTimeOfTheLastChange) {
    const TempFolder folder;
    folder.Write("a", "");
    const struct timespec changed[2] = {{0, 0}, {1772633109, 0}};  // 2026-03-04 14:05:09 UTC
    ASSERT_EQ(::utimensat(AT_FDCWD, (folder / "a").c_str(), changed, 0), 0);
    {
        const ScopedEnvironment zone("TZ", "JST-9");
        ::tzset();
        EXPECT_TRUE(kvx::FileTime((folder / "a").wstring()) == COleDateTime(2026, 3, 4, 23, 5, 9));
        EXPECT_EQ(COleDateTime::FromHostTime(253402300800).GetStatus(), COleDateTime::invalid);  // year 10000
    }
    ::tzset();
    EXPECT_EQ(kvx::FileTime((folder / "b").wstring()).GetStatus(), COleDateTime::invalid);
    EXPECT_EQ(kvx::FileTime(L"C:\\a").GetStatus(), COleDateTime::invalid);
}

TEST(FileException, HostErrorsMapToCauses) {
    const std::pair<int, int> cases[] = {
        {ENOENT, CFileException::fileNotFound},
        {ENOTDIR, CFileException::badPath},
        {EMFILE, CFileException::tooManyOpenFiles},
        {EACCES, CFileException::accessDenied},
        {EROFS, CFileException::accessDenied},
        {EBADF, CFileException::invalidFile},
        {EIO, CFileException::hardIO},
        {ENOSPC, CFileException::diskFull},
        {EDQUOT, CFileException::diskFull},
        {E2BIG, CFileException::genericException},
    };
    for (const auto& [error, cause] : cases) {
        const CFileException e = CFileException::FromHostError(error, L"測定.vdf2");
        EXPECT_EQ(e.m_cause, cause) << error;
        EXPECT_EQ(e.m_lOsError, error);
        EXPECT_NE(std::string(e.what()).find("測定.vdf2"), std::string::npos);
    }
}

TEST(HandleStream, CarriesBytesOfFilesWithoutANameAndOfPipes) {
    const TempFolder folder;
    {
        const ScopedEnvironment set("TMPDIR", folder.Path().string().c_str());
        const kvx::UnnamedFile file;
        EXPECT_EQ(folder.Count(), 0U);
        kvx::HandleStream stream = file.Stream();
        stream.Write("abc", 3);
        int ends[2] = {};
        ASSERT_EQ(::pipe(ends), 0);
        kvx::InputFile again(kvx::FromUtf8(file.Path()).value());
        kvx::HandleStream in(ends[1], L"in"), out(ends[0], L"out");
        EXPECT_FALSE(kvx::ReadsAgain(ends[0], L"out"));
        kvx::CopyRest(again, in);
        ::close(ends[1]);
        kvx::MemoryStream copy;
        kvx::CopyRest(out, copy);
        EXPECT_EQ(copy.Bytes().size(), 3U);
        EXPECT_EQ(copy.Bytes()[2], std::byte{'c'});
        ::close(ends[0]);
    }
    try {
        kvx::ReadsAgain(-1, L"nothing");
        FAIL() << "a handle that is not open";
    } catch (const CFileException& error) {
        EXPECT_EQ(error.m_strFileName, L"nothing");
    }
    const ScopedEnvironment set("TMPDIR", "/none");
    EXPECT_EQ(kvx::TemporaryFolder(), "/none");
    EXPECT_THROW(kvx::UnnamedFile(), CFileException);
}

}  // namespace
