// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/SignalRuns.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

/// Two channels that count from 0 and from 1000, at most 7 samples at a time.
class Counting : public kvx::SignalReader {
public:
    explicit Counting(__int64 samples) {
        const CUnitCtrl g = kvx::NamedUnit("g"), newton = kvx::NamedUnit("N");
        runs_ = {{3, 0.5, 0, samples, {{L"a", g, 1}, {L"b", newton, 2}, {L"c", g, 3}}}};
    }
    std::size_t Read(std::size_t, std::span<double* const> targets, std::size_t room) override {
        const std::size_t left = static_cast<std::size_t>(runs_[0].samples) - done_;
        const std::size_t count = std::min({room, left, std::size_t{7}});
        for (std::size_t c = 0; c < targets.size(); ++c) {
            for (std::size_t i = 0; i < count; ++i)
                targets[c][i] = 1000.0 * static_cast<double>(c) + static_cast<double>(done_ + i);
        }
        done_ += count;
        return count;
    }

private:
    std::size_t done_ = 0;
};

TEST(SignalRuns, AreReadToTheirEndOrAsFarAsWished) {
    Counting reader(100);
    std::vector<double> seen;
    const auto take = [&](std::span<double* const> channels, std::size_t count) {
        EXPECT_EQ(channels[2][0], channels[0][0] + 2000.0);
        seen.insert(seen.end(), channels[0], channels[0] + count);
    };
    EXPECT_EQ(kvx::RateOf(reader.Runs()[0]), 2.0);
    reader.Skip(0, 10);
    kvx::ReadRun(reader, 0, take, {}, 9);
    EXPECT_EQ(seen, (std::vector<double>{10, 11, 12, 13, 14, 15, 16, 17, 18}));
    std::uint64_t told = 0;
    kvx::ReadRun(reader, 0, take, [&](std::uint64_t done, std::uint64_t) { told = done; });
    EXPECT_EQ(seen.size(), 90U);
    EXPECT_EQ(seen.back(), 99.0);
    EXPECT_EQ(told, 81U);
    reader.Skip(0, 5);  // there is nothing left
}

TEST(SignalRuns, MakeARecordPerUnit) {
    const std::vector<kvx::RunRecord> records = kvx::RecordsOf(Counting(1).Runs());
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].number, 3U);
    EXPECT_EQ(records[0].channels, (std::vector<std::size_t>{0, 2}));
    EXPECT_EQ(records[1].number, 4U);
    EXPECT_EQ(kvx::UnitText(records[1].unit), "N");
}

}  // namespace
