// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TdmsIndex.h>

#include <algorithm>
#include <chrono>
#include <limits>
#include <string_view>
#include <unordered_map>
#include <utility>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/HeaderText.h>

namespace kvx {
namespace {

constexpr std::uint64_t kLeadIn = 28;
constexpr std::uint64_t kOpen = std::numeric_limits<std::uint64_t>::max();
/// What is read at a lead-in, which mostly holds the meta data, too.
constexpr std::size_t kAhead = std::size_t{1} << 12;

enum Contents : std::uint32_t {
    kMetaData = 1U << 1,
    kNewObjects = 1U << 2,
    kRawData = 1U << 3,
    kInterleaved = 1U << 5,
    kBigEndian = 1U << 6,
};

enum RawIndexKind : std::uint32_t {
    kNoRawData = 0xFFFFFFFF,
    kAsBefore = 0,
    kConverter = 0x1269,
    kDigitalLine = 0x126A,
    kDigitalLineAsDescribed = 0x1369,
};

constexpr std::size_t kMostChannels = std::size_t{1} << 16;
constexpr std::size_t kMostScalers = 64;  // of a channel, and buffers
constexpr std::uint32_t kLongestText = std::uint32_t{1} << 24;
constexpr std::uint32_t kWidestRow = std::uint32_t{1} << 24;
/// What the layouts of segments may have in all; a channel of a layout takes some forty bytes.
constexpr std::size_t kMostPlaces = std::size_t{1} << 22;

std::string Utf8(std::string_view text) {
    const std::size_t end = text.find_last_not_of('\0');
    return Utf8OrWestern(text.substr(0, end == text.npos ? 0 : end + 1));
}

/// Numbers and texts of one byte order, one after the other, up to an end within the file.
class MetaReader {
public:
    MetaReader(TdmsBytes& bytes, std::uint64_t begin, std::uint64_t end, bool isBigEndian)
        : bytes_(bytes), begin_(begin), at_(begin), end_(end), isBigEndian_(isBigEndian) {}

    template <typename Number>
    Number Take() {
        return LoadNumber<Number>(TakeBytes(sizeof(Number)), isBigEndian_);
    }
    std::string TakeText() {
        const auto size = Take<std::uint32_t>();
        if (size > kLongestText) Fail("hold a text of " + std::to_string(size) + " bytes");
        const auto* const text = reinterpret_cast<const char*>(TakeBytes(size));
        return std::string(text, size);
    }
    const std::byte* TakeBytes(std::size_t count) {
        if (count > end_ - at_) Fail("end before they are complete");
        at_ += count;
        return bytes_.At(at_ - count, count, kAhead);
    }
    bool IsBigEndian() const { return isBigEndian_; }
    [[noreturn]] void Fail(const std::string& what) const {
        throw Error(ErrorKind::kDamaged, "the meta data of the segment " + what,
                    {.byte = static_cast<std::int64_t>(begin_)});
    }

private:
    TdmsBytes& bytes_;
    std::uint64_t begin_;
    std::uint64_t at_;
    std::uint64_t end_;
    bool isBigEndian_;
};

TdmsValue TakeValue(MetaReader& meta) {
    const auto type = static_cast<TdmsType>(meta.Take<std::uint32_t>());
    if (type == TdmsType::text) return {Utf8(meta.TakeText())};
    const std::size_t size = SizeOf(type);
    if (size == 0) {
        if (type == TdmsType::none) return {};
        meta.Fail("hold a property of a type that is not known, " +
                  HexCode(static_cast<std::uint32_t>(type)));
    }
    const std::byte* const bytes = meta.TakeBytes(size);
    if (type == TdmsType::time) {
        const TdmsTime time = LoadTime(bytes, meta.IsBigEndian());
        return {TimeText(time), std::nullopt, time};
    }
    double number = 0.0;
    LoadValues(bytes, size, type, meta.IsBigEndian(), {&number, 1});
    TdmsValue value = {FormatExact(number), number};
    if (IsComplex(type)) {
        double imaginary = 0.0;
        LoadValues(bytes + size / 2, size, type, meta.IsBigEndian(), {&imaginary, 1});
        value.text += " + " + FormatExact(imaginary) + "i";
    } else if (type == TdmsType::boolean) {
        value.text = number != 0.0 ? "true" : "false";
    } else if (type == TdmsType::int64) {
        value.text = std::to_string(LoadNumber<std::int64_t>(bytes, meta.IsBigEndian()));
    } else if (type == TdmsType::uint64) {
        value.text = std::to_string(LoadNumber<std::uint64_t>(bytes, meta.IsBigEndian()));
    }
    return value;
}

/// The type of a converter's codes; none for one that is not known.
TdmsType CodeType(std::uint32_t type) {
    constexpr TdmsType kTypes[] = {TdmsType::uint8, TdmsType::int8,   TdmsType::uint16,
                                   TdmsType::int16, TdmsType::uint32, TdmsType::int32};
    return type < std::size(kTypes) ? kTypes[type] : TdmsType::none;
}

/// The scalers and the rows of buffers behind the count of a converter's channel.
void TakeScalers(MetaReader& meta, bool isDigital, TdmsRawIndex* index) {
    const auto scalers = meta.Take<std::uint32_t>();
    if (scalers == 0 || scalers > kMostScalers)
        meta.Fail("state " + std::to_string(scalers) + " scalers of a channel");
    for (std::uint32_t i = 0; i < scalers; ++i) {
        TdmsScaler& scaler = index->scalers.emplace_back();
        const auto type = meta.Take<std::uint32_t>();
        scaler.type = CodeType(type);
        if (scaler.type == TdmsType::none)
            meta.Fail("hold a scaler of a type that is not known, " + std::to_string(type));
        scaler.buffer = meta.Take<std::uint32_t>();
        scaler.byte = meta.Take<std::uint32_t>();
        if (isDigital) {
            scaler.bit = scaler.byte % 8;
            scaler.byte /= 8;
            scaler.type = TdmsType::uint8;
            meta.Take<std::uint8_t>();
        } else {
            meta.Take<std::uint32_t>();  // which bits of a code count, which nothing says more of
        }
        scaler.id = meta.Take<std::uint32_t>();
    }
    const auto widths = meta.Take<std::uint32_t>();
    if (widths > kMostScalers) meta.Fail("state " + std::to_string(widths) + " buffers of a converter");
    for (std::uint32_t i = 0; i < widths; ++i) index->widths.push_back(meta.Take<std::uint32_t>());
    for (const TdmsScaler& scaler : index->scalers) {
        if (scaler.buffer >= widths || index->widths[scaler.buffer] > kWidestRow ||
            std::uint64_t{scaler.byte} + SizeOf(scaler.type) > index->widths[scaler.buffer]) {
            meta.Fail("hold a scaler outside the row of its buffer");
        }
    }
}

std::shared_ptr<const TdmsRawIndex> TakeRawIndex(MetaReader& meta, std::uint32_t kind) {
    auto index = std::make_shared<TdmsRawIndex>();
    const auto type = meta.Take<std::uint32_t>();
    index->type = static_cast<TdmsType>(type);
    const auto dimension = meta.Take<std::uint32_t>();
    if (dimension != 1) meta.Fail("state data of " + std::to_string(dimension) + " dimensions");
    index->count = meta.Take<std::uint64_t>();
    const bool isDigital = kind == kDigitalLine || kind == kDigitalLineAsDescribed;
    if (kind == kConverter || isDigital) {
        if (index->type != TdmsType::converter) meta.Fail("state codes of a converter of another type");
        TakeScalers(meta, isDigital, index.get());
    } else if (index->type == TdmsType::text) {
        index->textBytes = meta.Take<std::uint64_t>();
    } else if (SizeOf(index->type) == 0) {
        throw Error(ErrorKind::kUnsupported, "it holds samples of a type that is not read, " + HexCode(type));
    }
    return index;
}

/// The names in a path: /'group'/'channel', with quotes in names doubled.
std::vector<std::string> NamesOf(const std::string& path, const MetaReader& meta) {
    std::vector<std::string> names;
    for (std::size_t at = 0; at < path.size() && path != "/";) {
        if (path.compare(at, 2, "/'") != 0 || names.size() == 2) meta.Fail("hold the path " + Quote(path));
        std::string& name = names.emplace_back();
        for (at += 2;; ++at) {
            if (at >= path.size()) meta.Fail("hold the path " + Quote(path));
            if (path[at] == '\'' && (++at >= path.size() || path[at] != '\'')) break;
            name += path[at];
        }
    }
    return names;
}

class IndexReader {
public:
    explicit IndexReader(TdmsBytes& bytes) : bytes_(bytes) {}

    TdmsIndex Read() {
        std::uint64_t at = 0;
        const std::uint64_t size = bytes_.Size();
        while (at < size) {
            if (size - at < kLeadIn) {
                LeaveOut(size - at);
                break;
            }
            const std::optional<std::uint64_t> next = ReadSegment(at);
            if (!next) break;
            at = *next;
        }
        if (index_.objects.empty()) throw Error(ErrorKind::kDamaged, "it is cut short in its first segment");
        if (cutChunks_ > 0) {
            index_.remarks.push_back(
                (cutChunks_ == 1 ? "a segment ends" : Count(cutChunks_, "segment") + " end") +
                " in the middle of a chunk of samples; of it those are taken that all channels of a group "
                "have");
        }
        return std::move(index_);
    }

private:
    /// Where the next segment begins; no value where the file ends in the middle of this one's meta data.
    std::optional<std::uint64_t> ReadSegment(std::uint64_t at) {
        const std::byte* const lead = bytes_.At(at, kLeadIn, kAhead);
        const std::string_view tag(reinterpret_cast<const char*>(lead), 4);
        const ErrorPlace place = {.byte = static_cast<std::int64_t>(at)};
        if (tag != "TDSm") throw Error(ErrorKind::kDamaged, "no segment begins here", place);
        const auto contents = LoadNumber<std::uint32_t>(lead + 4, false);
        const bool isBigEndian = (contents & kBigEndian) != 0;
        const auto version = LoadNumber<std::uint32_t>(lead + 8, isBigEndian);
        const auto next = LoadNumber<std::uint64_t>(lead + 12, isBigEndian);
        const auto raw = LoadNumber<std::uint64_t>(lead + 20, isBigEndian);
        if (version != 4712 && version != 4713) {
            throw Error(ErrorKind::kUnsupported,
                        "the segment is of a version that is not known, " + std::to_string(version), place);
        }
        const std::uint64_t body = at + kLeadIn;
        const std::uint64_t left = bytes_.Size() - body;
        const bool isCut = next > left;
        const std::uint64_t size = std::min(next, left);
        if (raw > size) {
            if (!isCut || (next != kOpen && raw > next)) {
                throw Error(ErrorKind::kDamaged, "the segment has more meta data than bytes", place);
            }
            LeaveOut(kLeadIn + size);
            return std::nullopt;
        }
        if (isCut) {
            index_.remarks.emplace_back(next == kOpen
                                            ? "its last segment was not completed; what is there is "
                                              "taken"
                                            : "it is cut short in its last segment; what is there "
                                              "is taken");
        }
        const bool hasRawData = (contents & kRawData) != 0;
        if ((contents & kMetaData) != 0) {
            const std::uint64_t end = body + (hasRawData ? raw : size);
            MetaReader meta(bytes_, body, end, isBigEndian);
            ReadMetaData(meta, (contents & kNewObjects) != 0);
        }
        if (hasRawData && size > raw) {
            AddRawData(body + raw, size - raw, (contents & kInterleaved) != 0, isBigEndian, place);
        }
        return body + size;
    }

    void LeaveOut(std::uint64_t bytes) {
        index_.remarks.push_back("the last " + std::to_string(bytes) +
                                 " bytes are the beginning of a segment that is not there and are left out");
    }

    void ReadMetaData(MetaReader& meta, bool isNewList) {
        if (isNewList) {
            listed_.clear();
            ++list_;
            isLayoutKnown_ = false;
        }
        const auto objects = meta.Take<std::uint32_t>();
        for (std::uint32_t i = 0; i < objects; ++i) ReadObject(meta);
    }

    void ReadObject(MetaReader& meta) {
        const std::uint32_t number = ObjectOf(meta.TakeText(), meta);
        State& state = states_[number];
        const auto kind = meta.Take<std::uint32_t>();
        if (kind != kNoRawData && !index_.objects[number].isChannel)
            meta.Fail("give data to what is no channel");
        if (state.list != list_ && index_.objects[number].isChannel) {
            state.list = list_;
            listed_.push_back(number);
            isLayoutKnown_ = false;
        }
        if (kind != kAsBefore && kind != kNoRawData) {
            TakeIndex(meta, kind, &index_.objects[number]);
            isLayoutKnown_ = false;
        }
        if (kind == kAsBefore && !index_.objects[number].index)
            meta.Fail("refer to data that " + Quote(index_.objects[number].name) + " did not have");
        if (state.hasData != (kind != kNoRawData)) isLayoutKnown_ = false;
        state.hasData = kind != kNoRawData;
        const auto properties = meta.Take<std::uint32_t>();
        for (std::uint32_t i = 0; i < properties; ++i) {
            const std::string name = Utf8(meta.TakeText());
            index_.objects[number].properties[name] = TakeValue(meta);
        }
    }

    [[noreturn]] static void FailChannels() {
        throw Error(ErrorKind::kUnsupported,
                    "it has more than " + std::to_string(kMostChannels) + " channels");
    }

    static void TakeIndex(MetaReader& meta, std::uint32_t kind, TdmsObject* object) {
        std::shared_ptr<const TdmsRawIndex> index = TakeRawIndex(meta, kind);
        if (object->index && object->index->type != index->type)
            meta.Fail("change the data type of " + Quote(object->name));
        object->index = std::move(index);
    }

    std::uint32_t ObjectOf(const std::string& path, const MetaReader& meta) {
        const auto [at, isNew] = numbers_.try_emplace(path, static_cast<std::uint32_t>(states_.size()));
        if (!isNew) return at->second;
        const std::vector<std::string> names = NamesOf(path, meta);
        TdmsObject& object = index_.objects.emplace_back();
        if (!names.empty()) object.group = Utf8(names[0]);
        if (names.size() == 2) object.name = Utf8(names[1]);
        object.isChannel = names.size() == 2;
        if (object.isChannel && ++channels_ > kMostChannels) FailChannels();
        states_.emplace_back();
        return at->second;
    }

    void AddRawData(std::uint64_t position, std::uint64_t size, bool isInterleaved, bool isBigEndian,
                    const ErrorPlace& place) {
        if (!isLayoutKnown_ || isInterleaved != isInterleaved_) {
            isInterleaved_ = isInterleaved;
            LayOut(place);
            isLayoutKnown_ = true;
            number_.reset();
        }
        if (layout_.channels.empty()) return;
        const bool isSmall = layout_.bytes <= size / unit_;
        const std::uint64_t chunks = isSmall ? size / (layout_.bytes * unit_) : 0;
        if (chunks > 0) {
            if (!number_) number_ = NumberOf(layout_);
            AddSegment({position, chunks, unit_, *number_, isBigEndian});
        }
        const std::uint64_t rest = size - chunks * (isSmall ? layout_.bytes * unit_ : 0);
        if (rest == 0) return;
        ++cutChunks_;
        CountWork(layout_.channels.size(), place);
        const TdmsLayout part = PartOf(rest);
        if (!part.channels.empty()) AddSegment({position + size - rest, 1, 1, NumberOf(part), isBigEndian});
    }

    void AddSegment(const TdmsSegment& segment) {
        for (const TdmsLayout::Channel& channel : index_.layouts[segment.layout].channels)
            index_.objects[channel.object].samples += segment.chunks * channel.samples * segment.unit;
        index_.segments.push_back(segment);
    }

    /// The layout of a chunk by what is listed.
    void LayOut(const ErrorPlace& place) {
        CountWork(listed_.size(), place);
        layout_ = {};
        unit_ = 1;
        std::vector<std::uint32_t> objects;
        bool isEven = true;
        for (const std::uint32_t object : listed_) {
            const TdmsRawIndex* const index = index_.objects[object].index.get();
            if (!states_[object].hasData || index->count == 0) continue;
            objects.push_back(object);
            isEven = isEven && index->count == IndexOf(objects[0]).count && index->type != TdmsType::text;
            if ((index->type == TdmsType::converter) != (IndexOf(objects[0]).type == TdmsType::converter))
                throw Error(ErrorKind::kUnsupported, "it mixes codes of a converter with other data", place);
        }
        if (objects.empty()) return;
        if (isInterleaved_ && !isEven)
            throw Error(ErrorKind::kDamaged, "its interleaved channels differ in their counts", place);
        // More than there can be is as good as the largest number.
        const std::uint64_t most = bytes_.Size() + 1;
        const std::uint64_t count = std::min(IndexOf(objects[0]).count, most);
        const bool isConverter = IndexOf(objects[0]).type == TdmsType::converter;
        if (isEven && (isConverter || !isInterleaved_)) unit_ = count;
        if (isConverter) {
            LayOutBuffers(objects, place);
        } else {
            for (const std::uint32_t object : objects) {
                const TdmsRawIndex& index = IndexOf(object);
                const std::uint64_t samples = isEven ? 1 : std::min(index.count, most);
                const std::size_t bytes = SizeOf(index.type);
                if (index.type != TdmsType::text)
                    layout_.channels.push_back({object, 0, 0, layout_.bytes, samples, bytes});
                layout_.bytes = Sum(layout_.bytes,
                                    index.type == TdmsType::text ? index.textBytes : Product(samples, bytes));
            }
            if (isInterleaved_) {
                for (TdmsLayout::Channel& channel : layout_.channels) channel.stride = layout_.bytes;
            }
        }
        std::ranges::sort(layout_.channels, {}, &TdmsLayout::Channel::object);
    }

    /// The buffers of a converter stand one behind the other, each with its rows.
    void LayOutBuffers(const std::vector<std::uint32_t>& objects, const ErrorPlace& place) {
        const std::vector<std::uint32_t>& widths = IndexOf(objects[0]).widths;
        const std::uint64_t most = bytes_.Size() + 1;
        std::vector<std::uint64_t> rows(widths.size());
        const auto rowsOf = [&](std::uint32_t object) {
            return unit_ > 1 ? 1 : std::min(IndexOf(object).count, most);
        };
        for (const std::uint32_t object : objects) {
            if (IndexOf(object).widths != widths)
                throw Error(ErrorKind::kDamaged, "its channels differ in the widths of buffers", place);
            for (const TdmsScaler& scaler : IndexOf(object).scalers) {
                std::uint64_t& count = rows[scaler.buffer];
                if (count != 0 && count != rowsOf(object))
                    throw Error(ErrorKind::kDamaged, "channels in one buffer differ in their counts", place);
                count = rowsOf(object);
            }
            if (std::ranges::any_of(IndexOf(object).scalers, [&](const TdmsScaler& scaler) {
                    return scaler.buffer != IndexOf(object).scalers[0].buffer;
                })) {
                throw Error(ErrorKind::kUnsupported, "the scalers of a channel are in several buffers",
                            place);
            }
        }
        std::vector<std::uint64_t> begins;
        for (std::size_t b = 0; b < widths.size(); ++b) {
            begins.push_back(layout_.bytes);
            layout_.bytes = Sum(layout_.bytes, Product(rows[b], widths[b]));
        }
        for (const std::uint32_t object : objects) {
            const std::vector<TdmsScaler>& scalers = IndexOf(object).scalers;
            const std::uint32_t buffer = scalers[0].buffer;
            layout_.channels.push_back({object, static_cast<std::uint32_t>(layout_.scalers.size()),
                                        static_cast<std::uint32_t>(scalers.size()), begins[buffer],
                                        rowsOf(object), widths[buffer]});
            layout_.scalers.insert(layout_.scalers.end(), scalers.begin(), scalers.end());
        }
    }

    /// What the first `rest` bytes of a chunk hold: of each group as many samples as all of its channels have
    /// that have equally many in a whole one.
    TdmsLayout PartOf(std::uint64_t rest) const {
        TdmsLayout part;
        std::map<std::pair<std::string_view, std::uint64_t>, std::uint64_t> fewest;
        const auto keyOf = [&](const TdmsLayout::Channel& channel) {
            return std::pair<std::string_view, std::uint64_t>(index_.objects[channel.object].group,
                                                              channel.samples);
        };
        const auto countOf = [&](const TdmsLayout::Channel& channel) -> std::uint64_t {
            const std::uint64_t bytes = WidthOf(channel);
            if (channel.before > rest / unit_ || rest - channel.before * unit_ < bytes) return 0;
            const std::uint64_t samples = (rest - channel.before * unit_ - bytes) / channel.stride + 1;
            return std::min(samples, channel.samples * unit_);
        };
        for (const TdmsLayout::Channel& channel : layout_.channels) {
            const auto [at, isNew] = fewest.try_emplace(keyOf(channel), countOf(channel));
            if (!isNew) at->second = std::min(at->second, countOf(channel));
        }
        for (TdmsLayout::Channel channel : layout_.channels) {
            std::uint64_t samples = fewest.at(keyOf(channel));
            // What is all that there is of a channel tears nothing.
            if (samples == 0 && index_.objects[channel.object].samples == 0) samples = countOf(channel);
            if (samples == 0) continue;
            const auto scalers = layout_.scalers.begin() + channel.firstScaler;
            channel.before *= unit_;
            channel.samples = samples;
            channel.firstScaler = static_cast<std::uint32_t>(part.scalers.size());
            part.scalers.insert(part.scalers.end(), scalers, scalers + channel.scalers);
            part.channels.push_back(channel);
        }
        part.bytes = rest;
        return part;
    }

    /// The bytes that a sample of a channel needs, from the begin of its row on where there is one.
    std::uint64_t WidthOf(const TdmsLayout::Channel& channel) const {
        if (channel.scalers > 0) return channel.stride;
        return SizeOf(IndexOf(channel.object).type);
    }

    std::uint32_t NumberOf(const TdmsLayout& layout) {
        std::size_t hash = layout.bytes;
        const auto add = [&hash](std::uint64_t value) { hash = (hash ^ value) * 0x9E3779B97F4A7C15U; };
        for (const TdmsLayout::Channel& channel : layout.channels) {
            add(channel.object);
            add(channel.before);
            add(channel.samples);
        }
        const auto [first, last] = layouts_.equal_range(hash);
        for (auto at = first; at != last; ++at) {
            if (index_.layouts[at->second] == layout) return at->second;
        }
        places_ += layout.channels.size() + layout.scalers.size();
        if (places_ > kMostPlaces)
            throw Error(ErrorKind::kUnsupported, "its segments differ too often in what they hold");
        const auto number = static_cast<std::uint32_t>(index_.layouts.size());
        index_.layouts.push_back(layout);
        layouts_.emplace(hash, number);
        return number;
    }

    const TdmsRawIndex& IndexOf(std::uint32_t object) const { return *index_.objects[object].index; }

    /// Sums and products of bytes; what is behind the end of every file is kFar.
    static constexpr std::uint64_t kFar = std::uint64_t{1} << 62;
    static std::uint64_t Sum(std::uint64_t a, std::uint64_t b) {
        return std::min(a + std::min(b, kFar), kFar);
    }
    static std::uint64_t Product(std::uint64_t a, std::uint64_t b) { return a > kFar / b ? kFar : a * b; }

    /// Throws Error where small pieces of a file take ever more work on long lists.
    void CountWork(std::size_t steps, const ErrorPlace& place) {
        work_ += steps;
        if (work_ / 64 > bytes_.Size())
            throw Error(ErrorKind::kUnsupported, "its list of channels changes too often", place);
    }

    /// What a segment left of an object.
    struct State {
        std::uint64_t list = 0;  ///< the last list of channels that it was in
        bool hasData = false;
    };

    TdmsBytes& bytes_;
    TdmsIndex index_;
    std::unordered_map<std::string, std::uint32_t> numbers_;  ///< of objects, by their paths
    std::size_t channels_ = 0;
    std::vector<State> states_;          ///< per object
    std::vector<std::uint32_t> listed_;  ///< the channels of the segment
    std::uint64_t list_ = 1;
    std::uint64_t work_ = 0;
    bool isLayoutKnown_ = false;
    bool isInterleaved_ = false;
    TdmsLayout layout_;
    std::uint64_t unit_ = 1;
    std::optional<std::uint32_t> number_;  ///< of the layout, once it is kept
    std::unordered_multimap<std::size_t, std::uint32_t> layouts_;
    std::size_t places_ = 0;
    long long cutChunks_ = 0;
};

}  // namespace

std::string TimeText(const TdmsTime& time) {
    using namespace std::chrono;
    constexpr std::int64_t kDay = 86400;
    constexpr std::int64_t kMostDays = 3'000'000;  // the year 10117
    std::int64_t days = time.seconds / kDay;
    std::int64_t second = time.seconds % kDay;
    if (second < 0) {
        --days;
        second += kDay;
    }
    if (days < -kMostDays / 5 || days > kMostDays)
        return std::to_string(time.seconds) + " s after 1904 began";
    const year_month_day date(sys_days(year(1904) / January / 1) + std::chrono::days(days));
    std::string text = Padded(static_cast<int>(date.year()), 4) + "-" +
                       Padded(static_cast<unsigned>(date.month()), 2) + "-" +
                       Padded(static_cast<unsigned>(date.day()), 2) + "T" + Padded(second / 3600, 2) + ":" +
                       Padded(second / 60 % 60, 2) + ":" + Padded(second % 60, 2);
    const std::uint64_t nanoseconds = (time.fraction >> 32) * 1'000'000'000 >> 32;
    if (nanoseconds > 0) {
        const std::string digits = Padded(static_cast<std::int64_t>(nanoseconds), 9);
        text += "." + digits.substr(0, digits.find_last_not_of('0') + 1);
    }
    return text + "Z";
}

const TdmsLayout::Channel* TdmsLayout::Find(std::uint32_t object) const {
    const auto at = std::ranges::lower_bound(channels, object, {}, &Channel::object);
    return at != channels.end() && at->object == object ? &*at : nullptr;
}

TdmsIndex ReadTdmsIndex(TdmsBytes& bytes) {
    return IndexReader(bytes).Read();
}

}  // namespace kvx
