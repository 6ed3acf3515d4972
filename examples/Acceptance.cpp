// SPDX-License-Identifier: MIT
//
// From a recording to a verdict and a picture: the density of a random test is compared with its profile, and
// drawn with it as acceptance.png. A line may stray from the profile by 3 dB; the rms by 5 %.
//
// It prints:
//
//     239 blocks, lines 2 Hz apart from 20 Hz to 2000 Hz
//     lines beyond 3 dB: 0 of 991
//     rms within 5 % of the profile's: yes
//     acceptance.png: accepted
#include <cmath>
#include <cstdio>
#include <exception>
#include <vector>

#include <KvxDevCommon01/Kvx.h>
#include <KvxPlot01/GraphSheet.h>
#include <KvxPlot01/Picture.h>
#include <KvxPlot01/RecordGraph.h>
#include <KvxRecording01/ProfileText.h>
#include <KvxRecording01/RecordingAnalysis.h>
#include <KvxRecording01/SignalRecords.h>

namespace {

constexpr const char* kProfile = "unit g2/Hz\n20 0.01\n80 0.04\n350 0.04\n2000 0.007\n";
constexpr double kRateHz = 8192.0;

/// What a shaker with an ideal controller would give: a minute of the profile.
void StoreRecording(const wchar_t* path, const kvx::PsdProfile& profile) {
    CComDataWave wave(1 / kRateHz, 1, 1, 60 * 8192, 0, kvx::NamedUnit("g"), nullptr, nullptr);
    kvx::GenerateRandomWave(kvx::Samples(wave, 0, 0), profile, {.rateHz = kRateHz});
    kvx::StoreDataFile(path, {CComHdr(CComHdr::EXT_INFO_RANDOM_DATA, L"random test"), {wave}});
}

}  // namespace

int main() try {
    // Levels in the standard unit of the density, as the samples of recordings are in theirs.
    const kvx::PsdProfile profile = kvx::ProfileIn(kvx::ParseProfileText(kProfile), kvx::NamedUnit("g2/Hz"));
    StoreRecording(L"random.vdf2", profile);

    const auto reader = kvx::OpenSignal("random.vdf2");
    const auto spectra = kvx::SpectraOf(*reader, {kvx::LineKind::kDensity, kvx::PlanBlocks(4096)});
    const kvx::LineSpectrum& density = spectra.front().channels.front().lines;
    const std::vector<double> levels = density.Levels();
    const kvx::LineBand band =
        kvx::LinesInBand(20.0, 2000.0, density.spacingHz, static_cast<std::int64_t>(levels.size()));
    std::printf("%lld blocks, lines %g Hz apart from 20 Hz to 2000 Hz\n",
                static_cast<long long>(density.blocks), density.spacingHz);

    int strays = 0;
    for (std::int64_t line = band.first; line <= band.last; ++line) {
        const double ratio =
            levels[static_cast<std::size_t>(line)] / profile.LevelAt(density.FrequencyOf(line));
        strays += std::abs(10 * std::log10(ratio)) > 3.0 ? 1 : 0;
    }
    const bool isLevelRight = std::abs(kvx::BandRms(density, band) / profile.Rms() - 1) < 0.05;
    std::printf("lines beyond 3 dB: %d of %lld\n", strays,
                static_cast<long long>(band.last - band.first + 1));
    std::printf("rms within 5 %% of the profile's: %s\n", isLevelRight ? "yes" : "no");

    using namespace kvx::plot;
    const std::vector<CComDataBase> records = kvx::DataRecords(spectra);
    const RecordCell cell{0, 0, L"table"};
    RecordGraph graph =
        MakeRecordGraph(records.front(), {&cell, 1}, {.x = {.low = 10.0, .high = 3000.0, .name = "x"}});
    AddProfile(graph, profile, L"profile");
    const GraphSheet sheet({graph}, L"Random test, 6 g rms");
    WritePicture(L"acceptance.png", PictureFormat::kPng, {}, [&](Canvas& canvas) { sheet.Draw(canvas); });
    std::printf("acceptance.png: %s\n", strays == 0 && isLevelRight ? "accepted" : "refused");
    return 0;
} catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    return 1;
}
