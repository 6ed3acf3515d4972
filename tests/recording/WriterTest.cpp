// SPDX-License-Identifier: MIT
//
// What is written reads back: signals in every format that is written, and data files as text.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFileContent.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/PlainText.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitQuery.h>
#include <KvxRecording01/CsvFile.h>
#include <KvxRecording01/Formats.h>
#include <KvxRecording01/SignalReader.h>
#include <KvxRecording01/SignalRuns.h>

#include "tests/support/TempFolder.h"

using namespace kvx;
using namespace std::string_literals;

namespace {

constexpr std::size_t kSamples = 1000;
constexpr std::array<std::size_t, 3> kByUnit = {0, 2, 1};

/// Sample `i` of channel `c` in its unit: sixteenths, which no format rounds.
double Level(std::size_t c, std::size_t i) {
    return static_cast<double>((i * 7 + c * 5) % 33) / 16 - 1;
}

SignalRun RunIn(std::initializer_list<const char*> units) {
    SignalRun run = {1, 1.0 / 512, 0, kSamples, {}};
    for (const char* unit : units) {
        const std::size_t number = run.channels.size() + 1;
        run.channels.push_back({L"c" + std::to_wstring(number), NamedUnit(unit), number});
    }
    return run;
}

/// Writes the levels, a different number of them each time.
void WriteLevels(SignalWriter& writer, const SignalRun& run) {
    std::vector<std::vector<double>> block(run.channels.size());
    for (std::size_t done = 0, count = 1; done < kSamples; done += count, count = count * 3 + 1) {
        count = std::min(count, kSamples - done);
        std::vector<double*> channels;
        for (std::size_t c = 0; c < block.size(); ++c) {
            block[c].resize(count);
            for (std::size_t i = 0; i < count; ++i) block[c][i] = Level(c, done + i);
            const CUnitCtrl& unit = run.channels[c].unit;
            unit.ConvItoD(block[c].data(), block[c].data(), static_cast<__int64>(count), 1.0,
                          unit.IsSingle());
            channels.push_back(block[c].data());
        }
        writer.Write(0, channels, count);
    }
}

std::string KindOf(const std::string& path) {
    return std::string(RecognizeFile(path).name);
}

class Writer : public testing::TestWithParam<Format> {
protected:
    TempFolder folder_;
    std::string path_ = (folder_ / "out").string();
};

TEST_P(Writer, IsReadBackToTheBit) {
    const SignalRun run = RunIn({"g", "N", "g"});
    const auto writer =
        CreateSignalFile(path_, GetParam(), {run}, {L"a text", {WavSamples::doubleFloating, 2.0}});
    WriteLevels(*writer, run);
    EXPECT_FALSE(std::filesystem::exists(path_));
    writer->Commit();
    EXPECT_EQ(KindOf(path_), RowOf(GetParam()).name);

    RecordingStatements stated;
    const bool isBare = IsSound(GetParam()) || GetParam() == Format::npy;
    if (isBare) {
        for (const SignalRun::Channel& channel : run.channels) stated.units.push_back(channel.unit);
        if (IsSound(GetParam())) stated.fullScale = 2.0;
        if (GetParam() == Format::npy) stated.rateHz = 1.0 / run.delta;
    }
    const auto reader = OpenSignal(path_, {}, stated);
    std::string channels;
    for (std::size_t r = 0; r < reader->Runs().size(); ++r) {
        const SignalRun& back = reader->Runs()[r];
        EXPECT_EQ(back.delta, run.delta);
        ASSERT_EQ(back.samples, kSamples);
        std::vector<std::vector<double>> samples(back.channels.size(), std::vector<double>(kSamples));
        std::vector<double*> targets;
        for (std::vector<double>& channel : samples) targets.push_back(channel.data());
        ASSERT_EQ(reader->Read(r, targets, kSamples), kSamples);
        for (std::size_t at = 0; at < samples.size(); ++at) {
            const auto& [name, unit, number, isComplex] = back.channels[at];
            EXPECT_FALSE(isComplex);
            channels += ToUtf8(name) + " " + UnitText(unit) + ", ";
            // The channels of one unit stand together in a data file.
            const std::size_t c = GetParam() == Format::dataFile ? kByUnit[number - 1] : number - 1;
            for (std::size_t i = 0; i < kSamples; ++i)
                ASSERT_EQ(samples[at][i], unit.ConvItoD(Level(c, i), 1.0, 1)) << c << " " << i;
        }
    }
    EXPECT_EQ(channels, GetParam() == Format::dataFile ? "c1 g, c3 g, c2 N, "
                        : isBare                       ? "ch1 g, ch2 N, ch3 g, "
                                                       : "c1 g, c2 N, c3 g, ");
}

TEST_P(Writer, LeavesItsTargetAloneWithoutCommit) {
    folder_.Write("out", "before");
    WriteLevels(*CreateSignalFile(path_, GetParam(), {RunIn({"g"})}), RunIn({"g"}));
    EXPECT_EQ(folder_.Read("out"), "before");
    EXPECT_EQ(folder_.Count(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Formats, Writer,
                         testing::Values(Format::dataFile, Format::wav, Format::rf64, Format::wave64,
                                         Format::aiff, Format::au, Format::caf, Format::mat, Format::npy,
                                         Format::npz, Format::universal, Format::text));

TEST(Writers, KeepSamplesAndTextOfSoundInAllItsFormats) {
    const TempFolder folder;
    const std::string path = (folder / "out").string();
    const SignalRun run = RunIn({"m/s2", "m/s2"});
    for (const Format format :
         {Format::wav, Format::rf64, Format::wave64, Format::aiff, Format::au, Format::caf, Format::flac}) {
        for (const NamedWavSamples& kind : kWavSamples) {
            if (format == Format::flac && kind.samples != WavSamples::pcm16 &&
                kind.samples != WavSamples::pcm24)
                continue;
            const std::string what = std::string(RowOf(format).name) + " " + std::string(kind.name);
            const auto writer = CreateSignalFile(
                path, format, {run}, {L"r\u00E9sum\u00E9 " + std::wstring(2000, L'x'), {kind.samples, 2.0}});
            WriteLevels(*writer, run);
            writer->Commit();
            const auto reader = OpenSignal(path, {}, {.fullScale = 2.0});
            std::vector<std::vector<double>> samples(2, std::vector<double>(kSamples));
            std::vector<double*> targets = {samples[0].data(), samples[1].data()};
            ASSERT_EQ(reader->Read(0, targets, kSamples), kSamples) << what;
            for (std::size_t i = 0; i < 2 * kSamples; ++i)
                ASSERT_EQ(samples[i % 2][i / 2], Level(i % 2, i / 2)) << what << " " << i;
            const bool hasTexts = format != Format::wave64 && format != Format::au;
            EXPECT_TRUE(reader->Properties().empty()) << what;
            if (hasTexts) {
                EXPECT_EQ(reader->Text(), L"r\u00E9sum\u00E9 " + std::wstring(993, L'x')) << what;
            }
        }
    }
}

/// The sentence with which an operation is refused.
template <typename Operation>
std::string Refusal(ErrorKind kind, Operation operation) {
    try {
        operation();
    } catch (const Error& error) {
        EXPECT_EQ(error.Kind(), kind) << error.what();
        return error.what();
    }
    return "";
}

TEST(Writers, RefuseWhatTheirFormatCannotHold) {
    const TempFolder folder;
    const std::string path = (folder / "out").string();
    const auto create = [&](Format format, const std::vector<SignalRun>& runs, WavOptions wav = {}) {
        return [=] { WriteLevels(*CreateSignalFile(path, format, runs, {L"", wav}), runs.front()); };
    };
    SignalRun uneven = RunIn({"g"});
    uneven.delta = 0.3;
    const SignalRun good = RunIn({"g"});
    const ErrorKind kind = ErrorKind::kUnsupported;
    EXPECT_EQ(Refusal(kind, create(Format::wav, {uneven})),
              "its rate of 3.333333333 Hz is not whole, as a WAV file needs it");
    EXPECT_EQ(Refusal(kind, create(Format::caf, {uneven})),
              "its rate of 3.333333333 Hz is not whole, as a CAF file needs it");
    EXPECT_EQ(Refusal(kind, create(Format::wav, {good, good})),
              "a WAV file holds one record; choose it with record");
    EXPECT_EQ(Refusal(kind, create(Format::text, {good, good})),
              "a CSV table holds one record; choose it with record");
    SignalRun lines = good;
    lines.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    EXPECT_EQ(Refusal(kind, create(Format::npy, {lines})),
              "a NumPy file holds no axis, so that only time waveforms become one; choose .npz");
    EXPECT_EQ(Refusal(kind, create(Format::loggerText, {good})), "a logger text is only read, not written");
    EXPECT_EQ(Refusal(kind, create(Format::flac, {good})),
              "a FLAC file holds integers of 16 or 24 bits: choose pcm16 or pcm24 with samples");
    const SignalRun nine = RunIn({"g", "g", "g", "g", "g", "g", "g", "g", "g"});
    EXPECT_EQ(Refusal(kind, create(Format::flac, {nine}, {WavSamples::pcm24})),
              "a FLAC file holds up to 8 channels of pcm16 or pcm24");
    SignalRun single = good;
    single.samples = 1;
    single.channels.front().unit = CUnitCtrl();
    double beyond = 1e300;
    double* const column[] = {&beyond};
    EXPECT_EQ(Refusal(ErrorKind::kBadValue,
                      [&] {
                          const auto writer = CreateSignalFile(path, Format::wav, {single});
                          writer->Write(0, column, 1);
                          writer->Commit();
                      }),
              "channel 'c1' reaches 1e+300, which is beyond such floats; raise fullScale");
    SignalRun large = good;
    large.samples = __int64{1} << 30;
    EXPECT_EQ(Refusal(kind, create(Format::aiff, {large})),
              "an AIFF file holds less than 4 GiB; choose RF64, Wave64 or CAF");
    EXPECT_EQ(Refusal(ErrorKind::kBadValue, create(Format::wav, {good}, {WavSamples::pcm16, -1.0})),
              "fullScale is not a number above 0");
    EXPECT_EQ(Refusal(ErrorKind::kBadValue,
                      [&] {
                          const auto writer =
                              CreateSignalFile(path, Format::wav, {good}, {L"", {WavSamples::pcm24, 0.5}});
                          WriteLevels(*writer, good);
                          writer->Commit();
                      }),
              "channel 'c1' would be clipped: it reaches 1 g and full scale is 0.5; raise fullScale");
    for (const Format format : {Format::dataFile, Format::wav, Format::mat, Format::npy, Format::npz,
                                Format::text, Format::universal}) {
        const auto writer = CreateSignalFile(path, format, {good});
        double sample = 0.0;
        const std::vector<double*> two = {&sample, &sample};
        EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { writer->Write(0, two, 1); }),
                  "the run has 1 channel, not 2");
        EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { writer->Write(1, two, 1); }), "there is no such run");
        const std::vector<double*> none = {nullptr};
        EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { writer->Write(0, none, 1); }),
                  "a channel has no samples");
        std::vector<double> samples(kSamples + 1);
        const std::vector<double*> one = {samples.data()};
        EXPECT_FALSE(Refusal(ErrorKind::kBadValue, [&] { writer->Write(0, one, kSamples + 1); }).empty());
        writer->Write(0, one, 1);
        EXPECT_THAT(Refusal(ErrorKind::kBadValue, [&] { writer->Commit(); }),
                    testing::HasSubstr("not all of its samples"));
        for (const SignalRun& run : {SignalRun{}, SignalRun{1, 0.0, 0, kSamples, good.channels}})
            EXPECT_FALSE(Refusal(ErrorKind::kBadValue, create(format, {run})).empty());
    }
    EXPECT_EQ(folder.Count(), 0U);
}

TEST(Formats, AreFoundByTheEndsOfNames) {
    const std::pair<const char*, Format> ends[] = {{".vdf2", Format::dataFile}, {".csv", Format::text},
                                                   {".txt", Format::text},      {".lvm", Format::loggerText},
                                                   {".wav", Format::wav},       {".flac", Format::flac},
                                                   {".w64", Format::wave64}};
    for (const auto& [end, format] : ends) EXPECT_EQ(FormatOfEnd(end), format) << end;
    EXPECT_EQ(FormatOfEnd(".xlsx"), std::nullopt);
    EXPECT_EQ(FormatOfEnd(""), std::nullopt);
    EXPECT_EQ(RecognizeContent("LabVIEW Measurement\t\r\n").format, Format::loggerText);
    EXPECT_THROW(RowOf(Format::none), Error);
}

TEST(OpenSignal, TakesStatementsThatSuitTheRecording) {
    const TempFolder folder;
    folder.Write("in.csv", "a [g],b\n1,2\n3,4\n");
    const std::string path = (folder / "in.csv").string();
    RecordingStatements stated = {.rateHz = 4.0, .units = {NamedUnit("N")}, .names = {L"force"}};
    const auto reader = OpenSignal(path, {"b"}, stated);
    EXPECT_EQ(reader->Text(), L"in.csv");
    EXPECT_EQ(reader->Runs().front().delta, 0.25);
    const SignalRun::Channel& channel = reader->Runs().front().channels.front();
    EXPECT_EQ(ToUtf8(channel.name) + " " + UnitText(channel.unit) + " " + std::to_string(channel.number),
              "force N 2");

    EXPECT_THROW(OpenSignal(path, {}, stated), StatementError);  // one name for two channels
    stated.names.clear();
    EXPECT_NO_THROW(OpenSignal(path, {}, stated));  // one unit for all
    stated.units.resize(3);
    EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { OpenSignal(path, {}, stated); }),
              "units gives 3 values for 2 channels");
    EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { OpenSignal(path); }),
              "it has neither a rate nor a time column; give the sampling rate with rateHz");
    const ErrorKind kind = ErrorKind::kUnsupported;
    EXPECT_EQ(Refusal(kind, [&] { OpenSignal(path, {}, {.rateHz = -4.0}); }),
              "a sampling rate of -4 Hz cannot be stored");
    EXPECT_EQ(Refusal(kind, [&] { OpenSignal(path, {}, {.fullScale = 2.0}); }),
              "fullScale is for sound files");
    EXPECT_EQ(Refusal(ErrorKind::kUnknownName,
                      [&] {
                          OpenSignal(path, {"", 2});
                      }),
              "it has no record 2, only 1 record");
    EXPECT_EQ(Refusal(ErrorKind::kUnknownName, [&] { OpenSignal(path, {"c"}, {.rateHz = 4.0}); }),
              "there is no channel 'c' among its 2 channels: 'a', 'b'");
}

// ---- numbers as text ----

TEST(Numbers, AreTheShortestThatAreStoredAlike) {
    for (const CUnitCtrl::UNIT_CODE code : units::kAll) {
        const CUnitCtrl unit = SingleUnit(code);
        for (const char* text :
             {"1", "-1", "0.1", "3", "20", "1e-07", "123456", "9.80665", "0.3", "-27.077947", "45.299014"}) {
            double value = 0.0;
            std::from_chars(text, text + std::string_view(text).size(), value);
            const double stored = unit.ConvItoD(value, 1.0, 1);
            if (!std::isfinite(stored)) continue;
            const std::string number = NumberIn(unit, stored);
            double back = 0.0;
            std::from_chars(number.data(), number.data() + number.size(), back);
            EXPECT_EQ(unit.ConvItoD(back, 1.0, 1), stored) << number << " " << UnitText(unit);
            EXPECT_LE(number.size(), std::string_view(text).size())
                << number << " for " << text << " " << UnitText(unit);
        }
    }
    EXPECT_EQ(NumberIn(NamedUnit("N"), 0.1 + 0.2), "0.30000000000000004");
}

TEST(Numbers, AreWrittenAlikeOneByOneAndInColumns) {
    std::vector<double> values;
    std::mt19937_64 random(1);
    for (int exponent = -30; exponent < 30; ++exponent) {
        for (const char* digits : {"1", "99999999999999.95", "123456789012345.5", "9999999999999999"}) {
            const double value =
                std::strtod((digits + ("e" + std::to_string(exponent - 14))).c_str(), nullptr);
            for (const double limit : {-1.0, 1e300}) values.push_back(std::nextafter(value, limit));
            values.push_back(-value);
        }
        values.push_back(std::ldexp(static_cast<double>(random() >> 11), exponent - 52));
    }
    for (int i = 0; i < 3000; ++i) {
        const double value = std::bit_cast<double>(random());
        if (std::isfinite(value)) values.push_back(value);
    }
    for (const char* name : {"N", "g", "degF", "in/s2", "dB"}) {
        const CUnitCtrl unit = NamedUnit(name);
        MemoryStream stream;
        CsvWriter writer(stream, CUnitCtrl(CUnitCtrl::DIM_TIME), {{L"a", "", unit}});
        const double* const column = values.data();
        writer.Write(std::vector<double>(values.size()), {&column, 1});
        writer.Flush();
        const auto bytes = stream.Bytes();
        std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
        text.remove_prefix(text.find('\n') + 1);
        for (const double value : values) {
            ASSERT_EQ(text.substr(0, text.find('\n')), "0," + NumberIn(unit, value)) << name;
            text.remove_prefix(text.find('\n') + 1);
        }
    }
}

/// A data file of two records on axes of their own, one of them complex.
std::string WriteRecords(const TempFolder& folder, double secondPlace = 2.5) {
    const CStringArray names = {L"a", L"b, c"};
    const double places[] = {1.0, secondPlace, 10.0};
    CDataArrayDouble axis;
    EXPECT_TRUE(axis.SetData(3, places));
    CComDataBase values(2, 1, 0, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY), NamedUnit("g"), axis, &names, nullptr);
    CComDataBase complexes(0.5, 1, 1, 3, 2, 1, CUnitCtrl(CUnitCtrl::DIM_FREQUENCY), NamedUnit("N"), &names,
                           nullptr);
    for (__int64 i = 0; i < 3; ++i) {
        values.GetReal(0, 0)[i] = NamedUnit("g").ConvItoD(static_cast<double>(i) / 10, 1.0, 1);
        values.GetReal(1, 0)[i] = i == 1 ? kNoValue<double> : 9.80665;
        complexes.GetReal(0, 0)[i] = static_cast<double>(i);
        complexes.GetImaginary(0, 0)[i] = -0.25;
    }
    const DataFileContent content = {CComHdr(CComHdr::EXT_INFO_VIB_DATA, L"text"), {values, complexes}};
    StoreDataFile((folder / "in.vdf2").wstring(), content);
    return (folder / "in.vdf2").string();
}

/// The text that chosen records of a data file become, their channels in another unit if one is named.
std::string CsvOf(const TempFolder& folder, const ChannelChoice& choice, const char* unit = nullptr) {
    const std::string path = (folder / "in.vdf2").string();
    const auto reader = OpenSignal(path, choice, {}, {}, {.anyRun = true, .missing = true, .isJoined = true});
    std::vector<SignalRun> runs = reader->Runs();
    if (unit != nullptr) runs.front().channels.front().unit = NamedUnit(unit);
    const std::string csv = path + ".csv";
    const auto writer = CreateSignalFile(csv, Format::text, runs);
    ReadRuns(*reader, [&](std::size_t run, std::span<double* const> columns, std::size_t count) {
        writer->Write(run, columns, count);
    });
    writer->Commit();
    return folder.Read("in.vdf2.csv");
}

TEST(RecordsOfDataFiles, BecomeTextWithWhateverAxisAndParts) {
    const TempFolder folder;
    const std::string path = WriteRecords(folder);
    EXPECT_EQ(CsvOf(folder, {"", 1}), "frequency [Hz],a [g],\"b, c [g]\"\n1,0,1\n2.5,0.1,\n10,0.2,1\n");
    EXPECT_EQ(CsvOf(folder, {"", 2}, "kN"),
              "frequency [Hz],a re [kN],a im [kN]\n1,0,-0.00025\n1.5,0.001,-0.00025\n2,0.002,-0.00025\n");
    WriteRecords(folder, std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(Refusal(ErrorKind::kDamaged,
                      [&] {
                          CsvOf(folder, {"", 1});
                      }),
              "record 1, sample 2: its place on the axis is no number");
    WriteRecords(folder);
    const ErrorKind kind = ErrorKind::kUnsupported;
    EXPECT_EQ(Refusal(kind, [&] { CsvOf(folder, {}); }),
              "records 1 and 2 differ in their axis; choose one with record");
    EXPECT_EQ(Refusal(kind,
                      [&] {
                          const auto spectrum = OpenSignal(path, {"", 1}, {}, {}, {.anyRun = true});
                          CreateSignalFile((folder / "out.wav").string(), Format::wav, spectrum->Runs());
                      }),
              "a WAV file holds time waveforms only; choose CSV");
    EXPECT_EQ(Refusal(kind, [&] { OpenSignal(path); }), "record 1 is not a time waveform");
    EXPECT_EQ(Refusal(kind, [&] { OpenSignal(path, {}, {.rateHz = 5.0}); }),
              "a data file knows its rate, units and names; the members that state them are for files "
              "of other formats");
}

/// Writes a run as text and reads it again, with what a text cannot say of its gaps.
struct TextRoundTrip {
    explicit TextRoundTrip(const SignalRun& run, std::vector<std::vector<double>> columns,
                           const TextOptions& options = {}) {
        const TempFolder folder;
        const std::string path = (folder / "out.csv").string();
        std::vector<double*> targets;
        for (std::vector<double>& column : columns) targets.push_back(column.data());
        const auto writer = CreateSignalFile(path, Format::text, {run});
        const std::vector<std::vector<double>> written = columns;
        writer->Write(0, targets, static_cast<std::size_t>(run.samples));
        writer->Commit();
        const auto reader = OpenSignal(path, {}, {.text = options}, {}, {.anyRun = true, .missing = true});
        back = reader->Runs().front();
        samples.assign(written.size(), std::vector<double>(static_cast<std::size_t>(back.samples)));
        targets.clear();
        for (std::vector<double>& column : samples) targets.push_back(column.data());
        reader->Read(0, targets, static_cast<std::size_t>(back.samples));
        EXPECT_TRUE(samples == written);
    }

    SignalRun back;
    std::vector<std::vector<double>> samples;
};

TEST(RunsAsText, ComeBackToTheBit) {
    SignalRun run;
    run.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    run.channels = {{L"H, top", NamedUnit("(m/s2)/N"), 1, true}, {L"density", NamedUnit("(m/s2)2/Hz"), 2}};
    for (const auto& [delta, offset] : {std::pair(1.25, 3), std::pair(1.0 / 3, 0), std::pair(0.1, 17),
                                        std::pair(2560.0 / 8191, 1), std::pair(1e-3 / 7, 1001)}) {
        run.delta = delta;
        run.offset = offset;
        run.samples = 500;
        std::vector<std::vector<double>> columns(3);
        for (int i = 0; i < 500; ++i) {
            for (std::size_t c = 0; c < 3; ++c)
                columns[c].push_back(std::sin(0.37 * i + static_cast<double>(c)));
        }
        const SignalRun back = TextRoundTrip(run, columns).back;
        EXPECT_EQ(back.delta, delta);
        EXPECT_EQ(back.offset, offset);
        EXPECT_TRUE(back.axisUnit == CUnitCtrl::DIM_FREQUENCY);
        ASSERT_EQ(back.channels.size(), 2U);
        EXPECT_EQ(back.channels[0].name, L"H, top");
        EXPECT_TRUE(back.channels[0].isComplex);
        EXPECT_EQ(UnitText(back.channels[0].unit), "(m/s2)/N");
        EXPECT_EQ(UnitText(back.channels[1].unit), "(m/s2)2/Hz");
        EXPECT_FALSE(back.channels[1].isComplex);
    }
}

TEST(RunsAsText, KeepListedPlacesAndGaps) {
    SignalRun run;
    run.axisUnit = CUnitCtrl(CUnitCtrl::DIM_FREQUENCY);
    run.channels = {{L"a", NamedUnit("m/s2"), 1}};
    run.samples = 4;
    run.isListed = true;
    EXPECT_TRUE(TextRoundTrip(run, {{5, 7, 11, 100}, {1, 2, 3, 4}}).back.isListed);
    run.axisUnit = CUnitCtrl(CUnitCtrl::DIM_TIME);
    EXPECT_TRUE(TextRoundTrip(run, {{5, 7, 11, 100}, {1, 2, 3, 4}}, {.keepsUneven = true}).back.isListed);
    run.isListed = false;
    run.delta = 1.0 / 2560;
    run.offset = -2;
    const TextOptions missing = {.missing = std::vector<std::string>()};
    const SignalRun back = TextRoundTrip(run, {{1, kNoValue<double>, 3, kNoValue<double>}}, missing).back;
    EXPECT_EQ(back.delta, run.delta);
    EXPECT_EQ(back.offset, -2);
}

TEST(GapsInText, AreForReadersThatAskForThem) {
    const TempFolder folder;
    folder.Write("in.csv", "time,a\n0,1\n1,NA\n");
    RecordingStatements stated;
    stated.text.missing = std::vector<std::string>{"NA"};
    const auto reader = OpenSignal((folder / "in.csv").string(), {}, stated);
    std::array<double, 2> samples = {};
    double* const targets[] = {samples.data()};
    EXPECT_EQ(Refusal(ErrorKind::kUnsupported, [&] { reader->Read(0, targets, 2); }),
              "line 3, column 2: the sample holds no value");
    stated.text.missing.reset();
    EXPECT_EQ(Refusal(ErrorKind::kDamaged, [&] { OpenSignal((folder / "in.csv").string(), {}, stated); }),
              "line 3, column 2: 'NA' is not a number (missing lets such values pass)");
    stated.text.spacing = 0.5;
    stated.rateHz = 2.0;
    EXPECT_EQ(Refusal(ErrorKind::kBadValue, [&] { OpenSignal((folder / "in.csv").string(), {}, stated); }),
              "rateHz and spacing both state how far apart samples are");
}

}  // namespace
