// SPDX-License-Identifier: MIT
//
// Universal files (UFF): functions of dataset 58, as text and with binary numbers. docs/formats/uff.md tells
// which of their records are read and written.
#pragma once

#include <array>
#include <memory>
#include <string_view>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxRecording01/Export.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

/// How the numbers of a universal file are held: as doubles, or as text of 13 digits.
enum class UffNumbers { binary, ascii };

/// Both and how a person calls them.
struct NamedUffNumbers {
    std::string_view name;
    UffNumbers numbers;
};
inline constexpr std::array kUffNumbers = {
    NamedUffNumbers{"binary", UffNumbers::binary},
    NamedUffNumbers{"ascii", UffNumbers::ascii},
};

struct UffOptions {
    UffNumbers numbers = UffNumbers::binary;
};

/// Whether a file that begins with these bytes is a universal file.
KVX_RECORDING_API bool IsUniversalFile(std::string_view begin);

/// Opens a universal file in a stream that can be moved. Consecutive datasets of one kind, axis and length
/// are a run. Datasets that contradict themselves are left out with a remark while others remain. Throws
/// Error.
KVX_RECORDING_API std::unique_ptr<RecordingReader> OpenUffFile(std::unique_ptr<ByteStream> stream);

}  // namespace kvx
