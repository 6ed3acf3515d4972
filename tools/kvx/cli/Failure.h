// SPDX-License-Identifier: MIT
//
// How the tool fails. Libraries and calculations throw an Error ("line 17 ..."); Doing puts in front of it
// what was being done with which file and makes it a Failure, a whole sentence for the person. The command
// line alone turns a Failure or ValueError into exit status 1 and a UsageError into exit status 2.
// OutOfLimits is no failure: what was tested does not keep its limits, which is exit status 3.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx::tool {

/// A whole sentence: what could not be done, with which file, and why.
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

/// A test was done and its result is outside the limits; the sentence says of what.
struct OutOfLimits : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// The error's sentence with its place within the file, which is named elsewhere.
std::string Explain(const Error& error);

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

}  // namespace kvx::tool
