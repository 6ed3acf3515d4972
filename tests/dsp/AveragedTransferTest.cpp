// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <tests/dsp/Signals.h>

namespace {

using kvx::AveragedTransfer;
using kvx::ErrorKind;

Wave Scaled(Wave wave, double factor) {
    for (double& x : wave) x *= factor;
    return wave;
}

TEST(AveragedTransfer, AveragesPowersOfSignalsOneAfterAnother) {
    const Wave blow = Noise(700);
    AveragedTransfer transfer(Hann(256), 128);
    for (const double factor : {3.0, -3.0, 3.0, 3.0}) {
        transfer.Add(blow, Scaled(blow, factor));
        transfer.NextSignal();
    }
    EXPECT_EQ(transfer.Blocks(), 16);
    // (3 + 3 + 3 - 3)/4, whose square is a quarter of the 9 that the response has over the reference.
    for (const auto& line : transfer.Transfer()) EXPECT_NEAR(std::abs(line - 1.5), 0.0, 1e-13);
    EXPECT_THAT(transfer.Coherence(), Near(Wave(128, 0.25), 1e-13));

    AveragedTransfer silent(Hann(256), 0);
    silent.Add(Wave(256, 0.0), Wave(256, 1.0));
    EXPECT_EQ(silent.Transfer(), std::vector<std::complex<double>>(128)) << "no reference, no transfer";
    EXPECT_EQ(silent.Coherence(), Wave(128, 0.0));
}

TEST(AveragedTransfer, HasTheSameBitsForEveryCut) {
    const Wave in = Noise(500, 1), out = Noise(500, 2);
    AveragedTransfer whole(Hann(64), 40), cut(Hann(64), 40);
    whole.Add(in, out);
    for (std::size_t done = 0, length = 1; done < 500; done += length, ++length) {
        length = std::min(length, 500 - done);
        cut.Add(std::span(in).subspan(done, length), std::span(out).subspan(done, length));
    }
    ASSERT_EQ(cut.Blocks(), 19);
    EXPECT_EQ(cut.Transfer(), whole.Transfer());
    EXPECT_EQ(cut.Coherence(), whole.Coherence());
}

TEST(AveragedTransfer, BecomesLinesWithTheirUnit) {
    AveragedTransfer transfer(Hann(64), 0);
    transfer.Add(Noise(64), Scaled(Noise(64), -2.0));
    const CUnitCtrl g = kvx::NamedUnit("g"), newton = kvx::NamedUnit("N"), both = kvx::NamedUnit("g/N");
    const kvx::LineSpectrum lines = kvx::TransferLines(transfer, 32.0, g, newton);
    EXPECT_EQ(kvx::UnitText(lines.unit), "g/N");
    EXPECT_EQ(lines.spacingHz, 0.5);
    EXPECT_EQ(lines.blocks, 1);
    EXPECT_THAT(lines.Levels(), Near(Wave(32, 2.0), 1e-12));
    EXPECT_EQ(kvx::CoherenceLines(transfer, 32.0).real, transfer.Coherence());
    EXPECT_EQ(FailureOf([&] { kvx::TransferUnitOf(g, both); }), ErrorKind::kUnsupported);
}

TEST(AveragedTransfer, NeedsAWindowAndPairsOfSignals) {
    EXPECT_EQ(FailureOf([] { AveragedTransfer(Wave(16, 1.0), 16); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([] { AveragedTransfer(Wave(16, 0.0), 0); }), ErrorKind::kBadValue);
    AveragedTransfer transfer(Wave(16, 1.0), 0);
    EXPECT_EQ(FailureOf([&] { transfer.Add(Wave(64), Wave(63)); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([&] { transfer.Transfer(); }), ErrorKind::kBadValue);
    EXPECT_EQ(FailureOf([&] { transfer.Coherence(); }), ErrorKind::kBadValue);
    transfer.Add(Wave(64, 1.0), Wave(64, 1.0));
    EXPECT_EQ(transfer.Blocks(), 4);
}

}  // namespace
