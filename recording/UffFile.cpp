// SPDX-License-Identifier: MIT
#include <KvxRecording01/UffFile.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/TextLines.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/StatedUnit.h>
#include <KvxRecording01/detail/TextHeadings.h>
#include <KvxRecording01/detail/UffSamples.h>
#include <KvxRecording01/detail/UffSurvey.h>

namespace kvx {
namespace {

/// So many datasets that are left out are told one by one.
constexpr std::size_t kMostTold = 10;

/// A line from the front of `*text`, without the blanks behind it.
std::string_view TakeLine(std::string_view* text) {
    const std::size_t end = std::min(text->find('\n'), text->size());
    std::string_view line = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return line.substr(0, line.find_last_not_of(" \r") + 1);
}

/// Whether a line is a whole number in the first six columns, as a Fortran format I6 writes it.
bool IsSixColumnNumber(std::string_view line) {
    return line.size() == 6 &&
           line.find_first_not_of("0123456789", line.find_first_not_of(" -")) == line.npos;
}

/// The spacing that one of few digits stands for: where there is one whole rate only that it may be, that of
/// it.
double WithWholeRate(double delta, double doubt) {
    const double rate = 1.0 / delta;
    const double whole = std::round(rate);
    constexpr double kSame = 1e-12;
    if (!(doubt > 0.0) || !(doubt < delta) || whole < 1.0 || std::abs(rate / whole - 1.0) < kSame)
        return delta;
    const double lowest = 1.0 / (delta + doubt);
    const double highest = 1.0 / (delta - doubt);
    const bool isOnly = whole - 1.0 < lowest && highest < whole + 1.0;
    return isOnly && lowest <= whole && whole <= highest ? 1.0 / whole : delta;
}

class UffReader : public RecordingReader {
public:
    explicit UffReader(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)), reader_(*stream_) {
        const UffVisitor visitor = {
            [&](const UffHeader& header, const UffSamples& samples, const UffUnitSystem& system) {
                Take(header, samples, system);
            },
            [&](const Error& error) { LeaveOut(error); },
        };
        const UffSurroundings surroundings = SurveyUff(reader_, visitor);
        if (info_.runs.empty()) {
            if (firstDamage_) throw *firstDamage_;
            throw Error(ErrorKind::kUnsupported,
                        "it holds no functions (dataset 58)" +
                            (surroundings.other.empty() ? "" : ", only datasets " + Counts(surroundings)));
        }
        if (damaged_ > kMostTold)
            AddRemark(Count(static_cast<long long>(damaged_ - kMostTold), "further dataset") +
                      " 58 with damage left out");
        if (!guess_.empty()) AddRemark(guess_);
        AddProperties(surroundings);
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        return WithErrors([&] { return ReadTuples(run, targets, room); });
    }

    void Skip(std::size_t run, __int64 count) override {
        WithErrors([&] {
            Enter(run);
            count = std::clamp<__int64>(count, 0, info_.runs[run].samples - done_);
            for (std::size_t c = 0; c < cursors_.size(); ++c)
                reader_.Skip(functions_[run][c], &cursors_[c], count);
            done_ += count;
        });
    }

    Error ErrorAt(std::size_t channel, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        const RecordingInfo::Run& run = info_.runs[run_];
        std::size_t column = run.axis.isListed ? 1 : 0;
        std::size_t c = 0;
        for (; c + 1 < run.channels.size(); ++c) {
            column += run.channels[c].isComplex ? 2U : 1U;
            if (channel < column) break;
        }
        return Error(kind, sentence, PlaceOf(run_, c, before_ + static_cast<__int64>(index)));
    }

private:
    ErrorPlace PlaceOf(std::size_t run, std::size_t channel, __int64 index) const {
        return {.channel = static_cast<std::int64_t>(numbers_[run] + channel), .sample = index + 1};
    }

    // ---- what the file holds ----

    void AddRemark(const std::string& sentence) {
        if (sentence.empty() || std::ranges::find(info_.remarks, sentence) != info_.remarks.end()) return;
        info_.remarks.push_back(sentence);
    }

    /// A remark on a function, of which only some are told.
    void AddNote(const std::string& sentence) {
        if (sentence.empty() || std::ranges::find(notes_, sentence) != notes_.end()) return;
        if (notes_.size() == kMostTold) {
            AddRemark("further remarks on functions are left out");
        } else {
            notes_.push_back(sentence);
            AddRemark(sentence);
        }
    }

    std::wstring Decode(std::string_view bytes) {
        if (std::optional<std::wstring> wide = FromUtf8(bytes)) return *std::move(wide);
        const unsigned int page = GuessCodePage(bytes);
        std::wstring wide = DecodeCodePageReplacing(bytes, page == 0 ? kWesternCodePage : page).value_or(L"");
        if (guess_.empty()) {
            guess_ = "the text " + Quote(wide) + " is not UTF-8 and was read as " +
                     std::string(EncodingName(page == 0 ? kWesternCodePage : page));
        }
        return wide;
    }

    void LeaveOut(const Error& error) {
        ++functionsSoFar_;
        if (!firstDamage_) firstDamage_ = error;
        if (++damaged_ > kMostTold) return;
        AddRemark("dataset 58 number " + std::to_string(functionsSoFar_) + " is left out (" +
                  error.Place().Inside() + "): " + error.Sentence());
    }

    RecordedAxis AxisOf(const UffHeader& header) {
        RecordedAxis axis;
        const UffAbscissa abscissa = StateUffAbscissa(header, decode_, &axis);
        AddNote(abscissa.remark);
        abscissaUnit_ = abscissa.unit;
        axis.isListed = header.isListed;
        if (header.isListed) return axis;
        axis.first = header.first;
        ToStandardPlaces(abscissa.unit, {&axis.first, 1});
        axis.delta = ToStandardDistance(abscissa.unit, header.delta);
        // A rate can be stated in the place of a spacing that the file leaves at 0.
        const bool isOpen = axis.delta == 0.0 && axis.unit == CUnitCtrl::DIM_TIME;
        if (!std::isfinite(axis.first) || !(axis.delta > 0.0 || isOpen) ||
            (!isOpen && !std::isfinite(1.0 / axis.delta)))
            throw Error(ErrorKind::kDamaged, "its values are " + FormatNumber(header.delta) + " apart");
        if (axis.delta > 0.0 && axis.unit == CUnitCtrl::DIM_TIME) {
            const double doubt = ToStandardDistance(abscissa.unit, header.deltaDoubt);
            const double settled = WithWholeRate(axis.delta, doubt);
            if (settled != axis.delta) {
                AddNote("the spacing of " + FormatNumber(axis.delta) + " s is rounded; it is taken for " +
                        FormatNumber(1.0 / settled, 12) + " Hz, the only whole rate that it may be");
                axis.delta = settled;
            }
        }
        return axis;
    }

    void Take(const UffHeader& header, const UffSamples& samples, const UffUnitSystem& system) {
        const RecordedAxis axis = AxisOf(header);
        RecordingInfo::Channel channel;
        channel.name = Decode(UffChannelName(header));
        channel.isComplex = header.isComplex;
        AddNote(StateUffUnit(header, system, decode_, &channel));
        ++functionsSoFar_;
        const std::string_view title = UffFunctionName(header.function);
        if (!GoesOn(axis, title, samples)) {
            RecordingInfo::Run& run = info_.runs.emplace_back();
            run.title = FromUtf8Replacing(title);
            run.axis = axis;
            run.samples = samples.count;
            run.start = ReadUffStart(header.lines[kStartLine]);
            functions_.emplace_back();
            numbers_.push_back(channels_ + 1);
            abscissaUnits_.push_back(abscissaUnit_);
        }
        // Functions that tell different times were not all taken then.
        if (info_.runs.back().start != ReadUffStart(header.lines[kStartLine]))
            info_.runs.back().start.reset();
        info_.runs.back().channels.push_back(std::move(channel));
        functions_.back().push_back(samples);
        ++channels_;
        for (const UffPoint& point : {header.response, header.reference})
            if (point.node > 0) nodes_.try_emplace(point.node);
        if (channels_ == 1) common_ = header.lines;
        for (std::size_t i = 0; i < common_.size(); ++i)
            if (common_[i] != header.lines[i]) common_[i].clear();
    }

    static bool AreSame(const EntryUnit& a, const EntryUnit& b) {
        return PlainUnitName(a.unit) == PlainUnitName(b.unit) && a.scale == b.scale;
    }

    /// Whether a function has the axis of the last run.
    bool GoesOn(const RecordedAxis& axis, std::string_view title, const UffSamples& samples) {
        if (info_.runs.empty()) return false;
        const RecordingInfo::Run& run = info_.runs.back();
        if (run.title != FromUtf8Replacing(title) || run.samples != samples.count ||
            run.axis.unit != axis.unit || run.axis.unknownUnit != axis.unknownUnit ||
            run.axis.isListed != axis.isListed || run.axis.delta != axis.delta ||
            run.axis.first != axis.first)
            return false;
        return !axis.isListed || (AreSame(abscissaUnits_.back(), abscissaUnit_) &&
                                  HaveSamePlaces(functions_.back().back(), samples));
    }

    bool HaveSamePlaces(const UffSamples& a, const UffSamples& b) {
        constexpr __int64 kBlock = 1 << 14;
        const std::uint64_t position = reader_.Lines().Position();
        std::array<std::vector<double>, 2> places;
        std::array<UffCursor, 2> cursors = {UffCursor(a), UffCursor(b)};
        bool areSame = true;
        try {
            for (__int64 done = 0; areSame && done < a.count; done += kBlock) {
                const auto count = static_cast<std::size_t>(std::min(kBlock, a.count - done));
                for (std::size_t i = 0; i < places.size(); ++i) {
                    places[i].resize(count);
                    const UffSamples& samples = i == 0 ? a : b;
                    std::vector<double*> targets(samples.Parts(), nullptr);
                    targets[0] = places[i].data();
                    reader_.Read(samples, &cursors[i], targets, count);
                }
                areSame = places[0] == places[1];
            }
        } catch (const Error&) {
            areSame = false;  // what is wrong is told when the samples are wanted
        }
        reader_.Lines().MoveTo(position);
        return areSame;
    }

    static std::string Counts(const UffSurroundings& surroundings) {
        std::string text;
        for (const auto& [name, count] : surroundings.other)
            text += (text.empty() ? "" : ", ") + name + " (" + std::to_string(count) + ")";
        return text;
    }

    void AddProperty(const std::string& name, const std::string& text) {
        if (!text.empty()) info_.properties.push_back({name, text});
    }

    void AddProperties(const UffSurroundings& surroundings) {
        for (std::size_t i = 0; i < std::min(kUffHeaderNames.size(), surroundings.header.size()); ++i)
            AddProperty(std::string(kUffHeaderNames[i]), ToUtf8(Decode(UffField(surroundings.header[i], 0))));
        for (std::size_t i = 0; i < common_.size(); ++i) {
            if (i == kTextLine) {
                info_.text = Decode(common_[i]);
            } else if (i != kStartLine || !ReadUffStart(common_[i])) {
                AddProperty(kUffLineName + std::to_string(i + 1), ToUtf8(Decode(common_[i])));
            }
        }
        for (const UffNodes& nodes : surroundings.nodes) ReadUffNodes(reader_.Lines(), nodes, &nodes_);
        for (const auto& [number, node] : nodes_) {
            if (!node.isKnown) continue;
            AddProperty("node " + std::to_string(number), FormatNumber(node.x) + ", " + FormatNumber(node.y) +
                                                              ", " + FormatNumber(node.z) + " m");
        }
        AddProperty("datasets passed over", Counts(surroundings));
    }

    // ---- samples ----

    void Enter(std::size_t run) {
        RequireRun(run, functions_.size());
        if (run == run_ && !cursors_.empty()) return;
        cursors_.clear();
        for (const UffSamples& samples : functions_[run]) cursors_.emplace_back(samples);
        run_ = run;
        done_ = 0;
    }

    std::size_t ReadTuples(std::size_t run, std::span<double* const> targets, std::size_t room) {
        Enter(run);
        before_ = done_;
        const auto left = static_cast<std::uint64_t>(info_.runs[run].samples - done_);
        const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(room, left));
        if (count == 0) return 0;
        const std::size_t places = info_.runs[run].axis.isListed ? 1 : 0;
        std::size_t column = places;
        for (std::size_t c = 0; c < cursors_.size(); ++c) {
            const UffSamples& samples = functions_[run][c];
            std::array<double*, 3> parts = {};
            if (places > 0 && c == 0) parts[0] = targets[0];
            for (std::size_t part = places; part < samples.Parts(); ++part) parts[part] = targets[column++];
            try {
                reader_.Read(samples, &cursors_[c], {parts.data(), samples.Parts()}, count);
            } catch (const Error& error) {
                throw error.At({.channel = static_cast<std::int64_t>(numbers_[run] + c)});
            }
        }
        if (places > 0 && targets[0] != nullptr) {
            ToStandardPlaces(abscissaUnits_[run], {targets[0], count});
        }
        done_ += static_cast<__int64>(count);
        return count;
    }

    static constexpr std::size_t kTextLine = 1;
    static constexpr std::size_t kStartLine = 2;

    std::unique_ptr<ByteStream> stream_;
    UffSampleReader reader_;
    const DecodeText decode_ = [this](std::string_view bytes) { return Decode(bytes); };
    std::vector<std::vector<UffSamples>> functions_;  ///< per run and channel
    std::vector<std::size_t> numbers_;                ///< per run, that of its first channel in the file
    std::vector<EntryUnit> abscissaUnits_;            ///< per run
    EntryUnit abscissaUnit_;                          ///< of the function looked at
    std::size_t channels_ = 0;
    std::size_t functionsSoFar_ = 0;
    std::size_t damaged_ = 0;
    std::optional<Error> firstDamage_;
    std::array<std::string, UffHeader::kLines> common_ = {};  ///< lines that all functions have
    std::map<__int64, UffNode> nodes_;
    std::vector<std::string> notes_;  ///< the remarks on functions so far
    std::string guess_;               ///< a remark on the first text that is not UTF-8

    std::size_t run_ = 0;
    std::vector<UffCursor> cursors_;  ///< per channel of the run
    __int64 done_ = 0;
    __int64 before_ = 0;
};

}  // namespace

bool IsUniversalFile(std::string_view begin) {
    begin.remove_prefix(std::min(begin.find_first_not_of("\r\n"), begin.size()));
    // The first record of a dataset is more than a number of six columns: that would be a table of one
    // column.
    if (TakeLine(&begin) != "    -1") return false;
    const std::string_view dataset = TakeLine(&begin);
    if (dataset.substr(0, 7) == "    58b") return true;
    return IsSixColumnNumber(dataset) && !IsSixColumnNumber(TakeLine(&begin));
}

std::unique_ptr<RecordingReader> OpenUffFile(std::unique_ptr<ByteStream> stream) {
    if (!stream) throw Error(ErrorKind::kBadValue, "there is no file to read");
    return WithErrors([&] { return std::make_unique<UffReader>(std::move(stream)); });
}

}  // namespace kvx
