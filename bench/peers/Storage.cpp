// SPDX-License-Identifier: MIT
//
// W10: values appended one by one to a container that is made and destroyed. W11: a matrix of 64 MiB to a
// file (without waiting for the disk), to memory, and back. The file lies in the system's temporary folder.

#include "Rows.h"

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/HandleStream.h>

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <utility>

namespace peers {
namespace {

/// `put(container, value)` appends. Memory is given back to the system first, so that every run pays for its
/// pages.
void AddAppending(const std::string& peer, auto make, auto put) {
    for (const auto& [name, count] :
         {std::pair("W10.append.1K", 1000), std::pair("W10.append.16M", 16000000)}) {
        const auto row = [=, n = count] {
            return [=] {
                if (n > 100000) ::malloc_trim(0);
                auto container = make(static_cast<size_t>(n));
                double value = 0.5;
                for (int i = 0; i < n; ++i) {
                    benchmark::DoNotOptimize(value);
                    put(container, value);
                }
                benchmark::DoNotOptimize(container);
            };
        };
        AddRow(name, peer, {static_cast<double>(count), 8.0 * count, 0}, row);
    }
}

void AddContainers() {
    const auto pushBack = [](auto& container, double value) { container.push_back(value); };
    AddAppending(
        "kvx", [](size_t) { return CDataArrayDouble(); },
        [](auto& array, double value) { array.Append(value); });
    AddAppending(
        "std-vector", [](size_t) { return std::vector<double>(); }, pushBack);
    AddAppending(
        "std-deque", [](size_t) { return std::deque<double>(); }, pushBack);
    const auto reserved = [](size_t count) {
        std::vector<double> vector;
        vector.reserve(count);
        return vector;
    };
    AddAppending("std-vector-reserve", reserved, pushBack);
    struct Block {
        double* data = nullptr;
        size_t used = 0, room = 0;
        ~Block() { std::free(data); }
    };
    AddAppending(
        "c-realloc", [](size_t) { return Block(); },
        [](Block& block, double value) {
            if (block.used == block.room) {
                block.room = block.room == 0 ? 1024 : 2 * block.room;
                block.data = static_cast<double*>(std::realloc(block.data, block.room * sizeof(double)));
            }
            block.data[block.used++] = value;
        });
}

constexpr size_t kRows = 2048, kColumns = 4096, kCount = kRows * kColumns, kBytes = kCount * sizeof(double);

/// A file that disappears with the program.
const std::string& Path() {
    static const struct File {
        std::string path = std::filesystem::temp_directory_path() / ("peers-" + std::to_string(::getpid()));
        ~File() { std::remove(path.c_str()); }
    } file;
    return file.path;
}

/// A descriptor of it.
struct Descriptor {
    explicit Descriptor(int flags) : number(::open(Path().c_str(), flags, 0644)) {
        Require(number >= 0, "file");
    }
    ~Descriptor() { ::close(number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number;
};
constexpr int kNewFile = O_CREAT | O_TRUNC | O_WRONLY;

/// What others store and load: one run of numbers.
struct Run {
    Buffer<double> loaded = Buffer<double>(kCount);
    const char* stored = reinterpret_cast<const char*>(Noise(kCount).data());

    char* Loaded() { return reinterpret_cast<char*>(loaded.data()); }
    const double* Row(size_t row) const { return loaded.data() + row * kColumns; }
};

struct Stdio : Run {
    struct Closing {
        void operator()(std::FILE* file) const { std::fclose(file); }
    };
    using File = std::unique_ptr<std::FILE, Closing>;
    void Store() { std::fwrite(stored, 1, kBytes, File(std::fopen(Path().c_str(), "wb")).get()); }
    void Load() {
        Require(std::fread(Loaded(), 1, kBytes, File(std::fopen(Path().c_str(), "rb")).get()) == kBytes,
                "file");
    }
};

struct Fstream : Run {
    void Store() { std::ofstream(Path(), std::ios::binary).write(stored, kBytes); }
    void Load() { std::ifstream(Path(), std::ios::binary).read(Loaded(), kBytes); }
};

struct Posix : Run {
    template <class Bytes>
    static void Whole(ssize_t (*move)(int, Bytes*, size_t), int flags, Bytes* bytes) {
        const Descriptor file(flags);
        for (size_t done = 0; done < kBytes;) {
            const ssize_t count =
                move(file.number, static_cast<char*>(const_cast<void*>(bytes)) + done, kBytes - done);
            Require(count > 0, "file");
            done += static_cast<size_t>(count);
        }
    }
    void Store() { Whole<const void>(::write, kNewFile, stored); }
    void Load() { Whole<void>(::read, O_RDONLY, Loaded()); }
};

struct Vector : Run {
    std::vector<char> bytes;
    void Store() { bytes = std::vector<char>(stored, stored + kBytes); }
    void Load() { std::copy_n(bytes.data(), kBytes, Loaded()); }
};

/// A record of our data files.
struct Record {
    CComDataBase stored{1e-3,
                        kRows,
                        1,
                        kColumns,
                        0,
                        0,
                        CUnitCtrl(CUnitCtrl::DIM_TIME),
                        CUnitCtrl(CUnitCtrl::DIM_ACCELERATION),
                        nullptr,
                        nullptr};
    CComDataBase loaded;

    Record() {
        for (size_t row = 0; row < kRows; ++row)
            std::ranges::copy(Noise(kCount).subspan(row * kColumns, kColumns),
                              stored.GetReal(static_cast<__int64>(row), 0));
    }
    void StoreTo(kvx::ByteStream& stream) {
        CArchive archive(stream, CArchive::store);
        stored.Store(archive);
        archive.Flush();
    }
    void LoadFrom(kvx::ByteStream& stream) {
        CArchive archive(stream, CArchive::load);
        loaded.Serialize(archive);
    }
    const double* Row(size_t row) const { return loaded.GetReal(static_cast<__int64>(row), 0); }
};

struct RecordInFile : Record {
    void Store() {
        const Descriptor file(kNewFile);
        kvx::HandleStream stream(file.number, L"record");
        StoreTo(stream);
    }
    void Load() {
        kvx::InputFile stream(std::filesystem::path(Path()).wstring());
        LoadFrom(stream);
    }
};

struct RecordInMemory : Record {
    kvx::MemoryStream bytes;
    void Store() {
        bytes = kvx::MemoryStream();
        StoreTo(bytes);
    }
    void Load() {
        bytes.Seek(0);
        LoadFrom(bytes);
    }
};

template <class Matrix>
void AddMatrix(const std::string& place, const std::string& peer) {
    const Work work{kCount, 2 * kBytes, 0};
    const auto prepare = [](bool isLoading) {
        auto matrix = std::make_shared<Matrix>();
        matrix->Store();
        if (isLoading) matrix->Load();
        for (size_t row = 0; isLoading && row < kRows; ++row)
            Require(std::equal(matrix->Row(row), matrix->Row(row) + kColumns,
                               Noise(kCount).data() + row * kColumns),
                    "matrix");
        ::sync();  // or the first run waits for what other rows have written
        return matrix;
    };
    AddRow("W11.store_" + place + ".64MiB", peer, work,
           [=] { return [matrix = prepare(false)] { matrix->Store(); }; });
    AddRow("W11.load_" + place + ".64MiB", peer, work,
           [=] { return [matrix = prepare(true)] { matrix->Load(); }; });
}

}  // namespace

void AddStorage() {
    AddContainers();
    AddMatrix<RecordInFile>("file", "kvx");
    AddMatrix<Stdio>("file", "stdio");
    AddMatrix<Fstream>("file", "std-fstream");
    AddMatrix<Posix>("file", "posix");
    AddMatrix<RecordInMemory>("mem", "kvx");
    AddMatrix<Vector>("mem", "std-vector");
}

}  // namespace peers
