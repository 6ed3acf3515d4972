// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/FirCoefficients.h>

#include <array>

namespace kvx {
namespace {

// Each set in tap order to six digits, from the first tap to the one in the centre; what follows mirrors it.
//
// All are minimax (Parks-McClellan) fits of 1 in the pass band and 0 in the stop band; the error of the stop
// band weighs W times that of the pass band, and the gain at 0 Hz is left as the fit has it. With a = 1/2.56,
// the usual ratio between the highest analysed frequency and the sampling rate, the bands of a change by M
// are, as fractions of the higher rate, 0..a/M and (1 - a)/M..1/2 for the long sets, 0..a/2M and (1 -
// a/2)/M..1/2 for the short ones. The lengths are the least odd ones with a ripple of 1e-3 and a stop band of
// -80 dB. scripts/check-fir designs them anew, on a grid of 16 frequencies per cosine term, and reads the
// lines above the sets.
//
// clang-format off

// Long, M = 2, 37 taps, W = 7.277291
constexpr std::array k2 = {
     0.000519756,  0.000762731,  -0.00103069,  -0.00213407,   0.00188314,   0.00486063,   -0.0030326,  -0.00955509,
      0.00437531,    0.0172618,  -0.00582921,   -0.0297618,   0.00720709,    0.0514717,  -0.00836318,   -0.0983631,
      0.00912019,     0.315659,     0.490608,
};

// Short, M = 2, 13 taps, W = 23.43273
constexpr std::array k2Short = {
      0.00405899,   0.00947976,   -0.0162757,   -0.0576601,    0.0325845,     0.298339,     0.459555,
};

// Long, M = 4, 75 taps, W = 9.381342
constexpr std::array k4 = {
     0.000122401,  0.000305132,    0.0004108,  0.000363697, -9.76121e-06, -0.000571074,  -0.00106214,  -0.00103292,
    -0.000267403,   0.00106399,   0.00224359,   0.00238316,  0.000938716,  -0.00170107,  -0.00417575,   -0.0047238,
     -0.00230264,   0.00246186,   0.00713553,   0.00856966,   0.00479758,  -0.00327413,   -0.0116177,   -0.0148249,
     -0.00926214,   0.00405224,    0.0187604,    0.0256864,    0.0178119,  -0.00469872,   -0.0323877,   -0.0491508,
      -0.0391279,   0.00512715,    0.0772853,     0.157817,      0.22088,     0.244723,
};

// Short, M = 4, 27 taps, W = 6.13509
constexpr std::array k4Short = {
     0.000269314,   0.00142792,   0.00339561,   0.00480478,   0.00261564,  -0.00576703,   -0.0189688,   -0.0289262,
      -0.0224993,    0.0116088,    0.0738697,     0.149218,     0.211427,     0.235571,
};

// Long, M = 5, 93 taps, W = 8.68617
constexpr std::array k5 = {
     0.000122903,  0.000211636,  0.000301351,   0.00031287,   0.00018926, -8.47878e-05, -0.000453063, -0.000784165,
    -0.000905961, -0.000675202, -6.02566e-05,  0.000800819,   0.00160567,   0.00197324,    0.0015963,  0.000406609,
      -0.0013202,  -0.00298751,  -0.00385402,  -0.00332378,  -0.00124958,   0.00188481,   0.00501398,   0.00680767,
      0.00617921,    0.0028096,  -0.00253591,  -0.00808009,   -0.0115499,   -0.0110145,  -0.00576507,   0.00311825,
       0.0128069,    0.0194788,    0.0196294,    0.0115382,  -0.00363946,   -0.0216284,   -0.0358658,   -0.0392818,
      -0.0265419,   0.00395256,     0.049002,     0.100927,     0.149285,      0.18354,     0.195912,
};

// Short, M = 5, 33 taps, W = 5.32022
constexpr std::array k5Short = {
     0.000275757,    0.0010585,   0.00228682,   0.00357416,   0.00373998,   0.00143995,  -0.00426994,   -0.0126732,
      -0.0207954,   -0.0234955,    -0.015029,   0.00859722,    0.0471528,    0.0950287,     0.142086,      0.17662,
        0.189312,
};

// clang-format on

}  // namespace

std::span<const double> StdCoefToCentre(CMatFir::FIR_COEF set) {
    switch (set) {
        case CMatFir::FIR_COEF_2:
            return k2;
        case CMatFir::FIR_COEF_2_SHORT:
            return k2Short;
        case CMatFir::FIR_COEF_4:
            return k4;
        case CMatFir::FIR_COEF_4_SHORT:
            return k4Short;
        case CMatFir::FIR_COEF_5:
            return k5;
        case CMatFir::FIR_COEF_5_SHORT:
            return k5Short;
    }
    return {};
}

}  // namespace kvx
