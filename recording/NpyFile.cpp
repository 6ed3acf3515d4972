// SPDX-License-Identifier: MIT
#include <KvxRecording01/NpyFile.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/HostErrors.h>
#include <KvxRecording01/detail/NpyArray.h>
#include <KvxRecording01/detail/SignalFiles.h>
#include <KvxRecording01/detail/WrittenVariables.h>

namespace kvx {
namespace {

/// One array, a row for each sample and a column for each channel.
class NpySignalWriter : public SignalWriter {
public:
    NpySignalWriter(const std::string& path, const SignalRun& run)
        : written_(run), run_(run), file_(WidePath(path)) {
        isComplex_ = std::ranges::any_of(run.channels, &SignalRun::Channel::isComplex);
        const std::string header = NpyHeader(isComplex_ ? "<c16" : "<f8",
                                             {static_cast<std::uint64_t>(run.samples), run.channels.size()});
        file_.Expect(header.size() + static_cast<std::uint64_t>(run.samples) * RowNumbers() * sizeof(double));
        file_.Write(header.data(), header.size());
    }

    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override {
        written_.Add(run, columns, count);
        ToStored(run_, columns, count);
        rows_.assign(RowNumbers() * count, 0.0);
        std::size_t column = 0;
        for (std::size_t c = 0; c < run_.channels.size(); ++c) {
            const std::size_t parts = run_.channels[c].isComplex ? 2 : 1;
            for (std::size_t part = 0; part < parts; ++part, ++column) {
                double* to = rows_.data() + c * (isComplex_ ? 2 : 1) + part;
                for (std::size_t i = 0; i < count; ++i, to += RowNumbers()) *to = columns[column][i];
            }
        }
        ToLittleEndian(std::span(rows_));
        WithErrors([&] { file_.Write(rows_.data(), rows_.size() * sizeof(double)); });
    }

    void Commit() override {
        written_.RequireAll();
        WithErrors([&] { file_.Commit(); });
    }

private:
    std::size_t RowNumbers() const { return run_.channels.size() * (isComplex_ ? 2 : 1); }

    WrittenRun written_;
    SignalRun run_;
    OutputFile file_;
    bool isComplex_ = false;
    std::vector<double> rows_;
};

}  // namespace

std::unique_ptr<RecordingReader> OpenNpyFile(std::unique_ptr<ByteStream> stream) {
    const std::uint64_t size = stream->Remaining();
    const ByteStretch whole{std::shared_ptr<ByteStream>(std::move(stream)), 0, size};
    NpyArray array = ReadNpyArray(StretchBytes(whole, Packing::stored), size, {});
    RecordingInfo info;
    if (array.end < size) {
        info.remarks.push_back("the " + std::to_string(size - array.end) +
                               " bytes behind the array are not read");
    }
    return MakeVariableReader({{{}, std::move(array.variables)}}, std::move(info), true);
}

std::unique_ptr<SignalWriter> CreateNpySignal(const std::string& path, const std::vector<SignalRun>& runs,
                                              const SignalFileOptions& options) {
    const SignalRun& run = SingleRun(runs, "a NumPy file", options.called);
    if (run.isListed || run.axisUnit != CUnitCtrl::DIM_TIME) {
        throw Error(ErrorKind::kUnsupported,
                    "a NumPy file holds no axis, so that only time waveforms become one; choose .npz");
    }
    return WithErrors([&] { return std::make_unique<NpySignalWriter>(path, run); });
}

}  // namespace kvx
