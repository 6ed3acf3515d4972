// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/TextStamps.h>

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>

#include <KvxRecording01/StartTime.h>
#include <KvxRecording01/detail/TextFields.h>

namespace kvx {
namespace {

constexpr int kMostDecimals = 15;  // of which TextStamp::parts keeps every one
constexpr std::int64_t kPartsPerSecond = StartTime::kPartsPerSecond;

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

    std::optional<TextStamp> TakeDate(std::optional<DateOrder> order) {
        if (const std::optional<OpenDate> open = TakeOpenDate()) {
            if (!order || open->isDayFirst) order = open->Order().value_or(DateOrder::dayFirst);
            const bool isDayFirst = *order == DateOrder::dayFirst;
            return StampOn(open->year, isDayFirst ? open->second : open->first,
                           isDayFirst ? open->first : open->second);
        }
        const std::optional<int> year = TakeNumber(4, 4);
        if (!year || text_.empty()) return std::nullopt;
        const std::string_view mark = text_.substr(0, 1);
        if (!Take("-/")) return std::nullopt;
        if (mark == "-" && text_.find_first_not_of("0123456789") >= 3) {
            if (const std::optional<int> day = TakeNumber(3, 3)) return StampOf(StartOnDay(*year, *day, 0));
        }
        const std::optional<int> month = TakeNumber(1, 2);
        if (!month || !Take(mark)) return std::nullopt;
        const std::optional<int> day = TakeNumber(1, 2);
        return day ? StampOn(*year, *month, *day) : std::nullopt;
    }

    /// A date that ends with its year.
    struct OpenDate {
        int first = 0;
        int second = 0;
        int year = 0;
        bool isDayFirst = false;  ///< since its numbers are apart by dots

        std::optional<DateOrder> Order() const {
            if (isDayFirst || (first > 12 && second <= 12)) return DateOrder::dayFirst;
            return second > 12 && first <= 12 ? std::optional(DateOrder::monthFirst) : std::nullopt;
        }
    };
    /// Takes nothing where there is none.
    std::optional<OpenDate> TakeOpenDate() {
        const std::string_view whole = text_;
        const std::optional<int> first = TakeNumber(1, 2);
        const std::string_view mark = text_.substr(0, 1);
        if (first && Take("./-")) {
            const std::optional<int> second = TakeNumber(1, 2);
            if (second && Take(mark)) {
                if (const std::optional<int> year = TakeNumber(4, 4))
                    return OpenDate{*first, *second, *year, mark == "."};
            }
        }
        text_ = whole;
        return std::nullopt;
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

    /// A decimal number with its exponent, if it has one.
    std::optional<TextStamp> TakeDecimalNumber() {
        constexpr int kMostDigits = 40, kMostPlaces = 19;
        const bool isNegative = Take("-");
        std::string digits;
        int places = 0;  // digits in front of the decimal mark
        for (bool isBehind = false; !text_.empty(); text_.remove_prefix(1)) {
            const char c = text_.front();
            if (c == '.' || c == ',') {
                if (std::exchange(isBehind, true)) return std::nullopt;
            } else if (c >= '0' && c <= '9' && std::ssize(digits) < kMostDigits) {
                digits += c;
                places += isBehind ? 0 : 1;
            } else {
                break;
            }
        }
        if (digits.empty()) return std::nullopt;
        if (Take("eE")) {
            const bool isSmall = Take("+-") && *(text_.data() - 1) == '-';
            const std::optional<int> exponent = TakeNumber(1, 3);
            if (!exponent) return std::nullopt;
            places += isSmall ? -*exponent : *exponent;
        }
        const std::size_t zeros = std::min(digits.find_first_not_of('0'), digits.size());
        digits.erase(0, zeros);
        places -= static_cast<int>(zeros);
        // So many and a first digit below 9 are within 64 bits.
        if (places > kMostPlaces || (places == kMostPlaces && digits.front() == '9')) return std::nullopt;
        TextStamp stamp;
        for (int i = std::min(places, 0); i < places + kMostDecimals; ++i) {
            const bool isThere = i >= 0 && i < std::ssize(digits);
            std::int64_t& target = i < places ? stamp.seconds : stamp.parts;
            target = target * 10 + (isThere ? digits[static_cast<std::size_t>(i)] - '0' : 0);
        }
        stamp.decimals = std::clamp(static_cast<int>(digits.size()) - places, 0, kMostDecimals);
        if (!isNegative) return stamp;
        stamp.seconds = -stamp.seconds - (stamp.parts > 0 ? 1 : 0);
        if (stamp.parts > 0) stamp.parts = kPartsPerSecond - stamp.parts;
        return stamp;
    }

private:
    static std::optional<TextStamp> StampOf(const std::optional<StartTime>& start) {
        return start ? std::optional(TextStamp{start->seconds}) : std::nullopt;
    }
    static std::optional<TextStamp> StampOn(int year, int month, int day) {
        return StampOf(StartOnDate(year, month, day, 0));
    }

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
    // As one decimal number, which is then rounded once.
    const int digits = std::min(std::max(decimals, first.decimals), kMostDecimals);
    std::int64_t scale = 1;
    for (int i = 0; i < digits; ++i) scale *= 10;
    constexpr std::int64_t kExact = std::int64_t{1} << 53;
    if (digits > 0 && rest % (kPartsPerSecond / scale) == 0 && whole < kExact / scale &&
        whole > -kExact / scale) {
        const std::int64_t number = whole * scale + rest / (kPartsPerSecond / scale);
        return static_cast<double>(number) / static_cast<double>(scale);
    }
    return static_cast<double>(whole) + static_cast<double>(rest) / static_cast<double>(kPartsPerSecond);
}

double TextStamp::SinceOnClock(const TextStamp& first) const {
    TextStamp next = *this;
    if (seconds - first.seconds < -kSecondsPerDay / 2) next.seconds += kSecondsPerDay;
    return next.Since(first);
}

std::optional<TextStamp> ReadDateTime(std::string_view field, std::optional<DateOrder> order) {
    StampScanner scanner(field);
    const std::optional<TextStamp> day = scanner.TakeDate(order);
    if (!day || !scanner.Take("Tt ")) return std::nullopt;
    while (scanner.Take(" ")) {
    }
    const std::optional<TextStamp> clock = scanner.TakeClock(2, false);
    if (!clock || clock->seconds > kSecondsPerDay) return std::nullopt;
    const bool hasZone = !scanner.IsAtEnd();
    const std::optional<int> offset = scanner.TakeZone();
    if (!offset || !scanner.IsAtEnd()) return std::nullopt;
    TextStamp stamp = clock->On(*day);
    stamp.seconds -= *offset;
    stamp.isUniversal = hasZone;
    return stamp;
}

std::optional<TextStamp> ReadDate(std::string_view field, std::optional<DateOrder> order) {
    StampScanner scanner(field);
    const std::optional<TextStamp> day = scanner.TakeDate(order);
    return scanner.IsAtEnd() ? day : std::nullopt;
}

bool NeedsDateOrder(std::string_view field) {
    const auto date = StampScanner(field).TakeOpenDate();
    return date && !date->isDayFirst;
}

std::optional<DateOrder> OrderOf(std::string_view field) {
    const auto date = StampScanner(field).TakeOpenDate();
    return date ? date->Order() : std::nullopt;
}

std::optional<TextStamp> ReadClock(std::string_view field) {
    StampScanner scanner(field);
    const std::optional<TextStamp> clock = scanner.TakeClock(4, true);
    return scanner.IsAtEnd() ? clock : std::nullopt;
}

std::optional<TextStamp> ReadDecimalStamp(std::string_view field) {
    StampScanner scanner(field);
    const std::optional<TextStamp> number = scanner.TakeDecimalNumber();
    return scanner.IsAtEnd() ? number : std::nullopt;
}

}  // namespace kvx
