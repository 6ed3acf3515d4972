// SPDX-License-Identifier: MIT
//
// What the segments of a TDMS file say: its objects with their properties, and where the samples of channels
// stand. Segments of one layout share it, so that the index stays small however many there are.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxRecording01/detail/TdmsBytes.h>

namespace kvx {

/// "2026-03-01T12:00:00.25Z".
std::string TimeText(const TdmsTime& time);

struct TdmsValue {
    std::string text = {};                        ///< UTF-8, fit for a person
    std::optional<double> number = std::nullopt;  ///< of a number
    std::optional<TdmsTime> time = std::nullopt;  ///< of a time stamp
};

using TdmsProperties = std::map<std::string, TdmsValue, std::less<>>;

/// Where the codes of a converter stand in a row of their buffer.
struct TdmsScaler {
    TdmsType type = TdmsType::none;
    std::uint32_t buffer = 0;
    std::uint32_t byte = 0;
    std::optional<unsigned> bit = std::nullopt;  ///< of a digital line, in that byte
    std::uint32_t id = 0;                        ///< by which scales refer to the codes

    bool operator==(const TdmsScaler&) const = default;
};

/// What an object states of its raw data.
struct TdmsRawIndex {
    TdmsType type = TdmsType::none;
    std::uint64_t count = 0;      ///< of values in a chunk
    std::uint64_t textBytes = 0;  ///< in a chunk
    std::vector<TdmsScaler> scalers = {};
    std::vector<std::uint32_t> widths = {};  ///< of a row of each buffer, in bytes
};

/// The file, a group or a channel.
struct TdmsObject {
    std::string group = {};  ///< UTF-8; empty for the file
    std::string name = {};   ///< of a channel; empty for others
    bool isChannel = false;
    TdmsProperties properties = {};
    std::shared_ptr<const TdmsRawIndex> index = nullptr;  ///< that was stated last
    std::uint64_t samples = 0;                            ///< in all segments
};

/// How the channels stand in a chunk of raw data. Counts and offsets are those of `unit` 1.
struct TdmsLayout {
    struct Channel {
        std::uint32_t object = 0;
        std::uint32_t firstScaler = 0;
        std::uint32_t scalers = 0;
        std::uint64_t before = 0;   ///< bytes in front of the channel's
        std::uint64_t samples = 0;  ///< in the chunk
        std::uint64_t stride = 0;   ///< bytes from one sample to the next

        bool operator==(const Channel&) const = default;
    };

    std::vector<Channel> channels = {};  ///< those with samples, in the order of their objects
    std::vector<TdmsScaler> scalers = {};
    std::uint64_t bytes = 0;  ///< of the chunk

    const Channel* Find(std::uint32_t object) const;
    bool operator==(const TdmsLayout&) const = default;
};

/// Chunks of raw data of one layout.
struct TdmsSegment {
    std::uint64_t position = 0;
    std::uint64_t chunks = 0;
    std::uint64_t unit = 1;  ///< what counts and offsets of the layout are multiplied by
    std::uint32_t layout = 0;
    bool isBigEndian = false;
};

struct TdmsIndex {
    std::vector<TdmsObject> objects = {};  ///< the file, then groups and channels as they appear
    std::vector<TdmsLayout> layouts = {};
    std::vector<TdmsSegment> segments = {};  ///< with samples
    std::vector<std::string> remarks = {};
};

/// Goes through the segments of a file. Throws Error.
TdmsIndex ReadTdmsIndex(TdmsBytes& bytes);

}  // namespace kvx
