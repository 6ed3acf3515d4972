// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/KvxGraphLineSample.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>

namespace {

TEST(GraphLineSample, IsEqualOnlyInAllThirteenAttributes) {
    using Words = std::array<std::uint32_t, 13>;
    const CKvxGraphLineSample sample;
    EXPECT_EQ(sample, CKvxGraphLineSample());
    for (std::size_t i = 0; i < 13; ++i) {
        Words words = std::bit_cast<Words>(sample);
        words[i] ^= 2;
        EXPECT_NE(std::bit_cast<CKvxGraphLineSample>(words), sample) << i;
    }
}

}  // namespace
