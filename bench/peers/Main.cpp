// SPDX-License-Identifier: MIT
//
// The library beside others that a program could link instead: scripts/bench.

#include "Loops.h"
#include "Rows.h"

#include <cstdint>
#include <cstring>
#include <map>
#include <utility>

namespace peers {

std::span<const double> Noise(size_t count, unsigned seed) {
    static std::map<std::pair<size_t, unsigned>, Buffer<double>> made;
    Buffer<double>& noise = made[{count, seed}];
    noise.reserve(count);
    std::uint64_t random = 0x9E3779B97F4A7C15U * (seed + 1);
    while (noise.size() < count) {
        random ^= random << 13U;
        random ^= random >> 7U;
        random ^= random << 17U;
        noise.push_back(static_cast<double>(static_cast<std::int64_t>(random)) * 0x1p-63);
    }
    return noise;
}

std::string SizeName(size_t count) {
    if (count % 1048576 == 0) return std::to_string(count / 1048576) + "M";
    return count % 1024 == 0 ? std::to_string(count / 1024) + "K" : std::to_string(count);
}

/// P: what one core can do. How fast memcpy moves a number of bytes, read and written together, and how many
/// multiplications and additions there are when none waits for another.
void AddLimits() {
    for (size_t bytes = 1U << 14; bytes <= 1U << 28; bytes *= 4) {
        const auto count = static_cast<double>(bytes) / 16;
        AddRow("P.copy." + std::to_string(bytes), "limit", {count, 16 * count, 0}, [bytes] {
            return [bytes, from = NoiseBuffer(bytes / 16), to = Buffer<double>(bytes / 16)]() mutable {
                std::memcpy(to.data(), from.data(), bytes / 2);
            };
        });
    }
    double x = 0.5;
    AddRow("P.flops", "limit", {0, 0, native::kLoops.multiplyAdd(&x)},
           [] { return [x = 0.5]() mutable { native::kLoops.multiplyAdd(&x); }; });
}

}  // namespace peers

int main(int argc, char** argv) {
    peers::AddLimits();
    peers::AddTransforms();
    peers::AddArrays();
    peers::AddStreams();
    peers::AddStorage();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
