// SPDX-License-Identifier: MIT
//
// Readers over other readers: parts, merged and edited recordings, records in memory; and what is measured of
// them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalEdit.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalMerge.h>
#include <KvxRecording01/SignalPart.h>
#include <KvxRecording01/SignalRecords.h>
#include <KvxRecording01/SignalRuns.h>

#include "tests/support/TempFolder.h"

using namespace kvx;

namespace {

using Values = std::vector<double>;

/// A waveform of one channel at 2 Hz whose values are in `unit`.
CComDataBase Wave(const wchar_t* name, const char* unit, __int64 offset, const Values& values,
                  double delta = 0.5) {
    const CStringArray names = {name};
    CComDataWave wave(delta, 1, 1, std::ssize(values), offset, NamedUnit(unit), &names, nullptr);
    std::ranges::copy(values, Samples(wave, 0, 0).begin());
    for (double& value : Samples(wave, 0, 0))
        if (value != kNoValue<double>) value = NamedUnit(unit).ConvItoD(value, 1.0, 1);
    return wave;
}

/// Complex lines of one channel at places of their own: 1 + 10i, 2 + 20i ...
CComDataBase Lines(const Values& places) {
    CDataArrayDouble axis;
    EXPECT_TRUE(axis.SetData(std::ssize(places), places.data()));
    const CStringArray names = {L"h"};
    CComDataSpecG lines(1, 1, 1, NamedUnit("N"), axis, &names, nullptr);
    for (std::size_t i = 0; i < places.size(); ++i) {
        Samples(lines, 0, 0)[i] = static_cast<double>(i + 1);
        ImaginarySamples(lines, 0, 0)[i] = static_cast<double>(10 * (i + 1));
    }
    return lines;
}

std::unique_ptr<SignalReader> Open(std::vector<CComDataBase> records, bool isJoined = false) {
    return SignalOfRecords({CComHdr(CComHdr::EXT_INFO_VIB_DATA, L"text"), std::move(records)}, isJoined);
}

/// All that a reader holds, and its remarks: "1: 0.5 s: a [g] 1 2; 2: ..."; read `room` samples at a time.
std::string Shown(SignalReader& reader, std::size_t room = 2) {
    std::string text;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const SignalRun& run = reader.Runs()[r];
        std::vector<Values> columns(run.Columns());
        std::size_t total = 0;
        for (;;) {
            std::vector<Values> block(run.Columns(), Values(room));
            std::vector<double*> targets;
            for (Values& column : block) targets.push_back(column.data());
            const std::size_t count = reader.Read(r, targets, room);
            for (std::size_t c = 0; c < columns.size(); ++c)
                columns[c].insert(columns[c].end(), block[c].begin(),
                                  block[c].begin() + std::ptrdiff_t(count));
            total += count;
            if (count == 0) break;
        }
        EXPECT_EQ(static_cast<__int64>(total), run.samples);
        text += (r == 0 ? "" : "; ") + std::to_string(run.record) + ":";
        std::size_t column = 0;
        const auto add = [&](const std::string& head, const CUnitCtrl& unit) {
            text += " " + head;
            for (const double value : columns[column])
                text += value == kNoValue<double> ? " -" : " " + FormatNumber(unit.ConvDtoI(value, 1.0, 1));
            ++column;
        };
        if (run.isListed) {
            add("at", CUnitCtrl(DimensionOf(run.axisUnit)));
        } else {
            text += " from " + FormatNumber(static_cast<double>(run.offset) * run.delta);
        }
        for (const SignalRun::Channel& channel : run.channels) {
            add(std::to_string(channel.number) + " " + ToUtf8(channel.name) + " [" + UnitText(channel.unit) +
                    "]",
                channel.unit);
            if (channel.isComplex) add("i", channel.unit);
        }
    }
    for (const std::string& remark : reader.Remarks()) text += " | " + remark;
    return text;
}

template <typename Make>
std::string ShownOrRefused(Make make) try {
    return Shown(*make());
} catch (const Error& error) {
    return error.what();
}

TEST(Parts, BeginAtTheirStartAndStopBeforeTheirEnd) {
    const auto part = [](AxisPart choice) {
        return ShownOrRefused([&] {
            return OpenPart(
                [] {
                    return Open({Wave(L"a", "N", 2, {1, 2, 3, 4}), Lines({5, 1, 3, 8, 2})});
                },
                choice);
        });
    };
    EXPECT_EQ(part({}), "1: from 1 1 a [N] 1 2 3 4; 2: at 5 1 3 8 2 2 h [N] 1 2 3 4 5 i 10 20 30 40 50");
    EXPECT_EQ(part({1.5, 2.5}), "1: from 1.5 1 a [N] 2 3; 2: at 2 2 h [N] 5 i 50");
    EXPECT_EQ(part({1.4999999999}), "1: from 1.5 1 a [N] 2 3 4; 2: at 5 3 8 2 2 h [N] 1 3 4 5 i 10 30 40 50");
    EXPECT_EQ(part({{}, 2}), "1: from 1 1 a [N] 1 2; 2: at 1 2 h [N] 2 i 20");
    EXPECT_EQ(part({3}),
              "2: at 5 3 8 2 h [N] 1 3 4 i 10 30 40 | record 1 has no sample from 3 s on; it reaches "
              "from 1 s to 2.5 s");
    EXPECT_EQ(part({9, 10}), "record 2 has no sample from 9 Hz to 10 Hz; it reaches from 1 Hz to 8 Hz");
    EXPECT_EQ(part({2, 2}), "end 2 is not above start 2");
    // Pieces that follow one another make the whole again.
    std::size_t samples = 0;
    for (int i = 0; i < 100; ++i) {
        const auto open = [] { return Open({Wave(L"a", "N", 0, Values(1000), 1e-3)}); };
        const auto piece = OpenPart(open, {i * 0.01, (i + 1) * 0.01});
        EXPECT_EQ(piece->Runs()[0].offset, 10 * i);
        samples += static_cast<std::size_t>(piece->Runs()[0].samples);
    }
    EXPECT_EQ(samples, 1000U);
}

TEST(Parts, MayBeSomeChannels) {
    const auto open = [] {
        std::vector<MergeInput> inputs;
        inputs.push_back({Open({Wave(L"a", "N", 2, {1, 2, 3, 4})}), "one"});
        inputs.push_back({Open({Wave(L"b", "N", 2, {5, 6, 7, 8})}), "other"});
        return MergeChannels(std::move(inputs));
    };
    const auto picked = [&](const char* channels) {
        return ShownOrRefused([&] { return PickChannels(open(), channels); });
    };
    EXPECT_EQ(picked(""), Shown(*open()));
    EXPECT_EQ(picked("b,a"), "1: from 1 2 b [N] 5 6 7 8 1 a [N] 1 2 3 4");
    EXPECT_EQ(picked("2"), "1: from 1 2 b [N] 5 6 7 8");
    EXPECT_EQ(picked("c"), "there is no channel 'c' among its 2 channels: 'a', 'b'");
    EXPECT_EQ(ShownOrRefused([] { return PickChannels(nullptr, "a"); }), "there is no recording");
    // Of a run that has none nothing is left; the others are read and skipped as ever.
    const auto lines = PickChannels(Open({Wave(L"a", "N", 2, {1, 2}), Lines({5, 1, 3})}), "h");
    lines->Skip(0, 2);
    Values place(3), real(3), imaginary(3);
    EXPECT_EQ(lines->Read(0, std::vector<double*>{place.data(), real.data(), imaginary.data()}, 3), 1U);
    EXPECT_EQ((Values{place[0], real[0], imaginary[0]}), (Values{3, 3, 30}));
}

TEST(Parts, AreSkippedToInEveryFormat) {
    const TempFolder folder;
    Values values(5000);
    for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i);
    for (const FormatRow& row : Formats()) {
        if (row.create == nullptr) continue;
        const std::string path = (folder / ("x" + std::string(row.ends[0]))).string();
        const auto whole = Open({Wave(L"a", "N", 0, values)});
        // Sound has to be scaled, and an array to be told its rate.
        RecordingStatements stated;
        if (IsSound(row.format)) stated.fullScale = 8192.0;
        if (row.format == Format::npy) stated.rateHz = 2.0;
        const SignalFileOptions options = {.wav = {WavSamples::pcm24, 8192.0}};
        const auto writer = CreateSignalFile(path, row.format, whole->Runs(), options);
        ReadRuns(*whole, [&](std::size_t r, std::span<double* const> columns, std::size_t count) {
            writer->Write(r, columns, count);
        });
        writer->Commit();
        const auto part = OpenPart([&] { return OpenSignal(path, {}, stated); }, {2000, 2001.5});
        part->Skip(0, 1);
        double got[3] = {};
        double* const target = got;
        EXPECT_EQ(part->Read(0, {&target, 1}, 3), 2U) << path;
        EXPECT_EQ(got[0], 4001.0) << path;
        EXPECT_EQ(got[1], 4002.0) << path;
    }
}

TEST(Merging, PutsChannelsSideBySide) {
    const auto merge = [](std::vector<CComDataBase> first, std::vector<CComDataBase> second) {
        return ShownOrRefused([&] {
            std::vector<MergeInput> inputs;
            inputs.push_back({Open(std::move(first)), "'x'"});
            inputs.push_back({Open(std::move(second)), "'y'"});
            return MergeChannels(std::move(inputs));
        });
    };
    const CComDataBase a = Wave(L"a", "N", 2, {1, 2, 3});
    EXPECT_EQ(merge({a}, {Wave(L"b", "g", 2, {4, 5, 6})}), "1: from 1 1 a [N] 1 2 3 2 b [g] 4 5 6");
    EXPECT_EQ(merge({Lines({1, 2, 4})}, {Lines({1, 2, 4})}),
              "1: at 1 2 4 1 h [N] 1 2 3 i 10 20 30 2 h [N] 1 2 3 i 10 20 30");
    EXPECT_EQ(merge({Lines({1, 2, 4})}, {Lines({1, 2, 5})}), "'y' has a sample at 5 Hz, 'x' one at 4 Hz");
    EXPECT_EQ(merge({a}, {Wave(L"b", "g", 2, {4, 5})}), "'y' has 2 samples, 'x' 3 samples");
    EXPECT_EQ(merge({a}, {Wave(L"b", "g", 0, {4, 5, 6})}), "'y' has its first sample at 0 s, 'x' one at 1 s");
    EXPECT_EQ(merge({a}, {Wave(L"b", "g", 2, {4, 5, 6}, 0.25)}),
              "'y' has a rate of 4 Hz, 'x' a rate of 2 Hz");
    EXPECT_EQ(merge({a}, {Lines({1, 2, 3})}), "'y' has values over frequency, 'x' values over time");
    EXPECT_EQ(merge({a}, {a, Lines({1})}),
              "'y' has 2 records with axes of their own; choose one with record");
}

TEST(Merging, PutsRecordingsOneAfterTheOther) {
    const auto join = [](std::vector<CComDataBase> second) {
        return ShownOrRefused([&] {
            std::vector<MergeInput> inputs;
            inputs.push_back({Open({Wave(L"a", "g", 2, {1, 2, 3})}), "'x'"});
            inputs.push_back({Open(std::move(second)), "'y'"});
            inputs.push_back({Open({Wave(L"a", "g", 7, {8})}), "'z'"});
            return JoinInTime(std::move(inputs));
        });
    };
    EXPECT_EQ(join({Wave(L"a", "g", 0, {4, 5})}), "1: from 1 1 a [g] 1 2 3 4 5 8");
    EXPECT_EQ(
        join({Wave(L"b", "m/s2", 20, {9.80665, 0})}),
        "1: from 1 1 a [g] 1 2 3 1 0 8 | 'y' calls channel 1 'b', 'x' 'a' | 'y' begins at 10 s; it is set to "
        "2.5 s, where the one before it ends");
    EXPECT_EQ(join({Wave(L"a", "N", 0, {4})}), "'y' has channel 1 in 'N', 'x' it in 'g'");
    EXPECT_EQ(join({Wave(L"a", "g", 0, {4}, 1.0)}), "'y' has a rate of 1 Hz, 'x' a rate of 2 Hz");
    EXPECT_EQ(join({Lines({1})}), "'y' has values over frequency, 'x' values over time");
    EXPECT_EQ(join({Wave(L"a", "g", 0, {4}), Wave(L"b", "g", 0, {4})}), "'y' has 2 records, 'x' 1 record");
    std::vector<MergeInput> inputs;
    for (const double value : {1.0, 3.0, 5.0})
        inputs.push_back({Open({Wave(L"a", "N", 0, {value, value + 1})}), ""});
    EXPECT_EQ(ShownOrRefused([] {
                  std::vector<MergeInput> same;
                  for (const char* const name : {"'x'", "'y'"}) same.push_back({Open({Lines({1, 2})}), name});
                  return JoinInTime(std::move(same));
              }),
              "'y' begins in front of where the one before it ends");
    const auto joined = JoinInTime(std::move(inputs));
    joined->Skip(0, 3);
    double got[4] = {};
    double* const target = got;
    EXPECT_EQ(joined->Read(0, {&target, 1}, 4), 1U);
    EXPECT_EQ(got[0], 4.0);
}

TEST(Edits, ChangeNamesUnitsTextAndLevels) {
    const auto edit = [](const ChannelEdit& first, const ChannelEdit& second = {}) {
        return ShownOrRefused([&] {
            return EditSignal(Open({Wave(L"a", "g", 0, {1, kNoValue<double>, -3}), Lines({1, 2})}),
                              {.channels = {first, second}, .text = {}});
        });
    };
    const std::string lines = "; 2: at 1 2 2 h [N] 1 2 i 10 20";
    EXPECT_EQ(edit({}), "1: from 0 1 a [g] 1 - -3" + lines);
    EXPECT_EQ(edit({.name = L"top", .unit = NamedUnit("N")}), "1: from 0 1 top [N] 1 - -3" + lines);
    EXPECT_EQ(edit({.shownIn = NamedUnit("m/s2")}), "1: from 0 1 a [m/s2] 9.80665 - -29.42" + lines);
    EXPECT_EQ(edit({.scale = -2, .offset = 0.5}), "1: from 0 1 a [g] -1.5 - 6.5" + lines);
    EXPECT_EQ(edit({.unit = NamedUnit("degC"), .scale = 10, .offset = 1, .shownIn = NamedUnit("degF")}),
              "1: from 0 1 a [" + UnitText(NamedUnit("degF")) + "] 51.8 - -20.2" + lines);
    EXPECT_EQ(edit({}, {.unit = NamedUnit("kN"), .scale = 3, .shownIn = NamedUnit("N")}),
              "1: from 0 1 a [g] 1 - -3; 2: at 1 2 2 h [N] 3000 6000 i 30000 60000");
    EXPECT_EQ(edit({}, {.offset = 1}), "channel 'h' is complex, which no offset is added to");
    EXPECT_EQ(edit({.shownIn = NamedUnit("N")}), "channel 'a' is in 'g', which does not convert to 'N'");
    EXPECT_EQ(edit({.scale = 1e308}, {}), "the changed levels of channel 'a' leave the range of numbers");
    EXPECT_EQ(ShownOrRefused([] {
                  return EditSignal(Open({Lines({1})}), {.channels = {{}, {}}, .text = {}});
              }),
              "2 changes for 1 channel");
    EXPECT_EQ(EditSignal(Open({Lines({1})}), {.channels = {}, .text = L"other"})->Text(), L"other");
}

TEST(RecordsInMemory, AreASignalAndBecomeRecordsAgain) {
    const std::vector<CComDataBase> records = {Wave(L"a", "g", 2, {1, kNoValue<double>, 3}),
                                               Wave(L"b", "N", 2, {4, 5, 6}), Lines({1, 3, 2})};
    const auto reader = Open(records);
    const DataFileContent content = RecordsOfSignal(*reader);
    EXPECT_EQ(content.header.GetName(), L"text");
    ASSERT_EQ(content.records.size(), 3U);
    EXPECT_EQ(Shown(*SignalOfRecords(content)), Shown(*Open(records)));
    EXPECT_EQ(Shown(*Open({records[0], records[1]}, true)), "1: from 1 1 a [g] 1 - 3 2 b [N] 4 5 6");
    EXPECT_EQ(Shown(*Open({records[2], records[2]}, true), 1),
              "1: at 1 3 2 1 h [N] 1 2 3 i 10 20 30 2 h [N] 1 2 3 i 10 20 30");
    EXPECT_EQ(ShownOrRefused([&] { return Open(records, true); }),
              "records 1 and 3 differ in their axis; choose one with record");
}

TEST(Figures, AreThoseOfEveryChannelInItsUnit) {
    const auto reader = Open({Wave(L"a", "g", 2, {1, kNoValue<double>, -3}), Lines({5, 1})});
    const std::vector<RunFigures> figures = MeasureSignal(*reader);
    ASSERT_EQ(figures.size(), 2U);
    EXPECT_EQ(figures[0].first, 1.0);
    EXPECT_EQ(figures[0].last, 2.0);
    EXPECT_EQ(figures[0].channels[0].missing, 1);
    EXPECT_DOUBLE_EQ(figures[0].channels[0].mean, -1.0);
    EXPECT_DOUBLE_EQ(figures[0].channels[0].peak, 3.0);
    EXPECT_EQ(figures[1].first, 5.0);
    EXPECT_EQ(figures[1].last, 1.0);
    EXPECT_DOUBLE_EQ(figures[1].channels[0].max, std::hypot(2.0, 20.0));
}

}  // namespace
