// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <span>

#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/detail/UnitConversion.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

using kvx::detail::ConversionStep;
using kvx::detail::Direction;

template <typename Real>
int CUnitCtrl::Convert(bool toStandard, Real* dst, const Real* src, __int64 num, double gain,
                       int absolute) const {
    if (dst == nullptr || src == nullptr || num < 0) return 0;

    std::array<ConversionStep, kMembers> steps;
    std::size_t count = 0;
    for (std::size_t i = 0; i < kMembers; ++i) {
        const Member& member = members_[i];
        const bool used = i == 0 || (!single_ && (i == 1 || member.unit != UNIT_NONE));
        const auto* row = kvx::detail::FindUnitRow(member.unit);
        if (!used || row == nullptr) continue;
        ConversionStep& step = steps[count++];
        step = {*row, member.calc};
        if (GetDimCode(member.unit) == DIM_TEMPERATURE && !absolute)
            step.row.kind = kvx::detail::UnitKind::same;
    }
    const auto used = std::span(steps).first(count);
    if (toStandard) std::ranges::reverse(used);
    kvx::detail::ConvertAll<Real>(used, toStandard ? Direction::toStandard : Direction::toUnit, src, dst,
                                  static_cast<std::size_t>(num), gain);
    return 1;
}

double CUnitCtrl::ConvDtoI(double value, double gain, int absolute) const {
    Convert(false, &value, &value, 1, gain, absolute);
    return value;
}

float CUnitCtrl::ConvDtoI(float value, double gain, int absolute) const {
    Convert(false, &value, &value, 1, gain, absolute);
    return value;
}

int CUnitCtrl::ConvDtoI(double* dst, const double* src, __int64 num, double gain, int absolute) const {
    return Convert(false, dst, src, num, gain, absolute);
}

int CUnitCtrl::ConvDtoI(float* dst, const float* src, __int64 num, double gain, int absolute) const {
    return Convert(false, dst, src, num, gain, absolute);
}

double CUnitCtrl::ConvItoD(double value, double gain, int absolute) const {
    Convert(true, &value, &value, 1, gain, absolute);
    return value;
}

float CUnitCtrl::ConvItoD(float value, double gain, int absolute) const {
    Convert(true, &value, &value, 1, gain, absolute);
    return value;
}

int CUnitCtrl::ConvItoD(double* dst, const double* src, __int64 num, double gain, int absolute) const {
    return Convert(true, dst, src, num, gain, absolute);
}

int CUnitCtrl::ConvItoD(float* dst, const float* src, __int64 num, double gain, int absolute) const {
    return Convert(true, dst, src, num, gain, absolute);
}
