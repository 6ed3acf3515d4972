// SPDX-License-Identifier: MIT
//
// Design of FIR filters with linear phase: by the Kaiser window, and equiripple by the exchange algorithm of
// Parks and McClellan.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/IirDesign.h>
#include <KvxDevCommon01/dsp/SampleFilters.h>

namespace kvx {

/// Kaiser's formulas: the shape of the window for an attenuation in dB, and how many taps make a transition
/// of `width`, a part of the sampling rate (J. F. Kaiser, 1974; scipy.signal.kaiser_beta and kaiserord).
KVX_API double KaiserBeta(double attenuationDb);
KVX_API double KaiserTaps(double attenuationDb, double width);
/// The window at `part` of its half length from the middle, from -1 to 1: I0(beta sqrt(1 - part^2))/I0(beta).
KVX_API double KaiserWindow(double part, double beta);

/// A band of frequencies, parts of the sampling rate, and the gain wanted there.
struct FirBand {
    double low = 0.0;   ///< 0 or more
    double high = 0.5;  ///< above low, at most 0.5
    double gain = 1.0;
    double weight = 1.0;  ///< of errors, above 0
};

/// `taps` coefficients of the ideal filter with these gains, its edges in the middle between the bands, under
/// the Kaiser window, scaled to the gain of the first band that passes, at 0, at half the rate or in its
/// middle (scipy.signal.firwin). Throws Error (kBadValue) for bands out of order or range, fewer than 1 or
/// more than 100000 taps, and an even number of them where the gain at half the rate is not 0.
KVX_API std::vector<double> DesignKaiser(std::size_t taps, double beta, std::span<const FirBand> bands);

/// Coefficients whose largest weighted error is the least that `taps` allow, and that error, weighted.
struct EquirippleFir {
    std::vector<double> coefficients = {};
    double error = 0.0;
};
/// The exchange algorithm of Remez on a dense grid, with interpolation by barycentric weights (J. H.
/// McClellan, T. W. Parks, 1973; scipy.signal.remez). Throws Error: kBadValue as above, for 3 to 2000 taps,
/// and kUnsupported when the exchange does not settle.
KVX_API EquirippleFir DesignEquiripple(std::size_t taps, std::span<const FirBand> bands);

/// A FIR filter by what it has to keep. Low, high, band and stop are those of IirFilter; the corners are
/// where the pass band ends.
struct FirRequirements {
    enum class Method { kaiser, equiripple };

    IirFilter::Pass pass = IirFilter::Pass::low;
    double cornerHz = 0.0;
    double upperHz = 0.0;       ///< of band and stop: above cornerHz
    double transitionHz = 0.0;  ///< from each corner to where the stop band begins
    double rippleDb = 0.1;      ///< most change of the gain in the pass band, up or down
    double attenuationDb = 80.0;
    Method method = Method::equiripple;
};
/// "equiripple low-pass at 50 Hz, transition 10 Hz"
KVX_API std::string FilterText(const FirRequirements& requirements);

/// What came of it.
struct DesignedFir {
    FirFilter filter = {};       ///< an odd number of taps, with their delay
    double rippleDb = 0.0;       ///< largest change of the gain in the pass bands that was reached
    double attenuationDb = 0.0;  ///< least in the stop bands
};
/// The fewest taps, by Kaiser's formula or from his estimate on, that keep ripple and attenuation. Throws
/// Error (kBadValue) for numbers outside their ranges, bands that do not fit below half the rate, and
/// (kUnsupported) where that takes more than 100000 taps by the Kaiser window or 2000 equiripple.
KVX_API DesignedFir DesignFir(const FirRequirements& requirements, double rateHz);

/// The largest error of the gain in a band, of coefficients with linear phase: the ripple that was reached.
KVX_API double WorstError(std::span<const double> coefficients, const FirBand& band);

}  // namespace kvx
