// SPDX-License-Identifier: MIT
//
// The part of HDF5 that files of MATLAB 7.3 are made of: groups by symbol tables, arrays of numbers, texts
// and references that lie in one piece or in chunks, which may be deflated.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <KvxRecording01/detail/ByteCursor.h>
#include <KvxRecording01/detail/NumberBytes.h>
#include <KvxRecording01/detail/Variables.h>

namespace kvx {

/// A group or an array.
struct Hdf5Object {
    struct Part {
        NumberType type;
        std::uint64_t offset = 0;  ///< in an element
    };

    bool isGroup = false;
    std::uint64_t links = 0;  ///< of a group, for LinksOf: where its members' tree stands
    std::uint64_t names = 0;  ///< and their names
    std::map<std::string, std::string> attributes = {};  ///< those that are texts, and numbers as text
    std::vector<std::uint64_t> dimensions = {};          ///< the slowest first
    std::uint64_t elementBytes = 0;
    std::vector<Part> parts = {};  ///< two of a compound of a real and an imaginary part; none of others
    bool isReference = false;      ///< whether elements are addresses of objects
    std::shared_ptr<const ArrayBytes> bytes = nullptr;  ///< none where there are none
};

class Hdf5File {
public:
    /// A file that begins with its superblock. Throws Error.
    explicit Hdf5File(ByteStretch file);

    std::uint64_t Root() const { return root_; }
    Hdf5Object Object(std::uint64_t address) const;
    /// The members of a group with their addresses.
    std::vector<std::pair<std::string, std::uint64_t>> Members(const Hdf5Object& group) const;

private:
    ByteStretch file_;
    std::uint64_t root_ = 0;
};

}  // namespace kvx
