// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/text/ItemInfo.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

#include "tests/support/FailingMemory.h"

namespace {

std::vector<std::int32_t> Codes(const CItemInfoList& list) {
    std::vector<std::int32_t> codes;
    CItemInfo item;
    for (__int64 i = 0; list.GetItem(i, &item); ++i) codes.push_back(item.GetCode());
    return codes;
}

CItemInfoList ListOf(std::initializer_list<std::int32_t> codes) {
    CItemInfoList list;
    for (const std::int32_t code : codes) EXPECT_EQ(list.Append(code, L"item"), 1);
    return list;
}

using testing::ElementsAre;

TEST(ItemInfoList, ItemsComeBackAsTheyWerePut) {
    CItemInfoList list;
    EXPECT_EQ(list.Append(1, L"2D"), 1);
    EXPECT_EQ(list.Append(CItemInfo(4, L"map", 0)), 1);
    EXPECT_EQ(list.AppendResource(3, 101), 1);
    EXPECT_EQ(list.AppendResource(4, 100), 0) << "no such text";
    const CItemInfo items[] = {CItemInfo(1, L"2D", 1), CItemInfo(4, L"map", 0), CItemInfo(3, L"加速度", 1)};
    ASSERT_EQ(list.GetNum(), 3);
    for (std::size_t i = 0; i < 3; ++i) {
        CItemInfo item;
        EXPECT_EQ(list.GetItem(static_cast<__int64>(i), &item), 1);
        EXPECT_EQ(item, items[i]);
    }
    list.Init();
    EXPECT_EQ(list.GetNum(), 0);
}

TEST(ItemInfoList, AnItemCanBePutAnywhereAndTakenOut) {
    CItemInfoList list = ListOf({1, 2});
    EXPECT_EQ(list.Insert(0, CItemInfo(10, L"")), 1);
    EXPECT_EQ(list.Insert(3, CItemInfo(30, L"")), 1);
    EXPECT_EQ(list.Insert(1, CItemInfo(20, L"")), 1);
    EXPECT_THAT(Codes(list), ElementsAre(10, 20, 1, 2, 30));
    EXPECT_EQ(list.Remove(2), 1);
    EXPECT_EQ(list.Remove(3), 1);
    EXPECT_THAT(Codes(list), ElementsAre(10, 20, 2));
}

TEST(ItemInfoList, PositionsOutsideTheListAreRefused) {
    CItemInfoList list = ListOf({1, 2});
    CItemInfo item(9, L"before");
    for (const __int64 index : {-1, 2, 1000}) EXPECT_EQ(list.GetItem(index, &item), 0);
    EXPECT_EQ(list.GetItem(0, nullptr), 0);
    EXPECT_EQ(item, CItemInfo(9, L"before"));
    EXPECT_EQ(list.Insert(-1, item), 0);
    EXPECT_EQ(list.Insert(3, item), 0);
    EXPECT_EQ(list.Remove(-1), 0);
    EXPECT_EQ(list.Remove(2), 0);
    EXPECT_EQ(list.GetNum(), 2);
}

TEST(ItemInfoList, FindingACodeGivesItsFirstPosition) {
    const CItemInfoList list = ListOf({7, 5, 5});
    EXPECT_EQ(list.Find(5), 1);
    EXPECT_EQ(list.Find(6), -1);
}

TEST(ItemInfoList, WithoutMemoryNothingChanges) {
    CItemInfoList list = ListOf({1});
    const CItemInfo item(2, L"a text that needs memory");
    const auto expectUnchanged = [&list] { EXPECT_THAT(Codes(list), ElementsAre(1)); };
    EXPECT_GT(Starve([&] { return list.Append(2, item.GetText()); }, expectUnchanged), 0);
    list.Remove(1);
    EXPECT_GT(Starve([&] { return list.AppendResource(2, 2001); }, expectUnchanged), 0);
    list.Remove(1);
    EXPECT_GT(Starve([&] { return list.Insert(0, item); }, expectUnchanged), 0);
    CItemInfo out(9, L"");
    EXPECT_GT(Starve([&] { return list.GetItem(0, &out); }, [&] { EXPECT_EQ(out, CItemInfo(9, L"")); }), 0);
    EXPECT_EQ(out, item);
}

}  // namespace
