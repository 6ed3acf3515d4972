// SPDX-License-Identifier: MIT
//
// The commands, one per source file. Each Add... describes its command to the parser; when the command line
// names it,
// `*action` becomes what runs it and prints to the given stream.
#pragma once

#include <functional>

namespace CLI {
class App;
}
namespace kvx {
class ByteStream;
}

namespace kvx::tool {

using Action = std::function<void(ByteStream& out)>;

void AddImport(CLI::App& app, Action* action);
void AddInfo(CLI::App& app, Action* action);
void AddSpectrum(CLI::App& app, Action* action);
void AddPsd(CLI::App& app, Action* action);
void AddXfr(CLI::App& app, Action* action);
void AddFilter(CLI::App& app, Action* action);
void AddExport(CLI::App& app, Action* action);
void AddSynth(CLI::App& app, Action* action);
void AddProfile(CLI::App& app, Action* action);
void AddUnits(CLI::App& app, Action* action);
void AddKinds(CLI::App& app, Action* action);
void AddShowValue(CLI::App& app, Action* action);
void AddFolders(CLI::App& app, Action* action);

}  // namespace kvx::tool
