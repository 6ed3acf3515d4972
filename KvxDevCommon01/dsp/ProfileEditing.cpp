// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatSpec.h>
#include <KvxDevCommon01/dsp/ProfileEditing.h>
#include <KvxDevCommon01/dsp/detail/ProfileSegment.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <initializer_list>
#include <new>
#include <vector>

namespace kvx {
namespace {

constexpr double kFlank = 1.001;

bool IsPositive(double value) {
    return value > 0.0 && std::isfinite(value);
}

/// Throws unless this is a band in which the profile has levels.
void RequireBand(const PsdProfile& profile, double lowHz, double highHz) {
    if (!IsPositive(lowHz) || !(lowHz < highHz)) {
        throw Error(ErrorKind::kBadValue, "a band goes from a frequency above 0 to a higher one");
    }
    const std::span<const double> freqHz = profile.Frequencies();
    if (freqHz.empty() || highHz < freqHz.front() || freqHz.back() < lowHz) {
        throw Error(ErrorKind::kBadValue, "nothing of the profile lies from " + FormatNumber(lowHz) +
                                              " Hz to " + FormatNumber(highHz) + " Hz");
    }
}

/// Breakpoints that are being changed.
class Breakpoints {
public:
    explicit Breakpoints(const PsdProfile& profile)
        : freqHz_(profile.Frequencies().begin(), profile.Frequencies().end()),
          levels_(profile.Levels().begin(), profile.Levels().end()) {}

    /// Adds points on the profile as it is, one after the other; nothing outside and where there is one.
    void Add(std::initializer_list<double> addedHz) {
        for (const double hz : addedHz) {
            const double level = ProfileLevelAt(freqHz_, levels_, hz);
            const auto above = std::ranges::lower_bound(freqHz_, hz);
            if (!(level > 0.0) || *above == hz) continue;
            levels_.insert(levels_.begin() + (above - freqHz_.begin()), level);
            freqHz_.insert(above, hz);
        }
    }

    void AddFlanks(double lowHz, double highHz) { Add({lowHz / kFlank, lowHz, highHz, highHz * kFlank}); }

    /// Lets `change` alter the levels: an operation of CMatSpec on frequencies and levels.
    template <class Change>
    PsdProfile Changed(Change change) const {
        const CDataArrayDouble freqHz(std::ssize(freqHz_), freqHz_.data());
        CDataArrayDouble levels(std::ssize(levels_), levels_.data());
        if (freqHz.GetNum() == 0 || levels.GetNum() == 0) throw std::bad_alloc();
        if (!change(freqHz, &levels)) {
            throw Error(ErrorKind::kBadValue,
                        "a level, a ratio and an rms are above 0, and a slope is a number");
        }
        const bool isProfile = IsProfile(freqHz, levels);
        if (!isProfile || !IsPositive(ProfilePower(freqHz, levels, 0, freqHz_.size() - 1)))
            throw Error(ErrorKind::kBadValue, "the changes take levels out of the range of numbers");
        return PsdProfile(freqHz, levels);
    }

private:
    std::vector<double> freqHz_;
    std::vector<double> levels_;
};

}  // namespace

PsdProfile WithLevel(const PsdProfile& profile, double lowHz, double highHz, double level) {
    RequireBand(profile, lowHz, highHz);
    Breakpoints points(profile);
    points.AddFlanks(lowHz, highHz);
    return points.Changed([&](const CDataArrayDouble& freqHz, CDataArrayDouble* levels) {
        return level > 0.0 ? CMatSpec::ChangePsdLevel(lowHz, highHz, level, freqHz, levels) : 0;
    });
}

PsdProfile WithLevelRatio(const PsdProfile& profile, double lowHz, double highHz, double ratio,
                          double slope) {
    RequireBand(profile, lowHz, highHz);
    Breakpoints points(profile);
    // The gain of an edge is a power of the frequency, straight on log-log axes: from the band's end to where
    // it is 1 again, if it ever is.
    const double reach = slope != 0.0 ? std::pow(ratio, 1.0 / slope) : 1.0;
    if (reach < 1.0) {
        points.Add({lowHz * reach, lowHz, highHz, highHz / reach});
    } else {
        points.AddFlanks(lowHz, highHz);
    }
    return points.Changed([&](const CDataArrayDouble& freqHz, CDataArrayDouble* levels) {
        return CMatSpec::ChangePsdLevelRatio(lowHz, highHz, ratio, freqHz, levels, slope);
    });
}

PsdProfile WithRms(const PsdProfile& profile, double rms) {
    if (profile.Frequencies().empty())
        throw Error(ErrorKind::kBadValue, "a profile without breakpoints has no rms to scale");
    return Breakpoints(profile).Changed([&](const CDataArrayDouble& freqHz, CDataArrayDouble* levels) {
        return IsPositive(rms) ? CMatSpec::ChangePsdLevel(rms, freqHz, levels) : 0;
    });
}

PsdProfile ProfileOfLines(std::span<const double> lines, double dfHz) {
    std::vector<double> freqHz;
    std::vector<double> levels;
    for (std::size_t k = 1; k < lines.size(); ++k) {
        if (!(lines[k] > 0.0)) continue;
        freqHz.push_back(static_cast<double>(k) * dfHz);
        levels.push_back(lines[k]);
    }
    if (freqHz.size() < 2) throw Error(ErrorKind::kBadValue, "fewer than two of its lines are above 0");
    return PsdProfile(freqHz, levels);
}

}  // namespace kvx
