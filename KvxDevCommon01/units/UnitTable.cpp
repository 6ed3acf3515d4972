// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/detail/UnitTable.h>

#include <algorithm>
#include <array>
#include <functional>

#include <KvxDevCommon01/units/UnitNames.h>

namespace kvx::detail {
namespace {

// What the factors are made of. "gn" and "Gn" deliberately use a round 10 where "g" and "G" use the gravity.
constexpr double kGravity = 9.80665;             // m/s2
constexpr double kInch = 0.0254;                 // m
constexpr double kFoot = kInch * 12;             // m
constexpr double kYard = kFoot * 3;              // m
constexpr double kMile = kYard * 1760;           // m
constexpr double kPound = 0.45359237;            // kg
constexpr double kPoundForce = 4.4482216152605;  // N
constexpr double kCalorie = 4.1868;              // J
constexpr double kHorsepower = 735.5;            // W, metric
constexpr double kMinute = 60;                   // s
constexpr double kHour = 3600;                   // s
constexpr double kTwoPi = 6.283185307179586;     // rad per revolution
constexpr double kDegreesPerRadian = 57.29577951308232;

using enum UnitKind;

// One row per unit: code, name in the string table, kind, factor, offset. Ascending by code. A new unit gets
// its code, the next number of its dimension, in UnitNames.inl.
// clang-format off
constexpr auto kUnits = std::to_array<UnitRow>({
    // DIM_ACCELERATION
    {units::kGalLowercase,                     201, times, 100},                          // gal
    {units::kGal,                              202, times, 100},                          // Gal
    {units::kGalUppercase,                     203, times, 100},                          // GAL
    {units::kMetrePerSecondSquared,            204, same},                                // m/s#u2#n
    {units::kRoundGravity,                     205, over, 10},                            // gn
    {units::kRoundGravityUppercase,            206, over, 10},                            // Gn
    {units::kStandardGravity,                  207, over, kGravity},                      // g
    {units::kStandardGravityUppercase,         208, over, kGravity},                      // G

    // DIM_VELOCITY
    {units::kMillimetrePerSecond,              209, times, 1000},                         // mm/s
    {units::kCentimetrePerSecond,              210, times, 100},                          // cm/s
    {units::kKine,                             211, times, 100},                          // kine
    {units::kMetrePerSecond,                   212, same},                                // m/s
    {units::kKilometrePerSecond,               213, over, 1000},                          // km/s
    {units::kInchPerSecond,                    214, over, kInch},                         // inch/s
    {units::kFootPerSecond,                    215, over, kFoot},                         // feet/s
    {units::kMetrePerMinute,                   216, times, kMinute},                      // m/min
    {units::kFootPerMinute,                    217, times, kMinute / kFoot},              // feet/min
    {units::kKilometrePerHour,                 218, times, 3.6},                          // km/h
    {units::kMilePerHourShort,                 219, times, kHour / kMile},                // M/h
    {units::kMilePerHour,                      220, times, kHour / kMile},                // mile/h

    // DIM_DISPLACEMENT
    {units::kMillimetre,                       221, times, 1000},                         // mm
    {units::kCentimetre,                       222, times, 100},                          // cm
    {units::kMetre,                            223, same},                                // m
    {units::kInch,                             224, over, kInch},                         // inch
    {units::kFoot,                             225, over, kFoot},                         // feet
    {units::kYard,                             226, over, kYard},                         // yard
    {units::kMile,                             227, over, kMile},                         // mile
    {units::kNanometre,                        228, times, 1e9},                          // nm
    {units::kMicrometre,                       229, times, 1e6},                          // μm
    {units::kKilometre,                        230, over, 1000},                          // km

    // DIM_FORCE
    {units::kNewton,                           231, same},                                // N
    {units::kKilonewton,                       232, over, 1000},                          // kN
    {units::kDyne,                             233, times, 1e5},                          // dyne
    {units::kKilodyne,                         234, times, 100},                          // kdyne
    {units::kMegadyne,                         235, over, 10},                            // Mdyne
    {units::kKilogramForce,                    236, over, kGravity},                      // kgf
    {units::kTonneForce,                       237, over, kGravity * 1000},               // tonf
    {units::kMeganewton,                       238, over, 1e6},                           // MN
    {units::kPoundForce,                       239, over, kPoundForce},                   // lbf

    // DIM_STRAIN
    {units::kStrain,                           240, same},                                // Strain
    {units::kMicrostrain,                      241, times, 1},                            // μ

    // DIM_ANGULAR_VELOCITY
    {units::kRadianPerSecond,                  242, same},                                // rad/s
    {units::kDegreePerSecond,                  243, times, kDegreesPerRadian},            // degree/s
    {units::kRevolutionPerSecond,              244, over, kTwoPi},                        // rps
    {units::kRevolutionPerMinute,              245, over, kTwoPi / kMinute},              // rpm

    // DIM_ANGULAR_ACCELERATION
    {units::kRadianPerSecondSquared,           246, same},                                // rad/s#u2#n
    {units::kDegreePerSecondSquared,           247, times, kDegreesPerRadian},            // degree/s#u2#n
    {units::kRevolutionPerSecondSquared,       248, over, kTwoPi},                        // rps/s
    {units::kRevolutionPerMinuteSquared,       249, over, kTwoPi / kMinute / kMinute},    // rpm/m

    // DIM_PRESSURE
    {units::kPascal,                           250, same},                                // Pa
    {units::kHectopascal,                      251, over, 100},                           // hPa
    {units::kKilopascal,                       252, over, 1000},                          // kPa
    {units::kMegapascal,                       253, over, 1e6},                           // MPa
    {units::kKilogramForcePerSquareMetre,      254, over, kGravity},                      // kgf/m#u2#n
    {units::kKilogramForcePerSquareCentimetre, 255, over, kGravity * 10000},              // kgf/cm#u2#n

    // DIM_TIME
    {units::kMillisecond,                      256, times, 1000},                         // ms
    {units::kMsec,                             257, times, 1000},                         // msec
    {units::kSecond,                           258, same},                                // s
    {units::kSec,                              259, same},                                // sec
    {units::kMinute,                           260, over, kMinute},                       // min
    {units::kHour,                             261, over, kHour},                         // h
    {units::kHourInFull,                       262, over, kHour},                         // hour
    {units::kPicosecond,                       263, times, 1e12},                         // ps
    {units::kPsec,                             264, times, 1e12},                         // psec
    {units::kNanosecond,                       265, times, 1e9},                          // ns
    {units::kNsec,                             266, times, 1e9},                          // nsec
    {units::kMicrosecond,                      267, times, 1e6},                          // μs
    {units::kUsec,                             268, times, 1e6},                          // μsec

    // DIM_FREQUENCY
    {units::kHertz,                            269, same},                                // Hz
    {units::kKilohertz,                        270, over, 1000},                          // kHz
    {units::kRevolutionPerMinuteFrequency,     271, times, kMinute},                      // rpm
    {units::kMillihertz,                       272, times, 1000},                         // mHz
    {units::kMegahertz,                        273, over, 1e6},                           // MHz
    {units::kGigahertz,                        274, over, 1e9},                           // GHz

    // DIM_CHARGE
    {units::kPicocoulomb,                      275, times, 1e12},                         // pC
    {units::kNanocoulomb,                      276, times, 1e9},                          // nC
    {units::kMicrocoulomb,                     277, times, 1e6},                          // μC
    {units::kMillicoulomb,                     278, times, 1000},                         // mC
    {units::kCoulomb,                          279, same},                                // C

    // DIM_VOLTAGE
    {units::kMillivolt,                        280, times, 1000},                         // mV
    {units::kVolt,                             281, same},                                // V
    {units::kKilovolt,                         282, over, 1000},                          // kV
    {units::kNanovolt,                         283, times, 1e9},                          // nV
    {units::kMicrovolt,                        284, times, 1e6},                          // μV
    {units::kMegavolt,                         285, over, 1e6},                           // MV

    // DIM_TEMPERATURE
    {units::kKelvin,                           286, same},                                // ﾟK
    {units::kDegreeCelsius,                    287, timesPlus, 1, -273.15},               // ﾟC
    {units::kDegreeFahrenheit,                 288, timesPlus, 1.8, 1.8 * -273.15 + 32},  // ﾟF

    // DIM_RATIO
    {units::kPercent,                          289, times, 100},                          // %
    {units::kAmplitudeDecibel,                 290, logarithm, 20},                       // dB
    {units::kPowerDecibel,                     291, logarithm, 10},                       // dB
    {units::kOct,                              292, logarithmToBase, 2},                  // oct
    {units::kPartPerBillion,                   293, times, 1e9},                          // ppb
    {units::kPartPerMillion,                   294, times, 1e6},                          // ppm
    {units::kDecade,                           295, logarithmToBase, 10},                 // decade
    {units::kOctave,                           296, logarithmToBase, 2},                  // octave

    // DIM_ANGLE
    {units::kRadian,                           297, same},                                // rad
    {units::kDegree,                           298, times, kDegreesPerRadian},            // degree
    {units::kDegreeSign,                       299, times, kDegreesPerRadian},            // ﾟ
    {units::kRevolution,                       300, over, kTwoPi},                        // revolution

    // DIM_CYCLES
    {units::kCycle,                            301, same},                                // cycle
    {units::kKilocycle,                        302, over, 1000},                          // kcycle

    // DIM_ENGINEERING_UNIT
    {units::kEngineeringUnit,                  303, same},                                // EU

    // DIM_COUNT
    {units::kCount,                            304, same},                                // 回

    // DIM_CURRENT
    {units::kMilliampere,                      305, times, 1000},                         // mA
    {units::kAmpere,                           306, same},                                // A
    {units::kKiloampere,                       307, over, 1000},                          // kA
    {units::kFemtoampere,                      308, times, 1e15},                         // fA
    {units::kPicoampere,                       309, times, 1e12},                         // pA
    {units::kNanoampere,                       310, times, 1e9},                          // nA
    {units::kMicroampere,                      311, times, 1e6},                          // μA
    {units::kMegaampere,                       312, over, 1e6},                           // MA
    {units::kGigaampere,                       313, over, 1e9},                           // GA

    // DIM_RESISTANCE
    {units::kMilliohm,                         314, times, 1000},                         // mΩ
    {units::kOhm,                              315, same},                                // Ω
    {units::kKilohm,                           316, over, 1000},                          // kΩ
    {units::kMegohm,                           317, over, 1e6},                           // MΩ

    // DIM_STANDARD_DEVIATION
    {units::kStandardDeviation,                318, same},                                // σ

    // DIM_MASS
    {units::kNanogram,                         319, times, 1e12},                         // ng
    {units::kMicrogram,                        320, times, 1e9},                          // μg
    {units::kMilligram,                        321, times, 1e6},                          // mg
    {units::kGram,                             322, times, 1000},                         // g
    {units::kKilogram,                         323, same},                                // kg
    {units::kTonne,                            324, over, 1000},                          // ton
    {units::kOunce,                            325, over, kPound * 0.0625},               // oz
    {units::kPound,                            326, over, kPound},                        // lb

    // DIM_NONE
    {units::kNone,                             327, same},                                // a blank

    // DIM_HEAT
    {units::kJoule,                            328, same},                                // J
    {units::kKilojoule,                        329, over, 1000},                          // kJ
    {units::kMegajoule,                        330, over, 1e6},                           // MJ
    {units::kErg,                              331, times, 1e7},                          // erg
    {units::kKiloerg,                          332, times, 10000},                        // kerg
    {units::kMegaerg,                          333, times, 10},                           // Merg
    {units::kCalorie,                          334, over, kCalorie},                      // cal
    {units::kKilocalorie,                      335, over, kCalorie * 1000},               // kcal

    // DIM_POWER
    {units::kMicrowatt,                        336, times, 1e6},                          // μW
    {units::kMilliwatt,                        337, times, 1000},                         // mW
    {units::kWatt,                             338, same},                                // W
    {units::kKilowatt,                         339, over, 1000},                          // kW
    {units::kMegawatt,                         340, over, 1e6},                           // MW
    {units::kMetricHorsepower,                 341, over, kHorsepower},                   // PS

    // DIM_TORQUE
    {units::kNewtonMetre,                      342, same},                                // N・m
    {units::kDyneCentimetre,                   343, times, 1e7},                          // dyne・cm
    {units::kKilogramForceMetre,               344, over, kGravity},                      // kgf・m
    {units::kTonneForceMetre,                  345, over, kGravity * 1000},               // tonf・m
    {units::kPoundForceMetre,                  346, over, kPoundForce},                   // lbf・m

    // DIM_MOMENT_OF_INERTIA
    {units::kGramSquareCentimetre,             347, same},                                // g・cm#u2#n
    {units::kKilogramSquareMetre,              348, over, 1e7},                           // kg・m#u2#n

    // DIM_CAPACITANCE
    {units::kPicofarad,                        349, times, 1e12},                         // pF
    {units::kNanofarad,                        350, times, 1e9},                          // nF
    {units::kMicrofarad,                       351, times, 1e6},                          // μF
    {units::kMillifarad,                       352, times, 1000},                         // mF
    {units::kFarad,                            353, same},                                // F

    // DIM_CONDUCTANCE
    {units::kMicrosiemens,                     354, times, 1e6},                          // μS
    {units::kMillisiemens,                     355, times, 1000},                         // mS
    {units::kSiemens,                          356, same},                                // S
    {units::kKilosiemens,                      357, over, 1000},                          // kS

    // DIM_INDUCTANCE
    {units::kMicrohenry,                       358, times, 1e6},                          // μH
    {units::kMillihenry,                       359, times, 1000},                         // mH
    {units::kHenry,                            360, same},                                // H

    // DIM_MAGNETIC_FLUX
    {units::kWeber,                            361, same},                                // Wb
    {units::kMaxwell,                          362, times, 1e8},                          // Mx

    // DIM_MAGNETIC_FLUX_DENSITY
    {units::kTesla,                            363, same},                                // T
    {units::kGauss,                            364, times, 10000},                        // gauss
    {units::kGaussSymbol,                      365, times, 10000},                        // G
});

// One row per dimension: code, standard unit, offered for control, offered for measurement, name in the string table.
// The standard of ratios is the plain number; "%" is what their standard unit is reported as.
constexpr auto kDimensions = std::to_array<DimensionRow>({
    {CUnitCtrl::DIM_ACCELERATION,            units::kMetrePerSecondSquared,  true,  true,  101},  // 加速度, acceleration
    {CUnitCtrl::DIM_VELOCITY,                units::kMetrePerSecond,         true,  true,  102},  // 速度, velocity
    {CUnitCtrl::DIM_DISPLACEMENT,            units::kMetre,                  true,  true,  103},  // 変位, displacement
    {CUnitCtrl::DIM_FORCE,                   units::kNewton,                 true,  true,  104},  // 力, force
    {CUnitCtrl::DIM_STRAIN,                  units::kMicrostrain,            true,  true,  105},  // 歪, strain
    {CUnitCtrl::DIM_ANGULAR_VELOCITY,        units::kRadianPerSecond,        true,  true,  106},  // 角速度, angular velocity
    {CUnitCtrl::DIM_ANGULAR_ACCELERATION,    units::kRadianPerSecondSquared, true,  true,  107},  // 角加速度, angular acceleration
    {CUnitCtrl::DIM_PRESSURE,                units::kPascal,                 true,  true,  108},  // 圧力, pressure
    {CUnitCtrl::DIM_TIME,                    units::kSecond,                 true,  true,  109},  // 時間, time
    {CUnitCtrl::DIM_FREQUENCY,               units::kHertz,                  true,  true,  110},  // 周波数, frequency
    {CUnitCtrl::DIM_CHARGE,                  units::kCoulomb,                true,  true,  111},  // 電気量, charge
    {CUnitCtrl::DIM_VOLTAGE,                 units::kVolt,                   true,  true,  112},  // 電圧, voltage
    {CUnitCtrl::DIM_TEMPERATURE,             units::kKelvin,                 true,  true,  113},  // 温度, temperature
    {CUnitCtrl::DIM_RATIO,                   units::kPercent,                false, false, 114},  // 比率, ratio
    {CUnitCtrl::DIM_ANGLE,                   units::kRadian,                 true,  true,  115},  // 角度, angle
    {CUnitCtrl::DIM_CYCLES,                  units::kCycle,                  true,  true,  116},  // 回転数, cycles
    {CUnitCtrl::DIM_COUNT,                   units::kCount,                  true,  true,  117},  // 回数, count
    {CUnitCtrl::DIM_CURRENT,                 units::kAmpere,                 true,  true,  118},  // 電流, current
    {CUnitCtrl::DIM_RESISTANCE,              units::kOhm,                    true,  true,  119},  // 抵抗, resistance
    {CUnitCtrl::DIM_STANDARD_DEVIATION,      units::kStandardDeviation,      true,  true,  120},  // 標準偏差, standard deviation
    {CUnitCtrl::DIM_MASS,                    units::kKilogram,               true,  true,  121},  // 質量, mass
    {CUnitCtrl::DIM_HEAT,                    units::kJoule,                  true,  true,  122},  // 熱量, heat
    {CUnitCtrl::DIM_POWER,                   units::kWatt,                   true,  true,  123},  // 仕事量, power
    {CUnitCtrl::DIM_TORQUE,                  units::kNewtonMetre,            true,  true,  124},  // トルク, torque
    {CUnitCtrl::DIM_MOMENT_OF_INERTIA,       units::kGramSquareCentimetre,   true,  true,  125},  // 慣性モーメント, moment of inertia
    {CUnitCtrl::DIM_CAPACITANCE,             units::kFarad,                  true,  true,  126},  // 静電容量, capacitance
    {CUnitCtrl::DIM_CONDUCTANCE,             units::kSiemens,                true,  true,  127},  // コンダクタンス, conductance
    {CUnitCtrl::DIM_INDUCTANCE,              units::kHenry,                  true,  true,  128},  // イダクタンス, inductance
    {CUnitCtrl::DIM_MAGNETIC_FLUX,           units::kWeber,                  true,  true,  129},  // 磁束, magnetic flux
    {CUnitCtrl::DIM_MAGNETIC_FLUX_DENSITY,   units::kTesla,                  true,  true,  130},  // 磁束密度, magnetic flux density
    {CUnitCtrl::DIM_ENGINEERING_UNIT,        units::kEngineeringUnit,        true,  true,  131},  // EU, engineering unit
    {CUnitCtrl::DIM_NONE,                    units::kNone,                   true,  true,  132},  // 無名数, none
});
// clang-format on

static_assert(std::ranges::is_sorted(kUnits, std::less_equal{}, &UnitRow::code),
              "codes ascend, none repeats");
static_assert(std::ranges::equal(kUnits, units::kAll, {}, &UnitRow::code),
              "each row has one name, each name a row");
static_assert(std::ranges::none_of(kUnits, [](const UnitRow& row) { return row.factor == 0.0; }));
static_assert(std::ranges::all_of(kDimensions, [](const DimensionRow& row) {
    return std::ranges::binary_search(kUnits, row.standardUnit, {}, &UnitRow::code) &&
           DimensionOf(row.standardUnit) == row.code;
}));

}  // namespace

std::span<const UnitRow> Units() {
    return kUnits;
}

std::span<const UnitRow> UnitsOfDimension(CUnitCtrl::DIM_CODE dimension) {
    const auto dimensionOf = [](const UnitRow& row) { return DimensionOf(row.code); };
    return {std::ranges::lower_bound(kUnits, dimension, {}, dimensionOf),
            std::ranges::upper_bound(kUnits, dimension, {}, dimensionOf)};
}

const UnitRow* FindUnitRow(CUnitCtrl::UNIT_CODE code) {
    const auto row = std::ranges::lower_bound(kUnits, code, {}, &UnitRow::code);
    return row != kUnits.end() && row->code == code ? &*row : nullptr;
}

std::span<const DimensionRow> Dimensions() {
    return kDimensions;
}

const DimensionRow* FindDimensionRow(CUnitCtrl::DIM_CODE code) {
    const auto row = std::ranges::find(kDimensions, code, &DimensionRow::code);
    return row != kDimensions.end() ? &*row : nullptr;
}

}  // namespace kvx::detail
