// SPDX-License-Identifier: MIT
//
// Universal files being written: the datasets are laid out first, so that channels can be written side by
// side.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/NearestShown.h>
#include <KvxRecording01/detail/SignalFiles.h>
#include <KvxRecording01/detail/UffHeader.h>
#include <KvxRecording01/detail/UffUnits.h>

namespace kvx {
namespace {

constexpr std::string_view kDelimiter = "    -1\n";
constexpr __int64 kMostValues = 9'999'999'999;  // what ten columns hold

std::string InColumns(std::uint64_t number, std::size_t width) {
    std::string text = std::to_string(number);
    return text.insert(0, width - std::min(width, text.size()), ' ');
}

/// Where a channel stands in the file, and what becomes of its values.
struct Place {
    CUnitCtrl unit;
    std::string name;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;
    __int64 done = 0;
};

/// How tuples of so many parts are laid out.
class Layout {
public:
    Layout(const SignalRun& run, const SignalRun::Channel& channel, bool isText)
        : isText_(isText),
          isListed_(run.isListed),
          parts_((run.isListed ? 1U : 0U) + (channel.isComplex ? 2U : 1U)),
          samples_(run.samples) {
        perLine_ = static_cast<__int64>(80 / TupleWidth());
    }

    std::size_t Parts() const { return parts_; }
    /// Where a tuple begins, behind the start of the numbers; that behind the last one is their end.
    std::uint64_t OffsetOf(__int64 sample) const {
        const auto offset = static_cast<std::uint64_t>(sample) * TupleWidth();
        if (!isText_) return offset;
        const __int64 lineEnds = sample / perLine_ + (sample == samples_ && sample % perLine_ > 0 ? 1 : 0);
        return offset + static_cast<std::uint64_t>(lineEnds);
    }
    /// The bytes of tuples from sample `first` on.
    void Encode(std::span<const double* const> parts, __int64 first, std::size_t count,
                std::string* bytes) const {
        bytes->clear();
        if (!isText_) return EncodeBinary(parts, count, bytes);
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t part = 0; part < parts_; ++part)
                AppendText(parts[part][i], part == 0 && isListed_, bytes);
            const __int64 next = first + static_cast<__int64>(i) + 1;
            if (next % perLine_ == 0 || next == samples_) *bytes += '\n';
        }
    }

private:
    static constexpr std::size_t kPlaceColumns = 13;
    static constexpr std::size_t kValueColumns = 20;

    std::size_t TupleWidth() const {
        if (!isText_) return parts_ * sizeof(double);
        return isListed_ ? kPlaceColumns + (parts_ - 1) * kValueColumns : parts_ * kValueColumns;
    }

    void EncodeBinary(std::span<const double* const> parts, std::size_t count, std::string* bytes) const {
        bytes->resize(count * parts_ * sizeof(double));
        char* to = bytes->data();
        for (std::size_t i = 0; i < count; ++i) {
            for (std::size_t part = 0; part < parts_; ++part) {
                double number = parts[part][i];
                ToLittleEndian(std::span(&number, 1));
                to = std::copy_n(reinterpret_cast<const char*>(&number), sizeof number, to);
            }
        }
    }

    static void AppendText(double number, bool isPlace, std::string* text) {
        const std::size_t width = isPlace ? kPlaceColumns : kValueColumns;
        char digits[32];
        const char* const end = std::to_chars(digits, digits + sizeof digits, number,
                                              std::chars_format::scientific, isPlace ? 5 : 12)
                                    .ptr;
        std::replace(digits, digits + sizeof digits, 'e', 'E');
        const auto size = static_cast<std::size_t>(end - digits);
        text->append(width - std::min(width, size), ' ').append(digits, size);
    }

    bool isText_;
    bool isListed_;
    std::size_t parts_;
    __int64 samples_;
    __int64 perLine_ = 1;
};

class UffSignalWriter : public SignalWriter {
public:
    UffSignalWriter(const std::string& path, const std::vector<SignalRun>& runs,
                    const SignalFileOptions& options)
        : isText_(options.uff.numbers == UffNumbers::ascii), runs_(runs), file_(WidePath(path)) {
        lines_[1] = ToUtf8(options.text);
        std::array<std::string, kUffHeaderNames.size()> about;
        for (const auto& [name, fact] : options.facts) {
            for (std::size_t i = 0; i < lines_.size(); ++i)
                if (i != 1 && i != 2 && name == kUffLineName + std::to_string(i + 1)) lines_[i] = fact;
            for (std::size_t i = 0; i < about.size(); ++i)
                if (name == kUffHeaderNames[i]) about[i] = fact;
        }
        std::string text = HeaderDataset(about);
        std::uint64_t position = 0;
        const auto flush = [&] {
            file_.Write(text.data(), text.size());
            position += text.size();
            text.clear();
        };
        for (const SignalRun& run : runs_) {
            written_.emplace_back(run);
            if (run.samples > kMostValues) {
                throw Error(ErrorKind::kUnsupported,
                            "a function of a universal file holds at most 9999999999 values, this has " +
                                std::to_string(run.samples));
            }
            std::vector<Place>& places = places_.emplace_back();
            for (const SignalRun::Channel& channel : run.channels) {
                Place& place = places.emplace_back();
                place.name = ToUtf8(channel.name);
                const Layout layout(run, channel, isText_);
                text += BeginOf(run, channel, layout.OffsetOf(run.samples), &place);
                flush();
                place.begin = position;
                position = place.end = position + layout.OffsetOf(run.samples);
                file_.Seek(position);
                text = kDelimiter;
            }
        }
        flush();
    }

    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override {
        RequireRun(run, written_.size());
        written_[run].Add(0, columns, count);
        const SignalRun& about = runs_[run];
        std::size_t column = about.isListed ? 1 : 0;
        for (std::size_t c = 0; c < about.channels.size(); ++c) {
            Place& place = places_[run][c];
            const Layout layout(about, about.channels[c], isText_);
            std::vector<const double*> parts;
            if (about.isListed) parts.push_back(columns[0]);
            while (parts.size() < layout.Parts()) {
                ToUnit(about.channels[c], place, {columns[column], count});
                parts.push_back(columns[column++]);
            }
            layout.Encode(parts, place.done, count, &bytes_);
            WithErrors([&] {
                file_.Seek(place.begin + layout.OffsetOf(place.done));
                file_.Write(bytes_.data(), bytes_.size());
            });
            place.done += static_cast<__int64>(count);
        }
    }

    void Commit() override {
        for (const WrittenRun& run : written_) run.RequireAll();
        WithErrors([&] { file_.Commit(); });
    }

private:
    /// A dataset 151; nothing without anything to tell.
    static std::string HeaderDataset(std::span<const std::string> about) {
        if (std::ranges::all_of(about, &std::string::empty)) return {};
        constexpr std::size_t kRecords = 7;
        std::string dataset = std::string(kDelimiter) + "   151\n";
        for (const std::string& text : about) dataset += (text.empty() ? " " : UffLine(text)) + "\n";
        for (std::size_t i = about.size(); i < kRecords; ++i) dataset += " \n";
        return dataset += kDelimiter;
    }

    std::string BeginOf(const SignalRun& run, const SignalRun::Channel& channel, std::uint64_t bytes,
                        Place* place) const {
        UffHeader header;
        header.lines = lines_;
        header.lines[2] = run.start ? FormatUffStart(*run.start) : "";
        header.function = FindUffFunction(ToUtf8(run.title));
        if (header.function == 0)
            header.function = UffFunctionOf(run.axisUnit, channel.unit, channel.isComplex);
        SetUffChannelName(place->name, &header);
        if (!lines_[0].empty()) {
            // A name that stands elsewhere leaves the line to what stood there.
            const std::string line = std::exchange(header.lines[0], lines_[0]);
            if (UffChannelName(header) != place->name) header.lines[0] = line;
        }
        header.isComplex = channel.isComplex;
        header.isDouble = true;
        header.isListed = run.isListed;
        header.count = run.samples;
        header.delta = run.isListed ? 0.0 : run.delta;
        header.first = run.isListed ? 0.0 : static_cast<double>(run.offset) * run.delta;
        SetUffAbscissa(run.axisUnit, &header);
        place->unit = SetUffUnit(channel.unit, &header);
        std::string begin(kDelimiter);
        if (isText_) {
            begin += "    58\n";
        } else {
            begin += "    58b     1     2" + InColumns(UffHeader::kRecords, 12) + InColumns(bytes, 12) +
                     "     0     0           0           0\n";
        }
        return begin + FormatUffHeader(header);
    }

    /// Turns samples of the standard unit into those of the file, which are read back as the same where any
    /// number is. Throws Error for what they cannot be.
    void ToUnit(const SignalRun::Channel& channel, const Place& place, std::span<double> samples) {
        RequireValues(place, samples);
        const int isAbsolute = !channel.isComplex && place.unit.IsSingle() ? 1 : 0;
        shown_.Convert(place.unit, isAbsolute, samples);
        RequireValues(place, samples);
    }

    static void RequireValues(const Place& place, std::span<const double> samples) {
        if (AreValues(samples)) return;
        const auto bad = std::ranges::find_if_not(samples, [](double v) { return AreValues({&v, 1}); });
        throw Error(ErrorKind::kUnsupported,
                    "channel " + Quote(place.name) + " has a sample that is " +
                        (std::isfinite(*bad) ? "missing, which a universal file cannot hold" : "not finite"),
                    {.sample = place.done + (bad - samples.begin()) + 1});
    }

    bool isText_;
    std::array<std::string, UffHeader::kLines> lines_ = {};  ///< that all functions have
    std::vector<SignalRun> runs_;
    std::vector<WrittenRun> written_;
    std::vector<std::vector<Place>> places_;  ///< per run and channel
    OutputFile file_;
    std::string bytes_;
    ShownValues shown_;
};

}  // namespace

std::unique_ptr<SignalWriter> CreateUffSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    if (runs.empty()) throw Error(ErrorKind::kBadValue, "there are no channels or no samples to write");
    return WithErrors([&] { return std::make_unique<UffSignalWriter>(path, runs, options); });
}

}  // namespace kvx
