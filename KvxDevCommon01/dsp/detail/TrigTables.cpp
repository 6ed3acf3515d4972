// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/detail/TrigTables.h>

#include <array>
#include <atomic>
#include <bit>
#include <cmath>
#include <memory>
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

constexpr std::size_t Power(int log2) {
    return std::size_t{1} << log2;
}

/// The radix of a pass over 2^log2Groups groups; the last one takes up to 8 at once.
constexpr int RadixOf(int log2Groups) {
    return log2Groups < 3 ? 1 << log2Groups : log2Groups == 4 ? 4 : 8;
}

constexpr bool IsLastPass(int log2Groups) {
    return log2Groups <= 3;
}

/// The groups of a block of 2^log2Size points, as a power of two.
constexpr int Log2Groups(int log2Size) {
    return log2Size - kMinLog2PlannedSize;
}

// How many values each table has: those of one size, and those of a middle pass, which sizes share. A table
// in blocks of 8 angles has one block at least.

constexpr std::size_t InBlocks(std::size_t angles) {
    return angles < 8 ? 16 : 2 * angles;
}
constexpr std::size_t FirstCount(int log2Size) {
    return 7 * InBlocks(Power(Log2Groups(log2Size)));
}
constexpr std::size_t RealCount(int log2Size) {
    return InBlocks(Power(log2Size - 2));
}
constexpr std::size_t HalfwayCount = 8;
constexpr std::size_t PassCount(int log2Groups) {
    if (IsLastPass(log2Groups)) return 0;
    const auto radix = static_cast<std::size_t>(RadixOf(log2Groups));
    return 2 * (radix - 1) * Power(log2Groups) / radix;
}
constexpr std::size_t SizeCount(int log2Size) {
    return FirstCount(log2Size) + RealCount(log2Size) + HalfwayCount;
}

/// Those of one size and of the middle pass over all its groups.
constexpr std::size_t TableCount(int log2Size) {
    return SizeCount(log2Size) + PassCount(Log2Groups(log2Size));
}

/// Those of all sizes up to kMaxLog2Size, which failed allocations must not keep from a plan.
constexpr std::size_t StaticCount() {
    std::size_t count = 0;
    for (int log2Size = kMinLog2PlannedSize; log2Size <= kMaxLog2Size; ++log2Size)
        count += TableCount(log2Size);
    return count;
}

/// The parts of a turn finer than those of the sine table, as the product of two rotations in extended
/// precision: by a multiple of 1/2^11 turn and by less than that. The product is rounded once, so that an
/// entry is as exact as one of the sine table where long double is wider than double.
class FineAngles {
public:
    FineAngles() {
        for (std::size_t k = 0; k < kCount; ++k) {
            coarse_[k] = At(k << kLog2Count);
            fine_[k] = At(k);
        }
    }

    /// The angle of `part` of 2^22 parts of a turn.
    void Get(std::size_t part, double* cosine, double* sine) const {
        const Rotation& a = coarse_[part >> kLog2Count];
        const Rotation& b = fine_[part % kCount];
        *cosine = static_cast<double>(a.cosine * b.cosine - a.sine * b.sine);
        *sine = static_cast<double>(a.sine * b.cosine + a.cosine * b.sine);
    }

private:
    static constexpr int kLog2Count = kMaxLog2PlannedSize / 2;
    static constexpr std::size_t kCount = Power(kLog2Count);
    static_assert(2 * kLog2Count == kMaxLog2PlannedSize);

    struct Rotation {
        long double cosine;
        long double sine;
    };

    static Rotation At(std::size_t part) {
        const long double angle = 2 * std::numbers::pi_v<long double> * static_cast<long double>(part) /
                                  static_cast<long double>(Power(kMaxLog2PlannedSize));
        return {std::cos(angle), std::sin(angle)};
    }

    std::array<Rotation, kCount> coarse_;
    std::array<Rotation, kCount> fine_;
};

/// The cosine and the sine of 2 pi part/turn.
void SetAngle(double* cosine, double* sine, std::size_t part, std::size_t turn) {
    if (turn <= Power(kMaxLog2Size)) {
        const TableAngle angle(static_cast<std::int64_t>(part * (2 * kSineHalfTurn / turn)));
        *cosine = angle.cosine;
        *sine = angle.sine;
        return;
    }
    static const FineAngles angles;
    angles.Get(part * (Power(kMaxLog2PlannedSize) / turn), cosine, sine);
}

class Plans {
public:
    const FftPlan& Of(int log2Size) {
        const auto index = static_cast<std::size_t>(log2Size - kMinLog2PlannedSize);
        if (!isReady_[index].load(std::memory_order_acquire)) {
            std::call_once(built_[index], [&] { Build(log2Size, &plans_[index]); });
            isReady_[index].store(true, std::memory_order_release);
        }
        return plans_[index];
    }

private:
    void Build(int log2Size, FftPlan* plan) {
        const std::size_t size = Power(log2Size);
        plan->groups = std::int64_t{1} << Log2Groups(log2Size);
        plan->middlePasses = 0;
        int log2Groups = Log2Groups(log2Size);
        for (; !IsLastPass(log2Groups);
             log2Groups -= std::countr_zero(static_cast<unsigned>(RadixOf(log2Groups))))
            plan->middle[plan->middlePasses++] = {RadixOf(log2Groups), MiddlePass(log2Groups)};
        plan->lastRadix = RadixOf(log2Groups);

        double* table = Table(log2Size);
        plan->first = table;
        for (std::size_t p = 0; p < size / 16; ++p) {
            for (std::size_t j = 1; j < 8; ++j)
                SetInBlocks(table + p / 8 * 112 + 16 * (j - 1), p % 8, 2 * j * p, size);
        }
        table += FirstCount(log2Size);
        plan->real = table;
        for (std::size_t k = 0; k < size / 4; ++k) SetInBlocks(table, k, k, size);
        table += RealCount(log2Size);
        plan->halfway = table;
        const auto radix = static_cast<std::size_t>(plan->lastRadix);
        for (std::size_t r = 0; 2 * r < radix; ++r) SetAngle(table + r, table + r + 4, 1 + 2 * r, 4 * radix);
    }

    /// The twiddles of a middle pass over 2^log2Groups groups.
    const double* MiddlePass(int log2Groups) {
        double* const table =
            Table(log2Groups + kMinLog2PlannedSize) + SizeCount(log2Groups + kMinLog2PlannedSize);
        std::call_once(builtPasses_[static_cast<std::size_t>(log2Groups)], [&] {
            const auto radix = static_cast<std::size_t>(RadixOf(log2Groups));
            const std::size_t groups = Power(log2Groups);
            double* to = table;
            for (std::size_t p = 0; p < groups / radix; ++p) {
                for (std::size_t j = 1; j < radix; ++j, to += 2) SetAngle(to, to + 1, j * p, groups);
            }
        });
        return table;
    }

    /// Of one size, followed by that of the middle pass over all groups of this size.
    double* Table(int log2Size) {
        if (log2Size > kMaxLog2Size) {
            const auto index = static_cast<std::size_t>(log2Size - kMaxLog2Size - 1);
            std::call_once(allocated_[index], [&] {
                large_[index] = std::make_unique_for_overwrite<double[]>(TableCount(log2Size));
            });
            return large_[index].get();
        }
        std::size_t offset = 0;
        for (int smaller = kMinLog2PlannedSize; smaller < log2Size; ++smaller) offset += TableCount(smaller);
        return tables_.data() + offset;
    }

    static void SetInBlocks(double* table, std::size_t k, std::size_t part, std::size_t turn) {
        double* const cosine = table + k / 8 * 16 + k % 8;
        SetAngle(cosine, cosine + 8, part, turn);
    }

    static constexpr std::size_t kSizes = kMaxLog2PlannedSize - kMinLog2PlannedSize + 1;
    static constexpr std::size_t kLargeSizes = kMaxLog2PlannedSize - kMaxLog2Size;

    std::array<double, StaticCount()> tables_;
    std::array<std::unique_ptr<double[]>, kLargeSizes> large_;
    std::array<std::once_flag, kLargeSizes> allocated_;
    std::array<FftPlan, kSizes> plans_{};
    std::array<std::once_flag, kSizes> built_;
    std::array<std::atomic<bool>, kSizes> isReady_{};  // spares a call of call_once
    std::array<std::once_flag, kSizes> builtPasses_;
};

}  // namespace

const double* SineTable() {
    static const Sines sines;
    return sines.values.data();
}

const FftPlan& TransformPlan(int log2Size) {
    static Plans plans;
    return plans.Of(log2Size);
}

}  // namespace kvx
