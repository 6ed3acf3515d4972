// SPDX-License-Identifier: MIT
#include <KvxRecording01/SacFile.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/FortranNumber.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/MotionUnit.h>
#include <KvxRecording01/detail/NumberBlocks.h>
#include <KvxRecording01/detail/NumberBytes.h>
#include <KvxRecording01/detail/SignalFiles.h>

namespace kvx {
namespace {

constexpr std::size_t kReals = 70;
constexpr std::size_t kWholes = 40;
constexpr std::size_t kTexts = 23;  // of eight characters, the second of sixteen
constexpr std::size_t kTextsAt = 4 * (kReals + kWholes);
constexpr std::size_t kHeaderBytes = kTextsAt + 8 * (kTexts + 1);
constexpr std::size_t kFooterReals = 22;
constexpr double kUnknown = -12345.0;

// The fields by their names in the format. Those without a name are not used.
// clang-format off
constexpr const char* kRealNames[kReals] = {
    "delta", "depmin", "depmax", "scale", "odelta", "b", "e", "o", "a", "",
    "t0", "t1", "t2", "t3", "t4", "t5", "t6", "t7", "t8", "t9",
    "f", "resp0", "resp1", "resp2", "resp3", "resp4", "resp5", "resp6", "resp7", "resp8",
    "resp9", "stla", "stlo", "stel", "stdp", "evla", "evlo", "evel", "evdp", "mag",
    "user0", "user1", "user2", "user3", "user4", "user5", "user6", "user7", "user8", "user9",
    "dist", "az", "baz", "gcarc", "sb", "sdelta", "depmen", "cmpaz", "cmpinc", "xminimum",
    "xmaximum", "yminimum", "ymaximum", "", "", "", "", "", "", "",
};
constexpr const char* kWholeNames[kWholes] = {
    "nzyear", "nzjday", "nzhour", "nzmin", "nzsec", "nzmsec", "nvhdr", "norid", "nevid", "npts",
    "nsnpts", "nwfid", "nxsize", "nysize", "", "iftype", "idep", "iztype", "", "iinst",
    "istreg", "ievreg", "ievtyp", "iqual", "isynth", "imagtyp", "imagsrc", "", "", "",
    "", "", "", "", "", "leven", "lpspol", "lovrok", "lcalda", "",
};
constexpr const char* kTextNames[kTexts] = {
    "kstnm", "kevnm", "khole", "ko", "ka", "kt0", "kt1", "kt2", "kt3", "kt4", "kt5", "kt6",
    "kt7", "kt8", "kt9", "kf", "kuser0", "kuser1", "kuser2", "kcmpnm", "knetwk", "kdatrd", "kinst",
};
/// The fields that the footer of version 7 has in double precision, in its order.
constexpr std::size_t kFooterFields[kFooterReals] = {
    0, 5, 6, 7, 8, 10, 11, 12, 13, 14, 15, 16, 17, 18, 19, 20, 36, 35, 32, 31, 54, 55,
};
// clang-format on

enum RealField { kDelta = 0, kBegin = 5 };
enum WholeField { kYear = 0, kVersion = 6, kCount = 9, kType = 15, kDependent = 16, kIsEven = 35 };
enum TextField { kStation = 0, kEvent = 1, kHole = 2, kComponent = 19, kNetwork = 20 };
enum FileType { kTime = 1, kRealImaginary = 2, kAmplitudePhase = 3, kXy = 4, kXyz = 51 };

/// The kinds of values, as the format numbers them, and the units that it gives them.
struct Dependent {
    int number;
    const char* name;
    const char* unit;
};
constexpr Dependent kDependents[] = {
    {6, "displacements", "nm"},
    {7, "velocities", "nm/s"},
    {8, "accelerations", "nm/s2"},
    {50, "voltages", "V"},
};

struct Header {
    std::array<double, kReals> reals = {};
    std::array<std::int64_t, kWholes> wholes = {};
    std::array<std::string, kTexts> texts = {};
};

template <typename Number>
Number NumberAt(const char* bytes, bool isBigEndian) {
    return LoadNumber<Number>(reinterpret_cast<const std::byte*>(bytes), isBigEndian);
}

/// What a number of the header was before it was rounded to single precision: the shortest decimal number
/// that gives it.
double Unrounded(float value) {
    std::array<char, 64> text;
    const auto [end, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    double result = static_cast<double>(value);
    if (std::isfinite(value) && error == std::errc()) std::from_chars(text.data(), end, result);
    return result;
}

bool IsType(std::int64_t type) {
    return (type >= kTime && type <= kXy) || type == kXyz;
}

/// The byte order of a binary header; no value for what is none. The first 424 bytes are looked at.
std::optional<bool> IsBigEndianHeader(std::string_view begin) {
    constexpr std::size_t kSeen = 4 * (kReals + kIsEven + 1);
    if (begin.size() < kSeen) return std::nullopt;
    for (const bool isBigEndian : {false, true}) {
        const auto whole = [&](std::size_t field) {
            return NumberAt<std::int32_t>(begin.data() + 4 * (kReals + field), isBigEndian);
        };
        const float delta = NumberAt<float>(begin.data(), isBigEndian);
        if ((whole(kVersion) == 6 || whole(kVersion) == 7) && whole(kCount) > 0 && IsType(whole(kType)) &&
            (whole(kIsEven) == 0 || (whole(kIsEven) == 1 && std::isfinite(delta) && delta > 0.0F)))
            return isBigEndian;
    }
    return std::nullopt;
}

constexpr __int64 kPartsPerMilli = StartTime::kPartsPerSecond / 1000;

/// A text up to a zero, without blanks around it; empty for one that is not known.
std::string FieldText(std::string_view bytes) {
    std::string text = PlainLine(bytes.substr(0, bytes.find('\0')));
    return text == "-12345" ? "" : text;
}

/// The time that places count from, universal time.
std::optional<StartTime> ReferenceOf(const Header& header) {
    const auto part = [&](std::size_t i) { return header.wholes[kYear + i]; };
    const bool isClock = part(2) >= 0 && part(2) < 24 && part(3) >= 0 && part(3) < 60 && part(4) >= 0 &&
                         part(4) <= 60 && part(5) >= 0 && part(5) < 1000;
    if (!isClock || part(0) < 0 || part(0) > 9999 || part(1) < 1 || part(1) > 366) return std::nullopt;
    auto start = StartOnDay(static_cast<int>(part(0)), static_cast<int>(part(1)),
                            part(2) * 3600 + part(3) * 60 + part(4), part(5) * kPartsPerMilli);
    if (start) start->isUniversal = true;
    return start;
}

/// What the header says of the recording. The run has its axis, count and channel.
RecordingInfo InfoOf(const Header& header) {
    const std::int64_t type = header.wholes[kType];
    if (type == kXyz)
        throw Error(ErrorKind::kUnsupported, "it holds values over two axes, which are not read");
    const bool isSpectrum = type == kRealImaginary || type == kAmplitudePhase;
    const bool isEven = header.wholes[kIsEven] != 0;
    if (isSpectrum && !isEven) throw Error(ErrorKind::kDamaged, "its spectrum is not evenly spaced");

    RecordingInfo info;
    RecordingInfo::Run& run = info.runs.emplace_back();
    run.samples = header.wholes[kCount];
    if (isSpectrum) run.axis.unit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    if (type == kXy) run.axis.unit = CUnitCtrl();
    run.axis.isListed = !isEven;
    if (isEven) {
        run.axis.delta = header.reals[kDelta];
        if (!(run.axis.delta > 0.0))
            throw Error(ErrorKind::kDamaged, "its header states no interval of samples");
        if (std::isfinite(header.reals[kBegin]) && header.reals[kBegin] != kUnknown)
            run.axis.first = header.reals[kBegin];
    }
    RecordingInfo::Channel& channel = run.channels.emplace_back();
    std::string name;
    for (const TextField field : {kNetwork, kStation, kHole, kComponent}) {
        const std::string& part = header.texts[field];
        if (!part.empty()) name += (name.empty() ? "" : ".") + part;
    }
    channel.name = FromUtf8Replacing(name);
    channel.isComplex = isSpectrum;
    const auto* const dependent = std::ranges::find(kDependents, header.wholes[kDependent],
                                                    [](const Dependent& d) { return d.number; });
    if (dependent != std::end(kDependents) && !isSpectrum) {
        if (const auto unit = FindMotionUnit(dependent->unit)) StateMotionUnit(&channel, *unit);
        channel.unitRemark = std::string("the header says that the values are ") + dependent->name +
                             ", which the format counts in " + std::string(dependent->unit) +
                             "; some programs write them in another unit, which is to be stated then";
    }
    const auto state = [&](const char* property, const std::string& text) {
        if (*property != '\0' && !text.empty()) info.properties.push_back({property, text});
    };
    const bool hasBegin = std::isfinite(header.reals[kBegin]) && header.reals[kBegin] != kUnknown;
    run.start = ReferenceOf(header);
    if (run.start && hasBegin && !isSpectrum) run.start = run.start->Later(header.reals[kBegin]);
    info.text = FromUtf8Replacing(header.texts[kEvent]);
    for (std::size_t i = 0; i < kTexts; ++i)
        if (i != kEvent) state(kTextNames[i], header.texts[i]);
    for (std::size_t i = 0; i < kReals; ++i) {
        if (header.reals[i] != kUnknown) state(kRealNames[i], FormatNumber(header.reals[i], 15));
    }
    for (std::size_t i = 0; i < kWholes; ++i) {
        if (header.wholes[i] != static_cast<std::int64_t>(kUnknown))
            state(kWholeNames[i], std::to_string(header.wholes[i]));
    }
    return info;
}

/// The parts of a file behind its header: values, or values and their places, or both parts of complex ones.
std::int64_t CountParts(const Header& header) {
    return header.wholes[kType] == kRealImaginary || header.wholes[kType] == kAmplitudePhase ||
                   header.wholes[kIsEven] == 0
               ? 2
               : 1;
}

// ---- the binary form ----

class SacReader : public RecordingReader {
public:
    explicit SacReader(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {
        std::array<char, kHeaderBytes> bytes;
        stream_->Seek(0);
        const std::uint64_t size = stream_->Remaining();
        const std::string_view begin(bytes.data(), stream_->Read(bytes.data(), bytes.size()));
        const std::optional<bool> isBigEndian = IsBigEndianHeader(begin);
        if (!isBigEndian) throw Error(ErrorKind::kDamaged, "it is no SAC file");
        if (begin.size() < kHeaderBytes)
            throw Error(ErrorKind::kDamaged, "it is cut short within its header");
        isBigEndian_ = *isBigEndian;
        Header header;
        for (std::size_t i = 0; i < kReals; ++i)
            header.reals[i] = Unrounded(NumberAt<float>(&bytes[4 * i], *isBigEndian));
        for (std::size_t i = 0; i < kWholes; ++i)
            header.wholes[i] = NumberAt<std::int32_t>(&bytes[4 * (kReals + i)], *isBigEndian);
        for (std::size_t i = 0, at = kTextsAt; i < kTexts; ++i) {
            const std::size_t length = i == 1 ? 16 : 8;
            header.texts[i] = FieldText(begin.substr(at, length));
            at += length;
        }
        RequireSize(header, size, *isBigEndian);
        isListed_ = header.wholes[kIsEven] == 0;
        isPolar_ = header.wholes[kType] == kAmplitudePhase;
        info_ = InfoOf(header);
        if (size > end_) {
            info_.remarks.push_back(Count(static_cast<long long>(size - end_), "byte") +
                                    " after the samples are left out");
        }
    }

    std::size_t Read(std::size_t number, std::span<double* const> targets, std::size_t room) override {
        RequireRun(number, info_.runs.size());
        const RecordingInfo::Run& run = info_.runs.front();
        const auto count = static_cast<std::size_t>(
            std::min(std::uint64_t{room}, static_cast<std::uint64_t>(run.samples - done_)));
        before_ = done_;
        areKnownValues_ = true;
        WithErrors([&] {
            if (isPolar_) {
                ReadPolar(targets, count);
            } else {
                // Places are delivered in front of values and stand behind them in the file.
                for (std::size_t part = 0; part < targets.size(); ++part) {
                    if (double* const target = targets[isListed_ ? 1 - part : part])
                        ReadPart(part, {target, count});
                }
            }
        });
        done_ += static_cast<__int64>(count);
        return count;
    }

    void Skip(std::size_t, __int64 count) override {
        done_ += std::clamp<__int64>(count, 0, info_.runs.front().samples - done_);
    }

    Error ErrorAt(std::size_t, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        return Error(kind, sentence, {.sample = before_ + static_cast<__int64>(index) + 1});
    }

private:
    /// Throws Error unless the samples that the header states are there, and takes what the footer says.
    void RequireSize(Header& header, std::uint64_t size, bool isBigEndian) {
        const bool hasFooter = header.wholes[kVersion] == 7;
        const auto values = static_cast<std::uint64_t>(header.wholes[kCount] * CountParts(header));
        const std::uint64_t samplesEnd = kHeaderBytes + 4 * values;
        end_ = samplesEnd + (hasFooter ? 8 * kFooterReals : 0);
        if (size < end_) {
            throw Error(ErrorKind::kDamaged, "it is cut short: its header states " + std::to_string(end_) +
                                                 " bytes, and it has " + std::to_string(size));
        }
        if (!hasFooter) return;
        std::array<char, 8 * kFooterReals> bytes;
        stream_->Seek(samplesEnd);
        if (stream_->Read(bytes.data(), bytes.size()) < bytes.size())
            throw Error(ErrorKind::kDamaged, "it is cut short within its footer");
        for (std::size_t i = 0; i < kFooterReals; ++i) {
            const auto value = NumberAt<double>(&bytes[8 * i], isBigEndian);
            if (value != kUnknown) header.reals[kFooterFields[i]] = value;
        }
    }

    /// The next samples of a part of the file.
    void ReadPart(std::size_t part, std::span<double> samples) {
        constexpr std::size_t kBlock = std::size_t{1} << 14;
        constexpr std::size_t kWidth = sizeof(float);
        std::array<std::byte, kWidth * kBlock> bytes;
        const __int64 first = static_cast<__int64>(part) * info_.runs.front().samples + done_;
        stream_->Seek(kHeaderBytes + kWidth * static_cast<std::uint64_t>(first));
        for (std::size_t done = 0; done < samples.size();) {
            const std::span<double> block = samples.subspan(done, std::min(kBlock, samples.size() - done));
            if (stream_->Read(bytes.data(), kWidth * block.size()) < kWidth * block.size())
                throw Error(ErrorKind::kDamaged, "it became shorter while it was read");
            if (!ToDoubles({NumberType::Kind::floating, kWidth, isBigEndian_}, bytes.data(), kWidth, block)) {
                const auto bad = std::ranges::find_if(block, [](double v) { return !std::isfinite(v); });
                throw ErrorAt(0, done + static_cast<std::size_t>(bad - block.begin()), ErrorKind::kDamaged,
                              "the value is not a finite number");
            }
            done += block.size();
        }
    }

    /// The next amplitudes and phases as complex values.
    void ReadPolar(std::span<double* const> targets, std::size_t count) {
        std::array<std::vector<double>, 2> parts;
        for (std::size_t part = 0; part < parts.size(); ++part) {
            parts[part].resize(count);
            ReadPart(part, parts[part]);
        }
        for (std::size_t i = 0; i < count; ++i) {
            if (targets[0] != nullptr) targets[0][i] = parts[0][i] * std::cos(parts[1][i]);
            if (targets[1] != nullptr) targets[1][i] = parts[0][i] * std::sin(parts[1][i]);
        }
    }

    std::unique_ptr<ByteStream> stream_;
    bool isBigEndian_ = false;
    bool isListed_ = false;
    bool isPolar_ = false;
    std::uint64_t end_ = 0;  ///< of what the header states
    __int64 done_ = 0;
    __int64 before_ = 0;  ///< the samples in front of the block last read
};

// ---- the alphanumeric form ----

constexpr std::size_t kPerLine = 5;
constexpr std::size_t kRealWidth = 15;
constexpr std::size_t kWholeWidth = 10;

std::unique_ptr<RecordingReader> OpenText(std::unique_ptr<ByteStream> stream) {
    NumberRecording recording(std::move(stream));
    LineCursor lines(recording.Stream());
    const auto reals = HeaderNumbers(lines, kReals, kPerLine, kRealWidth);
    const auto wholes = HeaderNumbers(lines, kWholes, kPerLine, kWholeWidth);
    Header header;
    for (std::size_t i = 0; i < kReals; ++i) header.reals[i] = reals[i].value_or(kUnknown);
    for (std::size_t i = 0; i < kWholes; ++i) {
        const double number = std::clamp(wholes[i].value_or(kUnknown), -2147483648.0, 2147483647.0);
        header.wholes[i] = static_cast<std::int64_t>(number);
    }
    for (std::size_t i = 0; i < kTexts;) {
        const std::string line = std::string(lines.Require()) + std::string(3 * 8, ' ');
        for (std::size_t at = 0; at < 3 * 8; ++i) {
            const std::size_t length = i == 1 ? 16 : 8;
            header.texts[i] = FieldText(std::string_view(line).substr(at, length));
            at += length;
        }
    }
    if (!IsType(header.wholes[kType]) || header.wholes[kCount] < 1)
        throw Error(ErrorKind::kDamaged, "its header states no samples");
    if (header.wholes[kType] == kAmplitudePhase)
        throw Error(ErrorKind::kUnsupported, "amplitudes and phases are read of the binary form only");
    RecordingInfo info = InfoOf(header);
    std::vector<NumberColumn> columns;
    for (std::int64_t part = 0; part < CountParts(header); ++part)
        columns.push_back({TakeBlock(lines, header.wholes[kCount], kPerLine, kRealWidth)});
    if (header.wholes[kIsEven] == 0) std::swap(columns[0], columns[1]);
    RecordingInfo::Run run = std::move(info.runs.front());
    info.runs.clear();
    recording.Info() = std::move(info);
    recording.AddRun(std::move(run), std::move(columns));
    return std::move(recording).Finish();
}

// ---- writing ----

std::string BytesOf(float value) {
    return LittleEndian(std::bit_cast<std::uint32_t>(value), 4);
}

std::string TextBytes(const std::wstring& text, std::size_t size) {
    std::string bytes = text.empty() ? "-12345" : ToUtf8(text);
    // A character of several bytes is left out whole.
    std::size_t kept = std::min(size, bytes.size());
    while (kept > 0 && kept < bytes.size() && (static_cast<unsigned char>(bytes[kept]) & 0xC0) == 0x80)
        --kept;
    bytes.resize(kept);
    bytes.resize(size, ' ');
    return bytes;
}

/// The text fields that a name goes to: a name such as CJ.T001230.HNE to those of its network, station and
/// component, from which it is read as it was, any other one to that of the component.
std::map<std::size_t, std::wstring> NameFields(const std::wstring& name) {
    std::vector<std::wstring> parts(1);
    for (const wchar_t c : name) {
        if (c == L'.') {
            parts.emplace_back();
        } else {
            parts.back() += c;
        }
    }
    const bool fit = std::ranges::all_of(parts, [](const std::wstring& part) {
        return !part.empty() && part.front() > L' ' && part.back() > L' ' && ToUtf8(part).size() <= 8;
    });
    if (fit && parts.size() == 2) return {{kStation, parts[0]}, {kComponent, parts[1]}};
    if (fit && parts.size() == 3) return {{kNetwork, parts[0]}, {kStation, parts[1]}, {kComponent, parts[2]}};
    if (fit && parts.size() == 4) {
        return {{kNetwork, parts[0]}, {kStation, parts[1]}, {kHole, parts[2]}, {kComponent, parts[3]}};
    }
    return {{kComponent, name}};
}

/// What a file counts values of a dimension in.
struct WrittenKind {
    CUnitCtrl::DIM_CODE dimension;
    std::int32_t dependent;
    double scale;  ///< from the standard unit
};
constexpr WrittenKind kWrittenKinds[] = {
    {CUnitCtrl::DIM_DISPLACEMENT, 6, 1e9},
    {CUnitCtrl::DIM_VELOCITY, 7, 1e9},
    {CUnitCtrl::DIM_ACCELERATION, 8, 1e9},
    {CUnitCtrl::DIM_VOLTAGE, 50, 1.0},
};
constexpr std::int32_t kUnknownDependent = 5;

/// A file of version 7, whose footer holds the axis in double precision.
class SacWriter : public SignalWriter {
public:
    SacWriter(const std::string& path, const SignalRun& run, const SignalFileOptions& options)
        : written_(run), run_(run), file_(WidePath(path)) {
        TakeFacts(options.facts);
        const SignalRun::Channel& channel = run.channels.front();
        const auto* const kind =
            std::ranges::find(kWrittenKinds, DimensionOf(channel.unit), &WrittenKind::dimension);
        const bool isPlain =
            channel.unit.IsSingle() && UnitParts(channel.unit).front().calc == CUnitCtrl::CALC_PLAIN;
        if (kind != std::end(kWrittenKinds) && isPlain && !channel.isComplex) kind_ = *kind;
        texts_.merge(NameFields(channel.name));
        texts_[kEvent] = options.text;
        first_ = static_cast<double>(run.offset) * run.delta;
        last_ = first_ + static_cast<double>(run.samples - 1) * run.delta;
    }

    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override {
        written_.Add(run, columns, count);
        if (count == 0) return;
        for (const double* const column : columns) {
            const std::size_t missing =
                static_cast<std::size_t>(std::find(column, column + count, kNoValue<double>) - column);
            if (missing == count) continue;
            throw Error(ErrorKind::kUnsupported, "the sample holds no value",
                        {.sample = done_ + static_cast<__int64>(missing) + 1});
        }
        std::span<double> values(columns[run_.isListed ? 1 : 0], count);
        if (kind_.dependent == kUnknownDependent)
            ToShown({columns.data() + (run_.isListed ? 1 : 0), run_.Columns() - (run_.isListed ? 1 : 0)},
                    count);
        std::ranges::for_each(values, [&](double& value) { value *= kind_.scale; });
        for (const double value : values) {
            lowest_ = std::min(lowest_, value);
            highest_ = std::max(highest_, value);
            sum_ += value;
        }
        WithErrors([&] {
            WritePart(0, values);
            if (run_.Columns() == 2) WritePart(1, {columns[run_.isListed ? 0 : 1], count});
        });
        if (run_.isListed) {
            if (done_ == 0) first_ = columns[0][0];
            last_ = columns[0][count - 1];
        }
        done_ += static_cast<__int64>(count);
    }

    void Commit() override {
        written_.RequireAll();
        WithErrors([&] {
            file_.Seek(0);
            SetReference();
            const std::string header = Header();
            file_.Write(header.data(), header.size());
            file_.Seek(kHeaderBytes + 4 * run_.Columns() * static_cast<std::uint64_t>(run_.samples));
            const std::string footer = Footer();
            file_.Write(footer.data(), footer.size());
            file_.Commit();
        });
    }

private:
    /// Takes the facts that are fields of the header, other than those of the channel's name and what the
    /// samples tell.
    void TakeFacts(std::span<const RecordingInfo::Property> facts) {
        constexpr std::string_view kOwn[] = {"kstnm",  "kevnm",  "khole",  "knetwk", "kcmpnm", "delta",
                                             "b",      "e",      "depmin", "depmax", "depmen", "odelta",
                                             "nvhdr",  "npts",   "iftype", "idep",   "leven",  "nzyear",
                                             "nzjday", "nzhour", "nzmin",  "nzsec",  "nzmsec", "iztype"};
        for (const RecordingInfo::Property& fact : facts) {
            const std::string& name = fact.name;
            const std::string& text = fact.text;
            if (name.empty() || std::ranges::find(kOwn, name) != std::end(kOwn)) continue;
            const auto fieldIn = [&](std::span<const char* const> names) {
                const auto at = std::ranges::find(names, std::string_view(name),
                                                  [](const char* each) { return std::string_view(each); });
                return static_cast<std::size_t>(at - names.begin());
            };
            const std::optional<double> number = ParseNumber(text);
            if (const std::size_t field = fieldIn(kTextNames); field < kTexts) {
                texts_[field] = FromUtf8Replacing(text);
            } else if (const std::size_t real = fieldIn(kRealNames); number && real < kReals) {
                reals_[real] = *number;
            } else if (const std::size_t whole = fieldIn(kWholeNames);
                       number && whole < kWholes && std::abs(*number) <= 2147483647.0) {
                wholes_[whole] = static_cast<std::int32_t>(*number);
            }
        }
    }

    /// Sets the fields of the time that places count from, which has no digits below milliseconds.
    void SetReference() {
        std::optional<StartTime> reference = run_.start;
        if (reference && run_.axisUnit == CUnitCtrl::DIM_TIME)
            reference = reference->Later(-first_)->Later(0.0005);
        if (!reference) return;
        const StartTime::Calendar date = reference->Date();
        const int parts[] = {date.year,   date.dayOfYear,
                             date.hour,   date.minute,
                             date.second, static_cast<int>(reference->parts / kPartsPerMilli)};
        for (std::size_t i = 0; i < std::size(parts); ++i) wholes_[kYear + i] = parts[i];
    }

    /// Turns values of the standard unit into those of the channel's.
    void ToShown(std::span<double* const> columns, std::size_t count) const {
        const CUnitCtrl& unit = run_.channels.front().unit;
        const int isAbsolute = !run_.channels.front().isComplex && unit.IsSingle() ? 1 : 0;
        for (double* const column : columns)
            unit.ConvDtoI(column, column, static_cast<__int64>(count), 1.0, isAbsolute);
    }

    void WritePart(std::size_t part, std::span<const double> values) {
        std::vector<float> singles(values.size());
        for (std::size_t i = 0; i < values.size(); ++i) {
            singles[i] = static_cast<float>(values[i]);
            if (std::isfinite(singles[i])) continue;
            throw Error(ErrorKind::kUnsupported, "the value is beyond what 32 bits hold",
                        {.sample = done_ + static_cast<__int64>(i) + 1});
        }
        ToLittleEndian(std::span(singles));
        const __int64 at = static_cast<__int64>(part) * run_.samples + done_;
        file_.Seek(kHeaderBytes + 4 * static_cast<std::uint64_t>(at));
        file_.Write(singles.data(), 4 * singles.size());
    }

    std::string Header() const {
        const SignalRun::Channel& channel = run_.channels.front();
        std::string bytes;
        for (std::size_t i = 0; i < kReals; ++i) {
            const std::string_view name = kRealNames[i];
            double value = reals_.contains(i) ? reals_.at(i) : kUnknown;
            if (name == "delta" && !run_.isListed) value = run_.delta;
            if (name == "b") value = first_;
            if (name == "e") value = last_;
            if (name == "depmin") value = lowest_;
            if (name == "depmax") value = highest_;
            if (name == "depmen") value = sum_ / static_cast<double>(run_.samples);
            bytes += BytesOf(static_cast<float>(value));
        }
        for (std::size_t i = 0; i < kWholes; ++i) {
            std::int32_t value = wholes_.contains(i) ? wholes_.at(i) : static_cast<std::int32_t>(kUnknown);
            if (i == kVersion) value = 7;
            if (i == kCount) value = static_cast<std::int32_t>(run_.samples);
            if (i == kType) value = channel.isComplex ? kRealImaginary : kTime;
            if (i == kDependent) value = kind_.dependent;
            if (i == kIsEven) value = !run_.isListed;
            if (i > kIsEven && !wholes_.contains(i)) value = i < kIsEven + 4;
            bytes += LittleEndian(static_cast<std::uint32_t>(value), 4);
        }
        for (std::size_t i = 0; i < kTexts; ++i)
            bytes += TextBytes(texts_.contains(i) ? texts_.at(i) : L"", i == kEvent ? 16 : 8);
        return bytes;
    }

    std::string Footer() const {
        std::string bytes;
        for (const std::size_t field : kFooterFields) {
            double value = reals_.contains(field) ? reals_.at(field) : kUnknown;
            if (field == kDelta && !run_.isListed) value = run_.delta;
            if (field == kBegin) value = first_;
            if (field == kBegin + 1) value = last_;
            bytes += LittleEndian(std::bit_cast<std::uint64_t>(value), 8);
        }
        return bytes;
    }

    WrittenRun written_;
    SignalRun run_;
    std::map<std::size_t, std::wstring> texts_;  ///< by their fields, as the numbers
    std::map<std::size_t, double> reals_;
    std::map<std::size_t, std::int32_t> wholes_;
    OutputFile file_;
    WrittenKind kind_ = {CUnitCtrl::DIM_NONE, kUnknownDependent, 1.0};
    __int64 done_ = 0;
    double first_ = 0.0;  ///< place of the first sample
    double last_ = 0.0;
    double lowest_ = std::numeric_limits<double>::max();
    double highest_ = std::numeric_limits<double>::lowest();
    double sum_ = 0.0;
};

}  // namespace

bool IsSac(std::string_view begin) {
    return IsBigEndianHeader(begin).has_value();
}

bool IsSacText(std::string_view begin) {
    bool hasUnknown = false;
    for (int line = 0; line < 4; ++line) {
        const std::size_t end = begin.find('\n');
        if (end == begin.npos || end < (kPerLine - 1) * kRealWidth || end > kPerLine * kRealWidth + 1)
            return false;
        for (std::size_t i = 0; i < kPerLine; ++i) {
            const std::string_view field = begin.substr(0, end).substr(i * kRealWidth, kRealWidth);
            const std::optional<double> number = FixedNumber(field.substr(0, field.find('\r')));
            if (!number) return false;
            hasUnknown |= *number == kUnknown;
        }
        begin.remove_prefix(end + 1);
    }
    return hasUnknown;
}

std::unique_ptr<RecordingReader> OpenSac(std::unique_ptr<ByteStream> stream) {
    return WithErrors([&]() -> std::unique_ptr<RecordingReader> {
        std::array<char, 512> begin;
        const std::size_t size = stream->Read(begin.data(), begin.size());
        if (IsSacText({begin.data(), size})) return OpenText(std::move(stream));
        return std::make_unique<SacReader>(std::move(stream));
    });
}

bool IsSacUnit(const CUnitCtrl& unit) {
    return DimensionOf(unit) == CUnitCtrl::DIM_NONE ||
           std::ranges::find(kWrittenKinds, DimensionOf(unit), &WrittenKind::dimension) !=
               std::end(kWrittenKinds);
}

std::unique_ptr<SignalWriter> CreateSacSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    const SignalRun& run = SingleRun(runs, "a SAC file", options.called);
    if (run.channels.size() != 1)
        throw Error(ErrorKind::kUnsupported, "a SAC file holds one channel; choose it by its name or number");
    const bool isSpectrum = run.channels.front().isComplex;
    const CUnitCtrl::DIM_CODE axis = isSpectrum ? CUnitCtrl::DIM_FREQUENCY : CUnitCtrl::DIM_TIME;
    if (run.axisUnit != axis || (isSpectrum && run.isListed)) {
        throw Error(ErrorKind::kUnsupported,
                    "a SAC file holds real values over time or complex ones over evenly spaced frequencies");
    }
    if (run.samples > std::numeric_limits<std::int32_t>::max())
        throw Error(ErrorKind::kUnsupported, "a SAC file holds at most 2147483647 samples");
    return WithErrors([&] { return std::make_unique<SacWriter>(path, run, options); });
}

}  // namespace kvx
