// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Program.h>
#include <gtest/gtest.h>

#include "tests/support/TempFolder.h"

namespace {

TEST(Program, AProgramThatDeclaresNoVersionHasNone) {
    EXPECT_EQ(kvx::RunningProgramVersion(), nullptr);
}

TEST(Program, ItsPathIsTheMainExecutable) {
    const auto path = kvx::ProgramPath();
    ASSERT_TRUE(path);
    EXPECT_EQ(std::filesystem::path(*path).filename(), "test_platform");
}

TEST(Program, TheComputerNameIsRefusedWhenItExceedsTheLimit) {
    const auto name = kvx::ComputerName(1000);
    ASSERT_TRUE(name);
    ASSERT_FALSE(name->empty());
    EXPECT_EQ(kvx::ComputerName(name->size()), name);
    EXPECT_EQ(kvx::ComputerName(name->size() - 1), std::nullopt);
}

}  // namespace
