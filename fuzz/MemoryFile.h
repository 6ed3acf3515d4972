// SPDX-License-Identifier: MIT
//
// Bytes that code under test can open as a file by its path; the file lies in memory only.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>

class MemoryFile {
public:
    explicit MemoryFile(std::span<const std::byte> bytes) : handle_(memfd_create("fuzz", 0)) {
        if (handle_ < 0 || write(handle_, bytes.data(), bytes.size()) != std::ssize(bytes)) std::abort();
    }
    ~MemoryFile() { close(handle_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::wstring Path() const { return L"/proc/self/fd/" + std::to_wstring(handle_); }

private:
    int handle_;
};
