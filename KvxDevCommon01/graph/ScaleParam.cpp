// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/graph/ScaleParam.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <KvxDevCommon01/platform/Archive.h>

namespace {

constexpr std::int32_t kVersion = 1;

/// Bytes of the record without a meaning.
struct Gap {
    std::size_t size;
};

bool HasDrawableBounds(double low, double high, BOOL isLog) {
    if (low == 0.0 && high == 0.0) return false;
    if (!(low <= high)) return false;
    return !isLog || low > 0.0;
}

bool IsDrawable(BOOL isAuto, double low, double high, BOOL isLog, BOOL isSymmetric) {
    return (isAuto || HasDrawableBounds(low, high, isLog)) && !(isLog && isSymmetric);
}

}  // namespace

BOOL CScaleParam::Check() const {
    if (!IsDrawable(m_bXAuto, m_dXMin, m_dXMax, m_bXLog, m_bXSymmetric)) return 0;
    if (!IsDrawable(m_bYAuto, m_dYMin, m_dYMax, m_bYLog, m_bYSymmetric)) return 0;
    if (m_bY2Enable && !IsDrawable(m_bY2Auto, m_dY2Min, m_dY2Max, m_bY2Log, m_bY2Symmetric)) return 0;
    switch (m_eDispType) {
        case CGraphParam::GRAPHDISP_2D:
            return 1;
        case CGraphParam::GRAPHDISP_WATERFALL:
        case CGraphParam::GRAPHDISP_COLORMAP:
            return m_lZStart >= 0 && m_lZNum >= 1 && m_dZRatio1 >= 0.0;
    }
    return 0;
}

template <class Scale, class Exchange>
void CScaleParam::LclVisitRecord(Scale& scale, Exchange exchange) {
    // clang-format off
    exchange(scale.m_bXFullRange);   //   0
    exchange(scale.m_bXAuto);        //   4
    exchange(scale.m_dXMin);         //   8
    exchange(scale.m_dXMax);         //  16
    exchange(scale.m_bXLog);         //  24
    exchange(scale.m_bXSymmetric);   //  28
    exchange(scale.m_bYAuto);        //  32
    exchange(Gap{4});                //  36
    exchange(scale.m_dYMin);         //  40
    exchange(scale.m_dYMax);         //  48
    exchange(scale.m_bYLog);         //  56
    exchange(scale.m_bYSymmetric);   //  60
    exchange(scale.m_bY2Enable);     //  64
    exchange(scale.m_bY2Auto);       //  68
    exchange(scale.m_dY2Min);        //  72
    exchange(scale.m_dY2Max);        //  80
    exchange(scale.m_bY2Log);        //  88
    exchange(scale.m_bY2Symmetric);  //  92
    exchange(scale.m_eDispType);     //  96
    exchange(Gap{4});                // 100
    exchange(scale.m_lZStart);       // 104
    exchange(scale.m_lZNum);         // 112
    exchange(scale.m_bZFlag1);       // 120
    exchange(scale.m_bZFlag2);       // 124
    exchange(scale.m_dZRatio1);      // 128
    exchange(scale.m_dZRatio2);      // 136
    exchange(Gap{48});               // 144
    // clang-format on
}

void CScaleParam::Serialize(CArchive& archive) {
    std::array<std::byte, 48> gap{};
    if (archive.IsStoring()) {
        archive << kVersion;
        LclVisitRecord(*this, [&]<typename Field>(const Field& field) {
            if constexpr (std::is_same_v<Field, Gap>) {
                archive.Write(gap.data(), field.size);
            } else if constexpr (std::is_enum_v<Field>) {
                archive << static_cast<std::underlying_type_t<Field>>(field);
            } else {
                archive << field;
            }
        });
        return;
    }
    CScaleParam loaded;
    std::int32_t version = 0;
    archive >> version;
    LclVisitRecord(loaded, [&]<typename Field>(Field&& field) {
        using Value = std::remove_reference_t<Field>;
        if constexpr (std::is_same_v<Value, Gap>) {
            archive.ReadExact(gap.data(), field.size);
        } else if constexpr (std::is_enum_v<Value>) {
            std::underlying_type_t<Value> number = 0;
            archive >> number;
            field = static_cast<Value>(number);
        } else {
            archive >> field;
        }
    });
    *this = loaded;
}
