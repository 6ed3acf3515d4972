// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/DataFile.h>
#include <KvxDevCommon01/files/DataFileStream.h>
#include <KvxDevCommon01/platform/UserInterface.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <csignal>
#include <fstream>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tests/files/FileSupport.h"
#include "tests/support/TempFolder.h"

namespace {

using kvx::DataFileContent;
using kvx::Error;
using kvx::ErrorKind;
using testing::ElementsAre;

/// A person: answers file dialogs with paths in turn until the dialog accepts, and keeps what was shown.
class Person final : public kvx::UserInterface {
public:
    Person() { kvx::SetUserInterface(this); }
    ~Person() override { kvx::SetUserInterface(nullptr); }

    int ShowMessage(const kvx::MessageRequest& request) override {
        messages.push_back(request.text);
        return 1;
    }
    std::vector<std::wstring> ChooseFiles(const kvx::FileDialogRequest& request) override {
        dialog = request;
        std::vector<std::wstring> chosen;
        for (const std::wstring& path : picks) {
            if (request.accept && !request.accept(path)) continue;
            chosen.push_back(path);
            if (!request.multiple) break;
        }
        return chosen;
    }

    std::vector<std::wstring> picks;
    std::vector<std::wstring> messages;
    kvx::FileDialogRequest dialog;
};

std::string CurrentHeader(CComHdr::EXT_INFO_TYPE type) {
    CComHdr header(type, L"name");
    return StoredBytes(header);
}

std::string CurrentFile() {
    return CurrentHeader(CComHdr::EXT_INFO_RANDOM_DATA) + WaveBytes() + SpectrumBytes();
}
std::string FirstFile() {
    return FirstHeaderBytes(0, "", 1) + FirstWaveBytes() + FirstSpectrumBytes();
}

class DataFile : public testing::Test {
protected:
    std::wstring Path(const std::string& name = "file.vdf2") const { return (folder_ / name).wstring(); }

    /// Loads the file both ways; the outcome stays in content_ and error_.
    int Load(const std::wstring& path) {
        error_ = ErrorOf([&] { content_ = kvx::LoadDataFile(path); });
        const int isLoaded = CComDataFile::LoadDataFile(path.c_str(), &content_);
        EXPECT_EQ(isLoaded, !error_);
        return isLoaded;
    }
    int Load() { return Load(Path()); }
    int LoadBytes(const std::string& bytes) {
        folder_.Write("file.vdf2", bytes);
        return Load();
    }
    int Store(const std::wstring& path) {
        error_ = ErrorOf([&] { kvx::StoreDataFile(path, content_); });
        const int isStored = CComDataFile::StoreDataFile(path.c_str(), content_);
        EXPECT_EQ(isStored, !error_);
        return isStored;
    }
    bool IsEmpty() const { return content_.records.empty() && content_.header == CComHdr(); }

    TempFolder folder_;
    DataFileContent content_;
    std::optional<Error> error_;
};

TEST_F(DataFile, IsLoadedAndStoredByteForByte) {
    ASSERT_EQ(LoadBytes(CurrentFile()), 1);
    ASSERT_EQ(Store(Path("copy.vdf2")), 1);
    EXPECT_EQ(folder_.Read("copy.vdf2"), CurrentFile());
    EXPECT_EQ(folder_.Count(), 2U);

    ASSERT_EQ(LoadBytes(FirstFile()), 1);
    EXPECT_EQ(content_.records.size(), 2U);
    ASSERT_EQ(Store(Path()), 1);
    EXPECT_THAT(folder_.Read("file.vdf2"), testing::AllOf(testing::StartsWith(CurrentFile().substr(0, 8)),
                                                          testing::EndsWith(SpectrumBytes())));
}

TEST_F(DataFile, CutShortAnywhereFailsAndSaysWhere) {
    const struct {
        std::string bytes;
        std::size_t first, second;  // where the records begin
    } files[] = {{CurrentFile(), 640, 640 + WaveBytes().size()},
                 {FirstFile(), 384, 384 + FirstWaveBytes().size()}};
    for (const auto& [bytes, first, second] : files) {
        folder_.Write("file.vdf2", bytes);
        for (std::size_t size = bytes.size(); size-- > 0;) {
            resize_file(folder_ / "file.vdf2", size);
            if (size == second) continue;  // a file of one record
            ASSERT_EQ(Load(), 0) << size;
            ASSERT_TRUE(IsEmpty()) << size;
            ASSERT_EQ(error_->Kind(), size < 4 ? ErrorKind::kUnsupported : ErrorKind::kDamaged) << size;
            ASSERT_EQ(error_->Sentence(), size < 4        ? "it is not a vibration data file"
                                          : size == first ? "it has a header but no record"
                                                          : "the file ends too early");
            ASSERT_EQ(error_->Place().record.value_or(0), size <= first ? 0 : size < second ? 1 : 2) << size;
            ASSERT_EQ(error_->Place().path, kvx::ToUtf8(Path()));
        }
    }
}

TEST_F(DataFile, WithAnyByteDamagedIsWholeOrNotLoadedAtAll) {
    for (const std::string& bytes : {CurrentFile(), FirstFile()}) {
        folder_.Write("file.vdf2", bytes);
        // In place: a file that is truncated and written anew for every byte costs a flush each time.
        std::fstream file(folder_ / "file.vdf2", std::ios::in | std::ios::out | std::ios::binary);
        const auto put = [&](std::size_t place, int byte) {
            file.seekp(static_cast<std::streamoff>(place)).put(static_cast<char>(byte)).flush();
        };
        for (std::size_t place = 0; place < std::min<std::size_t>(bytes.size(), 4096); ++place) {
            for (const int flips : {0xFF, 0x01, 0x80}) {
                put(place, bytes[place] ^ flips);
                if (Load()) {
                    ASSERT_EQ(content_.header.GetGrpType(), 2) << place;
                    ASSERT_FALSE(content_.records.empty()) << place;
                    for (CComDataBase& record : content_.records) {
                        ASSERT_TRUE(record.Check()) << place;
                        ASSERT_EQ(std::ssize(record.GetRowName()), record.GetNumRow()) << place;
                        ASSERT_EQ(std::ssize(record.GetColName()), record.GetNumCol()) << place;
                        ASSERT_NE(StoredBytes(record), "") << place;
                    }
                } else {
                    ASSERT_TRUE(IsEmpty()) << place;
                }
            }
            put(place, bytes[place]);
        }
        ASSERT_EQ(Load(), 1);
    }
}

TEST_F(DataFile, HoldsWholeRecordsOfTheDataGroupAndNothingElse) {
    const std::string record = WaveBytes();
    std::string emptyRecord = record;
    emptyRecord[4] = 9;
    const std::string header = CurrentHeader(CComHdr::EXT_INFO_VIB_DATA);
    const std::tuple<std::string, ErrorKind, std::string> cases[] = {
        {CurrentHeader(CComHdr::EXT_INFO_GRAPH_COLOR) + record, ErrorKind::kUnsupported,
         "it is not a vibration data file"},
        {FirstHeaderBytes(0x11001, "", 1001) + FirstWaveBytes(), ErrorKind::kUnsupported,
         "it is not a vibration data file"},
        {std::string(2000, 'x'), ErrorKind::kUnsupported, "it is not a vibration data file"},
        {header, ErrorKind::kDamaged, "it has a header but no record"},
        {CurrentFile() + "x", ErrorKind::kDamaged, "record 3: the file ends too early"},
        {header + emptyRecord, ErrorKind::kDamaged, "record 1: it is empty or damaged"},
    };
    for (const auto& [bytes, kind, text] : cases) {
        EXPECT_EQ(LoadBytes(bytes), 0) << text;
        EXPECT_EQ(error_->Kind(), kind) << text;
        EXPECT_EQ(error_->what(), kvx::ToUtf8(Path()) + ": " + text);
        EXPECT_TRUE(IsEmpty());
    }
}

TEST_F(DataFile, ThatCannotBeReadGivesTheCause) {
    const std::pair<std::wstring, ErrorKind> cases[] = {
        {Path("missing.vdf2"), ErrorKind::kNotFound},
        {folder_.Path().wstring(), ErrorKind::kDenied},
        {L"/dev/zero", ErrorKind::kHost},  // without an end
        {L"", ErrorKind::kNotFound},
    };
    for (const auto& [file, kind] : cases) {
        const std::wstring path = file;
        content_.records.resize(1);
        EXPECT_EQ(Load(path), 0);
        EXPECT_EQ(error_->Kind(), kind);
        EXPECT_EQ(error_->Place().path, kvx::ToUtf8(path));
        EXPECT_TRUE(IsEmpty());
        EXPECT_EQ(ErrorOf([&] { kvx::DataFileReader reader(path); })->Kind(), kind);
    }
    EXPECT_EQ(CComDataFile::LoadDataFile(nullptr, &content_), 0);
    EXPECT_EQ(CComDataFile::LoadDataFile(Path().c_str(), nullptr), 0);
    EXPECT_EQ(CComDataFile::StoreDataFile(nullptr, content_), 0);
}

TEST_F(DataFile, ThatCannotBeStoredLeavesTheOldOne) {
    const std::string old = CurrentFile();
    ASSERT_EQ(LoadBytes(old), 1);
    const DataFileContent good = content_;
    const auto expectRefused = [&](ErrorKind kind, std::optional<std::int64_t> record = std::nullopt) {
        EXPECT_EQ(Store(Path()), 0);
        EXPECT_EQ(error_->Kind(), kind);
        EXPECT_EQ(error_->Place().record, record);
        EXPECT_EQ(folder_.Read("file.vdf2"), old);
        EXPECT_EQ(folder_.Count(), 1U);
    };
    content_.records.emplace_back();
    expectRefused(ErrorKind::kBadValue, 3);
    content_.records.clear();
    expectRefused(ErrorKind::kBadValue);
    COMHDR_TAG noMagic = good.header.GetTag();
    noMagic.Magic = 0;
    const CComHdr otherGroup(CComHdr::EXT_INFO_GRAPH_COLOR, nullptr);
    for (const COMHDR_TAG& tag : {noMagic, otherGroup.GetTag()}) {
        content_ = good;
        content_.header = &tag;
        expectRefused(ErrorKind::kUnsupported);
    }

    // A limit on the size of files acts like a disk that fills up while the records are written.
    content_ = good;
    rlimit before = {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small = {1000, before.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    expectRefused(ErrorKind::kDiskFull);
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);

    const std::pair<std::wstring, ErrorKind> places[] = {{Path("missing/file.vdf2"), ErrorKind::kNotFound},
                                                         {folder_.Path().wstring(), ErrorKind::kDenied},
                                                         {L"/dev/full", ErrorKind::kDiskFull}};
    for (const auto& [path, kind] : places) {
        EXPECT_EQ(Store(path), 0);
        EXPECT_EQ(error_->Kind(), kind);
    }
}

TEST(FirstGeneration, IsNeverWritten) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    EXPECT_THROW(CComHdr().Serialize1st(archive, 0, nullptr), CFileException);
    EXPECT_THROW(CComDataWave().Serialize1st(archive), CFileException);
}

TEST_F(DataFile, TellsThePersonOnceAndOnlyWhenAsked) {
    Person person;
    EXPECT_EQ(CComDataFile::LoadDataFile(Path().c_str(), &content_, 0), 0);
    EXPECT_TRUE(person.messages.empty());
    EXPECT_EQ(CComDataFile::LoadDataFile(Path().c_str(), &content_, 1), 0);
    folder_.Write("text.txt", "not a data file");
    EXPECT_EQ(CComDataFile::LoadDataFile(Path("text.txt").c_str(), &content_, 1), 0);
    ASSERT_EQ(LoadBytes(CurrentFile()), 1);
    EXPECT_EQ(CComDataFile::LoadDataFile(Path().c_str(), &content_, 1), 1);
    EXPECT_EQ(CComDataFile::StoreDataFile(folder_.Path().wstring().c_str(), content_, 1), 0);
    EXPECT_THAT(
        person.messages,
        ElementsAre(Path() + L"\nファイルが見つかりません", Path("text.txt") + L"\nファイル種別が不正です",
                    folder_.Path().wstring() + L"\nファイルへのアクセスが拒否されました"));
}

constexpr auto kVibData = CComHdr::EXT_INFO_VIB_DATA;

class DataFileDialogs : public DataFile {
protected:
    DataFileDialogs() {
        folder_.Write("random.vdf2", CurrentFile());
        folder_.Write("shock.vdf", FirstHeaderBytes(0, "", 2));
        folder_.Write("short.vdf", FirstHeaderBytes(0, "", 2).substr(0, 320));
        folder_.Write("colours.gci2", CurrentHeader(CComHdr::EXT_INFO_GRAPH_COLOR));
        folder_.Write("text.txt", "text");
    }
    std::vector<std::wstring> All() const {
        return {Path("text.txt"), Path("colours.gci2"), Path("short.vdf"), Path("shock.vdf"),
                Path("random.vdf2")};
    }

    Person person_;
};

/// Accepts the application whose number `user` is.
int OnlyApplication(const wchar_t* path, std::int32_t appType, __int64 user) {
    EXPECT_NE(std::wstring(path).find(L".vdf"), std::wstring::npos) << "only data files are put to the check";
    return appType == user;
}

TEST_F(DataFileDialogs, StayOpenUntilOneOrSeveralDataFilesAreChosen) {
    person_.picks = All();
    CString path;
    EXPECT_EQ(CComDataFile::OpenDataFile(kVibData, L"C:\\data", &path), 1);
    EXPECT_EQ(path, Path("shock.vdf"));
    EXPECT_EQ(person_.messages, std::vector<std::wstring>(3, L"ファイル種別が不正です"));
    EXPECT_EQ(person_.dialog.filter, L"加振データファイル (*.vdf2)|*.vdf2||");
    EXPECT_EQ(person_.dialog.defaultExtension, L".vdf2");
    EXPECT_EQ(person_.dialog.initialDirectory, L"C:\\data");
    EXPECT_FALSE(person_.dialog.save || person_.dialog.multiple);

    CStringArray paths;
    EXPECT_EQ(CComDataFile::OpenDataFileMulti(kVibData, L"", &paths, nullptr, 0), 1);
    EXPECT_THAT(paths, ElementsAre(Path("shock.vdf"), Path("random.vdf2")));
    EXPECT_TRUE(person_.dialog.multiple);
}

TEST_F(DataFileDialogs, LetTheCallerRefuseWithoutAMessage) {
    person_.picks = {Path("shock.vdf"), Path("random.vdf2")};
    CString path;
    CComDataFile::OpenDataFileEx(kVibData, nullptr, &path, OnlyApplication, CComHdr::APP_RANDOM);
    EXPECT_EQ(path, Path("random.vdf2"));
    CStringArray paths;
    CComDataFile::OpenDataFileMulti(kVibData, L"", &paths, OnlyApplication, CComHdr::APP_SHOCK);
    EXPECT_THAT(paths, ElementsAre(Path("shock.vdf")));
    EXPECT_TRUE(person_.messages.empty());
}

TEST_F(DataFileDialogs, LeaveTheOutputWhenNothingIsChosen) {
    CString path = L"old";
    CStringArray paths = {L"old"};
    EXPECT_EQ(CComDataFile::OpenDataFile(kVibData, nullptr, &path), 0);
    EXPECT_EQ(CComDataFile::OpenDataFileMulti(kVibData, nullptr, &paths, nullptr, 0), 0);
    EXPECT_EQ(CComDataFile::SaveDataFile(kVibData, nullptr, &path), 0);
    person_.picks = {Path("random.vdf2")};
    EXPECT_EQ(CComDataFile::OpenDataFile(CComHdr::EXT_INFO_NONE, nullptr, &path), 0) << "no such kind";
    EXPECT_EQ(CComDataFile::OpenDataFile(kVibData, nullptr, nullptr), 0);
    EXPECT_EQ(CComDataFile::MakeFilter(CComHdr::EXT_INFO_NONE, &path), 0);
    EXPECT_EQ(CComDataFile::MakeFilter(kVibData, nullptr), 0);
    EXPECT_EQ(path + paths[0], L"oldold");
}

TEST_F(DataFileDialogs, GiveANameToStoreUnderItsExtension) {
    constexpr auto kDotless = static_cast<CComHdr::EXT_INFO_TYPE>(328);  // its extension is "dat2"
    const std::tuple<CComHdr::EXT_INFO_TYPE, const wchar_t*, const wchar_t*> cases[] = {
        {kVibData, L"C:\\data.d\\new", L"C:\\data.d\\new.vdf2"},
        {kVibData, L"new.other", L"new.other"},
        {kDotless, L"new", L"new.dat2"},
    };
    for (const auto& [kind, pick, expected] : cases) {
        CString path;
        person_.picks = {pick};
        EXPECT_EQ(CComDataFile::SaveDataFile(kind, nullptr, &path), 1);
        EXPECT_EQ(path, expected);
        EXPECT_TRUE(person_.dialog.save);
    }
    EXPECT_EQ(person_.dialog.defaultExtension, L".dat2");
    EXPECT_EQ(person_.dialog.filter, L"ページ復元情報ファイル (*.dat2)|*.dat2||");
    EXPECT_EQ(CComDataFile::SaveDataFile(kVibData, nullptr, nullptr), 0);
}

}  // namespace
