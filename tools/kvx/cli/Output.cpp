// SPDX-License-Identifier: MIT
#include "cli/Output.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "cli/Failure.h"
#include "cli/Format.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

/// The input that this thread works on among others; empty otherwise.
thread_local std::string inputAmongOthers;
thread_local std::string notesAmongOthers;

std::string NoteLine(std::string_view text) {
    return "kvx: note: " + Printable(text) + "\n";
}

}  // namespace

AmongOthers::AmongOthers(std::string input) {
    inputAmongOthers = std::move(input);
}

AmongOthers::~AmongOthers() {
    inputAmongOthers.clear();
    notesAmongOthers.clear();
}

std::string AmongOthers::TakeNotes() {
    return std::exchange(notesAmongOthers, {});
}

bool AmongOthers::IsSo() {
    return !inputAmongOthers.empty();
}

void WriteText(ByteStream& stream, std::string_view text) {
    stream.Write(text.data(), text.size());
}

void Note(std::string_view text) {
    if (AmongOthers::IsSo()) {
        notesAmongOthers += NoteLine(inputAmongOthers + ": " + std::string(text));
    } else {
        std::fputs(NoteLine(text).c_str(), stderr);
    }
}

void Complain(std::string_view sentence) {
    std::fprintf(stderr, "kvx: %s\n", Printable(sentence).c_str());
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

void RequireOneStandardInput(std::span<const std::string> inputs) {
    if (std::ranges::count_if(inputs, IsStandardStream) > 1)
        throw ValueError("standard input can be only one of the inputs");
}

}  // namespace kvx::tool
