// SPDX-License-Identifier: MIT
//
// Text tables and profiles as the tool reads them: columns of one length come out, or a reason why not. The
// first byte chooses the options.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>

#include "ProfileText.h"
#include "TextTable.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data + 1), size - 1);
    try {
        kvx::tool::TextOptions options;
        options.decimalComma = (data[0] & 1) != 0;
        if ((data[0] & 2) != 0) options.firstColumnIsTime = (data[0] & 4) != 0;
        kvx::tool::Progress progress("fuzzing");
        kvx::tool::Recording recording = kvx::tool::ParseTextTable(text, options, progress);
        const std::size_t samples = recording.channels.at(0).values.size();
        for (const auto& channel : recording.channels) {
            if (channel.values.size() != samples) std::abort();
        }
        if (!recording.times.empty() && recording.times.size() != samples) std::abort();
        kvx::tool::SettleAxis(recording, std::nullopt);
    } catch (const std::runtime_error&) {
    }
    try {
        const kvx::tool::ProfileText profile = kvx::tool::ParseProfileText(text);
        if (profile.frequencies.size() != profile.levels.size() || profile.levels.size() < 2) std::abort();
    } catch (const std::runtime_error&) {
    }
    return 0;
}
