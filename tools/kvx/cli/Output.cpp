// SPDX-License-Identifier: MIT
#include "cli/Output.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {

void WriteText(ByteStream& stream, std::string_view text) {
    stream.Write(text.data(), text.size());
}

void Note(std::string_view text) {
    std::fprintf(stderr, "kvx: note: %s\n", Printable(text).c_str());
}

void RequireAnotherFile(std::string_view input, std::string_view output) {
    if (IsStandardStream(output)) return;
    // Redirected standard input is the file that it comes from.
    const std::filesystem::path source = IsStandardStream(input) ? "/dev/stdin" : input;
    std::error_code ignored;
    if (std::filesystem::equivalent(source, std::filesystem::path(output), ignored) &&
        std::filesystem::is_regular_file(std::filesystem::path(output), ignored)) {
        throw ValueError("the output " + Quote(output) + " is the input file");
    }
}

void RequireOneStandardInput(std::initializer_list<std::string_view> inputs) {
    if (std::ranges::count_if(inputs, IsStandardStream) > 1)
        throw ValueError("standard input can be only one of the inputs");
}

}  // namespace kvx::tool
