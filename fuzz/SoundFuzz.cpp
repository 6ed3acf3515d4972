// SPDX-License-Identifier: MIT
//
// Bytes as a sound file: read whole or refused, also where the first part of a damaged one will do. The sound
// library reads files only, so that the bytes become one; its sentences for developers must not come through.
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SoundFile.h>

#include "fuzz/ReadWhole.h"

namespace {

std::string PathOfInput() {
    const std::string name = "kvx_sound_fuzz_" + std::to_string(getpid());
    const std::filesystem::path memory = "/dev/shm";
    return ((exists(memory) ? memory : std::filesystem::temp_directory_path()) / name).string();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const std::string path = PathOfInput();
    const std::string_view begin(reinterpret_cast<const char*>(data), size);
    const kvx::Format format = kvx::RecognizeContent(begin.substr(0, kvx::kContentBytes)).format;
    if (!kvx::IsSound(format)) return 0;
    {
        kvx::OutputFile file(kvx::WidePath(path));
        file.Write(data, size);
        file.Commit();
    }
    for (const bool isPartial : {false, true}) {
        kvx::ReadWhole([&] {
            try {
                return kvx::OpenSoundFile(path, format, isPartial);
            } catch (const kvx::Error& error) {
                kvx::Check(error.Sentence().find("nternal") == std::string::npos);
                throw;
            }
        });
    }
    std::filesystem::remove(path);
    return 0;
}
