// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cli/Options.h"

using namespace kvx;
using namespace kvx::tool;

namespace {

TEST(ChannelChoice, TakesNumbersRangesAndNames) {
    const std::vector<std::wstring> names = {L"a", L"b", L"3-1", L"d"};
    EXPECT_THAT(ChooseChannels("", names), testing::ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(ChooseChannels("d,1-2", names), testing::ElementsAre(3, 0, 1));
    EXPECT_THAT(ChooseChannels("3-1", names), testing::ElementsAre(2));
    for (const char* wrong :
         {"0", "5", "2-1", "1-99999999999", "1-", "x", "1,", "-1", "1,1", "99999999999999999999"}) {
        EXPECT_THROW(ChooseChannels(wrong, names), Error) << wrong;
    }
}

}  // namespace
