// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/UffSamples.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <string>
#include <string_view>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/FortranNumber.h>
#include <KvxRecording01/detail/NumberBytes.h>
#include <KvxRecording01/kernels/PlainNumber.h>

namespace kvx {
namespace {

static_assert(PlacedLines::kRoomBehind >= kPlainFieldRoom);

/// What is read of a binary dataset at once.
constexpr std::size_t kPiece = std::size_t{1} << 17;

Error AtSample(const Error& error, __int64 index) {
    return error.At({.sample = index + 1});
}

/// Throws Error for the first number that is none; `first` is that of the sample in front.
void RequireFinite(std::span<const double> numbers, __int64 first) {
    const auto bad = std::ranges::find_if_not(numbers, [](double number) { return std::isfinite(number); });
    if (bad == numbers.end()) return;
    throw AtSample(Error(ErrorKind::kDamaged, "the value is not a finite number"),
                   first + (bad - numbers.begin()));
}

bool IsBlank(char c) {
    return c >= '\0' && c <= ' ';
}

std::string_view Trimmed(std::string_view field) {
    while (!field.empty() && IsBlank(field.front())) field.remove_prefix(1);
    while (!field.empty() && IsBlank(field.back())) field.remove_suffix(1);
    return field;
}

/// Numbers apart by blanks in the usual spelling; whether the line holds nothing else.
bool ReadWords(std::string_view line, std::vector<double>* numbers) {
    numbers->clear();
    const char* at = line.data();
    const char* const end = at + line.size();
    while (true) {
        while (at < end && IsBlank(*at)) ++at;
        if (at == end) return true;
        const PlainNumber number = ReadPlainNumber(at, false);
        if (number.end == nullptr || number.end > end || (number.end < end && !IsBlank(*number.end)))
            return false;
        numbers->push_back(number.value);
        at = number.end;
    }
}

/// Numbers in columns, which may touch; whether the line holds nothing else.
bool ReadColumns(std::string_view line, const UffSamples& samples, std::vector<double>* numbers) {
    numbers->clear();
    for (std::size_t at = 0; at < line.size();) {
        const std::size_t width = samples.Width(numbers->size() % samples.Parts());
        const std::string_view field = Trimmed(line.substr(at, width));
        at += width;
        if (field.empty()) return Trimmed(line.substr(std::min(at, line.size()))).empty();
        const std::optional<double> number = ReadFortranNumber(field);
        if (!number) return false;
        numbers->push_back(*number);
    }
    return true;
}

/// Numbers apart by blanks in any spelling. Returns what is wrong with one that is none, for a sentence; else
/// nothing.
std::string ReadAnyWords(std::string_view line, std::vector<double>* numbers) {
    numbers->clear();
    while (true) {
        line = Trimmed(line);
        if (line.empty()) return {};
        const auto end = static_cast<std::size_t>(std::ranges::find_if(line, IsBlank) - line.begin());
        const char* fault = "";
        const std::optional<double> number = ReadFortranNumber(line.substr(0, end), &fault);
        if (!number) return Quote(line.substr(0, end)) + " " + fault;
        numbers->push_back(*number);
        line.remove_prefix(end);
    }
}

}  // namespace

std::size_t UffTuplesOfLine(const UffSamples& samples) {
    constexpr std::size_t kColumns = 80;
    // Six numbers of single precision fill a line, two triples or three pairs.
    return kColumns / samples.TupleWidth();
}

void UffSampleReader::Read(const UffSamples& samples, UffCursor* cursor, std::span<double* const> targets,
                           std::size_t count) {
    if (samples.form == UffSamples::Form::text) {
        ReadText(samples, cursor, targets, count);
    } else {
        ReadBinary(samples, cursor->done, targets, count);
    }
    cursor->done += static_cast<__int64>(count);
}

void UffSampleReader::Skip(const UffSamples& samples, UffCursor* cursor, __int64 count) {
    if (samples.form == UffSamples::Form::text) {
        const std::vector<double*> none(samples.Parts(), nullptr);
        ReadText(samples, cursor, none, static_cast<std::size_t>(count));
    }
    cursor->done += count;
}

void UffSampleReader::ReadBinary(const UffSamples& samples, __int64 first, std::span<double* const> targets,
                                 std::size_t count) {
    const std::size_t stride = samples.TupleWidth();
    const bool isBig = samples.form == UffSamples::Form::bigEndian;
    const std::size_t most = kPiece / stride;
    const auto read = [&](void* to, std::size_t tuples) {
        if (stream_.Read(to, tuples * stride) < tuples * stride)
            throw Error(ErrorKind::kHost, "it changed while it was read");
    };
    // Doubles side by side in the byte order of the host are read where they are wanted.
    const bool isPlain =
        targets.size() == 1 && targets[0] != nullptr && stride == sizeof(double) && isBig == kIsBigHost;
    stream_.Seek(samples.begin + static_cast<std::uint64_t>(first) * stride);
    for (std::size_t done = 0; done < count;) {
        const std::size_t piece = std::min(count - done, most);
        const __int64 at = first + static_cast<__int64>(done);
        if (isPlain) {
            read(targets[0] + done, piece);
            const std::span<const double> numbers(targets[0] + done, piece);
            if (!AreValues(numbers)) RequireFinite(numbers, at);
            done += piece;
            continue;
        }
        bytes_.resize(piece * stride);
        read(bytes_.data(), piece);
        const std::byte* from = bytes_.data();
        for (std::size_t part = 0; part < targets.size(); ++part) {
            const std::size_t width = samples.Width(part);
            if (targets[part] != nullptr) {
                const std::span<double> numbers(targets[part] + done, piece);
                if (!ToDoubles({NumberType::Kind::floating, width, isBig}, from, stride, numbers))
                    RequireFinite(numbers, at);
            }
            from += width;
        }
        done += piece;
    }
}

/// Reads the numbers of the next line; whether there is one.
bool UffSampleReader::ReadLine(const UffSamples& samples) {
    if (lines_.Position() >= samples.end) return false;
    const std::optional<std::string_view> line = lines_.Next();
    if (!line) return false;
    if (!lines_.WasEnded() && lines_.Position() < samples.end)
        throw Error(ErrorKind::kUnsupported, "a line of its numbers is longer than 256 KiB");
    if (ReadWords(*line, &numbers_)) return true;
    const std::string fault = ReadAnyWords(*line, &numbers_);
    if (fault.empty() || ReadColumns(*line, samples, &numbers_)) return true;
    throw Error(ErrorKind::kDamaged, fault);
}

void UffSampleReader::ReadText(const UffSamples& samples, UffCursor* cursor, std::span<double* const> targets,
                               std::size_t count) {
    const std::size_t parts = targets.size();
    lines_.MoveTo(cursor->position);
    std::size_t part = 0;
    for (std::size_t done = 0; done < count;) {
        try {
            if (!ReadLine(samples)) throw Error(ErrorKind::kDamaged, "it holds fewer values than it states");
        } catch (const Error& error) {
            throw AtSample(error, cursor->done + static_cast<__int64>(done));
        }
        std::size_t i = cursor->taken;
        for (; i < numbers_.size() && done < count; ++i) {
            if (targets[part] != nullptr) targets[part][done] = numbers_[i];
            if (++part == parts) {
                part = 0;
                ++done;
            }
        }
        cursor->taken = i;
        if (i < numbers_.size()) break;
        cursor->taken = 0;
        cursor->position = lines_.Position();
    }
}

std::uint64_t UffSampleReader::CountNumbers(const UffSamples& samples, std::uint64_t begin,
                                            std::uint64_t most) {
    lines_.MoveTo(begin);
    std::uint64_t count = 0;
    while (count < most && ReadLine(samples)) count += numbers_.size();
    return count;
}

}  // namespace kvx
