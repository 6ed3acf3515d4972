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

#include <KvxDevCommon01/data/NoValue.h>
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
    constexpr std::size_t kStatements = 3;
    if (size < kStatements) return 0;
    const std::string text(reinterpret_cast<const char*>(data) + kStatements, size - kStatements);
    const auto isStated = [&](std::size_t byte, int bit) { return (data[byte] >> bit & 1) != 0; };
    TextOptions options;
    if (isStated(0, 0)) options.firstColumnIsTime = isStated(0, 1);
    options.decimalComma = isStated(0, 2);
    const std::vector<std::string> encodings = EncodingNames();
    options.codePage = CodePageOf(encodings[(data[0] >> 3) % encodings.size()]);
    if (isStated(1, 0)) options.axisColumn = isStated(1, 1) ? L"2" : L"a";
    if (isStated(1, 2)) options.axis = isStated(1, 3) ? CUnitCtrl::DIM_FREQUENCY : CUnitCtrl::DIM_TIME;
    if (isStated(1, 4)) options.spacing = 0.5;
    options.keepsUneven = isStated(1, 5);
    if (isStated(1, 6)) options.missing = std::vector<std::string>{"NA", "-999", "nan"};
    if (isStated(1, 7)) options.comments = "%!";
    if (isStated(2, 0)) options.separator = ";,| \t:&x"[data[2] >> 5];
    options.skippedLines = data[2] >> 1 & 3;
    ReadOrRefuse([&] {
        const auto open = [&] { return std::make_unique<kvx::MemoryStream>(std::as_bytes(std::span(text))); };
        const std::unique_ptr<RecordingReader> reader = OpenTextTable(open, options);
        for (std::size_t run = 0; run < reader->Info().runs.size(); ++run) {
            const RecordingInfo::Run& recording = reader->Info().runs[run];
            Check(recording.samples > 0 && !recording.channels.empty());
            std::vector<double> samples(CountColumns(recording));
            std::vector<double*> targets;
            for (double& sample : samples) targets.push_back(&sample);
            __int64 count = 0;
            for (; reader->Read(run, targets, 1) == 1; ++count) {
                Check(std::ranges::all_of(samples, [&](double v) {
                    return std::isfinite(v) && (options.missing || v != kNoValue<double>);
                }));
                Check(reader->ErrorAt(0, 0, ErrorKind::kDamaged, "").Place().line.has_value());
            }
            Check(count == recording.samples);
        }
        for (const RecordingInfo::Run& recording : reader->Info().runs)
            if (!recording.axis.isListed) Check(SettleAxis(recording.axis, std::nullopt, "rate").delta > 0.0);
    });
    ReadOrRefuse([&] {
        const PsdProfile profile = ParseProfileText(text).profile;
        Check(profile.Frequencies().size() >= 2 && std::ranges::is_sorted(profile.Frequencies()));
    });
    return 0;
}
