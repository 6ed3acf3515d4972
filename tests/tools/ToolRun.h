// SPDX-License-Identifier: MIT
//
// Runs the built tool as a person would: command lines for the shell, in a folder of the test.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <string>

#include "tests/support/TempFolder.h"

struct ToolResult {
    int status;
    std::string out;
    std::string err;
};

/// Runs shell text in which "kvx" is the built tool, which speaks English whatever the locale. Its standard
/// error passes through a file that is gone afterwards.
inline ToolResult RunShell(const TempFolder& folder, const std::string& text) {
    const std::string command = "cd '" + folder.Path().string() +
                                "' && export KVX_LANGUAGE=en PATH='" KVX_TOOL_FOLDER "':\"$PATH\" && (" +
                                text + "\n) 2>stderr.txt </dev/null";
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

/// A command of the tool at work, with its output thrown away and an endless standard input. Temporary files
/// go to the folder.
class RunningTool {
public:
    /// `ignored` is a signal that the command is started to ignore; 0 for none.
    RunningTool(const TempFolder& folder, const std::string& command, int ignored = 0) {
        int ends[2] = {-1, -1};
        EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
        input_ = ends[0];
        process_ = ::fork();
        if (process_ == 0) {
            const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
            ::dup2(ends[1], STDIN_FILENO);
            ::dup2(nowhere, STDOUT_FILENO);
            ::dup2(nowhere, STDERR_FILENO);
            if (ignored != 0) std::signal(ignored, SIG_IGN);
            const int isThere = ::chdir(folder.Path().c_str());
            ::setenv("TMPDIR", folder.Path().c_str(), 1);
            const std::string text = "exec " KVX_TOOL_FOLDER "/kvx " + command;
            if (isThere == 0) ::execl("/bin/sh", "sh", "-c", text.c_str(), nullptr);
            ::_exit(127);
        }
        ::close(ends[1]);
    }
    ~RunningTool() { ::close(input_); }
    RunningTool(const RunningTool&) = delete;
    RunningTool& operator=(const RunningTool&) = delete;

    /// Feeds blanks until the command has read some; whether it did.
    bool Feed() {
        const std::string blanks(std::size_t{1} << 20, ' ');
        return ::send(input_, blanks.data(), blanks.size(), MSG_NOSIGNAL) == std::ssize(blanks);
    }
    /// Waits until the folder holds a temporary file; whether it did before the command was over.
    bool WaitForTemporary(const TempFolder& folder) {
        for (;;) {
            for (const auto& entry : std::filesystem::directory_iterator(folder.Path()))
                if (entry.path().extension() == ".tmp") return true;
            siginfo_t state = {};
            ::waitid(P_PID, static_cast<id_t>(process_), &state, WEXITED | WNOHANG | WNOWAIT);
            if (state.si_pid != 0) return false;
            ::usleep(500);
        }
    }
    /// Sends a signal and returns the one that ended the command; 0 when it ended by itself and well.
    int End(int signal) {
        ::kill(process_, signal);
        int status = 0;
        ::waitpid(process_, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status) == 0 ? 0 : -1;
    }

private:
    pid_t process_ = -1;
    int input_ = -1;
};
