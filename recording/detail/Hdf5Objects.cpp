// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/Hdf5Objects.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <list>
#include <map>
#include <set>
#include <span>
#include <string_view>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/detail/ByteOrder.h>

namespace kvx {
namespace {

constexpr int kDeepest = 32;                    ///< levels of a tree, blocks of a header
constexpr std::uint64_t kMostInflation = 1032;  ///< what a deflated byte becomes at most

[[noreturn]] void FailDamaged() {
    throw Error(ErrorKind::kDamaged, "it is cut short or its HDF5 objects are damaged");
}

[[noreturn]] void FailUnknown(const std::string& what) {
    throw Error(ErrorKind::kUnsupported, "its HDF5 objects hold " + what + ", which is not read");
}

/// Bytes with checked access; numbers have their lowest byte first.
class Block {
public:
    Block(const ByteStretch& file, std::uint64_t at, std::uint64_t size) {
        constexpr std::uint64_t kMost = std::uint64_t{1} << 24;
        if (at > file.Size() || size > file.Size() - at || size > kMost) FailDamaged();
        bytes_.resize(static_cast<std::size_t>(size));
        OpenBytes({file.stream, file.begin + at, file.end}, Packing::stored)->Read(bytes_);
    }
    explicit Block(std::span<const std::byte> bytes) : bytes_(bytes.begin(), bytes.end()) {}

    std::size_t Size() const { return bytes_.size(); }
    std::span<const std::byte> Bytes(std::size_t at, std::size_t size) const {
        if (at > bytes_.size() || size > bytes_.size() - at) FailDamaged();
        return std::span(bytes_).subspan(at, size);
    }
    Block Part(std::size_t at, std::size_t size) const { return Block(Bytes(at, size)); }
    Block From(std::size_t at) const { return Part(at, at > Size() ? 0 : Size() - at); }
    std::uint64_t Number(std::size_t at, std::size_t size) const { return LoadWhole(Bytes(at, size)); }
    /// A text up to the byte 0 or the end, of so many bytes at most.
    std::string Text(std::size_t at, std::size_t most = kMostText) const {
        if (at > Size()) FailDamaged();
        std::string_view text(reinterpret_cast<const char*>(bytes_.data()) + at, Size() - at);
        text = text.substr(0, most + 1);
        text = text.substr(0, text.find('\0'));
        if (text.size() > most) FailDamaged();
        return std::string(text);
    }
    void RequireMark(std::string_view mark) const {
        if (std::string_view(reinterpret_cast<const char*>(Bytes(0, mark.size()).data()), mark.size()) !=
            mark)
            FailDamaged();
    }

private:
    static constexpr std::size_t kMostText = std::size_t{1} << 16;  ///< that a message of a header holds

    std::vector<std::byte> bytes_;
};

// ---- what an array is made of ----

struct Type {
    std::uint64_t bytes = 0;
    std::vector<Hdf5Object::Part> parts = {};
    bool isReference = false;
    bool isText = false;
};

Type TypeOf(const Block& block, int depth = 0) {
    using enum NumberType::Kind;
    const std::uint64_t kind = block.Number(0, 1) & 15;
    const std::uint64_t version = block.Number(0, 1) >> 4;
    const std::uint64_t bits = block.Number(1, 3);
    Type type;
    type.bytes = block.Number(4, 4);
    const bool isPlain = type.bytes == 1 || type.bytes == 2 || type.bytes == 4 || type.bytes == 8;
    const bool isBig = (bits & 1) != 0;
    const auto size = static_cast<std::size_t>(type.bytes);
    if (kind == 0 && isPlain)
        type.parts = {{{(bits & 8) != 0 ? signedInteger : unsignedInteger, size, isBig}}};
    if (kind == 1 && isPlain && type.bytes > 1) type.parts = {{{floating, size, isBig}}};
    if (kind == 3) type.isText = true;
    if (kind == 7 && (bits & 15) == 0 && type.bytes == 8) type.isReference = true;
    if (kind != 6 || depth > 0 || (bits & 0xFFFF) != 2) return type;
    std::size_t at = 8;
    for (int member = 0; member < 2; ++member) {
        const std::size_t nameBytes = block.Text(at).size() + 1;
        at += version < 3 ? (nameBytes + 7) / 8 * 8 : nameBytes;
        std::size_t offsetBytes = 4;
        if (version >= 3) offsetBytes = type.bytes < 256 ? 1 : type.bytes < 65536 ? 2 : 4;
        const std::uint64_t offset = block.Number(at, offsetBytes);
        at += version == 1 ? 32 : offsetBytes;
        const Type inner = TypeOf(block.From(at), depth + 1);
        if (inner.parts.size() != 1 || offset > type.bytes || inner.bytes > type.bytes - offset) {
            type.parts.clear();
            return type;
        }
        type.parts.push_back({inner.parts.front().type, offset});
        at += 8 + (inner.parts.front().type.kind == floating ? 12U : 4U);
    }
    return type;
}

std::vector<std::uint64_t> DimensionsOf(const Block& block) {
    const std::uint64_t version = block.Number(0, 1);
    if (version != 1 && version != 2) FailDamaged();
    std::vector<std::uint64_t> dimensions;
    for (std::size_t d = 0; d < block.Number(1, 1); ++d)
        dimensions.push_back(block.Number((version == 1 ? 8 : 4) + 8 * d, 8));
    return dimensions;
}

struct Filters {
    bool isDeflated = false;
    bool isShuffled = false;
};

Filters FiltersOf(const Block& block) {
    const std::uint64_t version = block.Number(0, 1);
    Filters filters;
    std::size_t at = version == 1 ? 8 : 2;
    for (std::uint64_t i = 0; i < block.Number(1, 1); ++i) {
        const std::uint64_t id = block.Number(at, 2);
        const bool hasName = version == 1 || id >= 256;
        const auto nameBytes = static_cast<std::size_t>(hasName ? block.Number(at + 2, 2) : 0);
        at += hasName ? 4 : 2;
        const auto values = static_cast<std::size_t>(block.Number(at + 2, 2));
        at +=
            4 + (version == 1 ? (nameBytes + 7) / 8 * 8 + (values + values % 2) * 4 : nameBytes + values * 4);
        if (id == 1)
            filters.isDeflated = true;
        else if (id == 2 && !filters.isDeflated)
            filters.isShuffled = true;
        else
            FailUnknown("chunks that are packed otherwise than deflated");
    }
    return filters;
}

/// An array in chunks: those that were used last are kept, so many as fit into a fixed room.
class ChunkStore {
public:
    ChunkStore(ByteStretch file, std::uint64_t tree, const Hdf5Object& array,
               std::vector<std::uint64_t> chunk, Filters filters)
        : file_(std::move(file)),
          tree_(tree),
          dimensions_(array.dimensions),
          chunk_(std::move(chunk)),
          filters_(filters),
          elementBytes_(array.elementBytes) {
        constexpr std::uint64_t kRoom = std::uint64_t{32} << 20;
        std::uint64_t columns = 1;  // stretches of the last dimension
        std::uint64_t wanted = 1;
        for (std::size_t d = 0; d < dimensions_.size(); ++d) {
            const std::uint64_t across = (dimensions_[d] - 1) / chunk_[d] + 1;
            all_ *= across;
            if (d + 1 == dimensions_.size()) break;
            columns *= dimensions_[d];
            wanted *= across;
        }
        // Those that a piece of all columns may touch are read once.
        wanted *= 2 + kSamplesAtOnce / columns / chunk_.back();
        most_ = std::min({wanted, all_, kRoom / BytesOf(chunk_, elementBytes_)});
        ReadTree();
    }

    std::uint64_t Bytes() const { return BytesOf(dimensions_, elementBytes_); }
    /// What the chunks take that are kept.
    std::size_t Memory() const { return static_cast<std::size_t>(most_ * BytesOf(chunk_, elementBytes_)); }

    /// The bytes from `position` of the array on that lie one behind the other in a chunk, at most `most`.
    std::span<const std::byte> Stretch(std::uint64_t position, std::uint64_t most) {
        std::uint64_t element = position / elementBytes_;
        std::vector<std::uint64_t> corner(dimensions_.size());
        std::uint64_t within = 0, scale = 1, run = 0;
        for (std::size_t d = dimensions_.size(); d-- > 0;) {
            const std::uint64_t place = element % dimensions_[d];
            element /= dimensions_[d];
            corner[d] = place / chunk_[d] * chunk_[d];
            within += (place - corner[d]) * scale;
            scale *= chunk_[d];
            if (d + 1 == dimensions_.size()) run = std::min(corner[d] + chunk_[d], dimensions_[d]) - place;
        }
        const std::uint64_t inside = position % elementBytes_;
        const std::span<const std::byte> bytes = Chunk(corner);
        return bytes.subspan(static_cast<std::size_t>(within * elementBytes_ + inside),
                             static_cast<std::size_t>(std::min(run * elementBytes_ - inside, most)));
    }

private:
    struct Kept {
        std::vector<std::uint64_t> corner;
        std::vector<std::byte> bytes;
    };

    std::span<const std::byte> Chunk(const std::vector<std::uint64_t>& corner) {
        constexpr std::uint64_t kMostTimes = 4;
        if (const auto known = places_.find(corner); known != places_.end()) {
            kept_.splice(kept_.begin(), kept_, known->second);
            return kept_.front().bytes;
        }
        if (loaded_++ / kMostTimes >= all_) {
            throw Error(ErrorKind::kUnsupported,
                        "its chunks are too large to be read side by side; save it without compression");
        }
        if (kept_.size() >= most_) {
            places_.erase(kept_.back().corner);
            kept_.pop_back();
        }
        kept_.push_front({corner, Load(corner, static_cast<std::size_t>(BytesOf(chunk_, elementBytes_)))});
        places_.emplace(corner, kept_.begin());
        return kept_.front().bytes;
    }

    std::vector<std::byte> Load(const std::vector<std::uint64_t>& corner, std::size_t bytes) const {
        const Entry& entry = entries_[NumberOf(corner)];
        if (entry.at == kNone) throw Error(ErrorKind::kDamaged, "a part of its samples is missing");
        if (entry.at > file_.Size() || entry.bytes > file_.Size() - entry.at) FailDamaged();
        const ByteStretch packed{file_.stream, file_.begin + entry.at, file_.begin + entry.at + entry.bytes};
        const std::uint32_t deflatedMask = filters_.isShuffled ? 2 : 1;
        const bool isDeflated = filters_.isDeflated && (entry.mask & deflatedMask) == 0;
        if (bytes > entry.bytes * (isDeflated ? kMostInflation : 1)) FailDamaged();
        std::vector<std::byte> plain(bytes);
        const auto cursor = OpenBytes(packed, isDeflated ? Packing::zlib : Packing::stored);
        cursor->Read(plain);
        cursor->Finish();
        if (!filters_.isShuffled || (entry.mask & 1) != 0) return plain;
        std::vector<std::byte> ordered(bytes);
        const auto size = static_cast<std::size_t>(elementBytes_);
        const std::size_t count = bytes / size;
        for (std::size_t b = 0; b < size; ++b)
            for (std::size_t i = 0; i < count; ++i) ordered[i * size + b] = plain[b * count + i];
        return ordered;
    }

    static constexpr std::uint64_t kNone = ~std::uint64_t{0};

    /// Where a chunk lies.
    struct Entry {
        std::uint64_t at = kNone;
        std::uint32_t bytes = 0;
        std::uint32_t mask = 0;
    };

    /// The number of the chunk with this corner, which lies in the array.
    std::size_t NumberOf(const std::vector<std::uint64_t>& corner) const {
        std::uint64_t number = 0;
        for (std::size_t d = 0; d < corner.size(); ++d)
            number = number * ((dimensions_[d] - 1) / chunk_[d] + 1) + corner[d] / chunk_[d];
        return static_cast<std::size_t>(number);
    }

    /// Takes down where the chunks lie. A tree has no more nodes and entries than chunks need.
    void ReadTree() {
        const std::size_t keyBytes = 8 + (dimensions_.size() + 1) * 8;
        entries_.resize(static_cast<std::size_t>(all_));
        std::vector<std::uint64_t> nodes = {tree_};
        std::uint64_t left = 2 * all_ + kDeepest;
        while (!nodes.empty()) {
            const Block head(file_, nodes.back(), 24);
            head.RequireMark("TREE");
            const bool isLeaf = head.Number(5, 1) == 0;
            const auto count = static_cast<std::size_t>(head.Number(6, 2));
            if (count + 1 > left) FailDamaged();
            left -= count + 1;
            const Block entries(file_, nodes.back() + 24, count * (keyBytes + 8));
            nodes.pop_back();
            for (std::size_t key = 0; key < entries.Size(); key += keyBytes + 8) {
                const std::uint64_t at = entries.Number(key + keyBytes, 8);
                isLeaf ? TakeEntry(entries, key, at) : nodes.push_back(at);
            }
        }
    }

    void TakeEntry(const Block& entries, std::size_t key, std::uint64_t at) {
        std::vector<std::uint64_t> corner;
        for (std::size_t d = 0; d < dimensions_.size(); ++d) {
            corner.push_back(entries.Number(key + 8 + 8 * d, 8));
            if (corner[d] >= dimensions_[d] || corner[d] % chunk_[d] != 0) FailDamaged();
        }
        Entry& entry = entries_[NumberOf(corner)];
        if (entry.at != kNone) FailDamaged();
        entry = {at, static_cast<std::uint32_t>(entries.Number(key, 4)),
                 static_cast<std::uint32_t>(entries.Number(key + 4, 4))};
    }

    ByteStretch file_;
    std::uint64_t tree_;
    std::vector<std::uint64_t> dimensions_;
    std::vector<std::uint64_t> chunk_;  ///< the dimensions of a chunk
    Filters filters_;
    std::uint64_t elementBytes_;
    std::vector<Entry> entries_;                                              ///< per chunk
    std::uint64_t all_ = 1;                                                   ///< chunks of the array
    std::uint64_t most_ = 1;                                                  ///< chunks that are kept
    std::uint64_t loaded_ = 0;                                                ///< each time a chunk was read
    std::list<Kept> kept_;                                                    ///< the last one used in front
    std::map<std::vector<std::uint64_t>, std::list<Kept>::iterator> places_;  ///< of those, by corner
};

class ChunkedCursor : public ByteCursor {
public:
    explicit ChunkedCursor(std::shared_ptr<ChunkStore> store) : store_(std::move(store)) {}

    void Read(std::span<std::byte> bytes) override {
        if (bytes.size() > store_->Bytes() - position_) FailDamaged();
        while (!bytes.empty()) {
            const auto stretch = store_->Stretch(position_, bytes.size());
            if (stretch.empty()) FailDamaged();
            std::ranges::copy(stretch, bytes.begin());
            bytes = bytes.subspan(stretch.size());
            position_ += stretch.size();
        }
    }
    void Skip(std::uint64_t count) override {
        if (count > store_->Bytes() - position_) FailDamaged();
        position_ += count;
    }
    void Finish() override {}
    std::unique_ptr<ByteCursor> Clone() const override {
        auto clone = std::make_unique<ChunkedCursor>(*this);
        clone->isClone_ = true;
        return clone;
    }
    std::uint64_t Most() const override { return store_->Bytes(); }
    /// All cursors of an array share what is kept of it.
    std::size_t Memory() const override { return isClone_ ? 0 : store_->Memory(); }

private:
    std::shared_ptr<ChunkStore> store_;
    std::uint64_t position_ = 0;
    bool isClone_ = false;
};

/// What the messages of a header say of an array, before it is known as a whole.
struct ArrayMessages {
    std::optional<Type> type = std::nullopt;
    std::optional<Block> layout = std::nullopt;
    std::uint64_t layoutAt = 0;  ///< in the file
    Filters filters = {};
};

std::shared_ptr<const ArrayBytes> BytesFor(const ByteStretch& file, const ArrayMessages& messages,
                                           const Hdf5Object& array, Hdf5Room* room) {
    constexpr std::uint64_t kMostChunk = std::uint64_t{16} << 20;
    constexpr std::uint64_t kUndefined = ~std::uint64_t{0};
    const Block& layout = *messages.layout;
    if (layout.Number(0, 1) != 3) FailUnknown("arrays of another layout");
    const std::uint64_t kind = layout.Number(1, 1);
    const std::uint64_t needed = BytesOf(array.dimensions, array.elementBytes);
    if (needed == 0) return nullptr;
    if (kind == 2) {
        const auto rank = static_cast<std::size_t>(layout.Number(2, 1));
        std::vector<std::uint64_t> chunk;
        if (array.dimensions.empty() || rank != array.dimensions.size() + 1) FailDamaged();
        for (std::size_t d = 0; d + 1 < rank; ++d) chunk.push_back(layout.Number(11 + 4 * d, 4));
        const std::uint64_t bytes = BytesOf(chunk, array.elementBytes);
        if (bytes == 0) FailDamaged();
        if (bytes > kMostChunk) FailUnknown("chunks of more than 16 MiB");
        if (needed / kMostInflation > file.Size()) FailDamaged();
        std::uint64_t chunks = 1;
        for (std::size_t d = 0; d < chunk.size(); ++d) chunks *= (array.dimensions[d] - 1) / chunk[d] + 1;
        // Each chunk has a place in the tree.
        room->TakeTree(BytesOf({chunks}, 24 + 8 * rank));
        if (messages.filters.isDeflated)
            room->TakeInflated(BytesOf({chunks}, bytes));
        else
            room->TakeStored(BytesOf({chunks}, bytes));
        const std::uint64_t tree = layout.Number(3, 8);
        return std::make_shared<ArrayBytes>(ArrayBytes{[=, filters = messages.filters] {
            return std::make_unique<ChunkedCursor>(
                std::make_shared<ChunkStore>(file, tree, array, chunk, filters));
        }});
    }
    std::uint64_t at = messages.layoutAt + 4;  // of a compact one, beside its layout
    std::uint64_t bytes = layout.Number(2, kind == 0 ? 2 : 1);
    if (kind == 1) {
        at = layout.Number(2, 8);
        bytes = layout.Number(10, 8);
    } else if (kind != 0) {
        FailUnknown("arrays of another layout");
    }
    if (at == kUndefined || needed > bytes || at > file.Size() || bytes > file.Size() - at) FailDamaged();
    room->TakeStored(needed);
    return StretchBytes({file.stream, file.begin + at, file.begin + at + needed}, Packing::stored);
}

/// An attribute that is a text or a small number.
void TakeAttribute(const Block& block, Hdf5Object* object) {
    const std::uint64_t version = block.Number(0, 1);
    if (version < 1 || version > 3) FailDamaged();
    const auto filled = [&](std::uint64_t size) {
        return static_cast<std::size_t>(version == 1 ? (size + 7) / 8 * 8 : size);
    };
    const std::size_t name = version == 3 ? 9 : 8;
    const std::size_t type = name + filled(block.Number(2, 2));
    const std::size_t space = type + filled(block.Number(4, 2));
    const std::size_t data = space + filled(block.Number(6, 2));
    const Type what = TypeOf(block.From(type));
    std::string& text = object->attributes[block.Text(name)];
    if (what.isText && what.bytes <= block.Size()) {
        text = block.Part(data, static_cast<std::size_t>(what.bytes)).Text(0);
    } else if (what.parts.size() == 1 && what.bytes <= 8) {
        double value = 0.0;
        ToDoubles(what.parts[0].type, block.Bytes(data, static_cast<std::size_t>(what.bytes)).data(), 1,
                  {&value, 1});
        text = value != 0.0 ? "1" : "0";
    }
}

}  // namespace

Hdf5Room::Hdf5Room(std::uint64_t fileBytes)
    : headers_(BytesOf({fileBytes}, 4)),  // some are read more than once
      stored_(fileBytes),
      inflated_(BytesOf({fileBytes}, kMostInflation)),
      trees_(fileBytes) {}

void Hdf5Room::TakeHeader(std::uint64_t bytes) {
    if (bytes > headers_) throw Error(ErrorKind::kDamaged, "its HDF5 objects lie in one another");
    headers_ -= bytes;
}

void Hdf5Room::Take(std::uint64_t* left, std::uint64_t bytes) {
    if (bytes > *left)
        throw Error(ErrorKind::kUnsupported, "it states more samples than the file has room for");
    *left -= bytes;
}

Hdf5File::Hdf5File(ByteStretch file) : file_(std::move(file)), room_(file_.Size()) {
    const Block head(file_, 0, 96);
    head.RequireMark("\x89HDF\r\n\x1A\n");
    const std::uint64_t version = head.Number(8, 1);
    if (version > 1 || head.Number(13, 1) != 8 || head.Number(14, 1) != 8)
        FailUnknown("a superblock of another version than MATLAB writes");
    root_ = head.Number(version == 0 ? 64 : 68, 8);
}

Hdf5Object Hdf5File::Object(std::uint64_t address) {
    enum Message : std::uint64_t {
        kSpace = 1,
        kType = 3,
        kLayout = 8,
        kFilter = 11,
        kAttribute = 12,
        kMore = 16,
        kTable = 17
    };
    room_.TakeHeader(16);
    const Block head(file_, address, 16);
    if (head.Number(0, 1) != 1) FailUnknown("a header of another version than MATLAB writes");
    std::vector<std::pair<std::uint64_t, std::uint64_t>> blocks = {{address + 16, head.Number(8, 4)}};
    Hdf5Object object;
    ArrayMessages messages;
    bool hasSpace = false;
    for (std::size_t b = 0; b < blocks.size(); ++b) {
        if (b > kDeepest) FailDamaged();
        const Block block(file_, blocks[b].first, blocks[b].second);
        room_.TakeHeader(block.Size());
        for (std::size_t at = 0; at + 8 <= block.Size();) {
            const std::uint64_t kind = block.Number(at, 2);
            const auto size = static_cast<std::size_t>(block.Number(at + 2, 2));
            const bool isShared = (block.Number(at + 4, 1) & 2) != 0;
            const Block body = block.Part(at + 8, size);
            if (isShared && (kind == kType || kind == kSpace)) FailUnknown("types that are shared");
            if (kind == kSpace) {
                object.dimensions = DimensionsOf(body);
                hasSpace = true;
            } else if (kind == kType) {
                messages.type = TypeOf(body);
            } else if (kind == kLayout) {
                messages.layout = body;
                messages.layoutAt = blocks[b].first + at + 8;
            } else if (kind == kFilter) {
                messages.filters = FiltersOf(body);
            } else if (kind == kAttribute && !isShared) {
                TakeAttribute(body, &object);
            } else if (kind == kMore) {
                blocks.emplace_back(body.Number(0, 8), body.Number(8, 8));
            } else if (kind == kTable) {
                object.isGroup = true;
                object.links = body.Number(0, 8);
                object.names = body.Number(8, 8);
            }
            at += 8 + size;
        }
    }
    if (object.isGroup) return object;
    if (!hasSpace || !messages.type || !messages.layout) FailUnknown("groups of another kind");
    object.elementBytes = messages.type->bytes;
    object.parts = messages.type->parts;
    object.isReference = messages.type->isReference;
    if (object.parts.empty() && !object.isReference) return object;
    object.bytes = BytesFor(file_, messages, object, &room_);
    return object;
}

std::vector<std::pair<std::string, std::uint64_t>> Hdf5File::Members(const Hdf5Object& group) {
    constexpr std::size_t kMostName = 1024;
    const Block heap(file_, group.names, 32);
    heap.RequireMark("HEAP");
    const Block names(file_, heap.Number(24, 8), heap.Number(8, 8));
    room_.TakeHeader(names.Size());
    std::vector<std::pair<std::string, std::uint64_t>> members;
    std::vector<std::uint64_t> nodes = {group.links};
    std::set<std::uint64_t> seen;
    while (!nodes.empty()) {
        const std::uint64_t node = nodes.back();
        nodes.pop_back();
        if (!seen.insert(node).second) FailDamaged();
        const Block head(file_, node, 24);
        head.RequireMark("TREE");
        const auto count = static_cast<std::size_t>(head.Number(6, 2));
        const Block entries(file_, node + 24, count * 16 + 8);
        room_.TakeHeader(entries.Size());
        const bool isLeaf = head.Number(5, 1) == 0;
        for (std::size_t e = count; e-- > 0;) {
            const std::uint64_t child = entries.Number(e * 16 + 8, 8);
            if (!isLeaf) nodes.push_back(child);
            if (!isLeaf) continue;
            if (!seen.insert(child).second) FailDamaged();
            const Block table(file_, child, 8);
            table.RequireMark("SNOD");
            const auto links = static_cast<std::size_t>(table.Number(6, 2));
            const Block symbols(file_, child + 8, links * 40);
            room_.TakeHeader(symbols.Size());
            for (std::size_t s = 0; s < links; ++s) {
                const auto name = static_cast<std::size_t>(symbols.Number(s * 40, 8));
                members.emplace_back(names.Text(name, kMostName), symbols.Number(s * 40 + 8, 8));
                room_.TakeHeader(members.back().first.size());
            }
        }
    }
    std::ranges::sort(members);
    return members;
}

}  // namespace kvx
