// SPDX-License-Identifier: MIT
//
// kvx import: text tables and sound files become vibration data files.
#include <algorithm>
#include <array>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitText.h>

#include "Commands.h"
#include "DataFiles.h"
#include "Failure.h"
#include "Format.h"
#include "Options.h"
#include "Output.h"
#include "Progress.h"
#include "Recording.h"
#include "SoundFile.h"
#include "TextTable.h"
#include "UnitChoice.h"

namespace kvx::tool {
namespace {

constexpr std::size_t kHeaderTextLength = 257;

struct ImportOptions {
    std::string input;
    std::string output;
    std::optional<double> rateHz;
    std::string units;
    std::string names;
    std::string channels;
    std::optional<std::string> text;
    std::optional<double> fullScale;
    std::string time = "auto";
    std::string decimal = "auto";
};

/// The bytes of a text file. Gives up early on what is no text, which may be endless.
std::string ReadBytes(const std::string& path) {
    constexpr std::size_t kChunk = 1 << 20;
    InputFile file(WidePath(path));
    std::string bytes;
    const std::uint64_t size = file.Remaining();
    if (size < std::numeric_limits<std::uint64_t>::max())
        bytes.reserve(static_cast<std::size_t>(size) + kChunk);
    for (std::size_t got = kChunk; got == kChunk;) {
        const std::size_t begin = bytes.size();
        bytes.resize(begin + kChunk);
        got = file.Read(bytes.data() + begin, kChunk);
        bytes.resize(begin + got);
        const bool utf16 = bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF");
        if (!utf16 && bytes.find('\0', begin) != std::string::npos) {
            throw Reason("it is neither a text table nor a sound file");
        }
    }
    if (bytes.empty()) throw Reason("the file is empty");
    return bytes;
}

Recording ReadRecording(const ImportOptions& options) {
    Progress progress("reading " + options.input);
    InputFile(WidePath(options.input));  // a file that cannot be read is told as such
    if (std::optional<Recording> sound = ReadSoundFile(options.input, progress)) {
        const double fullScale = options.fullScale.value_or(1.0);
        for (Recording::Channel& channel : sound->channels) {
            for (double& value : channel.values) value *= fullScale;
        }
        return *std::move(sound);
    }
    if (options.fullScale) throw Reason("--full-scale is for sound files");
    TextOptions text;
    if (options.time != "auto") text.firstColumnIsTime = options.time == "first";
    text.decimalComma = options.decimal == "comma";
    return ParseTextTable(ReadBytes(options.input), text, progress);
}

/// Leaves the chosen channels and gives them their names and units.
void SettleChannels(Recording& recording, const ImportOptions& options) {
    std::vector<std::wstring> names;
    for (std::size_t c = 0; c < recording.channels.size(); ++c) {
        const std::wstring& name = recording.channels[c].name;
        names.push_back(name.empty() ? L"ch" + std::to_wstring(c + 1) : name);
    }
    std::vector<Recording::Channel> chosen;
    for (const std::size_t at : ChooseChannels(options.channels, names)) {
        chosen.push_back(std::move(recording.channels[at]));
        chosen.back().name = names[at];
    }
    recording.channels = std::move(chosen);

    const std::size_t count = recording.channels.size();
    if (!options.names.empty()) {
        const std::vector<std::string> given = SplitList(options.names);
        if (given.size() != count) {
            throw ValueError("--name gives " + Count(std::ssize(given), "name") + " for " +
                             Count(std::ssize(recording.channels), "channel"));
        }
        for (std::size_t c = 0; c < count; ++c) {
            const std::optional<std::wstring> name = FromUtf8(given[c]);
            if (!name || name->empty())
                throw ValueError("the name " + Quote(given[c]) + " is empty or not UTF-8");
            recording.channels[c].name = *name;
        }
    }
    if (!options.units.empty()) {
        const std::vector<std::string> given = SpreadList("--unit", options.units, count);
        for (std::size_t c = 0; c < count; ++c) recording.channels[c].unit = RequireUnit(given[c]);
        return;
    }
    for (const Recording::Channel& channel : recording.channels) {
        if (channel.unknownUnit.empty()) continue;
        recording.notes.push_back("the unit " + Quote(channel.unknownUnit) + " of channel " +
                                  Quote(channel.name) + " is not known; give it with --unit");
    }
}

/// One waveform record per unit, in the order in which the units first appear. Uses the channels up.
std::vector<CComDataBase> MakeRecords(std::vector<Recording::Channel> channels, const TimeAxis& axis) {
    const std::size_t samples = channels.front().values.size();
    if (samples > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max())) {
        throw Reason("a record holds at most 2147483647 samples per channel, this has " +
                     std::to_string(samples));
    }
    std::vector<CComDataBase> records;
    const auto unitOf = [](const Recording::Channel& c) { return c.unit.value_or(CUnitCtrl()); };
    while (!channels.empty()) {
        const CUnitCtrl unit = unitOf(channels.front());
        const std::wstring unitName = PlainUnitName(unit);
        const auto others = std::stable_partition(channels.begin(), channels.end(), [&](const auto& channel) {
            return PlainUnitName(unitOf(channel)) == unitName;
        });
        CStringArray names;
        for (auto channel = channels.begin(); channel != others; ++channel) names.push_back(channel->name);
        CComDataWave record(1.0 / axis.rateHz, std::ssize(names), 1, static_cast<__int64>(samples),
                            axis.offset, unit, &names, nullptr);
        for (auto channel = channels.begin(); channel != others; ++channel) {
            double* target = record.GetReal(channel - channels.begin(), 0);
            if (target == nullptr) throw std::bad_alloc();
            const int absolute = unit.IsSingle();
            unit.ConvItoD(target, channel->values.data(), static_cast<__int64>(samples), 1.0, absolute);
            channel->values = {};
        }
        channels.erase(channels.begin(), others);
        records.push_back(std::move(record));
    }
    return records;
}

std::string Summary(const std::string& output, const DataFileContent& content) {
    const CComDataBase& first = content.records.front();
    const double rate = RateOf(first);
    std::string text = output + ": " + Count(first.GetNsamp(), "sample") + " at " + FormatNumber(rate, 10) +
                       " Hz (" + FormatNumber(static_cast<double>(first.GetNsamp()) * first.GetDelta(), 7) +
                       " s), " + Count(std::ssize(content.records), "record") + "\n";
    std::vector<std::vector<std::string>> lines = {{"channel", "name", "unit", "record"}};
    for (const Channel& channel : ListChannels(content)) {
        lines.push_back({std::to_string(channel.number), ToUtf8(channel.name),
                         UnitText(content.records[channel.record].GetUnit()),
                         std::to_string(channel.record + 1)});
    }
    return text + FormatTable({Align::right, Align::left, Align::left, Align::right}, lines);
}

void RunImport(const ImportOptions& options, ByteStream& out) {
    RequireAnotherFile(options.input, options.output);
    const std::string given = options.text.value_or(std::filesystem::path(options.input).filename().string());
    const std::optional<std::wstring> text = FromUtf8(given);
    if (!text) throw ValueError("the text " + Quote(given) + " is not valid UTF-8");
    if (ToUtf16(*text).size() > kHeaderTextLength) Note("the header keeps 257 characters of the text");
    DataFileContent content;
    Doing("import", options.input, [&] {
        Recording recording = ReadRecording(options);
        SettleChannels(recording, options);
        const TimeAxis axis = SettleAxis(recording, options.rateHz);
        content.records = MakeRecords(std::move(recording.channels), axis);
        for (const std::string& note : recording.notes) Note(note);
    });
    Doing("write", options.output, [&] { StoreDataFile(options.output, *text, content.records); });
    WriteText(out, Summary(options.output, content));
}

}  // namespace

void AddImport(Command app) {
    const auto options = std::make_shared<ImportOptions>();
    Command command = app.AddCommand("import", "Make a data file from a text table or a sound file");
    command
        .AddOption(
            "INPUT", options->input,
            "Text table (columns apart by comma, semicolon, tab or blanks; logger files .lvm) or sound "
            "file (WAV and others)")
        .Required();
    command.AddOption("-o,--output", options->output, "Data file to write (.vdf2)").Required();
    command
        .AddOption("--rate", options->rateHz,
                   "True sampling rate; without it that of the sound file or the time column")
        .Type("HZ")
        .Check(PositiveNumber());
    command.AddOption("--unit", options->units, "Unit of the values, one for all channels or a list: g,g,N")
        .Type("LIST");
    command.AddOption("--name", options->names, "Names of the channels: top,base").Type("LIST");
    command
        .AddOption("--channels", options->channels,
                   "Channels to take, by number, range or name, in this order: 1,3-4,top")
        .Type("LIST");
    command.AddOption("--text", options->text, "Free text of the header; without it the input's name")
        .Type("TEXT");
    command
        .AddOption("--full-scale", options->fullScale,
                   "What full scale of a sound file stands for, in its unit")
        .Type("VALUE")
        .Check(PositiveNumber());
    command.AddOption("--time", options->time, "Where a text has the time: in its first column or nowhere")
        .Type("WHICH")
        .OneOf({"auto", "first", "none"});
    command.AddOption("--decimal", options->decimal, "Decimal mark of a text; a comma then separates nothing")
        .Type("MARK")
        .OneOf({"auto", "comma"});
    command.SetFooter(
        "Values are stored in the standard unit of their dimension and shown in the unit given. Channels of\n"
        "one unit make one record.\n\n"
        "Example:\n"
        "  printf 'time,top [g],base [g]\\n0,0.1,0.2\\n0.5,0.3,-0.1\\n1,0.2,0.4\\n' > shaker.csv\n"
        "  kvx import shaker.csv -o shaker.vdf2\n"
        "  kvx import shaker.csv -o force.vdf2 --rate 2.0004 --channels base --unit N --name force");
    command.OnRun([=](ByteStream& out) { RunImport(*options, out); });
}

}  // namespace kvx::tool
