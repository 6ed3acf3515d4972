// SPDX-License-Identifier: MIT
//
// Causal processes whose results are moved in time: what FIR filters, changes of the rate and the spectral
// filter share.
#pragma once

#include <KvxDevCommon01/dsp/SampleProcess.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <vector>

namespace kvx {

class AlignedProcess : public SampleProcess {
public:
    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        if (samples.empty()) return;
        if (!hasBegun_) {
            hasBegun_ = true;
            FeedConstant(samples.front(), lead_, results);
        }
        if (countsInput_) due_ += std::ssize(samples);
        FeedPieces(samples, results);
        last_ = samples.back();
    }

    void Finish(std::vector<double>& results) override {
        while (due_ > 0) FeedConstant(last_, piece_, results);
    }

protected:
    /// Runs `piece` >= 1 samples at once. Without `due` as many results are delivered as samples come in.
    AlignedProcess(__int64 piece, __int64 lead, __int64 skip, std::optional<__int64> due, Ends ends)
        : piece_(piece),
          lead_(lead),
          skip_(skip),
          due_(due.value_or(0)),
          countsInput_(!due.has_value()),
          ends_(ends) {}

    /// Appends the results of a piece.
    virtual void Run(std::span<const double> samples, std::vector<double>& results) = 0;

private:
    void FeedConstant(double value, __int64 count, std::vector<double>& results) {
        constant_.assign(static_cast<std::size_t>(std::min(count, piece_)),
                         ends_ == Ends::held ? value : 0.0);
        for (; count > 0; count -= piece_) {
            FeedPieces(std::span(constant_).first(static_cast<std::size_t>(std::min(count, piece_))),
                       results);
        }
    }

    void FeedPieces(std::span<const double> samples, std::vector<double>& results) {
        while (!samples.empty()) {
            const std::size_t count = std::min(samples.size(), static_cast<std::size_t>(piece_));
            made_.clear();
            Run(samples.first(count), made_);
            samples = samples.subspan(count);
            const __int64 dropped = std::min(skip_, std::ssize(made_));
            const __int64 taken = std::min(due_, std::ssize(made_) - dropped);
            skip_ -= dropped;
            due_ -= taken;
            const auto begin = made_.begin() + dropped;
            results.insert(results.end(), begin, begin + taken);
        }
    }

    const __int64 piece_;
    const __int64 lead_;
    __int64 skip_;
    __int64 due_;
    const bool countsInput_;
    const Ends ends_;
    bool hasBegun_ = false;
    double last_ = 0.0;
    std::vector<double> constant_;
    std::vector<double> made_;  ///< by the piece
};

}  // namespace kvx
