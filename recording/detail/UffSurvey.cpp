// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/UffSurvey.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/FortranNumber.h>

namespace kvx {
namespace {

constexpr std::string_view kDelimiter = "    -1";

bool IsBlank(std::string_view line) {
    return std::ranges::all_of(line, [](char c) { return c >= '\0' && c <= ' '; });
}

bool IsDelimiter(std::string_view line) {
    return line.starts_with(kDelimiter) && IsBlank(line.substr(kDelimiter.size()));
}

/// What the line behind a delimiter says of a dataset.
struct Dataset {
    int number = 0;
    bool isBinary = false;
    int byteOrder = 0;
    int floats = 0;
    std::uint64_t lines = 0;
    std::uint64_t bytes = 0;

    std::string Name() const { return std::to_string(number) + (isBinary ? "b" : ""); }
};

std::uint64_t SizeAt(std::string_view line, std::size_t at, std::size_t width) {
    const std::optional<double> number = ReadFortranNumber(UffField(line, at, width));
    constexpr double kMost = 1e15;
    return number && *number > 0.0 && *number < kMost ? static_cast<std::uint64_t>(*number) : 0;
}

Dataset ReadDataset(std::string_view line) {
    Dataset dataset;
    dataset.number = UffDatasetNumber(line);
    dataset.isBinary = line.size() > 6 && (line[6] == 'b' || line[6] == 'B');
    if (!dataset.isBinary) return dataset;
    dataset.byteOrder = static_cast<int>(SizeAt(line, 7, 6));
    dataset.floats = static_cast<int>(SizeAt(line, 13, 6));
    dataset.lines = SizeAt(line, 19, 12);
    dataset.bytes = SizeAt(line, 31, 12);
    return dataset;
}

/// One pass over a file.
class Survey {
public:
    Survey(UffSampleReader& reader, const UffVisitor& visitor)
        : reader_(reader), lines_(reader.Lines()), visitor_(visitor) {}

    UffSurroundings Run() {
        lines_.MoveTo(0);
        std::optional<std::string_view> line = lines_.Next();
        // A delimiter begins a dataset when the number of one follows it, and ends one when not.
        while (line) {
            const bool isDelimiter = IsDelimiter(*line);
            begin_ = lines_.Position();
            line = lines_.Next();
            if (!isDelimiter || !line || UffDatasetNumber(*line) < 1) continue;
            Enter(ReadDataset(*line));
            line = lines_.Next();
        }
        for (const Found& found : found_) {
            if (found.damage) {
                visitor_.takeDamage(*found.damage);
                continue;
            }
            try {
                visitor_.takeFunction(found.header, found.samples, SystemOf(found.system));
            } catch (const Error& error) {
                visitor_.takeDamage(error.At({.byte = static_cast<std::int64_t>(found.begin)}));
            }
        }
        for (std::size_t i = 0; i < surroundings_.nodes.size(); ++i)
            surroundings_.nodes[i].length = SystemOf(nodeSystems_[i]).length;
        return std::move(surroundings_);
    }

private:
    /// Takes a dataset and leaves the lines in front of the delimiter that ends it.
    void Enter(const Dataset& dataset) {
        if (dataset.number == 58) {
            try {
                EnterFunction(dataset);
            } catch (const Error& error) {
                found_.emplace_back().damage = error.At({.byte = static_cast<std::int64_t>(begin_)});
                if (dataset.isBinary && TryEnd(damaged_ + dataset.bytes)) return;
                lines_.MoveTo(damaged_);
                SkipToDelimiter();
            }
            return;
        }
        const std::uint64_t begin = lines_.Position();
        if (dataset.number == 15 && !dataset.isBinary) {
            surroundings_.nodes.push_back({begin});
            nodeSystems_.push_back(systems_.size());
        } else if (dataset.number == 151 && surroundings_.header.empty()) {
            surroundings_.header = TakeRecords(3);
        } else if (dataset.number == 164) {
            ReadUnitSystem(TakeRecords(3));
        } else if (dataset.number != 151) {
            ++surroundings_.other[dataset.Name()];
        }
        if (dataset.isBinary) {
            const std::size_t wanted = HeaderLines(dataset);
            if (TakeRecords(wanted).size() == wanted && TryEnd(lines_.Position() + dataset.bytes)) return;
            lines_.MoveTo(begin);
        }
        SkipToDelimiter();
    }

    /// The lines of a binary dataset's header, as it states them, within reason.
    static std::size_t HeaderLines(const Dataset& dataset) {
        constexpr std::uint64_t kMost = 100;
        return static_cast<std::size_t>(std::min(dataset.lines, kMost));
    }

    void EnterFunction(const Dataset& dataset) {
        const std::vector<std::string> records = TakeRecords(UffHeader::kRecords);
        damaged_ = lines_.Position();
        if (records.size() < UffHeader::kRecords)
            throw Error(ErrorKind::kDamaged, "it ends within its header");
        // Further lines of the header that a binary dataset states belong to no record.
        TakeRecords(HeaderLines(dataset) - std::min(HeaderLines(dataset), records.size()));
        damaged_ = lines_.Position();
        const UffHeader header = ParseUffHeader(std::span<const std::string, UffHeader::kRecords>(records));
        UffSamples samples;
        samples.begin = damaged_;
        samples.count = header.count;
        samples.isListed = header.isListed;
        samples.isComplex = header.isComplex;
        if (dataset.isBinary) {
            LocateBinary(dataset, header, &samples);
        } else {
            LocateText(header, &samples);
        }
        found_.push_back({header, samples, systems_.size(), begin_, std::nullopt});
    }

    void LocateBinary(const Dataset& dataset, const UffHeader& header, UffSamples* samples) {
        constexpr int kVms = 1, kIeee = 2, kIbm = 3;
        if (dataset.floats != kIeee) {
            const char* const kind = dataset.floats == kVms   ? "DEC VMS floats"
                                     : dataset.floats == kIbm ? "IBM 370 floats"
                                                              : "of an unknown kind";
            throw Error(ErrorKind::kUnsupported,
                        "its binary numbers are " + std::string(kind) + ", and only IEEE floats are read");
        }
        if (dataset.byteOrder != 1 && dataset.byteOrder != 2) {
            throw Error(ErrorKind::kUnsupported, "its byte order is " + std::to_string(dataset.byteOrder) +
                                                     ", which is neither 1 nor 2");
        }
        samples->form = dataset.byteOrder == 1 ? UffSamples::Form::littleEndian : UffSamples::Form::bigEndian;
        samples->valueWidth = header.isDouble ? sizeof(double) : sizeof(float);
        const auto count = static_cast<std::uint64_t>(header.count);
        const std::uint64_t left = lines_.Size() - std::min(lines_.Size(), samples->begin);
        // Places in front of doubles are doubles, too, or floats, as their columns in a text have it.
        std::vector<std::size_t> placeWidths = {samples->valueWidth};
        if (header.isListed && header.isDouble) placeWidths.push_back(sizeof(float));
        // The end must be where the header says or where the values say; what both say goes first.
        for (const auto& [isStated, isExact] : {std::pair(true, true), {true, false}, {false, false}}) {
            for (const std::size_t width : placeWidths) {
                samples->placeWidth = width;
                if (count > left / samples->TupleWidth()) continue;
                const std::uint64_t bytes = count * samples->TupleWidth();
                if (isStated && (isExact ? dataset.bytes != bytes : dataset.bytes < bytes)) continue;
                samples->end = samples->begin + bytes;
                if (TryEnd(isStated ? samples->begin + dataset.bytes : samples->end)) return;
            }
        }
        const std::string values = "its " + Count(header.count, "value");
        if (count > left / samples->TupleWidth()) {
            throw Error(ErrorKind::kDamaged, "it is cut short: " + values + " take more than the " +
                                                 std::to_string(left) + " bytes that follow");
        }
        throw Error(ErrorKind::kDamaged, values + " take " + std::to_string(count * samples->TupleWidth()) +
                                             " bytes and its header states " + std::to_string(dataset.bytes) +
                                             ", but it ends behind neither");
    }

    /// Goes to where a binary dataset ends if nothing but line ends and a delimiter follows, or the end of
    /// the file; whether that is so.
    bool TryEnd(std::uint64_t position) {
        if (position > lines_.Size()) return false;
        lines_.MoveTo(position);
        constexpr int kMostBlank = 4;
        constexpr std::size_t kLongest = 256;  // of such a line; samples may have no line end for long
        for (int i = 0; i <= kMostBlank; ++i) {
            const std::uint64_t begin = lines_.Position();
            const std::optional<std::string_view> line = lines_.Next(kLongest);
            if (!line || IsCutDelimiter(*line)) return true;
            if (IsDelimiter(*line)) {
                lines_.MoveTo(begin);
                return true;
            }
            if (!IsBlank(*line)) return false;
        }
        return false;
    }

    /// Whether the end of the file is within a delimiter.
    bool IsCutDelimiter(std::string_view line) const {
        return !lines_.WasEnded() && kDelimiter.starts_with(line);
    }

    void LocateText(const UffHeader& header, UffSamples* samples) {
        constexpr std::size_t kSingleWidth = 13;
        constexpr std::size_t kDoubleWidth = 20;
        samples->valueWidth = header.isDouble ? kDoubleWidth : kSingleWidth;
        samples->placeWidth = kSingleWidth;
        std::uint64_t count = 0;
        std::uint64_t last = samples->begin;
        bool isWhole = true;
        while (true) {
            const std::uint64_t position = lines_.Position();
            const std::optional<std::string_view> line = lines_.Next();
            samples->end = position;
            if (!line || IsDelimiter(*line) || IsCutDelimiter(*line)) break;
            isWhole = lines_.WasEnded();
            if (IsBlank(*line)) continue;
            ++count;
            last = position;
        }
        damaged_ = samples->end;
        const auto tuples = static_cast<std::uint64_t>(header.count);
        const std::uint64_t perLine = UffTuplesOfLine(*samples);
        const std::uint64_t lines = tuples / perLine + (tuples % perLine > 0 ? 1 : 0);
        // Where the lines are as many as they should be, only the last one is looked at.
        const std::uint64_t full = count == lines ? (lines - 1) * perLine * samples->Parts() : 0;
        const std::uint64_t room = samples->end - samples->begin;
        if (!isWhole) throw Error(ErrorKind::kDamaged, "it is cut short in the last line of its numbers");
        if (count == 0 || tuples > room) throw Error(ErrorKind::kDamaged, TooFew(tuples));
        const std::uint64_t wanted = tuples * samples->Parts();
        const std::uint64_t found =
            full + reader_.CountNumbers(*samples, full > 0 ? last : samples->begin, wanted - full + kPadding);
        lines_.MoveTo(samples->end);
        if (found < wanted) throw Error(ErrorKind::kDamaged, TooFew(tuples));
        if (found >= wanted + kPadding) {
            throw Error(ErrorKind::kDamaged,
                        "it holds more numbers than the " + std::to_string(tuples) + " that it states take");
        }
    }

    static std::string TooFew(std::uint64_t tuples) {
        return "it holds fewer values than the " + std::to_string(tuples) + " that it states";
    }

    /// The next lines, as many as there are in front of a delimiter.
    std::vector<std::string> TakeRecords(std::size_t count) {
        std::vector<std::string> records;
        while (records.size() < count) {
            const std::uint64_t begin = lines_.Position();
            const std::optional<std::string_view> line = lines_.Next();
            if (!line) break;
            if (IsDelimiter(*line)) {
                lines_.MoveTo(begin);
                break;
            }
            records.emplace_back(line->substr(0, kLongestRecord));
        }
        return records;
    }

    void SkipToDelimiter() {
        while (true) {
            const std::uint64_t begin = lines_.Position();
            const std::optional<std::string_view> line = lines_.Next();
            if (!line) return;
            if (!IsDelimiter(*line)) continue;
            lines_.MoveTo(begin);
            return;
        }
    }

    void ReadUnitSystem(const std::vector<std::string>& records) {
        if (records.size() < 2) return;
        UffUnitSystem system;
        system.name = UffField(records[0], 10, 20);
        double* const factors[] = {&system.length, &system.force, &system.temperature};
        constexpr std::size_t kWidth = 25;
        for (std::size_t i = 0; i < std::size(factors); ++i) {
            const std::optional<double> factor = ReadFortranNumber(UffField(records[1], i * kWidth, kWidth));
            if (factor && *factor > 0.0) *factors[i] = *factor;
        }
        systems_.push_back(std::move(system));
    }

    /// The units of what stands behind so many statements of them: the last of these, else the first that
    /// follows.
    UffUnitSystem SystemOf(std::size_t statements) const {
        if (systems_.empty()) return {};
        return systems_[statements == 0 ? 0 : statements - 1];
    }

    /// A function, or what is wrong with it.
    struct Found {
        UffHeader header = {};
        UffSamples samples = {};
        std::size_t system = 0;
        std::uint64_t begin = 0;
        std::optional<Error> damage = std::nullopt;
    };

    /// Numbers that may follow the last value, so as to fill its line.
    static constexpr std::uint64_t kPadding = 6;
    static constexpr std::size_t kLongestRecord = 512;

    UffSampleReader& reader_;
    PlacedLines& lines_;
    const UffVisitor& visitor_;
    UffSurroundings surroundings_;
    std::vector<Found> found_;
    std::vector<UffUnitSystem> systems_;    ///< in their order
    std::vector<std::size_t> nodeSystems_;  ///< per dataset of nodes, the systems in front of it
    std::uint64_t begin_ = 0;               ///< of the dataset
    std::uint64_t damaged_ =
        0;  ///< from where the end of a dataset is looked for in which something is wrong
};

}  // namespace

UffSurroundings SurveyUff(UffSampleReader& reader, const UffVisitor& visitor) {
    return Survey(reader, visitor).Run();
}

void ReadUffNodes(PlacedLines& lines, const UffNodes& nodes, std::map<__int64, UffNode>* wanted) {
    lines.MoveTo(nodes.begin);
    while (const std::optional<std::string_view> line = lines.Next()) {
        if (IsDelimiter(*line)) return;
        const auto found = wanted->find(static_cast<__int64>(SizeAt(*line, 0, 10)));
        if (found == wanted->end()) continue;
        UffNode& node = found->second;
        node.isKnown = true;
        std::size_t at = 40;
        for (double* const coordinate : {&node.x, &node.y, &node.z}) {
            *coordinate = ReadFortranNumber(UffField(*line, at, 13)).value_or(0.0) / nodes.length;
            at += 13;
        }
    }
}

}  // namespace kvx
