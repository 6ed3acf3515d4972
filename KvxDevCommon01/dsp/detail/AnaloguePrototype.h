// SPDX-License-Identifier: MIT
//
// The analogue low-passes that digital filters are made of, with their edge at 1 rad/s.
#pragma once

#include <KvxDevCommon01/dsp/IirDesign.h>

#include <complex>
#include <optional>
#include <vector>

namespace kvx {

struct AnaloguePrototype {
    std::vector<double> zeros = {};  ///< w > 0 of each pair at iw and -iw; the others lie at infinity
    std::vector<std::complex<double>> poles = {};   ///< one of each pair
    std::optional<double> realPole = std::nullopt;  ///< of an odd order
    double gain = 1.0;                              ///< at 0
};

/// The prototype of the filter's family and order, whose numbers must be in their ranges.
AnaloguePrototype MakePrototype(const IirFilter& filter);

}  // namespace kvx
