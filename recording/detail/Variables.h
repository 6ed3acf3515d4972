// SPDX-License-Identifier: MIT
//
// Named arrays, numbers and texts as MATLAB and NumPy keep them, and how they become runs: which of them are
// samples, what states their axis, their names and their units. WrittenVariables.h names what is written
// alike.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <KvxRecording01/Recording.h>
#include <KvxRecording01/detail/ByteCursor.h>
#include <KvxRecording01/detail/NumberBytes.h>

namespace kvx {

/// Bytes that arrays lie in, read from their start.
struct ArrayBytes {
    std::function<std::unique_ptr<ByteCursor>()> open;
};
std::shared_ptr<const ArrayBytes> StretchBytes(const ByteStretch& stretch, Packing packing,
                                               std::optional<std::uint32_t> crc = std::nullopt);

/// An array of numbers with rows and columns. Number (r, c) begins at start + r * steps[0] + c * steps[1].
struct StoredArray {
    struct Part {
        NumberType type = {};
        std::uint64_t start = 0;
        std::array<std::uint64_t, 2> steps = {};
    };

    std::shared_ptr<const ArrayBytes> bytes;
    std::array<std::uint64_t, 2> counts = {1, 1};  ///< of rows and columns
    std::vector<Part> parts = {};                  ///< real, and imaginary where it is complex
    bool areRowsSamples = false;  ///< whether samples are known to follow one another in rows

    std::uint64_t Size() const { return counts[0] * counts[1]; }
};

struct Variable {
    using Texts = std::vector<std::wstring>;
    /// Why it becomes nothing: "it is sparse".
    struct LeftOut {
        std::string why;
    };

    using Value = std::variant<StoredArray, Texts, LeftOut>;

    std::wstring name = {};
    Value value = LeftOut{};
};

/// Variables that belong together: those of a file, of a structure in it, of a folder.
struct VariableScope {
    std::wstring name = {};  ///< empty for those of the file
    std::vector<Variable> variables = {};
};

/// The variables of a file as they are found. What they take is bounded for all of them together, as a few
/// packed bytes can state any number of variables and texts.
class VariableStock {
public:
    static constexpr std::size_t kOuter = 0;  ///< the scope of the file

    /// Its number, by which variables are added to it.
    std::size_t AddScope(std::wstring name);
    /// Takes a variable; a text too many is left out with a word. Throws Error for a variable too many.
    void Add(std::size_t scope, Variable variable);
    const std::vector<VariableScope>& Scopes() const { return scopes_; }

private:
    void CountOne();

    std::vector<VariableScope> scopes_ = std::vector<VariableScope>(1);
    std::size_t count_ = 0;  ///< of variables and scopes
    std::size_t texts_ = 0;  ///< the bytes that all texts take
};

/// The shape of an array of any dimensions: rows and columns, dimensions of 1 taken out. What is not one of
/// these is said: "it is empty".
struct ArrayShape {
    std::array<std::uint64_t, 2> counts = {1, 1};
    std::string leftOut = {};
};
ArrayShape ShapeOf(std::vector<std::uint64_t> dimensions);

/// The bytes from one row and one column to the next of numbers that lie `step` bytes apart.
std::array<std::uint64_t, 2> StepsOf(const ArrayShape& shape, std::uint64_t step, bool isByRows);

/// The bytes of so many numbers; the largest number where that overflows.
std::uint64_t BytesOf(const std::vector<std::uint64_t>& dimensions, std::uint64_t step);

/// Of all columns of a run together, that are read before the next ones.
inline constexpr std::size_t kSamplesAtOnce = std::size_t{1} << 14;

/// Makes runs of the variables: arrays of one length in one scope become channels of one run. With `isBare`
/// each array holds samples, be it only one, as no number beside it states anything. `info` holds what is
/// known of the file besides. Throws Error when there are no arrays, or one cannot be read.
std::unique_ptr<RecordingReader> MakeVariableReader(const std::vector<VariableScope>& scopes,
                                                    RecordingInfo info, bool isBare = false);

}  // namespace kvx
