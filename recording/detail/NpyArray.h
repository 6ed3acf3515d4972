// SPDX-License-Identifier: MIT
//
// One array as NumPy stores it: a mark, a version, a header in the words of Python, and its numbers.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/detail/Variables.h>

namespace kvx {

struct NpyArray {
    /// One for the array, of the given name, or one for each field of its records.
    std::vector<Variable> variables = {};
    bool hasFields = false;
    std::uint64_t end = 0;  ///< of its numbers, from the start of its bytes
};

/// Reads the header of an array that fills at most `size` bytes. Throws Error.
NpyArray ReadNpyArray(const std::shared_ptr<const ArrayBytes>& bytes, std::uint64_t size,
                      const std::wstring& name);

/// What stands in front of the numbers of an array in order of rows.
std::string NpyHeader(std::string_view type, const std::vector<std::uint64_t>& shape);

}  // namespace kvx
