// SPDX-License-Identifier: MIT
//
// Runs samples through the sections of recursive filters, singly or in groups side by side: what the filters
// of MatIir.h and those of IirDesign.h share.
#pragma once

#include <KvxDevCommon01/dsp/kernels/IirKernels.h>
#include <KvxDevCommon01/platform/Types.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

namespace kvx {

inline double OrSilence(double x) {
    return std::fabs(x) < kIirSilence ? 0.0 : x;
}

/// Whether |x| < kIirSilence. Compilers make a branch of a comparison of bits; one of numbers would become a
/// mask, whose time adds to the way from one output to the next.
inline bool IsSilent(double x) {
    return std::bit_cast<std::uint64_t>(x) << 1 < std::bit_cast<std::uint64_t>(kIirSilence) << 1;
}

/// A section that runs on its own.
struct RunningSection : IirSection {
    double Step(double x) {
        const double v = glide * v1 + ((n0 * x + n2 * x2) + (n1 * x1 - leak * r2));
        r2 = r1;
        r1 = side * r1 + v;
        v1 = v;
        // At rest when its output is silent. While it is not, the difference of outputs is no subnormal
        // number either.
        if (IsSilent(r1)) [[unlikely]] {
            r1 = 0.0;
            if (IsSilent(v1)) v1 = 0.0;
        }
        x2 = x1;
        x1 = x;
        return direct * x + r1;
    }
    void SetState(double inputBefore, double inputBeforeThat, double outputBefore, double outputBeforeThat) {
        x1 = inputBefore;
        x2 = inputBeforeThat;
        r1 = outputBefore - direct * x1;
        r2 = outputBeforeThat - direct * x2;
        v1 = r1 - side * r2;
    }
};

/// The groups of a cascade, which belong to someone else.
struct IirCascade {
    IirGroup* groups = nullptr;
    int sectionCount = 0;

    static int GroupsFor(int sectionCount) {
        return static_cast<int>((sectionCount + kIirSections - 1) / kIirSections);
    }

    /// Puts the sections in, one after the other, where all places idled.
    class Filler {
    public:
        explicit Filler(const IirCascade& cascade);
        void Add(const IirSection& section);

    private:
        IirGroup* group_;
        int left_;
        int place_ = 0;
    };

    void SetState(double value) const;
    double Filter(double x) const;
    /// `out` may be `data`.
    void Filter(const double* data, double* out, __int64 count) const;

private:
    /// How many of the sections that are left the next group takes: as many as it holds, but none is left
    /// alone.
    static int NextGroupOf(int left) {
        constexpr int kMost = kIirSections;
        return left == kMost + 1 ? left - 2 : std::min(left, kMost);
    }
    /// Calls use(group, count) for every group and the number of its sections.
    template <class Use>
    void ForEachGroup(Use use) const {
        IirGroup* group = groups;
        for (int left = sectionCount; left > 0; left -= NextGroupOf(left)) use(*group++, NextGroupOf(left));
    }
};

}  // namespace kvx
