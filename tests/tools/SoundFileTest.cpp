// SPDX-License-Identifier: MIT
//
// What is taken for a sound file and for how much of one, and values that cannot be stored. The files are
// written by the sound library itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdint>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/files/DataFile.h>
#include <KvxRecording01/FileContent.h>

#include "ToolRun.h"

using testing::EndsWith;
using testing::HasSubstr;
using namespace std::string_literals;

namespace {

constexpr int kChannels = 2;
constexpr __int64 kFrames = 20000;

/// Sixteen bits without a pattern that compresses.
std::int16_t Level(__int64 frame, __int64 channel) {
    return static_cast<std::int16_t>(static_cast<std::uint32_t>(frame * kChannels + channel) * 2654435761U >>
                                     16);
}

/// The bytes of a file of that format; empty when the library cannot write it.
std::string MakeSound(const TempFolder& folder, int format) {
    SF_INFO info = {};
    info.samplerate = 8000;
    info.channels = kChannels;
    info.format = format;
    std::vector<int> samples;
    for (__int64 i = 0; i < kFrames * kChannels; ++i) {
        samples.push_back(Level(i / kChannels, i % kChannels) * 65536);
    }
    SNDFILE* file = sf_open((folder / "made").c_str(), SFM_WRITE, &info);
    if (file == nullptr) return {};
    sf_command(file, SFC_SET_ADD_PEAK_CHUNK, nullptr, SF_FALSE);
    sf_command(file, SFC_SET_SCALE_INT_FLOAT_WRITE, nullptr, SF_TRUE);
    sf_write_int(file, samples.data(), std::ssize(samples));
    sf_close(file);
    const std::string bytes = folder.Read("made");
    std::filesystem::remove(folder / "made");
    return bytes;
}

/// Imports these bytes and expects the first `frames` samples of each channel, or any number but 0 for -1.
void ExpectSamples(const TempFolder& folder, const std::string& bytes, __int64 frames,
                   const std::string& remark, const std::string& options = "") {
    folder.Write("in", bytes);
    const ToolResult result = RunShell(folder, "kvx import in -o out.vdf2 " + options);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.err.empty(), remark.empty()) << result.err;
    EXPECT_THAT(result.err, HasSubstr(remark));
    kvx::DataFileContent content;
    ASSERT_TRUE(CComDataFile::LoadDataFile((folder / "out.vdf2").wstring().c_str(), &content));
    const CComDataBase& record = content.records.front();
    if (frames < 0) {
        EXPECT_GT(record.GetNsamp(), 0);
    } else {
        EXPECT_EQ(record.GetNsamp(), frames);
    }
    for (__int64 c = 0; c < kChannels; ++c) {
        for (__int64 i = 0; i < record.GetNsamp(); ++i)
            ASSERT_EQ(record.GetReal(c, 0)[i], Level(i, c) / 32768.0) << i;
    }
}

/// Expects the whole sentence, alone on standard error, and no file.
void ExpectRefusal(const TempFolder& folder, const std::string& bytes, const std::string& why,
                   const std::string& options = "") {
    folder.Write("in", bytes);
    std::filesystem::remove(folder / "out.vdf2");
    const ToolResult result = RunShell(folder, "kvx import in -o out.vdf2 " + options);
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "kvx: cannot import 'in': " + why + "\n");
    EXPECT_EQ(folder.Count(), 1U);
}

std::string Replaced(std::string bytes, std::size_t at, const std::string& by) {
    return bytes.replace(at, by.size(), by);
}

struct FormatCase {
    const char* name;
    int format;
    __int64 frameBytes;  ///< of one sample of all channels; 0 for compressed ones
};

void PrintTo(const FormatCase& format, std::ostream* out) {
    *out << format.name;
}

class Sound : public testing::TestWithParam<FormatCase> {
protected:
    TempFolder folder_;
    std::string bytes_ = MakeSound(folder_, GetParam().format);
};

TEST_P(Sound, IsReadWhole) {
    ExpectSamples(folder_, bytes_, kFrames, "");
}

TEST_P(Sound, IsRefusedWhenItIsCutShortUnlessAPartWillDo) {
    constexpr __int64 kCut = 36000;
    const std::string cut = bytes_.substr(0, bytes_.size() - kCut);
    if (GetParam().frameBytes == 0) {
        ExpectRefusal(
            folder_, cut,
            "it is cut short or damaged: not all of the 20000 samples that its header states can be read; "
            "--partial takes those before the damage");
        ExpectSamples(folder_, cut, -1, "cut short or damaged; the first ", "--partial");
        return;
    }
    const __int64 all = kFrames * GetParam().frameBytes;
    const std::string extent = std::to_string(all - kCut) + " of the " + std::to_string(all) + " bytes";
    ExpectRefusal(
        folder_, cut,
        "it is cut short: " + extent + " of samples that its header states are there; --partial takes those");
    ExpectSamples(folder_, cut, kFrames - kCut / GetParam().frameBytes, extent, "--partial");
}

// clang-format off
INSTANTIATE_TEST_SUITE_P(Formats, Sound, testing::Values(
    FormatCase{"Wav",             SF_FORMAT_WAV | SF_FORMAT_PCM_16, 4},
    FormatCase{"WavBigEndian",    SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, 4},
    FormatCase{"WavExtensible",   SF_FORMAT_WAVEX | SF_FORMAT_PCM_24, 6},
    FormatCase{"Rf64",            SF_FORMAT_RF64 | SF_FORMAT_FLOAT, 8},
    FormatCase{"Wave64",          SF_FORMAT_W64 | SF_FORMAT_DOUBLE, 16},
    FormatCase{"Aiff",            SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 4},
    FormatCase{"AiffFloat",       SF_FORMAT_AIFF | SF_FORMAT_FLOAT, 8},
    FormatCase{"Au",              SF_FORMAT_AU | SF_FORMAT_PCM_24, 6},
    FormatCase{"AuLittleEndian",  SF_FORMAT_AU | SF_FORMAT_PCM_16 | SF_ENDIAN_LITTLE, 4},
    FormatCase{"Caf",             SF_FORMAT_CAF | SF_FORMAT_PCM_16, 4},
    FormatCase{"Flac",            SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 0}),
    [](const auto& test) { return test.param.name; });
// clang-format on

TEST(SoundLength, IsFoundWhereTheHeaderLeavesItOpen) {
    const TempFolder folder;
    const std::string remark =
        "does not state its length; all 20000 samples up to the end of the file are taken\n";
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ASSERT_EQ(wav.substr(36, 4), "data");
    for (const std::string& size :
         {"\0\0\0\0"s, "\xFF\xFF\xFF\xFF"s, "\0\xF0\xFF\x7F"s, "\xDB\xFF\xFF\x7F"s, "\0\0\0\x80"s}) {
        ExpectSamples(folder, Replaced(wav, 40, size), kFrames, remark);
    }
    const std::string au = MakeSound(folder, SF_FORMAT_AU | SF_FORMAT_PCM_16);
    ExpectSamples(folder, Replaced(au, 8, "\xFF\xFF\xFF\xFF"), kFrames, remark);
    const std::string caf = MakeSound(folder, SF_FORMAT_CAF | SF_FORMAT_PCM_16);
    ExpectSamples(folder, Replaced(caf, caf.find("data") + 4, std::string(8, '\xFF')), kFrames, remark);
    const std::string rf64 = MakeSound(folder, SF_FORMAT_RF64 | SF_FORMAT_PCM_16);
    ExpectSamples(folder, Replaced(rf64, rf64.find("ds64") + 16, std::string(8, '\0')), kFrames, remark);
    const std::string flac = MakeSound(folder, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    ExpectSamples(folder, Replaced(flac, 22, std::string(4, '\0')), kFrames, remark);
}

TEST(SoundLength, EndsAtTheNextChunk) {
    const TempFolder folder;
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::string chunk = "LIST\x04\0\0\0INFO"s;
    ExpectSamples(folder, wav + chunk, kFrames, "");
    // Letters are no chunk when what would be its size does not fit.
    ExpectSamples(folder, wav + "garbage behind", kFrames, "14 bytes after the samples belong to no chunk");
    ExpectRefusal(folder, Replaced(wav.substr(0, 44), 40, "\0\0\0\0"s) + chunk,
                  "the sound file holds no samples");
    ExpectSamples(folder, Replaced(wav, 40, "\0\x19\0\0"s), 1600, "73600 bytes after the samples");
}

TEST(SoundHeader, StatesARateThatIsNotWhole) {
    const TempFolder folder;
    const std::string aiff = MakeSound(folder, SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
    const std::string caf = MakeSound(folder, SF_FORMAT_CAF | SF_FORMAT_PCM_16);
    // 8000.5 is 2^12 times 0xFA04 / 2^15.
    for (const std::string& bytes : {Replaced(aiff, aiff.find("COMM") + 16, "\x40\x0B\xFA\x04\0\0\0\0\0\0"s),
                                     Replaced(caf, caf.find("desc") + 12, "\x40\xBF\x40\x80\0\0\0\0"s)}) {
        ExpectSamples(folder, bytes, kFrames, "");
        EXPECT_THAT(RunShell(folder, "kvx info out.vdf2").out, HasSubstr("rate 8000.5 Hz"));
    }
}

TEST(SoundHeader, IsRefusedWhenItsSamplesAreNotPacked) {
    const TempFolder folder;
    const std::string why = "it is a damaged sound file: its header states ";
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_24);
    ExpectRefusal(folder, Replaced(wav, 32, "\x08"), why + "8 bytes for a sample of 2 channels of 24 bits");
    const std::string big = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG);
    ExpectRefusal(folder, Replaced(big, 33, "\x02"), why + "2 bytes for a sample of 2 channels of 16 bits");
    const std::string wave64 = MakeSound(folder, SF_FORMAT_W64 | SF_FORMAT_FLOAT);
    ExpectRefusal(folder, Replaced(wave64, wave64.find("fmt ") + 36, "\x10"),
                  why + "16 bytes for a sample of 2 channels of 32 bits");
}

TEST(Content, OfSoundTakesNoOptionForTexts) {
    const TempFolder folder;
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    for (const std::string option : {"--time none", "--decimal comma", "--encoding gbk"})
        ExpectRefusal(folder, wav, option.substr(0, option.find(' ')) + " is for texts", option);
}

TEST(SoundLength, EndsAtDamage) {
    const TempFolder folder;
    std::string flac = MakeSound(folder, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    flac[flac.size() / 2] ^= 0x55;
    folder.Write("in", flac);
    EXPECT_EQ(RunShell(folder, "kvx import in -o out.vdf2").status, 1);
    ExpectSamples(folder, flac, -1, "the first ", "--partial");
}

TEST(Content, ThatIsNotReadIsNamed) {
    const TempFolder folder;
    const std::pair<int, const char*> made[] = {
        {SF_FORMAT_MAT4 | SF_FORMAT_DOUBLE, "a MATLAB file"},
        {SF_FORMAT_MAT4 | SF_FORMAT_PCM_16 | SF_ENDIAN_BIG, "a MATLAB file"},
        {SF_FORMAT_MAT5 | SF_FORMAT_DOUBLE, "a MATLAB file"},
        {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "an Ogg file"},
        {SF_FORMAT_VOC | SF_FORMAT_PCM_16, "a VOC sound file"},
#ifdef SF_FORMAT_MPEG
        {SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, "an MP3 file"},
#endif
    };
    for (const auto& [format, name] : made) {
        const std::string bytes = MakeSound(folder, format);
        if (!bytes.empty()) ExpectRefusal(folder, bytes, "it is "s + name + ", which is not read");
    }
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ExpectRefusal(folder, Replaced(wav, 20, "\x55"), "its samples are MP3, which is not read");
    RunShell(folder, "printf '1\\n2\\n' | gzip > in");
    ExpectRefusal(folder, folder.Read("in"), "it is a gzip archive, which is not read");
    const ToolResult piped = RunShell(folder, "printf 'RIFF1234WAVE' | kvx import /dev/stdin -o out.vdf2");
    EXPECT_THAT(piped.err, EndsWith("it is a WAV file, which is not read from a pipe\n"));
}

TEST(Content, OfATextIsATextHoweverItBegins) {
    for (const char* text :
         {"ID3,a\n1,2\n", "PAR1\tPAR2\n1\t2\n", "    -1\n    58\n    12\n", "MATLAB 5\n1\n", "dns.a,b\n1,2\n",
          "RIFF,WAVE\n1,2\n", "PK,b\n1,2\n", "\xFF\xE3\xEE\xE4\n1\n", "\xFF\xFE\x31", "FORM,AIFF\n1,2\n",
          ".snd\n1\n", "0\n0\n", "BZh9\n1\n"}) {
        EXPECT_EQ(kvx::RecognizeContent(text).name, "") << text;
    }
}

TEST(Content, ThatIsDamagedLeavesOneLineOnStandardError) {
    std::mt19937 random(1);
    for (const std::string& begin :
         {"RIFF\xFF\xFF\0\0WAVEfmt "s, "RF64\xFF\xFF\xFF\xFFWAVEds64"s, "FORM\0\0\1\0AIFF"s,
          ".snd\0\0\0\x18"s, "caff\0\1\0\0desc"s, "fLaC\0\0\0\x22"s, "\xFF\xFE"s, "\xFF\xFB\x90\x64\0"s,
          "ID3\3\0\0\0\0\0\0"s, "MATLAB 5.0 MAT-file"s, "\xFF\xE3\x48\xC4\0\0"s, ""s}) {
        for (int i = 0; i < 3; ++i) {
            const TempFolder folder;
            std::string bytes = begin;
            while (bytes.size() < 3000) bytes += static_cast<char>(random());
            folder.Write("in", bytes);
            const ToolResult result = RunShell(folder, "kvx import in -o out.vdf2");
            EXPECT_EQ(result.status, 1) << begin;
            EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
            EXPECT_EQ(result.err.find("kvx: cannot import 'in': "), 0U) << result.err;
        }
    }
}

TEST(Values, ThatOverflowAreRefusedWithTheirPlace) {
    const TempFolder folder;
    const std::string rest = " overflows in conversion from 'km' to the standard unit";
    ExpectRefusal(folder, "time,a [g],b [km]\n0,1,2\n# pause\n\n1,1,-1e306\n",
                  "line 5, column 3: the value" + rest);
    ExpectRefusal(folder, "1\n-1.7976931348623157e308\n",
                  "line 2, column 1: the value is reserved as the marker of missing samples", "--rate 1");
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ExpectRefusal(folder, wav, "sample 1 of channel 2: the value" + rest,
                  "--channels 2 --unit km --full-scale 1e306");
    const std::string floats = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    ExpectRefusal(folder, Replaced(floats, floats.find("data") + 8 + 20, "\0\0\x80\x7F"s),
                  "sample 3 of channel 2 is not a finite number");
}

}  // namespace
