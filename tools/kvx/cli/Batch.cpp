// SPDX-License-Identifier: MIT
#include "cli/Batch.h"

#include <fmt/format.h>
#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <map>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>

#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Parallel.h>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {
namespace {

namespace fs = std::filesystem;

/// Whether an output names a folder: one that is there, or by the slash at its end.
bool IsFolder(const std::string& output) {
    std::error_code ignored;
    return output.ends_with('/') || fs::is_directory(output, ignored);
}

/// A pattern with the values of its names in braces.
std::string Filled(const std::string& pattern, const std::map<std::string, std::string>& values) {
    std::string text;
    for (std::size_t at = 0; at < pattern.size();) {
        const std::size_t open = std::min(pattern.find('{', at), pattern.size());
        text += pattern.substr(at, open - at);
        if (open == pattern.size()) break;
        const std::size_t close = pattern.find('}', open);
        const std::string name = pattern.substr(open + 1, close == pattern.npos ? close : close - open - 1);
        const auto value = values.find(name);
        if (close == pattern.npos || value == values.end()) {
            std::vector<std::string> names;
            for (const auto& [known, ignored] : values) names.push_back("{" + known + "}");
            throw ValueError("--name-pattern: there is no " + Quote("{" + name + "}") + ", only " +
                             JoinList(names));
        }
        text += value->second;
        at = close + 1;
    }
    return text;
}

/// The file in the folder that each input becomes.
std::vector<std::string> OutputsOf(const BatchOptions& options, std::span<const OutputFormat> formats) {
    const std::string pattern = options.namePattern.value_or("{stem}.{ext}");
    const std::string end =
        options.output.as.empty() ? std::string(EndOf(formats.front()).substr(1)) : options.output.as;
    const std::size_t digits = std::to_string(options.inputs.size()).size();
    std::vector<std::string> outputs;
    for (std::size_t i = 0; i < options.inputs.size(); ++i) {
        const fs::path input = fs::path(SourceText(options.inputs[i])).filename();
        const std::string name = Filled(pattern, {{"stem", input.stem().string()},
                                                  {"name", input.string()},
                                                  {"ext", end},
                                                  {"number", fmt::format("{:0{}}", i + 1, digits)}});
        outputs.push_back((fs::path(options.output.name) / name).string());
        FormatOf({outputs.back(), options.output.as}, formats);
    }
    return outputs;
}

/// Throws ValueError where two inputs would become one file or a file that is an input.
void RequireOwnOutputs(const std::vector<std::string>& inputs, const std::vector<std::string>& outputs) {
    const auto whole = [](const std::string& path) {
        std::error_code ignored;
        return fs::weakly_canonical(path, ignored).string();
    };
    std::set<std::string> taken;
    for (const std::string& input : inputs)
        if (!IsStandardStream(input)) taken.insert(whole(input));
    const std::set<std::string> sources = taken;
    for (const std::string& output : outputs) {
        if (taken.insert(whole(output)).second) continue;
        throw ValueError(sources.contains(whole(output))
                             ? "the output " + Quote(output) + " is an input file"
                             : "several inputs would become " + Quote(output) +
                                   "; tell them apart with --name-pattern, such as {number}-{stem}.{ext}");
    }
}

/// Prints the notes, reports and failures of pieces of work in their order, each as soon as those before it
/// are there.
class OrderedReports {
public:
    OrderedReports(std::size_t count, BatchReports kind, ByteStream& out)
        : results_(count),
          kind_(kind),
          out_(out),
          progress_("working on " + Count(std::ssize(results_), "file")) {}

    void Add(std::size_t index, std::string notes, std::string report, std::string failure) {
        const std::scoped_lock lock(mutex_);
        if (!failure.empty()) ++failed_;
        results_[index] = {std::move(notes), std::move(report), std::move(failure), true};
        for (; printed_ < results_.size() && results_[printed_].isThere; ++printed_) Print(printed_);
        progress_.Update(printed_, results_.size());
    }

    /// Throws Failure when some have failed.
    void Finish() {
        if (kind_ == BatchReports::json) WriteText(out_, isFirst_ ? "[]\n" : "\n]\n");
        if (failed_ == 0) return;
        throw Failure(
            fmt::format("{} of {} could not be dealt with", failed_, Count(std::ssize(results_), "input")));
    }

private:
    struct Result {
        std::string notes;
        std::string report;
        std::string failure;
        bool isThere = false;
    };

    void Print(std::size_t index) {
        Result& result = results_[index];
        Progress::ClearLine();
        std::fputs(result.notes.c_str(), stderr);
        if (!result.failure.empty()) {
            Complain(result.failure);
        } else if (kind_ == BatchReports::json) {
            while (result.report.ends_with('\n')) result.report.pop_back();
            WriteText(out_, (isFirst_ ? "[\n" : ",\n") + result.report);
            isFirst_ = false;
        } else {
            if (kind_ == BatchReports::paragraphs && !isFirst_) WriteText(out_, "\n");
            WriteText(out_, result.report);
            isFirst_ = false;
        }
        result.notes.clear();
        result.report.clear();
    }

    std::vector<Result> results_;
    BatchReports kind_;
    ByteStream& out_;
    Progress progress_;
    std::mutex mutex_;
    std::size_t printed_ = 0;
    std::size_t failed_ = 0;
    bool isFirst_ = true;
};

/// The sentence for the exception being handled; rethrows what concerns the command line as a whole.
std::string Sentence(const std::string& input) {
    try {
        throw;
    } catch (const Failure& failure) {
        return failure.what();
    } catch (const UsageError&) {
        throw;
    } catch (const ValueError& error) {
        return InputName(input) + ": " + error.what();
    } catch (...) {
        return InputName(input) + ": " + Explain(Error::Current());
    }
}

}  // namespace

void AddInputs(Command& command, const std::string& name, const std::string& what, BatchOptions* options) {
    command.AddOption(name, options->inputs, what).Many().Required();
}

void AddJobsOption(Command& command, BatchOptions* options) {
    command.AddOption("--jobs", options->jobs, "Files to work on at a time (default: one per core)")
        .Type("N")
        .Check(WholeNumber(1, 256));
}

void AddBatchOptions(Command& command, BatchOptions* options) {
    command
        .AddOption("--name-pattern", options->namePattern,
                   "Names in an output folder, of {stem}, {name}, {number} and {ext}, that of --as (default: "
                   "{stem}.{ext})")
        .Type("PATTERN");
    AddJobsOption(command, options);
}

void RunBatch(const BatchOptions& options, std::span<const OutputFormat> formats, BatchReports reports,
              const BatchWork& work, ByteStream& out) {
    const std::vector<std::string>& inputs = options.inputs;
    const std::string& folder = options.output.name;
    const bool isFolder = IsFolder(folder);
    if (!isFolder && options.namePattern)
        throw UsageError("--name-pattern is for an output that is a folder");
    if (inputs.size() == 1 && !isFolder) return work(inputs.front(), options.output, out);
    if (!isFolder && !folder.empty())
        throw UsageError("several inputs need a folder to go to, such as -o results/");
    RequireOneStandardInput(inputs);
    std::vector<std::string> outputs(inputs.size());
    if (isFolder) {
        outputs = OutputsOf(options, formats);
        RequireOwnOutputs(inputs, outputs);
        std::error_code error;
        fs::create_directories(folder, error);
        if (error) throw Failure("cannot make the folder " + Quote(folder) + ": " + error.message());
    }
    if (inputs.size() == 1) return work(inputs.front(), {outputs.front(), options.output.as}, out);
    OrderedReports results(inputs.size(), reports, out);
    const auto doOne = [&](std::size_t i) {
        MemoryStream report;
        std::string notes, failure;
        {
            const AmongOthers among(InputName(inputs[i]));
            try {
                if (reports == BatchReports::withHeading) WriteText(report, InputName(inputs[i]) + "\n");
                work(inputs[i], {outputs[i], outputs[i].empty() ? "" : options.output.as}, report);
            } catch (...) {
                failure = Sentence(inputs[i]);
            }
            notes = AmongOthers::TakeNotes();
        }
        const auto bytes = report.Bytes();
        results.Add(i, std::move(notes),
                    std::string(reinterpret_cast<const char*>(bytes.data()), bytes.size()), failure);
    };
    ForEachInParallel(inputs.size(), doOne, static_cast<std::size_t>(options.jobs.value_or(0)));
    results.Finish();
}

}  // namespace kvx::tool
