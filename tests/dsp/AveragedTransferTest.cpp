// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::AveragedTransfer;

TEST(AveragedTransfer, AveragesPowersOfSignalsOneAfterAnother) {
    const CDataArrayDouble blow = ToArray(Noise(700));
    CDataArrayDouble threefold = blow, opposite = blow, coherence;
    threefold *= 3.0;
    opposite *= -3.0;
    AveragedTransfer transfer;
    CDataArrayDoubleCplx xfr;
    ASSERT_EQ(transfer.Begin(Hann(256), 128), 1);
    for (const CDataArrayDouble* response : {&threefold, &opposite, &threefold, &threefold})
        EXPECT_EQ(transfer.Add(blow, *response), 4);
    EXPECT_EQ(transfer.GetNumBlocks(), 16);
    ASSERT_EQ(transfer.GetTransfer(&xfr) + transfer.GetCoherence(&coherence), 2);
    // (3 + 3 + 3 - 3)/4, whose square is a quarter of the 9 that the response has over the reference.
    EXPECT_THAT(PartsOf(xfr).first, Near(Wave(128, 1.5), 1e-13));
    EXPECT_THAT(PartsOf(xfr).second, Near(Wave(128, 0.0), 1e-13));
    EXPECT_THAT(ToWave(coherence), Near(Wave(128, 0.25), 1e-13));

    ASSERT_EQ(transfer.Begin(Hann(256), 0), 1);
    EXPECT_EQ(transfer.Add(CDataArrayDouble(256, 0.0), CDataArrayDouble(256, 1.0)), 1);
    ASSERT_EQ(transfer.GetTransfer(&xfr) + transfer.GetCoherence(&coherence), 2);
    EXPECT_TRUE(xfr.IsAllZero() && coherence.IsAllZero()) << "no reference, no transfer";
}

TEST(AveragedTransfer, NeedsAWindowPairsOfSignalsAndAPlaceForTheResult) {
    AveragedTransfer transfer;
    CDataArrayDoubleCplx xfr;
    CDataArrayDouble coherence;
    const CDataArrayDouble signal(64, 1.0), window(16, 1.0), silent(16, 0.0);
    EXPECT_TRUE(AllFail(transfer.Add(signal, signal), transfer.GetTransfer(&xfr), transfer.Begin(window, 16),
                        transfer.Begin(silent, 0), transfer.Add(signal, signal)));
    ASSERT_EQ(transfer.Begin(window, 0), 1);
    EXPECT_TRUE(
        AllFail(transfer.Add(signal, window), transfer.Add({}, {}), transfer.GetCoherence(&coherence)));
    ASSERT_EQ(transfer.Add(signal, signal), 4);
    EXPECT_TRUE(AllFail(transfer.GetTransfer(nullptr), transfer.GetCoherence(nullptr)));
}

}  // namespace
