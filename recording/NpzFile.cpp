// SPDX-License-Identifier: MIT
#include <KvxRecording01/NpzFile.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/NpyArray.h>
#include <KvxRecording01/detail/VariableWriter.h>
#include <KvxRecording01/detail/ZipDirectory.h>

namespace kvx {
namespace {

constexpr std::string_view kEnd = ".npy";

/// The arrays of an archive by their folders.
struct NpzContent {
    VariableStock stock = {};
    std::map<std::wstring, std::size_t> folders = {{L"", VariableStock::kOuter}};

    void Add(const std::wstring& folder, Variable variable) {
        const auto known = folders.find(folder);
        const std::size_t scope = known != folders.end() ? known->second : stock.AddScope(folder);
        if (known == folders.end()) folders.emplace(folder, scope);
        stock.Add(scope, std::move(variable));
    }
};

void AddEntry(const ZipEntry& entry, NpzContent* content) {
    if (entry.name.ends_with('/')) return;  // a folder
    std::string path = entry.name;
    const bool isArray = path.ends_with(kEnd);
    if (isArray) path.resize(path.size() - kEnd.size());
    const std::size_t folder = path.find_last_of('/');
    const std::wstring within = FromUtf8Replacing(path.substr(0, folder == path.npos ? 0 : folder));
    const std::wstring name = FromUtf8Replacing(path.substr(folder == path.npos ? 0 : folder + 1));
    if (!isArray) {
        content->Add(within, {name, Variable::LeftOut{"it is no array"}});
        return;
    }
    try {
        const auto bytes = StretchBytes(entry.packed, entry.packing, entry.crc);
        const std::uint64_t most = bytes->open()->Most();
        NpyArray array = ReadNpyArray(bytes, std::min(entry.size, most), name);
        const std::wstring& scope = array.hasFields ? (within.empty() ? name : within + L"/" + name) : within;
        for (Variable& variable : array.variables) content->Add(scope, std::move(variable));
    } catch (const Error& error) {
        throw Error(error.Kind(), "its array " + Quote(entry.name) + ": " + error.Sentence(), error.Place());
    }
}

// ---- writing: stored, so that each array has its place ----

std::string ArrayHeader(const WrittenVariable& variable, FilePlan* rest, std::size_t run) {
    if (const auto* const number = std::get_if<double>(&variable.value)) {
        rest->AddDouble(*number);
        return NpyHeader("<f8", {});
    }
    if (const auto* const samples = std::get_if<WrittenVariable::Samples>(&variable.value)) {
        rest->AddSamples(*samples, run, true);
        return NpyHeader(samples->isComplex ? "<c16" : "<f8", {static_cast<std::uint64_t>(samples->count)});
    }
    const auto* const text = std::get_if<std::wstring>(&variable.value);
    const std::vector<std::wstring> texts =
        text != nullptr ? std::vector{*text} : std::get<std::vector<std::wstring>>(variable.value);
    std::size_t longest = 1;
    for (const std::wstring& each : texts) longest = std::max(longest, each.size());
    for (const std::wstring& each : texts)
        for (std::size_t i = 0; i < longest; ++i)
            rest->AddNumber(i < each.size() ? static_cast<std::uint32_t>(each[i]) : 0, 4);
    return NpyHeader("<U" + std::to_string(longest), text != nullptr
                                                         ? std::vector<std::uint64_t>()
                                                         : std::vector<std::uint64_t>{texts.size()});
}

class NpzSignalWriter : public VariableWriter {
public:
    NpzSignalWriter(const std::string& path, const std::vector<SignalRun>& runs,
                    const SignalFileOptions& options)
        : VariableWriter(path, runs) {
        FilePlan plan;
        for (const WrittenVariable& variable : VariablesOf(options.text, options.facts))
            AddArray(variable, {}, 0, &plan);
        for (std::size_t r = 0; r < runs.size(); ++r) {
            const std::string folder = runs.size() > 1 ? "run" + std::to_string(r + 1) + "/" : "";
            for (const WrittenVariable& variable : VariablesOf(runs[r], runs.size() > 1))
                AddArray(variable, folder, r, &plan);
        }
        end_ = plan.Size();
        Begin(plan);
    }

protected:
    void Stored(std::size_t place, std::span<const double> numbers) override {
        std::uint32_t& sum = entries_[entryOf_[place]].crc;
        sum = CheckSumOf(std::as_bytes(numbers), sum);
    }

    void Finish(ByteStream& stream) override {
        FilePlan directory;
        AddZipDirectory(entries_, end_, &directory);
        directory.WriteTo(stream, end_);
        for (const ZipRecord& entry : entries_) {
            FilePlan sum;
            sum.AddNumber(entry.crc, 4);
            sum.WriteTo(stream, entry.at + kZipSumAt);
        }
    }

private:
    void AddArray(const WrittenVariable& variable, const std::string& folder, std::size_t run,
                  FilePlan* plan) {
        FilePlan rest, content;
        content.Add(ArrayHeader(variable, &rest, run));
        content.Append(rest);
        MemoryStream bytes;
        content.WriteTo(bytes);
        const std::string name = folder + variable.name + std::string(kEnd);
        entries_.push_back({name, plan->Size(), content.Size(), CheckSumOf(bytes.Bytes())});
        if (!content.Places().empty()) entryOf_.push_back(entries_.size() - 1);
        AddZipHead(entries_.back(), plan);
        plan->Append(content);
    }

    std::vector<ZipRecord> entries_;
    std::vector<std::size_t> entryOf_;  ///< per place of samples
    std::uint64_t end_ = 0;             ///< of the arrays
};

}  // namespace

std::unique_ptr<SignalWriter> CreateNpzSignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    return WithErrors([&] { return std::make_unique<NpzSignalWriter>(path, runs, options); });
}

bool IsNpz(std::string_view begin) {
    constexpr std::size_t kNameBytes = 26;
    constexpr std::size_t kName = 30;
    if (!begin.starts_with("PK\3\4") || begin.size() < kName) return false;
    const std::size_t length = static_cast<unsigned char>(begin[kNameBytes]) +
                               std::size_t{static_cast<unsigned char>(begin[kNameBytes + 1])} * 256;
    return begin.substr(kName).size() >= length && begin.substr(kName, length).ends_with(kEnd);
}

std::unique_ptr<RecordingReader> OpenNpzFile(std::unique_ptr<ByteStream> stream) {
    const std::uint64_t size = stream->Remaining();
    const ByteStretch whole{std::shared_ptr<ByteStream>(std::move(stream)), 0, size};
    NpzContent content;
    for (const ZipEntry& entry : ReadZipDirectory(whole)) AddEntry(entry, &content);
    return MakeVariableReader(content.stock.Scopes(), {});
}

}  // namespace kvx
