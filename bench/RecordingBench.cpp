// SPDX-License-Identifier: MIT
//
// Reading recordings of binary formats, from the page cache to samples in the standard unit, beside a plain
// read of the same bytes. A file holds 10^8 numbers in the temporary folder.
#include <KvxDevCommon01/platform/File.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxRecording01/SignalReader.h>
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

constexpr std::uint64_t kSamples = 100'000'000;

/// The bytes of numbers, which lie as the host has them.
class Bytes {
public:
    template <typename Number>
    Bytes& Add(Number number) {
        char bytes[sizeof number];
        std::memcpy(bytes, &number, sizeof number);
        text_.append(bytes, sizeof number);
        return *this;
    }
    Bytes& Text(const std::string& text) {
        text_ += text;
        return *this;
    }
    Bytes& Counted(const std::string& text) {
        return Add(static_cast<std::uint32_t>(text.size())).Text(text);
    }
    const std::string& View() const { return text_; }

private:
    std::string text_;
};

struct Element {
    std::string npy;
    std::uint32_t tdms;
    std::uint32_t mat;
    std::uint32_t matClass;
    std::uint32_t bytes;
    std::uint16_t wav;
};
const Element kInt16 = {"<i2", 2, 3, 10, 2, 1};
const Element kInt32 = {"<i4", 3, 5, 12, 4, 1};
const Element kSingle = {"<f4", 9, 7, 7, 4, 3};
const Element kReal = {"<f8", 10, 9, 6, 8, 3};

/// What stands in front of the numbers of a file and behind them.
struct Frame {
    std::string front;
    std::string back = {};
};

Frame Tdms(const Element& element, std::uint32_t channels, bool isInterleaved) {
    Bytes meta;
    meta.Add(channels);
    for (std::uint32_t c = 0; c < channels; ++c) {
        meta.Counted("/'g'/'c" + std::to_string(c) + "'").Add(std::uint32_t{20}).Add(element.tdms);
        meta.Add(std::uint32_t{1}).Add(kSamples / channels).Add(std::uint32_t{1});
        meta.Counted("wf_increment").Add(std::uint32_t{10}).Add(1e-4);
    }
    Bytes lead;
    lead.Text("TDSm").Add(std::uint32_t{isInterleaved ? 46U : 14U}).Add(std::uint32_t{4713});
    lead.Add(meta.View().size() + kSamples * element.bytes).Add(std::uint64_t{meta.View().size()});
    return {lead.View() + meta.View()};
}

Frame Npy(const Element& element) {
    std::string text = "{'descr': '" + element.npy + "', 'fortran_order': False, 'shape': (" +
                       std::to_string(kSamples) + ",), }";
    text.resize(117, ' ');
    return {
        Bytes().Text("\x93NUMPY\1" + std::string(1, '\0')).Add(std::uint16_t{118}).Text(text + "\n").View()};
}

Frame Wav(const Element& element) {
    const auto bytes = static_cast<std::uint32_t>(kSamples * element.bytes);
    Bytes front;
    front.Text("RIFF").Add(bytes + 36).Text("WAVEfmt ").Add(std::uint32_t{16}).Add(element.wav);
    front.Add(std::uint16_t{1}).Add(std::uint32_t{10000}).Add(10000 * element.bytes);
    front.Add(static_cast<std::uint16_t>(element.bytes)).Add(static_cast<std::uint16_t>(8 * element.bytes));
    return {front.Text("data").Add(bytes).View()};
}

Frame Sac(const Element&) {
    Bytes front;
    for (int i = 0; i < 70; ++i) front.Add(i == 0 ? 1e-4F : -12345.0F);
    for (int i = 0; i < 40; ++i) {
        const bool isOne = i == 15 || i == 35;
        front.Add(i == 6 ? 6 : i == 9 ? static_cast<std::int32_t>(kSamples) : isOne ? 1 : -12345);
    }
    std::string texts;
    for (int i = 0; i < 24; ++i) texts += "-12345  ";
    return {front.Text(texts).View()};
}

Frame Mat(const Element& element) {
    std::string text = "MATLAB 5.0 MAT-file";
    text.resize(124, ' ');
    const auto bytes = static_cast<std::uint32_t>(kSamples * element.bytes);
    Bytes front;
    front.Text(text).Add(std::uint16_t{0x0100}).Text("IM").Add(std::uint32_t{14}).Add(bytes + 56);
    front.Add(std::uint32_t{6}).Add(std::uint32_t{8}).Add(element.matClass).Add(std::uint32_t{0});
    front.Add(std::uint32_t{5}).Add(std::uint32_t{8}).Add(static_cast<std::uint32_t>(kSamples));
    front.Add(std::uint32_t{1}).Add(std::uint32_t{1}).Add(std::uint32_t{1}).Text("a");
    front.Text(std::string(7, '\0')).Add(element.mat).Add(bytes);
    return {front.View()};
}

/// Numbers that all types hold, a piece at a time.
template <typename Number>
void WriteNumbers(const std::function<void(const std::string&)>& write) {
    std::vector<Number> numbers(1 << 16);
    for (std::uint64_t done = 0; done < kSamples; done += numbers.size()) {
        numbers.resize(std::min<std::uint64_t>(numbers.size(), kSamples - done));
        for (std::size_t i = 0; i < numbers.size(); ++i)
            numbers[i] = static_cast<Number>(static_cast<int>((done + i) * 7919 % 65521) - 32760);
        write(std::string(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(Number)));
    }
}

void WriteNumbers(const Element& element, const std::function<void(const std::string&)>& write) {
    if (element.bytes == 2) return WriteNumbers<std::int16_t>(write);
    if (element.bytes == 8) return WriteNumbers<double>(write);
    element.tdms == kSingle.tdms ? WriteNumbers<float>(write) : WriteNumbers<std::int32_t>(write);
}

/// An archive of one array, stored as it is.
Frame Npz(const Element& element) {
    const std::string header = Npy(element).front;
    auto sum =
        static_cast<std::uint32_t>(crc32_z(0, reinterpret_cast<const Bytef*>(header.data()), header.size()));
    WriteNumbers(element, [&](const std::string& bytes) {
        sum = static_cast<std::uint32_t>(
            crc32_z(sum, reinterpret_cast<const Bytef*>(bytes.data()), bytes.size()));
    });
    const auto size = static_cast<std::uint32_t>(header.size() + kSamples * element.bytes);
    Bytes common;
    common.Add(std::uint16_t{20}).Add(std::uint64_t{0}).Add(sum).Add(size).Add(size);
    common.Add(std::uint16_t{5}).Add(std::uint16_t{0});
    const std::string front = Bytes().Text("PK\3\4").Text(common.View()).Text("a.npy" + header).View();
    Bytes back;
    back.Text("PK\1\2").Add(std::uint16_t{20}).Text(common.View()).Text(std::string(14, '\0')).Text("a.npy");
    const auto directory = static_cast<std::uint32_t>(back.View().size());
    back.Text("PK\5\6").Add(std::uint32_t{0}).Add(std::uint16_t{1}).Add(std::uint16_t{1}).Add(directory);
    back.Add(size + static_cast<std::uint32_t>(front.size() - header.size())).Add(std::uint16_t{0});
    return {front, back.View()};
}

class TemporaryFile {
public:
    TemporaryFile(const std::string& end, const Element& element, const Frame& frame)
        : path_((std::filesystem::temp_directory_path() / ("kvx-recording-bench" + end)).string()) {
        kvx::OutputFile file(kvx::WidePath(path_));
        const auto write = [&](const std::string& bytes) { file.Write(bytes.data(), bytes.size()); };
        write(frame.front);
        WriteNumbers(element, write);
        write(frame.back);
        file.Commit();
    }
    ~TemporaryFile() { std::filesystem::remove(path_); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;

    const std::string& Path() const { return path_; }

private:
    std::string path_;
};

void ReadPlainly(const std::string& path) {
    static std::vector<char> buffer(std::size_t{1} << 18);
    kvx::InputFile file(kvx::WidePath(path));
    while (file.Read(buffer.data(), buffer.size()) > 0) benchmark::DoNotOptimize(buffer.data());
}

void ReadSamples(const std::string& path) {
    constexpr std::size_t kBlock = std::size_t{1} << 16;  // of all channels
    kvx::RecordingStatements stated;
    if (path.find(".np") != path.npos || path.ends_with(".mat")) stated.rateHz = 1e4;
    const auto reader = kvx::OpenSignal(path, {}, stated);
    const std::size_t columns = reader->Runs().front().Columns();
    static std::vector<double> samples(kBlock);
    std::vector<double*> targets;
    for (std::size_t c = 0; c < columns; ++c) targets.push_back(samples.data() + c * (kBlock / columns));
    while (reader->Read(0, targets, kBlock / columns) > 0) benchmark::DoNotOptimize(samples.data());
}

/// Of the processor, on all threads.
double SecondsOf(void (*read)(const std::string&), const std::string& path) {
    const std::clock_t begin = std::clock();
    read(path);
    return static_cast<double>(std::clock() - begin) / CLOCKS_PER_SEC;
}

/// The two take turns, so that a machine that slows down does so for both.
void BM_Read(benchmark::State& state, const std::string& end, const Element& element,
             const std::function<Frame()>& frame) {
    const TemporaryFile file(end, element, frame());
    ReadPlainly(file.Path());
    double plain = 0.0, read = 0.0;
    for (auto _ : state) {
        plain += SecondsOf(ReadPlainly, file.Path());
        const double seconds = SecondsOf(ReadSamples, file.Path());
        read += seconds;
        state.SetIterationTime(seconds);
    }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kSamples));
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(kSamples * element.bytes));
    state.counters["of_plain_read"] = plain / read;
}

void Register(const std::string& name, const std::string& end, const Element& element,
              const std::function<Frame()>& frame) {
    benchmark::RegisterBenchmark(name.c_str(),
                                 [=](benchmark::State& state) { BM_Read(state, end, element, frame); })
        ->Unit(benchmark::kMillisecond)
        ->UseManualTime();
}

}  // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    for (const auto& [name, element] :
         {std::pair("i16", kInt16), {"i32", kInt32}, {"f32", kSingle}, {"f64", kReal}}) {
        const auto frame = [element = element](auto make, auto... more) {
            return [=] { return make(element, more...); };
        };
        Register(std::string("tdms/") + name, ".tdms", element, frame(Tdms, 1U, false));
        Register(std::string("tdms-8-interleaved/") + name, ".tdms", element, frame(Tdms, 8U, true));
        Register(std::string("npy/") + name, ".npy", element, frame(Npy));
        Register(std::string("npz/") + name, ".npz", element, frame(Npz));
        Register(std::string("mat/") + name, ".mat", element, frame(Mat));
        Register(std::string("wav/") + name, ".wav", element, frame(Wav));
    }
    Register("sac/f32", ".sac", kSingle, [] { return Sac(kSingle); });
    benchmark::RunSpecifiedBenchmarks();
}
