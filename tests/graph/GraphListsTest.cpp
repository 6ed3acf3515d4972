// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/GraphLineInfo.h>
#include <KvxDevCommon01/graph/GraphMarkInfo.h>
#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>

namespace {

TEST(GraphLineSample, IsEqualOnlyInAllThirteenAttributes) {
    using Words = std::array<std::uint32_t, 13>;
    const CKvxGraphLineSample sample;
    EXPECT_EQ(sample, CKvxGraphLineSample());
    for (std::size_t i = 0; i < 13; ++i) {
        Words words = std::bit_cast<Words>(sample);
        words[i] ^= 2;
        EXPECT_NE(std::bit_cast<CKvxGraphLineSample>(words), sample) << i;
    }
}

TEST(GraphLineInfoList, IsFilledAndTakesNoMoreThanSixtyFour) {
    CGraphLineInfoList list;
    ASSERT_EQ(list.CreateInfo(3), 1);
    list.GetInfoPtr(1)->m_strName = L"kept";
    EXPECT_EQ(list.CreateInfo(70), 0);
    EXPECT_EQ(list.GetNum(), 3);
    EXPECT_EQ(list.GetInfoPtr(1)->m_strName, L"kept");

    ASSERT_EQ(list.CreateInfo(64), 1);
    for (int i = 0; i < 64; ++i) EXPECT_EQ(list.GetInfoPtr(i)->m_lColorIndex, i);
    const CGraphLineInfo* first = list.GetInfoPtr(0);
    EXPECT_TRUE(first->m_bDisp == 1 && first->m_strName.empty() && first->m_lAxis == 0);
    EXPECT_TRUE(first->IsIndexValid() && list.GetInfoPtr(63)->IsIndexValid());
    for (const __int64 outside : {-1, 64}) {
        CGraphLineInfo info;
        info.m_lColorIndex = outside;
        EXPECT_FALSE(info.IsIndexValid());
    }
    EXPECT_EQ(list.Append({}), 0);
    EXPECT_EQ(list.Delete(64), 0);
    EXPECT_EQ(list.Delete(-1), 0);
    EXPECT_EQ(list.Delete(10), 1);
    EXPECT_EQ(list.GetInfoPtr(10)->m_lColorIndex, 11);
    EXPECT_EQ(list.Append({}), 1);
    EXPECT_EQ(list.GetInfoPtr(64), nullptr);
    EXPECT_EQ(list.GetInfoPtr(-1), nullptr);
    list.ClearAll();
    EXPECT_EQ(list.GetNum(), 0);
    EXPECT_EQ(CGraphLineInfoList::GetMaxColorNum(), 64);
    EXPECT_EQ(CGraphLineInfoList::GetMaxLineNum(), 64);
    EXPECT_EQ(CGraphLineInfoList::GetWaterfallMaxLineNum(), 255);
}

TEST(GraphLineInfoList, FindsSeriesByTheirAxisAndCopiesThem) {
    CGraphLineInfoList list;
    const std::uint32_t axes[] = {0, 1, 2, 0, 1};
    for (const std::uint32_t axis : axes) {
        CGraphLineInfo info;
        info.m_lAxis = axis;
        info.m_lColorIndex = list.GetNum();
        list.Append(info);
    }
    const CGraphLineInfoList copy = list;
    list.ClearAll();
    EXPECT_EQ(copy.GetInfoPtr1stAxis(1), copy.GetInfoPtr(3));
    EXPECT_EQ(copy.GetInfoPtr1stAxis(2), nullptr);
    EXPECT_EQ(copy.GetInfoPtr2ndAxis(1), copy.GetInfoPtr(4)) << "an axis word of 2 is not counted here";
    EXPECT_EQ(copy.GetInfoPtr2ndAxis(2), nullptr);
    EXPECT_EQ(copy.GetInfoPtr2ndAxis(-1), nullptr);
    EXPECT_EQ(copy.Get2ndAxisDataNum(), 3) << "but here";
}

CGraphMarkInfo Mark(std::int32_t code, COLORREF color = 0) {
    CKvxGraphLineSample sample;
    sample.m_rgbMark = color;
    return {code, &sample};
}

TEST(GraphMarkInfo, TakesAndGivesASetting) {
    CGraphMarkInfo mark = Mark(4, 0x0000FF);
    CKvxGraphLineSample sample;
    EXPECT_EQ(mark.Get(&sample), 1);
    EXPECT_EQ(sample.m_rgbMark, 0x0000FFU);
    EXPECT_NE(mark, Mark(4, 0x00FF00));
    EXPECT_NE(mark, Mark(5, 0x0000FF));
    sample.m_rgbMark = 0x00FF00;
    EXPECT_EQ(mark = &sample, 1);
    EXPECT_EQ(mark, Mark(4, 0x00FF00));
    const CKvxGraphLineSample* nothing = nullptr;
    EXPECT_EQ((mark = nothing) + mark.Set(nullptr) + mark.Get(nullptr), 0);
    EXPECT_EQ(mark, Mark(4, 0x00FF00));
}

TEST(GraphMarkInfoList, HoldsEachCodeOnceInItsOrder) {
    CGraphMarkInfoList list;
    for (const std::int32_t code : {7, -1, 3}) EXPECT_EQ(list.Append(Mark(code)), 1);
    EXPECT_EQ(list.Append(Mark(-1, 5)), 0);
    __int64 index = -1;
    CGraphMarkInfo found;
    EXPECT_EQ(list.GetInfoByCode(3, &index, &found), 1);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(found, Mark(3));
    EXPECT_EQ(list.GetInfoByCode(3, nullptr, nullptr), 1);
    EXPECT_EQ(list.GetInfoByCode(4, &index, &found), 0);

    EXPECT_EQ(list.UpdateByCode(3, Mark(8, 9)), 1);
    EXPECT_EQ(list.UpdateByCode(3, Mark(3)), 0);
    EXPECT_EQ(list.UpdateByCode(8, Mark(7)), 0) << "the code of another entry";
    EXPECT_EQ(list.UpdateByIndex(2, Mark(8, 10)), 1);
    for (const __int64 outside : {-1, 3}) {
        EXPECT_EQ(list.UpdateByIndex(outside, Mark(20)), 0);
        EXPECT_EQ(list.DeleteByIndex(outside), 0);
        EXPECT_EQ(list.GetInfoByIndex(outside, &found), 0);
    }
    EXPECT_EQ(list.GetInfoByIndex(0, nullptr), 0);
    EXPECT_EQ(list.GetInfoByIndex(2, &found), 1);
    EXPECT_EQ(found, Mark(8, 10));

    EXPECT_EQ(list.DeleteByCode(7), 1);
    EXPECT_EQ(list.DeleteByCode(7), 0);
    EXPECT_EQ(list.DeleteByIndex(0), 1);
    EXPECT_EQ(list.GetNum(), 1);
    list.ClearAll();
    EXPECT_EQ(list.GetNum(), 0);
}

TEST(GraphMarkInfoList, IsEqualOnlyInTheSameOrder) {
    CGraphMarkInfoList a, b, c;
    for (const std::int32_t code : {1, 2}) a.Append(Mark(code));
    for (const std::int32_t code : {2, 1}) b.Append(Mark(code));
    for (const std::int32_t code : {1, 2}) c.Append(Mark(code));
    EXPECT_EQ(a, c);
    EXPECT_NE(a, b);
    c.DeleteByCode(2);
    EXPECT_NE(a, c);
}

}  // namespace
