// SPDX-License-Identifier: MIT
//
// Runs the built tool as a person would: command lines for the shell, in a folder of the test.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/TempFolder.h"

struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

/// Runs shell text in which "kvx" is the built tool. Its standard error passes through a file that is gone
/// afterwards.
inline ToolResult RunShell(const TempFolder& folder, const std::string& text) {
    const std::string command = "cd '" + folder.Path().string() +
                                "' && PATH='" KVX_TOOL_FOLDER "':\"$PATH\" && (" + text +
                                "\n) 2>stderr.txt </dev/null";
    ToolResult result = {-1, {}, {}};
    FILE* pipe = ::popen(command.c_str(), "r");
    if (pipe == nullptr) return result;
    char block[4096];
    for (std::size_t got; (got = std::fread(block, 1, sizeof block, pipe)) > 0;)
        result.out.append(block, got);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    result.err = folder.Read("stderr.txt");
    std::filesystem::remove(folder / "stderr.txt");
    return result;
}

/// The same for a command that must succeed without a word on standard error; its output.
inline std::string RunWell(const TempFolder& folder, const std::string& text) {
    const ToolResult result = RunShell(folder, text);
    EXPECT_EQ(result.status, 0) << text;
    EXPECT_EQ(result.err, "") << text;
    return result.out;
}

inline nlohmann::json RunJson(const TempFolder& folder, const std::string& text) {
    return nlohmann::json::parse(RunWell(folder, text + " --json"));
}
