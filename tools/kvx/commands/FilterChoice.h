// SPDX-License-Identifier: MIT
//
// Filters that work sample by sample, as the command line names them: for the commands that filter and that
// show what a filter does.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/dsp/FirDesign.h>
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
    std::optional<double> transitionHz;
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

/// What was chosen, read and checked as far as that goes without a sampling rate.
struct ChosenFilters {
    SampleFilters filters = {};
    std::vector<FirRequirements> designs = {};  ///< FIR filters to be fitted to a rate, after filters.firs
    std::string text = {};  ///< of the filters: "butterworth low-pass of order 4 at 50 Hz"
};
/// Throws ValueError, UsageError and, for a file, Failure.
ChosenFilters ReadSampleFilters(const FilterChoice& choice);

/// The filters for a rate, in `text` with what their designs reached. Throws Error.
struct FittedFilters {
    SampleFilters filters = {};
    std::string text = {};
};
FittedFilters FiltersAt(const ChosenFilters& chosen, double rateHz);

}  // namespace kvx::tool
