// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/platform/kernels/KernelSets.h>

#include <gtest/gtest.h>

#include <algorithm>

namespace {

TEST(KernelSets, TheActiveOneIsOneThatTheMachineCanRun) {
    const auto sets = kvx::AvailableKernelSets();
    EXPECT_STREQ(kvx::NameOf(sets.front()), "baseline");
    EXPECT_NE(std::ranges::find(sets, kvx::ActiveKernelSet()), sets.end());
}

}  // namespace
