// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/Channels.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <numeric>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/data/kernels/ReductionKernels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>

namespace kvx {
namespace {

/// What is asked of a record, loaded or not.
struct RecordFacts {
    explicit RecordFacts(const CComDataBase& record)
        : rowNames(record.GetRowName()),
          colNames(record.GetColName()),
          hunit(record.GetHUnit()),
          isEven(record.GetDataMode() == CComDataBase::MODE_SPACING),
          isComplex(record.GetImaginary(0, 0) != nullptr),
          delta(record.GetDelta()),
          offset(record.GetOffset()),
          nsamp(record.GetNsamp()) {}
    explicit RecordFacts(const RecordOutline& record)
        : rowNames(record.fields.rowNames),
          colNames(record.fields.colNames),
          hunit(record.fields.hunit),
          isEven(record.fields.mode == CComDataBase::MODE_SPACING),
          isComplex(record.isComplex),
          delta(record.fields.delta),
          offset(record.fields.offset),
          nsamp(record.nsamp) {}

    bool IsOverTime() const { return isEven && !isComplex && hunit == CUnitCtrl::DIM_TIME; }
    bool HasAxis() const { return !isEven || IsEvenAxis(delta, offset, nsamp); }

    const CStringArray& rowNames;
    const CStringArray& colNames;
    const CUnitCtrl& hunit;
    bool isEven;
    bool isComplex;
    double delta;
    __int64 offset;
    __int64 nsamp;
};

bool IsWaveform(const RecordFacts& record) {
    return record.IsOverTime() && record.HasAxis();
}

void RequireAxis(const RecordFacts& record, std::size_t index) {
    if (record.HasAxis()) return;
    throw Error(ErrorKind::kDamaged, "record " + std::to_string(index + 1) + " has a spacing of " +
                                         FormatNumber(record.delta) + ", which makes no axis");
}

void RequireWaveform(const RecordFacts& record, std::size_t index) {
    if (!record.IsOverTime()) {
        throw Error(ErrorKind::kUnsupported,
                    "record " + std::to_string(index + 1) + " is not a time waveform");
    }
    RequireAxis(record, index);
}

template <class Records>
std::vector<Channel> List(const Records& records) {
    std::vector<Channel> channels;
    for (std::size_t r = 0; r < records.size(); ++r) {
        const RecordFacts record(records[r]);
        for (std::size_t row = 0; row < record.rowNames.size(); ++row) {
            for (std::size_t column = 0; column < record.colNames.size(); ++column) {
                std::wstring name = record.rowNames[row];
                if (record.colNames.size() > 1) name += L"/" + record.colNames[column];
                channels.push_back({channels.size() + 1, r, static_cast<__int64>(row),
                                    static_cast<__int64>(column), std::move(name)});
            }
        }
    }
    return channels;
}

/// The names by which channels are chosen. One that the chosen record has is not looked for in the others: a
/// response and its coherence share one.
std::vector<std::wstring> NamesToChooseFrom(const std::vector<Channel>& all, std::size_t record) {
    std::set<std::wstring_view> own;
    for (const Channel& channel : all) {
        if (channel.record + 1 == record) own.insert(channel.name);
    }
    std::vector<std::wstring> names;
    for (const Channel& channel : all) {
        const bool isHidden = channel.record + 1 != record && own.contains(channel.name);
        names.push_back(isHidden ? L"" : channel.name);
    }
    return names;
}

/// A number from the start of `*text`, which is left behind it.
std::optional<std::size_t> TakeNumber(std::string_view* text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc()) return std::nullopt;
    text->remove_prefix(static_cast<std::size_t>(end - text->data()));
    return number;
}

/// Whether a name is what a pattern says: "*" stands for any letters, "?" for one.
bool Matches(std::wstring_view pattern, std::wstring_view name) {
    std::size_t p = 0;
    std::size_t star = pattern.npos;  // the last one, and how far it reached
    std::size_t reach = 0;
    for (std::size_t n = 0; n < name.size();) {
        if (p < pattern.size() && pattern[p] == L'*') {
            star = p++;
            reach = n;
        } else if (p < pattern.size() && (pattern[p] == L'?' || pattern[p] == name[n])) {
            ++p;
            ++n;
        } else if (star != pattern.npos) {
            p = star + 1;
            n = ++reach;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of(L'*', p) == pattern.npos;
}

/// What lists of channels choose from.
struct Choosable {
    std::span<const std::wstring> names;
    std::size_t first = 0;  ///< patterns and ranges without an end stay within [first, end)
    std::size_t end = 0;
};

/// Names for a sentence about one that is not there: those that are near, or else what there is.
std::string NamesInstead(std::string_view piece, const Choosable& from) {
    constexpr std::size_t kMost = 8;
    std::vector<std::string> names;
    for (const std::wstring& name : from.names.subspan(from.first, from.end - from.first)) {
        std::string text = ToUtf8(name);
        if (!text.empty() && std::ranges::find(names, text) == names.end()) names.push_back(std::move(text));
    }
    std::string plain(piece);
    std::erase_if(plain, [](char c) { return c == '*' || c == '?'; });
    std::string hint = DidYouMean(plain, names);
    if (!hint.empty()) return hint;
    for (std::size_t i = 0; i < std::min(kMost, names.size()); ++i)
        hint += (i == 0 ? ": " : ", ") + Quote(names[i]);
    return names.size() > kMost ? hint + " ..." : hint;
}

[[noreturn]] void ThrowNoChannel(std::string_view piece, const Choosable& from, const std::string& instead) {
    throw Error(ErrorKind::kUnknownName, "there is no channel " + Quote(piece) + " among its " +
                                             Count(std::ssize(from.names), "channel") + instead);
}

/// Appends the position of the channel of that name, if there is one.
bool ChooseName(std::string_view piece, const Choosable& from, std::vector<std::size_t>* chosen) {
    const std::optional<std::wstring> name = FromUtf8(piece);
    if (!name || name->empty()) return false;
    std::vector<std::string> numbers;
    for (std::size_t at = 0; at < from.names.size(); ++at) {
        if (from.names[at] != *name) continue;
        if (numbers.empty()) chosen->push_back(at);
        numbers.push_back(std::to_string(at + 1));
    }
    if (numbers.size() < 2) return !numbers.empty();
    std::string list;
    for (std::size_t i = 0; i < numbers.size(); ++i)
        list += (i == 0 ? "" : i + 1 < numbers.size() ? ", " : " and ") + numbers[i];
    throw Error(ErrorKind::kBadValue,
                "the channels " + list + " are all called " + Quote(piece) + "; choose by number");
}

/// Appends the channels that a pattern stands for and that were not chosen before it.
void ChoosePattern(std::string_view piece, const Choosable& from, std::vector<std::size_t>* chosen) {
    const std::wstring pattern = FromUtf8(piece).value_or(L"");
    const std::set<std::size_t> before(chosen->begin(), chosen->end());
    bool isFound = false;
    for (std::size_t at = from.first; at < from.end; ++at) {
        if (!Matches(pattern, from.names[at])) continue;
        isFound = true;
        if (!before.contains(at)) chosen->push_back(at);
    }
    if (!isFound) ThrowNoChannel(piece, from, NamesInstead(piece, from));
}

/// Appends the positions that one piece of a choice stands for.
void ChoosePiece(std::string_view given, const Choosable& from, std::vector<std::size_t>* chosen) {
    std::string_view piece = given;
    while (piece.starts_with(' ')) piece.remove_prefix(1);
    while (piece.ends_with(' ')) piece.remove_suffix(1);
    if (ChooseName(given, from, chosen) || ChooseName(piece, from, chosen)) return;
    if (piece.find_first_of("*?") != piece.npos) return ChoosePattern(piece, from, chosen);
    std::string_view rest = piece;
    const std::optional<std::size_t> first = TakeNumber(&rest);
    std::optional<std::size_t> last = first;
    if (first && rest.starts_with('-')) {
        rest.remove_prefix(1);
        last = rest.empty() ? from.end : TakeNumber(&rest);
    }
    if (!first || !last || !rest.empty()) ThrowNoChannel(piece, from, NamesInstead(piece, from));
    if (*first < 1 || *first > from.end || *last > from.names.size()) ThrowNoChannel(piece, from, "");
    if (*last < *first) {
        throw Error(ErrorKind::kBadValue, "the range of channels " + Quote(piece) + " runs backwards");
    }
    for (std::size_t number = *first; number <= *last; ++number) chosen->push_back(number - 1);
}

void RequireDistinct(const std::vector<std::size_t>& chosen, std::size_t channels) {
    std::vector<bool> isChosen(channels);
    for (const std::size_t at : chosen) {
        if (isChosen[at])
            throw Error(ErrorKind::kBadValue, "channel " + std::to_string(at + 1) + " is chosen twice");
        isChosen[at] = true;
    }
}

std::vector<std::size_t> Choose(std::string_view choice, const Choosable& from) {
    std::vector<std::size_t> chosen;
    if (choice.empty()) {
        chosen.resize(from.names.size());
        std::iota(chosen.begin(), chosen.end(), std::size_t{0});
        return chosen;
    }
    for (std::size_t begin = 0; begin <= choice.size();) {
        const std::size_t end = std::min(choice.find(',', begin), choice.size());
        ChoosePiece(choice.substr(begin, end - begin), from, &chosen);
        begin = end + 1;
    }
    RequireDistinct(chosen, from.names.size());
    return chosen;
}

template <class Records>
std::vector<Channel> Select(const Records& records, const ChannelChoice& choice) {
    if (choice.record > records.size()) {
        throw Error(ErrorKind::kUnknownName, "it has no record " + std::to_string(choice.record) + ", only " +
                                                 Count(std::ssize(records), "record"));
    }
    const std::vector<Channel> all = List(records);
    const std::vector<std::wstring> names = NamesToChooseFrom(all, choice.record);
    Choosable from = {names, 0, all.size()};
    if (choice.record > 0) {
        const auto first = std::ranges::lower_bound(all, choice.record - 1, {}, &Channel::record);
        const auto end = std::ranges::lower_bound(all, choice.record, {}, &Channel::record);
        from.first = static_cast<std::size_t>(first - all.begin());
        from.end = static_cast<std::size_t>(end - all.begin());
    }
    std::vector<Channel> chosen;
    for (const std::size_t at : Choose(choice.channels, from)) {
        const Channel& channel = all[at];
        if (choice.record == 0 || channel.record + 1 == choice.record) {
            chosen.push_back(channel);
        } else if (!choice.channels.empty()) {
            throw Error(ErrorKind::kBadValue, "channel " + std::to_string(channel.number) + " is in record " +
                                                  std::to_string(channel.record + 1) + ", not in record " +
                                                  std::to_string(choice.record));
        }
    }
    std::ranges::stable_sort(chosen, {}, &Channel::record);
    for (const Channel& channel : chosen) RequireAxis(RecordFacts(records[channel.record]), channel.record);
    return chosen;
}

}  // namespace

std::vector<Channel> ListChannels(const DataFileContent& content) {
    return List(content.records);
}

std::vector<Channel> ListChannels(std::span<const RecordOutline> records) {
    return List(records);
}

CStringArray NamesOf(std::span<const Channel> channels) {
    CStringArray names;
    for (const Channel& channel : channels) names.push_back(channel.name);
    return names;
}

std::vector<std::size_t> ChooseChannels(std::string_view choice, std::span<const std::wstring> names) {
    return Choose(choice, {names, 0, names.size()});
}

std::vector<Channel> SelectChannels(const DataFileContent& content, const ChannelChoice& choice) {
    return Select(content.records, choice);
}

std::vector<Channel> SelectChannels(std::span<const RecordOutline> records, const ChannelChoice& choice) {
    return Select(records, choice);
}

bool IsEvenAxis(double delta, __int64 offset, __int64 samples) {
    const auto first = static_cast<double>(offset);
    return delta > 0.0 && std::isfinite(1.0 / delta) && std::isfinite(first * delta) &&
           std::isfinite((first + static_cast<double>(samples)) * delta);
}

void RequireAxis(const CComDataBase& record, std::size_t index) {
    RequireAxis(RecordFacts(record), index);
}

void RequireAxis(const RecordOutline& record, std::size_t index) {
    RequireAxis(RecordFacts(record), index);
}

bool IsWaveform(const CComDataBase& record) {
    return IsWaveform(RecordFacts(record));
}

bool IsWaveform(const RecordOutline& record) {
    return IsWaveform(RecordFacts(record));
}

void RequireWaveform(const CComDataBase& record, std::size_t index) {
    RequireWaveform(RecordFacts(record), index);
}

void RequireWaveform(const RecordOutline& record, std::size_t index) {
    RequireWaveform(RecordFacts(record), index);
}

bool AreValues(std::span<const double> samples) {
    constexpr double kLowest = kNoValue<double>;  // what lies above it and is finite is a value
    constexpr double kHighest = std::numeric_limits<double>::max();
    return ActiveKernels<ReductionKernels>().areWithin(samples.data(), std::ssize(samples), kLowest,
                                                       kHighest);
}

void RequireValues(std::span<const double> samples, std::wstring_view name, __int64 before) {
    if (AreValues(samples)) return;
    const auto bad = std::ranges::find_if_not(samples, [](double v) { return AreValues({&v, 1}); });
    throw Error(ErrorKind::kUnsupported, "sample " + std::to_string(before + (bad - samples.begin()) + 1) +
                                             " of channel " + Quote(name) + " holds no value");
}

}  // namespace kvx
