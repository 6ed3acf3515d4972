// SPDX-License-Identifier: MIT
//
// Writes small valid inputs for the fuzz targets, one folder per target: make_seeds FOLDER
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <KvxDevCommon01/KvxDevCommon01.h>
#include <KvxRecording01/Formats.h>

#include "tests/support/ForeignFiles.h"

namespace {

constexpr auto kOverwrite = std::filesystem::copy_options::overwrite_existing;

/// Settings files: of today, with sixteen data lines in a set, and of the first generation.
bool StoreGraphSettings(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    CGraphInfo info;
    if (!info.StoreGraphInfo((folder / "current").wstring(), nullptr, 0)) return false;
    std::filesystem::copy_file(folder / "current", folder / "line16", kOverwrite);
    std::fstream(folder / "line16", std::ios::in | std::ios::out | std::ios::binary).seekp(640).put(1);
    std::ofstream(folder / "first", std::ios::binary) << "RMOC" << std::string(316 + 864, '\0');
    return true;
}

bool Store(const std::filesystem::path& folder, const char* name, CComHdr::EXT_INFO_TYPE kind,
           const CComDataBase& record) {
    std::filesystem::create_directories(folder);
    const kvx::DataFileContent content{CComHdr(kind, L"seed"), {record, record}};
    return CComDataFile::StoreDataFile((folder / name).wstring().c_str(), content) != 0;
}

/// The name of every unit, alone and in each form of compound.
bool StoreUnitTexts(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const CUnitCtrl hertz(CUnitCtrl::DIM_FREQUENCY);
    CItemInfoList dimensions;
    CUnitCtrl::GetDimList(0, &dimensions);
    CItemInfo dimension;
    int number = 0;
    for (__int64 d = 0; dimensions.GetItem(d, &dimension); ++d) {
        CUnitCtrlList units;
        units.MakeSingleUnitListByDimCode(static_cast<CUnitCtrl::DIM_CODE>(dimension.GetCode()));
        CUnitCtrl unit;
        for (__int64 u = 0; units.GetUnit(u, &unit); ++u) {
            const CUnitCtrl all[] = {unit, CUnitCtrl(unit, hertz, 0), CUnitCtrl(hertz, unit, 1)};
            for (const CUnitCtrl& each : all)
                std::ofstream(folder / std::to_string(++number)) << kvx::ToUtf8(kvx::PlainUnitName(each));
        }
    }
    std::ofstream(folder / "powers") << "(m^2 s^-4)\u00B7\u00B5strain\u207B\u00B9/deg C";
    return number > 0;
}

/// A TDMS file of two channels, side by side in one segment and in rows in the next.
bool StoreTdms(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const auto word = [](std::uint32_t number, std::size_t bytes = 4) {
        std::string text(bytes, '\0');
        for (std::size_t i = 0; i < 4; ++i) text[i] = static_cast<char>(number >> 8 * i);
        return text;
    };
    const auto text = [&](const std::string& of) { return word(static_cast<std::uint32_t>(of.size())) + of; };
    std::string meta = word(2);
    for (const char* const path : {"/'G'/'a'", "/'G'/'b'"}) {
        meta += text(path) + word(20) + word(2) + word(1) + word(2, 8) + word(2);
        meta += text("wf_increment") + word(10) + std::string(6, '\0') + "\xE0\x3F";
        meta += text("unit_string") + word(0x20) + text("g");
    }
    const auto lead = [&](std::uint32_t contents, std::size_t metaBytes) {
        const auto size = static_cast<std::uint32_t>(metaBytes);
        return "TDSm" + word(contents) + word(4713) + word(size + 8, 8) + word(size, 8);
    };
    std::ofstream(folder / "rows", std::ios::binary)
        << lead(0xE, meta.size()) << meta << "12345678" << lead(0x28, 0) << "12345678";
    return true;
}

/// A logger's text of two segments, behind the bytes that choose how a text is read.
bool StoreLogger(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::string text = "LabVIEW Measurement\t\nSeparator\tTab\nX_Columns\tMulti\n***End_of_Header***\n\n";
    for (const char* const rows : {"0\t1\t0\t2\n1\t3\n", "2\t1\t2\t2\n3\t3\t4\t4\n"}) {
        text += "Channels\t2\nSamples\t2\t1\nY_Unit_Label\tg\tN\nDelta_X\t1\t2\n***End_of_Header***\n";
        text += std::string("X_Value\ta\tX_Value\tb\tComment\n") + rows;
    }
    std::ofstream(folder / "logger", std::ios::binary) << std::string(3, '\0') << text;
    return true;
}

void WriteRuns(const std::filesystem::path& path, kvx::Format format, const std::vector<kvx::SignalRun>& runs,
               const kvx::SignalFileOptions& options = {}) {
    const auto writer = kvx::CreateSignalFile(path.string(), format, runs, options);
    for (std::size_t run = 0; run < runs.size(); ++run) {
        double first[] = {0.1, 0.2, 0.3}, second[] = {0.4, 0.5, 0.6};
        double* const columns[] = {first, second};
        writer->Write(run, columns, 3);
    }
    writer->Commit();
}

/// A matrix of level 4 with its name.
std::string Level4(unsigned int type, unsigned int rows, bool isComplex, const std::string& name,
                   std::size_t bytes) {
    std::string text;
    for (const std::size_t number :
         {std::size_t{type}, std::size_t{rows}, std::size_t{1}, std::size_t{isComplex}, name.size() + 1})
        text += static_cast<char>(number) + std::string(3, '\0');
    return text + name + '\0' + std::string(bytes, '\x3F');
}

/// Two channels in each format of sound, whole, floating and with a text.
bool StoreSound(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const kvx::SignalRun run = {1, 0.125, 0, 3, {{L"a", {}, 1}, {L"b", {}, 2}}};
    for (const auto& [name, format] : {std::pair("wav", kvx::Format::wav),
                                       {"rf64", kvx::Format::rf64},
                                       {"wave64", kvx::Format::wave64},
                                       {"aiff", kvx::Format::aiff},
                                       {"au", kvx::Format::au},
                                       {"caf", kvx::Format::caf},
                                       {"flac", kvx::Format::flac}}) {
        kvx::SignalFileOptions options = {L"seed"};
        options.wav.samples = kvx::WavSamples::pcm16;
        WriteRuns(folder / name, format, {run}, options);
        if (format == kvx::Format::flac) continue;
        options.wav.samples = kvx::WavSamples::floating;
        WriteRuns(folder / (std::string(name) + "_float"), format, {run}, options);
    }
    return true;
}

/// Two runs in each format that holds named variables, one of them as a bare array, and the kinds of files
/// that only other programs write.
bool StoreVariableFiles(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    kvx::SignalRun time = {1, 0.5, 1, 3, {{L"a", CUnitCtrl(CUnitCtrl::DIM_ACCELERATION), 1}, {L"b", {}, 2}}};
    kvx::SignalRun lines = {2, 0.5, 0, 3, {{L"c", {}, 3, true}}, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY)};
    for (const auto& [name, format] :
         {std::pair("mat", kvx::Format::mat), {"npz", kvx::Format::npz}, {"npy", kvx::Format::npy}}) {
        std::vector<kvx::SignalRun> runs = {time, lines};
        if (format == kvx::Format::npy) runs.pop_back();
        WriteRuns(folder / name, format, runs, {L"seed"});
    }
    std::string header = "MATLAB 5.0 MAT-file";
    header.resize(116, ' ');
    header += std::string(8, '\0') + std::string("\0\1IM", 4);
    std::ofstream(folder / "mat_compressed", std::ios::binary)
        << header << kvx::test::FromBase64(kvx::test::kCompressedVariables);
    std::ofstream(folder / "mat73", std::ios::binary) << kvx::test::MatlabFile73();
    std::ofstream(folder / "mat4", std::ios::binary)
        << Level4(0, 3, true, "a", 48) << Level4(51, 2, false, "unit", 2) << Level4(0, 1, false, "fs", 8);
    std::ofstream(folder / "npz_deflated", std::ios::binary)
        << kvx::test::FromBase64(kvx::test::kDeflatedArrays);
    return true;
}

/// Lines of zeros in columns, as headers have them.
std::string Zeros(int lines, int perLine, int width) {
    std::string line;
    for (int i = 0; i < perLine; ++i) line += std::string(static_cast<std::size_t>(width - 1), ' ') + "0";
    std::string text;
    for (int i = 0; i < lines; ++i) text += line + "\n";
    return text;
}

/// Seismic recordings behind the byte that names the reader, with what each reader needs to come to samples.
bool StoreSeismic(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::string sac(632, '\0');
    for (const auto& [at, byte] :
         {std::pair(2, '\x80'), {3, '\x3F'}, {304, '\6'}, {316, '\2'}, {340, '\1'}, {420, '\1'}})
        sac[static_cast<std::size_t>(at)] = byte;
    std::string smc = "2 CORRECTED ACCELEROGRAM\n" + std::string(10, '\n') + Zeros(2, 8, 10) +
                      "         2\n" + Zeros(3, 8, 10) + "            0.0          200.0\n" + Zeros(9, 5, 15);
    std::string csmip = "CORRECTED ACCELEROGRAM" + std::string(25, '\n') + Zeros(7, 16, 5) +
                        Zeros(13, 8, 10) +
                        " 2 POINTS OF ACCEL DATA EQUALLY SPACED AT  .020 SEC.  (UNITS: CM/SEC/SEC)\n";
    std::string geonet =
        "Corrected" + std::string(16, '\n') + Zeros(3, 10, 8) +
        "       0       0       0       2       2       2       0       0       0       0\n" +
        Zeros(2, 10, 8) +
        "     0.0     0.0     0.0     0.0     0.1     0.1     0.0     0.0     0.0     0.0\n" +
        Zeros(3, 10, 8);
    const std::string two = "       1.0      -2.5\n";
    std::ofstream(folder / "sac", std::ios::binary) << '\0' << sac << "12345678";
    std::ofstream(folder / "smc") << '\1' << smc << two;
    std::ofstream(folder / "csmip") << '\2' << csmip << two << "/&\n";
    std::ofstream(folder / "geonet") << '\3' << geonet << two << two << two;
    return std::filesystem::exists(folder / "geonet");
}

/// Functions as text and as floats, with places and without, among datasets of other numbers.
void StoreUniversalFiles(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    const std::string end = "    -1\n";
    const auto function = [&](const std::string& set, const std::string& sizes, const std::string& numbers) {
        return end + "    58" + set + "\nname\nNONE\nNONE\nNONE\nNONE\n" +
               "    4         0    0         0 wing               5   3 NONE               1  -1\n" + sizes +
               "  0.00000E+00  1.52588E-05  0.00000E+00\n" +
               "        17    0    0    0 Time                 s\n" +
               "        12    1    0    0 Acceleration         g\n" +
               "        13    0    1    0 Force                NONE\n" +
               "         0    0    0    0 NONE                 NONE\n" + numbers + end;
    };
    const std::string even = "         2         4         1";
    const std::string listed = "         6         2         0";
    const std::string others =
        end + "   151\ntitle\nNONE\nNONE\n" + end + end +
        "   164\n         7  Inch (pound f)              2\n" +
        "  3.93700787401574800D+01  2.24808943099710480D-01  1.00000000000000000D+00\n" + end + end +
        "    15\n         5         0         0         0  1.00000E+00  0.00000E+00  0.00000E+00\n" + end;
    const std::string numbers = "  1.00000E+00 -2.50000D+00 3.0-01  4.00000E+00\n";
    const std::string tuples = "  1.00000E+00  1.000000000000E+00  2.000000000000E+00\n";
    const std::string floats = "     1     2          11          16     0     0           0           0";
    std::ofstream(folder / "text") << others + function("", even, numbers) + function("", even, numbers);
    std::ofstream(folder / "listed") << function("", listed, tuples + tuples);
    std::ofstream(folder / "binary", std::ios::binary) << function("b" + floats, even, "0123456789abcdef");
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
    StoreUniversalFiles(std::filesystem::path(argv[1]) / "fuzz_Uff");
    const bool isStored = Store(dataFiles, "wave", CComHdr::EXT_INFO_SHOCK_DATA, wave) &&
                          Store(dataFiles, "transfer", CComHdr::EXT_INFO_RANDOM_DATA, transfer) &&
                          Store(dataFiles, "response", CComHdr::EXT_INFO_SINE_DATA, response) &&
                          StoreGraphSettings(std::filesystem::path(argv[1]) / "fuzz_GraphSettings") &&
                          StoreTdms(std::filesystem::path(argv[1]) / "fuzz_TdmsFile") &&
                          StoreLogger(std::filesystem::path(argv[1]) / "fuzz_TextTable") &&
                          StoreUnitTexts(std::filesystem::path(argv[1]) / "fuzz_UnitText") &&
                          StoreVariableFiles(std::filesystem::path(argv[1]) / "fuzz_VariableFile") &&
                          StoreSound(std::filesystem::path(argv[1]) / "fuzz_Sound") &&
                          StoreSeismic(std::filesystem::path(argv[1]) / "fuzz_Seismic");
    return isStored ? 0 : 1;
}
