// SPDX-License-Identifier: MIT
#include <KvxRecording01/SignalLevels.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <new>
#include <utility>

#include <KvxDevCommon01/dsp/MovingRms.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>

namespace kvx {
namespace {

/// The mean squares of a channel in bands. What a bank delivers at once depends on how the signal was cut, so
/// that squares are added in the order of the samples.
class BandMeter {
public:
    BandMeter(double rateHz, std::span<const OctaveBand> bands, FrequencyWeighting weighting)
        : weighting_(MakeWeighting(weighting, rateHz)), bank_(rateHz, bands), sums_(bands.size()) {}

    void Add(std::span<const double> samples) {
        weighted_.clear();
        weighting_->Feed(samples, weighted_);
        Take(total_, weighted_);
        bank_.Add(weighted_,
                  [&](std::size_t b, std::span<const double> results) { Take(sums_[b], results); });
    }
    void Finish() {
        bank_.Finish([&](std::size_t b, std::span<const double> results) { Take(sums_[b], results); });
    }
    double Total() const { return total_.Mean(); }
    std::vector<double> MeanSquares() const {
        std::vector<double> means;
        for (const Sum& sum : sums_) means.push_back(sum.Mean());
        return means;
    }

private:
    /// A sum in blocks, so that rounding does not grow with the length of a signal.
    struct Sum {
        double total = 0.0;
        double block = 0.0;
        std::int64_t count = 0;

        double Mean() const { return count == 0 ? 0.0 : (total + block) / static_cast<double>(count); }
    };
    static void Take(Sum& sum, std::span<const double> samples) {
        constexpr std::int64_t kBlock = 4096;
        for (const double sample : samples) {
            sum.block += sample * sample;
            if (++sum.count % kBlock == 0) sum.total += std::exchange(sum.block, 0.0);
        }
    }

    std::unique_ptr<SampleProcess> weighting_;
    OctaveFilterBank bank_;
    Sum total_;
    std::vector<Sum> sums_;
    std::vector<double> weighted_;
};

/// The time-weighted rms of one channel, once every step.
class WholeCourse : public SampleProcess {
public:
    WholeCourse(double rateHz, const CourseChoice& choice, std::int64_t step)
        : weighting_(MakeWeighting(choice.weighting, rateHz)),
          average_(MakeTimeWeighting(choice.time, rateHz, step)) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        weighted_.clear();
        weighting_->Feed(samples, weighted_);
        average_->Feed(weighted_, results);
    }
    void Finish(std::vector<double>&) override {}

private:
    std::unique_ptr<SampleProcess> weighting_;
    std::unique_ptr<SampleProcess> average_;
    std::vector<double> weighted_;
};

/// The time-weighted rms of the bands of one channel, once every step. At the end of step k a band shows its
/// last result before that time; the results of low bands are further apart than short steps.
class BandCourse {
public:
    BandCourse(double rateHz, std::span<const OctaveBand> bands, const CourseChoice& choice,
               std::int64_t step)
        : weighting_(MakeWeighting(choice.bands->weighting, rateHz)), bank_(rateHz, bands) {
        for (std::size_t b = 0; b < bands.size(); ++b) {
            const double perSample = bank_.RateOf(b) / rateHz;
            courses_.push_back(
                {TimeAverage(choice.time, bank_.RateOf(b)), static_cast<double>(step) * perSample});
        }
    }

    void Feed(std::span<const double> samples) {
        weighted_.clear();
        weighting_->Feed(samples, weighted_);
        bank_.Add(weighted_, Taker());
    }
    void Finish() { bank_.Finish(Taker()); }

    /// The values that each band has made; what was taken is erased by the caller.
    std::vector<double>& Values(std::size_t band) { return courses_[band].values; }

private:
    struct Course {
        TimeAverage average;
        double resultsPerStep;
        double steps = 1.0;  ///< the number of the next step to end
        double taken = 0.0;  ///< results
        std::vector<double> values = {};

        void Take(std::span<const double> results) {
            for (const double result : results) {
                const double square = average.Step(result);
                taken += 1.0;
                // The next result stands at or behind the end of the step.
                for (; taken >= steps * resultsPerStep; steps += 1.0) values.push_back(std::sqrt(square));
            }
        }
    };
    OctaveFilterBank::Take Taker() {
        return [this](std::size_t b, std::span<const double> results) { courses_[b].Take(results); };
    }

    std::unique_ptr<SampleProcess> weighting_;
    OctaveFilterBank bank_;
    std::vector<Course> courses_;
    std::vector<double> weighted_;
};

/// What comes of the channels of a run: values that wait until they are read.
class RunCourse {
public:
    RunCourse(const SignalRun& run, std::vector<OctaveBand> bands, const CourseChoice& choice,
              std::int64_t step)
        : bands_(std::move(bands)) {
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            if (choice.bands) {
                banks_.emplace_back(RateOf(run), bands_, choice, step);
            } else {
                wholes_.push_back(std::make_unique<WholeCourse>(RateOf(run), choice, step));
            }
        }
        waiting_.resize(wholes_.size());
    }

    void Feed(std::span<double* const> columns, std::size_t count) {
        ForEachInParallel(banks_.size() + wholes_.size(), [&](std::size_t c) {
            const std::span<const double> samples(columns[c], count);
            if (wholes_.empty()) {
                count == 0 ? banks_[c].Finish() : banks_[c].Feed(samples);
            } else {
                wholes_[c]->Feed(samples, waiting_[c]);
            }
        });
    }

    /// The values that wait in a column of the courses.
    std::vector<double>& Waiting(std::size_t column) {
        if (!wholes_.empty()) return waiting_[column];
        return banks_[column / bands_.size()].Values(column % bands_.size());
    }

private:
    std::vector<OctaveBand> bands_;
    std::vector<BandCourse> banks_;
    std::vector<std::unique_ptr<WholeCourse>> wholes_;
    std::vector<std::vector<double>> waiting_;
};

class CourseSignal : public SignalReader {
public:
    CourseSignal(std::unique_ptr<SignalReader> source, const CourseChoice& choice)
        : source_(AsDifferences(std::move(source))), choice_(choice) {
        RequireLinearUnits(source_->Runs());
        text_ = source_->Text();
        remarks_ = source_->Remarks();
        properties_ = source_->Properties();
        for (const SignalRun& run : source_->Runs()) AddRun(run);
    }

    std::size_t Read(std::size_t r, std::span<double* const> targets, std::size_t room) override {
        RequireRun(r, runs_.size());
        const SignalRun& from = source_->Runs()[r];
        if (r != current_ || !course_) {
            course_ = std::make_unique<RunCourse>(from, bands_[r], choice_, steps_[r]);
            current_ = r;
            left_ = runs_[r].samples;
            isOver_ = false;
        }
        const std::size_t columns = scales_[r].size();
        const auto wanted =
            static_cast<std::size_t>(std::min<std::int64_t>(left_, static_cast<std::int64_t>(room)));
        std::size_t ready = Ready(columns);
        while (ready < wanted && !isOver_) {
            FeedNext(r, from);
            ready = Ready(columns);
        }
        const std::size_t count = std::min(ready, wanted);
        for (std::size_t c = 0; c < columns; ++c) {
            std::vector<double>& waiting = course_->Waiting(c);
            for (std::size_t i = 0; i < count; ++i) targets[c][i] = waiting[i] * scales_[r][c];
            waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(count));
        }
        left_ -= static_cast<std::int64_t>(count);
        return count;
    }

private:
    void AddRun(const SignalRun& run) {
        const MovingWindow step = MovingWindowOf(choice_.stepSeconds, 0.0, RateOf(run));
        SignalRun course = run;
        course.samples = CountMoving(step, run.samples);
        if (course.samples == 0) {
            throw Error(ErrorKind::kBadValue, "a step of " + Count(step.step, "sample") +
                                                  " is longer than its " + Count(run.samples, "sample"));
        }
        course.delta = run.delta * static_cast<double>(step.step);
        course.offset =
            std::llround(static_cast<double>(run.offset + step.step) / static_cast<double>(step.step));
        if (run.start) course.start = run.start->Later(course.delta);
        course.channels.clear();
        scales_.emplace_back();
        steps_.push_back(step.step);
        bands_.push_back(choice_.bands ? BandsFor(run, *choice_.bands) : std::vector<OctaveBand>());
        for (const SignalRun::Channel& channel : run.channels) {
            const double reference = ReferenceFor(channel, choice_.reference).value;
            const auto add = [&](const std::wstring& name) {
                SignalRun::Channel own = channel;
                own.name = name;
                own.number = course.channels.size() + 1;
                if (choice_.areLevels) own.unit = LevelUnit();
                scales_.back().push_back(choice_.areLevels ? 1.0 / reference : 1.0);
                course.channels.push_back(own);
            };
            for (const OctaveBand& band : bands_.back())
                add(channel.name + L" " + FromUtf8(FormatNumber(band.nominalHz)).value_or(L"") + L" Hz");
            if (bands_.back().empty()) add(channel.name);
        }
        runs_.push_back(course);
    }

    std::size_t Ready(std::size_t columns) const {
        std::size_t ready = course_->Waiting(0).size();
        for (std::size_t c = 1; c < columns; ++c) ready = std::min(ready, course_->Waiting(c).size());
        return ready;
    }

    /// Feeds the next piece of the source, or its end.
    void FeedNext(std::size_t r, const SignalRun& from) {
        constexpr std::size_t kSamples = std::size_t{1} << 17;  // of all channels together
        const std::size_t room = std::max<std::size_t>(1, kSamples / from.channels.size());
        piece_.resize(room * from.channels.size());
        std::vector<double*> columns;
        for (std::size_t c = 0; c < from.channels.size(); ++c) columns.push_back(piece_.data() + c * room);
        const std::size_t count = source_->Read(r, columns, room);
        isOver_ = count == 0;
        course_->Feed(columns, count);
    }

    std::unique_ptr<SignalReader> source_;
    CourseChoice choice_;
    std::vector<std::int64_t> steps_;             // per run
    std::vector<std::vector<OctaveBand>> bands_;  // per run
    std::vector<std::vector<double>> scales_;     // per run and column
    std::unique_ptr<RunCourse> course_;
    std::size_t current_ = 0;
    std::int64_t left_ = 0;
    bool isOver_ = false;
    std::vector<double> piece_;
};

}  // namespace

LevelReference ReferenceFor(const SignalRun::Channel& channel, const std::optional<StatedReference>& stated) {
    if (!stated) return LevelReferenceOf(channel.unit);
    if (!(stated->value > 0.0) || !std::isfinite(stated->value))
        throw Error(ErrorKind::kBadValue, stated->name + " is not above 0");
    if (!IsConvertible(stated->unit.unit, channel.unit)) {
        throw Error(ErrorKind::kBadValue, stated->name + " " + Quote(stated->text) + " does not convert to " +
                                              Quote(UnitText(channel.unit)) + " of channel " +
                                              Quote(channel.name));
    }
    return {stated->unit.unit.ConvItoD(stated->value * stated->unit.scale, 1.0, 0), stated->text};
}

std::vector<OctaveBand> BandsFor(const SignalRun& run, const BandsChoice& choice) {
    constexpr double kPeriods = 10.0;
    const double rate = RateOf(run);
    const double from = choice.fromHz.value_or(
        std::max(1.0, kPeriods * rate / static_cast<double>(std::max<__int64>(run.samples, 1))));
    if (!choice.toHz) return OctaveBandsUpTo(choice.fraction, from, rate);
    std::vector<OctaveBand> bands = OctaveBandsBetween(choice.fraction, from, *choice.toHz);
    if (bands.back().highHz > kHighestBandEdge * rate) {
        throw Error(ErrorKind::kBadValue,
                    "the " + FractionText(choice.fraction) + " band at " +
                        FormatNumber(bands.back().nominalHz) + " Hz does not end below " +
                        FormatNumber(kHighestBandEdge * rate) + " Hz, " + FormatNumber(kHighestBandEdge) +
                        " of its rate; the highest possible is that at " +
                        FormatNumber(OctaveBandsUpTo(choice.fraction, from, rate).back().nominalHz) + " Hz");
    }
    return bands;
}

std::vector<RunBands> BandsOf(SignalReader& signal, const BandsChoice& choice,
                              const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    RequireLinearUnits(reader.Runs());
    std::vector<RunBands> results;
    std::vector<std::vector<BandMeter>> meters;
    for (const SignalRun& run : reader.Runs()) {
        results.push_back({run.record, RateOf(run), run.samples, BandsFor(run, choice), {}});
        meters.emplace_back();
        for (std::size_t c = 0; c < run.channels.size(); ++c)
            meters.back().emplace_back(RateOf(run), results.back().bands, choice.weighting);
    }
    const auto take = [&](std::size_t r, std::span<double* const> columns, std::size_t count) {
        ForEachInParallel(meters[r].size(), [&](std::size_t c) { meters[r][c].Add({columns[c], count}); });
    };
    ReadRuns(reader, take, progress);
    for (std::size_t r = 0; r < results.size(); ++r) {
        ForEachInParallel(meters[r].size(), [&](std::size_t c) { meters[r][c].Finish(); });
        for (std::size_t c = 0; c < meters[r].size(); ++c) {
            const SignalRun::Channel& channel = reader.Runs()[r].channels[c];
            results[r].channels.push_back({channel, meters[r][c].Total(), meters[r][c].MeanSquares()});
            RequireNumbers(results[r].channels.back().meanSquares, channel.name);
        }
    }
    return results;
}

CUnitCtrl LevelUnit() {
    return SingleUnit(units::kAmplitudeDecibel);
}

std::vector<CComDataBase> DataRecords(std::span<const RunBands> runs, bool areLevels,
                                      const std::optional<StatedReference>& stated) {
    std::vector<CComDataBase> records;
    for (const RunBands& run : runs) {
        std::vector<const ChannelBands*> left;
        for (const ChannelBands& channel : run.channels) left.push_back(&channel);
        while (!left.empty()) {
            const CUnitCtrl unit = left.front()->channel.unit;
            const auto isAlike = [&](const ChannelBands* other) {
                return areLevels || other->channel.unit == unit;
            };
            std::vector<const ChannelBands*> own;
            std::ranges::copy_if(left, std::back_inserter(own), isAlike);
            std::erase_if(left, isAlike);
            CDataArrayDouble axis;
            std::vector<double> middles;
            for (const OctaveBand& band : run.bands) middles.push_back(band.midHz);
            CStringArray names;
            for (const ChannelBands* channel : own) names.push_back(channel->channel.name);
            if (!axis.SetData(std::ssize(middles), middles.data())) throw std::bad_alloc();
            CComDataSpecG record(std::ssize(own), 1, 0, areLevels ? LevelUnit() : unit, axis, &names,
                                 nullptr);
            if (!record.Check()) throw std::bad_alloc();
            for (std::size_t row = 0; row < own.size(); ++row) {
                const double reference = areLevels ? ReferenceFor(own[row]->channel, stated).value : 1.0;
                std::ranges::transform(own[row]->meanSquares,
                                       Samples(record, static_cast<__int64>(row), 0).begin(),
                                       [=](double square) { return std::sqrt(square) / reference; });
            }
            records.push_back(std::move(record));
        }
    }
    return records;
}

std::vector<RunLevels> LevelsOf(SignalReader& signal, const LevelChoice& choice,
                                std::span<const double> percentages, const ProgressFunction& progress) {
    const std::unique_ptr<SignalReader> differences = AsDifferences(signal);
    SignalReader& reader = *differences;
    RequireLinearUnits(reader.Runs());
    std::vector<RunLevels> results;
    for (std::size_t r = 0; r < reader.Runs().size(); ++r) {
        const SignalRun& run = reader.Runs()[r];
        std::vector<LevelMeter> meters;
        for (std::size_t c = 0; c < run.channels.size(); ++c) meters.emplace_back(RateOf(run), choice);
        const auto take = [&](std::span<double* const> columns, std::size_t count) {
            ForEachInParallel(meters.size(), [&](std::size_t c) { meters[c].Add({columns[c], count}); });
        };
        ReadRun(reader, r, take, progress);
        results.push_back({run.record, RateOf(run), {}});
        for (std::size_t c = 0; c < meters.size(); ++c) {
            ChannelLevels levels = {run.channels[c], meters[c].Figures(), {}};
            for (const double percent : percentages) levels.exceeded.push_back(meters[c].Exceeded(percent));
            const std::array squares = {levels.figures.meanSquare, levels.figures.peakSquare};
            RequireNumbers(squares, run.channels[c].name);
            results.back().channels.push_back(std::move(levels));
        }
    }
    return results;
}

std::unique_ptr<SignalReader> LevelCourses(std::unique_ptr<SignalReader> reader, const CourseChoice& choice) {
    if (!reader) throw Error(ErrorKind::kBadValue, "there is no recording");
    return std::make_unique<CourseSignal>(std::move(reader), choice);
}

}  // namespace kvx
