// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Parallel.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <numeric>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using kvx::ForEachInParallel;

TEST(ForEachInParallel, DoesEveryPieceOnceOnAnyNumberOfThreads) {
    for (const std::size_t threads : {0U, 1U, 2U, 3U, 7U}) {
        for (const std::size_t count : {0U, 1U, 2U, 1000U}) {
            std::vector<int> calls(count, 0);
            ForEachInParallel(
                count, [&](std::size_t i) { ++calls[i]; }, threads);
            EXPECT_EQ(calls, std::vector<int>(count, 1)) << threads;
        }
    }
    EXPECT_GE(kvx::WorkingThreads(), 1U);
}

TEST(ForEachInParallel, WorksOnSeveralThreadsAndOnNoMoreThanAsked) {
    std::atomic<int> working = 0, most = 0;
    const auto meet = [&](int wanted) {
        return [&, wanted](std::size_t) {
            const int now = ++working;
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) continue;
            for (int i = 0; i < 2000 && most < wanted; ++i)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            --working;
        };
    };
    ForEachInParallel(3, meet(3), 3);
    EXPECT_EQ(most, 3);
    most = 0;
    ForEachInParallel(50, meet(2), 2);
    EXPECT_EQ(most, 2);
}

TEST(ForEachInParallel, PassesOnTheFailureOfTheLowestPiece) {
    for (const std::size_t threads : {1U, 2U, 5U}) {
        for (int round = 0; round < 50; ++round) {
            std::atomic<int> ended = 0;
            try {
                ForEachInParallel(
                    1000,
                    [&](std::size_t i) {
                        if (i >= 20 && i % 3 == 0) throw std::runtime_error(std::to_string(i));
                        ++ended;
                    },
                    threads);
                FAIL() << "nothing was thrown";
            } catch (const std::runtime_error& error) {
                EXPECT_STREQ(error.what(), "21");
            }
            EXPECT_GE(ended, 21);
            EXPECT_LT(ended, 1000 - 327);
        }
    }
}

TEST(ForEachInParallel, MayBeCalledFromItsOwnPiecesAndFromManyThreads) {
    std::vector<std::vector<std::size_t>> sums(4, std::vector<std::size_t>(8));
    const auto sumUp = [&](std::size_t caller) {
        ForEachInParallel(
            8,
            [&](std::size_t i) {
                std::vector<std::size_t> terms(100);
                ForEachInParallel(
                    terms.size(), [&](std::size_t k) { terms[k] = i * k; }, 3);
                sums[caller][i] = std::accumulate(terms.begin(), terms.end(), std::size_t{0});
            },
            3);
    };
    std::vector<std::thread> callers;
    for (std::size_t c = 0; c < sums.size(); ++c) callers.emplace_back(sumUp, c);
    for (std::thread& caller : callers) caller.join();
    for (const auto& row : sums) {
        for (std::size_t i = 0; i < row.size(); ++i) EXPECT_EQ(row[i], i * 4950);
    }
}

}  // namespace
