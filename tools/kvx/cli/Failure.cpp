// SPDX-License-Identifier: MIT
#include "cli/Failure.h"

#include <fmt/format.h>

namespace kvx::tool {

std::string Explain(const Error& error) {
    const std::string place = error.Place().Inside();
    return (place.empty() ? "" : place + ": ") + error.Sentence();
}

void ThrowFailure(std::string_view verb, std::string_view path) {
    try {
        throw;
    } catch (const Failure&) {
        throw;
    } catch (const ValueError&) {
        throw;
    } catch (const UsageError&) {
        throw;
    } catch (...) {
        const std::string stream = verb == "write" ? "to standard output" : "standard input";
        throw Failure(fmt::format("cannot {} {}: {}", verb, path == "-" ? stream : Quote(path),
                                  Explain(Error::Current())));
    }
}

}  // namespace kvx::tool
