// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphConfigInfo.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "tests/files/FileSupport.h"
#include "tests/graph/GraphTesting.h"

namespace {

using Search = GRAPHCONFIGINFO_PEAKSEARCH_TAG;

constexpr Search kDefaultSearch;

/// Every field at another value than its default.
CGraphConfigInfo Unusual() {
    CGraphConfigInfo config;
    *config.GetPeakSearchInfo() = {0.25, 2.0, Search::THRESHOLD_DB, Search::SEARCH_MINIMA, {9}};
    config.SetPeakMarkInfo({0.5, 4.0, Search::THRESHOLD_LOG, Search::SEARCH_MAXIMA, {}}, 12, 1, -1);
    config.SetDispTestTime(1);
    config.SetDispStat(2);
    config.SetLegendWidthText(3);
    config.SetScaleDigitFlg(1);
    config.SetScaleDigit(-4);
    return config;
}

/// The record of Unusual as `version` held it.
std::string UnusualBytes(std::uint32_t version) {
    ByteImage image;
    image.Words({version}).Doubles({0.25, 2.0}).Words({2, 2, 9}).Zeros(100).Words({1});
    image.Doubles({0.5, 4.0}).Words({1, 1}).Zeros(104).Words({12, 1, 0xFFFFFFFF});
    if (version >= 3) image.Words({3});
    if (version >= 4) image.Words({2, 1, 0xFFFFFFFC});
    return image.bytes;
}

TEST(GraphConfigInfo, StartsWithItsDefaults) {
    CGraphConfigInfo config = Unusual();
    config.Clear();
    EXPECT_EQ(config, CGraphConfigInfo());
    const Search search = *config.GetPeakSearchInfo();
    EXPECT_EQ(search.LinearThreshold, 0.05);
    EXPECT_EQ(search.RatioThreshold, 1.2589254117941673);
    ByteImage image;
    for (const std::uint32_t before : {4U, 0U}) {
        image.Words({before}).Doubles({0.05, 1.2589254117941673}).Zeros(112);
    }
    image.Words({5, 0, 0, 0, 0, 0, 1});
    EXPECT_EQ(Stored(config), image.bytes);
    EXPECT_EQ(config.GetScaleDigit(), 1);
}

TEST(GraphConfigInfo, IsStoredAndLoadedFieldByField) {
    CGraphConfigInfo config = Unusual();
    EXPECT_EQ(UnusualBytes(4).size(), 292U);
    EXPECT_EQ(Stored(config), UnusualBytes(4));
    std::int32_t count = 0;
    int flag1 = 0;
    config.GetPeakMarkInfo(nullptr, &count, &flag1, nullptr);
    EXPECT_EQ(count * 10 + flag1, 121);
    EXPECT_TRUE(config.IsDispTestTime() == 1 && config.IsDispStat() == 2 && config.IsLegendWidthText() == 3);

    const auto expected = [](std::uint32_t version) {
        CGraphConfigInfo old = Unusual();
        if (version < 3) old.SetLegendWidthText(0);
        if (version < 4) {
            old.SetDispStat(0);
            old.SetScaleDigitFlg(0);
            old.SetScaleDigit(1);
        }
        return old;
    };
    for (const std::uint32_t version : {0U, 2U, 3U, 4U, 9U}) {
        CGraphConfigInfo loaded = Unusual();
        CGraphConfigInfo defaults;
        const auto load = [&loaded](CArchive& archive) { loaded.Serialize(archive); };
        const std::string bytes = UnusualBytes(version);
        EXPECT_EQ(CauseOfLoading(bytes, load), CFileException::none) << version;
        CGraphConfigInfo old = expected(version);
        EXPECT_EQ(Stored(loaded), Stored(old)) << version;
        for (std::size_t size = 0; size < bytes.size(); ++size) {
            ASSERT_EQ(CauseOfLoading(bytes.substr(0, size), load), CFileException::endOfFile) << size;
            ASSERT_EQ(Stored(loaded), Stored(defaults)) << size;
        }
    }
    EXPECT_EQ(UnusualBytes(2).size(), 276U);
}

TEST(GraphConfigInfo, OfTheFirstGenerationKnowsThePeakSearchAndTheTestTime) {
    const std::string bytes = ByteImage().Doubles({0.25, 2.0}).Words({2, 1, 1}).bytes;
    CGraphConfigInfo loaded = Unusual(), expected;
    const auto load = [&loaded](CArchive& archive) { loaded.Serialize1st(archive); };
    EXPECT_EQ(CauseOfLoading(bytes, load), CFileException::none);
    *expected.GetPeakSearchInfo() = {0.25, 2.0, Search::THRESHOLD_DB, Search::SEARCH_MAXIMA, {}};
    expected.SetDispTestTime(1);
    EXPECT_EQ(loaded, expected);
    EXPECT_EQ(CauseOfLoading(bytes.substr(1), load), CFileException::endOfFile);
    EXPECT_EQ(loaded, CGraphConfigInfo());
    EXPECT_THROW(BytesOf([&](CArchive& archive) { loaded.Serialize1st(archive); }), CFileException);
}

TEST(GraphConfigInfo, ComparesDigitsOnlyWhenBothSidesHaveThem) {
    using Change = std::function<void(CGraphConfigInfo&)>;
    const Change changes[] = {
        [](auto& c) { c.GetPeakSearchInfo()->Reserved[103] = 1; },
        [](auto& c) { c.SetPeakMarkInfo({0.06}, 5, 0, 0); },
        [](auto& c) { c.SetPeakMarkInfo(kDefaultSearch, 6, 0, 0); },
        [](auto& c) { c.SetPeakMarkInfo(kDefaultSearch, 5, 1, 0); },
        [](auto& c) { c.SetPeakMarkInfo(kDefaultSearch, 5, 0, 1); },
        [](auto& c) { c.SetDispTestTime(1); },
        [](auto& c) { c.SetDispStat(1); },
        [](auto& c) { c.SetLegendWidthText(1); },
        [](auto& c) { c.SetScaleDigitFlg(1); },
    };
    const CGraphConfigInfo config;
    for (const Change& change : changes) {
        CGraphConfigInfo other;
        change(other);
        EXPECT_NE(config, other) << &change - changes;
    }
    CGraphConfigInfo a, b;
    b.SetScaleDigit(3);
    EXPECT_EQ(a, b);
    a.SetScaleDigitFlg(1);
    b.SetScaleDigitFlg(1);
    EXPECT_NE(a, b);
    a.SetScaleDigit(3);
    EXPECT_EQ(a, b);
}

TEST(GraphConfigInfo, ListsTheSearchTypes) {
    CItemInfoList list;
    list.Append(9, L"old");
    ASSERT_EQ(CGraphConfigInfo::GetPeakSearchTypeItemInfoList(&list), 1);
    ASSERT_EQ(list.GetNum(), 3);
    const wchar_t* const texts[] = {L"両方", L"極大値", L"極小値"};
    for (int i = 0; i < 3; ++i) {
        CItemInfo item;
        list.GetItem(i, &item);
        EXPECT_EQ(item, CItemInfo(i, texts[i], 1));
    }
    EXPECT_EQ(CGraphConfigInfo::GetPeakSearchTypeItemInfoList(nullptr), 0);
}

TEST(GraphTexts, StandWhereTheirBlocksSay) {
    const struct {
        unsigned int id;
        const wchar_t* text;
    } rows[] = {
        {kvx::kTextFirstGraphCompo + 7, L"凡例文字"},
        {kvx::kTextFirstGraphDataLine + 15, L"データ16"},
        {kvx::kTextFirstGraphSpecialLine + 3, L"リミット"},
        {kvx::kTextAskDisplayOnBlack, L"ディスプレイを既定色[黒背景]に設定します。\nよろしいですか?"},
        {kvx::kTextAskDisplayOnWhite, L"ディスプレイを既定色[白背景]に設定します。\nよろしいですか?"},
        {kvx::kTextAskPrinter, L"プリンタを既定色[白背景]に設定します。\nよろしいですか?"},
        {kvx::kTextFirstPeakThresholdKind + 2, L"dB"},
    };
    for (const auto& [id, text] : rows) EXPECT_EQ(kvx::ResourceText(id), text) << id;
}

}  // namespace
