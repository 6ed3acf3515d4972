// SPDX-License-Identifier: MIT
//
// Runs written as named variables: the file is laid out first, and the samples of each channel, which lie one
// behind the other, go to their place as they come.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/File.h>
#include <KvxRecording01/detail/SignalFiles.h>
#include <KvxRecording01/detail/WrittenVariables.h>

namespace kvx {

/// Where samples lie, as doubles.
struct SamplePlaces {
    WrittenVariable::Samples samples;
    std::size_t run = 0;
    std::uint64_t at = 0;                                     ///< of the first (real) number
    std::optional<std::uint64_t> imaginaryAt = std::nullopt;  ///< none where each follows its real part
};

/// The bytes of a file, or of a part of it, with room left for samples.
class FilePlan {
public:
    void Add(std::string_view bytes);
    /// A number of `size` bytes, the lowest first.
    void AddNumber(std::uint64_t number, std::size_t size);
    void AddDouble(double number);
    /// Leaves room for samples: of complex ones for the real parts, or with `isBeside` for both parts of
    /// each.
    void AddSamples(const WrittenVariable::Samples& samples, std::size_t run, bool isBeside);
    /// Leaves room for the imaginary parts of the samples before.
    void AddImaginary();
    void Append(const FilePlan& part);
    /// Zeros up to a multiple of `size`.
    void Fill(std::size_t size);

    std::uint64_t Size() const { return size_; }
    const std::vector<SamplePlaces>& Places() const { return places_; }
    /// Writes all but the samples from this byte of the stream on.
    void WriteTo(ByteStream& stream, std::uint64_t begin = 0) const;

private:
    std::vector<std::pair<std::uint64_t, std::string>> pieces_;
    std::vector<SamplePlaces> places_;
    std::uint64_t size_ = 0;
};

class VariableWriter : public SignalWriter {
public:
    void Write(std::size_t run, std::span<double* const> columns, std::size_t count) override;
    void Commit() override;

protected:
    /// Throws Error.
    VariableWriter(const std::string& path, const std::vector<SignalRun>& runs);
    /// Writes a file of this plan but for its samples.
    void Begin(const FilePlan& plan);
    /// Sees the numbers of the places with this index as they are stored, in their order.
    virtual void Stored(std::size_t, std::span<const double>) {}
    /// Writes what only all samples tell.
    virtual void Finish(ByteStream&) {}

private:
    void WritePlace(std::size_t place, std::span<double* const> columns, std::size_t count);

    std::vector<SignalRun> runs_;
    std::vector<WrittenRun> written_;
    std::vector<__int64> done_;  ///< samples of each run
    std::vector<SamplePlaces> places_;
    OutputFile file_;
    std::vector<double> numbers_;
};

}  // namespace kvx
