// SPDX-License-Identifier: MIT
//
// What the host refuses, as an Error.
#pragma once

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace kvx {

/// Runs `action` and returns its result; a CFileException becomes an Error.
template <typename Action>
decltype(auto) WithErrors(Action&& action) {
    try {
        return action();
    } catch (const CFileException& refusal) {
        throw Error(refusal);
    }
}

}  // namespace kvx
