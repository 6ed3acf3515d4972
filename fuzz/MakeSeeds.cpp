// SPDX-License-Identifier: MIT
//
// Writes small valid inputs for the fuzz targets, one folder per target: make_seeds FOLDER
#include <cstdio>
#include <filesystem>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

bool Store(const std::filesystem::path& folder, const char* name, CComHdr::EXT_INFO_TYPE kind,
           const CComDataBase& record) {
    std::filesystem::create_directories(folder);
    const kvx::DataFileContent content{CComHdr(kind, L"seed"), {record, record}};
    return CComDataFile::StoreDataFile((folder / name).wstring().c_str(), content) != 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fputs("make_seeds FOLDER\n", stderr);
        return 2;
    }
    const std::filesystem::path dataFiles = std::filesystem::path(argv[1]) / "fuzz_DataFile";
    const CUnitCtrl acceleration(CUnitCtrl::DIM_ACCELERATION);
    const CStringArray names{L"control", L"monitor"};
    const CComDataWave wave(0.001, 2, 1, 4, -1, acceleration, &names, nullptr);
    const CComDataSpecF transfer(0.5, 1, 2, 3, 0, acceleration, nullptr, &names);
    CDataArrayDouble frequencies(3, 0.0);
    frequencies.SetDelta(10.0, 10.0);
    const CComDataSpecG response(1, 1, 0, acceleration, frequencies, nullptr, nullptr);
    const bool isStored = Store(dataFiles, "wave", CComHdr::EXT_INFO_SHOCK_DATA, wave) &&
                          Store(dataFiles, "transfer", CComHdr::EXT_INFO_RANDOM_DATA, transfer) &&
                          Store(dataFiles, "response", CComHdr::EXT_INFO_SINE_DATA, response);
    return isStored ? 0 : 1;
}
