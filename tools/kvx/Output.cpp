// SPDX-License-Identifier: MIT
#include "Output.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "Failure.h"

namespace kvx::tool {

void WriteText(ByteStream& stream, std::string_view text) {
    stream.Write(text.data(), text.size());
}

void Note(std::string_view text) {
    std::fprintf(stderr, "kvx: note: %.*s\n", static_cast<int>(text.size()), text.data());
}

void RequireAnotherFile(std::string_view input, std::string_view output) {
    std::error_code ignored;
    if (std::filesystem::equivalent(std::filesystem::path(input), std::filesystem::path(output), ignored) &&
        std::filesystem::is_regular_file(std::filesystem::path(output), ignored)) {
        throw ValueError("the output " + Quote(output) + " is the input file");
    }
}

}  // namespace kvx::tool
