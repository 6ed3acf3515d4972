// SPDX-License-Identifier: MIT
//
// The scales of a TDMS channel, which make values of what its raw data hold: a chain of steps, stated by
// properties.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <vector>

#include <KvxRecording01/detail/TdmsIndex.h>

namespace kvx {

class TdmsScale {
public:
    /// What raw data are taken as they are.
    TdmsScale() : steps_(1) {}
    /// The scale that properties state of a channel; of one whose raw data are codes of a converter with
    /// these scalers. Throws Error for a scale that is not known and for a chain that leads nowhere.
    TdmsScale(const TdmsProperties& properties, std::span<const TdmsScaler> scalers);

    /// Whether properties state one.
    static bool IsStated(const TdmsProperties& properties);

    /// Whether it leaves values as they are.
    bool IsNone() const { return steps_.size() == 1; }
    /// The numbers that it is made of.
    std::size_t Numbers() const;
    /// Whether raw values up to `largest` stay finite.
    bool KeepsFinite(double largest) const;
    /// The next values; `raw` gives the raw ones of a scaler, by its id, or of the channel.
    using RawValues = std::function<void(std::optional<std::uint32_t> scaler, std::span<double> values)>;
    void Apply(const RawValues& raw, std::span<double> values);

private:
    struct Step {
        enum class Kind { raw, polynomial, table, sum, difference };

        Kind kind = Kind::raw;
        std::optional<std::uint32_t> scaler = std::nullopt;  ///< of raw values
        std::size_t left = 0;                                ///< the steps that it is made of
        std::size_t right = 0;
        std::vector<double> from = {};  ///< the places of a table, rising; coefficients from that of x^0 on
        std::vector<double> to = {};    ///< the values of a table
        std::vector<double> room = {};
    };
    class Builder;

    static void Run(Step& step, std::span<const double> left, std::span<const double> right,
                    std::span<double> values);

    std::vector<Step> steps_;  ///< the last is the result
};

}  // namespace kvx
