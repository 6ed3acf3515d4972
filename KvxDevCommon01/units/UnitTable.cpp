// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/detail/UnitTable.h>

#include <algorithm>
#include <array>
#include <functional>

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

// One row per unit: code, name in the string table, kind, factor, offset. Ascending by code. A new unit takes
// the next number of its dimension: codes are stored in files and never change their meaning.
// clang-format off
constexpr auto kUnits = std::to_array<UnitRow>({
    // DIM_ACCELERATION
    {0x00010001, 201, times, 100},                            // gal
    {0x00010002, 202, times, 100},                            // Gal
    {0x00010003, 203, times, 100},                            // GAL
    {0x00010004, 204, same},                                  // m/s#u2#n
    {0x00010005, 205, over, 10},                              // gn
    {0x00010006, 206, over, 10},                              // Gn
    {0x00010007, 207, over, kGravity},                        // g
    {0x00010008, 208, over, kGravity},                        // G

    // DIM_VELOCITY
    {0x00020001, 209, times, 1000},                           // mm/s
    {0x00020002, 210, times, 100},                            // cm/s
    {0x00020003, 211, times, 100},                            // kine
    {0x00020004, 212, same},                                  // m/s
    {0x00020005, 213, over, 1000},                            // km/s
    {0x00020006, 214, over, kInch},                           // inch/s
    {0x00020007, 215, over, kFoot},                           // feet/s
    {0x00020008, 216, times, kMinute},                        // m/min
    {0x00020009, 217, times, kMinute / kFoot},                // feet/min
    {0x0002000A, 218, times, 3.6},                            // km/h
    {0x0002000B, 219, times, kHour / kMile},                  // M/h
    {0x0002000C, 220, times, kHour / kMile},                  // mile/h

    // DIM_DISPLACEMENT
    {0x00030001, 221, times, 1000},                           // mm
    {0x00030002, 222, times, 100},                            // cm
    {0x00030003, 223, same},                                  // m
    {0x00030004, 224, over, kInch},                           // inch
    {0x00030005, 225, over, kFoot},                           // feet
    {0x00030006, 226, over, kYard},                           // yard
    {0x00030007, 227, over, kMile},                           // mile
    {0x00030008, 228, times, 1e9},                            // nm
    {0x00030009, 229, times, 1e6},                            // μm
    {0x0003000A, 230, over, 1000},                            // km

    // DIM_FORCE
    {0x00040001, 231, same},                                  // N
    {0x00040002, 232, over, 1000},                            // kN
    {0x00040003, 233, times, 1e5},                            // dyne
    {0x00040004, 234, times, 100},                            // kdyne
    {0x00040005, 235, over, 10},                              // Mdyne
    {0x00040006, 236, over, kGravity},                        // kgf
    {0x00040007, 237, over, kGravity * 1000},                 // tonf
    {0x00040008, 238, over, 1e6},                             // MN
    {0x00040009, 239, over, kPoundForce},                     // lbf

    // DIM_STRAIN
    {0x00050001, 240, same},                                  // Strain
    {0x00050002, 241, times, 1},                              // μ

    // DIM_ANGULAR_VELOCITY
    {0x00060001, 242, same},                                  // rad/s
    {0x00060002, 243, times, kDegreesPerRadian},              // degree/s
    {0x00060003, 244, over, kTwoPi},                          // rps
    {0x00060004, 245, over, kTwoPi / kMinute},                // rpm

    // DIM_ANGULAR_ACCELERATION
    {0x00070001, 246, same},                                  // rad/s#u2#n
    {0x00070002, 247, times, kDegreesPerRadian},              // degree/s#u2#n
    {0x00070003, 248, over, kTwoPi},                          // rps/s
    {0x00070004, 249, over, kTwoPi / kMinute / kMinute},      // rpm/m

    // DIM_PRESSURE
    {0x00080001, 250, same},                                  // Pa
    {0x00080002, 251, over, 100},                             // hPa
    {0x00080003, 252, over, 1000},                            // kPa
    {0x00080004, 253, over, 1e6},                             // MPa
    {0x00080005, 254, over, kGravity},                        // kgf/m#u2#n
    {0x00080006, 255, over, kGravity * 10000},                // kgf/cm#u2#n

    // DIM_TIME
    {0x01000001, 256, times, 1000},                           // ms
    {0x01000002, 257, times, 1000},                           // msec
    {0x01000003, 258, same},                                  // s
    {0x01000004, 259, same},                                  // sec
    {0x01000005, 260, over, kMinute},                         // min
    {0x01000006, 261, over, kHour},                           // h
    {0x01000007, 262, over, kHour},                           // hour
    {0x01000008, 263, times, 1e12},                           // ps
    {0x01000009, 264, times, 1e12},                           // psec
    {0x0100000A, 265, times, 1e9},                            // ns
    {0x0100000B, 266, times, 1e9},                            // nsec
    {0x0100000C, 267, times, 1e6},                            // μs
    {0x0100000D, 268, times, 1e6},                            // μsec

    // DIM_FREQUENCY
    {0x02000001, 269, same},                                  // Hz
    {0x02000002, 270, over, 1000},                            // kHz
    {0x02000003, 271, times, kMinute},                        // rpm
    {0x02000004, 272, times, 1000},                           // mHz
    {0x02000005, 273, over, 1e6},                             // MHz
    {0x02000006, 274, over, 1e9},                             // GHz

    // DIM_CHARGE
    {0x03000001, 275, times, 1e12},                           // pC
    {0x03000002, 276, times, 1e9},                            // nC
    {0x03000003, 277, times, 1e6},                            // μC
    {0x03000004, 278, times, 1000},                           // mC
    {0x03000005, 279, same},                                  // C

    // DIM_VOLTAGE
    {0x04000001, 280, times, 1000},                           // mV
    {0x04000002, 281, same},                                  // V
    {0x04000003, 282, over, 1000},                            // kV
    {0x04000004, 283, times, 1e9},                            // nV
    {0x04000005, 284, times, 1e6},                            // μV
    {0x04000006, 285, over, 1e6},                             // MV

    // DIM_TEMPERATURE
    {0x05000001, 286, same},                                  // ﾟK
    {0x05000002, 287, timesPlus, 1, -273.15},                 // ﾟC
    {0x05000003, 288, timesPlus, 1.8, 1.8 * -273.15 + 32},    // ﾟF

    // DIM_RATIO
    {0x06000001, 289, times, 100},                            // %
    {0x06000002, 290, logarithm, 20},                         // dB
    {0x06000003, 291, logarithm, 10},                         // dB
    {0x06000004, 292, logarithmToBase, 2},                    // oct
    {0x06000005, 293, times, 1e9},                            // ppb
    {0x06000006, 294, times, 1e6},                            // ppm
    {0x06000007, 295, logarithmToBase, 10},                   // decade
    {0x06000008, 296, logarithmToBase, 2},                    // octave

    // DIM_ANGLE
    {0x07000001, 297, same},                                  // rad
    {0x07000002, 298, times, kDegreesPerRadian},              // degree
    {0x07000003, 299, times, kDegreesPerRadian},              // ﾟ
    {0x07000004, 300, over, kTwoPi},                          // revolution

    // DIM_CYCLES
    {0x08000001, 301, same},                                  // cycle
    {0x08000002, 302, over, 1000},                            // kcycle

    // DIM_ENGINEERING_UNIT
    {0x09000001, 303, same},                                  // EU

    // DIM_COUNT
    {0x0A000001, 304, same},                                  // 回

    // DIM_CURRENT
    {0x0B000001, 305, times, 1000},                           // mA
    {0x0B000002, 306, same},                                  // A
    {0x0B000003, 307, over, 1000},                            // kA
    {0x0B000004, 308, times, 1e15},                           // fA
    {0x0B000005, 309, times, 1e12},                           // pA
    {0x0B000006, 310, times, 1e9},                            // nA
    {0x0B000007, 311, times, 1e6},                            // μA
    {0x0B000008, 312, over, 1e6},                             // MA
    {0x0B000009, 313, over, 1e9},                             // GA

    // DIM_RESISTANCE
    {0x0C000001, 314, times, 1000},                           // mΩ
    {0x0C000002, 315, same},                                  // Ω
    {0x0C000003, 316, over, 1000},                            // kΩ
    {0x0C000004, 317, over, 1e6},                             // MΩ

    // DIM_STANDARD_DEVIATION
    {0x0D000001, 318, same},                                  // σ

    // DIM_MASS
    {0x0E000001, 319, times, 1e12},                           // ng
    {0x0E000002, 320, times, 1e9},                            // μg
    {0x0E000003, 321, times, 1e6},                            // mg
    {0x0E000004, 322, times, 1000},                           // g
    {0x0E000005, 323, same},                                  // kg
    {0x0E000006, 324, over, 1000},                            // ton
    {0x0E000007, 325, over, kPound * 0.0625},                 // oz
    {0x0E000008, 326, over, kPound},                          // lb

    // DIM_NONE
    {0x0F000001, 327, same},                                  // a blank

    // DIM_HEAT
    {0x10000001, 328, same},                                  // J
    {0x10000002, 329, over, 1000},                            // kJ
    {0x10000003, 330, over, 1e6},                             // MJ
    {0x10000004, 331, times, 1e7},                            // erg
    {0x10000005, 332, times, 10000},                          // kerg
    {0x10000006, 333, times, 10},                             // Merg
    {0x10000007, 334, over, kCalorie},                        // cal
    {0x10000008, 335, over, kCalorie * 1000},                 // kcal

    // DIM_POWER
    {0x11000001, 336, times, 1e6},                            // μW
    {0x11000002, 337, times, 1000},                           // mW
    {0x11000003, 338, same},                                  // W
    {0x11000004, 339, over, 1000},                            // kW
    {0x11000005, 340, over, 1e6},                             // MW
    {0x11000006, 341, over, kHorsepower},                     // PS

    // DIM_TORQUE
    {0x12000001, 342, same},                                  // N・m
    {0x12000002, 343, times, 1e7},                            // dyne・cm
    {0x12000003, 344, over, kGravity},                        // kgf・m
    {0x12000004, 345, over, kGravity * 1000},                 // tonf・m
    {0x12000005, 346, over, kPoundForce},                     // lbf・m

    // DIM_MOMENT_OF_INERTIA
    {0x13000001, 347, same},                                  // g・cm#u2#n
    {0x13000002, 348, over, 1e7},                             // kg・m#u2#n

    // DIM_CAPACITANCE
    {0x14000001, 349, times, 1e12},                           // pF
    {0x14000002, 350, times, 1e9},                            // nF
    {0x14000003, 351, times, 1e6},                            // μF
    {0x14000004, 352, times, 1000},                           // mF
    {0x14000005, 353, same},                                  // F

    // DIM_CONDUCTANCE
    {0x15000001, 354, times, 1e6},                            // μS
    {0x15000002, 355, times, 1000},                           // mS
    {0x15000003, 356, same},                                  // S
    {0x15000004, 357, over, 1000},                            // kS

    // DIM_INDUCTANCE
    {0x16000001, 358, times, 1e6},                            // μH
    {0x16000002, 359, times, 1000},                           // mH
    {0x16000003, 360, same},                                  // H

    // DIM_MAGNETIC_FLUX
    {0x17000001, 361, same},                                  // Wb
    {0x17000002, 362, times, 1e8},                            // Mx

    // DIM_MAGNETIC_FLUX_DENSITY
    {0x18000001, 363, same},                                  // T
    {0x18000002, 364, times, 10000},                          // gauss
    {0x18000003, 365, times, 10000},                          // G
});

// One row per dimension: code, standard unit, offered for control, offered for measurement, name in the string table.
// Ratios are held as plain numbers; "%" is what their standard unit is reported as.
constexpr auto kDimensions = std::to_array<DimensionRow>({
    {0x00010000, 0x00010004, true, true, 101},          // 加速度
    {0x00020000, 0x00020004, true, true, 102},          // 速度
    {0x00030000, 0x00030003, true, true, 103},          // 変位
    {0x00040000, 0x00040001, true, true, 104},          // 力
    {0x00050000, 0x00050002, true, true, 105},          // 歪
    {0x00060000, 0x00060001, true, true, 106},          // 角速度
    {0x00070000, 0x00070001, true, true, 107},          // 角加速度
    {0x00080000, 0x00080001, true, true, 108},          // 圧力
    {0x01000000, 0x01000003, true, true, 109},          // 時間
    {0x02000000, 0x02000001, true, true, 110},          // 周波数
    {0x03000000, 0x03000005, true, true, 111},          // 電気量
    {0x04000000, 0x04000002, true, true, 112},          // 電圧
    {0x05000000, 0x05000001, true, true, 113},          // 温度
    {0x06000000, 0x06000001, false, false, 114},        // 比率
    {0x07000000, 0x07000001, true, true, 115},          // 角度
    {0x08000000, 0x08000001, true, true, 116},          // 回転数
    {0x0A000000, 0x0A000001, true, true, 117},          // 回数
    {0x0B000000, 0x0B000002, true, true, 118},          // 電流
    {0x0C000000, 0x0C000002, true, true, 119},          // 抵抗
    {0x0D000000, 0x0D000001, true, true, 120},          // 標準偏差
    {0x0E000000, 0x0E000005, true, true, 121},          // 質量
    {0x10000000, 0x10000001, true, true, 122},          // 熱量
    {0x11000000, 0x11000003, true, true, 123},          // 仕事量
    {0x12000000, 0x12000001, true, true, 124},          // トルク
    {0x13000000, 0x13000001, true, true, 125},          // 慣性モーメント
    {0x14000000, 0x14000005, true, true, 126},          // 静電容量
    {0x15000000, 0x15000003, true, true, 127},          // コンダクタンス
    {0x16000000, 0x16000003, true, true, 128},          // イダクタンス
    {0x17000000, 0x17000001, true, true, 129},          // 磁束
    {0x18000000, 0x18000001, true, true, 130},          // 磁束密度
    {0x09000000, 0x09000001, true, true, 131},          // EU
    {0x0F000000, 0x0F000001, true, true, 132},          // 無名数
});
// clang-format on

static_assert(std::ranges::is_sorted(kUnits, std::less_equal{}, &UnitRow::code),
              "codes ascend, none repeats");
static_assert(std::ranges::none_of(kUnits, [](const UnitRow& row) { return row.factor == 0.0; }));
static_assert(std::ranges::all_of(kDimensions, [](const DimensionRow& row) {
    return std::ranges::binary_search(kUnits, row.standardUnit, {}, &UnitRow::code) &&
           DimensionOf(row.standardUnit) == row.code;
}));

}  // namespace

std::span<const UnitRow> Units() {
    return kUnits;
}

std::span<const UnitRow> UnitsOfDimension(std::uint32_t dimension) {
    const auto dimensionOf = [](const UnitRow& row) { return DimensionOf(row.code); };
    return {std::ranges::lower_bound(kUnits, dimension, {}, dimensionOf),
            std::ranges::upper_bound(kUnits, dimension, {}, dimensionOf)};
}

const UnitRow* FindUnitRow(std::uint32_t code) {
    const auto row = std::ranges::lower_bound(kUnits, code, {}, &UnitRow::code);
    return row != kUnits.end() && row->code == code ? &*row : nullptr;
}

std::span<const DimensionRow> Dimensions() {
    return kDimensions;
}

const DimensionRow* FindDimensionRow(std::uint32_t code) {
    const auto row = std::ranges::find(kDimensions, code, &DimensionRow::code);
    return row != kDimensions.end() ? &*row : nullptr;
}

}  // namespace kvx::detail
