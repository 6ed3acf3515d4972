// SPDX-License-Identifier: MIT
//
// kvx formats: the formats of recordings.
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

#include <KvxRecording01/Formats.h>

#include "cli/Format.h"
#include "cli/Output.h"
#include "commands/Commands.h"

namespace kvx::tool {
namespace {

using Json = nlohmann::ordered_json;

void RunFormats(bool asJson, ByteStream& out) {
    Json json = Json::array();
    std::string text;
    for (const FormatRow& row : Formats()) {
        Json format = {{"name", row.name}, {"ends", Json::array()}, {"read", row.read}};
        std::string ends;
        for (const std::string_view end : row.ends) {
            if (end.empty()) continue;
            format["ends"].push_back(end);
            ends += (ends.empty() ? "" : ", ") + std::string(end);
        }
        std::vector<std::vector<std::string>> lines = {{"read", std::string(row.read)}};
        if (row.create != nullptr) {
            format["written"] = row.written;
            format["lost"] = LostIn(row);
            lines.push_back({"written", std::string(row.written)});
            lines.push_back({"lost", LostIn(row)});
        }
        json.push_back(format);
        text += std::string(row.name) + " (" + ends + ")\n" + FormatTable({Align::left, Align::left}, lines);
    }
    WriteText(out, asJson ? json.dump(2) + "\n" : text);
}

}  // namespace

void AddFormats(Command app) {
    const auto asJson = std::make_shared<bool>(false);
    Command command = app.AddCommand("formats", "List the formats of recordings that are read and written");
    command.AddFlag("--json", *asJson, "As JSON");
    command.SetFooter(R"(
Of each format: how its file names end, what is read of it, what is written, and what a recording has
that it cannot hold. One without a line for what is written is only read. Facts are what a file tells
of itself besides (places, settings, remarks), as 'kvx info' shows it.
)",
                      R"(
kvx formats --json
)");
    command.OnRun([=](ByteStream& out) { RunFormats(*asJson, out); });
}

}  // namespace kvx::tool
