// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/SampleProcess.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <new>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Parallel.h>

namespace kvx {
namespace {

using Links = std::vector<std::unique_ptr<SampleProcess>>;

void RequireProcesses(std::span<const std::unique_ptr<SampleProcess>> processes) {
    if (std::find(processes.begin(), processes.end(), nullptr) != processes.end())
        throw Error(ErrorKind::kBadValue, "a process is missing");
}

class Chain : public SampleProcess {
public:
    explicit Chain(Links links) : links_(std::move(links)) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        FeedFrom(0, samples, results);
    }
    void Finish(std::vector<double>& results) override {
        for (std::size_t link = 0; link < links_.size(); ++link) {
            rest_.clear();
            links_[link]->Finish(rest_);
            FeedFrom(link + 1, rest_, results);
        }
    }

private:
    void FeedFrom(std::size_t link, std::span<const double> samples, std::vector<double>& results) {
        for (; link < links_.size() && !samples.empty(); ++link) {
            const bool isLast = link + 1 == links_.size();
            std::vector<double>& next = isLast ? results : between_[link % 2];
            if (!isLast) next.clear();
            links_[link]->Feed(samples, next);
            if (isLast) return;
            samples = next;
        }
        results.insert(results.end(), samples.begin(), samples.end());
    }

    Links links_;
    std::array<std::vector<double>, 2> between_;
    std::vector<double> rest_;
};

class Measured : public SampleProcess {
public:
    Measured(std::unique_ptr<SampleProcess> process, RmsChange& levels)
        : process_(std::move(process)), levels_(levels) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        levels_.before.Add(samples);
        const std::size_t begin = results.size();
        process_->Feed(samples, results);
        levels_.after.Add(std::span(results).subspan(begin));
    }
    void Finish(std::vector<double>& results) override {
        const std::size_t begin = results.size();
        process_->Finish(results);
        levels_.after.Add(std::span(results).subspan(begin));
    }

private:
    std::unique_ptr<SampleProcess> process_;
    RmsChange& levels_;
};

class Shifted : public SampleProcess {
public:
    Shifted(std::unique_ptr<SampleProcess> process, double before, double after)
        : process_(std::move(process)), before_(before), after_(after) {}

    void Feed(std::span<const double> samples, std::vector<double>& results) override {
        shifted_.assign(samples.begin(), samples.end());
        for (double& sample : shifted_) sample -= before_;
        const std::size_t begin = results.size();
        process_->Feed(shifted_, results);
        Raise(std::span(results).subspan(begin));
    }
    void Finish(std::vector<double>& results) override {
        const std::size_t begin = results.size();
        process_->Finish(results);
        Raise(std::span(results).subspan(begin));
    }

private:
    void Raise(std::span<double> results) const {
        for (double& result : results) result += after_;
    }

    std::unique_ptr<SampleProcess> process_;
    double before_;
    double after_;
    std::vector<double> shifted_;
};

}  // namespace

SampleProcess::SampleProcess() = default;
SampleProcess::~SampleProcess() = default;

std::unique_ptr<SampleProcess> MakeChain(Links links) {
    RequireProcesses(links);
    return std::make_unique<Chain>(std::move(links));
}

void RunningRms::Add(std::span<const double> samples) {
    for (const double sample : samples) squares_ += sample * sample;
    count_ += std::ssize(samples);
}

double RunningRms::Get() const {
    return std::sqrt(squares_ / static_cast<double>(count_));
}

std::unique_ptr<SampleProcess> MakeMeasured(std::unique_ptr<SampleProcess> process, RmsChange& levels) {
    RequireProcesses({&process, 1});
    return std::make_unique<Measured>(std::move(process), levels);
}

std::unique_ptr<SampleProcess> MakeShifted(std::unique_ptr<SampleProcess> process, double before,
                                           double after) {
    RequireProcesses({&process, 1});
    if (before == 0.0 && after == 0.0) return process;
    return std::make_unique<Shifted>(std::move(process), before, after);
}

void RunProcesses(std::span<const std::unique_ptr<SampleProcess>> processes, std::size_t room,
                  const ReadBlock& read, const WriteBlock& write) {
    if (processes.empty() || room == 0)
        throw Error(ErrorKind::kBadValue, "a signal is processed in blocks of one or more channels");
    if (!read || !write) throw Error(ErrorKind::kBadValue, "a signal is processed from a source to a sink");
    RequireProcesses(processes);
    const std::size_t channels = processes.size();
    if (room > std::vector<double>().max_size() / channels) throw std::bad_alloc();
    std::vector<double> block(channels * room);
    std::vector<std::vector<double>> results(channels);
    std::vector<double*> in(channels);
    std::vector<double*> out(channels);
    for (std::size_t c = 0; c < channels; ++c) in[c] = block.data() + c * room;
    for (bool isOver = false; !isOver;) {
        const std::size_t count = read(in, room);
        if (count > room) throw Error(ErrorKind::kBadValue, "more samples came than there was room for");
        isOver = count == 0;
        ForEachInParallel(channels, [&](std::size_t c) {
            results[c].clear();
            if (isOver) {
                processes[c]->Finish(results[c]);
            } else {
                processes[c]->Feed({in[c], count}, results[c]);
            }
            out[c] = results[c].data();
        });
        const std::size_t due = results.front().size();
        if (std::ranges::any_of(results, [due](const auto& channel) { return channel.size() != due; })) {
            throw Error(ErrorKind::kBadValue,
                        "the processes of the channels give different numbers of results");
        }
        if (due > 0) write(out, due);
    }
}

}  // namespace kvx
