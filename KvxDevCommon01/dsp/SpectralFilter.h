// SPDX-License-Identifier: MIT
//
// Low-pass and high-pass filters that act on spectra (CMatBasic::SpecLPF1Ex and those that follow it there),
// as processes for signals of any length. Overlapping frames of the signal are transformed, shaped and added
// up; every sample stays in its place.
#pragma once

#include <array>
#include <memory>
#include <numbers>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/Blocks.h>
#include <KvxDevCommon01/dsp/MatBasic.h>
#include <KvxDevCommon01/dsp/SampleProcess.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// A low-pass, a high-pass or both, one after the other.
struct SpectralFilter {
    enum class Kind {
        first,        ///< analogue, of the first order
        second,       ///< analogue, of the second order: the gain at the corner is `q`
        butterworth,  ///< analogue, of `order`: -3 dB at the corner
        slope,  ///< real gain 1 on one side of the corner, falling by 6 dB per octave and `order` on the
                ///< other
        cut,    ///< real gain 1 on one side of the corner, 0 on the other
    };

    Kind kind = Kind::butterworth;
    std::optional<double> lowPassHz = std::nullopt;   ///< corner, above 0
    std::optional<double> highPassHz = std::nullopt;  ///< corner, above 0, at most lowPassHz
    double order = 4.0;                    ///< a whole number from 1 to 16 for butterworth, above 0 for slope
    double q = 0.5 * std::numbers::sqrt2;  ///< above 0

    bool HasQ() const { return kind == Kind::second; }
    bool HasOrder() const { return kind == Kind::butterworth || kind == Kind::slope; }
    /// The analogue filters are causal and have a phase; the gains have none.
    bool IsAnalogue() const { return kind != Kind::slope && kind != Kind::cut; }
};

/// The kinds and how a person calls them.
struct NamedFilterKind {
    std::string_view name;
    SpectralFilter::Kind kind;
};
inline constexpr std::array kFilterKinds = {
    NamedFilterKind{"first", SpectralFilter::Kind::first},
    NamedFilterKind{"second", SpectralFilter::Kind::second},
    NamedFilterKind{"butterworth", SpectralFilter::Kind::butterworth},
    NamedFilterKind{"slope", SpectralFilter::Kind::slope},
    NamedFilterKind{"cut", SpectralFilter::Kind::cut},
};

/// The filter for a person: "butterworth order 4, high-pass 5 Hz, low-pass 50 Hz".
KVX_API std::string FilterText(const SpectralFilter& filter);

/// A filter made for one sampling rate.
struct SpectralResponse {
    __int64 block = 0;           ///< samples, a power of two
    CDataArrayDoubleCplx lines;  ///< block/2, for CMatBasic::SpecFiltering
};

/// The smallest and the largest block of a response.
inline constexpr __int64 kSmallestSpectralBlock = 16;
inline constexpr __int64 kLargestSpectralBlock = kLargestGivenBlock;

/// Designs a filter for a sampling rate. Without `block`, a power of two within the limits above, it is
/// chosen by the lowest corner: 4096 or more, such that the impulse response has fallen to a millionth within
/// a quarter of it, or a gain is as sharp beside its corner. Throws Error for values outside the ranges
/// above, a corner that is not below half the rate and a block in which the response does not even fall to a
/// thousandth, and std::bad_alloc.
KVX_API SpectralResponse DesignSpectralFilter(const SpectralFilter& filter, double rateHz,
                                              std::optional<__int64> block = std::nullopt);

/// Filters by a response, as CMatBasic::SpecFiltering filters the whole signal: the results are the same
/// bits. `term` says how the signal goes on outside its ends. With TERM_PERIODIC, where the first result
/// needs the last sample, the process keeps the signal in memory; otherwise it holds about two blocks. Throws
/// Error for an unknown `term`, null or a response that does not fit its block, and std::bad_alloc.
KVX_API std::unique_ptr<SampleProcess> MakeSpectralFilter(std::shared_ptr<const SpectralResponse> response,
                                                          CMatBasic::DATA_TERM term);

}  // namespace kvx
