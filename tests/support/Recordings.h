// SPDX-License-Identifier: MIT
//
// Recordings in memory, for the tests of their readers.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Recording.h>

namespace kvx::test {

using OpenBytes = std::unique_ptr<RecordingReader> (*)(std::unique_ptr<ByteStream>);

inline std::unique_ptr<RecordingReader> Open(OpenBytes open, std::string_view bytes) {
    return open(std::make_unique<MemoryStream>(std::as_bytes(std::span(bytes))));
}

/// All columns of a run, read in small pieces, which must not show.
inline std::vector<std::vector<double>> ReadColumns(RecordingReader& reader, std::size_t run) {
    constexpr std::size_t kRoom = 3;
    const RecordingInfo::Run& info = reader.Info().runs.at(run);
    std::vector<std::vector<double>> columns(CountColumns(info)),
        room(columns.size(), std::vector<double>(kRoom));
    std::vector<double*> targets;
    for (std::vector<double>& column : room) targets.push_back(column.data());
    while (const std::size_t count = reader.Read(run, targets, kRoom)) {
        for (std::size_t c = 0; c < columns.size(); ++c)
            columns[c].insert(columns[c].end(), room[c].begin(),
                              room[c].begin() + static_cast<std::ptrdiff_t>(count));
    }
    return columns;
}

/// "title: s from 0 by 0.5: a [g] 1 2, b [?psi] 3 4; ..." of each run, then the remarks; or the sentence that
/// refuses the bytes. Parts of complex samples and listed places are columns without a name.
inline std::string Described(OpenBytes open, std::string_view bytes) try {
    const auto reader = Open(open, bytes);
    std::string text;
    EXPECT_THROW(reader->Read(reader->Info().runs.size(), {}, 1), Error);
    for (std::size_t r = 0; r < reader->Info().runs.size(); ++r) {
        const RecordingInfo::Run& run = reader->Info().runs[r];
        text +=
            ToUtf8(run.title) + ": " +
            (run.axis.unknownUnit.empty() ? UnitText(run.axis.unit) : "?" + ToUtf8(run.axis.unknownUnit)) +
            " ";
        text += run.axis.isListed
                    ? "listed"
                    : "from " + FormatNumber(run.axis.first) + " by " + FormatNumber(run.axis.delta);
        const auto columns = ReadColumns(*reader, r);
        std::vector<std::string> heads(run.axis.isListed ? 1 : 0);
        for (const RecordingInfo::Channel& channel : run.channels) {
            std::string unit = channel.unit ? UnitText(*channel.unit) : "";
            if (!channel.unknownUnit.empty()) unit = "?" + ToUtf8(channel.unknownUnit);
            heads.push_back(ToUtf8(channel.name) + " [" + unit + "]");
            if (channel.isComplex) heads.push_back("");
        }
        for (std::size_t c = 0; c < columns.size(); ++c) {
            text += (c == 0 ? ": " : ", ") + heads.at(c);
            for (const double value : columns[c]) text += " " + FormatNumber(value, 9);
        }
        text += "; ";
    }
    for (const std::string& remark : reader->Info().remarks) text += remark + "; ";
    return text.substr(0, text.size() - 2);
} catch (const Error& error) {
    return error.what();
}

/// Cuts a good file short at every byte: each piece is read, as many samples as it says it has, or refused
/// with a sentence; nothing else may happen.
inline void ExpectSenseOfEveryCut(OpenBytes open, std::string_view bytes) {
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        try {
            const auto reader = Open(open, bytes.substr(0, size));
            ASSERT_FALSE(reader->Info().runs.empty()) << "cut at " << size;
            for (std::size_t r = 0; r < reader->Info().runs.size(); ++r) {
                for (const std::vector<double>& column : ReadColumns(*reader, r))
                    ASSERT_EQ(std::ssize(column), reader->Info().runs[r].samples) << "cut at " << size;
            }
        } catch (const Error& error) {
            ASSERT_FALSE(error.Sentence().empty()) << "cut at " << size;
        }
    }
}

}  // namespace kvx::test
