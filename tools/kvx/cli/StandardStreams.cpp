// SPDX-License-Identifier: MIT
#include "cli/StandardStreams.h"

#include <unistd.h>

#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/FileException.h>

#include "cli/Failure.h"
#include "cli/Format.h"

namespace kvx::tool {
namespace {

std::unique_ptr<UnnamedFile> MakeUnnamedFile() try {
    return std::make_unique<UnnamedFile>();
} catch (const CFileException&) {
    throw Error(ErrorKind::kHost, "no temporary file can be made in " + Quote(TemporaryFolder()));
}

std::unique_ptr<UnnamedFile> KeepInput() {
    auto kept = MakeUnnamedFile();
    HandleStream input(STDIN_FILENO, L"standard input");
    HandleStream file = kept->Stream();
    CopyRest(input, file);
    return kept;
}

/// A name as a report shows it; the bytes of a name may be anything.
std::string NameOf(const std::string& name, const char* stream) {
    return IsStandardStream(name) ? stream : Printable(name);
}

}  // namespace

bool IsStandardStream(std::string_view name) {
    return name == "-";
}

std::string InputName(const std::string& input) {
    return NameOf(input, "standard input");
}

std::string OutputName(const std::string& output) {
    return NameOf(output, "standard output");
}

std::string SourceText(const std::string& input) {
    return IsStandardStream(input) ? InputName(input) : input;
}

std::string InputPath(const std::string& input) {
    if (!IsStandardStream(input)) return input;
    static const std::unique_ptr<UnnamedFile> kept =
        ReadsAgain(STDIN_FILENO, L"standard input") ? nullptr : KeepInput();
    return kept ? kept->Path() : HandlePath(STDIN_FILENO);
}

ByteStream& StandardOutput() {
    static HandleStream stream(STDOUT_FILENO, L"standard output");
    return stream;
}

ByteStream& StandardError() {
    static HandleStream stream(STDERR_FILENO, L"standard error");
    return stream;
}

ByteStream& ReportStream(const std::string& output, ByteStream& report) {
    return IsStandardStream(output) ? StandardError() : report;
}

void WriteOutput(const std::string& output, const std::function<void(ByteStream&)>& write) {
    if (IsStandardStream(output)) return write(StandardOutput());
    OutputFile file(WidePath(output));
    write(file);
    file.Commit();
}

OutputTarget::OutputTarget(const std::string& output) : path_(output) {
    if (!IsStandardStream(output)) return;
    unnamed_ = MakeUnnamedFile();
    path_ = unnamed_->Path();
}

void OutputTarget::Deliver() {
    if (!unnamed_) return;
    HandleStream file = unnamed_->Stream();
    CopyRest(file, StandardOutput());
}

}  // namespace kvx::tool
