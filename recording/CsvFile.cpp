// SPDX-License-Identifier: MIT
#include <KvxRecording01/CsvFile.h>

#include <array>
#include <charconv>
#include <cmath>
#include <limits>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

constexpr std::size_t kPiece = std::size_t{1} << 16;

/// The text of a number, without an allocation.
class NumberText {
public:
    static NumberText Exact(double value) {
        NumberText text;
        text.Keep(std::to_chars(text.buffer_.data(), text.buffer_.data() + kRoom, value));
        return text;
    }
    static NumberText Rounded(double value, int digits) {
        NumberText text;
        text.Keep(std::to_chars(text.buffer_.data(), text.buffer_.data() + kRoom, value,
                                std::chars_format::general, digits));
        return text;
    }

    std::string_view View() const { return {buffer_.data(), size_}; }
    double Value() const {
        double value = 0.0;
        std::from_chars(buffer_.data(), buffer_.data() + size_, value);
        return value;
    }

private:
    static constexpr std::size_t kRoom = 32;

    NumberText() = default;
    void Keep(const std::to_chars_result& result) {
        size_ = static_cast<std::size_t>(result.ptr - buffer_.data());
    }

    std::array<char, kRoom> buffer_ = {};
    std::size_t size_ = 0;
};

/// The number in `unit` for a stored value, given what it is there, `shown`, and what that is stored as,
/// `again`.
NumberText TextOf(const CUnitCtrl& unit, double stored, double shown, double again) {
    constexpr int kSafeDigits = 15;  // so many decimal digits survive being a double
    constexpr double kFewSteps = 2 * std::numeric_limits<double>::epsilon();
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
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
    for (const double neighbour : {std::nextafter(shown, -kInfinity), std::nextafter(shown, kInfinity)}) {
        if (storesAlike(neighbour)) return NumberText::Exact(neighbour);
    }
    return NumberText::Exact(shown);
}

/// "name [unit]", in quotes where the comma rules want it.
std::string Heading(const CsvColumn& column) {
    const std::string text =
        Printable(ToUtf8(column.name)) + column.part + " [" + UnitText(column.unit) + "]";
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

class CsvSignalWriter : public SignalWriter {
public:
    CsvSignalWriter(const std::string& path, const SignalRun& run)
        : written_(run),
          file_(WidePath(path)),
          csv_(file_, CUnitCtrl(CUnitCtrl::DIM_TIME), ColumnsOf(run)),
          run_(run) {}

    void Write(std::size_t run, std::span<double* const> channels, std::size_t count) override {
        written_.Add(run, channels, count);
        axis_.resize(count);
        for (double& time : axis_) time = static_cast<double>(run_.offset + done_++) * run_.delta;
        WithErrors([&] { csv_.Write(axis_, {channels.data(), channels.size()}); });
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
        for (const SignalRun::Channel& channel : run.channels)
            columns.push_back({channel.name, "", channel.unit});
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
    const auto rows = static_cast<__int64>(axis.size());
    std::vector<std::vector<double>> shown(columns.size(), std::vector<double>(axis.size()));
    std::vector<std::vector<double>> again = shown;
    for (std::size_t c = 0; c < columns.size(); ++c) {
        const CUnitCtrl& unit = columns_[c].unit;
        unit.ConvDtoI(shown[c].data(), columns[c], rows, 1.0, unit.IsSingle());
        unit.ConvItoD(again[c].data(), shown[c].data(), rows, 1.0, unit.IsSingle());
    }
    for (std::size_t i = 0; i < axis.size(); ++i) {
        text_ += NumberText::Exact(axis[i]).View();
        for (std::size_t c = 0; c < columns.size(); ++c) {
            text_ += ',';
            const double stored = columns[c][i];
            if (stored == kNoValue<double>) continue;
            text_ += TextOf(columns_[c].unit, stored, shown[c][i], again[c][i]).View();
        }
        text_ += '\n';
        if (text_.size() >= kPiece) Flush();
    }
}

void CsvWriter::Flush() {
    stream_.Write(text_.data(), text_.size());
    text_.clear();
}

std::unique_ptr<SignalWriter> CreateCsvSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    if (runs.size() != 1) {
        throw Error(ErrorKind::kUnsupported,
                    "a CSV table holds one record; choose it with " + options.wav.called.record);
    }
    return WithErrors([&] { return std::make_unique<CsvSignalWriter>(path, runs.front()); });
}

}  // namespace kvx
