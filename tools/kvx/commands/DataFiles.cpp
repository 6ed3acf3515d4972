// SPDX-License-Identifier: MIT
#include "commands/DataFiles.h"

#include <memory>
#include <span>
#include <utility>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/SignalRecords.h>
#include <KvxRecording01/SignalRuns.h>

#include "cli/StandardStreams.h"
#include "commands/Signal.h"
#include "commands/SignalWriter.h"

namespace kvx::tool {

DataFileContent LoadDataFile(const std::string& path) {
    return kvx::LoadDataFile(WidePath(InputPath(path)));
}

void StoreRecords(const OutputChoice& output, const std::wstring& text, std::vector<CComDataBase> records) {
    DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), std::move(records)};
    const Format format = RecordingFormatOf(output);
    if (format == Format::dataFile) {
        for (std::size_t r = 0; r < content.records.size(); ++r) RequireAxis(content.records[r], r);
        OutputTarget target(output.name);
        kvx::StoreDataFile(WidePath(target.Path()), content);
        target.Deliver();
        return;
    }
    const std::unique_ptr<SignalReader> reader =
        SignalOfRecords(std::move(content), RowOf(format).hasOneRun, OptionNames());
    const std::unique_ptr<SignalWriter> writer =
        CreateSignal(output.name, format, reader->Runs(), {.text = text, .called = OptionNames()});
    ReadRuns(*reader, [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
        writer->Write(run, columns, count);
    });
    writer->Commit();
}

void StoreRecords(const OutputChoice& output, const std::wstring& text, CComDataBase record) {
    std::vector<CComDataBase> records;
    records.push_back(std::move(record));
    StoreRecords(output, text, std::move(records));
}

}  // namespace kvx::tool
