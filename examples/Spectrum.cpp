// SPDX-License-Identifier: MIT
//
// From a wave to a spectrum on disk and back: makes ten seconds of random vibration, averages its power
// spectral density, stores wave and spectrum in one file each, loads the spectrum again and compares it with
// the profile.
//
// It prints:
//
//     39 blocks, 2048 lines of 2 Hz; rms 6.0616 m/s2, of the profile 6.0582 m/s2
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <numeric>
#include <vector>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

constexpr double kRateHz = 8192.0;
constexpr __int64 kSamples = 10 * 8192;
constexpr __int64 kBlock = 4096;

/// Breakpoints of the profile: 20 Hz to 2000 Hz, flat between 80 Hz and 350 Hz.
constexpr double kFrequenciesHz[] = {20.0, 80.0, 350.0, 2000.0};
constexpr double kDensities[] = {0.01, 0.04, 0.04, 0.007};

/// Stores one record as a file of random-vibration data.
bool Store(const wchar_t* path, const CComDataBase& record) try {
    kvx::StoreDataFile(path, {CComHdr(CComHdr::EXT_INFO_RANDOM_DATA, L"example"), {record}});
    return true;
} catch (const kvx::Error& error) {
    std::printf("%s\n", error.what());
    return false;
}

}  // namespace

int main() try {
    using namespace kvx::units;
    const CUnitCtrl acceleration = kvx::SingleUnit(kMetrePerSecondSquared);
    const CUnitCtrl density(kvx::SingleUnit(kMetrePerSecondSquared, CUnitCtrl::CALC_SQUARED),
                            kvx::SingleUnit(kHertz), 1);
    const kvx::PsdProfile profile(kFrequenciesHz, kDensities);
    CComDataWave recording(1.0 / kRateHz, 1, 1, kSamples, 0, acceleration, nullptr, nullptr);
    kvx::GenerateRandomWave(kvx::Samples(recording, 0, 0), profile, {.rateHz = kRateHz});

    kvx::AveragedSpectrum average(kvx::MakeWindow("hann", kBlock), kBlock / 2);
    average.Add(kvx::Samples(recording, 0, 0));
    const std::vector<double> psd = average.Psd(1.0 / recording.GetDelta());
    CComDataSpecA spectrum(kRateHz / kBlock, 1, 1, kBlock / 2, 0, density, nullptr, nullptr);
    if (!spectrum.Check()) return 1;
    std::ranges::copy(psd, kvx::Samples(spectrum, 0, 0).begin());

    kvx::DataFileContent loaded;
    if (!Store(L"wave.vdf2", recording) || !Store(L"spectrum.vdf2", spectrum) ||
        !CComDataFile::LoadDataFile(L"spectrum.vdf2", &loaded)) {
        return 1;
    }
    const CComDataBase& record = loaded.records.front();
    const double df = record.GetDelta();
    const auto lines = kvx::Samples(record, 0, 0);
    const double rms = std::sqrt(df * std::accumulate(lines.begin(), lines.end(), 0.0));
    std::printf("%lld blocks, %lld lines of %g Hz; rms %.4f m/s2, of the profile %.4f m/s2\n",
                static_cast<long long>(average.Blocks()), static_cast<long long>(record.GetNsamp()), df, rms,
                profile.Rms());
    std::filesystem::remove("wave.vdf2");
    std::filesystem::remove("spectrum.vdf2");
    return std::abs(rms / profile.Rms() - 1.0) < 0.05 ? 0 : 1;
} catch (const std::exception& error) {
    std::printf("%s\n", error.what());
    return 1;
}
