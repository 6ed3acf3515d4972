// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/Variables.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/detail/HeaderText.h>
#include <KvxRecording01/detail/StatedUnit.h>

namespace kvx {
namespace {

// ---- what names mean ----

enum class Role { rate, step, start, axis, axisUnit, units, names, title, text, date, factNames, factTexts };

struct NameRow {
    std::string_view name;
    Role role;
    std::string_view axis = {};  ///< the axis that it belongs to
};

// Names of an axis are written as here; of the others the case and underscores mean nothing.
// clang-format off
constexpr NameRow kNames[] = {
    {"fs", Role::rate, "t"},                {"fsamp", Role::rate, "t"},      {"rate", Role::rate, "t"},
    {"samplerate", Role::rate, "t"},        {"samplingrate", Role::rate, "t"}, {"srate", Role::rate, "t"},
    {"samplingfrequency", Role::rate, "t"}, {"sfreq", Role::rate, "t"},
    {"dt", Role::step, "t"},                {"ts", Role::step, "t"},
    {"df", Role::step, "f"},                {"dx", Role::step, "x"},
    {"t0", Role::start, "t"},               {"f0", Role::start, "f"},        {"x0", Role::start, "x"},
    {"t", Role::axis, "t"},                 {"time", Role::axis, "t"},       {"Time", Role::axis, "t"},
    {"f", Role::axis, "f"},                 {"freq", Role::axis, "f"},       {"Freq", Role::axis, "f"},
    {"frequency", Role::axis, "f"},         {"Frequency", Role::axis, "f"},
    {"x", Role::axis, "x"},                 {"xunit", Role::axisUnit, "x"},
    {"unit", Role::units},                  {"units", Role::units},
    {"name", Role::names},                  {"names", Role::names},          {"channels", Role::names},
    {"title", Role::title},                 {"text", Role::text},            {"start", Role::date},
    {"factnames", Role::factNames},         {"facttexts", Role::factTexts},
};
// clang-format on

const NameRow* RowOf(std::wstring_view name, bool isAxis) {
    std::string plain = isAxis ? ToUtf8(name) : SmallLetters(ToUtf8(name));
    if (!isAxis) std::erase(plain, '_');
    const auto row = std::ranges::find_if(kNames, [&](const NameRow& each) {
        return (each.role == Role::axis) == isAxis && each.name == plain;
    });
    return row == std::end(kNames) ? nullptr : row;
}

// ---- columns of numbers ----

/// One column of numbers, each `step` bytes behind the one before it.
struct Column {
    std::shared_ptr<const ArrayBytes> bytes;
    NumberType type;
    std::uint64_t start;
    std::uint64_t step;
};

/// Columns that lie in one another's gaps, read in one go.
struct Strand {
    struct Member {
        std::size_t column;
        std::size_t offset;
        NumberType type;
    };

    std::shared_ptr<const ArrayBytes> bytes;
    std::uint64_t start;
    std::uint64_t step;
    std::vector<Member> members;
};

std::vector<Strand> StrandsOf(const std::vector<Column>& columns) {
    std::vector<std::size_t> order(columns.size());
    for (std::size_t c = 0; c < order.size(); ++c) order[c] = c;
    std::ranges::stable_sort(order, [&](std::size_t a, std::size_t b) {
        return std::pair(columns[a].bytes, columns[a].start) < std::pair(columns[b].bytes, columns[b].start);
    });
    std::vector<Strand> strands;
    for (const std::size_t c : order) {
        const Column& column = columns[c];
        const bool isInGap = !strands.empty() && strands.back().bytes == column.bytes &&
                             strands.back().step == column.step &&
                             column.start + column.type.bytes <= strands.back().start + column.step;
        if (!isInGap) strands.push_back({column.bytes, column.start, column.step, {}});
        strands.back().members.push_back(
            {c, static_cast<std::size_t>(column.start - strands.back().start), column.type});
    }
    return strands;
}

/// Reads columns of equal length side by side.
class ColumnReader {
public:
    ColumnReader(const std::vector<Column>& columns, std::uint64_t length)
        : strands_(StrandsOf(columns)), left_(length) {
        constexpr std::size_t kMostMemory = std::size_t{32} << 20;
        std::size_t memory = 0;
        for (std::size_t s = 0; s < strands_.size(); ++s) {
            const bool isFirst = s == 0 || strands_[s - 1].bytes != strands_[s].bytes;
            cursors_.push_back(isFirst ? strands_[s].bytes->open() : cursors_.back()->Clone());
            cursors_.back()->Skip(strands_[s].start - (isFirst ? 0 : strands_[s - 1].start));
            memory += cursors_.back()->Memory();
            if (memory > kMostMemory) {
                throw Error(ErrorKind::kUnsupported, "it has " + std::to_string(strands_.size()) +
                                                         " compressed columns, too many to be read side by "
                                                         "side; save it without compression");
            }
        }
    }

    /// Reads `count` more numbers of each column, as many as there are; those of null targets are passed
    /// over.
    void Read(std::span<double* const> targets, std::size_t count) {
        left_ -= count;
        areValues_.assign(targets.size(), true);
        for (std::size_t s = 0; s < strands_.size(); ++s) ReadStrand(s, targets, count);
    }

    /// Whether all numbers of a column that were read last are finite and none is missing.
    bool AreValues(std::size_t column) const { return areValues_[column]; }

private:
    void ReadStrand(std::size_t s, std::span<double* const> targets, std::size_t count) {
        constexpr std::size_t kPiece = std::size_t{1} << 18;
        const Strand& strand = strands_[s];
        ByteCursor& cursor = *cursors_[s];
        const bool isWanted = std::ranges::any_of(
            strand.members, [&](const Strand::Member& member) { return targets[member.column] != nullptr; });
        const auto step = static_cast<std::size_t>(strand.step);
        // The gaps behind the last number need not be there.
        const Strand::Member& end = strand.members.back();
        const std::size_t used = end.offset + end.type.bytes;
        const bool isLast = left_ == 0;
        if (count > 0 && !isWanted) {
            cursor.Skip(std::uint64_t{count - 1} * step + (isLast ? used : step));
        } else if (count > 0 && IsHostDouble(end.type) && step == sizeof(double)) {
            const std::span<double> numbers(targets[end.column], count);
            cursor.Read(std::as_writable_bytes(numbers));
            areValues_[end.column] = kvx::AreValues(numbers);
        } else {
            for (std::size_t done = 0; done < count;) {
                const std::size_t piece = std::min(std::max<std::size_t>(1, kPiece / step), count - done);
                const bool isEnd = isLast && done + piece == count;
                piece_.resize((piece - 1) * step + (isEnd ? used : step));
                cursor.Read(piece_);
                for (const Strand::Member& member : strand.members) {
                    double* const target = targets[member.column];
                    if (target == nullptr) continue;
                    const std::span<double> numbers(target + done, piece);
                    if (!ToDoubles(member.type, piece_.data() + member.offset, step, numbers) ||
                        (member.type.bytes == sizeof(double) && !kvx::AreValues(numbers)))
                        areValues_[member.column] = false;
                }
                done += piece;
            }
        }
        if (isLast && count > 0 && (s + 1 == strands_.size() || strands_[s + 1].bytes != strand.bytes))
            cursor.Finish();
    }

    std::vector<Strand> strands_;
    std::vector<std::unique_ptr<ByteCursor>> cursors_;
    std::uint64_t left_;
    std::vector<std::byte> piece_;
    std::vector<bool> areValues_;  ///< per column, of what was read last
};

/// The columns of an array whose samples follow one another along its dimension `along`: per channel one, or
/// two of a complex one.
std::vector<Column> ColumnsOf(const StoredArray& array, std::size_t along) {
    std::vector<Column> columns;
    for (std::uint64_t c = 0; c < array.counts[1 - along]; ++c) {
        for (const StoredArray::Part& part : array.parts)
            columns.push_back(
                {array.bytes, part.type, part.start + c * part.steps[1 - along], part.steps[along]});
    }
    return columns;
}

/// The dimension of a vector along which it lies.
std::size_t AlongOf(const StoredArray& array) {
    return array.counts[0] == 1 && array.counts[1] > 1 && !array.areRowsSamples ? 1 : 0;
}

/// The single numbers of a scope with their parts.
using SingleNumbers = std::map<const Variable*, std::vector<double>>;

/// Reads single numbers in the order in which they lie, so that packed bytes are inflated once for all.
void ReadSingles(SingleNumbers* numbers) {
    struct Place {
        std::size_t source;  // in the order in which they appear
        const StoredArray* array;
        const StoredArray::Part* part;
        double* target;
    };
    std::vector<Place> places;
    std::map<const ArrayBytes*, std::size_t> sources;
    for (auto& [variable, values] : *numbers) {
        const auto& array = std::get<StoredArray>(variable->value);
        const std::size_t source = sources.try_emplace(array.bytes.get(), sources.size()).first->second;
        values.resize(array.parts.size());
        for (std::size_t p = 0; p < values.size(); ++p)
            places.push_back({source, &array, &array.parts[p], &values[p]});
    }
    std::ranges::sort(places, {},
                      [](const Place& place) { return std::pair(place.source, place.part->start); });
    std::unique_ptr<ByteCursor> cursor;
    std::uint64_t position = 0;
    std::vector<std::byte> bytes;
    for (std::size_t i = 0; i < places.size(); ++i) {
        const auto& [source, array, part, target] = places[i];
        if (i == 0 || places[i - 1].source != source || part->start < position) {
            cursor = array->bytes->open();
            position = 0;
        }
        cursor->Skip(part->start - position);
        bytes.resize(part->type.bytes);
        cursor->Read(bytes);
        position = part->start + bytes.size();
        ToDoubles(part->type, bytes.data(), bytes.size(), {target, 1});
        if (i + 1 == places.size() || places[i + 1].source != source) cursor->Finish();
    }
}

/// A vector of places on an axis.
struct Places {
    const NameRow* name;
    const Variable* variable;
    std::size_t along;  ///< the dimension of the variable along which they follow one another
    TimeStamps stamps = {};
    bool isRising = true;      ///< and finite
    bool isOfAnArray = false;  ///< whether they are the first of the columns of an array of samples
    std::optional<double> firstDay = std::nullopt;  ///< of places in days, which the stamps count in seconds

    std::uint64_t Count() const { return static_cast<std::uint64_t>(stamps.count); }
};

/// Seconds from the first of serial dates on.
void CountSeconds(double firstDay, std::span<double> days) {
    constexpr double kSecondsPerDay = 86400.0;
    for (double& day : days) day = (day - firstDay) * kSecondsPerDay;
}

/// Whether times are serial dates, days from the year 0 on, of the years 1916 to 2190: a sample a day or more
/// often.
bool AreDays(const TimeStamps& stamps) {
    constexpr double kFirst = 7e5;
    constexpr double kLast = 8e5;
    return stamps.count > 1 && stamps.first >= kFirst && stamps.last <= kLast && stamps.Step() < 1.0;
}

/// Surveys the first column, or row, of an array as places.
Places SurveyPlaces(const Variable& variable, const NameRow* name, std::size_t along) {
    constexpr std::size_t kRoom = std::size_t{1} << 14;
    const auto& array = std::get<StoredArray>(variable.value);
    const std::vector<Column> column = {ColumnsOf(array, along).front()};
    const std::uint64_t all = array.counts[along];
    std::vector<double> room(std::min<std::uint64_t>(kRoom, all));
    double* const target = room.data();
    const auto passAll = [&](const auto& take) {
        ColumnReader reader(column, all);
        for (std::uint64_t left = all; left > 0;) {
            const std::size_t count = std::min<std::uint64_t>(room.size(), left);
            reader.Read({&target, 1}, count);
            if (!take(std::span(room).first(count))) return;
            left -= count;
        }
    };
    Places places{name, &variable, along};
    places.stamps.count = static_cast<__int64>(all);
    double previous = -std::numeric_limits<double>::infinity();
    bool isFirst = true;
    passAll([&](std::span<double> values) {
        if (std::exchange(isFirst, false)) places.stamps.first = values.front();
        for (const double value : values) {
            places.isRising = places.isRising && std::isfinite(value) && value >= previous;
            previous = value;
        }
        places.stamps.last = previous;
        return places.isRising;
    });
    places.isRising =
        places.isRising && (places.stamps.count < 2 || places.stamps.last > places.stamps.first);
    if (!places.isRising) return places;
    const bool isSingle =
        column.front().type.kind == NumberType::Kind::floating && column.front().type.bytes < 8;
    if (isSingle) {
        places.stamps.resolution = std::max(std::abs(places.stamps.first), std::abs(places.stamps.last)) *
                                   static_cast<double>(std::numeric_limits<float>::epsilon());
    }
    if (name->axis == "t" && AreDays(places.stamps)) {
        places.firstDay = places.stamps.first;
        double ends[] = {places.stamps.first, places.stamps.last, std::nextafter(places.stamps.first, 0.0)};
        CountSeconds(*places.firstDay, ends);
        places.stamps.first = ends[0];
        places.stamps.last = ends[1];
        places.stamps.resolution = -ends[2];
    }
    StrayFinder finder(&places.stamps);
    passAll([&](std::span<double> values) {
        if (places.firstDay) CountSeconds(*places.firstDay, values);
        finder.Add(values);
        return !places.stamps.stray;
    });
    return places;
}

/// The spacing of even places; one that makes a whole rate is taken to, as far as serial dates tell it.
double StepOf(const TimeStamps& stamps, bool areDates) {
    const double told = areDates ? stamps.resolution / (stamps.last - stamps.first) : 0.0;
    const double rounding = std::max(1e-9, told);
    const double rate = 1.0 / stamps.Step();
    const double whole = std::round(rate);
    return whole >= 1.0 && std::abs(rate / whole - 1.0) < rounding ? 1.0 / whole : stamps.Step();
}

// ---- runs ----

/// Where the channels of a run come from.
struct RunColumns {
    std::vector<Column> columns;
    std::uint64_t length;
    std::optional<double> firstDay = std::nullopt;  ///< of listed places that are serial dates
    EntryUnit axisUnit = {};                        ///< of the places that are listed
};

/// What the numbers of a scope say of its axes.
using Numbers = std::map<std::pair<Role, std::string_view>, double>;

class RunMaker {
public:
    RunMaker(RecordingInfo* info, std::vector<RunColumns>* sources, bool isBare)
        : info_(*info), sources_(*sources), isBare_(isBare) {}

    /// What its numbers say of axes holds for all scopes that say nothing.
    void SetOuter(const VariableScope& scope) { outer_ = NumbersOf(scope, SinglesOf(scope)); }

    void AddScope(const VariableScope& scope) {
        scope_ = &scope;
        singles_ = SinglesOf(scope);
        numbers_ = NumbersOf(scope, singles_);
        const bool hasStep = std::ranges::any_of(numbers_, [](const auto& number) {
            return number.first.first == Role::step || number.first.first == Role::rate;
        });
        if (!hasStep) numbers_.insert(outer_.begin(), outer_.end());
        Sort();
        SettleAxes();
        MakeGroups();
        StateNames();
        StateUnits();
        StateFacts();
        for (Group& group : groups_) {
            info_.runs.push_back(std::move(group.run));
            sources_.push_back(std::move(group.source));
        }
    }

    /// The sentence on what became nothing.
    void RemarkLeftOut() {
        if (leftOut_.empty()) return;
        std::string sentence = "left out: ";
        for (std::size_t i = 0; i < leftOut_.size(); ++i) sentence += (i == 0 ? "" : "; ") + leftOut_[i];
        if (notNamed_ > 0) sentence += "; and " + std::to_string(notNamed_) + " more variables";
        info_.remarks.push_back(sentence);
    }

private:
    struct Array {
        const Variable* variable;
        std::size_t along = 0;  ///< the dimension along which its samples follow one another
        bool hasTime = false;   ///< whether its first column, or row, is its time

        const StoredArray& Numbers() const { return std::get<StoredArray>(variable->value); }
        std::uint64_t Samples() const { return Numbers().counts[along]; }
        std::uint64_t Channels() const { return Numbers().counts[1 - along] - (hasTime ? 1 : 0); }
    };
    struct Group {
        RecordingInfo::Run run = {};
        RunColumns source = {};
    };

    std::string FullName(const Variable& variable) const {
        return ToUtf8(scope_->name.empty() ? variable.name : scope_->name + L"." + variable.name);
    }

    std::string QuotedName(const Variable& variable) const {
        return variable.name.empty() ? "the array" : Quote(FullName(variable));
    }

    /// A variable for a sentence: by its name, or by its place where it has none.
    std::string CalledOf(const Variable& variable) const {
        if (!variable.name.empty()) return Quote(FullName(variable));
        return "column " + std::to_string(&variable - scope_->variables.data() + 1) +
               (scope_->name.empty() ? "" : " of " + Quote(scope_->name));
    }

    bool IsNumber(const Variable& variable) const {
        const auto* const array = std::get_if<StoredArray>(&variable.value);
        return array != nullptr && array->Size() == 1 && !isBare_;
    }

    void LeaveOut(const Variable& variable, const std::string& why) {
        constexpr std::size_t kNamed = 8;
        if (leftOut_.size() == kNamed) {
            ++notNamed_;
        } else {
            leftOut_.push_back(CalledOf(variable) + ", for " + why);
        }
    }

    SingleNumbers SinglesOf(const VariableScope& scope) const {
        SingleNumbers singles;
        for (const Variable& variable : scope.variables)
            if (IsNumber(variable)) singles.try_emplace(singles.end(), &variable);
        ReadSingles(&singles);
        return singles;
    }

    static Numbers NumbersOf(const VariableScope& scope, const SingleNumbers& singles) {
        Numbers numbers;
        for (const Variable& variable : scope.variables) {
            const auto single = singles.find(&variable);
            const NameRow* const row = single == singles.end() ? nullptr : RowOf(variable.name, false);
            if (row == nullptr) continue;
            const double value = single->second.front();
            if (row->role == Role::start ? std::isfinite(value) : value > 0.0 && std::isfinite(1.0 / value))
                numbers.try_emplace({row->role, row->axis}, value);
        }
        return numbers;
    }

    std::optional<double> Stated(Role role, std::string_view axis) const {
        const auto number = numbers_.find({role, axis});
        return number == numbers_.end() ? std::nullopt : std::optional(number->second);
    }

    /// A spacing in the standard unit of the axis; rates are in hertz, whatever that of the axis is in.
    std::optional<double> StatedStep(std::string_view axis, const EntryUnit& unit = {}) const {
        if (const std::optional<double> step = Stated(Role::step, axis))
            return ToStandardDistance(unit, *step);
        const std::optional<double> rate = Stated(Role::rate, axis);
        return rate ? std::optional(1.0 / *rate) : std::nullopt;
    }

    /// Deals the variables out by what they are.
    void Sort() {
        arrays_.clear();
        axes_.clear();
        surveyed_.clear();
        texts_.clear();
        hasAxisUnit_ = HasAxisUnit();
        for (const Variable& variable : scope_->variables) {
            if (const auto* const leftOut = std::get_if<Variable::LeftOut>(&variable.value)) {
                LeaveOut(variable, leftOut->why);
            } else if (const auto* const texts = std::get_if<Variable::Texts>(&variable.value)) {
                SortTexts(variable, *texts);
            } else if (IsNumber(variable)) {
                const std::vector<double>& parts = singles_.at(&variable);
                std::string text = FormatExact(parts.front());
                if (parts.size() > 1)
                    text += (parts[1] < 0.0 ? " - " : " + ") + FormatExact(std::abs(parts[1])) + "i";
                info_.properties.push_back({FullName(variable), text});
            } else {
                SortArray(variable);
            }
        }
    }

    void SortTexts(const Variable& variable, const Variable::Texts& texts) {
        const NameRow* const row = RowOf(variable.name, false);
        constexpr Role kRoles[] = {Role::units, Role::names, Role::title,     Role::axisUnit,
                                   Role::text,  Role::date,  Role::factNames, Role::factTexts};
        const bool hasRole =
            row != nullptr && std::ranges::find(kRoles, row->role) != std::end(kRoles) &&
            (row->role != Role::text || texts.size() == 1) &&
            (row->role != Role::date || (!texts.empty() && ParseStartTime(ToUtf8(texts.front()))));
        if (!hasRole || !texts_.try_emplace(row->role, &texts).second) AddProperty(variable, texts);
    }

    void AddProperty(const Variable& variable, const Variable::Texts& texts) {
        std::string joined;
        for (const std::wstring& text : texts) joined += (joined.empty() ? "" : ", ") + ToUtf8(text);
        info_.properties.push_back({FullName(variable), joined});
    }

    void SortArray(const Variable& variable) {
        const auto& array = std::get<StoredArray>(variable.value);
        const NameRow* row = RowOf(variable.name, true);
        if (row != nullptr && row->axis == "x" && !hasAxisUnit_) row = nullptr;  // a name like any other
        const bool isVector = array.counts[1 - AlongOf(array)] == 1;
        // One name is one axis: of several with it, the first.
        if (row != nullptr && isVector && array.parts.size() == 1 && surveyed_.insert(row).second) {
            const Places places = SurveyPlaces(variable, row, AlongOf(array));
            if (places.isRising) {
                axes_.push_back(places);
                return;
            }
        }
        arrays_.push_back({&variable, AlongOf(array)});
    }

    bool HasAxisUnit() const {
        return std::ranges::any_of(scope_->variables, [](const Variable& variable) {
            const NameRow* const row = RowOf(variable.name, false);
            return row != nullptr && row->role == Role::axisUnit &&
                   std::holds_alternative<Variable::Texts>(variable.value);
        });
    }

    const Places* AxisOf(std::uint64_t samples) const {
        for (const std::string_view name : {"t", "f", "x"}) {
            for (const Places& places : axes_)
                if (places.name->axis == name && places.Count() == samples) return &places;
        }
        return nullptr;
    }

    /// Says along which dimension the samples of each array follow one another; an axis of no array is one
    /// itself.
    void SettleAxes() {
        for (Array& array : arrays_) {
            const StoredArray& numbers = array.Numbers();
            const auto [rows, columns] = numbers.counts;
            if (rows == 1 || columns == 1 || numbers.areRowsSamples) continue;
            const bool isRowTime = AxisOf(rows) != nullptr;
            const bool isColumnTime = AxisOf(columns) != nullptr;
            array.along = isRowTime == isColumnTime ? columns > rows : isColumnTime;
            const std::string name = QuotedName(*array.variable);
            array.hasTime = TakeTime(array, name);
            if (array.along == 1)
                info_.remarks.push_back("the rows of " + name + " are taken for channels, " +
                                        std::to_string(array.Channels()) + " of " + std::to_string(columns) +
                                        " samples");
            if (rows == columns && isRowTime == isColumnTime)
                info_.remarks.push_back(name + " is square; its columns are taken for channels");
        }
        // Arrays and axes are in the order of the variables.
        std::vector<Array> all;
        auto array = arrays_.begin();
        auto axis = axes_.begin();
        for (const Variable& variable : scope_->variables) {
            if (array != arrays_.end() && array->variable == &variable) all.push_back(*array++);
            if (axis == axes_.end() || axis->variable != &variable) continue;
            const Places* const places = &*axis++;
            if (places->isOfAnArray) continue;
            const bool isUsed = std::ranges::any_of(
                arrays_, [&](const Array& each) { return AxisOf(each.Samples()) == places; });
            if (!isUsed) all.push_back({&variable, AlongOf(std::get<StoredArray>(variable.value))});
        }
        arrays_ = std::move(all);
    }

    /// Whether the first column, or row, of an array is its time, which nothing else states: it rises evenly.
    bool TakeTime(const Array& array, const std::string& name) {
        constexpr std::uint64_t kLeast = 8;  // fewer numbers rise by chance
        if (array.Numbers().parts.size() > 1 || array.Samples() < kLeast || !numbers_.empty()) return false;
        const Places* const other = AxisOf(array.Samples());
        const bool isOfAnArray = other != nullptr && other->isOfAnArray;
        if (!isOfAnArray && !axes_.empty() && (other != nullptr || !axes_.front().isOfAnArray)) return false;
        Places places = SurveyPlaces(*array.variable, RowOf(L"t", true), array.along);
        if (!places.isRising || !places.stamps.IsEven()) return false;
        if (isOfAnArray && (other->stamps.first != places.stamps.first ||
                            other->stamps.last != places.stamps.last || other->firstDay != places.firstDay))
            return false;
        info_.remarks.push_back(std::string("the first ") + (array.along == 0 ? "column" : "row") + " of " +
                                name + " rises evenly and is taken for the time");
        places.isOfAnArray = true;
        if (!isOfAnArray) axes_.push_back(places);
        return true;
    }

    void MakeGroups() {
        groups_.clear();
        const bool hasAxis = std::ranges::any_of(
            arrays_, [&](const Array& each) { return AxisOf(each.Samples()) != nullptr; });
        const bool hasStep = StatedStep("t") || StatedStep("f") || (HasAxisUnit() && StatedStep("x"));
        std::map<std::uint64_t, std::size_t> groupOf;  // by the count of samples
        for (const Array& array : arrays_) {
            const Places* const places = AxisOf(array.Samples());
            if (hasAxis && !hasStep && places == nullptr) {
                LeaveOut(*array.variable, "it has another length than the axis");
                continue;
            }
            const auto [at, isNew] = groupOf.try_emplace(array.Samples(), groups_.size());
            if (isNew) {
                groups_.emplace_back().source.length = array.Samples();
                groups_.back().run.samples = static_cast<__int64>(array.Samples());
                groups_.back().run.title = Title();
                places != nullptr ? SetAxis(*places, &groups_.back()) : SetAxis(&groups_.back().run.axis);
            }
            AddChannels(array, &groups_[at->second]);
        }
    }

    std::wstring Title() const {
        const auto title = texts_.find(Role::title);
        return title != texts_.end() && !title->second->empty() ? title->second->front() : scope_->name;
    }

    /// The unit of an axis, which is stated of it, and what its places and their distance are converted from:
    /// that of the file where it fits, for a time and a frequency else seconds and hertz.
    EntryUnit StateUnitOf(std::string_view name, RecordedAxis* axis) {
        const CUnitCtrl own(name == "t"   ? CUnitCtrl::DIM_TIME
                            : name == "f" ? CUnitCtrl::DIM_FREQUENCY
                                          : CUnitCtrl::DIM_NONE);
        axis->unit = own;
        const auto texts = texts_.find(Role::axisUnit);
        if (texts == texts_.end() || texts->second->empty() || texts->second->front().empty()) return own;
        const std::wstring& text = texts->second->front();
        RecordedAxis stated;
        const EntryUnit unit = StateAxisUnit(&stated, text, DimensionOf(own));
        if (name == "x" || stated.unit == own) {
            axis->unit = stated.unit;
            axis->unknownUnit = stated.unknownUnit;
            return unit;
        }
        info_.remarks.push_back(
            "the unit " + Quote(text) + " of an axis is none of the " +
            (name == "t" ? "times, which are read in s" : "frequencies, which are read in Hz"));
        return own;
    }

    /// An axis by a vector of places, and by the spacing that is stated beside it where both agree.
    void SetAxis(const Places& places, Group* group) {
        RecordedAxis& axis = group->run.axis;
        EntryUnit unit;
        TimeStamps stamps = places.stamps;
        if (places.firstDay) {
            axis.unit = CUnitCtrl(CUnitCtrl::DIM_TIME);
            info_.remarks.push_back("the times of " + QuotedName(*places.variable) +
                                    " are taken for serial dates in days, from " +
                                    FormatExact(*places.firstDay) +
                                    " on, and read as seconds from the first");
        } else {
            unit = StateUnitOf(places.name->axis, &axis);
            ToStandardPlaces(unit, &stamps);
        }
        if (!stamps.IsEven()) {
            axis.isListed = true;
            const auto& array = std::get<StoredArray>(places.variable->value);
            group->source.columns = ColumnsOf(array, places.along);
            group->source.firstDay = places.firstDay;
            group->source.axisUnit = unit;
            return;
        }
        const double span = stamps.last - stamps.first;
        const std::optional<double> stated = StatedStep(places.name->axis, unit);
        axis.delta = StepOf(stamps, places.firstDay.has_value());
        axis.first = stamps.first;
        if (places.name->axis == "t") axis.stamps = stamps;
        if (!stated) return;
        if (std::abs(*stated * static_cast<double>(stamps.count - 1) - span) <= 0.5 * stamps.Step()) {
            axis.delta = *stated;
        } else {
            info_.remarks.push_back("the spacing of " + Quote(FullName(*places.variable)) + ", " +
                                    FormatNumber(axis.delta, 9) + ", is taken, not the " +
                                    FormatNumber(*stated, 9) + " that is stated beside it");
        }
    }

    /// An axis by what numbers say of it.
    void SetAxis(RecordedAxis* axis) {
        std::string_view name = "t";
        if (!StatedStep("t") && StatedStep("f")) name = "f";
        if (!StatedStep("t") && !StatedStep("f") && HasAxisUnit() && StatedStep("x")) name = "x";
        const EntryUnit unit = StateUnitOf(name, axis);
        axis->delta = StatedStep(name, unit).value_or(0.0);
        axis->first = Stated(Role::start, name).value_or(0.0);
        ToStandardPlaces(unit, {&axis->first, 1});
        const std::optional<double> step = Stated(Role::step, name);
        const std::optional<double> rate = Stated(Role::rate, name);
        if (step && rate && std::abs(axis->delta * *rate - 1.0) > 1e-6) {
            info_.remarks.push_back("the spacing of " + FormatNumber(axis->delta, 9) +
                                    " is taken, not the rate of " + FormatNumber(*rate, 9) +
                                    " that is stated beside it");
        }
        if (!isBare_) axis->rateHint = "; it has no number fs or dt above 0 and no vector t that rises";
    }

    void AddChannels(const Array& array, Group* group) {
        constexpr std::uint64_t kMostChannels = 65536;
        channels_ += array.Channels();
        if (channels_ > kMostChannels || array.Channels() > kMostChannels) {
            throw Error(ErrorKind::kUnsupported,
                        "its arrays make more than " + std::to_string(kMostChannels) + " channels");
        }
        const std::uint64_t first = array.hasTime ? 1 : 0;
        std::vector<Column> columns = ColumnsOf(array.Numbers(), array.along);
        std::move(columns.begin() + static_cast<std::ptrdiff_t>(first), columns.end(),
                  std::back_inserter(group->source.columns));
        for (std::uint64_t c = 0; c < array.Channels(); ++c) {
            RecordingInfo::Channel& channel = group->run.channels.emplace_back();
            channel.name = array.variable->name;
            if (array.Channels() > 1 && !channel.name.empty())
                channel.name += L"_" + std::to_wstring(first + c + 1);
            channel.isComplex = array.Numbers().parts.size() > 1;
        }
    }

    /// The channels that as many texts state something of: all of the scope, or those of the first run that
    /// has as many.
    std::vector<RecordingInfo::Channel*> ChannelsFor(std::size_t count) {
        std::vector<RecordingInfo::Channel*> all;
        for (Group& group : groups_)
            for (RecordingInfo::Channel& channel : group.run.channels) all.push_back(&channel);
        if (all.size() == count) return all;
        all.clear();
        const auto group = std::ranges::find_if(
            groups_, [&](const Group& each) { return each.run.channels.size() == count; });
        if (group == groups_.end()) return all;
        for (RecordingInfo::Channel& channel : group->run.channels) all.push_back(&channel);
        return all;
    }

    void RemarkCount(std::string_view what, std::size_t count) {
        info_.remarks.push_back("the " + Count(static_cast<long long>(count), what) +
                                " of the file are not used, for they are not as many as the channels");
    }

    void StateNames() {
        const auto names = texts_.find(Role::names);
        if (names == texts_.end() || groups_.empty()) return;
        const Variable::Texts& texts = *names->second;
        const std::vector<RecordingInfo::Channel*> channels = ChannelsFor(texts.size());
        if (channels.empty()) return RemarkCount("name", texts.size());
        for (std::size_t c = 0; c < texts.size(); ++c)
            if (!texts[c].empty()) channels[c]->name = texts[c];
    }

    void StateUnits() {
        const auto units = texts_.find(Role::units);
        if (units == texts_.end() || groups_.empty()) return;
        const Variable::Texts& texts = *units->second;
        if (texts.size() == 1) {
            for (Group& group : groups_)
                for (RecordingInfo::Channel& channel : group.run.channels) StateUnit(&channel, texts.front());
            return;
        }
        const std::vector<RecordingInfo::Channel*> channels = ChannelsFor(texts.size());
        if (channels.empty()) return RemarkCount("unit", texts.size());
        for (std::size_t c = 0; c < texts.size(); ++c) StateUnit(channels[c], texts[c]);
    }

    /// States the start, and what the file tells about itself.
    void StateFacts() {
        const auto textsOf = [&](Role role) {
            const auto texts = texts_.find(role);
            return texts == texts_.end() ? std::span<const std::wstring>() : std::span(*texts->second);
        };
        if (const auto start = textsOf(Role::date); !start.empty())
            for (Group& group : groups_) group.run.start = ParseStartTime(ToUtf8(start.front()));
        if (const auto text = textsOf(Role::text); !text.empty() && info_.text.empty())
            info_.text = text.front();
        const auto names = textsOf(Role::factNames);
        const auto texts = textsOf(Role::factTexts);
        for (std::size_t i = 0; i < std::min(names.size(), texts.size()); ++i)
            info_.properties.push_back({ToUtf8(names[i]), ToUtf8(texts[i])});
    }

    RecordingInfo& info_;
    std::vector<RunColumns>& sources_;
    bool isBare_;
    Numbers outer_;
    std::vector<std::string> leftOut_;  ///< those that are named
    std::size_t notNamed_ = 0;          ///< how many more were left out
    // Of the scope that is being added:
    const VariableScope* scope_ = nullptr;
    SingleNumbers singles_;
    Numbers numbers_;
    std::set<const NameRow*> surveyed_;  ///< names of axes that a vector has
    bool hasAxisUnit_ = false;
    std::vector<Array> arrays_;
    std::vector<Places> axes_;
    std::map<Role, const Variable::Texts*> texts_;
    std::vector<Group> groups_;
    std::uint64_t channels_ = 0;  ///< of all scopes so far
};

class VariableReader : public RecordingReader {
public:
    VariableReader(const std::vector<VariableScope>& scopes, RecordingInfo info, bool isBare) {
        info_ = std::move(info);
        const auto outer =
            std::ranges::find_if(scopes, [](const VariableScope& s) { return s.name.empty(); });
        RunMaker maker(&info_, &sources_, isBare);
        if (scopes.size() > 1 && outer != scopes.end()) maker.SetOuter(*outer);
        for (const VariableScope& scope : scopes) maker.AddScope(scope);
        maker.RemarkLeftOut();
        RequireFewPasses();
        if (info_.runs.empty()) {
            throw Error(ErrorKind::kUnsupported,
                        "it has no array of samples" +
                            (info_.remarks.empty() ? std::string() : "; " + info_.remarks.back()));
        }
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireRun(run, sources_.size());
        if (!reader_ || run != run_) {
            reader_.emplace(sources_[run].columns, sources_[run].length);
            run_ = run;
            done_ = 0;
        }
        const std::size_t count = std::min<std::uint64_t>(room, sources_[run].length - done_);
        before_ = done_;
        areKnownValues_ = true;
        if (count == 0) return 0;
        // Few enough at a time to be looked at while they are in the processor's cache.
        const std::size_t most = std::max<std::size_t>(1, kSamplesAtOnce / targets.size());
        std::vector<double*> to(targets.begin(), targets.end());
        for (std::size_t begin = 0; begin < count; begin += most) {
            const std::size_t piece = std::min(most, count - begin);
            reader_->Read(to, piece);
            if (sources_[run].firstDay && to[0] != nullptr)
                CountSeconds(*sources_[run].firstDay, {to[0], piece});
            if (info_.runs[run].axis.isListed && to[0] != nullptr)
                ToStandardPlaces(sources_[run].axisUnit, {to[0], piece});
            for (std::size_t c = 0; c < to.size(); ++c) {
                if (to[c] == nullptr) continue;
                if (!reader_->AreValues(c)) {
                    areKnownValues_ = false;
                    MarkMissing(c, begin, {to[c], piece});
                }
                to[c] += piece;
            }
        }
        done_ += count;
        return count;
    }

    Error ErrorAt(std::size_t column, std::size_t index, ErrorKind kind,
                  const std::string& sentence) const override {
        ErrorPlace place;
        if (info_.runs.size() > 1) place.record = static_cast<std::int64_t>(run_) + 1;
        std::size_t end = info_.runs[run_].axis.isListed ? 1 : 0;
        for (std::size_t c = 0; c < info_.runs[run_].channels.size() && end <= column; ++c) {
            end += info_.runs[run_].channels[c].isComplex ? 2U : 1U;
            place.channel = static_cast<std::int64_t>(c) + 1;
        }
        place.sample = static_cast<std::int64_t>(before_ + index) + 1;
        return Error(kind, sentence, place);
    }

private:
    /// Refuses very many runs within the same packed bytes, which are inflated from their start for each.
    void RequireFewPasses() const {
        constexpr std::uint64_t kFew = 64;
        constexpr std::uint64_t kMostBytes = std::uint64_t{1} << 30;
        struct Use {
            std::uint64_t runs = 0;
            std::uint64_t bytes = 0;
            std::size_t last = 0;
        };
        std::map<std::shared_ptr<const ArrayBytes>, Use> uses;
        for (std::size_t r = 0; r < sources_.size(); ++r) {
            for (const Column& column : sources_[r].columns) {
                Use& use = uses[column.bytes];
                if (use.runs == 0 || use.last != r) ++use.runs;
                use.last = r;
                use.bytes = std::max(use.bytes, column.start + (sources_[r].length - 1) * column.step);
            }
        }
        for (const auto& [bytes, use] : uses) {
            if (use.runs <= kFew || use.bytes <= kMostBytes / use.runs || bytes->open()->Memory() == 0)
                continue;
            throw Error(ErrorKind::kUnsupported, "a compressed structure of it holds arrays of " +
                                                     std::to_string(use.runs) +
                                                     " lengths; save it without compression");
        }
    }

    /// What is no number becomes no-value, as MATLAB and NumPy mark missing samples.
    void MarkMissing(std::size_t column, std::size_t begin, std::span<double> samples) const {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            if (std::isinf(samples[i]))
                throw ErrorAt(column, begin + i, ErrorKind::kUnsupported, "the value is infinite");
            if (std::isnan(samples[i])) samples[i] = kNoValue<double>;
        }
    }

    std::vector<RunColumns> sources_;
    std::optional<ColumnReader> reader_;
    std::size_t run_ = 0;
    std::uint64_t done_ = 0;    ///< samples of the run that were read
    std::uint64_t before_ = 0;  ///< those read before the last block
};

}  // namespace

std::shared_ptr<const ArrayBytes> StretchBytes(const ByteStretch& stretch, Packing packing,
                                               std::optional<std::uint32_t> crc) {
    return std::make_shared<ArrayBytes>(ArrayBytes{[=] { return OpenBytes(stretch, packing, crc); }});
}

std::size_t VariableStock::AddScope(std::wstring name) {
    CountOne();
    scopes_.push_back({std::move(name)});
    return scopes_.size() - 1;
}

void VariableStock::Add(std::size_t scope, Variable variable) {
    constexpr std::size_t kMostMebibytes = 16;
    CountOne();
    if (const auto* const texts = std::get_if<Variable::Texts>(&variable.value)) {
        for (const std::wstring& text : *texts) texts_ += sizeof text + text.size() * sizeof(wchar_t);
        if (texts_ > kMostMebibytes << 20) {
            variable.value = Variable::LeftOut{"the texts of the file take more than " +
                                               std::to_string(kMostMebibytes) + " MiB"};
        }
    }
    scopes_[scope].variables.push_back(std::move(variable));
}

void VariableStock::CountOne() {
    constexpr std::size_t kMost = 65536;
    if (++count_ > kMost) {
        throw Error(ErrorKind::kUnsupported,
                    "it has more than " + std::to_string(kMost) + " variables, folders and structures");
    }
}

ArrayShape ShapeOf(std::vector<std::uint64_t> dimensions) {
    ArrayShape shape;
    if (std::ranges::find(dimensions, 0U) != dimensions.end()) {
        shape.leftOut = "it is empty";
        return shape;
    }
    const std::size_t given = dimensions.size();
    if (given > 2) std::erase(dimensions, 1U);
    if (dimensions.size() > 2) {
        shape.leftOut = "it has " + std::to_string(dimensions.size()) + " dimensions";
        return shape;
    }
    for (std::size_t d = 0; d < dimensions.size(); ++d) shape.counts[d] = dimensions[d];
    return shape;
}

std::array<std::uint64_t, 2> StepsOf(const ArrayShape& shape, std::uint64_t step, bool isByRows) {
    if (isByRows) return {shape.counts[1] * step, step};
    return {step, shape.counts[0] * step};
}

std::uint64_t BytesOf(const std::vector<std::uint64_t>& dimensions, std::uint64_t step) {
    constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
    if (std::ranges::find(dimensions, 0U) != dimensions.end()) return 0;
    std::uint64_t bytes = step;
    for (const std::uint64_t count : dimensions) {
        if (bytes > kMost / count) return kMost;
        bytes *= count;
    }
    return bytes;
}

std::unique_ptr<RecordingReader> MakeVariableReader(const std::vector<VariableScope>& scopes,
                                                    RecordingInfo info, bool isBare) {
    return std::make_unique<VariableReader>(scopes, std::move(info), isBare);
}

}  // namespace kvx
