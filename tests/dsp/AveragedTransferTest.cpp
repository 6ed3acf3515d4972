// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <tests/dsp/Signals.h>

#include <gtest/gtest.h>

namespace {

using kvx::AveragedTransfer;

TEST(AveragedTransfer, AveragesPowersOfSignalsOneAfterAnother) {
    CDataArrayDouble window(256, 0.0);
    CMatWIND::GeneHanning(&window);
    const CDataArrayDouble blow = ToArray(Noise(700));
    CDataArrayDouble threefold = blow, opposite = blow;
    threefold *= 3.0;
    opposite *= -3.0;

    AveragedTransfer transfer;
    CDataArrayDoubleCplx xfr;
    CDataArrayDouble coherence;
    ASSERT_EQ(transfer.Begin(window, 128), 1);
    for (const CDataArrayDouble* response : {&threefold, &opposite, &threefold, &threefold})
        EXPECT_EQ(transfer.Add(blow, *response), 4);
    EXPECT_EQ(transfer.GetNumBlocks(), 16);
    ASSERT_EQ(transfer.GetTransfer(&xfr), 1);
    ASSERT_EQ(transfer.GetCoherence(&coherence), 1);
    ASSERT_EQ(coherence.GetNum(), 128);
    for (__int64 k = 0; k < 128; ++k) {
        // (3 + 3 + 3 - 3)/4, whose square is a quarter of the 9 that the response has over the reference.
        EXPECT_NEAR(xfr.GetReal()[k], 1.5, 1e-13) << k;
        EXPECT_NEAR(xfr.GetImaginary()[k], 0.0, 1e-13) << k;
        EXPECT_NEAR(coherence[k], 0.25, 1e-13) << k;
    }
    ASSERT_EQ(transfer.Begin(window, 0), 1);
    EXPECT_EQ(transfer.Add(CDataArrayDouble(256, 0.0), CDataArrayDouble(256, 1.0)), 1);
    ASSERT_EQ(transfer.GetTransfer(&xfr), 1);
    ASSERT_EQ(transfer.GetCoherence(&coherence), 1);
    EXPECT_EQ(xfr.GetReal()[0], 0.0);
    EXPECT_EQ(coherence[0], 0.0);
}

TEST(AveragedTransfer, NeedsAWindowPairsOfSignalsAndAPlaceForTheResult) {
    AveragedTransfer transfer;
    CDataArrayDoubleCplx xfr;
    CDataArrayDouble coherence;
    const CDataArrayDouble signal(64, 1.0);
    EXPECT_EQ(transfer.Add(signal, signal), 0);
    EXPECT_EQ(transfer.GetTransfer(&xfr), 0);
    EXPECT_EQ(transfer.Begin(CDataArrayDouble(16, 1.0), 16), 0);
    EXPECT_EQ(transfer.Begin(CDataArrayDouble(16, 0.0), 0), 0);
    EXPECT_EQ(transfer.Add(signal, signal), 0);
    ASSERT_EQ(transfer.Begin(CDataArrayDouble(16, 1.0), 0), 1);
    EXPECT_EQ(transfer.Add(signal, CDataArrayDouble(63, 1.0)), 0);
    EXPECT_EQ(transfer.Add(nullptr, signal.GetData(), 64), 0);
    EXPECT_EQ(transfer.GetCoherence(&coherence), 0);
    ASSERT_EQ(transfer.Add(signal, signal), 4);
    EXPECT_EQ(transfer.GetTransfer(nullptr), 0);
    EXPECT_EQ(transfer.GetCoherence(nullptr), 0);
}

}  // namespace
