// SPDX-License-Identifier: MIT
//
// What a sensor gives for what it measures: 100 mV per g.
#pragma once

#include <string>
#include <string_view>

#include <KvxDevCommon01/resources/Language.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxRecording01/Export.h>

namespace kvx {

struct Sensitivity {
    double value = 1.0;  ///< in `electrical`, for one of `physical`; not 0, below it for an inverting sensor
    CUnitCtrl electrical;  ///< a single unit
    CUnitCtrl physical;    ///< a single unit of the table
};

/// Reads "100 mV/g", "-3.2 pC/N", "10.2 mV/(m/s2)" or "4 mV/psi": a number and the quotient of two single
/// units; of a physical unit that the table lacks the nearest of its dimension stands for it. Throws Error
/// (kBadValue or kUnknownName) that says what is wrong with it.
KVX_RECORDING_API Sensitivity ParseSensitivity(std::string_view text);

/// The text that ParseSensitivity reads, with so many digits and units of that language.
KVX_RECORDING_API std::string SensitivityText(const Sensitivity& sensitivity, int digits = 9,
                                              Language language = CurrentLanguage());

}  // namespace kvx
