// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/WrittenVariables.h>

#include <algorithm>
#include <limits>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxRecording01/detail/FactLines.h>
#include <KvxRecording01/detail/NearestShown.h>

namespace kvx {
namespace {

/// What variables of the axis and of the run are called, and words that name nothing in MATLAB or Python.
constexpr std::string_view kTaken[] = {
    "fs",        "dt",        "t0",     "t",     "time",     "Time",       "f",          "df",    "f0",
    "freq",      "Freq",      "x",      "dx",    "x0",       "xunit",      "fsamp",      "rate",  "Ts",
    "names",     "name",      "units",  "unit",  "channels", "title",      "text",       "break", "case",
    "catch",     "else",      "elseif", "end",   "for",      "function",   "global",     "if",    "parfor",
    "return",    "switch",    "try",    "while", "continue", "otherwise",  "persistent", "spmd",  "classdef",
    "frequency", "Frequency", "Fs",     "FS",    "start",    "fact_names", "fact_texts"};

std::string Identifier(std::wstring_view name) {
    constexpr std::size_t kMost = 56;  // with room for a number behind it
    const auto isLetter = [](wchar_t c) { return (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z'); };
    std::string text;
    for (const wchar_t c : name.substr(0, kMost)) {
        const bool isKept = isLetter(c) || (c >= L'0' && c <= L'9');
        if (isKept || (!text.empty() && text.back() != '_')) text += isKept ? static_cast<char>(c) : '_';
    }
    while (!text.empty() && text.back() == '_') text.pop_back();
    const bool isTaken = std::ranges::find(kTaken, text) != std::end(kTaken);
    if (isTaken || text.empty() || !isLetter(static_cast<wchar_t>(text.front()))) text.insert(0, "ch");
    return text;
}

std::string_view AxisName(const SignalRun& run) {
    const CUnitCtrl::DIM_CODE dimension = DimensionOf(run.axisUnit);
    return dimension == CUnitCtrl::DIM_TIME ? "t" : dimension == CUnitCtrl::DIM_FREQUENCY ? "f" : "x";
}

}  // namespace

std::vector<WrittenVariable> VariablesOf(const std::wstring& text,
                                         std::span<const RecordingInfo::Property> facts) {
    std::vector<WrittenVariable> variables;
    if (!text.empty()) variables.push_back({"text", text});
    std::vector<std::wstring> names, texts;
    for (const auto& [name, fact] : WrittenFacts(facts)) {
        names.push_back(FromUtf8Replacing(name));
        texts.push_back(FromUtf8Replacing(fact));
    }
    if (names.empty()) return variables;
    variables.push_back({"fact_names", std::move(names)});
    variables.push_back({"fact_texts", std::move(texts)});
    return variables;
}

std::vector<WrittenVariable> VariablesOf(const SignalRun& run, bool isOneOfSeveral) {
    using Samples = WrittenVariable::Samples;
    std::vector<WrittenVariable> variables;
    const std::string axis(AxisName(run));
    if (!run.isListed) {
        if (axis == "t") variables.push_back({"fs", 1.0 / run.delta});
        variables.push_back({"d" + axis, run.delta});
        if (run.offset != 0) variables.push_back({axis + "0", static_cast<double>(run.offset) * run.delta});
    }
    if (axis == "x") variables.push_back({"xunit", PlainUnitName(CUnitCtrl(DimensionOf(run.axisUnit)))});
    std::vector<std::wstring> names, units;
    for (const SignalRun::Channel& channel : run.channels) {
        names.push_back(channel.name);
        units.push_back(PlainUnitName(channel.unit));
    }
    variables.push_back({"names", std::move(names)});
    variables.push_back({"units", std::move(units)});
    if (isOneOfSeveral || !run.title.empty()) variables.push_back({"title", run.title});
    if (run.start) variables.push_back({"start", FromUtf8Replacing(run.start->Text())});
    if (run.isListed || axis != "t")
        variables.push_back({axis, Samples{0, false, !run.isListed, run.samples}});
    std::set<std::string> taken;
    std::map<std::string, int> numbers;  // that were last put behind a name
    std::size_t column = run.isListed ? 1 : 0;
    for (const SignalRun::Channel& channel : run.channels) {
        const std::string plain = Identifier(channel.name);
        std::string name = plain;
        if (!taken.insert(name).second) {
            int& number = numbers.try_emplace(plain, 1).first->second;
            do {
                name = plain + "_" + std::to_string(++number);
            } while (!taken.insert(name).second);
        }
        variables.push_back({name, Samples{column, channel.isComplex, false, run.samples}});
        column += channel.isComplex ? 2 : 1;
    }
    return variables;
}

void ToStored(const SignalRun& run, std::span<double* const> columns, std::size_t count) {
    std::size_t column = run.isListed ? 1 : 0;
    ShownValues shown;
    std::vector<std::size_t> missing;
    for (const SignalRun::Channel& channel : run.channels) {
        const int isAbsolute = !channel.isComplex && channel.unit.IsSingle() ? 1 : 0;
        const std::size_t end = column + (channel.isComplex ? 2 : 1);
        for (; column < end; ++column) {
            const std::span samples(columns[column], count);
            missing.clear();
            for (std::size_t i = 0; i < count; ++i)
                if (samples[i] == kNoValue<double>) missing.push_back(i);
            shown.Convert(channel.unit, isAbsolute, samples);
            for (const std::size_t at : missing) samples[at] = std::numeric_limits<double>::quiet_NaN();
        }
    }
}

}  // namespace kvx
