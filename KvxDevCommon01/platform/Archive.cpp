// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/platform/Archive.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <utility>

#include <KvxDevCommon01/platform/CodePage.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace {

// Marks of the string and count forms.
constexpr std::uint8_t kLongLength8 = 0xFF;
constexpr std::uint16_t kLongLength16 = 0xFFFF;
constexpr std::uint16_t kWideMarker = 0xFFFE;

constexpr std::size_t kFirstBuffer = 4096;
constexpr std::size_t kBetweenBlocks = 64;

[[noreturn]] void ThrowEndOfFile() {
    throw CFileException(CFileException::endOfFile);
}

[[maybe_unused]] void ReverseEach(std::byte* values, std::size_t width, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) std::reverse(values + i * width, values + (i + 1) * width);
}

/// Reads piece by piece, so that a length stated by a source without an end takes no memory before its text
/// comes.
template <typename Text>
Text ReadText(CArchive& archive, std::size_t length) {
    constexpr std::size_t kPiece = 1 << 16;
    Text text;
    while (text.size() < length) {
        const std::size_t start = text.size();
        text.resize(start + std::min(length - start, kPiece));
        archive.ReadNumbers(text.data() + start, text.size() - start);
    }
    return text;
}

std::uint32_t CheckedLength(std::size_t length) {
    if (length > 0x7FFFFFFF) throw CFileException(CFileException::genericException);
    return static_cast<std::uint32_t>(length);
}

}  // namespace

CArchive::CArchive(kvx::ByteStream& stream, Mode mode)
    : stream_(stream),
      mode_(mode),
      most_(std::max(stream.GatheredSize(), kFirstBuffer)),
      // A copy costs less than a small transfer. To write a block directly takes two: what waits goes first.
      direct_(mode == load ? most_ / 4 : most_),
      ahead_(kFirstBuffer) {}

CArchive::CArchive(kvx::ByteStream& stream, Mode mode, std::size_t bufferSize)
    : stream_(stream),
      mode_(mode),
      most_(std::max<std::size_t>(bufferSize, 16)),
      direct_(most_),
      ahead_(most_) {}

CArchive::~CArchive() = default;

void CArchive::Widen(std::size_t size) {
    if (size <= size_) return;
    auto wider = std::make_unique_for_overwrite<std::byte[]>(size);
    if (end_ > 0) std::memcpy(wider.get(), buffer_.get(), end_);
    buffer_ = std::move(wider);
    size_ = size;
}

std::size_t CArchive::Read(void* data, std::size_t size) {
    if (mode_ != load) throw CFileException(CFileException::genericException);
    auto* target = static_cast<std::byte*>(data);
    std::size_t done = 0;
    while (done < size) {
        if (begin_ == end_) {
            begin_ = end_ = 0;
            if (size - done >= direct_) {
                // Between large blocks there is little, and what is read ahead of one is copied.
                ahead_ = std::min(ahead_, kBetweenBlocks);
                Widen(ahead_);
                const std::size_t wanted = size - done;
                const std::size_t came = stream_.ReadOn(target + done, wanted, buffer_.get(), ahead_);
                end_ = came - std::min(came, wanted);
                return done + came - end_;
            }
            Widen(ahead_);
            end_ = stream_.Read(buffer_.get(), ahead_);
            if (end_ == 0) break;
            ahead_ = std::min(2 * ahead_, most_);
        }
        const std::size_t count = std::min(size - done, end_ - begin_);
        std::memcpy(target + done, buffer_.get() + begin_, count);
        begin_ += count;
        done += count;
    }
    return done;
}

std::size_t CArchive::Peek(std::span<std::byte> bytes) {
    if (mode_ != load) throw CFileException(CFileException::genericException);
    const std::size_t wanted = std::min(bytes.size(), most_);
    if (end_ - begin_ < wanted) {
        Widen(std::max(wanted, ahead_));
        std::memmove(buffer_.get(), buffer_.get() + begin_, end_ - begin_);
        end_ -= std::exchange(begin_, 0);
        std::size_t came = 1;
        for (; end_ < wanted && came > 0; end_ += came)
            came = stream_.Read(buffer_.get() + end_, size_ - end_);
    }
    const std::size_t count = std::min(wanted, end_ - begin_);
    std::copy_n(buffer_.get() + begin_, count, bytes.begin());
    return count;
}

void CArchive::ReadExact(void* data, std::size_t size) {
    if (Read(data, size) != size) ThrowEndOfFile();
}

void CArchive::Write(const void* data, std::size_t size) {
    if (mode_ != store) throw CFileException(CFileException::genericException);
    if (size >= direct_) {
        Flush();
        stream_.Write(data, size);
        return;
    }
    const auto* source = static_cast<const std::byte*>(data);
    if (size > size_ - end_) Widen(std::clamp(4 * (end_ + size), std::min(kFirstBuffer, most_), most_));
    if (size > size_ - end_) {  // the widest buffer is handed on full
        const std::size_t count = size_ - end_;
        std::memcpy(buffer_.get() + end_, source, count);
        end_ += count;
        source += count;
        size -= count;
        Flush();
    }
    if (size > 0) std::memcpy(buffer_.get() + end_, source, size);
    end_ += size;
}

void CArchive::Flush() {
    if (mode_ != store || end_ == 0) return;
    stream_.Write(buffer_.get(), end_);
    end_ = 0;
}

void CArchive::Expect(std::uint64_t size) {
    if (mode_ == store && size <= UINT64_MAX - end_) stream_.Expect(end_ + size);
}

std::uint64_t CArchive::Remaining() const {
    if (mode_ != load) return 0;
    const std::uint64_t buffered = end_ - begin_;
    const std::uint64_t behind = stream_.Remaining();
    return behind > UINT64_MAX - buffered ? UINT64_MAX : behind + buffered;
}

void CArchive::RequireRemaining(std::int64_t count, std::size_t itemSize) const {
    if (count > 0 && static_cast<std::uint64_t>(count) > Remaining() / itemSize) ThrowEndOfFile();
}

void CArchive::WriteLittleEndian(const void* values, std::size_t width, std::size_t count) {
    if constexpr (std::endian::native == std::endian::little) {
        Write(values, width * count);
    } else {
        std::array<std::byte, 1024> block;
        const auto* source = static_cast<const std::byte*>(values);
        const std::size_t perBlock = block.size() / width;
        for (std::size_t i = 0; i < count; i += perBlock) {
            const std::size_t part = std::min(perBlock, count - i);
            std::memcpy(block.data(), source + i * width, part * width);
            ReverseEach(block.data(), width, part);
            Write(block.data(), part * width);
        }
    }
}

void CArchive::ReadLittleEndian(void* values, std::size_t width, std::size_t count) {
    ReadExact(values, width * count);
    if constexpr (std::endian::native != std::endian::little) {
        ReverseEach(static_cast<std::byte*>(values), width, count);
    }
}

CArchive& CArchive::operator<<(const CString& text) {
    const std::u16string units = kvx::ToUtf16(text);
    const std::uint32_t length = CheckedLength(units.size());
    *this << kLongLength8 << kWideMarker;
    if (length < kLongLength8) {
        *this << static_cast<std::uint8_t>(length);
    } else if (length < kWideMarker) {
        *this << kLongLength8 << static_cast<std::uint16_t>(length);
    } else {
        *this << kLongLength8 << kLongLength16 << length;
    }
    WriteNumbers(units.data(), units.size());
    return *this;
}

CArchive& CArchive::operator>>(CString& text) {
    text.clear();
    bool isWide = false;
    std::uint32_t length = 0;
    const auto readLength = [&] {
        std::uint8_t length8 = 0;
        *this >> length8;
        length = length8;
        if (length8 != kLongLength8) return;
        std::uint16_t length16 = 0;
        *this >> length16;
        if (length16 == kWideMarker && !isWide) {
            isWide = true;
            return;
        }
        length = length16;
        if (length16 == kLongLength16) *this >> length;
    };
    readLength();
    if (isWide) readLength();

    RequireRemaining(length, isWide ? sizeof(char16_t) : 1);
    if (isWide) {
        text = kvx::FromUtf16(ReadText<std::u16string>(*this, length));
    } else {
        text = kvx::DecodeCodePageReplacing(ReadText<std::string>(*this, length), 0).value_or(CString());
    }
    return *this;
}

CArchive& CArchive::operator<<(const CStringArray& texts) {
    const std::uint32_t count = CheckedLength(texts.size());
    if (count < kLongLength16) {
        *this << static_cast<std::uint16_t>(count);
    } else {
        *this << kLongLength16 << count;
    }
    for (const CString& text : texts) *this << text;
    return *this;
}

CArchive& CArchive::operator>>(CStringArray& texts) {
    texts.clear();
    texts = ReadStrings(UINT64_MAX);
    return *this;
}

CStringArray CArchive::ReadStrings(std::uint64_t most) {
    constexpr std::uint64_t kMostReserved = 1 << 16;  // while a source may end before the stated count
    std::uint16_t count16 = 0;
    *this >> count16;
    std::uint32_t count = count16;
    if (count16 == kLongLength16) *this >> count;
    RequireRemaining(count, 1);
    const std::uint64_t kept = std::min<std::uint64_t>(count, most);
    CStringArray loaded;
    loaded.reserve(
        static_cast<std::size_t>(Remaining() == UINT64_MAX ? std::min(kept, kMostReserved) : kept));
    for (std::uint64_t i = 0; i < kept; ++i) *this >> loaded.emplace_back();
    CString dropped;
    for (std::uint64_t i = kept; i < count; ++i) *this >> dropped;
    return loaded;
}
