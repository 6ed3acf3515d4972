// SPDX-License-Identifier: MIT
//
// What the streaming commands do to a channel: changes of the sampling rate and filters, with their delay
// taken out. They are causal; what they need to know beyond the ends of the signal is assumed.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatFir.h>
#include <KvxDevCommon01/dsp/MatMrf.h>
#include <KvxDevCommon01/platform/Types.h>

#include "commands/Signal.h"
#include "commands/Stream.h"

namespace kvx::tool {

/// What a signal is taken to be beyond its ends: its first and last value, or 0.
enum class Ends { held, zero };

struct EndName {
    std::string_view name;
    Ends ends;
};
inline constexpr std::array kEndNames = {EndName{"hold", Ends::held}, EndName{"zeros", Ends::zero}};

/// Which results of a causal process are delivered.
struct Alignment {
    __int64 lead = 0;  ///< samples that are put in front of the signal
    __int64 skip = 0;  ///< results that are dropped first
    __int64 due = 0;   ///< results that are delivered then; the signal goes on as long as that takes
};

/// A change of the sampling rate by one of the ratios of CMatMrf.
struct RateChange {
    CMatFir::RATE_CONV mode = CMatFir::RATE_NONE;
    CMatMrf::OVS_RAT code = CMatMrf::OVS_RAT_1;

    __int64 Ratio() const { return CMatMrf::ConvCodeToOvsRat(code); }
};

/// What a change of the rate makes of a run.
struct ResampledRun {
    SignalRun run;
    Alignment alignment;
    double delaySeconds;  ///< what the results show is so much earlier when the delay is kept
};

/// Plans the change of a run's rate. Without `keepDelay` a sample of the result stands at the time of what it
/// shows, as near to the start of the run as the spacing of the result allows; with it the results are those
/// of filters at rest that are fed the signal alone. Throws Error when nothing is left or the run becomes
/// too long.
ResampledRun PlanResampling(const SignalRun& run, const RateChange& change, bool keepDelay);

/// Each throws std::bad_alloc.
std::unique_ptr<ChannelProcess> MakeResampler(const RateChange& change, const Alignment& alignment,
                                              Ends ends);
/// Filters by coefficients in the order of CMatFir, the first for the oldest sample.
std::unique_ptr<ChannelProcess> MakeFir(const CDataArrayDouble& coefficients, const Alignment& alignment,
                                        Ends ends);
/// A Butterworth filter with its corner at `corner` of the sampling rate, 0 < corner < 0.5. Throws Error for
/// an order above the limit of CMatIirNth.
std::unique_ptr<ChannelProcess> MakeButterworth(bool isLowPass, std::int32_t order, double corner, Ends ends);
/// One process after the other.
std::unique_ptr<ChannelProcess> MakeChain(std::vector<std::unique_ptr<ChannelProcess>> links);

}  // namespace kvx::tool
