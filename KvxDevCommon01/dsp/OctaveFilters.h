// SPDX-License-Identifier: MIT
//
// A bank of octave or fractional-octave filters of class 1 of IEC 61260-1:2014 for signals of any length: the
// same bits for every cut, and the same work for every octave, as each one down runs at half the rate.
//
// Each band is a band-pass of order 6, of a Butterworth low-pass of order 3 by the bilinear transform with
// the edges where they belong. Its width is 3/pi of the distance of the edges, by which white noise leaves
// it with the power that it has between them; at the edges it is 3.6 dB down. A band runs at the lowest rate
// R of the halves of twice the sampling rate with its upper edge below 0.235 R, where the transform bends the
// response too little to matter; half-band FIR filters of 100 dB come between the rates, and one of 80 dB
// doubles the rate for the highest bands. The delay of the FIR filters is taken out.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/OctaveBands.h>

namespace kvx {

/// The highest upper edge of a band at a sampling rate of 1.
inline constexpr double kHighestBandEdge = 0.47;

/// The bands up to the highest one that a bank has at a rate, from the one in which `fromHz` lies. Throws
/// Error (kBadValue) when there is none, and as OctaveBandsBetween.
KVX_API std::vector<OctaveBand> OctaveBandsUpTo(std::int32_t fraction, double fromHz, double rateHz);

/// An object that was moved from can only be assigned to or destroyed; it belongs to one thread at a time.
class KVX_API OctaveFilterBank {
public:
    /// Takes the next results of band number `band` (from 0), which follow each other at RateOf(band).
    using Take = std::function<void(std::size_t band, std::span<const double> results)>;

    /// Throws Error (kBadValue) for a rate that is not above 0 and finite, for no band, one whose upper edge
    /// is above kHighestBandEdge of the rate, and one below 2^-40 of it.
    OctaveFilterBank(double rateHz, std::span<const OctaveBand> bands);
    ~OctaveFilterBank();
    OctaveFilterBank(OctaveFilterBank&& other) noexcept;
    OctaveFilterBank& operator=(OctaveFilterBank&& other) noexcept;

    /// The rate of a band's results: the sampling rate times a power of two.
    double RateOf(std::size_t band) const;
    /// The power of all that a sine of this frequency leaves in a band, over its own: the square of the gain,
    /// with what the changes of the rate let through at other frequencies. 0 from half the rate on.
    double PowerGain(std::size_t band, double hz) const;

    /// Feeds the next samples.
    void Add(std::span<const double> samples, const Take& take);
    /// Feeds the silence after the last sample that the FIR filters still look at, after which every band has
    /// had a result for each place in the signal. Nothing may be fed from then on.
    void Finish(const Take& take);

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace kvx
