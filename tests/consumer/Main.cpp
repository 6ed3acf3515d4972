// SPDX-License-Identifier: MIT
//
// What a program of the suite needs of the package: every public header, symbols of each floor, templates
// that are instantiated in the library, and exceptions that cross its boundary.
#include <cstdio>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

int failures = 0;

void Check(bool holds, const char* claim) {
    if (holds) return;
    std::printf("does not hold: %s\n", claim);
    ++failures;
}

}  // namespace

int main() {
    CDataArrayDouble ramp(2000, 0.0);
    ramp.SetDelta(0.5, 1.0);
    Check(ramp.GetSum() == 2000.0 + 0.5 * 1999.0 * 1000.0, "arrays sum");

    CDataArrayDouble window(1024, 0.0);
    double noiseBandwidth = 0.0;
    Check(CMatWIND::GeneHanning(&window) && CMatWIND::CalcWindENBW(window, &noiseBandwidth, nullptr) &&
              noiseBandwidth > 1.4999 && noiseBandwidth < 1.5001,
          "a Hann window spreads noise over one and a half lines");

    const CUnitCtrl acceleration(CUnitCtrl::DIM_ACCELERATION);
    const auto gravity = kvx::ParseUnit(L"g");
    Check(gravity && *gravity == acceleration, "typed units are understood");

    CComDataWave wave(0.001, 1, 1, 8, 0, acceleration, nullptr, nullptr);
    kvx::MemoryStream stream;
    CArchive out(stream, CArchive::store);
    wave.Serialize(out);
    out.Flush();
    CArchive in(stream, CArchive::load);
    CComDataWave loaded;
    loaded.Serialize(in);
    Check(loaded.GetNsamp() == 8 && loaded.GetDelta() == 0.001, "records survive an archive");

    bool isCaught = false;
    try {
        loaded.Serialize(in);
    } catch (const CFileException& e) {
        isCaught = e.m_cause == CFileException::endOfFile;
    }
    Check(isCaught, "the library's exceptions are caught outside it");
    return failures == 0 ? 0 : 1;
}
