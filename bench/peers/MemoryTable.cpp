// SPDX-License-Identifier: MIT
//
// Prints how much memory objects take, as the table of docs/performance.md: what the object itself measures,
// and what it holds besides: the C library's allocations, and what is mapped by the library itself.

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatFFT.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatIir.h>
#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

#include <malloc.h>

#include <cstddef>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

namespace {

/// Pages of the program, or of it those in memory.
struct Pages {
    std::size_t all = 0, resident = 0;

    Pages() { std::ifstream("/proc/self/statm") >> all >> resident; }
};
constexpr std::size_t kPage = 4096;

/// What is allocated, but for a constant: all that is mapped, of the C library's heap only what is in use.
std::size_t Heap() {
    const auto heap = ::mallinfo2();
    return Pages().all * kPage - heap.arena + heap.uordblks;
}

/// What stays allocated of what `make()` makes.
template <class Make>
void Row(const char* what, Make make) {
    const std::size_t before = Heap();
    const auto object = make();
    std::printf("| %s | %zu | %zu |\n", what, sizeof object, Heap() - before);
}

/// The tables that the first transform of a size leaves behind, in whole pages, wherever they lie.
void TransformRow(std::size_t size) {
    std::vector<double> wave(size, 1.0), work = wave, re = wave, im = wave, spare = wave;
    spare = {};
    const std::size_t before = Pages().resident;
    const auto n = static_cast<__int64>(size);
    CMatFFT::WaveRfft(wave.data(), work.data(), n, re.data(), im.data(), n / 2);
    std::printf("| tables of transforms of %zu points, shared by all | | %zu |\n", size,
                (Pages().resident - before) * kPage);
}

}  // namespace

int main() {
    const std::vector<double> window = kvx::MakeWindow("hann", 4096);
    std::printf("| what | object [bytes] | besides [bytes] |\n| --- | ---: | ---: |\n");
    Row("`CDataArrayDouble`, empty", [] { return CDataArrayDouble(); });
    Row("`CDataArrayDouble`, 1 value", [] { return CDataArrayDouble(1, 0.0); });
    Row("`CDataArrayDouble`, 1000000 values", [] { return CDataArrayDouble(1000000, 0.0); });
    Row("`CDataArrayDouble`, 1000000 values appended", [] {
        CDataArrayDouble array;
        for (int i = 0; i < 1000000; ++i) array.Append(0.0);
        return array;
    });
    Row("`CDataArrayDoubleCplx`, 4096 values", [] { return CDataArrayDoubleCplx(1, 4096); });
    Row("`CDataArrayMtxDouble`, 16 x 1 cells of 4096 values",
        [] { return CDataArrayMtxDouble(16, 1, 4096); });
    Row("`CComDataWave`, 16 channels of 4096 samples", [] {
        return CComDataWave(1e-3, 16, 1, 4096, 0, CUnitCtrl(CUnitCtrl::DIM_ACCELERATION), nullptr, nullptr);
    });
    Row("`CUnitCtrl`", [] { return CUnitCtrl(CUnitCtrl::DIM_ACCELERATION); });
    const auto loaded = kvx::BlockSpectrum(std::vector(16, 1.0), std::vector(16, 1.0));
    TransformRow(256);
    TransformRow(4096);
    TransformRow(131072);
    Row("`kvx::AveragedSpectrum`, blocks of 4096", [&] {
        kvx::AveragedSpectrum average(window, 2048);
        average.Add(window);
        return average;
    });
    Row("`kvx::AveragedTransfer`, blocks of 4096", [&] {
        kvx::AveragedTransfer average(window, 2048);
        average.Add(window, window);
        return average;
    });
    Row("`CMatFir`, 93 taps", [] {
        CMatFir fir;
        fir.SetStdCoef(CMatFir::FIR_COEF_5, 0);
        fir.PrepFir();
        return fir;
    });
    Row("`CMatIirNth`, order 8", [] {
        CMatIirNth filter;
        filter.CalcCoefBwLPF(0.1, 8);
        return filter;
    });
    Row("`CMatMrf`, down by 100", [] {
        CMatMrf cascade;
        cascade.SetConvCond(CMatFir::RATE_DECIMATE, CMatMrf::OVS_RAT_100, 4096, 0);
        return cascade;
    });
    return 0;
}
