// SPDX-License-Identifier: MIT
//
// "-" on the command line: standard input and standard output wherever a file is named. Readers and writers
// that need to seek work on a file without a name in the host's folder for temporary files (TMPDIR), which
// disappears with the program, however that ends.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/HandleStream.h>

namespace kvx::tool {

/// Whether the name of a file stands for a standard stream. "./-" does not.
bool IsStandardStream(std::string_view name);

/// An input or output for a report: its name on one line, "standard input" or "standard output" for "-".
std::string InputName(const std::string& input);
std::string OutputName(const std::string& output);

/// An input as the header of what is made of it names it: as it is, or "standard input".
std::string SourceText(const std::string& input);

/// The path at which an input can be opened, as often as one likes: itself, or for "-" that of standard
/// input, which is kept in a temporary file unless it is a file already. Throws Error or
/// CFileException.
std::string InputPath(const std::string& input);

/// Standard output and standard error without a buffer of their own, so that nothing can fail after the last
/// Write.
ByteStream& StandardOutput();
ByteStream& StandardError();

/// Where a command writes its report: standard error when `output`, the file it makes, is standard output.
ByteStream& ReportStream(const std::string& output, ByteStream& report);

/// Lets `write` write an output as a stream: a file, which takes its place when all was written, or standard
/// output. Throws what `write` throws, and CFileException.
void WriteOutput(const std::string& output, const std::function<void(ByteStream&)>& write);

/// Where an output is written: the path that was named, or for "-" that of a temporary file, which goes to
/// standard output when it is complete.
class OutputTarget {
public:
    /// Throws Error.
    explicit OutputTarget(const std::string& output);

    const std::string& Path() const { return path_; }
    /// Passes the file at Path() on to standard output if that was named. Throws CFileException.
    void Deliver();

private:
    std::unique_ptr<UnnamedFile> unnamed_;
    std::string path_;
};

}  // namespace kvx::tool
