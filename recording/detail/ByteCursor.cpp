// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/ByteCursor.h>

#include <zlib.h>

#include <algorithm>
#include <limits>
#include <new>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/kernels/CheckSumKernels.h>

namespace kvx {
namespace {

/// What deflated bytes become at most: 258 bytes of two bits.
constexpr std::uint64_t kMostInflation = 1032;

constexpr std::size_t kPassed = std::size_t{1} << 15;

[[noreturn]] void FailAtEnd() {
    throw Error(ErrorKind::kDamaged, "it is cut short");
}

Bytef* Octets(std::byte* bytes) {
    return reinterpret_cast<Bytef*>(bytes);
}

const Bytef* Octets(const std::byte* bytes) {
    return reinterpret_cast<const Bytef*>(bytes);
}

/// The check sum of what came out, where there is one to compare with.
class CheckSum {
public:
    explicit CheckSum(std::optional<std::uint32_t> expected) : expected_(expected) {}

    void Add(std::span<const std::byte> bytes) {
        if (expected_) sum_ = ActiveKernels<CheckSumKernels>().crc32(sum_, bytes.data(), std::ssize(bytes));
    }
    /// Some bytes do not go into it, so that nothing can be said any more.
    void Drop() { expected_.reset(); }
    bool IsWanted() const { return expected_.has_value(); }
    void Require() const {
        if (expected_ && *expected_ != sum_)
            throw Error(ErrorKind::kDamaged, "its check sum is not that of its bytes");
    }

private:
    std::optional<std::uint32_t> expected_;
    std::uint32_t sum_ = 0;
};

class StoredCursor : public ByteCursor {
public:
    StoredCursor(const ByteStretch& stretch, std::optional<std::uint32_t> crc)
        : stretch_(stretch), sum_(crc) {}

    void Read(std::span<std::byte> bytes) override {
        if (bytes.size() > stretch_.Size()) FailAtEnd();
        const std::size_t got = WithErrors([&] {
            stretch_.stream->Seek(stretch_.begin);
            return stretch_.stream->Read(bytes.data(), bytes.size());
        });
        if (got < bytes.size()) FailAtEnd();
        stretch_.begin += bytes.size();
        sum_.Add(bytes);
    }

    void Skip(std::uint64_t count) override {
        if (count > stretch_.Size()) FailAtEnd();
        if (sum_.IsWanted() && count <= kPassed) {  // as a header is
            std::vector<std::byte> passed(static_cast<std::size_t>(count));
            Read(passed);
            return;
        }
        sum_.Drop();
        stretch_.begin += count;
    }

    void Finish() override {
        std::vector<std::byte> passed(sum_.IsWanted() ? kPassed : 0);
        while (sum_.IsWanted() && stretch_.Size() > 0)
            Read(std::span(passed).first(std::min<std::uint64_t>(kPassed, stretch_.Size())));
        sum_.Require();
    }

    std::unique_ptr<ByteCursor> Clone() const override { return std::make_unique<StoredCursor>(*this); }
    std::uint64_t Most() const override { return stretch_.Size(); }
    std::size_t Memory() const override { return 0; }

private:
    ByteStretch stretch_;
    CheckSum sum_;
};

class InflatedCursor : public ByteCursor {
public:
    InflatedCursor(const ByteStretch& stretch, Packing packing, std::optional<std::uint32_t> crc)
        : stretch_(stretch), sum_(crc), packed_(kPacked) {
        if (inflateInit2(&state_, packing == Packing::zlib ? MAX_WBITS : -MAX_WBITS) != Z_OK)
            throw Error(ErrorKind::kNoMemory);
    }
    InflatedCursor(const InflatedCursor& other)
        : ByteCursor(other),
          stretch_(other.stretch_),
          sum_(other.sum_),
          packed_(other.packed_),
          isAtEnd_(other.isAtEnd_) {
        if (inflateCopy(&state_, const_cast<z_stream*>(&other.state_)) != Z_OK)
            throw Error(ErrorKind::kNoMemory);
        if (other.state_.avail_in > 0)
            state_.next_in = Octets(packed_.data()) + (other.state_.next_in - Octets(other.packed_.data()));
    }
    ~InflatedCursor() override { inflateEnd(&state_); }

    void Read(std::span<std::byte> bytes) override {
        if (Inflate(bytes) < bytes.size()) FailAtEnd();
    }

    void Skip(std::uint64_t count) override {
        std::vector<std::byte> passed(std::min<std::uint64_t>(kPassed, count));
        for (; count > 0; count -= std::min<std::uint64_t>(passed.size(), count))
            Read(std::span(passed).first(std::min<std::uint64_t>(passed.size(), count)));
    }

    void Finish() override {
        std::vector<std::byte> passed(kPassed);
        while (Inflate(passed) == passed.size()) {
        }
        sum_.Require();
    }

    std::unique_ptr<ByteCursor> Clone() const override { return std::make_unique<InflatedCursor>(*this); }

    std::uint64_t Most() const override {
        return stretch_.Size() < std::numeric_limits<std::uint64_t>::max() / kMostInflation
                   ? stretch_.Size() * kMostInflation
                   : std::numeric_limits<std::uint64_t>::max();
    }

    std::size_t Memory() const override { return kPacked + kState; }

private:
    static constexpr std::size_t kPacked = 4096;
    static constexpr std::size_t kState = 40 * 1024;  ///< window and tables of zlib

    /// Fills `bytes` as far as there are some and returns how many.
    std::size_t Inflate(std::span<std::byte> bytes) {
        std::size_t done = 0;
        while (done < bytes.size() && !isAtEnd_) {
            if (state_.avail_in == 0) Fetch();
            const std::size_t piece =
                std::min<std::size_t>(bytes.size() - done, std::numeric_limits<uInt>::max());
            state_.next_out = Octets(bytes.data() + done);
            state_.avail_out = static_cast<uInt>(piece);
            const bool isStarved = state_.avail_in == 0;
            const int result = inflate(&state_, Z_NO_FLUSH);
            done += piece - state_.avail_out;
            if (result == Z_MEM_ERROR) throw Error(ErrorKind::kNoMemory);
            isAtEnd_ = result == Z_STREAM_END;
            if (result == Z_BUF_ERROR && isStarved) FailAtEnd();
            if (!isAtEnd_ && result != Z_OK && result != Z_BUF_ERROR)
                throw Error(ErrorKind::kDamaged, "its compressed bytes are damaged");
        }
        sum_.Add(bytes.first(done));
        return done;
    }

    void Fetch() {
        const std::size_t count = std::min<std::uint64_t>(packed_.size(), stretch_.Size());
        const std::size_t got = WithErrors([&] {
            stretch_.stream->Seek(stretch_.begin);
            return stretch_.stream->Read(packed_.data(), count);
        });
        stretch_.begin += got;
        state_.next_in = Octets(packed_.data());
        state_.avail_in = static_cast<uInt>(got);
    }

    ByteStretch stretch_;  ///< what is still to be fetched
    CheckSum sum_;
    std::vector<std::byte> packed_;
    z_stream state_ = {};
    bool isAtEnd_ = false;
};

}  // namespace

std::unique_ptr<ByteCursor> OpenBytes(const ByteStretch& stretch, Packing packing,
                                      std::optional<std::uint32_t> crc) {
    if (packing == Packing::stored) return std::make_unique<StoredCursor>(stretch, crc);
    return std::make_unique<InflatedCursor>(stretch, packing, crc);
}

}  // namespace kvx
