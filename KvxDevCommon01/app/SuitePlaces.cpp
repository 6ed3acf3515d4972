// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/app/SuitePlaces.h>

#include <filesystem>
#include <system_error>

#include <KvxDevCommon01/app/AppFunc.h>
#include <KvxDevCommon01/platform/Path.h>
#include <KvxDevCommon01/platform/Text.h>

namespace kvx {
namespace {

struct PlaceRow {
    std::string_view name;
    std::string_view key;
    int (*find)(CString* path);
};

constexpr PlaceRow kPlaces[] = {
    {"suite", "suite", CAppFunc::GetKvxDir},
    {"programs", "programs", [](CString* path) { return CAppFunc::GetKvxQ7Dir(path, 0); }},
    {"programs, first generation", "programsFirst",
     [](CString* path) { return CAppFunc::GetKvxQ7Dir1st(path, 0); }},
    {"data", "data", [](CString* path) { return CAppFunc::GetQ7DataDir(path, 0); }},
    {"test definitions", "testDefinitions", CAppFunc::GetInitTestDefDir},
    {"settings", "settings", CAppFunc::GetQ7IniPath},
    {"path settings", "pathSettings", CAppFunc::GetKvxPathConfigIniPath},
};

SuitePlace Find(const PlaceRow& row) {
    SuitePlace place = {row.name, row.key, std::nullopt, false};
    CString path;
    if (!row.find(&path)) return place;
    const std::optional<std::string> hostPath = HostPath(path);
    std::error_code ignored;
    place.path = hostPath ? *hostPath : ToUtf8(path);
    place.exists = hostPath && std::filesystem::exists(*hostPath, ignored);
    return place;
}

}  // namespace

std::vector<SuitePlace> SuitePlaces() {
    std::vector<SuitePlace> places;
    for (const PlaceRow& row : kPlaces) places.push_back(Find(row));
    return places;
}

}  // namespace kvx
