// SPDX-License-Identifier: MIT
//
// What every reader of recordings must keep, whatever the bytes.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/Recording.h>

namespace kvx {

inline void Check(bool holds) {
    if (!holds) std::abort();
}

/// Reads all runs of a recording, if the bytes are one: as many samples as it says, block by block, or an
/// Error with a sentence.
inline void ReadWhole(const std::function<std::unique_ptr<RecordingReader>()>& open) try {
    constexpr std::size_t kRoom = 777;
    const auto reader = open();
    Check(!reader->Info().runs.empty());
    for (std::size_t r = 0; r < reader->Info().runs.size(); ++r) {
        const RecordingInfo::Run& run = reader->Info().runs[r];
        Check(run.samples > 0 && !run.channels.empty());
        std::vector<std::vector<double>> samples(CountColumns(run), std::vector<double>(kRoom));
        std::vector<double*> targets;
        for (std::vector<double>& column : samples) targets.push_back(column.data());
        __int64 count = 0;
        while (const std::size_t got = reader->Read(r, targets, kRoom)) {
            Check(got <= kRoom);
            count += static_cast<__int64>(got);
            Check(count <= run.samples);
        }
        Check(count == run.samples);
    }
} catch (const Error& error) {
    Check(!error.Sentence().empty());
    Check(std::ranges::none_of(error.Sentence(), [](char c) { return c >= 0 && c < ' '; }));
}

/// As above, of bytes.
inline void ReadWhole(const std::uint8_t* data, std::size_t size,
                      std::unique_ptr<RecordingReader> (*open)(std::unique_ptr<ByteStream>)) {
    ReadWhole([&] { return open(std::make_unique<MemoryStream>(std::as_bytes(std::span(data, size)))); });
}

}  // namespace kvx
