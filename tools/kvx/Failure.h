// SPDX-License-Identifier: MIT
//
// How the tool fails. Readers and calculations throw a Reason ("line 17 ..."); Doing puts in front of it what
// was being done with which file and makes it a Failure, a whole sentence for the person. The
// command line alone turns a Failure or ValueError into exit status 1 and a UsageError into exit status 2.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/FileException.h>

namespace kvx::tool {

struct Reason : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Failure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command line is well formed, but a value in it cannot be used.
struct ValueError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The command line is not one of the tool's.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Text from outside made fit for a sentence: Printable, in quotes, and cut in the middle where it is longer
/// than about 60 characters; the name of a file at its end is kept.
std::string Quote(std::string_view text);
std::string Quote(std::wstring_view text);

/// Why a file operation failed, without the file's name.
std::string Explain(const CFileException& error);

/// The sentence for the exception being handled: "cannot VERB 'PATH': WHY"; the path "-" is standard output
/// for the verb "write" and standard input for all others. Rethrows a Failure, ValueError or UsageError as it
/// is, and whatever is not a failure of the host or the input.
[[noreturn]] void ThrowFailure(std::string_view verb, std::string_view path);

/// Runs `action` on behalf of "VERB 'PATH'" and returns its result; throws Failure when it fails.
template <typename Action>
auto Doing(std::string_view verb, std::string_view path, Action&& action) {
    try {
        return action();
    } catch (...) {
        ThrowFailure(verb, path);
    }
}

/// A path of the command line (UTF-8) as the library takes it; throws Reason when it is not UTF-8.
std::wstring WidePath(std::string_view path);

}  // namespace kvx::tool
