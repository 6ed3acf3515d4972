// SPDX-License-Identifier: MIT
#include <KvxRecording01/TdmsFile.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/StatedUnit.h>
#include <KvxRecording01/detail/TdmsBytes.h>
#include <KvxRecording01/detail/TdmsIndex.h>
#include <KvxRecording01/detail/TdmsScale.h>
#include <KvxRecording01/detail/TextHeadings.h>

namespace kvx {
namespace {

/// Samples that are read at a time, and bytes of rows that several channels are taken from.
constexpr std::uint64_t kPiece = std::uint64_t{1} << 15;
constexpr std::uint64_t kRowBytes = std::uint64_t{1} << 18;
/// Chunks of up to so many bytes are read whole, larger ones channel by channel.
constexpr std::uint64_t kWindow = std::uint64_t{1} << 18;

/// What no single number and no integer is larger than.
constexpr double kLargest = static_cast<double>(std::numeric_limits<float>::max());
constexpr double kDouble = std::numeric_limits<double>::max();

/// A time stamp as a start; no value for 0, which stands for none.
std::optional<StartTime> StartOf(const TdmsTime& time) {
    constexpr std::int64_t kTo1970 = 2'082'844'800;  // seconds from the beginning of 1904
    constexpr std::int64_t kMost = std::int64_t{1} << 40;
    if ((time.seconds == 0 && time.fraction == 0) || time.seconds > kMost || time.seconds < -kMost)
        return std::nullopt;
    const double part = std::ldexp(static_cast<double>(time.fraction), -64);
    const double parts = std::round(part * static_cast<double>(StartTime::kPartsPerSecond));
    const auto most = static_cast<double>(StartTime::kPartsPerSecond - 1);
    const StartTime start = {time.seconds - kTo1970, static_cast<std::int64_t>(std::min(parts, most)), true};
    return start.Later(0.0);  // no value outside of the years that it has
}

std::wstring Wide(std::string_view utf8) {
    return FromUtf8(utf8).value_or(L"");
}

std::string PathOf(const TdmsObject& object) {
    return object.isChannel ? object.group + "/" + object.name : object.group;
}

const TdmsValue* Find(const TdmsObject& object, std::string_view name) {
    const auto at = object.properties.find(name);
    return at != object.properties.end() ? &at->second : nullptr;
}

std::string TextOf(const TdmsObject& object, std::string_view name) {
    const TdmsValue* const value = Find(object, name);
    return value != nullptr && !value->number && !value->time ? value->text : std::string();
}

double NumberOf(const TdmsObject& object, std::string_view name) {
    const TdmsValue* const value = Find(object, name);
    return value != nullptr && value->number && std::isfinite(*value->number) ? *value->number : 0.0;
}

/// The name of a group or channel, which a property may replace.
std::wstring ShownName(const TdmsObject& object) {
    const std::string given = TextOf(object, "name");
    return Wide(!given.empty() ? given : object.isChannel ? object.name : object.group);
}

/// The units that drivers of converters spell out.
struct Spelling {
    std::string_view word;
    std::wstring_view unit;
};
constexpr Spelling kSpellings[] = {
    {"Volts", L"V"},   {"Amps", L"A"},      {"Ohms", L"Ohm"},    {"Seconds", L"s"},     {"Meters", L"m"},
    {"Inches", L"in"}, {"Degrees", L"deg"}, {"Radians", L"rad"}, {"Deg C", L"degC"},    {"Deg F", L"degF"},
    {"Kelvins", L"K"}, {"Newtons", L"N"},   {"Pascals", L"Pa"},  {"Strain", L"strain"},
};

std::wstring UnitOf(const TdmsObject& object) {
    std::string unit = TextOf(object, "unit_string");
    if (unit.empty()) unit = TextOf(object, "NI_UnitDescription");
    const auto* const spelling = std::ranges::find(kSpellings, unit, &Spelling::word);
    return spelling != std::end(kSpellings) ? std::wstring(spelling->unit) : Wide(unit);
}

/// A channel of a run.
struct Source {
    std::uint32_t object = 0;
    TdmsType type = TdmsType::none;
    TdmsScale scale = {};
    bool mayOverflow = false;  ///< in its scale
    TdmsTime first = {};       ///< what time stamps count from
    double second = 1.0;       ///< what values on an axis are multiplied by to be seconds
    // Where it was read last.
    std::size_t segment = 0;
    std::uint64_t before = 0;  ///< samples in front of that segment
};

/// The columns of a channel.
std::size_t Parts(const Source& source) {
    return IsComplex(source.type) ? 2 : 1;
}

/// Samples that stand evenly in one chunk, or in the rows of several.
struct Place {
    const TdmsSegment* segment;
    const TdmsLayout* layout;
    const TdmsLayout::Channel* channel;
    std::uint64_t position;  ///< of the first, or of the row that it is in
    std::uint64_t offset;    ///< in the row
    std::uint64_t stride;
    std::uint64_t count;
    bool isInRows;
};

class TdmsReader : public RecordingReader {
public:
    explicit TdmsReader(std::unique_ptr<ByteStream> stream)
        : bytes_(std::move(stream)), index_(ReadTdmsIndex(bytes_)) {
        info_.remarks = index_.remarks;
        for (std::uint32_t i = 0; i < index_.objects.size(); ++i) {
            if (!index_.objects[i].isChannel) owners_.try_emplace(index_.objects[i].group, i);
        }
        for (std::uint32_t i = 0; i < index_.objects.size(); ++i) {
            AddProperties(index_.objects[i]);
            if (index_.objects[i].isChannel) AddChannel(i);
        }
        if (propertiesLeftOut_ > 0) {
            info_.remarks.push_back("properties beyond 16 MiB are left out: " +
                                    std::to_string(propertiesLeftOut_) + " of the file");
        }
        for (std::size_t r = 0; r < info_.runs.size(); ++r) SettleTime(r);
        for (const auto& [axis, source] : stamps_)
            LeaveOut(index_.objects[source.object], "they hold time stamps, which no other channel needs");
        for (const auto& [reason, channels] : leftOut_) RemarkLeftOut(reason, channels);
        if (info_.runs.empty()) {
            throw Error(ErrorKind::kUnsupported,
                        "it holds no samples" + (info_.remarks.empty() ? "" : "; " + info_.remarks.back()));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        return WithErrors([&] { return ReadPieces(run, targets, room); });
    }

    void Skip(std::size_t run, __int64 count) override {
        RequireRun(run, info_.runs.size());
        Enter(run);
        done_ += std::min(std::max<__int64>(0, count), info_.runs[run].samples - done_);
    }

    Error ErrorAt(std::size_t column, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        return Error(kind, sentence, PlaceOf(ChannelOf(column), before_ + static_cast<__int64>(index)));
    }

private:
    // ---- what the file holds ----

    /// What must be the same in channels of a run.
    struct Axis {
        std::string group;
        double delta = 0.0;
        double first = 0.0;
        std::string unit;
        std::string start;
        std::uint64_t samples = 0;
        std::optional<StartTime> startTime = std::nullopt;  ///< of the first sample, by `start` and `first`

        auto operator<=>(const Axis& other) const {
            return std::tie(group, delta, first, unit, start, samples) <=>
                   std::tie(other.group, other.delta, other.first, other.unit, other.start, other.samples);
        }
    };

    struct Run {
        std::vector<Source> channels;
        std::optional<Source> axis = std::nullopt;  ///< a channel that lists the places of samples
    };

    void AddProperties(const TdmsObject& object) {
        constexpr std::size_t kMostMebibytes = 16;
        std::string path = PathOf(object);
        if (!path.empty()) path += ": ";
        for (const auto& [name, value] : object.properties) {
            if (name.starts_with("NI_Scale[") || name == "NI_Number_Of_Scales" || name == "NI_Scaling_Status")
                continue;
            propertyBytes_ += path.size() + name.size() + value.text.size() + sizeof(RecordingInfo::Property);
            if (propertyBytes_ > kMostMebibytes << 20) {
                ++propertiesLeftOut_;
            } else {
                info_.properties.push_back({path + name, value.text});
            }
        }
    }

    void AddChannel(std::uint32_t number) {
        const TdmsObject& object = index_.objects[number];
        const TdmsType type = object.index ? object.index->type : TdmsType::none;
        if (type == TdmsType::text) return LeaveOut(object, "they hold text");
        if (object.samples == 0) return LeaveOut(object, "they hold no samples");
        Source source = {number, type};
        try {
            source.scale = ScaleOf(object);
        } catch (const Error& refusal) {
            return LeaveOut(object, refusal.Sentence());
        }
        const bool isInteger = type != TdmsType::real && type != TdmsType::realWithUnit;
        source.mayOverflow =
            !source.scale.IsNone() && !source.scale.KeepsFinite(isInteger ? kLargest : kDouble);
        Axis axis = {object.group,
                     std::max(0.0, NumberOf(object, "wf_increment")),
                     NumberOf(object, "wf_start_offset"),
                     TextOf(object, "wf_xunit_string"),
                     Find(object, "wf_start_time") ? Find(object, "wf_start_time")->text : "",
                     object.samples};
        if (const TdmsValue* const start = Find(object, "wf_start_time"); start != nullptr && start->time) {
            axis.startTime = StartOf(*start->time);
            if (axis.startTime && axis.unit.empty()) axis.startTime = axis.startTime->Later(axis.first);
        }
        if (type == TdmsType::time) {
            if (!stamps_.emplace(std::pair(axis.group, axis.samples), source).second)
                LeaveOut(object, "their group has other time stamps");
            return;
        }
        const auto [at, isNew] = numbers_.try_emplace(axis, runs_.size());
        if (isNew) {
            runs_.emplace_back();
            AddRun(axis);
        }
        RecordingInfo::Channel& channel = info_.runs[at->second].channels.emplace_back();
        channel.name = ShownName(object);
        channel.isComplex = IsComplex(type);
        StateUnit(&channel, UnitOf(object));
        runs_[at->second].channels.push_back(std::move(source));
    }

    TdmsScale ScaleOf(const TdmsObject& object) {
        constexpr std::size_t kMostNumbers = std::size_t{1} << 20;
        const TdmsType type = object.index->type;
        const std::span<const TdmsScaler> scalers = object.index->scalers;
        if (IsComplex(type) || type == TdmsType::time) return {};
        // A group or the file may state a scale for all of their channels.
        for (const TdmsObject* owner : {&object, OwnerOf(object.group), OwnerOf({})}) {
            if (owner == nullptr || !TdmsScale::IsStated(owner->properties)) continue;
            const TdmsValue* const status = Find(*owner, "NI_Scaling_Status");
            if (status != nullptr && status->text != "unscaled") break;
            // Each channel has its own copy, also of a table that the whole file shares.
            if (scaleNumbers_ > kMostNumbers)
                throw Error(ErrorKind::kUnsupported,
                            "the scales of the channels before have too many numbers");
            TdmsScale scale(owner->properties, scalers);
            scaleNumbers_ += scale.Numbers();
            return scale;
        }
        return type == TdmsType::converter ? TdmsScale({}, scalers) : TdmsScale();
    }

    /// A group, or the file for no name; null where it has no properties.
    const TdmsObject* OwnerOf(const std::string& group) const {
        const auto at = owners_.find(group);
        return at != owners_.end() ? &index_.objects[at->second] : nullptr;
    }

    void AddRun(const Axis& axis) {
        RecordingInfo::Run& run = info_.runs.emplace_back();
        const TdmsObject* const group = OwnerOf(axis.group);
        run.title = group != nullptr && !axis.group.empty() ? ShownName(*group) : Wide(axis.group);
        run.axis.delta = axis.delta;
        run.axis.first = axis.first;
        run.start = axis.startTime;
        run.samples = static_cast<__int64>(axis.samples);
        // Without a spacing nothing is in the unit.
        if (axis.unit.empty() || !(axis.delta > 0.0)) return;
        const EntryUnit unit = StateAxisUnit(&run.axis, Wide(axis.unit), CUnitCtrl::DIM_TIME);
        run.axis.delta = ToStandardDistance(unit, run.axis.delta);
        ToStandardPlaces(unit, {&run.axis.first, 1});
    }

    void LeaveOut(const TdmsObject& object, const std::string& reason) {
        leftOut_[reason].push_back(PathOf(object));
    }

    void RemarkLeftOut(const std::string& reason, const std::vector<std::string>& channels) {
        constexpr std::size_t kNamed = 3;
        std::string names;
        for (std::size_t i = 0; i < std::min(kNamed, channels.size()); ++i)
            names += (i == 0 ? "" : ", ") + Quote(channels[i]);
        if (channels.size() > kNamed) names += " and " + std::to_string(channels.size() - kNamed) + " more";
        info_.remarks.push_back("channels are left out because " + reason + ": " + names);
    }

    // ---- time ----

    /// Takes the time stamps of a group, or a channel that is called a time, for the axis of a run that
    /// states none.
    void SettleTime(std::size_t number) {
        RecordingInfo::Run& info = info_.runs[number];
        if (info.axis.delta > 0.0 || info.axis.unit != CUnitCtrl::DIM_TIME) return;
        const std::string& group = index_.objects[runs_[number].channels[0].object].group;
        const auto stamps = stamps_.find({group, static_cast<std::uint64_t>(info.samples)});
        if (stamps != stamps_.end()) {
            if (!SettleStamps(number, stamps->second, 1.0))
                LeaveOut(index_.objects[stamps->second.object], "their time stamps do not rise");
            stamps_.erase(stamps);
            return;
        }
        for (std::size_t c = 0; info.channels.size() > 1 && c < info.channels.size(); ++c) {
            const RecordingInfo::Channel& channel = info.channels[c];
            const bool isKnown = channel.unknownUnit.empty() && !channel.isComplex;
            if (!isKnown || !IsTimeHeading({channel.name, channel.unit, {}})) continue;
            double second = channel.scale;
            if (channel.unit) channel.unit->ConvItoD(&second, &second, 1, 1.0, 0);
            if (!SettleStamps(number, runs_[number].channels[c], second)) return;
            info.channels.erase(info.channels.begin() + static_cast<std::ptrdiff_t>(c));
            runs_[number].channels.erase(runs_[number].channels.begin() + static_cast<std::ptrdiff_t>(c));
            return;
        }
    }

    /// Whether the values of a channel never fall and are now the axis of a run: an even one, or its places.
    bool SettleStamps(std::size_t number, const Source& channel, double second) {
        constexpr std::size_t kRoom = std::size_t{1} << 14;
        RecordingInfo::Run& info = info_.runs[number];
        Source source = channel;
        source.second = second;
        std::vector<double> values(std::min<std::uint64_t>(kRoom, static_cast<std::uint64_t>(info.samples)));
        const auto read = [&](__int64 at, std::size_t room) {
            const auto wanted = std::min<std::uint64_t>(room, static_cast<std::uint64_t>(info.samples - at));
            const auto place = Locate(&source, static_cast<std::uint64_t>(at));
            const std::span piece(values.data(), static_cast<std::size_t>(CountIn(place, wanted)));
            LoadAxis(&source, place, piece);
            return std::span<const double>(piece);
        };
        if (source.type == TdmsType::time) {
            const Place place = Locate(&source, 0);
            source.first = LoadTime(BytesOf(place, 1, SizeOf(source.type), 0), place.segment->isBigEndian);
            info_.properties.push_back(
                {PathOf(index_.objects[source.object]) + ": first time stamp", TimeText(source.first)});
            info.start = StartOf(source.first);
        }
        TimeStamps stamps;
        stamps.count = info.samples;
        stamps.first = read(0, 1)[0];
        stamps.last = read(info.samples - 1, 1)[0];
        const bool isSingle = source.type == TdmsType::single || source.type == TdmsType::singleWithUnit;
        if (isSingle)
            stamps.resolution =
                std::abs(stamps.last) * static_cast<double>(std::numeric_limits<float>::epsilon());
        StrayFinder finder(&stamps);
        Rewind(&source);
        double previous = stamps.first;
        for (__int64 done = 0; done < info.samples;) {
            const std::span<const double> piece = read(done, kRoom);
            for (const double value : piece) {
                if (value < previous) return false;
                previous = value;
            }
            finder.Add(piece);
            done += std::ssize(piece);
        }
        if (stamps.IsEven()) {
            info.axis.stamps = stamps;
        } else {
            info.axis.isListed = true;
            Rewind(&source);
            runs_[number].axis = std::move(source);
        }
        return true;
    }

    // ---- samples ----

    void Enter(std::size_t run) {
        RequireRun(run, runs_.size());
        if (run == run_) return;
        run_ = run;
        done_ = before_ = 0;
        if (runs_[run].axis) Rewind(&*runs_[run].axis);
        for (Source& source : runs_[run].channels) Rewind(&source);
    }

    static void Rewind(Source* source) {
        source->segment = 0;
        source->before = 0;
    }

    std::size_t ReadPieces(std::size_t number, std::span<double* const> targets, std::size_t room) {
        Enter(number);
        Run& run = runs_[number];
        const __int64 samples = info_.runs[number].samples;
        before_ = done_;
        areKnownValues_ = !run.axis && std::ranges::none_of(run.channels, MayBeMissing);
        std::size_t done = 0;
        std::vector<Place> places(run.channels.size());
        while (done < room && done_ < samples) {
            std::uint64_t count =
                std::min<std::uint64_t>(room - done, static_cast<std::uint64_t>(samples - done_));
            std::size_t column = 0;
            Place axisPlace = {};
            if (run.axis && targets[column++] != nullptr) {
                axisPlace = Locate(&*run.axis, static_cast<std::uint64_t>(done_));
                count = CountIn(axisPlace, count);
            }
            for (std::size_t c = 0; c < run.channels.size(); ++c) {
                if (IsWanted(run.channels[c], targets.subspan(column))) {
                    places[c] = Locate(&run.channels[c], static_cast<std::uint64_t>(done_));
                    count = CountIn(places[c], count);
                }
                column += Parts(run.channels[c]);
            }
            column = 0;
            const auto piece = static_cast<std::size_t>(count);
            if (run.axis && targets[column++] != nullptr)
                LoadAxis(&*run.axis, axisPlace, {targets[0] + done, piece});
            for (std::size_t c = 0; c < run.channels.size(); ++c) {
                const std::size_t parts = Parts(run.channels[c]);
                for (std::size_t part = 0; part < parts; ++part, ++column) {
                    if (targets[column] != nullptr)
                        LoadChannel(c, places[c], part, {targets[column] + done, piece});
                }
            }
            done += piece;
            done_ += static_cast<__int64>(count);
        }
        return done;
    }

    /// Whether a value, which is finite, may be the marker of missing ones: where it comes of a double.
    static bool MayBeMissing(const Source& channel) {
        const std::size_t bytes = SizeOf(channel.type) / Parts(channel);
        return !channel.scale.IsNone() || bytes == 0 || bytes >= sizeof(double);
    }

    static bool IsWanted(const Source& channel, std::span<double* const> targets) {
        return targets[0] != nullptr || (IsComplex(channel.type) && targets[1] != nullptr);
    }

    /// Where a sample of a channel stands, and those behind it.
    Place Locate(Source* source, std::uint64_t sample) const {
        for (;; ++source->segment) {
            const TdmsSegment& segment = index_.segments.at(source->segment);
            const TdmsLayout& layout = index_.layouts[segment.layout];
            const TdmsLayout::Channel* const channel = layout.Find(source->object);
            if (channel == nullptr) continue;
            const std::uint64_t inChunk = channel->samples * segment.unit;
            const std::uint64_t at = sample - source->before;
            if (at >= segment.chunks * inChunk) {
                source->before += segment.chunks * inChunk;
                continue;
            }
            const std::uint64_t chunk = at / inChunk;
            const std::uint64_t chunkBytes = layout.bytes * segment.unit;
            const std::uint64_t begin = segment.position + chunk * chunkBytes;
            const std::uint64_t offset = channel->before * segment.unit;
            const bool isConverter = channel->scalers > 0;
            if (inChunk == 1) {  // as in interleaved data: the chunk is a row
                return {&segment,
                        &layout,
                        channel,
                        isConverter ? begin + offset : begin,
                        isConverter ? 0 : offset,
                        chunkBytes,
                        segment.chunks - chunk,
                        true};
            }
            const std::uint64_t within = at % inChunk;
            return {&segment, &layout,         channel,          begin + offset + within * channel->stride,
                    0,        channel->stride, inChunk - within, isConverter};
        }
    }

    /// How many of `wanted` samples are read from a place at a time.
    static std::uint64_t CountIn(const Place& place, std::uint64_t wanted) {
        const std::uint64_t most =
            place.isInRows ? std::max<std::uint64_t>(1, kRowBytes / place.stride) : kPiece;
        return std::min({wanted, place.count, most, kPiece});
    }

    /// Whether the samples of a channel are so far from those of others that they are read on their own.
    static bool IsApart(const Place& place) {
        return !place.isInRows && place.layout->bytes > kWindow / place.segment->unit;
    }

    /// The bytes of samples, each `size` bytes `offset` behind the begin of the row or sample; they stand
    /// `place.stride` apart.
    const std::byte* BytesOf(const Place& place, std::size_t count, std::size_t size, std::size_t offset) {
        const auto stride = static_cast<std::size_t>(place.stride);
        const std::size_t behind = static_cast<std::size_t>(place.offset) + offset;
        const std::size_t extent = (count - 1) * stride + behind + size;
        if (IsApart(place)) {
            piece_.resize(std::max(piece_.size(), extent));
            bytes_.Read(place.position, piece_.data(), extent);
            return piece_.data() + behind;
        }
        return bytes_.At(place.position, extent, std::max<std::size_t>(count * stride, kWindow)) + behind;
    }

    /// Whether all raw values are finite.
    bool LoadRaw(const Source& source, const Place& place, std::optional<std::uint32_t> id, std::size_t part,
                 std::span<double> values) {
        TdmsType type = source.type;
        std::size_t offset = part * (SizeOf(type) / 2);
        std::optional<unsigned> bit;
        if (type == TdmsType::converter) {
            const std::span scalers =
                std::span(place.layout->scalers).subspan(place.channel->firstScaler, place.channel->scalers);
            const auto scaler = std::ranges::find(scalers, id.value_or(0), &TdmsScaler::id);
            if (scaler == scalers.end())
                throw Error(ErrorKind::kDamaged,
                            "a segment lacks codes of channel " + Quote(index_.objects[source.object].name));
            type = scaler->type;
            offset = scaler->byte;
            bit = scaler->bit;
        }
        const bool isBigEndian = place.segment->isBigEndian;
        if (IsApart(place) && IsNative(type, isBigEndian)) {
            bytes_.Read(place.position, reinterpret_cast<std::byte*>(values.data()), values.size_bytes());
            return AreValues(values);
        }
        const std::size_t size = SizeOf(type) / (IsComplex(type) ? 2 : 1);
        const std::byte* const bytes = BytesOf(place, values.size(), size, offset);
        const auto stride = static_cast<std::size_t>(place.stride);
        const bool isFinite = LoadValues(bytes, stride, type, isBigEndian, values);
        if (!bit) return isFinite;
        for (double& value : values) value = static_cast<double>(static_cast<unsigned>(value) >> *bit & 1U);
        return true;
    }

    void LoadChannel(std::size_t number, const Place& place, std::size_t part, std::span<double> values) {
        Source& source = runs_[run_].channels[number];
        source.scale.Apply(
            [&](std::optional<std::uint32_t> scaler, std::span<double> raw) {
                if (!LoadRaw(source, place, scaler, part, raw)) RequireFinite(raw, number);
            },
            values);
        if (source.mayOverflow) RequireFinite(values, number);
    }

    void RequireFinite(std::span<const double> values, std::size_t channel) const {
        const auto bad = std::ranges::find_if_not(values, [](double value) { return std::isfinite(value); });
        if (bad == values.end()) return;
        throw Error(ErrorKind::kDamaged, "the value is not a finite number",
                    PlaceOf(channel, done_ + (bad - values.begin())));
    }

    /// Places on the axis, in seconds.
    void LoadAxis(Source* source, const Place& place, std::span<double> values) {
        if (source->type != TdmsType::time) {
            source->scale.Apply([&](std::optional<std::uint32_t> scaler,
                                    std::span<double> raw) { LoadRaw(*source, place, scaler, 0, raw); },
                                values);
            for (double& value : values) value *= source->second;
            if (!std::ranges::all_of(values, [](double value) { return std::isfinite(value); }))
                throw Error(ErrorKind::kDamaged, "a time of channel " +
                                                     Quote(index_.objects[source->object].name) +
                                                     " is not a finite number");
            return;
        }
        const std::byte* at = BytesOf(place, values.size(), SizeOf(source->type), 0);
        for (double& value : values) {
            const TdmsTime time = LoadTime(at, place.segment->isBigEndian);
            constexpr double kFraction = 0x1p-64;
            value = static_cast<double>(time.seconds) - static_cast<double>(source->first.seconds) +
                    (static_cast<double>(time.fraction) - static_cast<double>(source->first.fraction)) *
                        kFraction;
            at += place.stride;
        }
    }

    // ---- places for sentences ----

    std::size_t ChannelOf(std::size_t column) const {
        const std::vector<Source>& channels = runs_.at(run_).channels;
        std::size_t next = runs_[run_].axis ? 1 : 0;
        for (std::size_t c = 0; c < channels.size(); ++c) {
            next += Parts(channels[c]);
            if (column < next) return c;
        }
        return channels.size() - 1;
    }

    /// Of a sample of the run that is read; numbers of channels run through the file.
    ErrorPlace PlaceOf(std::size_t channel, __int64 sample) const {
        std::size_t number = channel + 1;
        for (std::size_t r = 0; r < run_; ++r) number += runs_[r].channels.size();
        ErrorPlace place = {.channel = static_cast<std::int64_t>(number), .sample = sample + 1};
        if (runs_.size() > 1) place.record = static_cast<std::int64_t>(run_) + 1;
        return place;
    }

    TdmsBytes bytes_;
    TdmsIndex index_;
    std::size_t propertyBytes_ = 0;                ///< that all properties take
    std::size_t propertiesLeftOut_ = 0;            ///< for they take too much
    std::size_t scaleNumbers_ = 0;                 ///< of all channels
    std::map<std::string, std::uint32_t> owners_;  ///< groups, and the file under no name
    std::vector<Run> runs_;
    std::map<Axis, std::size_t> numbers_;                             ///< of runs
    std::map<std::pair<std::string, std::uint64_t>, Source> stamps_;  ///< by group and count
    std::map<std::string, std::vector<std::string>> leftOut_;         ///< channels, by reasons
    std::vector<std::byte> piece_;
    std::size_t run_ = 0;
    __int64 done_ = 0;    ///< samples of the run that were read
    __int64 before_ = 0;  ///< those in front of the block last read
};

}  // namespace

std::unique_ptr<RecordingReader> OpenTdmsFile(std::unique_ptr<ByteStream> stream) {
    return WithErrors([&] { return std::make_unique<TdmsReader>(std::move(stream)); });
}

}  // namespace kvx
