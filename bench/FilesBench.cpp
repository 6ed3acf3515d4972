// SPDX-License-Identifier: MIT
//
// Storing and loading one record of 64 MiB: through memory, where the archive's own cost shows, and as a
// whole file in the temporary folder, durable on return; and reading that file block by block.
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace {

constexpr __int64 kChannels = 8;
constexpr __int64 kSamples = 1 << 20;
constexpr std::int64_t kBytes = kChannels * kSamples * 8;

CComDataWave Recording() {
    CComDataWave wave(1.0 / 51200.0, kChannels, 1, kSamples, 0, CUnitCtrl(CUnitCtrl::DIM_ACCELERATION),
                      nullptr, nullptr);
    for (__int64 row = 0; row < kChannels; ++row) {
        double* samples = wave.GetReal(row, 0);
        for (__int64 i = 0; i < kSamples; ++i) samples[i] = static_cast<double>(i % 1000);
    }
    return wave;
}

/// Delivers bytes that stay where they are.
class ViewStream final : public kvx::ByteStream {
public:
    explicit ViewStream(std::span<const std::byte> bytes) : rest_(bytes) {}
    std::size_t Read(void* data, std::size_t size) override {
        const std::size_t count = std::min(size, rest_.size());
        std::memcpy(data, rest_.data(), count);
        rest_ = rest_.subspan(count);
        return count;
    }
    void Write(const void*, std::size_t) override {}
    std::uint64_t Remaining() const override { return rest_.size(); }

private:
    std::span<const std::byte> rest_;
};

void BM_StoreRecordToMemory(benchmark::State& state) {
    const CComDataWave wave = Recording();
    for (auto _ : state) {
        kvx::MemoryStream stream;
        CArchive archive(stream, CArchive::store);
        wave.Store(archive);
        benchmark::DoNotOptimize(stream.Bytes().data());
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(BM_StoreRecordToMemory)->Unit(benchmark::kMillisecond);

void BM_LoadRecordFromMemory(benchmark::State& state) {
    kvx::MemoryStream stored;
    CArchive writer(stored, CArchive::store);
    Recording().Store(writer);
    for (auto _ : state) {
        ViewStream stream(stored.Bytes());
        CArchive archive(stream, CArchive::load);
        CComDataBase record;
        record.Serialize(archive);
        if (!record.Check()) state.SkipWithError("the record did not load");
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK(BM_LoadRecordFromMemory)->Unit(benchmark::kMillisecond);

class WholeFile : public benchmark::Fixture {
public:
    void SetUp(const benchmark::State&) override {
        content_.header.SetExtInfoType(CComHdr::EXT_INFO_RANDOM_DATA);
        content_.records.push_back(Recording());
        path_ = (std::filesystem::temp_directory_path() / "kvx-files-bench.vdf2").wstring();
        CComDataFile::StoreDataFile(path_.c_str(), content_);
    }
    void TearDown(const benchmark::State&) override {
        content_ = kvx::DataFileContent();
        std::filesystem::remove(path_);
    }

protected:
    kvx::DataFileContent content_;
    std::wstring path_;
};

BENCHMARK_DEFINE_F(WholeFile, BM_Store)(benchmark::State& state) {
    for (auto _ : state) {
        if (!CComDataFile::StoreDataFile(path_.c_str(), content_))
            state.SkipWithError("the file was not stored");
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK_REGISTER_F(WholeFile, BM_Store)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_DEFINE_F(WholeFile, BM_Load)(benchmark::State& state) {
    for (auto _ : state) {
        kvx::DataFileContent loaded;
        if (!CComDataFile::LoadDataFile(path_.c_str(), &loaded)) state.SkipWithError("the file did not load");
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK_REGISTER_F(WholeFile, BM_Load)->Unit(benchmark::kMillisecond)->UseRealTime();

/// All channels side by side, in the blocks of a program that streams.
BENCHMARK_DEFINE_F(WholeFile, BM_ReadBlocks)(benchmark::State& state) {
    constexpr __int64 kBlock = 1 << 14;
    std::vector<double> block(kBlock);
    for (auto _ : state) {
        kvx::DataFileReader file(path_);
        for (__int64 start = 0; start < kSamples; start += kBlock) {
            for (__int64 row = 0; row < kChannels; ++row) file.ReadReal({0, row, 0, start}, block);
        }
    }
    state.SetBytesProcessed(state.iterations() * kBytes);
}
BENCHMARK_REGISTER_F(WholeFile, BM_ReadBlocks)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
