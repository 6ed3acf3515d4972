// SPDX-License-Identifier: MIT
//
// Filters that work sample by sample, as the command line names them: for the commands that filter and that
// show what a filter does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/SampleFilters.h>
#include <KvxDevCommon01/platform/Types.h>

#include "cli/Command.h"

namespace kvx::tool {

struct FilterChoice {
    std::optional<double> lowPassHz;
    std::optional<double> highPassHz;
    std::vector<std::string> bandPasses;  ///< "LOW,HIGH"
    std::vector<std::string> bandStops;
    std::vector<std::string> notches;  ///< "HZ" or "HZ,Q"
    std::vector<std::string> peaks;
    std::optional<std::string> family;
    std::optional<double> order;
    std::optional<double> rippleDb;
    std::optional<double> attenuationDb;
    std::optional<std::string> norm;
    std::vector<std::string> butterworths;  ///< three values each
    std::optional<std::string> firFile;
    std::optional<__int64> firSet;
    bool keepDelay = false;

    /// Whether an option is given that a filter through spectra does not have.
    bool IsBySamples() const { return IsDesigned() || !butterworths.empty() || HasFir(); }
    bool IsDesigned() const;
    bool HasFir() const { return firFile || firSet; }
};

/// Describes the corners that filters through spectra have as well, and the order.
void AddCorners(Command& command, FilterChoice* choice);
/// Describes all other options.
void AddSampleFilters(Command& command, FilterChoice* choice);

/// The filters in the order in which they work. Throws ValueError, UsageError and, for a file, Failure.
SampleFilters ReadSampleFilters(const FilterChoice& choice);

/// "FIR of 3 taps from mean.txt, butterworth low-pass of order 4 at 50 Hz"
std::string FilterText(const FilterChoice& choice, const SampleFilters& filters);

}  // namespace kvx::tool
