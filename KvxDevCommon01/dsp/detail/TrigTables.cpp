// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <array>
#include <cmath>
#include <mutex>
#include <numbers>

namespace kvx {
namespace {

constexpr std::int64_t kQuarterTurn = kSineHalfTurn / 2;

struct Sines {
    std::array<double, kSineCount> values;

    // Angles up to pi/4 only are evaluated, in extended precision, and mirrored: so every entry is within
    // 0.51 units in the last place where long double is wider than double, and the symmetries hold exactly.
    Sines() {
        for (std::int64_t k = 0; k <= kQuarterTurn / 2; ++k) {
            const long double angle =
                static_cast<long double>(k) * std::numbers::pi_v<long double> / kSineHalfTurn;
            SetQuadrant(k, static_cast<double>(std::sin(angle)));
            SetQuadrant(kQuarterTurn - k, static_cast<double>(std::cos(angle)));
        }
    }

    void SetQuadrant(std::int64_t k, double sine) {
        const auto at = [this](std::int64_t index) -> double& {
            return values[static_cast<std::size_t>(index)];
        };
        at(k) = sine;
        at(kSineHalfTurn - k) = sine;
        if (k < kQuarterTurn) at(kSineHalfTurn + k) = -sine;
    }
};

// How the twiddles of all sizes 2^m, m >= 2, follow one another in one block. A real block of the largest
// size is transformed as a complex one of half of it, so the largest size needs the first two runs only.

constexpr std::size_t Quarter(std::size_t m) {
    return std::size_t{1} << (m - 2);
}

constexpr std::size_t RunCount(std::size_t m) {
    return m < kMaxLog2Size ? 6 : 2;
}

/// Six runs for each smaller size come first: 6 (1 + 2 + 4 + ...).
constexpr std::size_t Offset(std::size_t m) {
    return 6 * (Quarter(m) - 1);
}

constexpr std::size_t kTwiddleCount = Offset(kMaxLog2Size) + RunCount(kMaxLog2Size) * Quarter(kMaxLog2Size);

class Twiddles {
public:
    Twiddles() {
        for (std::size_t m = 2; m < tables_.size(); ++m) tables_[m] = storage_.data() + Offset(m);
    }

    TwiddleTables UpTo(std::int64_t log2Size) {
        for (std::size_t m = 2; m <= static_cast<std::size_t>(log2Size); ++m) {
            std::call_once(built_[m], [this, m] { Build(m); });
        }
        return tables_.data();
    }

private:
    void Build(std::size_t m) {
        const double* const sine = SineTable();
        const std::size_t quarter = Quarter(m);
        const std::size_t step = kQuarterTurn / quarter;
        for (std::size_t run = 0; run < RunCount(m); run += 2) {
            double* const cosines = storage_.data() + Offset(m) + run * quarter;
            double* const sines = cosines + quarter;
            for (std::size_t p = 0; p < quarter; ++p) {
                // Three times the angle passes the half turn: its values stand half a turn lower, with the
                // sign turned.
                std::size_t angle = (run / 2 + 1) * p * step;
                const double sign = angle < kSineHalfTurn ? 1.0 : -1.0;
                angle %= kSineHalfTurn;
                cosines[p] = sign * sine[angle + kQuarterTurn];
                sines[p] = sign * sine[angle];
            }
        }
    }

    std::array<double, kTwiddleCount> storage_;
    std::array<const double*, kMaxLog2Size + 1> tables_{};
    std::array<std::once_flag, kMaxLog2Size + 1> built_;
};

}  // namespace

const double* SineTable() {
    static const Sines sines;
    return sines.values.data();
}

TwiddleTables TwiddlesUpTo(std::int64_t log2Size) {
    static Twiddles twiddles;
    return twiddles.UpTo(log2Size);
}

}  // namespace kvx
