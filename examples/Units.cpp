// SPDX-License-Identifier: MIT
//
// Physical units: values are in the standard unit of their dimension and converted where a person reads
// or types them. Converts a shock level between units, then a spectral density, whose unit is a compound.
//
// It prints:
//
//     A shock of 50 g is
//            490.332 m/s2
//            49033.2 Gal
//                 50 g
//     A density of 0.04 g2/Hz is
//            3.84682 (m/s2)2/Hz
//     Units of velocity:
//       1 m/s =       1000 mm/s
//       1 m/s =        100 cm/s
//       1 m/s =        100 kine
//       1 m/s =          1 m/s
//       1 m/s =      0.001 km/s
//       1 m/s =    39.3701 inch/s
//       1 m/s =    3.28084 feet/s
//       1 m/s =         60 m/min
//       1 m/s =     196.85 feet/min
//       1 m/s =        3.6 km/h
//       1 m/s =    2.23694 M/h
//       1 m/s =    2.23694 mile/h
#include <cstdio>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

void Print(double standardValue, const CUnitCtrl& unit) {
    const double shown = unit.ConvDtoI(standardValue, 1.0, 1);
    std::printf("  %12.6g %s\n", shown, kvx::ToUtf8(kvx::PlainUnitName(unit)).c_str());
}

}  // namespace

int main() {
    const auto g = kvx::ParseUnit(L"g", CUnitCtrl::DIM_ACCELERATION);
    const auto density = kvx::ParseUnit(L"g2/Hz");
    if (!g || !density) return 1;

    const double shock = g->ConvItoD(50.0, 1.0, 1);
    std::puts("A shock of 50 g is");
    using namespace kvx::units;
    for (const auto unit : {kMetrePerSecondSquared, kGal, kStandardGravity}) {
        Print(shock, kvx::SingleUnit(unit));
    }

    const auto metric = kvx::ParseUnit(L"(m/s2)2/Hz");
    if (!metric || *metric != *density) return 1;  // the same dimensions, so the values can be converted
    std::puts("A density of 0.04 g2/Hz is");
    Print(density->ConvItoD(0.04, 1.0, 1), *metric);

    std::puts("Units of velocity:");
    CUnitCtrlList units;
    units.MakeSingleUnitListByDimCode(CUnitCtrl::DIM_VELOCITY);
    CUnitCtrl unit;
    for (__int64 i = 0; units.GetUnit(i, &unit); ++i) {
        std::printf("  1 m/s = %10.6g %s\n", unit.ConvDtoI(1.0, 1.0, 1),
                    kvx::ToUtf8(kvx::PlainUnitName(unit)).c_str());
    }
    return 0;
}
