// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextStamps.h>

#include <chrono>
#include <cstddef>

#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

constexpr int kMostDecimals = 15;  // of which TextStamp::parts keeps every one
constexpr std::int64_t kPartsPerSecond = 1'000'000'000'000'000;

/// Takes a stamp from a text, from its front to its end.
class StampScanner {
public:
    explicit StampScanner(std::string_view field) : text_(Unquoted(field)) {}

    bool IsAtEnd() const { return text_.empty(); }

    bool Take(std::string_view oneOf) {
        if (text_.empty() || oneOf.find(text_.front()) == std::string_view::npos) return false;
        text_.remove_prefix(1);
        return true;
    }

    /// A number of `least` to `most` digits.
    std::optional<int> TakeNumber(std::size_t least, std::size_t most) {
        int value = 0;
        std::size_t count = 0;
        while (count < most && count < text_.size() && text_[count] >= '0' && text_[count] <= '9')
            value = value * 10 + (text_[count++] - '0');
        if (count < least) return std::nullopt;
        text_.remove_prefix(count);
        return value;
    }

    std::optional<TextStamp> TakeDate() {
        const std::optional<int> year = TakeNumber(4, 4);
        if (!year || text_.empty()) return std::nullopt;
        const std::string_view mark = text_.substr(0, 1);
        if (!Take("-/")) return std::nullopt;
        const std::optional<int> month = TakeNumber(1, 2);
        if (!month || !Take(mark)) return std::nullopt;
        const std::optional<int> day = TakeNumber(1, 2);
        if (!day) return std::nullopt;
        const std::chrono::year_month_day date(std::chrono::year(*year),
                                               std::chrono::month(static_cast<unsigned>(*month)),
                                               std::chrono::day(static_cast<unsigned>(*day)));
        if (!date.ok()) return std::nullopt;
        const std::chrono::sys_days days = date;
        return TextStamp{days.time_since_epoch().count() * kSecondsPerDay};
    }

    /// Hours, minutes and, perhaps only where they must be, seconds.
    std::optional<TextStamp> TakeClock(std::size_t hourDigits, bool mustHaveSeconds) {
        const std::optional<int> hours = TakeNumber(1, hourDigits);
        if (!hours || !Take(":")) return std::nullopt;
        const std::optional<int> minutes = TakeNumber(2, 2);
        if (!minutes || *minutes > 59) return std::nullopt;
        TextStamp stamp = {std::int64_t{*hours} * 3600 + *minutes * 60};
        if (!Take(":")) return mustHaveSeconds ? std::nullopt : std::optional(stamp);
        constexpr int kLeapSecond = 60;
        const std::optional<int> seconds = TakeNumber(2, 2);
        if (!seconds || *seconds > kLeapSecond) return std::nullopt;
        stamp.seconds += *seconds;
        if (Take(".,") && !TakeDecimals(&stamp)) return std::nullopt;
        return stamp;
    }

    /// The offset of a zone from universal time, in seconds; 0 without one.
    std::optional<int> TakeZone() {
        if (IsAtEnd() || Take("Zz")) return 0;
        const bool isWest = text_.front() == '-';
        if (!Take("+-")) return std::nullopt;
        const std::optional<int> hours = TakeNumber(2, 2);
        if (!hours || *hours > 23) return std::nullopt;
        Take(":");
        const std::optional<int> minutes = IsAtEnd() ? std::optional(0) : TakeNumber(2, 2);
        if (!minutes || *minutes > 59) return std::nullopt;
        const int offset = *hours * 3600 + *minutes * 60;
        return isWest ? -offset : offset;
    }

private:
    bool TakeDecimals(TextStamp* stamp) {
        std::int64_t part = kPartsPerSecond;
        for (; !text_.empty() && text_.front() >= '0' && text_.front() <= '9'; text_.remove_prefix(1)) {
            if (++stamp->decimals > kMostDecimals) continue;
            part /= 10;
            stamp->parts += part * (text_.front() - '0');
        }
        return stamp->decimals > 0;
    }

    std::string_view text_;
};

}  // namespace

double TextStamp::Since(const TextStamp& first) const {
    std::int64_t whole = seconds - first.seconds;
    std::int64_t rest = parts - first.parts;
    if (rest < 0) {
        --whole;
        rest += kPartsPerSecond;
    }
    return static_cast<double>(whole) + static_cast<double>(rest) / static_cast<double>(kPartsPerSecond);
}

double TextStamp::SinceOnClock(const TextStamp& first) const {
    TextStamp next = *this;
    if (seconds - first.seconds < -kSecondsPerDay / 2) next.seconds += kSecondsPerDay;
    return next.Since(first);
}

std::optional<TextStamp> ReadDateTime(std::string_view field) {
    StampScanner scanner(field);
    const std::optional<TextStamp> day = scanner.TakeDate();
    if (!day || !scanner.Take("Tt ")) return std::nullopt;
    while (scanner.Take(" ")) {
    }
    const std::optional<TextStamp> clock = scanner.TakeClock(2, false);
    if (!clock || clock->seconds > kSecondsPerDay) return std::nullopt;
    const std::optional<int> offset = scanner.TakeZone();
    if (!offset || !scanner.IsAtEnd()) return std::nullopt;
    TextStamp stamp = clock->On(*day);
    stamp.seconds -= *offset;
    return stamp;
}

std::optional<TextStamp> ReadDate(std::string_view field) {
    StampScanner scanner(field);
    const std::optional<TextStamp> day = scanner.TakeDate();
    return scanner.IsAtEnd() ? day : std::nullopt;
}

std::optional<TextStamp> ReadClock(std::string_view field) {
    StampScanner scanner(field);
    const std::optional<TextStamp> clock = scanner.TakeClock(4, true);
    return scanner.IsAtEnd() ? clock : std::nullopt;
}

}  // namespace kvx
