// SPDX-License-Identifier: MIT
//
// Data files as the commands see them: loading and storing with a reason on failure, and the channels of all
// records under one numbering.
#pragma once

#include <string>
#include <vector>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/files/DataFileContent.h>

#include "cli/Command.h"

namespace kvx::tool {

/// Throws Error.
DataFileContent LoadDataFile(const std::string& path);

/// Stores records as a vibration data file with the free text `text`, of which the header keeps 257
/// characters. Throws Error.
void StoreDataFile(const std::string& path, const std::wstring& text, std::vector<CComDataBase> records);
void StoreDataFile(const std::string& path, const std::wstring& text, CComDataBase record);

/// Which channels a command works on.
using ChannelOptions = ChannelChoice;
void AddChannelOptions(Command command, ChannelOptions* options);

}  // namespace kvx::tool
