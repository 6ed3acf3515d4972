// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "tests/files/FileSupport.h"

namespace {

using kvx::ChannelChoice;
using kvx::DataFileContent;
using kvx::ErrorKind;

/// A response of two channels and its coherence, whose rows share their names, then a matrix of two by two.
DataFileContent Responses() {
    const CStringArray rows = {L"top", L"base"};
    const CStringArray columns = {L"x", L"3"};
    const CUnitCtrl unit(CUnitCtrl::DIM_ACCELERATION);
    return {CComHdr(),
            {CComDataSpecF(0.5, 2, 1, 3, 0, unit, &rows, nullptr),
             CComDataSpecA(0.5, 2, 1, 3, 0, CUnitCtrl(), &rows, nullptr),
             CComDataWave(0.5, 2, 2, 3, 0, unit, &rows, &columns)}};
}

/// The same without its samples.
std::vector<kvx::RecordOutline> OutlinesOf(const DataFileContent& content) {
    kvx::MemoryStream stream;
    DataFileContent stored = content;
    stored.header = CComHdr(CComHdr::EXT_INFO_VIB_DATA, L"");
    kvx::StoreDataFile(stream, stored);
    return kvx::DataFileReader(stream).Records();
}

/// "4 base 5 top/x": the numbers and names of the chosen channels, or what was wrong.
std::string Chosen(const ChannelChoice& choice) {
    std::string text;
    const DataFileContent content = Responses();
    const std::string wrong = WhatOf([&] {
        for (const kvx::Channel& channel : kvx::SelectChannels(content, choice))
            text +=
                (text.empty() ? "" : " ") + std::to_string(channel.number) + " " + kvx::ToUtf8(channel.name);
    });
    const auto outlines = OutlinesOf(content);
    EXPECT_EQ(WhatOf([&] {
                  EXPECT_EQ(kvx::NamesOf(kvx::SelectChannels(outlines, choice)),
                            kvx::NamesOf(kvx::SelectChannels(content, choice)));
              }),
              wrong);
    return wrong.empty() ? text : wrong;
}

TEST(Channels, AreTheCellsOfAllRecordsUnderOneNumbering) {
    const std::vector<kvx::Channel> channels = kvx::ListChannels(Responses());
    ASSERT_EQ(channels.size(), 8U);
    EXPECT_EQ(kvx::NamesOf(channels),
              (CStringArray{L"top", L"base", L"top", L"base", L"top/x", L"top/3", L"base/x", L"base/3"}));
    EXPECT_EQ(channels[6].number, 7U);
    EXPECT_EQ(channels[6].record, 2U);
    EXPECT_EQ(channels[6].row, 1);
    EXPECT_EQ(channels[6].column, 0);
    EXPECT_EQ(kvx::NamesOf(kvx::ListChannels(OutlinesOf(Responses()))), kvx::NamesOf(channels));
}

TEST(Channels, AreChosenByNameNumberAndRange) {
    const std::vector<std::wstring> names = {L"a", L"b", L"3-1", L"d"};
    using Positions = std::vector<std::size_t>;
    EXPECT_EQ(kvx::ChooseChannels("", names), (Positions{0, 1, 2, 3}));
    EXPECT_EQ(kvx::ChooseChannels("d,1-2", names), (Positions{3, 0, 1}));
    EXPECT_EQ(kvx::ChooseChannels("3-1", names), Positions{2});  // a name first
    EXPECT_EQ(kvx::ChooseChannels("2-", names), (Positions{1, 2, 3}));
    EXPECT_EQ(kvx::ChooseChannels(" d , 1", names), (Positions{3, 0}));
    for (const char* none :
         {"0", "5", "1-99999999999", "5-", "x", "1,", "-1", "99999999999999999999", "x*"}) {
        const auto error = ErrorOf([&] { kvx::ChooseChannels(none, names); });
        ASSERT_TRUE(error) << none;
        EXPECT_EQ(error->Kind(), ErrorKind::kUnknownName) << none;
    }
    const std::pair<const char*, const char*> wrong[] = {
        {"2,x1,1", "there is no channel 'x1' among its 4 channels: 'a', 'b', '3-1', 'd'"},
        {"2-5", "there is no channel '2-5' among its 4 channels"},
        {"2-1", "the range of channels '2-1' runs backwards"},
        {"2,1-2", "channel 2 is chosen twice"},
    };
    for (const auto& [choice, sentence] : wrong)
        EXPECT_EQ(WhatOf([&, list = choice] { kvx::ChooseChannels(list, names); }), sentence);
}

TEST(Channels, AreChosenByPatternsOfTheirNames) {
    const std::vector<std::wstring> names = {L"acc1", L"acc12", L"force", L"acc*", L"", L"1", L"force"};
    using Positions = std::vector<std::size_t>;
    const std::pair<const char*, Positions> cases[] = {
        {"acc*", {3}},  // a name first
        {"acc**", {0, 1, 3}},
        {"a*2", {1}},
        {"acc?", {0, 3}},
        {"*c*1*", {0, 1}},
        {"2,*", {1, 0, 2, 3, 4, 5, 6}},
        {"1", {5}},
        {"for*", {2, 6}},
    };
    for (const auto& [choice, expected] : cases) EXPECT_EQ(kvx::ChooseChannels(choice, names), expected);
    const std::pair<const char*, const char*> wrong[] = {
        {"acx1*",
         "there is no channel 'acx1*' among its 7 channels (did you mean 'acc1' or 'acc*' or 'acc12'?)"},
        {"force", "the channels 3 and 7 are all called 'force'; choose by number"},
        {"a*,acc1", "channel 1 is chosen twice"},
    };
    for (const auto& [choice, sentence] : wrong)
        EXPECT_EQ(WhatOf([&, list = choice] { kvx::ChooseChannels(list, names); }), sentence);
}

TEST(Channels, OfARecordAreLookedForThereFirst) {
    const std::pair<ChannelChoice, std::string> cases[] = {
        {{"base", 0}, "the channels 2 and 4 are all called 'base'; choose by number"},
        {{"base", 2}, "4 base"},
        {{"*e", 2}, "4 base"},
        {{"3-", 2}, "3 top 4 base"},
        {{"", 2}, "3 top 4 base"},
        {{"7,base/3,1", 0}, "1 top 7 base/x 8 base/3"},
        {{"2", 2}, "channel 2 is in record 1, not in record 2"},
        {{"top/x", 1}, "channel 5 is in record 3, not in record 1"},
        {{"", 4}, "it has no record 4, only 3 records"},
    };
    for (const auto& [choice, expected] : cases) EXPECT_EQ(Chosen(choice), expected);
}

TEST(Channels, NeedAnAxisWhereTheirRecordIsEvenlySpaced) {
    constexpr double kMax = std::numeric_limits<double>::max();
    EXPECT_TRUE(kvx::IsEvenAxis(1e-300, -3, 10));
    for (const double delta : {0.0, -1.0, kMax, 1e-310, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_FALSE(kvx::IsEvenAxis(delta, 2, 10)) << delta;
    DataFileContent content = Responses();
    content.records[1].SetDelta(-0.5);
    EXPECT_EQ(kvx::SelectChannels(content, {"1", 0}).size(), 1U);
    const std::string reason = "record 2 has a spacing of -0.5, which makes no axis";
    EXPECT_EQ(WhatOf([&] { kvx::SelectChannels(content, {"1,3", 0}); }), reason);
    EXPECT_EQ(WhatOf([&] { kvx::SelectChannels(OutlinesOf(content), {"", 2}); }), reason);
    const CDataArrayDouble axis(3, nullptr);
    content.records[1] = CComDataSpecG(1, 1, 0, CUnitCtrl(), axis, nullptr, nullptr);
    EXPECT_EQ(WhatOf([&] { kvx::RequireAxis(content.records[1], 1); }), "");
}

TEST(Channels, AreWaveformsOfRealSamplesInEvenTime) {
    DataFileContent content = Responses();
    content.records.push_back(content.records[2]);
    content.records[3].SetDelta(0.0);
    const auto outlines = OutlinesOf(content);
    for (std::size_t r = 0; r < outlines.size(); ++r) {
        EXPECT_EQ(kvx::IsWaveform(content.records[r]), r == 2) << r;
        EXPECT_EQ(kvx::IsWaveform(outlines[r]), r == 2) << r;
        const std::string name = "record " + std::to_string(r + 1);
        const std::string reason = r == 2   ? ""
                                   : r == 3 ? name + " has a spacing of 0, which makes no axis"
                                            : name + " is not a time waveform";
        EXPECT_EQ(WhatOf([&] { kvx::RequireWaveform(content.records[r], r); }), reason);
        EXPECT_EQ(WhatOf([&] { kvx::RequireWaveform(outlines[r], r); }), reason);
    }
}

TEST(Channels, SayWhichSampleHoldsNoValue) {
    std::vector<double> samples = {1.0, -2.0, 3.0};
    EXPECT_EQ(WhatOf([&] { kvx::RequireValues(samples, L"top"); }), "");
    for (const double none : {kvx::kNoValue<double>, std::numeric_limits<double>::infinity(),
                              std::numeric_limits<double>::quiet_NaN()}) {
        samples[1] = none;
        EXPECT_EQ(WhatOf([&] { kvx::RequireValues(samples, L"top", 10); }),
                  "sample 12 of channel 'top' holds no value");
    }
}

}  // namespace
