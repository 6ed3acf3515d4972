// SPDX-License-Identifier: MIT
#include <KvxRecording01/CsvFile.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
#include <optional>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/FactLines.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/NearestShown.h>
#include <KvxRecording01/detail/SafeDigits.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;

/// Rows that one core turns into text at a time.
constexpr std::size_t kRows = 1024;

/// What the text of a number takes at most.
constexpr std::size_t kNumberRoom = 32;

/// Writes the shortest text that reads back as the same double, and returns its end.
char* WriteExact(char* text, double value) {
    return std::to_chars(text, text + kNumberRoom, value).ptr;
}

/// The text of a number, without an allocation.
class NumberText {
public:
    static NumberText Exact(double value) {
        NumberText text;
        text.Keep(WriteExact(text.buffer_.data(), value));
        return text;
    }
    static NumberText Rounded(double value, int digits) {
        NumberText text;
        text.Keep(std::to_chars(text.buffer_.data(), text.buffer_.data() + kNumberRoom, value,
                                std::chars_format::general, digits)
                      .ptr);
        return text;
    }

    std::string_view View() const { return {buffer_.data(), size_}; }
    double Value() const {
        double value = 0.0;
        std::from_chars(buffer_.data(), buffer_.data() + size_, value);
        return value;
    }

private:
    NumberText() = default;
    void Keep(const char* end) { size_ = static_cast<std::size_t>(end - buffer_.data()); }

    std::array<char, kNumberRoom> buffer_;
    std::size_t size_ = 0;
};

/// Beside a number that is shown lie these, two doubles on.
constexpr double kFewSteps = 2 * std::numeric_limits<double>::epsilon();

/// The number in `unit` for a stored value, given what it is there, `shown`, and what that is stored as,
/// `again`.
NumberText TextOf(const CUnitCtrl& unit, double stored, double shown, double again) {
    if (shown == stored && again == stored) return NumberText::Exact(shown);
    const int absolute = unit.IsSingle();
    const auto storesAlike = [&](double number) { return unit.ConvItoD(number, 1.0, absolute) == stored; };
    NumberText rounded = NumberText::Rounded(shown, kSafeDigits);
    if (storesAlike(rounded.Value())) {
        // A conversion that shifts or takes a logarithm loses digits: then many a number is stored alike.
        const bool isCoarse =
            storesAlike(shown * (1.0 + kFewSteps)) || storesAlike(shown * (1.0 - kFewSteps));
        for (int digits = 1; isCoarse && digits < kSafeDigits; ++digits) {
            const NumberText shorter = NumberText::Rounded(shown, digits);
            if (storesAlike(shorter.Value())) return NumberText::Exact(shorter.Value());
        }
        return rounded;
    }
    if (again == stored) return NumberText::Exact(shown);
    return NumberText::Exact(NearestShown(unit, absolute, stored, shown));
}

/// The texts of stored values of one unit, what TextOf gives for each; conversions take all of them at once.
class ColumnText {
public:
    void Prepare(const CUnitCtrl& unit, std::span<const double> stored) {
        unit_ = &unit;
        stored_ = stored;
        const std::size_t count = stored.size();
        for (std::vector<double>* values : {&shown_, &again_, &safe_, &safeAgain_, &beside_, &besideAgain_})
            values->resize(count);
        safeNumbers_.resize(count);
        ways_.resize(count);
        unit.ConvDtoI(shown_.data(), stored.data(), std::ssize(stored), 1.0, unit.IsSingle());
        ToStored(shown_, again_);
        bool areExact = true;
        for (std::size_t i = 0; i < count; ++i) {
            const bool isExact = shown_[i] == stored[i] && again_[i] == stored[i];
            ways_[i] = isExact ? Way::exact : Way::other;
            areExact &= isExact;
        }
        if (!areExact) FindSafe();
    }

    /// Writes the text of a value that is not missing, and returns its end.
    char* Write(char* text, std::size_t i) const {
        if (ways_[i] == Way::exact) return WriteExact(text, shown_[i]);
        if (ways_[i] == Way::safe) return std::ranges::copy(safeNumbers_[i].Text(), text).out;
        const NumberText other = TextOf(*unit_, stored_[i], shown_[i], again_[i]);
        return std::ranges::copy(other.View(), text).out;
    }

private:
    enum class Way : unsigned char { exact, safe, other };

    void ToStored(const std::vector<double>& shown, std::vector<double>& stored) const {
        unit_->ConvItoD(stored.data(), shown.data(), std::ssize(shown), 1.0, unit_->IsSingle());
    }

    /// Finds the values for which the safe digits of what is shown are stored alike, and its neighbours not.
    void FindSafe() {
        for (std::size_t i = 0; i < stored_.size(); ++i) {
            safe_[i] = shown_[i];
            if (ways_[i] == Way::exact) continue;
            const std::optional<SafeNumber> number = SafeNumber::Nearest(shown_[i]);
            if (!number) continue;
            safe_[i] = number->Value();
            safeNumbers_[i] = *number;
            ways_[i] = Way::safe;
        }
        ToStored(safe_, safeAgain_);
        KeepSafe([&](std::size_t i) { return safeAgain_[i] == stored_[i]; });
        for (const double factor : {1.0 + kFewSteps, 1.0 - kFewSteps}) {
            for (std::size_t i = 0; i < stored_.size(); ++i) beside_[i] = shown_[i] * factor;
            ToStored(beside_, besideAgain_);
            KeepSafe([&](std::size_t i) { return besideAgain_[i] != stored_[i]; });
        }
    }

    template <typename Condition>
    void KeepSafe(Condition isSafe) {
        for (std::size_t i = 0; i < stored_.size(); ++i) {
            if (ways_[i] == Way::safe && !isSafe(i)) ways_[i] = Way::other;
        }
    }

    const CUnitCtrl* unit_ = nullptr;
    std::span<const double> stored_ = {};
    std::vector<double> shown_, again_;
    std::vector<double> safe_, safeAgain_;
    std::vector<double> beside_, besideAgain_;
    std::vector<SafeNumber> safeNumbers_;
    std::vector<Way> ways_;
};

/// "name [unit]", in quotes where the comma rules want it.
std::string Heading(const CsvColumn& column) {
    const std::string text =
        Printable(ToUtf8(column.name)) + column.part + " [" + StoredUnitText(column.unit) + "]";
    if (text.find_first_of(",\"") == std::string::npos && text.front() != '#') return text;
    std::string quoted = "\"";
    for (const char c : text) quoted += c == '"' ? "\"\"" : std::string(1, c);
    return quoted + "\"";
}

std::string AxisHeading(const CUnitCtrl& unit) {
    const CUnitCtrl::DIM_CODE dimension = DimensionOf(unit);
    const bool isTime = dimension == CUnitCtrl::DIM_TIME;
    const bool isFrequency = dimension == CUnitCtrl::DIM_FREQUENCY;
    return Heading({isTime ? L"time" : isFrequency ? L"frequency" : L"axis", "", CUnitCtrl(dimension)});
}

/// The comment lines above a table: when and of what it was taken.
std::string CommentsOf(const SignalRun& run, const SignalFileOptions& options) {
    std::vector<RecordingInfo::Property> facts;
    if (run.start) facts.push_back({"start", run.start->Text()});
    if (!run.title.empty()) facts.push_back({"title", ToUtf8(run.title)});
    std::ranges::move(WrittenFacts(options.facts), std::back_inserter(facts));
    std::string comments;
    for (const RecordingInfo::Property& fact : facts) comments += "# " + FactLine(fact) + "\n";
    return comments;
}

class CsvSignalWriter : public SignalWriter {
public:
    CsvSignalWriter(const std::string& path, const SignalRun& run, const std::string& comments)
        : written_(run), file_(WidePath(path)), csv_(file_, run.axisUnit, ColumnsOf(run)), run_(run) {
        file_.Write(comments.data(), comments.size());
    }

    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override {
        written_.Add(run, columns, count);
        if (run_.isListed) {
            axis_.assign(columns[0], columns[0] + count);
            columns = columns.subspan(1);
        } else {
            axis_.resize(count);
            for (double& place : axis_) place = static_cast<double>(run_.offset + done_++) * run_.delta;
        }
        WithErrors([&] { csv_.Write(axis_, {columns.data(), columns.size()}); });
    }
    void Commit() override {
        written_.RequireAll();
        WithErrors([&] {
            csv_.Flush();
            file_.Commit();
        });
    }

private:
    static std::vector<CsvColumn> ColumnsOf(const SignalRun& run) {
        std::vector<CsvColumn> columns;
        for (const SignalRun::Channel& channel : run.channels) {
            columns.push_back({channel.name, channel.isComplex ? " re" : "", channel.unit});
            if (channel.isComplex) columns.push_back({channel.name, " im", channel.unit});
        }
        return columns;
    }

    WrittenRun written_;
    OutputFile file_;
    CsvWriter csv_;
    SignalRun run_;
    __int64 done_ = 0;
    std::vector<double> axis_;
};

}  // namespace

std::string NumberIn(const CUnitCtrl& unit, double stored) {
    const double shown = unit.ConvDtoI(stored, 1.0, unit.IsSingle());
    return std::string(TextOf(unit, stored, shown, unit.ConvItoD(shown, 1.0, unit.IsSingle())).View());
}

CsvWriter::CsvWriter(ByteStream& stream, const CUnitCtrl& axisUnit, std::vector<CsvColumn> columns)
    : stream_(stream), columns_(std::move(columns)) {
    text_.reserve(2 * kPiece);
    text_ += AxisHeading(axisUnit);
    for (const CsvColumn& column : columns_) text_ += "," + Heading(column);
    text_ += '\n';
}

void CsvWriter::Write(std::span<const double> axis, std::span<const double* const> columns) {
    RequireChannels(columns, columns_.size(), axis.size());
    const std::size_t pieces = (axis.size() + kRows - 1) / kRows;
    if (pieces_.size() < pieces) pieces_.resize(pieces);
    ForEachInParallel(pieces, [&](std::size_t piece) {
        const std::size_t first = piece * kRows;
        const std::size_t count = std::min(kRows, axis.size() - first);
        std::vector<ColumnText> values(columns.size());
        for (std::size_t c = 0; c < columns.size(); ++c)
            values[c].Prepare(columns_[c].unit, {columns[c] + first, count});
        std::string& text = pieces_[piece];
        std::size_t used = 0;
        for (std::size_t i = 0; i < count; ++i) {
            const std::size_t room = (columns.size() + 1) * (kNumberRoom + 1);
            if (text.size() < used + room) text.resize(std::max(2 * used, used + room));
            char* end = WriteExact(text.data() + used, axis[first + i]);
            for (std::size_t c = 0; c < columns.size(); ++c) {
                *end++ = ',';
                if (columns[c][first + i] != kNoValue<double>) end = values[c].Write(end, i);
            }
            *end++ = '\n';
            used = static_cast<std::size_t>(end - text.data());
        }
        text.resize(used);
    });
    for (std::size_t piece = 0; piece < pieces; ++piece) {
        text_ += pieces_[piece];
        if (text_.size() >= kPiece) Flush();
    }
}

void CsvWriter::Flush() {
    stream_.Write(text_.data(), text_.size());
    text_.clear();
}

std::unique_ptr<SignalWriter> CreateCsvSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    const SignalRun& run = SingleRun(runs, "a CSV table", options.called);
    // What reads a .csv file mostly wants its first line to be the headings.
    const std::string comments = path.ends_with(".txt") ? CommentsOf(run, options) : std::string();
    return WithErrors([&] { return std::make_unique<CsvSignalWriter>(path, run, comments); });
}

}  // namespace kvx
