// SPDX-License-Identifier: MIT
//
// Data files as the commands see them, loaded whole, and records that a command has made, in any format.
#pragma once

#include <string>
#include <vector>

#include <KvxDevCommon01/files/DataFileContent.h>

#include "cli/OutputFormat.h"

namespace kvx::tool {

/// Throws Error.
DataFileContent LoadDataFile(const std::string& path);

/// Stores records, in the format of the output, with the free text `text`, of which the header of a data file
/// keeps 257 characters. In a format that has room for one run they must have one axis. Throws Error.
void StoreRecords(const OutputChoice& output, const std::wstring& text, std::vector<CComDataBase> records);
void StoreRecords(const OutputChoice& output, const std::wstring& text, CComDataBase record);

}  // namespace kvx::tool
