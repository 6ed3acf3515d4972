// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace kvx {
namespace {

class MovingRms : public SampleProcess {
public:
    explicit MovingRms(const MovingWindow& window)
        : window_(window), due_(window.samples), after_(static_cast<std::size_t>(window.samples) + 1) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        for (const double sample : samples) {
            const double square = sample * sample;
            squares_.push_back(square);
            before_ += square;
            if (--due_ == 0) {
                // The window ends here; what of it lies in the block before begins behind this place there.
                const double sum = before_ + after_[squares_.size()];
                results.push_back(std::sqrt(sum / static_cast<double>(window_.samples)));
                due_ = window_.step;
            }
            if (std::ssize(squares_) == window_.samples) EndBlock();
        }
    }
    void Finish(std::vector<double>&) override {}

private:
    /// after_[i] becomes the sum of the block's squares from i on; that of none at its end is 0.
    void EndBlock() {
        double sum = 0.0;
        for (std::size_t i = squares_.size(); i-- > 0;) after_[i] = sum += squares_[i];
        squares_.clear();
        before_ = 0.0;
    }

    const MovingWindow window_;
    std::int64_t due_;             ///< samples until the next window ends
    double before_ = 0.0;          ///< the sum of the squares of this block so far
    std::vector<double> squares_;  ///< of this block
    std::vector<double> after_;    ///< of the block before
};

}  // namespace

MovingWindow MovingWindowOf(double windowSeconds, double stepSeconds, double rateHz) {
    constexpr double kMost = 0x1p40;
    const auto samplesOf = [rateHz](double seconds, const char* what) {
        const double samples = std::round(seconds * rateHz);
        if (samples >= 1.0 && samples <= kMost) return static_cast<std::int64_t>(samples);
        throw Error(ErrorKind::kBadValue, std::string("a ") + what + " of " + FormatNumber(seconds) +
                                              " s has no whole number of samples from 1 to 2^40 at " +
                                              FormatNumber(rateHz, 10) + " Hz");
    };
    const std::int64_t samples = samplesOf(windowSeconds, "window");
    return {samples, stepSeconds == 0.0 ? samples : samplesOf(stepSeconds, "step")};
}

std::int64_t CountMoving(const MovingWindow& window, std::int64_t samples) {
    return samples < window.samples ? 0 : (samples - window.samples) / window.step + 1;
}

std::unique_ptr<SampleProcess> MakeMovingRms(const MovingWindow& window) {
    if (window.samples < 1 || window.step < 1)
        throw Error(ErrorKind::kBadValue, "a moving window and its step have 1 sample or more");
    return std::make_unique<MovingRms>(window);
}

}  // namespace kvx
