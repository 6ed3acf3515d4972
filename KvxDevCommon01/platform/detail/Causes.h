// SPDX-License-Identifier: MIT
//
// The table of the causes of CFileException: what each is called and what kind of error it is.
#pragma once

#include <string>

#include <KvxDevCommon01/platform/Error.h>

namespace kvx {

/// A number that is no cause counts as genericException.
ErrorKind KindOfCause(int cause);

/// Why a file operation failed, without the file's name. More exact than the cause where the host's error
/// number tells more: "it is a folder".
std::string SentenceOf(const CFileException& error);

}  // namespace kvx
