// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>

namespace {

using kvx::Error;
using kvx::ErrorKind;

static_assert(std::is_nothrow_copy_constructible_v<Error>);

template <typename Thrown>
Error Caught(const Thrown& thrown) {
    try {
        throw thrown;
    } catch (...) {
        return Error::Current();
    }
}

TEST(Error, SaysWhereAndWhatInOneSentence) {
    EXPECT_STREQ(Error(ErrorKind::kDamaged).what(), "it is damaged");
    const Error error(ErrorKind::kBadValue, "'abc' is not a number", {.line = 3, .column = 2});
    EXPECT_STREQ(error.what(), "line 3, column 2: 'abc' is not a number");
    EXPECT_STREQ(error.At({.path = "in.csv", .channel = 1, .line = 9}).what(),
                 "in.csv: channel 1, line 3, column 2: 'abc' is not a number");
    EXPECT_EQ(error.At({}).Kind(), ErrorKind::kBadValue);
}

TEST(Error, OfAFileHasTheKindOfItsCause) {
    struct Case {
        int hostError;
        ErrorKind kind;
        const char* sentence;
    };
    for (const Case& c : {Case{ENOENT, ErrorKind::kNotFound, "the file does not exist"},
                          Case{EISDIR, ErrorKind::kDenied, "it is a folder"},
                          Case{EACCES, ErrorKind::kDenied, "access is denied"},
                          Case{ENOSPC, ErrorKind::kDiskFull, "the disk is full"},
                          Case{EIO, ErrorKind::kHost, "the device reported an error"},
                          Case{ECONNRESET, ErrorKind::kHost, std::strerror(ECONNRESET)}}) {
        const Error error = Caught(CFileException::FromHostError(c.hostError, L"a.bin"));
        EXPECT_EQ(error.Kind(), c.kind) << c.sentence;
        EXPECT_EQ(error.Sentence(), c.sentence);
        EXPECT_EQ(error.Place().path, "a.bin");
    }
    // Each cause has a kind and a sentence of its own, and other numbers are those of a failed operation.
    for (int cause = CFileException::none; cause <= CFileException::endOfFile; ++cause) {
        EXPECT_EQ(Error(CFileException(cause, 0)).Sentence(), CFileException(cause).what());
    }
    EXPECT_EQ(Error(CFileException(99)).Sentence(), CFileException(CFileException::genericException).what());
}

TEST(Error, IsMadeOfWhateverIsBeingHandled) {
    EXPECT_EQ(Caught(std::bad_alloc()).Kind(), ErrorKind::kNoMemory);
    EXPECT_EQ(Caught(std::length_error("vector")).Kind(), ErrorKind::kNoMemory);
    EXPECT_EQ(Caught(std::runtime_error("odd")).Sentence(), "odd");
    EXPECT_EQ(Caught(Error(ErrorKind::kInterrupted)).Kind(), ErrorKind::kInterrupted);
}

}  // namespace
