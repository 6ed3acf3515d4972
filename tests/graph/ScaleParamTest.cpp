// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/FileException.h>
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <limits>
#include <span>
#include <string>

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr std::size_t kFileSize = 196;

CScaleParam Drawable() {
    CScaleParam scale;
    scale.m_bXAuto = 1;
    return scale;
}

TEST(ScaleParam, IsDrawableWhenEveryAxisHasBoundsAndTheDepthHasSlices) {
    using enum CGraphParam::GRAPHDISP_TYPE;
    const auto fixX = [](double low, double high, BOOL isLog) {
        return [=](CScaleParam& s) { s.m_bXAuto = 0, s.m_dXMin = low, s.m_dXMax = high, s.m_bXLog = isLog; };
    };
    const auto depth = [](CGraphParam::GRAPHDISP_TYPE type, __int64 start, __int64 num, double ratio) {
        return [=](CScaleParam& s) {
            s.m_eDispType = type, s.m_lZStart = start, s.m_lZNum = num, s.m_dZRatio1 = ratio;
        };
    };
    const struct {
        std::function<void(CScaleParam&)> change;
        BOOL expected;
    } cases[] = {
        {[](CScaleParam&) {}, 1},
        {[](CScaleParam& s) { s.Clear(); }, 0},
        {fixX(0, 0, 0), 0},
        {fixX(-1, 0, 0), 1},
        {fixX(3, 3, 0), 1},
        {fixX(3, 2, 0), 0},
        {fixX(kNaN, 2, 0), 0},
        {fixX(1, kNaN, 0), 0},
        {fixX(0, 10, 1), 0},
        {fixX(1e-300, 10, 1), 1},
        {[](CScaleParam& s) { s.m_bXLog = s.m_bXSymmetric = 1; }, 0},
        {[](CScaleParam& s) { s.m_bXSymmetric = 2; }, 1},
        {[](CScaleParam& s) { s.m_bYAuto = 0; }, 0},
        {[](CScaleParam& s) { s.m_bYAuto = 0, s.m_dYMax = 1; }, 1},
        {[](CScaleParam& s) { s.m_bYAuto = 0, s.m_dYMax = 1, s.m_bYLog = 1; }, 0},
        {[](CScaleParam& s) { s.m_bYLog = s.m_bYSymmetric = 1; }, 0},
        {[](CScaleParam& s) { s.m_dY2Min = 1, s.m_bY2Log = s.m_bY2Symmetric = 1; }, 1},
        {[](CScaleParam& s) { s.m_bY2Enable = 1; }, 0},
        {[](CScaleParam& s) { s.m_bY2Enable = s.m_bY2Auto = 1; }, 1},
        {[](CScaleParam& s) { s.m_bY2Enable = s.m_bY2Auto = s.m_bY2Log = s.m_bY2Symmetric = 1; }, 0},
        {depth(GRAPHDISP_WATERFALL, 0, 1, 0.0), 1},
        {depth(GRAPHDISP_COLORMAP, 5, 1, 0.7), 1},
        {depth(GRAPHDISP_WATERFALL, -1, 1, 0.7), 0},
        {depth(GRAPHDISP_WATERFALL, 0, 0, 0.7), 0},
        {depth(GRAPHDISP_COLORMAP, 0, 1, -0.1), 0},
        {depth(GRAPHDISP_COLORMAP, 0, 1, kNaN), 0},
        {depth(static_cast<CGraphParam::GRAPHDISP_TYPE>(3), 0, 1, 0.7), 0},
    };
    for (const auto& [change, expected] : cases) {
        CScaleParam scale = Drawable();
        change(scale);
        EXPECT_EQ(scale.Check(), expected) << &change - &cases[0].change;
    }
}

std::string Stored(CScaleParam scale) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    scale.Serialize(archive);
    archive.Flush();
    const auto bytes = stream.Bytes();
    return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

void Load(CScaleParam& scale, const std::string& bytes) {
    kvx::MemoryStream stream(std::as_bytes(std::span(bytes)));
    CArchive archive(stream, CArchive::load);
    scale.Serialize(archive);
}

template <typename Number>
void Put(std::string& bytes, int offset, Number value) {
    std::memcpy(bytes.data() + offset, &value, sizeof(value));
}

/// A record with another number in every field, in its place in the file.
std::string AllDifferent() {
    std::string bytes(kFileSize, '\0');
    Put(bytes, 0, 1);
    int number = 2;
    for (const int offset : {0, 4, 24, 28, 32, 56, 60, 64, 68, 88, 92, 96, 120, 124})
        Put(bytes, 4 + offset, number++);
    for (const int offset : {8, 16, 40, 48, 72, 80, 128, 136}) Put(bytes, 4 + offset, 0.5 + number++);
    for (const int offset : {104, 112}) Put(bytes, 4 + offset, __int64{0x123456789} + number++);
    return bytes;
}

TEST(ScaleParam, HasItsFieldsInFixedPlacesOfTheFile) {
    CScaleParam scale;
    Load(scale, AllDifferent());
    EXPECT_EQ(Stored(scale), AllDifferent());
    EXPECT_EQ(scale.m_bXFullRange, 2);
    EXPECT_EQ(scale.m_bYSymmetric, 8);
    EXPECT_EQ(scale.m_eDispType, 13);
    EXPECT_EQ(scale.m_bZFlag2, 15);
    EXPECT_EQ(scale.m_dXMin, 16.5);
    EXPECT_EQ(scale.m_dZRatio2, 23.5);
    EXPECT_EQ(scale.m_lZNum, 0x123456789 + 25);

    std::string defaults(kFileSize, '\0');
    for (const int offset : {0, 4 + 32, 4 + 96, 4 + 124}) Put(defaults, offset, 1);
    Put(defaults, 4 + 128, 0.7);
    Put(defaults, 4 + 136, 0.2);
    EXPECT_EQ(Stored(CScaleParam()), defaults);
}

TEST(ScaleParam, LoadsAnyVersionAndReservedBytesAndStoresItsOwn) {
    std::string bytes = AllDifferent();
    for (const int offset : {0, 4 + 36, 4 + 100, 4 + 144, 4 + 188}) Put(bytes, offset, -1);
    CScaleParam scale;
    Load(scale, bytes);
    EXPECT_EQ(Stored(scale), AllDifferent());
}

TEST(ScaleParam, StaysAsItWasWhenTheFileIsTooShort) {
    for (const std::size_t size : {0U, 3U, 4U, 20U, 195U}) {
        CScaleParam scale = Drawable();
        try {
            Load(scale, AllDifferent().substr(0, size));
            ADD_FAILURE() << size;
        } catch (const CFileException& exception) {
            EXPECT_EQ(exception.m_cause, CFileException::endOfFile);
        }
        EXPECT_EQ(Stored(scale), Stored(Drawable()));
    }
}

}  // namespace
