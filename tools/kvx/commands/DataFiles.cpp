// SPDX-License-Identifier: MIT
#include "commands/DataFiles.h"

#include <string>
#include <utility>

#include "cli/Failure.h"
#include "cli/Options.h"
#include "cli/StandardStreams.h"

namespace kvx::tool {

DataFileContent LoadDataFile(const std::string& path) {
    return kvx::LoadDataFile(WidePath(InputPath(path)));
}

void StoreDataFile(const std::string& path, const std::wstring& text, std::vector<CComDataBase> records) {
    const DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, text.c_str()), std::move(records)};
    for (std::size_t r = 0; r < content.records.size(); ++r) RequireAxis(content.records[r], r);
    OutputTarget target(path);
    kvx::StoreDataFile(WidePath(target.Path()), content);
    target.Deliver();
}

void StoreDataFile(const std::string& path, const std::wstring& text, CComDataBase record) {
    std::vector<CComDataBase> records;
    records.push_back(std::move(record));
    StoreDataFile(path, text, std::move(records));
}

void AddChannelOptions(Command command, ChannelOptions* options) {
    command
        .AddOption("--channels", options->channels,
                   "Channels by name, number or range of numbers as 'kvx info' shows them: 1,3-4,top")
        .Type("LIST");
    command.AddOption("--record", options->record, "Only the channels of this record, counted from 1")
        .Type("N")
        .Check(WholeNumber(1, 1'000'000));
}

}  // namespace kvx::tool
