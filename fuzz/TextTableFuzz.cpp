// SPDX-License-Identifier: MIT
//
// Bytes as a text table and as a profile: each is read whole or refused with a sentence that is fit for one
// line.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

#include "Failure.h"
#include "ProfileText.h"
#include "TextTable.h"

using namespace kvx::tool;

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

/// Runs a reader; what it throws must be a sentence on one line.
template <typename Read>
void ReadOrRefuse(Read read) {
    try {
        read();
    } catch (const Reason& reason) {
        const std::string sentence = reason.what();
        Check(!sentence.empty() && std::ranges::none_of(sentence, [](char c) { return c >= 0 && c < ' '; }));
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    TextOptions options;
    if (data[0] & 1) options.firstColumnIsTime = (data[0] & 2) != 0;
    options.decimalComma = (data[0] & 4) != 0;
    ReadOrRefuse([&] {
        Progress progress("");
        Recording recording = ParseTextTable(text, options, progress);
        const std::size_t count = recording.channels.at(0).values.size();
        Check(count > 0 && (recording.times.empty() || recording.times.size() == count));
        for (const Recording::Channel& channel : recording.channels) {
            Check(channel.values.size() == count &&
                  std::ranges::all_of(channel.values, [](double v) { return std::isfinite(v); }));
        }
        Check(SettleAxis(recording, std::nullopt).rateHz > 0.0);
    });
    ReadOrRefuse([&] {
        const ProfileText profile = ParseProfileText(text);
        Check(profile.frequencies.size() >= 2 && std::ranges::is_sorted(profile.frequencies));
    });
    return 0;
}
