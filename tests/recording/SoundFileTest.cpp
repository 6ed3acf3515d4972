// SPDX-License-Identifier: MIT
//
// What is taken for a sound file and for how much of one, and values that cannot be stored. The files are
// written by the sound library itself.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cstdint>
#include <filesystem>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/FileContent.h>
#include <KvxRecording01/SignalReader.h>

#include "tests/support/TempFolder.h"

using namespace kvx;
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

/// What the library makes of these bytes.
std::unique_ptr<SignalReader> Open(const TempFolder& folder, const std::string& bytes,
                                   const RecordingStatements& statements = {},
                                   const std::string& channels = {}) {
    folder.Write("in", bytes);
    return OpenSignal((folder / "in").string(), {channels}, statements);
}

/// The samples of all channels.
std::vector<std::vector<double>> ReadAll(SignalReader& reader) {
    std::vector<std::vector<double>> samples(reader.Runs().front().channels.size());
    std::vector<std::vector<double>> block(samples.size(), std::vector<double>(4099));
    std::vector<double*> targets;
    for (std::vector<double>& channel : block) targets.push_back(channel.data());
    while (const std::size_t count = reader.Read(0, targets, block.front().size())) {
        for (std::size_t c = 0; c < samples.size(); ++c)
            samples[c].insert(samples[c].end(), targets[c], targets[c] + count);
    }
    return samples;
}

const RecordingStatements kPartial = {.isPartial = true};

/// Reads these bytes and expects the first `frames` samples of each channel, or any number but 0 for -1.
void ExpectSamples(const TempFolder& folder, const std::string& bytes, __int64 frames,
                   const std::string& remark, const RecordingStatements& statements = {}) {
    const std::unique_ptr<SignalReader> reader = Open(folder, bytes, statements);
    const std::vector<std::string>& remarks = reader->Remarks();
    EXPECT_EQ(remarks.size(), remark.empty() ? 0U : 1U);
    EXPECT_THAT(remarks.empty() ? "" : remarks.front(), HasSubstr(remark));
    const std::vector<std::vector<double>> samples = ReadAll(*reader);
    ASSERT_EQ(samples.size(), kChannels);
    for (__int64 c = 0; c < kChannels; ++c) {
        const std::vector<double>& channel = samples[static_cast<std::size_t>(c)];
        EXPECT_GT(std::ssize(channel), 0);
        EXPECT_TRUE(frames < 0 || std::ssize(channel) == frames) << channel.size();
        for (__int64 i = 0; i < std::ssize(channel); ++i)
            ASSERT_EQ(channel[static_cast<std::size_t>(i)], Level(i, c) / 32768.0) << i;
    }
}

/// The kind and the sentence by which these bytes are refused, be it while they are read.
void ExpectRefusal(const TempFolder& folder, const std::string& bytes, const std::string& why,
                   ErrorKind kind = ErrorKind::kDamaged, const RecordingStatements& statements = {},
                   const std::string& channels = {}) {
    try {
        ReadAll(*Open(folder, bytes, statements, channels));
        ADD_FAILURE() << "it was read; " << why;
    } catch (const Error& error) {
        EXPECT_EQ(error.what(), why);
        EXPECT_EQ(error.Kind(), kind) << why;
    }
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
            "isPartial takes those before the damage");
        ExpectSamples(folder_, cut, -1, "cut short or damaged; the first ", kPartial);
        return;
    }
    const __int64 all = kFrames * GetParam().frameBytes;
    const std::string extent = std::to_string(all - kCut) + " of the " + std::to_string(all) + " bytes";
    ExpectRefusal(
        folder_, cut,
        "it is cut short: " + extent + " of samples that its header states are there; isPartial takes those");
    ExpectSamples(folder_, cut, kFrames - kCut / GetParam().frameBytes, extent, kPartial);
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
        "does not state its length; all 20000 samples up to the end of the file are taken";
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

TEST(SoundLength, IsThatOfWholeFrames) {
    const TempFolder folder;
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    static_assert(4 * kFrames - 2 == 0x1387E);
    ExpectSamples(folder, Replaced(wav.substr(0, 44 + 0x1387E), 40, "\x7E\x38\x01\0"s), kFrames - 1,
                  "end with 2 bytes of a frame of 4, which are left out");
}

TEST(SoundHeader, StatesARateThatIsNotWhole) {
    const TempFolder folder;
    const std::string aiff = MakeSound(folder, SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
    const std::string caf = MakeSound(folder, SF_FORMAT_CAF | SF_FORMAT_PCM_16);
    // 8000.5 is 2^12 times 0xFA04 / 2^15.
    for (const std::string& bytes : {Replaced(aiff, aiff.find("COMM") + 16, "\x40\x0B\xFA\x04\0\0\0\0\0\0"s),
                                     Replaced(caf, caf.find("desc") + 12, "\x40\xBF\x40\x80\0\0\0\0"s)}) {
        ExpectSamples(folder, bytes, kFrames, "");
        EXPECT_EQ(Open(folder, bytes)->Runs().front().delta, 1.0 / 8000.5);
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

TEST(SoundHeader, IsRefusedWithItsRateOrChannelsWhereNoFileHasSuch) {
    const TempFolder folder;
    const std::string why = "it is a damaged sound file: its header states ";
    const std::string zeros(10, '\0');
    struct {
        int format;
        const char* chunk;  ///< none where the fields are counted from the start
        std::size_t rate, rateBytes, channels;
        std::string most;  ///< 11265 channels
    } const cases[] = {
        {SF_FORMAT_WAV, "fmt ", 12, 4, 10, "\1\x2C"s},
        {SF_FORMAT_RF64, "fmt ", 12, 4, 10, "\1\x2C"s},
        {SF_FORMAT_W64, "fmt ", 28, 4, 26, "\1\x2C"s},
        {SF_FORMAT_AIFF, "COMM", 16, 10, 8, "\x2C\1"s},
        {SF_FORMAT_CAF, "desc", 12, 8, 36, "\0\0\x2C\1"s},
        {SF_FORMAT_AU, ".snd", 16, 4, 20, "\0\0\x2C\1"s},
        {SF_FORMAT_FLAC, "fLaC", 18, 2, 0, ""},
    };
    for (const auto& [format, chunk, rate, rateBytes, channels, most] : cases) {
        const std::string good = MakeSound(folder, format | SF_FORMAT_PCM_16);
        const std::size_t at = good.find(chunk);
        ASSERT_LT(at, good.size());
        std::string bad = Replaced(good, at + rate, zeros.substr(0, rateBytes));
        if (format == SF_FORMAT_FLAC) bad[20] &= '\x0F';
        ExpectRefusal(folder, bad, why + "a rate of 0 Hz");
        if (most.empty()) continue;
        ExpectRefusal(folder, Replaced(good, at + channels, zeros.substr(0, most.size())),
                      why + "no channels");
        ExpectRefusal(folder, Replaced(good, at + channels, most), why + "11265 channels");
    }
    const std::string caf = MakeSound(folder, SF_FORMAT_CAF | SF_FORMAT_PCM_16);
    ExpectRefusal(folder, Replaced(caf, caf.find("desc") + 12, "\x7F\xF8"), why + "a rate of nan Hz");
    const std::string aiff = MakeSound(folder, SF_FORMAT_AIFF | SF_FORMAT_PCM_16);
    ExpectRefusal(folder, Replaced(aiff, aiff.find("SSND"), "USND"),
                  "it is a damaged sound file: its header contradicts itself");
}

TEST(Content, OfSoundTakesNoStatementForTexts) {
    const TempFolder folder;
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    const std::pair<TextOptions, const char*> cases[] = {{{.firstColumnIsTime = false}, "firstColumnIsTime"},
                                                         {{.decimalComma = true}, "decimalComma"},
                                                         {{.codePage = 936}, "codePage"}};
    for (const auto& [text, name] : cases) {
        RecordingStatements stated;
        stated.text = text;
        ExpectRefusal(folder, wav, name + " is for texts"s, ErrorKind::kUnsupported, stated);
    }
}

TEST(SoundLength, EndsAtDamage) {
    const TempFolder folder;
    std::string flac = MakeSound(folder, SF_FORMAT_FLAC | SF_FORMAT_PCM_16);
    flac[flac.size() / 2] ^= 0x55;
    ExpectRefusal(
        folder, flac,
        "it is cut short or damaged: not all of the 20000 samples that its header states can be read; "
        "isPartial takes those before the damage");
    ExpectSamples(folder, flac, -1, "the first ", kPartial);
}

TEST(Content, ThatIsNotReadIsNamed) {
    const TempFolder folder;
    const std::pair<int, const char*> made[] = {
        {SF_FORMAT_OGG | SF_FORMAT_VORBIS, "an Ogg file"},
        {SF_FORMAT_VOC | SF_FORMAT_PCM_16, "a VOC sound file"},
#ifdef SF_FORMAT_MPEG
        {SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, "an MP3 file"},
#endif
    };
    for (const auto& [format, name] : made) {
        const std::string bytes = MakeSound(folder, format);
        if (bytes.empty()) continue;
        ExpectRefusal(folder, bytes, "it is "s + name + ", which is not read", ErrorKind::kUnsupported);
    }
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    ExpectRefusal(folder, Replaced(wav, 20, "\x55"), "its samples are MP3, which is not read",
                  ErrorKind::kUnsupported);
    ExpectRefusal(folder, "\x1F\x8B\x08\0"s, "it is a gzip archive, which is not read",
                  ErrorKind::kUnsupported);
}

TEST(Content, OfATextIsATextHoweverItBegins) {
    for (const char* text :
         {"ID3,a\n1,2\n", "PAR1\tPAR2\n1\t2\n", "    -1\n    58\n    12\n", "MATLAB 5\n1\n", "dns.a,b\n1,2\n",
          "RIFF,WAVE\n1,2\n", "PK,b\n1,2\n", "\xFF\xE3\xEE\xE4\n1\n", "\xFF\xFE\x31", "FORM,AIFF\n1,2\n",
          ".snd\n1\n", "0\n0\n", "BZh9\n1\n"}) {
        EXPECT_EQ(RecognizeContent(text).format, Format::text) << text;
    }
}

TEST(Content, ThatIsDamagedIsRefusedOnOneLine) {
    std::mt19937 random(1);
    for (const std::string& begin :
         {"RIFF\xFF\xFF\0\0WAVEfmt "s, "RF64\xFF\xFF\xFF\xFFWAVEds64"s, "FORM\0\0\1\0AIFF"s,
          ".snd\0\0\0\x18"s, "caff\0\1\0\0desc"s, "fLaC\0\0\0\x22"s, "\xFF\xFE"s, "\xFF\xFB\x90\x64\0"s,
          "ID3\3\0\0\0\0\0\0"s, "MATLAB 5.0 MAT-file"s, "\xFF\xE3\x48\xC4\0\0"s, ""s}) {
        for (int i = 0; i < 3; ++i) {
            const TempFolder folder;
            std::string bytes = begin;
            while (bytes.size() < 3000) bytes += static_cast<char>(random());
            try {
                ReadAll(*Open(folder, bytes));
                ADD_FAILURE() << begin;
            } catch (const Error& error) {
                EXPECT_EQ(std::string(error.what()).find('\n'), std::string::npos) << error.what();
            }
        }
    }
}

TEST(Values, ThatOverflowAreRefusedWithTheirPlace) {
    const TempFolder folder;
    const std::string rest = " overflows in conversion from 'km' to the standard unit";
    const ErrorKind kind = ErrorKind::kUnsupported;
    ExpectRefusal(folder, "time,a [g],b [km]\n0,1,2\n# pause\n\n1,1,-1e306\n",
                  "line 5, column 3: the value" + rest, kind);
    RecordingStatements stated = {.rateHz = 1.0};
    ExpectRefusal(folder, "1\n-1.7976931348623157e308\n",
                  "line 2, column 1: '-1.7976931348623157e308' is reserved as the marker of missing samples",
                  ErrorKind::kDamaged, stated);
    const std::string wav = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
    stated = {.units = {NamedUnit("km")}, .fullScale = 1e306};
    ExpectRefusal(folder, wav, "sample 1 of channel 2: the value" + rest, kind, stated, "2");
    const std::string floats = MakeSound(folder, SF_FORMAT_WAV | SF_FORMAT_FLOAT);
    ExpectRefusal(folder, Replaced(floats, floats.find("data") + 8 + 20, "\0\0\x80\x7F"s),
                  "sample 3 of channel 2 is not a finite number");
}

std::string LittleEndian(std::size_t number, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(number >> 8 * i & 0xFF);
    return bytes;
}

std::string Chunk(const std::string& name, const std::string& body) {
    return name + LittleEndian(body.size(), 4) + body + std::string(body.size() % 2, '\0');
}

std::string Padded(std::string text, std::size_t size) {
    text.resize(size);
    return text;
}

TEST(SoundTexts, BecomePropertiesFromListsAndBroadcastChunks) {
    const TempFolder folder;
    const std::string format = LittleEndian(1, 2) + LittleEndian(1, 2) + LittleEndian(8000, 4) +
                               LittleEndian(16000, 4) + LittleEndian(2, 2) + LittleEndian(16, 2);
    const std::string broadcast = Padded("Bridge B, run 3", 256) + Padded("Lab", 32) + Padded("REF-7", 32) +
                                  "2024-05-06" + "07:08:09" + LittleEndian(80000, 8) + LittleEndian(1, 2) +
                                  std::string(254, '\0') + "A=PCM,F=8000";
    const std::string list = "INFO" + Chunk("INAM", "shaker"s + '\0') +
                             Chunk("ICMT", "caf\xE9 \r\n  two"s + '\0') + Chunk("ICRD", "2024"s + '\0') +
                             Chunk("XXXX", "left out");
    const std::string samples = Chunk("data", "\0\x40\0\xC0"s);
    for (const bool isBehind : {false, true}) {
        const std::string body = "WAVE" + Chunk("fmt ", format) + Chunk("bext", broadcast) +
                                 (isBehind ? samples + Chunk("LIST", list) : Chunk("LIST", list) + samples);
        const auto reader = Open(folder, Chunk("RIFF", body));
        EXPECT_EQ(ReadAll(*reader), (std::vector<std::vector<double>>{{0.5, -0.5}}));
        EXPECT_EQ(reader->Text(), L"caf\u00E9 two");
        EXPECT_EQ(reader->Runs().front().title, L"shaker");
        EXPECT_EQ(reader->Runs().front().start->Text(), "2024-05-06T07:08:09");
        std::string facts;
        for (const auto& [name, text] : reader->Properties()) facts += name + ": " + text + "; ";
        EXPECT_EQ(facts,
                  "date: 2024; description: Bridge B, run 3; "
                  "originator: Lab; "
                  "originator reference: REF-7; "
                  "time reference: 80000 samples, 10 s after midnight; coding history: A=PCM,F=8000; ");
    }
}

TEST(SoundLength, OfAWavFileThatIsTooLongForItsHeaderIsThatOfTheFile) {
    const TempFolder folder;
    const std::string format = LittleEndian(1, 2) + LittleEndian(2, 2) + LittleEndian(48000, 4) +
                               LittleEndian(192000, 4) + LittleEndian(4, 2) + LittleEndian(16, 2);
    const std::string open(4, '\xFF');
    folder.Write("in", "RIFF" + open + "WAVE" + Chunk("fmt ", format) +
                           Chunk("LIST", "INFO" + Chunk("INAM", "long"s + '\0')) + "data" + open +
                           "\0\x40\0\xC0"s);
    constexpr std::uint64_t kBytes = 5ULL << 30;
    std::filesystem::resize_file(folder / "in",
                                 std::filesystem::file_size(folder / "in") - 4 + kBytes);  // with a hole
    const auto reader = OpenSignal((folder / "in").string());
    EXPECT_EQ(reader->Runs().front().samples, static_cast<__int64>(kBytes / 4));
    EXPECT_THAT(reader->Remarks().at(0), HasSubstr("does not state its length; all 1342177280 samples"));
    EXPECT_EQ(reader->Runs().front().title, L"long");
    double left = 1.0, right = 1.0;
    double* const targets[] = {&left, &right};
    EXPECT_EQ(reader->Read(0, targets, 1), 1U);
    EXPECT_EQ(left, 0.5);
    EXPECT_EQ(right, -0.5);
}

}  // namespace
