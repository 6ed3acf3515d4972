// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TdmsBytes.h>

#include <algorithm>
#include <limits>
#include <optional>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxRecording01/detail/NumberBytes.h>

namespace kvx {
namespace {

constexpr std::uint64_t kNowhere = std::numeric_limits<std::uint64_t>::max();

/// What values of a type are as numbers, of complex ones the real parts; none where they are no numbers.
std::optional<NumberType> NumbersOf(TdmsType type, bool isBigEndian) {
    using enum NumberType::Kind;
    switch (type) {
        case TdmsType::int8:
        case TdmsType::int16:
        case TdmsType::int32:
        case TdmsType::int64:
            return NumberType{signedInteger, SizeOf(type), isBigEndian};
        case TdmsType::uint8:
        case TdmsType::uint16:
        case TdmsType::uint32:
        case TdmsType::uint64:
            return NumberType{unsignedInteger, SizeOf(type), isBigEndian};
        case TdmsType::single:
        case TdmsType::singleWithUnit:
        case TdmsType::complexSingle:
            return NumberType{floating, sizeof(float), isBigEndian};
        case TdmsType::real:
        case TdmsType::realWithUnit:
        case TdmsType::complexReal:
            return NumberType{floating, sizeof(double), isBigEndian};
        default:
            return std::nullopt;
    }
}

}  // namespace

std::size_t SizeOf(TdmsType type) {
    switch (type) {
        case TdmsType::int8:
        case TdmsType::uint8:
        case TdmsType::boolean:
            return 1;
        case TdmsType::int16:
        case TdmsType::uint16:
            return 2;
        case TdmsType::int32:
        case TdmsType::uint32:
        case TdmsType::single:
        case TdmsType::singleWithUnit:
            return 4;
        case TdmsType::int64:
        case TdmsType::uint64:
        case TdmsType::real:
        case TdmsType::realWithUnit:
        case TdmsType::complexSingle:
            return 8;
        case TdmsType::time:
        case TdmsType::complexReal:
            return 16;
        default:
            return 0;
    }
}

bool LoadValues(const std::byte* bytes, std::size_t stride, TdmsType type, bool isBigEndian,
                std::span<double> values) {
    if (type == TdmsType::boolean) {
        for (std::size_t i = 0; i < values.size(); ++i)
            values[i] = bytes[i * stride] != std::byte{0} ? 1.0 : 0.0;
        return true;
    }
    const std::optional<NumberType> numbers = NumbersOf(type, isBigEndian);
    if (!numbers) throw Error(ErrorKind::kUnsupported, "its data are no numbers");
    return ToDoubles(*numbers, bytes, stride, values);
}

TdmsTime LoadTime(const std::byte* at, bool isBigEndian) {
    const std::byte* const seconds = isBigEndian ? at : at + sizeof(std::uint64_t);
    const std::byte* const fraction = isBigEndian ? at + sizeof(std::int64_t) : at;
    return {LoadNumber<std::int64_t>(seconds, isBigEndian), LoadNumber<std::uint64_t>(fraction, isBigEndian)};
}

TdmsBytes::TdmsBytes(std::unique_ptr<ByteStream> stream) : stream_(std::move(stream)) {
    if (stream_ == nullptr) throw Error(ErrorKind::kBadValue, "there is no file to read");
    size_ = stream_->Remaining();
    if (size_ == kNowhere) throw Error(ErrorKind::kUnsupported, "a TDMS file is not read from a pipe");
}

const std::byte* TdmsBytes::At(std::uint64_t position, std::size_t count, std::size_t ahead) {
    if (position < begin_ || position - begin_ > kept_.size() ||
        count > kept_.size() - static_cast<std::size_t>(position - begin_)) {
        const std::uint64_t left = position < size_ ? size_ - position : 0;
        const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(std::max(count, ahead), left));
        kept_.resize(std::max(size, count));
        begin_ = kNowhere;  // unless reading succeeds
        Read(position, kept_.data(), kept_.size());
        begin_ = position;
    }
    return kept_.data() + (position - begin_);
}

void TdmsBytes::Read(std::uint64_t position, std::byte* bytes, std::size_t count) {
    if (position != next_) stream_->Seek(position);
    next_ = kNowhere;
    if (stream_->Read(bytes, count) != count) throw Error(ErrorKind::kHost, "it changed while it was read");
    next_ = position + count;
}

}  // namespace kvx
