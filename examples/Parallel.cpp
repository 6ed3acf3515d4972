// SPDX-License-Identifier: MIT
//
// The rms of many channels on all cores, stored in a file that is replaced only by a complete one, and what a
// failure tells.
//
// It prints:
//
//     8 channels; no/such/folder/rms.csv: its folder does not exist
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <KvxDevCommon01/Kvx.h>

int main() {
    std::vector<std::vector<double>> channels(8, std::vector<double>(100000));
    for (std::size_t c = 0; c < channels.size(); ++c) {
        for (std::size_t i = 0; i < channels[c].size(); ++i)
            channels[c][i] = static_cast<double>(c + 1) * std::sin(0.01 * static_cast<double>(i));
    }
    std::vector<double> rms(channels.size());
    kvx::ForEachInParallel(channels.size(), [&](std::size_t c) {
        double squares = 0.0;
        for (const double sample : channels[c]) squares += sample * sample;
        rms[c] = std::sqrt(squares / static_cast<double>(channels[c].size()));
    });
    std::string text;
    for (std::size_t c = 0; c < rms.size(); ++c)
        text += std::to_string(c + 1) + "," + kvx::FormatExact(rms[c]) + "\n";

    const auto store = [&](const wchar_t* path) {
        try {
            kvx::OutputFile file(path);
            file.Write(text.data(), text.size());
            file.Commit();
            return std::string();
        } catch (...) {
            return std::string(kvx::Error::Current().what());
        }
    };
    std::printf("%zu channels; %s\n", rms.size(), store(L"no/such/folder/rms.csv").c_str());
    return store(L"rms.csv").empty() && std::abs(rms[7] / rms[0] - 8.0) < 1e-12 ? 0 : 1;
}
