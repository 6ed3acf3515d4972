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
#include <KvxDevCommon01/platform/Error.h>
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

template <class Records>
std::vector<Channel> Select(const Records& records, const ChannelChoice& choice) {
    if (choice.record > records.size()) {
        throw Error(ErrorKind::kUnknownName, "it has no record " + std::to_string(choice.record) + ", only " +
                                                 Count(std::ssize(records), "record"));
    }
    const std::vector<Channel> all = List(records);
    std::vector<Channel> chosen;
    for (const std::size_t at : ChooseChannels(choice.channels, NamesToChooseFrom(all, choice.record))) {
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

/// A number from the start of `*text`, which is left behind it.
std::optional<std::size_t> TakeNumber(std::string_view* text) {
    std::size_t number = 0;
    const auto [end, error] = std::from_chars(text->data(), text->data() + text->size(), number);
    if (error != std::errc()) return std::nullopt;
    text->remove_prefix(static_cast<std::size_t>(end - text->data()));
    return number;
}

/// Appends the positions that one piece of a choice stands for.
void ChoosePiece(std::string_view piece, std::span<const std::wstring> names,
                 std::vector<std::size_t>* chosen) {
    const auto named = std::ranges::find(names, FromUtf8(piece).value_or(L""));
    if (!piece.empty() && named != names.end()) {
        chosen->push_back(static_cast<std::size_t>(named - names.begin()));
        return;
    }
    std::string_view rest = piece;
    const std::optional<std::size_t> first = TakeNumber(&rest);
    std::optional<std::size_t> last = first;
    if (first && rest.starts_with('-')) {
        rest.remove_prefix(1);
        last = TakeNumber(&rest);
    }
    if (!first || !last || !rest.empty() || *first < 1 || *last < *first || *last > names.size()) {
        throw Error(ErrorKind::kUnknownName, "there is no channel " + Quote(piece) + " among its " +
                                                 Count(std::ssize(names), "channel"));
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
    std::vector<std::size_t> chosen;
    if (choice.empty()) {
        chosen.resize(names.size());
        std::iota(chosen.begin(), chosen.end(), std::size_t{0});
        return chosen;
    }
    for (std::size_t begin = 0; begin <= choice.size();) {
        const std::size_t end = std::min(choice.find(',', begin), choice.size());
        ChoosePiece(choice.substr(begin, end - begin), names, &chosen);
        begin = end + 1;
    }
    RequireDistinct(chosen, names.size());
    return chosen;
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
    // Without a way out of the loop, so that the compiler works on several samples at once.
    std::uint64_t others = 0;
    for (const double sample : samples) others += !(sample > kLowest && sample <= kHighest) ? 1 : 0;
    return others == 0;
}

void RequireValues(std::span<const double> samples, std::wstring_view name, __int64 before) {
    if (AreValues(samples)) return;
    const auto bad = std::ranges::find_if_not(samples, [](double v) { return AreValues({&v, 1}); });
    throw Error(ErrorKind::kUnsupported, "sample " + std::to_string(before + (bad - samples.begin()) + 1) +
                                             " of channel " + Quote(name) + " holds no value");
}

}  // namespace kvx
