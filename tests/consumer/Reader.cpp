// SPDX-License-Identifier: MIT
//
// A program that reads a text table with the installed recording library: reader FILE
#include <cstdio>
#include <exception>
#include <vector>

#include <KvxRecording01/TextTable.h>

int main(int argumentCount, char** arguments) {
    if (argumentCount != 2) return 2;
    try {
        const auto reader = kvx::OpenTextTable(kvx::OpenTextFile(arguments[1]), {});
        const kvx::RecordingInfo::Run& run = reader->Info().runs.front();
        std::vector<double> samples(run.channels.size() * static_cast<std::size_t>(run.samples));
        std::vector<double*> targets;
        for (std::size_t c = 0; c < run.channels.size(); ++c)
            targets.push_back(&samples[c * static_cast<std::size_t>(run.samples)]);
        reader->Read(0, targets, static_cast<std::size_t>(run.samples));
        std::printf("%zu channels, the last sample is %g\n", run.channels.size(), samples.back());
        return samples.back() == 4.5 ? 0 : 1;
    } catch (const std::exception& error) {
        std::printf("%s\n", error.what());
        return 1;
    }
}
