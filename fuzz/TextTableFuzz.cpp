// SPDX-License-Identifier: MIT
//
// Bytes as a text table and as a profile: each is read whole or refused with a sentence that is fit for one
// line.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/ProfileText.h>
#include <KvxRecording01/TextTable.h>

using namespace kvx;

namespace {

void Check(bool holds) {
    if (!holds) std::abort();
}

/// Runs a reader; what it throws must be a sentence on one line.
template <typename Read>
void ReadOrRefuse(Read read) {
    try {
        read();
    } catch (const Error& error) {
        const std::string sentence = error.what();
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
    const std::vector<std::string> encodings = EncodingNames();
    options.codePage = CodePageOf(encodings[(data[0] >> 3) % encodings.size()]);
    ReadOrRefuse([&] {
        const auto open = [&] { return std::make_unique<kvx::MemoryStream>(std::as_bytes(std::span(text))); };
        const std::unique_ptr<RecordingReader> reader = OpenTextTable(open, options);
        const RecordingInfo::Run& recording = reader->Info().runs.at(0);
        Check(recording.samples > 0 && !recording.channels.empty());
        std::vector<double> samples(CountColumns(recording));
        std::vector<double*> targets;
        for (double& sample : samples) targets.push_back(&sample);
        __int64 count = 0;
        for (; reader->Read(0, targets, 1) == 1; ++count) {
            Check(std::ranges::all_of(samples, [](double v) { return std::isfinite(v); }));
            Check(reader->ErrorAt(0, 0, ErrorKind::kDamaged, "").Place().line.has_value());
        }
        Check(count == recording.samples);
        Check(SettleAxis(recording.axis, std::nullopt, "rate").delta > 0.0);
    });
    ReadOrRefuse([&] {
        const PsdProfile profile = ParseProfileText(text).profile;
        Check(profile.Frequencies().size() >= 2 && std::ranges::is_sorted(profile.Frequencies()));
    });
    return 0;
}
