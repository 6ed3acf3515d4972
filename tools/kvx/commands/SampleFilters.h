// SPDX-License-Identifier: MIT
//
// The filters of the command line that work sample by sample: FIR and recursive ones.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/platform/Types.h>

#include "cli/Command.h"
#include "commands/Processes.h"
#include "commands/Signal.h"
#include "commands/Stream.h"

namespace kvx::tool {

struct SampleFilterOptions {
    std::vector<std::string> butterworths;  ///< three values each
    std::optional<std::string> firFile;
    std::optional<__int64> firSet;
    bool keepDelay = false;

    bool IsAny() const { return !butterworths.empty() || firFile || firSet; }
};
void AddSampleFilterOptions(Command& command, SampleFilterOptions* options);

/// Filters that work one after the other, the FIR filters first.
class SampleFilters {
public:
    /// Without `ends` the signal is 0 outside its ends when there is a high-pass, and held otherwise. Throws
    /// ValueError, or Failure for a file of coefficients that cannot be read.
    SampleFilters(const SampleFilterOptions& options, std::optional<Ends> ends);

    /// Throws Error when a corner is not below half the rate.
    void RequireRate(double rateHz) const;
    std::unique_ptr<ChannelProcess> Make(const SignalRun& run) const;
    /// The filters for a report.
    std::string Text() const;

private:
    struct Butterworth {
        bool isLowPass;
        std::int32_t order;
        double cornerHz;
    };
    struct Fir {
        std::string name;
        CDataArrayDouble coefficients;  ///< in the order of CMatFir, the first for the oldest sample
        __int64 delay;                  ///< to be taken out, in samples
    };

    static std::vector<Butterworth> ReadButterworths(const std::vector<std::string>& values);
    static Fir ReadFir(const std::string& path);
    static Fir BuiltInFir(__int64 set);

    std::vector<Fir> firs_;
    std::vector<Butterworth> butterworths_;
    Ends ends_;
};

/// Throws Error unless the corner is below half the rate.
void RequireCorner(double cornerHz, double rateHz);

}  // namespace kvx::tool
