// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/VariableWriter.h>

#include <algorithm>
#include <bit>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/detail/HostErrors.h>

namespace kvx {

void FilePlan::Add(std::string_view bytes) {
    if (pieces_.empty() || pieces_.back().first + pieces_.back().second.size() != size_)
        pieces_.emplace_back(size_, "");
    pieces_.back().second += bytes;
    size_ += bytes.size();
}

void FilePlan::AddNumber(std::uint64_t number, std::size_t size) {
    Add(LittleEndian(number, size));
}

void FilePlan::AddDouble(double number) {
    AddNumber(std::bit_cast<std::uint64_t>(number), sizeof(number));
}

void FilePlan::AddSamples(const WrittenVariable::Samples& samples, std::size_t run, bool isBeside) {
    places_.push_back({samples, run, size_});
    const std::size_t parts = samples.isComplex && isBeside ? 2 : 1;
    size_ += static_cast<std::uint64_t>(samples.count) * parts * sizeof(double);
}

void FilePlan::AddImaginary() {
    places_.back().imaginaryAt = size_;
    size_ += static_cast<std::uint64_t>(places_.back().samples.count) * sizeof(double);
}

void FilePlan::Append(const FilePlan& part) {
    for (const auto& [at, bytes] : part.pieces_) pieces_.emplace_back(size_ + at, bytes);
    for (SamplePlaces place : part.places_) {
        place.at += size_;
        if (place.imaginaryAt) *place.imaginaryAt += size_;
        places_.push_back(place);
    }
    size_ += part.size_;
}

void FilePlan::Fill(std::size_t size) {
    Add(std::string((size - size_ % size) % size, '\0'));
}

void FilePlan::WriteTo(ByteStream& stream, std::uint64_t begin) const {
    for (const auto& [at, bytes] : pieces_) {
        stream.Seek(begin + at);
        stream.Write(bytes.data(), bytes.size());
    }
}

VariableWriter::VariableWriter(const std::string& path, const std::vector<SignalRun>& runs)
    : runs_(runs), done_(runs.size(), 0), file_(WidePath(path)) {
    if (runs.empty()) throw Error(ErrorKind::kBadValue, "there are no channels or no samples to write");
    for (const SignalRun& run : runs) written_.emplace_back(run);
}

void VariableWriter::Begin(const FilePlan& plan) {
    places_ = plan.Places();
    file_.Expect(plan.Size());
    plan.WriteTo(file_);
}

void VariableWriter::Write(std::size_t run, std::span<double* const> columns, std::size_t count) {
    RequireRun(run, runs_.size());
    written_[run].Add(0, columns, count);
    ToStored(runs_[run], columns, count);
    WithErrors([&] {
        for (std::size_t place = 0; place < places_.size(); ++place)
            if (places_[place].run == run && count > 0) WritePlace(place, columns, count);
    });
    done_[run] += static_cast<__int64>(count);
}

void VariableWriter::WritePlace(std::size_t place, std::span<double* const> columns, std::size_t count) {
    const SamplePlaces& places = places_[place];
    const auto& [column, isComplex, isEvenAxis, all] = places.samples;
    const auto done = static_cast<std::uint64_t>(done_[places.run]);
    const bool isBeside = isComplex && !places.imaginaryAt;
    const auto put = [&](std::uint64_t at) {
        ToLittleEndian(std::span(numbers_));
        Stored(place, numbers_);
        file_.Seek(at + done * sizeof(double) * (isBeside ? 2 : 1));
        file_.Write(numbers_.data(), numbers_.size() * sizeof(double));
    };
    if (isEvenAxis) {
        const SignalRun& run = runs_[places.run];
        numbers_.resize(count);
        for (std::size_t i = 0; i < count; ++i)
            numbers_[i] =
                static_cast<double>(run.offset + done_[places.run] + static_cast<__int64>(i)) * run.delta;
    } else if (isBeside) {
        numbers_.resize(2 * count);
        for (std::size_t i = 0; i < count; ++i) {
            numbers_[2 * i] = columns[column][i];
            numbers_[2 * i + 1] = columns[column + 1][i];
        }
    } else {
        numbers_.assign(columns[column], columns[column] + count);
    }
    put(places.at);
    if (!places.imaginaryAt) return;
    numbers_.assign(columns[column + 1], columns[column + 1] + count);
    put(*places.imaginaryAt);
}

void VariableWriter::Commit() {
    for (const WrittenRun& written : written_) written.RequireAll();
    WithErrors([&] {
        Finish(file_);
        file_.Commit();
    });
}

}  // namespace kvx
