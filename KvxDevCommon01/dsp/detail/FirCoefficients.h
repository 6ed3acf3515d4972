// SPDX-License-Identifier: MIT
//
// The coefficients of the built-in low-pass filters.
#pragma once

#include <KvxDevCommon01/dsp/MatFir.h>

#include <span>

namespace kvx {

/// The taps of a built-in filter from the first to the one in the centre, which those behind it mirror; none
/// for an unknown set. The group delay is one sample less than there are of these.
std::span<const double> StdCoefToCentre(CMatFir::FIR_COEF set);

/// The rate change that a built-in filter is made for; 1 for an unknown set.
constexpr int RateChangeOf(CMatFir::FIR_COEF set) {
    switch (set) {
        case CMatFir::FIR_COEF_2:
        case CMatFir::FIR_COEF_2_SHORT:
            return 2;
        case CMatFir::FIR_COEF_4:
        case CMatFir::FIR_COEF_4_SHORT:
            return 4;
        case CMatFir::FIR_COEF_5:
        case CMatFir::FIR_COEF_5_SHORT:
            return 5;
    }
    return 1;
}

}  // namespace kvx
