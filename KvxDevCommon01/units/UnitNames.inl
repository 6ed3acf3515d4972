// SPDX-License-Identifier: MIT
//
// The units by name for UnitNames.h, ascending by code, with their display names. A code is the unit's
// dimension plus a 1-based number; it is stored in files and never changes its meaning. Each row here has one
// in UnitTable.cpp, which the compiler checks.

#ifndef KVX_UNIT
#define KVX_UNIT(name, code)  // alone it declares nothing
#endif

// clang-format off
// DIM_ACCELERATION
KVX_UNIT(kGalLowercase,                     0x00010001)  // gal
KVX_UNIT(kGal,                              0x00010002)  // Gal
KVX_UNIT(kGalUppercase,                     0x00010003)  // GAL
KVX_UNIT(kMetrePerSecondSquared,            0x00010004)  // m/s#u2#n
KVX_UNIT(kRoundGravity,                     0x00010005)  // gn
KVX_UNIT(kRoundGravityUppercase,            0x00010006)  // Gn
KVX_UNIT(kStandardGravity,                  0x00010007)  // g
KVX_UNIT(kStandardGravityUppercase,         0x00010008)  // G

// DIM_VELOCITY
KVX_UNIT(kMillimetrePerSecond,              0x00020001)  // mm/s
KVX_UNIT(kCentimetrePerSecond,              0x00020002)  // cm/s
KVX_UNIT(kKine,                             0x00020003)  // kine
KVX_UNIT(kMetrePerSecond,                   0x00020004)  // m/s
KVX_UNIT(kKilometrePerSecond,               0x00020005)  // km/s
KVX_UNIT(kInchPerSecond,                    0x00020006)  // inch/s
KVX_UNIT(kFootPerSecond,                    0x00020007)  // feet/s
KVX_UNIT(kMetrePerMinute,                   0x00020008)  // m/min
KVX_UNIT(kFootPerMinute,                    0x00020009)  // feet/min
KVX_UNIT(kKilometrePerHour,                 0x0002000A)  // km/h
KVX_UNIT(kMilePerHourShort,                 0x0002000B)  // M/h
KVX_UNIT(kMilePerHour,                      0x0002000C)  // mile/h

// DIM_DISPLACEMENT
KVX_UNIT(kMillimetre,                       0x00030001)  // mm
KVX_UNIT(kCentimetre,                       0x00030002)  // cm
KVX_UNIT(kMetre,                            0x00030003)  // m
KVX_UNIT(kInch,                             0x00030004)  // inch
KVX_UNIT(kFoot,                             0x00030005)  // feet
KVX_UNIT(kYard,                             0x00030006)  // yard
KVX_UNIT(kMile,                             0x00030007)  // mile
KVX_UNIT(kNanometre,                        0x00030008)  // nm
KVX_UNIT(kMicrometre,                       0x00030009)  // μm
KVX_UNIT(kKilometre,                        0x0003000A)  // km

// DIM_FORCE
KVX_UNIT(kNewton,                           0x00040001)  // N
KVX_UNIT(kKilonewton,                       0x00040002)  // kN
KVX_UNIT(kDyne,                             0x00040003)  // dyne
KVX_UNIT(kKilodyne,                         0x00040004)  // kdyne
KVX_UNIT(kMegadyne,                         0x00040005)  // Mdyne
KVX_UNIT(kKilogramForce,                    0x00040006)  // kgf
KVX_UNIT(kTonneForce,                       0x00040007)  // tonf
KVX_UNIT(kMeganewton,                       0x00040008)  // MN
KVX_UNIT(kPoundForce,                       0x00040009)  // lbf

// DIM_STRAIN
KVX_UNIT(kStrain,                           0x00050001)  // Strain
KVX_UNIT(kMicrostrain,                      0x00050002)  // μ

// DIM_ANGULAR_VELOCITY
KVX_UNIT(kRadianPerSecond,                  0x00060001)  // rad/s
KVX_UNIT(kDegreePerSecond,                  0x00060002)  // degree/s
KVX_UNIT(kRevolutionPerSecond,              0x00060003)  // rps
KVX_UNIT(kRevolutionPerMinute,              0x00060004)  // rpm

// DIM_ANGULAR_ACCELERATION
KVX_UNIT(kRadianPerSecondSquared,           0x00070001)  // rad/s#u2#n
KVX_UNIT(kDegreePerSecondSquared,           0x00070002)  // degree/s#u2#n
KVX_UNIT(kRevolutionPerSecondSquared,       0x00070003)  // rps/s
KVX_UNIT(kRevolutionPerMinuteSquared,       0x00070004)  // rpm/m

// DIM_PRESSURE
KVX_UNIT(kPascal,                           0x00080001)  // Pa
KVX_UNIT(kHectopascal,                      0x00080002)  // hPa
KVX_UNIT(kKilopascal,                       0x00080003)  // kPa
KVX_UNIT(kMegapascal,                       0x00080004)  // MPa
KVX_UNIT(kKilogramForcePerSquareMetre,      0x00080005)  // kgf/m#u2#n
KVX_UNIT(kKilogramForcePerSquareCentimetre, 0x00080006)  // kgf/cm#u2#n

// DIM_TIME
KVX_UNIT(kMillisecond,                      0x01000001)  // ms
KVX_UNIT(kMsec,                             0x01000002)  // msec
KVX_UNIT(kSecond,                           0x01000003)  // s
KVX_UNIT(kSec,                              0x01000004)  // sec
KVX_UNIT(kMinute,                           0x01000005)  // min
KVX_UNIT(kHour,                             0x01000006)  // h
KVX_UNIT(kHourInFull,                       0x01000007)  // hour
KVX_UNIT(kPicosecond,                       0x01000008)  // ps
KVX_UNIT(kPsec,                             0x01000009)  // psec
KVX_UNIT(kNanosecond,                       0x0100000A)  // ns
KVX_UNIT(kNsec,                             0x0100000B)  // nsec
KVX_UNIT(kMicrosecond,                      0x0100000C)  // μs
KVX_UNIT(kUsec,                             0x0100000D)  // μsec

// DIM_FREQUENCY
KVX_UNIT(kHertz,                            0x02000001)  // Hz
KVX_UNIT(kKilohertz,                        0x02000002)  // kHz
KVX_UNIT(kRevolutionPerMinuteFrequency,     0x02000003)  // rpm
KVX_UNIT(kMillihertz,                       0x02000004)  // mHz
KVX_UNIT(kMegahertz,                        0x02000005)  // MHz
KVX_UNIT(kGigahertz,                        0x02000006)  // GHz

// DIM_CHARGE
KVX_UNIT(kPicocoulomb,                      0x03000001)  // pC
KVX_UNIT(kNanocoulomb,                      0x03000002)  // nC
KVX_UNIT(kMicrocoulomb,                     0x03000003)  // μC
KVX_UNIT(kMillicoulomb,                     0x03000004)  // mC
KVX_UNIT(kCoulomb,                          0x03000005)  // C

// DIM_VOLTAGE
KVX_UNIT(kMillivolt,                        0x04000001)  // mV
KVX_UNIT(kVolt,                             0x04000002)  // V
KVX_UNIT(kKilovolt,                         0x04000003)  // kV
KVX_UNIT(kNanovolt,                         0x04000004)  // nV
KVX_UNIT(kMicrovolt,                        0x04000005)  // μV
KVX_UNIT(kMegavolt,                         0x04000006)  // MV

// DIM_TEMPERATURE
KVX_UNIT(kKelvin,                           0x05000001)  // ﾟK
KVX_UNIT(kDegreeCelsius,                    0x05000002)  // ﾟC
KVX_UNIT(kDegreeFahrenheit,                 0x05000003)  // ﾟF

// DIM_RATIO
KVX_UNIT(kPercent,                          0x06000001)  // %
KVX_UNIT(kAmplitudeDecibel,                 0x06000002)  // dB
KVX_UNIT(kPowerDecibel,                     0x06000003)  // dB
KVX_UNIT(kOct,                              0x06000004)  // oct
KVX_UNIT(kPartPerBillion,                   0x06000005)  // ppb
KVX_UNIT(kPartPerMillion,                   0x06000006)  // ppm
KVX_UNIT(kDecade,                           0x06000007)  // decade
KVX_UNIT(kOctave,                           0x06000008)  // octave

// DIM_ANGLE
KVX_UNIT(kRadian,                           0x07000001)  // rad
KVX_UNIT(kDegree,                           0x07000002)  // degree
KVX_UNIT(kDegreeSign,                       0x07000003)  // ﾟ
KVX_UNIT(kRevolution,                       0x07000004)  // revolution

// DIM_CYCLES
KVX_UNIT(kCycle,                            0x08000001)  // cycle
KVX_UNIT(kKilocycle,                        0x08000002)  // kcycle

// DIM_ENGINEERING_UNIT
KVX_UNIT(kEngineeringUnit,                  0x09000001)  // EU

// DIM_COUNT
KVX_UNIT(kCount,                            0x0A000001)  // 回

// DIM_CURRENT
KVX_UNIT(kMilliampere,                      0x0B000001)  // mA
KVX_UNIT(kAmpere,                           0x0B000002)  // A
KVX_UNIT(kKiloampere,                       0x0B000003)  // kA
KVX_UNIT(kFemtoampere,                      0x0B000004)  // fA
KVX_UNIT(kPicoampere,                       0x0B000005)  // pA
KVX_UNIT(kNanoampere,                       0x0B000006)  // nA
KVX_UNIT(kMicroampere,                      0x0B000007)  // μA
KVX_UNIT(kMegaampere,                       0x0B000008)  // MA
KVX_UNIT(kGigaampere,                       0x0B000009)  // GA

// DIM_RESISTANCE
KVX_UNIT(kMilliohm,                         0x0C000001)  // mΩ
KVX_UNIT(kOhm,                              0x0C000002)  // Ω
KVX_UNIT(kKilohm,                           0x0C000003)  // kΩ
KVX_UNIT(kMegohm,                           0x0C000004)  // MΩ

// DIM_STANDARD_DEVIATION
KVX_UNIT(kStandardDeviation,                0x0D000001)  // σ

// DIM_MASS
KVX_UNIT(kNanogram,                         0x0E000001)  // ng
KVX_UNIT(kMicrogram,                        0x0E000002)  // μg
KVX_UNIT(kMilligram,                        0x0E000003)  // mg
KVX_UNIT(kGram,                             0x0E000004)  // g
KVX_UNIT(kKilogram,                         0x0E000005)  // kg
KVX_UNIT(kTonne,                            0x0E000006)  // ton
KVX_UNIT(kOunce,                            0x0E000007)  // oz
KVX_UNIT(kPound,                            0x0E000008)  // lb

// DIM_NONE
KVX_UNIT(kNone,                             0x0F000001)  // a blank

// DIM_HEAT
KVX_UNIT(kJoule,                            0x10000001)  // J
KVX_UNIT(kKilojoule,                        0x10000002)  // kJ
KVX_UNIT(kMegajoule,                        0x10000003)  // MJ
KVX_UNIT(kErg,                              0x10000004)  // erg
KVX_UNIT(kKiloerg,                          0x10000005)  // kerg
KVX_UNIT(kMegaerg,                          0x10000006)  // Merg
KVX_UNIT(kCalorie,                          0x10000007)  // cal
KVX_UNIT(kKilocalorie,                      0x10000008)  // kcal

// DIM_POWER
KVX_UNIT(kMicrowatt,                        0x11000001)  // μW
KVX_UNIT(kMilliwatt,                        0x11000002)  // mW
KVX_UNIT(kWatt,                             0x11000003)  // W
KVX_UNIT(kKilowatt,                         0x11000004)  // kW
KVX_UNIT(kMegawatt,                         0x11000005)  // MW
KVX_UNIT(kMetricHorsepower,                 0x11000006)  // PS

// DIM_TORQUE
KVX_UNIT(kNewtonMetre,                      0x12000001)  // N・m
KVX_UNIT(kDyneCentimetre,                   0x12000002)  // dyne・cm
KVX_UNIT(kKilogramForceMetre,               0x12000003)  // kgf・m
KVX_UNIT(kTonneForceMetre,                  0x12000004)  // tonf・m
KVX_UNIT(kPoundForceMetre,                  0x12000005)  // lbf・m

// DIM_MOMENT_OF_INERTIA
KVX_UNIT(kGramSquareCentimetre,             0x13000001)  // g・cm#u2#n
KVX_UNIT(kKilogramSquareMetre,              0x13000002)  // kg・m#u2#n

// DIM_CAPACITANCE
KVX_UNIT(kPicofarad,                        0x14000001)  // pF
KVX_UNIT(kNanofarad,                        0x14000002)  // nF
KVX_UNIT(kMicrofarad,                       0x14000003)  // μF
KVX_UNIT(kMillifarad,                       0x14000004)  // mF
KVX_UNIT(kFarad,                            0x14000005)  // F

// DIM_CONDUCTANCE
KVX_UNIT(kMicrosiemens,                     0x15000001)  // μS
KVX_UNIT(kMillisiemens,                     0x15000002)  // mS
KVX_UNIT(kSiemens,                          0x15000003)  // S
KVX_UNIT(kKilosiemens,                      0x15000004)  // kS

// DIM_INDUCTANCE
KVX_UNIT(kMicrohenry,                       0x16000001)  // μH
KVX_UNIT(kMillihenry,                       0x16000002)  // mH
KVX_UNIT(kHenry,                            0x16000003)  // H

// DIM_MAGNETIC_FLUX
KVX_UNIT(kWeber,                            0x17000001)  // Wb
KVX_UNIT(kMaxwell,                          0x17000002)  // Mx

// DIM_MAGNETIC_FLUX_DENSITY
KVX_UNIT(kTesla,                            0x18000001)  // T
KVX_UNIT(kGauss,                            0x18000002)  // gauss
KVX_UNIT(kGaussSymbol,                      0x18000003)  // G
// clang-format on
