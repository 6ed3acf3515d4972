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
    std::uint64_t links = 0;  ///< of a group, for Members: where its members' tree stands
    std::uint64_t names = 0;  ///< and their names
    std::map<std::string, std::string> attributes = {};  ///< those that are texts, and numbers as text
    std::vector<std::uint64_t> dimensions = {};          ///< the slowest first
    std::uint64_t elementBytes = 0;
    std::vector<Part> parts = {};  ///< two of a compound of a real and an imaginary part; none of others
    bool isReference = false;      ///< whether elements are addresses of objects
    std::shared_ptr<const ArrayBytes> bytes = nullptr;  ///< none where there are none
};

/// How many bytes of each kind a file may still turn out to have. They go down with each object that is
/// read, so that objects which lie in one another cannot make much of a small file.
class Hdf5Room {
public:
    explicit Hdf5Room(std::uint64_t fileBytes);

    /// Each throws Error when there is less left: kDamaged for headers, kUnsupported for what one array
    /// needs.
    void TakeHeader(std::uint64_t bytes);
    void TakeStored(std::uint64_t bytes) { Take(&stored_, bytes); }
    void TakeInflated(std::uint64_t bytes) { Take(&inflated_, bytes); }
    void TakeTree(std::uint64_t bytes) { Take(&trees_, bytes); }

private:
    static void Take(std::uint64_t* left, std::uint64_t bytes);

    std::uint64_t headers_;
    std::uint64_t stored_;    ///< of arrays as they stand in the file
    std::uint64_t inflated_;  ///< of chunks once they are inflated
    std::uint64_t trees_;     ///< of the trees of chunks
};

class Hdf5File {
public:
    /// A file that begins with its superblock. Throws Error.
    explicit Hdf5File(ByteStretch file);

    std::uint64_t Root() const { return root_; }
    Hdf5Object Object(std::uint64_t address);
    /// The members of a group with their addresses.
    std::vector<std::pair<std::string, std::uint64_t>> Members(const Hdf5Object& group);

private:
    ByteStretch file_;
    Hdf5Room room_;
    std::uint64_t root_ = 0;
};

}  // namespace kvx
