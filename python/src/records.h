// SPDX-License-Identifier: MIT
//
// Records in memory and the data files that hold them: kvx.Record and kvx.DataFile.
#pragma once

#include <memory>

#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/files/DataFileContent.h>

#include "arrays.h"

namespace kvx::python {

using RecordPointer = std::shared_ptr<CComDataBase>;
/// What a file holds is shared by all who look at a record of it.
using ContentPointer = std::shared_ptr<DataFileContent>;

/// A header for results of this module.
CComHdr HeaderOf(const std::string& text);

void BindRecords(py::module_& module);

}  // namespace kvx::python
