// SPDX-License-Identifier: MIT
#include "recordings.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <limits>
#include <optional>
#include <tuple>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/NearNames.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/Calibration.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/RecordingAnalysis.h>
#include <KvxRecording01/SignalEdit.h>
#include <KvxRecording01/SignalFigures.h>
#include <KvxRecording01/SignalMerge.h>
#include <KvxRecording01/SignalPart.h>
#include <KvxRecording01/SignalRecords.h>
#include <KvxRecording01/SignalRuns.h>

#include "lines.h"
#include "records.h"
#include "results.h"
#include "transforms.h"
#include "units.h"

namespace kvx::python {
namespace {

constexpr std::size_t kRoom = 65536;

/// The arguments of this module by which sentences name what is stated.
const StatementNames kArguments = {.any = "arguments",
                                   .rate = "rate",
                                   .units = "units",
                                   .names = "names",
                                   .sensitivities = "sensitivities",
                                   .gains = "gains",
                                   .fullScale = "full_scale",
                                   .samples = "samples",
                                   .partial = "partial",
                                   .time = "time",
                                   .decimal = "decimal_comma",
                                   .record = "record",
                                   .separator = "separator",
                                   .skip = "skip",
                                   .comment = "comment",
                                   .axis = "axis",
                                   .spacing = "spacing",
                                   .uneven = "uneven",
                                   .missing = "missing"};

bool HaveSameShape(const std::vector<SignalRun>& a, const std::vector<SignalRun>& b) {
    return std::ranges::equal(a, b, [](const SignalRun& x, const SignalRun& y) {
        return x.samples == y.samples && x.Columns() == y.Columns() && x.delta == y.delta &&
               x.offset == y.offset;
    });
}

/// An object of Python that is let go of under the lock, by whatever thread.
std::shared_ptr<py::object> Kept(py::object object) {
    return {new py::object(std::move(object)), [](py::object* kept) {
                const py::gil_scoped_acquire locked;
                delete kept;
            }};
}

// ---- opening ----

std::string ListText(const py::object& list) {
    std::string text;
    for (const py::object& piece : PiecesOf(list))
        text += (text.empty() ? "" : ",") + py::cast<std::string>(py::str(piece));
    return text;
}

/// What a caller states of a file, by the names of the arguments of open().
class Stated {
public:
    explicit Stated(py::dict arguments) : left_(arguments.attr("copy")()) {}

    template <typename Value>
    std::optional<Value> Take(const char* name) {
        if (!left_.contains(name)) return std::nullopt;
        const py::object value = left_.attr("pop")(name);
        if (value.is_none()) return std::nullopt;
        try {
            return py::cast<Value>(value);
        } catch (const py::cast_error&) {
            throw py::type_error(std::string("open(): ") + name + " has a value of another type");
        }
    }
    py::object TakeObject(const char* name) {
        return left_.contains(name) ? py::object(left_.attr("pop")(name)) : py::none();
    }
    void RequireNothingLeft() const {
        for (const auto& [name, value] : left_)
            throw py::type_error("open() got an unexpected keyword argument '" + py::cast<std::string>(name) +
                                 "'");
    }

private:
    py::dict left_;
};

struct SeparatorName {
    std::string_view name;
    char sign;
};
constexpr std::array kSeparators = {SeparatorName{"tab", '\t'}, SeparatorName{"blank", ' '},
                                    SeparatorName{"comma", ','}, SeparatorName{"semicolon", ';'},
                                    SeparatorName{"pipe", '|'}};

char SeparatorOf(const std::string& text) {
    const auto named = std::ranges::find(kSeparators, text, &SeparatorName::name);
    if (named != kSeparators.end()) return named->sign;
    if (text.size() != 1) throw Error(ErrorKind::kUnknownName, "there is no separator " + Quote(text));
    return text.front();
}

TextOptions TextOptionsOf(Stated& stated) {
    TextOptions text;
    text.called = kArguments;
    text.encodingName = "code_page";
    const py::object time = stated.TakeObject("time");
    if (py::isinstance<py::bool_>(time)) {
        text.firstColumnIsTime = py::cast<bool>(time);
    } else if (!time.is_none()) {
        text.axisColumn = FromUtf8Replacing(py::cast<std::string>(py::str(time)));
    }
    if (const auto axis = stated.Take<std::string>("axis")) text.axis = DimensionNamed(axis);
    text.spacing = stated.Take<double>("spacing");
    text.keepsUneven = stated.Take<bool>("uneven").value_or(false);
    text.decimalComma = stated.Take<bool>("decimal_comma").value_or(false);
    if (const auto separator = stated.Take<std::string>("separator"))
        text.separator = SeparatorOf(*separator);
    text.skippedLines = stated.Take<std::size_t>("skip").value_or(0);
    text.comments = stated.Take<std::string>("comment").value_or(text.comments);
    const py::object missing = stated.TakeObject("missing");
    if (!missing.is_none()) {
        text.missing.emplace();
        for (const py::object& each : PiecesOf(missing))
            text.missing->push_back(py::cast<std::string>(py::str(each)));
    }
    text.codePage = stated.Take<unsigned int>("code_page").value_or(0);
    return text;
}

RecordingStatements StatementsOf(Stated& stated) {
    RecordingStatements statements;
    statements.called = kArguments;
    statements.rateHz = stated.Take<double>("rate");
    for (const py::object& unit : PiecesOf(stated.TakeObject("units")))
        statements.units.push_back(EntryUnitOf(unit));
    for (const py::object& name : PiecesOf(stated.TakeObject("names")))
        statements.names.push_back(WideOf(name, "a name"));
    for (const py::object& each : PiecesOf(stated.TakeObject("sensitivities"))) {
        statements.sensitivities.push_back(ParseSensitivity(py::cast<std::string>(
            py::hasattr(each, "electrical") ? py::module_::import("kvx").attr("sensitivity_text")(each)
                                            : py::object(py::str(each)))));
    }
    for (const py::object& gain : PiecesOf(stated.TakeObject("gains")))
        statements.gains.push_back(py::cast<double>(gain));
    statements.fullScale = stated.Take<double>("full_scale");
    statements.isPartial = stated.Take<bool>("partial").value_or(false);
    statements.text = TextOptionsOf(stated);
    return statements;
}

RecordingPointer OpenPath(const PathLike& given, const Listed& channels, std::optional<std::size_t> record,
                          std::optional<double> start, std::optional<double> end,
                          const py::kwargs& statements) {
    const std::string path = PathOf(given);
    const std::string whole = path.empty() ? path : std::filesystem::absolute(path).string();
    Stated stated(statements);
    const RecordingStatements says = StatementsOf(stated);
    stated.RequireNothingLeft();
    const AxisPart part = {start, end};
    const ChannelChoice choice = {ListText(channels), record.value_or(0)};
    const auto open = [=](const std::string& chosen, const SignalKinds& kinds) {
        const ChannelChoice taken = {chosen.empty() ? choice.channels : chosen, choice.record};
        const auto once = [&] { return OpenSignal(whole, taken, says, Interruptible(), kinds); };
        return part.IsAll() ? once() : OpenPart(once, part, Interruptible());
    };
    py::dict again = statements.attr("copy")();
    again["channels"] = channels;
    again["record"] = record;
    again["start"] = start;
    again["end"] = end;
    return std::make_shared<Recording>(whole, open, py::make_tuple("open", py::make_tuple(whole), again));
}

/// Opens by a function that gives all channels.
template <class OpenAll>
Recording::Open ByChannels(OpenAll openAll) {
    return [openAll](const std::string& channels, const SignalKinds& kinds) -> std::unique_ptr<SignalReader> {
        std::unique_ptr<SignalReader> all = openAll(kinds);
        return channels.empty() ? std::move(all) : PickChannels(std::move(all), channels);
    };
}

template <class OpenAll>
RecordingPointer Derived(OpenAll openAll, const char* function, const py::tuple& arguments,
                         const py::dict& more = {}) {
    return std::make_shared<Recording>(std::string(), ByChannels(std::move(openAll)),
                                       py::make_tuple(function, arguments, more));
}

RecordingPointer Part(const RecordingPointer& recording, std::optional<double> start,
                      std::optional<double> end) {
    const AxisPart part = {start, end};
    Required(recording);
    const auto open = [=](const SignalKinds& kinds) {
        return OpenPart([&] { return kinds.anyRun ? recording->Reader() : recording->Waveforms(); }, part,
                        Interruptible());
    };
    return Derived(open, "part", py::make_tuple(recording, start, end));
}

template <class Join>
RecordingPointer Joined(const std::vector<RecordingPointer>& recordings, const char* function, Join join) {
    for (const RecordingPointer& each : recordings) Required(each);
    const auto open = [=](const SignalKinds& kinds) {
        std::vector<MergeInput> inputs;
        for (const RecordingPointer& each : recordings) {
            inputs.push_back({kinds.anyRun ? each->Reader() : each->Waveforms(),
                              each->Path().empty() ? "recording " + std::to_string(inputs.size() + 1)
                                                   : Quote(each->Path())});
        }
        return join(std::move(inputs));
    };
    return Derived(open, function, py::make_tuple(recordings));
}

RecordingPointer Edited(const RecordingPointer& recording, const Listed& names, const Listed& units,
                        const Listed& scale, const Listed& offset, const Listed& shownIn,
                        const std::optional<std::string>& text) {
    std::size_t count = 0;
    for (const SignalRun& run : Required(recording)->Runs()) count += run.channels.size();
    SignalEdit edit;
    edit.channels.resize(count);
    if (text) edit.text = FromUtf8Replacing(*text);
    const auto spread = [&](const py::object& list, const char* name, auto set) {
        const std::vector<py::object> pieces = PiecesOf(list);
        if (pieces.empty()) return;
        if (pieces.size() != 1 && pieces.size() != count)
            Refuse(std::string(name) + " gives " + Count(std::ssize(pieces), "value") + " for " +
                   Count(static_cast<std::int64_t>(count), "channel"));
        for (std::size_t c = 0; c < count; ++c) set(edit.channels[c], pieces[pieces.size() == 1 ? 0 : c]);
    };
    spread(names, "names", [](ChannelEdit& e, const py::object& v) { e.name = WideOf(v, "a name"); });
    spread(scale, "scale", [](ChannelEdit& e, const py::object& v) { e.scale = py::cast<double>(v); });
    spread(offset, "offset", [](ChannelEdit& e, const py::object& v) { e.offset = py::cast<double>(v); });
    spread(units, "units", [](ChannelEdit& e, const py::object& v) {
        const EntryUnit unit = EntryUnitOf(v);
        e.unit = unit.unit;
        e.scale *= unit.scale;
        e.offset *= unit.scale;
    });
    spread(shownIn, "to_units", [](ChannelEdit& e, const py::object& v) { e.shownIn = UnitOf(v); });
    const auto open = [=](const SignalKinds& kinds) {
        return EditSignal(kinds.anyRun ? recording->Reader() : recording->Waveforms(), edit);
    };
    return Derived(open, "edit", py::make_tuple(recording, names, units, scale, offset, shownIn, text));
}

// ---- arrays as recordings ----

/// Arrays of Python, which are read where they are.
class ArraySignal : public SignalReader {
public:
    /// `owner` keeps the rows.
    ArraySignal(SignalRun run, std::vector<double> places, std::vector<std::span<const double>> rows,
                bool areComplex, std::wstring text, std::shared_ptr<py::object> owner)
        : places_(std::move(places)),
          rows_(std::move(rows)),
          areComplex_(areComplex),
          owner_(std::move(owner)) {
        runs_.push_back(std::move(run));
        text_ = std::move(text);
    }

    std::size_t Read(std::size_t run, std::span<double* const> targets, std::size_t room) override {
        RequireRun(run, 1);
        const SignalRun& one = runs_.front();
        const std::size_t count = std::min(room, static_cast<std::size_t>(one.samples) - done_);
        std::size_t column = 0;
        if (one.isListed)
            std::copy_n(places_.begin() + static_cast<std::ptrdiff_t>(done_), count, targets[column++]);
        for (std::size_t c = 0; c < rows_.size(); ++c) {
            const CUnitCtrl& unit = one.channels[c].unit;
            const std::size_t parts = areComplex_ ? 2 : 1;
            for (std::size_t part = 0; part < parts; ++part) {
                const std::span<double> out(targets[column++], count);
                for (std::size_t i = 0; i < count; ++i) out[i] = rows_[c][(done_ + i) * parts + part];
                Convert(out, unit);
            }
        }
        done_ += count;
        return count;
    }

private:
    void Convert(std::span<double> samples, const CUnitCtrl& unit) const {
        missing_.clear();
        for (std::size_t i = 0; i < samples.size(); ++i)
            if (std::isnan(samples[i])) missing_.push_back(i);
        ToStandard(unit, samples, !areComplex_ && unit.IsSingle());
        for (const std::size_t i : missing_) samples[i] = kNoValue<double>;
    }

    std::vector<double> places_;
    std::vector<std::span<const double>> rows_;
    bool areComplex_;
    std::shared_ptr<py::object> owner_;
    std::size_t done_ = 0;
    mutable std::vector<std::size_t> missing_;
};

struct ArrayTexts {
    py::object units;
    py::object names;
    std::string text;
};

/// The channels of an array, named and in units.
std::vector<SignalRun::Channel> ChannelsFor(std::size_t count, const ArrayTexts& texts, bool areComplex) {
    const std::vector<py::object> names = PiecesOf(texts.names);
    const std::vector<py::object> units = PiecesOf(texts.units);
    if (!names.empty() && names.size() != count)
        Refuse("names gives " + Count(std::ssize(names), "name") + " for " +
               Count(static_cast<std::int64_t>(count), "channel"));
    if (units.size() > 1 && units.size() != count)
        Refuse("units gives " + Count(std::ssize(units), "unit") + " for " +
               Count(static_cast<std::int64_t>(count), "channel"));
    std::vector<SignalRun::Channel> channels;
    for (std::size_t c = 0; c < count; ++c) {
        channels.push_back({names.empty() ? L"channel " + std::to_wstring(c + 1) : WideOf(names[c], "a name"),
                            units.empty() ? CUnitCtrl() : UnitOf(units[units.size() == 1 ? 0 : c]), c + 1,
                            areComplex});
    }
    return channels;
}

RecordingPointer FromArrays(const py::object& given, std::optional<double> rate, const Listed& units,
                            const Listed& names, double start, std::optional<double> spacing,
                            const std::string& axis, const py::object& places, const std::string& text) {
    py::object samples = given;
    py::object channelNames = names;
    if (py::isinstance<py::dict>(given)) {
        if (!names.is_none()) Refuse("names are the keys of samples");
        channelNames = py::list(given.attr("keys")());
        samples = py::list(given.attr("values")());
        if (py::len(samples) == 0) Refuse("samples is empty");
    }
    const bool areComplex = IsComplex(samples);
    std::vector<std::span<const double>> rows;
    py::object owner;
    const auto take = [&](const auto& source) {
        using Number = std::remove_cvref_t<decltype(source.Row(0)[0])>;
        for (std::size_t r = 0; r < source.Count(); ++r) {
            const auto row = source.Row(r);
            rows.push_back(
                {reinterpret_cast<const double*>(row.data()), row.size() * sizeof(Number) / sizeof(double)});
        }
        owner = source.Array();
        return source.Length();
    };
    const std::size_t length =
        areComplex ? take(ComplexRows(samples, "samples")) : take(Rows(samples, "samples"));
    if (rows.empty() || length == 0) Refuse("samples is empty");
    SignalRun run;
    run.samples = static_cast<__int64>(length);
    run.channels = ChannelsFor(rows.size(), {units, channelNames, text}, areComplex);
    if (axis != "time" && axis != "frequency")
        throw Error(ErrorKind::kUnknownName, "there is no axis " + Quote(axis) + ", only time and frequency");
    run.axisUnit = SingleUnit(axis == "time" ? kAxisMilliseconds : kAxisHertz);
    std::vector<double> listed;
    if (!places.is_none()) {
        listed = NumbersOf(places, "places");
        if (listed.size() != length) Refuse("places and samples are not equally long");
        run.isListed = true;
    } else {
        if (rate.has_value() == spacing.has_value())
            Refuse("one of rate, spacing and places says where samples stand");
        if (rate && !(*rate > 0.0)) Refuse("rate is not above 0");
        run.delta = rate ? 1.0 / *rate : *spacing;
        const double offset = start / run.delta;
        if (!(std::abs(offset) < 1e15)) Refuse("start is too far from 0");
        run.offset = std::llround(offset);
        if (!IsEvenAxis(run.delta, run.offset, run.samples))
            Refuse("samples have no place at that rate or spacing");
    }
    const auto kept = Kept(owner);
    const std::wstring wide = FromUtf8Replacing(text);
    const auto open = [=](const SignalKinds& kinds) -> std::unique_ptr<SignalReader> {
        if (!kinds.anyRun && !run.IsWaveform())
            throw Error(ErrorKind::kUnsupported, "the arrays are no time waveforms");
        if (!kinds.missing)
            for (std::size_t r = 0; r < rows.size(); ++r) RequireValues(rows[r], run.channels[r].name);
        return std::make_unique<ArraySignal>(run, listed, rows, areComplex, wide, kept);
    };
    py::dict more;
    more["rate"] = rate;
    more["units"] = units;
    more["names"] = channelNames;
    more["start"] = start;
    more["spacing"] = spacing;
    more["axis"] = axis;
    more["places"] = places;
    more["text"] = text;
    return Derived(open, "recording", py::make_tuple(owner), more);
}

RecordingPointer FromContent(const ContentPointer& content) {
    const auto open = [content](const SignalKinds& kinds) {
        auto reader = SignalOfRecords(*content, kinds.isJoined, kArguments);
        const auto& runs = reader->Runs();
        if (!kinds.anyRun && !std::ranges::all_of(runs, &SignalRun::IsWaveform))
            throw Error(ErrorKind::kUnsupported, "a record is no time waveform");
        return reader;
    };
    return std::make_shared<Recording>(std::string(), ByChannels(open), py::none());
}

// ---- reading ----

/// Reads blocks of a run into arrays, in the units of the channels.
class RunReader {
public:
    RunReader(std::unique_ptr<SignalReader> reader, std::size_t run,
              std::optional<std::size_t> only = std::nullopt)
        : reader_(std::move(reader)), run_(run), only_(only) {
        RequireRun(run, reader_->Runs().size());
        const SignalRun& of = reader_->Runs()[run];
        for (std::size_t c = 0; c < of.channels.size(); ++c)
            isComplex_ = isComplex_ || ((!only || c == *only) && of.channels[c].isComplex);
    }

    const SignalRun& Run() const { return reader_->Runs()[run_]; }
    bool IsComplex() const { return isComplex_; }
    std::size_t Rows() const { return only_ ? 1 : Run().channels.size(); }

    /// Reads at most `room` samples to rows that are `stride` numbers long; `places` may be null.
    std::size_t Read(double* out, std::size_t stride, std::size_t room, double* places) {
        std::size_t done = 0;
        while (done < room) {
            const std::size_t count = ReadPiece(out, stride, done, std::min(kRoom, room - done), places);
            if (count == 0) break;
            done += count;
        }
        return done;
    }

private:
    std::size_t ReadPiece(double* out, std::size_t stride, std::size_t done, std::size_t room,
                          double* places) {
        const SignalRun& run = Run();
        scratch_.resize(run.Columns());
        std::vector<double*> targets;
        const std::size_t width = isComplex_ ? 2 : 1;
        const auto rowOf = [&](std::size_t c) {
            return out + (only_ ? 0 : c) * stride * width + done * width;
        };
        const auto isWanted = [&](std::size_t c) { return out != nullptr && (!only_ || c == *only_); };
        const auto scratch = [&] {
            std::vector<double>& room_ = scratch_[targets.size()];
            room_.resize(std::max(room_.size(), room));
            targets.push_back(room_.data());
        };
        if (run.isListed) scratch();
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            if (isWanted(c) && !isComplex_) {
                targets.push_back(rowOf(c));
            } else {
                scratch();
                if (run.channels[c].isComplex) scratch();
            }
        }
        const std::size_t count = reader_->Read(run_, targets, room);
        std::size_t column = 0;
        if (run.isListed) {
            if (places != nullptr) std::copy_n(targets[0], count, places + done);
            ++column;
        }
        for (std::size_t c = 0; c < run.channels.size(); ++c) {
            const SignalRun::Channel& channel = run.channels[c];
            double* const real = targets[column++];
            double* const imaginary = channel.isComplex ? targets[column++] : nullptr;
            if (!isWanted(c)) continue;
            Show(channel, {real, count});
            if (imaginary != nullptr) Show(channel, {imaginary, count});
            if (!isComplex_) continue;
            double* pair = rowOf(c);
            for (std::size_t i = 0; i < count; ++i) {
                *pair++ = real[i];
                *pair++ = imaginary != nullptr ? imaginary[i] : 0.0;
            }
        }
        return count;
    }

    void Show(const SignalRun::Channel& channel, std::span<double> samples) {
        missing_.clear();
        for (std::size_t i = 0; i < samples.size(); ++i)
            if (samples[i] == kNoValue<double>) missing_.push_back(i);
        ToShown(channel.unit, samples, channel.unit.IsSingle() && !channel.isComplex);
        for (const std::size_t i : missing_) samples[i] = std::numeric_limits<double>::quiet_NaN();
    }

    std::unique_ptr<SignalReader> reader_;
    std::size_t run_;
    std::optional<std::size_t> only_;
    bool isComplex_ = false;
    std::vector<std::vector<double>> scratch_;
    std::vector<std::size_t> missing_;
};

/// Room for rows of samples, real or complex.
py::array Room(bool isComplex, std::size_t rows, std::size_t samples) {
    const std::vector<py::ssize_t> shape = {static_cast<py::ssize_t>(rows),
                                            static_cast<py::ssize_t>(samples)};
    if (isComplex) return py::array_t<std::complex<double>>(shape);
    return py::array_t<double>(shape);
}

/// A reader of a run that checks for Ctrl-C between its pieces.
std::size_t ReadInto(RunReader& reader, py::array& array, std::size_t samples) {
    auto* const out = static_cast<double*>(array.mutable_data());
    const std::size_t width = reader.IsComplex() ? 2 : 1;
    std::size_t done = 0;
    while (done < samples) {
        const std::size_t room = std::min(samples - done, std::size_t{1} << 22);
        const std::size_t count =
            Unlocked([&] { return reader.Read(out + done * width, samples, room, nullptr); });
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
        done += count;
        if (count < room) break;
    }
    return done;
}

py::array ReadAll(RunReader& reader) {
    const auto samples = static_cast<std::size_t>(reader.Run().samples);
    py::array array = Room(reader.IsComplex(), reader.Rows(), samples);
    if (ReadInto(reader, array, samples) != samples)
        throw Error(ErrorKind::kDamaged, "the recording ends before its last sample");
    return array;
}

const SignalRun& RunAt(const Recording& recording, std::size_t run) {
    RequireRun(run, recording.Runs().size());
    return recording.Runs()[run];
}

py::array ReadRunOf(Recording& recording, std::size_t run) {
    RunAt(recording, run);
    auto reader = Unlocked([&] { return std::make_unique<RunReader>(recording.Reader(), run); });
    return ReadAll(*reader);
}

py::array_t<double> AxisOf(Recording& recording, std::size_t run) {
    const SignalRun& of = RunAt(recording, run);
    const auto samples = static_cast<std::size_t>(of.samples);
    if (!of.isListed) return Ramp(samples, of.delta, static_cast<double>(of.offset) * of.delta);
    py::array_t<double> places(static_cast<py::ssize_t>(samples));
    double* const out = places.mutable_data();
    Unlocked([&] { RunReader(recording.Reader(), run).Read(nullptr, samples, samples, out); });
    return places;
}

/// The blocks of a run, one after the other.
struct Blocks {
    std::unique_ptr<RunReader> reader;
    std::size_t size;
    std::size_t step;
    std::vector<double> kept = {};  ///< the overlap, row after row
    std::mutex mutex = {};

    py::array Next() {
        const std::size_t rows = reader->Rows();
        const std::size_t overlap = size - step;
        const std::size_t width = reader->IsComplex() ? 2 : 1;
        py::array block = Room(reader->IsComplex(), rows, size);
        auto* const out = static_cast<double*>(block.mutable_data());
        const std::size_t count = Unlocked([&] {
            const std::lock_guard alone(mutex);
            const std::size_t old = rows == 0 ? 0 : kept.size() / rows / width;
            for (std::size_t r = 0; r < rows; ++r)
                std::copy_n(kept.begin() + static_cast<std::ptrdiff_t>(r * old * width), old * width,
                            out + r * size * width);
            const std::size_t fresh = reader->Read(out + old * width, size, size - old, nullptr);
            if (fresh == 0) return fresh;
            const std::size_t all = old + fresh;
            const std::size_t next = std::min(overlap, all);
            kept.resize(rows * next * width);
            for (std::size_t r = 0; r < rows; ++r)
                std::copy_n(out + (r * size + all - next) * width, next * width,
                            kept.begin() + static_cast<std::ptrdiff_t>(r * next * width));
            return all;
        });
        if (count == 0) throw py::stop_iteration();
        if (count == size) return block;
        return block[py::make_tuple(py::ellipsis(), py::slice(0, static_cast<py::ssize_t>(count), 1))];
    }
};

std::unique_ptr<Blocks> BlocksOf(Recording& recording, std::int64_t size, std::size_t run,
                                 std::int64_t overlap) {
    RunAt(recording, run);
    if (size < 1 || size > (std::int64_t{1} << 40)) Refuse("a block has 1 sample or more");
    if (overlap < 0 || overlap >= size) Refuse("overlap is from 0 to below the size of a block");
    auto reader = Unlocked([&] { return std::make_unique<RunReader>(recording.Reader(), run); });
    const auto samples = std::max<__int64>(1, RunAt(recording, run).samples);
    const auto room = static_cast<std::size_t>(std::min<std::int64_t>(size, samples));
    const auto shared = static_cast<std::size_t>(size == static_cast<std::int64_t>(room) ? overlap : 0);
    return std::unique_ptr<Blocks>(new Blocks{std::move(reader), room, room - shared});
}

// ---- runs and channels ----

struct RunView {
    RecordingPointer recording;
    std::size_t index;

    const SignalRun& Run() const { return recording->Runs()[index]; }
};

struct ChannelView {
    RecordingPointer recording;
    std::size_t run;
    std::size_t index;

    const SignalRun& Run() const { return recording->Runs()[run]; }
    const SignalRun::Channel& Channel() const { return Run().channels[index]; }
};

std::optional<double> RateOfRun(const SignalRun& run) {
    return run.isListed || run.axisUnit != CUnitCtrl::DIM_TIME ? std::nullopt : std::optional(RateOf(run));
}

std::optional<double> StartOf(const SignalRun& run) {
    return run.isListed ? std::nullopt : std::optional(static_cast<double>(run.offset) * run.delta);
}

std::vector<ChannelView> ChannelsOfRecording(const RecordingPointer& self) {
    std::vector<ChannelView> channels;
    for (std::size_t r = 0; r < Required(self)->Runs().size(); ++r)
        for (std::size_t c = 0; c < self->Runs()[r].channels.size(); ++c) channels.push_back({self, r, c});
    return channels;
}

ChannelView ChannelNamed(const RecordingPointer& self, const py::object& key) {
    const std::vector<ChannelView> channels = ChannelsOfRecording(self);
    if (py::isinstance<py::int_>(key)) {
        py::ssize_t index = py::cast<py::ssize_t>(key);
        if (index < 0) index += std::ssize(channels);
        if (index < 0 || index >= std::ssize(channels))
            throw py::index_error("there is no channel " + py::cast<std::string>(py::str(key)));
        return channels[static_cast<std::size_t>(index)];
    }
    const std::wstring name = WideOf(key, "the name of a channel");
    const auto found =
        std::ranges::find_if(channels, [&](const ChannelView& each) { return each.Channel().name == name; });
    if (found != channels.end()) return *found;
    std::vector<std::string> names;
    for (const ChannelView& each : channels) names.push_back(ToUtf8(each.Channel().name));
    constexpr std::size_t kMost = 8;
    std::string hint = DidYouMean(ToUtf8(name), names);
    if (hint.empty() && names.size() <= kMost)
        for (const std::string& each : names) hint += (hint.empty() ? ", only " : ", ") + Quote(each);
    throw Error(ErrorKind::kUnknownName, "there is no channel " + Quote(ToUtf8(name)) + hint);
}

py::array ReadChannel(const ChannelView& self) {
    auto reader =
        Unlocked([&] { return std::make_unique<RunReader>(self.recording->Reader(), self.run, self.index); });
    return ReadAll(*reader)[py::int_(0)];
}

std::string DescribedRun(const SignalRun& run) {
    std::string text = Count(std::ssize(run.channels), "channel") + " of " + Count(run.samples, "sample");
    if (run.isListed) return text + " at listed places";
    if (const auto rate = RateOfRun(run)) return text + " at " + FormatNumber(*rate, 10) + " Hz";
    return text + " every " + FormatNumber(run.delta, 10) + " " +
           NameOf(CUnitCtrl(DimensionOf(run.axisUnit)));
}

void BindViews(py::module_& module) {
    py::class_<Blocks>(module, "Blocks", "Blocks of a recording, one after the other.")
        .def("__iter__", [](const py::object& self) { return self; })
        .def("__next__", [](Blocks& self) { return self.Next(); });
    py::class_<ChannelView> channel(
        module, "Channel", "A channel of a recording; its samples are read when they are asked for.");
    py::class_<RunView> run(module, "Run", "Channels of a recording that were sampled together.");
    run.def_property_readonly(
        "rate", [](const RunView& self) { return RateOfRun(self.Run()); },
        "Sampling rate, Hz; None for what is not evenly spaced in time.");
    run.def_property_readonly(
        "spacing",
        [](const RunView& self) -> std::optional<double> {
            return self.Run().isListed ? std::nullopt : std::optional(self.Run().delta);
        },
        "Of samples, s or Hz; None where each has a place of its own.");
    run.def_property_readonly(
        "start", [](const RunView& self) { return StartOf(self.Run()); },
        "Where the first sample stands, s or Hz.");
    run.def_property_readonly(
        "started",
        [](const RunView& self) -> std::optional<std::string> {
            const auto& start = self.Run().start;
            return start ? std::optional(start->Text()) : std::nullopt;
        },
        "When the first sample was taken, by ISO 8601: \"2024-03-01T12:30:05.25Z\", without the Z where the "
        "zone is unknown; None where the file does not say.");
    run.def_property_readonly(
        "samples", [](const RunView& self) { return self.Run().samples; }, "Of each channel.");
    run.def_property_readonly(
        "title", [](const RunView& self) { return ToUtf8(self.Run().title); },
        "What the file calls it; may be empty.");
    run.def_property_readonly(
        "axis_unit", [](const RunView& self) { return self.Run().axisUnit; },
        "In which the axis is shown; numbers are in its standard unit.");
    run.def_property_readonly(
        "is_waveform", [](const RunView& self) { return self.Run().IsWaveform(); },
        "Whether it is real, over time and evenly spaced.");
    run.def_property_readonly(
        "channels",
        [](const RunView& self) {
            std::vector<ChannelView> channels;
            for (std::size_t c = 0; c < self.Run().channels.size(); ++c)
                channels.push_back({self.recording, self.index, c});
            return channels;
        },
        "Its channels.");
    run.def_property_readonly(
        "axis", [](const RunView& self) { return AxisOf(*self.recording, self.index); },
        "Where the samples stand, s or Hz.");
    run.def(
        "read", [](const RunView& self) { return ReadRunOf(*self.recording, self.index); },
        "All samples, (channels, samples), in the units of the channels.");
    run.def(
        "blocks",
        [](const RunView& self, std::int64_t size, std::int64_t overlap) {
            return BlocksOf(*self.recording, size, self.index, overlap);
        },
        py::arg("size") = 65536, py::arg("overlap") = 0, "See Recording.blocks.");
    run.def("__len__", [](const RunView& self) { return self.Run().channels.size(); });
    run.def("__repr__", [](const RunView& self) { return "<kvx.Run: " + DescribedRun(self.Run()) + ">"; });

    channel.def_property_readonly(
        "name", [](const ChannelView& self) { return ToUtf8(self.Channel().name); }, "Its name.");
    channel.def_property_readonly(
        "unit", [](const ChannelView& self) { return self.Channel().unit; }, "Of its samples.");
    channel.def_property_readonly(
        "number", [](const ChannelView& self) { return self.Channel().number; }, "In the file, from 1.");
    channel.def_property_readonly(
        "is_complex", [](const ChannelView& self) { return self.Channel().isComplex; },
        "Whether its samples are complex.");
    channel.def_property_readonly(
        "run",
        [](const ChannelView& self) {
            return RunView{self.recording, self.run};
        },
        "The run that it is part of.");
    channel.def_property_readonly(
        "rate", [](const ChannelView& self) { return RateOfRun(self.Run()); }, "That of its run.");
    channel.def_property_readonly(
        "start", [](const ChannelView& self) { return StartOf(self.Run()); }, "That of its run.");
    channel.def_property_readonly(
        "title", [](const ChannelView& self) { return ToUtf8(self.Run().title); }, "That of its run.");
    channel.def_property_readonly(
        "axis", [](const ChannelView& self) { return AxisOf(*self.recording, self.run); },
        "Where the samples stand, s or Hz.");
    channel.def_property_readonly("samples", &ReadChannel,
                                  "All samples in `unit`, read anew each time; NaN for missing ones.");
    channel.def(
        "__len__", [](const ChannelView& self) { return self.Run().samples; }, "Its samples.");
    channel.def(
        "__array__",
        [](const ChannelView& self, const py::object& dtype) {
            const py::object samples = ReadChannel(self);
            return dtype.is_none() ? samples : samples.attr("astype")(dtype);
        },
        py::arg("dtype") = py::none());
    channel.def("__repr__", [](const ChannelView& self) {
        return "<kvx.Channel '" + ToUtf8(self.Channel().name) + "' in " + Quote(NameOf(self.Channel().unit)) +
               ": " + Count(self.Run().samples, "sample") + ">";
    });
}

// ---- analyses ----

BlockPlan PlanOf(const py::object& window, std::optional<std::int64_t> nperseg,
                 std::optional<std::int64_t> noverlap) {
    Cutting cut = CuttingOf(window, nperseg, noverlap);
    return {{std::ssize(cut.window), cut.overlap}, std::move(cut.window), "nperseg"};
}

std::vector<SpectrumPointer> Spectra(Recording& recording, LineKind kind, const BlockPlan& plan,
                                     double start = 0.0) {
    SpectraChoice choice;
    choice.kind = kind;
    choice.blocks = plan;
    choice.startSeconds = start;
    choice.cutoffName = "cutoff";
    return SpectraFrom(UnlockedOn(
        recording.Path(), [&] { return SpectraOf(*recording.Waveforms(), choice, Interruptible()); }));
}

std::vector<TransferPointer> Transfers(Recording& recording, const py::object& reference,
                                       const Listed& responses, const py::object& window,
                                       std::optional<std::int64_t> nperseg,
                                       std::optional<std::int64_t> noverlap, double low,
                                       std::optional<double> high, const RecordingPointer& elsewhere) {
    TransferChoice choice;
    choice.blocks = PlanOf(window, nperseg, noverlap);
    choice.reference = py::cast<std::string>(py::str(reference));
    choice.responses = ListText(responses);
    choice.band = {low, high};
    if (elsewhere) {
        choice.isElsewhere = true;
        choice.openReference = [&elsewhere](const std::string& channels) {
            try {
                return elsewhere->Waveforms(channels);
            } catch (const Error& error) {
                throw error.At({.path = elsewhere->Path()});
            }
        };
    }
    return TransfersFrom(UnlockedOn(recording.Path(), [&] {
        return TransfersOf([&](const std::string& channels) { return recording.Waveforms(channels); }, choice,
                           Interruptible());
    }));
}

std::vector<CalibrationResult> Calibrations(Recording& recording, double level, const UnitLike& unit,
                                            bool isPeak, std::optional<double> frequency) {
    const CalibrationChoice choice = {level, EntryUnitOf(unit), isPeak, frequency};
    const auto all = UnlockedOn(
        recording.Path(), [&] { return CalibrationsOf(*recording.Waveforms(), choice, Interruptible()); });
    std::vector<CalibrationResult> results;
    for (const ChannelCalibration& each : all) {
        const py::object sensitivity =
            each.sensitivity ? py::object(ResultOf(*each.sensitivity)) : py::none();
        results.push_back(CalibrationResult::Of(ToUtf8(each.channel.name), each.channel.unit,
                                                ResultOf(each.tone), sensitivity, each.gain, each.isClean));
    }
    return results;
}

std::vector<RunFiguresResult> Measured(Recording& recording) {
    const auto figures =
        UnlockedOn(recording.Path(), [&] { return MeasureSignal(*recording.Reader(), Interruptible()); });
    std::vector<RunFiguresResult> results;
    for (const RunFigures& run : figures) {
        py::list channels;
        for (const SampleFigures& each : run.channels) channels.append(ResultOf(each));
        results.push_back(RunFiguresResult::Of(run.first, run.last, channels));
    }
    return results;
}

ContentPointer Load(Recording& recording) {
    return UnlockedOn(recording.Path(), [&] {
        return std::make_shared<DataFileContent>(RecordsOfSignal(*recording.Reader(), Interruptible()));
    });
}

// ---- writing ----

Format FormatFor(const std::string& path, const std::optional<std::string>& format) {
    std::string end = format ? *format : std::filesystem::path(path).extension().string();
    if (format && (end.empty() || end.front() != '.')) end = "." + end;
    std::ranges::transform(
        end, end.begin(), [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (const auto known = FormatOfEnd(end)) return *known;
    std::string ends;
    for (const FormatRow& row : Formats())
        if (row.create != nullptr) ends += (ends.empty() ? "" : ", ") + std::string(row.ends[0]);
    throw Error(ErrorKind::kUnknownName,
                "the end " + Quote(end) + " is none of a format that is written: " + ends);
}

template <class Named, class Value>
Value NamedChoice(const Named& table, const std::string& name, const char* argument,
                  Value Named::value_type::*member) {
    std::vector<std::string> names;
    for (const auto& each : table) {
        if (each.name == name) return each.*member;
        names.emplace_back(each.name);
    }
    throw Error(ErrorKind::kUnknownName,
                std::string("there is no ") + argument + " " + Quote(name) + DidYouMean(name, names));
}

SignalFileOptions FileOptions(std::wstring text, const std::string& samples, double fullScale,
                              const std::string& numbers) {
    SignalFileOptions options;
    options.text = std::move(text);
    options.wav = {NamedChoice(kWavSamples, samples, "samples", &NamedWavSamples::samples), fullScale};
    options.uff = {NamedChoice(kUffNumbers, numbers, "numbers", &NamedUffNumbers::numbers)};
    options.called = kArguments;
    return options;
}

void Write(const PathLike& path, const py::object& data, const std::optional<std::string>& format,
           const std::string& samples, double fullScale, const std::string& numbers, const py::kwargs& more) {
    const std::string name = PathOf(path);
    const Format to = FormatFor(name, format);
    const RecordingPointer recording = RecordingOf(data, more);
    const SignalFileOptions options = FileOptions(recording->Text(), samples, fullScale, numbers);
    UnlockedOn(name, [&] {
        std::unique_ptr<SignalReader> reader = recording->Reader();
        const std::unique_ptr<SignalWriter> writer = CreateSignalFile(name, to, reader->Runs(), options);
        ReadRuns(
            *reader,
            [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
                writer->Write(run, columns, count);
            },
            Interruptible());
        writer->Commit();
    });
}

/// A file that is written as samples come.
struct Writer {
    std::string path;
    SignalRun run;
    std::unique_ptr<SignalWriter> file;
    std::int64_t written = 0;
    std::mutex mutex = {};

    void Take(const ArrayLike& block) {
        const Rows rows(block, "block");
        if (rows.Count() != run.channels.size())
            Refuse("the block has " + Count(static_cast<std::int64_t>(rows.Count()), "row") + " for " +
                   Count(std::ssize(run.channels), "channel"));
        UnlockedOn(path, [&] {
            const std::lock_guard alone(mutex);
            if (!file) Refuse("the file is closed");
            if (static_cast<std::int64_t>(rows.Length()) > run.samples - written)
                Refuse("the block goes beyond the last sample of the file");
            std::vector<std::vector<double>> columns(rows.Count());
            std::vector<double*> targets(rows.Count());
            for (std::size_t first = 0; first < rows.Length(); first += kRoom) {
                const std::size_t count = std::min(kRoom, rows.Length() - first);
                for (std::size_t c = 0; c < rows.Count(); ++c) {
                    const auto from = rows.Row(c).subspan(first, count);
                    columns[c].assign(from.begin(), from.end());
                    std::vector<std::size_t> missing;
                    for (std::size_t i = 0; i < count; ++i)
                        if (std::isnan(from[i])) missing.push_back(i);
                    ToStandard(run.channels[c].unit, columns[c], run.channels[c].unit.IsSingle());
                    for (const std::size_t i : missing) columns[c][i] = kNoValue<double>;
                    targets[c] = columns[c].data();
                }
                file->Write(0, targets, count);
                written += static_cast<std::int64_t>(count);
            }
        });
    }
    void Commit() {
        UnlockedOn(path, [&] {
            const std::lock_guard alone(mutex);
            if (!file) Refuse("the file is closed");
            file->Commit();
            file.reset();
        });
    }
    void Abandon() {
        const py::gil_scoped_release unlocked;
        const std::lock_guard alone(mutex);
        file.reset();
    }
};

std::unique_ptr<Writer> Create(const PathLike& path, double rate, __int64 samples, const Listed& names,
                               const Listed& units, double start, const std::string& text,
                               const std::optional<std::string>& format, const std::string& sampleKind,
                               double fullScale, const std::string& numbers) {
    const std::string name = PathOf(path);
    if (!(rate > 0.0)) Refuse("rate is not above 0");
    const std::size_t count =
        std::max<std::size_t>(1, std::max(PiecesOf(names).size(), PiecesOf(units).size()));
    SignalRun run;
    run.delta = 1.0 / rate;
    if (!(std::abs(start * rate) < 1e15)) Refuse("start is too far from 0");
    run.offset = std::llround(start * rate);
    run.samples = samples;
    if (samples < 1 || !IsEvenAxis(run.delta, run.offset, samples))
        Refuse("a file has 1 sample or more, and they have a place at the rate");
    run.channels = ChannelsFor(count, {units, names, text}, false);
    const Format to = FormatFor(name, format);
    const SignalFileOptions options = FileOptions(FromUtf8Replacing(text), sampleKind, fullScale, numbers);
    auto file = UnlockedOn(name, [&] { return CreateSignalFile(name, to, {run}, options); });
    return std::unique_ptr<Writer>(new Writer{name, run, std::move(file)});
}

void BindWriting(py::module_& module) {
    const char* const kinds = R"(
format:     end of a file name, "wav"; without it that of the path
samples:    of a WAV file "pcm16", "pcm24", "pcm32", "float" or "double"
full_scale: the value that becomes full scale of sound
numbers:    of a universal file "binary" or "ascii")";
    module.def(
        "write", &Write, py::arg("path"), py::arg("data"), py::arg("format") = py::none(),
        py::arg("samples") = "float", py::arg("full_scale") = 1.0, py::arg("numbers") = "binary",
        (std::string(R"(Writes a file of any writable format, replacing one only when everything was written.

data: a Recording of any length, a DataFile, Records, Spectrum or Transfer objects, or arrays with the arguments of
      recording(): rate, units, names, start, spacing, axis, places, text)") +
         kinds)
            .c_str());
    py::class_<Writer> writer(
        module, "Writer",
        "A file that is written as samples come; it is in place when all did and it was committed.");
    writer.def("write", &Writer::Take, py::arg("block"),
               "Appends samples, (channels, samples) or (samples,), in the units of the channels.");
    writer.def(
        "commit", [](Writer& self) { self.Commit(); },
        "Puts the file in its place. Raises BadValueError while samples are missing.");
    writer.def_property_readonly(
        "written", [](const Writer& self) { return self.written; }, "Samples of each channel so far.");
    writer.def("__enter__", [](const py::object& self) { return self; });
    writer.def(
        "__exit__",
        [](Writer& self, const py::object& type, const py::object&, const py::object&) {
            if (type.is_none()) {
                self.Commit();
            } else {
                self.Abandon();
            }
        },
        py::arg("type"), py::arg("value"), py::arg("traceback"),
        "Commits, or leaves the old file whole when an exception passes.");
    module.def("create", &Create, py::arg("path"), py::arg("rate"), py::arg("samples"),
               py::arg("names") = py::none(), py::arg("units") = py::none(), py::arg("start") = 0.0,
               py::arg("text") = "", py::arg("format") = py::none(), py::arg("sample_kind") = "float",
               py::arg("full_scale") = 1.0, py::arg("numbers") = "binary",
               "Begins a file of waveforms of so many samples, which are then written block by block; "
               "arguments as write.");
}

void BindAnalyses(py::class_<Recording, RecordingPointer>& recording) {
    const char* const cutting =
        "Blocks are cut as kvx.psd cuts them. Channels are read together, block by block, and calculated on "
        "all cores.";
    recording.def(
        "psd",
        [](Recording& self, const WindowLike& window, std::optional<std::int64_t> nperseg,
           std::optional<std::int64_t> noverlap) {
            return Spectra(self, LineKind::kDensity, PlanOf(window, nperseg, noverlap));
        },
        py::arg("window") = "hann", py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(),
        (std::string("The power spectral density of each channel, as Spectrum objects. ") + cutting).c_str());
    recording.def(
        "amplitudes",
        [](Recording& self, const WindowLike& window, std::optional<std::int64_t> nperseg,
           std::optional<std::int64_t> noverlap) {
            return Spectra(self, LineKind::kAmplitude, PlanOf(window, nperseg, noverlap));
        },
        py::arg("window") = "hann", py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(),
        (std::string("Averaged peak amplitudes of each channel, as Spectrum objects. ") + cutting).c_str());
    recording.def(
        "block_spectrum",
        [](Recording& self, const WindowLike& window, std::optional<std::int64_t> nperseg, double start) {
            return Spectra(self, LineKind::kComplex, PlanOf(window, nperseg, 0), start);
        },
        py::arg("window") = "hann", py::arg("nperseg") = py::none(), py::arg("start") = 0.0,
        "The complex spectrum of one block of each channel, which begins `start` seconds from the first "
        "sample.");
    recording.def("transfers", &Transfers, py::arg("reference") = 1, py::arg("responses") = py::none(),
                  py::arg("window") = "hann", py::arg("nperseg") = py::none(),
                  py::arg("noverlap") = py::none(), py::arg("low") = 0.0, py::arg("high") = py::none(),
                  py::arg("reference_recording") = py::none(),
                  R"(Transfer functions from one channel to others and their coherence, as Transfer objects.

reference, responses: by name or number from 1; without responses all but the reference
low, high:            the band in which the largest magnitude is looked for, Hz
reference_recording:  the Recording that has the reference, if it is another one, sampled together with the responses:
                      the same rate, count and start. Without responses all channels of this one respond.)");
    recording.def(
        "spectrogram",
        [](Recording& self, const WindowLike& window, std::optional<std::int64_t> nperseg,
           std::optional<std::int64_t> noverlap, const std::string& kind, std::int64_t most) {
            SlicesChoice choice;
            choice.kind = kind == "density" ? LineKind::kDensity : LineKind::kAmplitude;
            if (kind != "density" && kind != "amplitude")
                throw Error(ErrorKind::kUnknownName,
                            "there is no kind " + Quote(kind) + ", only density and amplitude");
            choice.blocks = PlanOf(window, nperseg, noverlap);
            choice.most = most;
            const auto runs =
                UnlockedOn(self.Path(), [&] { return SlicesOf(*self.Waveforms(), choice, Interruptible()); });
            std::vector<std::tuple<RecordPointer, double, double>> all;
            for (const RunSlices& run : runs)
                for (const CComDataSpecA& channel : run.channels)
                    all.emplace_back(std::make_shared<CComDataBase>(channel), run.startSeconds,
                                     run.intervalSeconds);
            return all;
        },
        py::arg("window") = "hann", py::arg("nperseg") = py::none(), py::arg("noverlap") = py::none(),
        py::arg("kind") = "amplitude", py::arg("most") = 600,
        R"(How the spectrum of each channel changes: (record, start, interval) of each.

The record has a row per slice; the middle of the first slice stands at start, s, and slices are interval apart. Where
there are more blocks than `most`, neighbours are averaged.)");
    recording.def("calibrations", &Calibrations, py::arg("level"), py::arg("unit"),
                  py::arg("is_peak") = false, py::arg("frequency") = py::none(),
                  R"(What the tone of a calibrator in each channel tells of its sensor.

level, unit: of the tone, its rms or with is_peak its amplitude; frequency: Hz, else the strongest tone is taken.)");
    recording.def("statistics", &Measured,
                  "Mean, rms and extremes of all channels of each run, in their units.");
    recording.def("load", &Load,
                  "All that it holds as a DataFile in memory: a record per run, unit and kind of values.");
}

}  // namespace

Recording::Recording(std::string path, Open open, py::object remake)
    : path_(std::move(path)), open_(std::move(open)), remake_(Kept(std::move(remake))) {
    unread_ = UnlockedOn(path_, [&] { return open_("", kAllKinds); });
    runs_ = unread_->Runs();
    text_ = unread_->Text();
    remarks_ = unread_->Remarks();
    properties_ = unread_->Properties();
}

Recording::Open Recording::Opened() const {
    const std::lock_guard alone(mutex_);
    if (!open_) Refuse("the recording is closed");
    return open_;
}

std::unique_ptr<SignalReader> Recording::Reader() {
    const Open open = Opened();
    {
        const std::lock_guard alone(mutex_);
        if (unread_) return std::move(unread_);
    }
    auto reader = open("", kAllKinds);
    if (!HaveSameShape(reader->Runs(), runs_))
        throw Error(ErrorKind::kDamaged, "the file has changed since it was opened", {.path = path_});
    return reader;
}

std::unique_ptr<SignalReader> Recording::Waveforms(const std::string& channels) {
    return Opened()(channels, SignalKinds());
}

void Recording::Close() {
    const std::lock_guard alone(mutex_);
    open_ = nullptr;
    unread_.reset();
}

bool Recording::IsClosed() const {
    const std::lock_guard alone(mutex_);
    return !open_;
}

RecordingPointer RecordingOf(const py::object& data, const py::kwargs& more) {
    const auto requireNoMore = [&] {
        if (!more.empty()) Refuse("rate, units and names are for arrays");
    };
    if (py::isinstance<Recording>(data)) return requireNoMore(), py::cast<RecordingPointer>(data);
    if (py::isinstance<DataFileContent>(data))
        return requireNoMore(), FromContent(py::cast<ContentPointer>(data));
    std::vector<py::object> pieces = PiecesOf(data);
    if (py::isinstance<py::array>(data)) pieces.clear();
    if (!pieces.empty() &&
        std::ranges::all_of(pieces, [](const py::object& p) { return py::isinstance<CComDataBase>(p); })) {
        requireNoMore();
        auto content = std::make_shared<DataFileContent>(DataFileContent{HeaderOf(""), {}});
        for (const py::object& piece : pieces)
            content->records.push_back(py::cast<const CComDataBase&>(piece));
        return FromContent(content);
    }
    const std::vector<SpectrumPointer> spectra =
        pieces.empty() ? std::vector<SpectrumPointer>() : SpectraAmong(pieces);
    if (!spectra.empty())
        return requireNoMore(), FromContent(std::make_shared<DataFileContent>(ContentOf(spectra)));
    return py::cast<RecordingPointer>(py::module_::import("kvx").attr("recording")(data, **more));
}

ContentPointer ContentOf(const py::object& data, const py::kwargs& more) {
    if (py::isinstance<DataFileContent>(data)) return py::cast<ContentPointer>(data);
    return Load(*RecordingOf(data, more));
}

void BindRecordings(py::module_& module) {
    BindViews(module);
    py::class_<Recording, RecordingPointer> recording(
        module, "Recording",
        R"(A recording of any format, made by open(), recording(), part(), merge(), join() or edit().

It says what it holds; samples are read when they are asked for, by any number of threads at a time. Samples are in the
units of their channels. It pickles as what was opened and how, and is opened again there.)");
    recording.def_property_readonly(
        "path", [](const Recording& self) { return self.Path(); },
        "Of the file, absolute; empty for what is made of others.");
    recording.def_property_readonly(
        "text", [](const Recording& self) { return ToUtf8(self.Text()); },
        "The free text of a data file; the name of another file.");
    recording.def_property_readonly(
        "remarks", [](const Recording& self) { return self.Remarks(); },
        "Sentences on what was assumed of the file.");
    recording.def_property_readonly(
        "properties",
        [](const Recording& self) {
            std::vector<std::pair<std::string, std::string>> properties;
            for (const auto& each : self.Properties()) properties.emplace_back(each.name, each.text);
            return properties;
        },
        "What the file tells about itself, (name, text) each.");
    recording.def_property_readonly(
        "runs",
        [](const RecordingPointer& self) {
            std::vector<RunView> runs;
            for (std::size_t r = 0; r < Required(self)->Runs().size(); ++r) runs.push_back({self, r});
            return runs;
        },
        "Its runs: channels that were sampled together.");
    recording.def_property_readonly("channels", &ChannelsOfRecording, "The channels of all runs.");
    recording.def_property_readonly(
        "names",
        [](const Recording& self) {
            std::vector<std::string> names;
            for (const SignalRun& run : self.Runs())
                for (const auto& channel : run.channels) names.push_back(ToUtf8(channel.name));
            return names;
        },
        "Of all channels.");
    recording.def_property_readonly(
        "rate", [](const Recording& self) { return RateOfRun(self.Runs().front()); },
        "That of the first run, Hz, or None.");
    recording.def(
        "read", &ReadRunOf, py::arg("run") = 0,
        "All samples of a run, (channels, samples), in the units of the channels; NaN for missing ones.");
    recording.def("axis", &AxisOf, py::arg("run") = 0, "Where the samples of a run stand, s or Hz.");
    recording.def(
        "blocks", &BlocksOf, py::arg("size") = 65536, py::arg("run") = 0, py::arg("overlap") = 0,
        R"(The samples of a run block by block, (channels, size) each, the last one shorter; memory does not grow with the file.

overlap: samples at the end of a block with which the next one begins.)");
    recording.def("part", &Part, py::arg("start") = py::none(), py::arg("end") = py::none(),
                  "What lies from one place on and before another, s or Hz; see kvx.part.");
    recording.def("edit", &Edited, py::arg("names") = py::none(), py::arg("units") = py::none(),
                  py::arg("scale") = py::none(), py::arg("offset") = py::none(),
                  py::arg("to_units") = py::none(), py::arg("text") = py::none(),
                  "The recording with other names, units and levels; see kvx.edit.");
    recording.def(
        "close", [](Recording& self) { self.Close(); }, py::call_guard<py::gil_scoped_release>(),
        "Lets go of the file; what is being read goes on.");
    recording.def_property_readonly(
        "closed", [](const Recording& self) { return self.IsClosed(); }, "Whether it was closed.");
    recording.def("__enter__", [](const py::object& self) { return self; });
    recording.def(
        "__exit__",
        [](Recording& self, const py::object&, const py::object&, const py::object&) { self.Close(); },
        py::arg("type"), py::arg("value"), py::arg("traceback"));
    recording.def("__len__", [](const RecordingPointer& self) { return ChannelsOfRecording(self).size(); });
    recording.def("__getitem__", &ChannelNamed, py::arg("key"));
    recording.def("__iter__",
                  [](const RecordingPointer& self) { return py::iter(py::cast(ChannelsOfRecording(self))); });
    recording.def("__repr__", [](const Recording& self) {
        std::string text;
        for (const SignalRun& run : self.Runs()) text += (text.empty() ? "" : "; ") + DescribedRun(run);
        return "<kvx.Recording '" + ToUtf8(self.Text()) + "': " + text + ">";
    });
    recording.def("__reduce__", [](const Recording& self) {
        if (self.Remake().is_none())
            throw py::type_error("a recording of records in memory does not pickle; write it to a file");
        return py::make_tuple(py::module_::import("kvx").attr("_remade"), self.Remake());
    });
    BindAnalyses(recording);
    module.def(
        "_remade",
        [](const std::string& function, const py::tuple& arguments, const py::dict& more) {
            static constexpr std::array kMakers = {"open", "recording", "part", "merge", "join", "edit"};
            if (std::ranges::none_of(kMakers, [&](const char* each) { return function == each; }))
                Refuse("this makes no recording");
            return py::module_::import("kvx").attr(function.c_str())(*arguments, **more);
        },
        py::arg("function"), py::arg("arguments"), py::arg("more"));
    module.def("open", &OpenPath, py::arg("path"), py::arg("channels") = py::none(),
               py::arg("record") = py::none(), py::arg("start") = py::none(), py::arg("end") = py::none(),
               R"(Opens a recording of any format, whatever its name; formats() lists them.

channels:   names, numbers from 1 or ranges: ["top", 3] or "top,3-4"; None for all
record:     only the channels of this record or run, from 1
start, end: only what lies from one place on and before another, s or Hz

What a file does not say, or says wrongly, is stated by keywords:
rate:          true sampling rate, Hz
units, names:  of the channels: one for all, or a list
sensitivities: "100 mV/g" or Sensitivity objects, one for all or a list; gains: of amplifiers
full_scale:    what full scale of sound stands for; partial: take sound that is cut short
time:          of a text: whether the first column is the time, or the column that is by number or heading
axis, spacing: what the axis of a text is ("time", "frequency"), and the distance of samples without a column for it
uneven:        keep times that are not evenly spaced
separator:     "tab", "blank", "comma" ... or the sign; decimal_comma, skip (lines), comment (signs), missing (texts)
code_page:     of a text, such as 932)");
    module.def("recording", &FromArrays, py::arg("samples"), py::arg("rate") = py::none(),
               py::arg("units") = py::none(), py::arg("names") = py::none(), py::arg("start") = 0.0,
               py::arg("spacing") = py::none(), py::arg("axis") = "time", py::arg("places") = py::none(),
               py::arg("text") = "",
               R"(Arrays as a recording, without a copy of doubles that lie side by side.

samples: (samples,) or (channels, samples), real or complex, or a dict of names and arrays; NaN is a missing value
rate:    Hz; or spacing, s or Hz; or places, where each sample stands
units:   one for all channels or a list; names: of the channels
start:   where the first sample stands; axis: "time" or "frequency")");
    module.def("part", &Part, py::arg("recording"), py::arg("start") = py::none(),
               py::arg("end") = py::none(),
               "The part of a recording from one place on and before another, s or Hz.");
    module.def(
        "merge",
        [](const std::vector<RecordingPointer>& recordings) {
            return Joined(recordings, "merge", [](std::vector<MergeInput> inputs) {
                return MergeChannels(std::move(inputs), kArguments);
            });
        },
        py::arg("recordings"), "One recording with the channels of all, which must have one axis.");
    module.def(
        "join",
        [](const std::vector<RecordingPointer>& recordings) {
            return Joined(recordings, "join",
                          [](std::vector<MergeInput> inputs) { return JoinInTime(std::move(inputs)); });
        },
        py::arg("recordings"),
        "The recordings one after the other in time; names and units are those of the first.");
    module.def(
        "edit", &Edited, py::arg("recording"), py::arg("names") = py::none(), py::arg("units") = py::none(),
        py::arg("scale") = py::none(), py::arg("offset") = py::none(), py::arg("to_units") = py::none(),
        py::arg("text") = py::none(),
        R"(A recording with other names, units and levels, changed as it is read; each argument is for all channels or a list.

units says what the numbers are in, whatever the file says; they are then multiplied by scale, shifted by offset, and
converted to to_units.)");
    BindWriting(module);
    module.def(
        "formats",
        [] {
            std::vector<FormatInfoResult> formats;
            constexpr std::array kKinds = {"data", "sound", "text", "binary"};
            for (const FormatRow& row : Formats()) {
                py::list ends;
                for (const std::string_view end : row.ends)
                    if (!end.empty()) ends.append(end);
                formats.push_back(FormatInfoResult::Of(
                    row.name, py::tuple(ends), kKinds[static_cast<std::size_t>(row.kind)],
                    row.create != nullptr, row.read, row.written, LostIn(row)));
            }
            return formats;
        },
        "The formats of recordings: names, ends of file names, what comes through.");
    module.def(
        "recognize",
        [](const PathLike& path) {
            const std::string name = PathOf(path);
            const FileContent content = UnlockedOn(name, [&] { return RecognizeFile(name); });
            return FileInfoResult::Of(content.name, content.format != Format::none);
        },
        py::arg("path"), "What a file is, by its first bytes: (name, whether it is read).");
    module.def(
        "parse_sensitivity", [](const std::string& text) { return ResultOf(ParseSensitivity(text)); },
        py::arg("text"), "Reads \"100 mV/g\": (value, electrical unit, physical unit).");
    module.def(
        "sensitivity_text",
        [](const SensitivityResult& s, int digits) {
            return SensitivityText(
                {py::cast<double>(s.attr("value")), UnitOf(s.attr("electrical")), UnitOf(s.attr("physical"))},
                digits);
        },
        py::arg("sensitivity"), py::arg("digits") = 17, "The text that parse_sensitivity reads.");
}

}  // namespace kvx::python
