// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <span>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/units/UnitCtrl.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/detail/UnitConversion.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace {

using kvx::detail::ConversionStep;
using kvx::detail::Direction;

/// A descriptor's conversion in one direction, the rows of its members found.
class Conversion {
public:
    Conversion(const CUnitCtrl& descriptor, Direction direction, int absolute) : direction_(direction) {
        const auto parts = kvx::UnitParts(descriptor);
        for (std::size_t i = 0; i < parts.size(); ++i) {
            const auto& [unit, calc] = parts[i];
            const bool used = i < 2 || unit != kvx::units::kNone;
            const auto* row = kvx::detail::FindUnitRow(unit);
            if (!used || row == nullptr) continue;
            ConversionStep& step = steps_[count_++];
            step = {*row, calc};
            const bool temperature = CUnitCtrl::GetDimCode(unit) == CUnitCtrl::DIM_TEMPERATURE;
            if (temperature && !absolute) step.row.kind = kvx::detail::UnitKind::same;
        }
        if (direction == Direction::toStandard) std::ranges::reverse(std::span(steps_).first(count_));
    }

    template <typename Real>
    Real Value(Real value, double gain) const {
        Buffer(&value, &value, 1, gain);
        return value;
    }

    template <typename Real>
    int Buffer(Real* dst, const Real* src, __int64 num, double gain) const {
        if (dst == nullptr || src == nullptr || num < 0) return 0;
        kvx::detail::ConvertAll<Real>(std::span(steps_).first(count_), direction_, src, dst,
                                      static_cast<std::size_t>(num), gain);
        return 1;
    }

    template <typename Array>
    int InPlace(Array* array, double gain) const {
        if (array == nullptr) return 0;
        auto* data = array->GetData();
        return data == nullptr || Buffer(data, data, array->GetNum(), gain);
    }

    template <typename Matrix>
    int EveryCell(Matrix* matrix, double gain) const {
        if (matrix == nullptr) return 0;
        for (__int64 row = 0; row < matrix->GetNumRow(); ++row) {
            for (__int64 col = 0; col < matrix->GetNumCol(); ++col) {
                InPlace(matrix->GetArrayPtr(row, col), gain);
            }
        }
        return 1;
    }

private:
    Direction direction_;
    std::array<ConversionStep, 4> steps_;
    std::size_t count_ = 0;
};

}  // namespace

double CUnitCtrl::ConvDtoI(double value, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).Value(value, gain);
}

float CUnitCtrl::ConvDtoI(float value, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).Value(value, gain);
}

int CUnitCtrl::ConvDtoI(double* dst, const double* src, __int64 num, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).Buffer(dst, src, num, gain);
}

int CUnitCtrl::ConvDtoI(float* dst, const float* src, __int64 num, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).Buffer(dst, src, num, gain);
}

int CUnitCtrl::ConvDtoI(CDataArrayDouble* array, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).InPlace(array, gain);
}

int CUnitCtrl::ConvDtoI(CDataArrayFloat* array, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).InPlace(array, gain);
}

double CUnitCtrl::ConvItoD(double value, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).Value(value, gain);
}

float CUnitCtrl::ConvItoD(float value, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).Value(value, gain);
}

int CUnitCtrl::ConvItoD(double* dst, const double* src, __int64 num, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).Buffer(dst, src, num, gain);
}

int CUnitCtrl::ConvItoD(float* dst, const float* src, __int64 num, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).Buffer(dst, src, num, gain);
}

int CUnitCtrl::ConvItoD(CDataArrayDouble* array, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).InPlace(array, gain);
}

int CUnitCtrl::ConvItoD(CDataArrayFloat* array, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).InPlace(array, gain);
}

int CUnitCtrl::ConvDtoI(CDataArrayMtxDouble* matrix, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).EveryCell(matrix, gain);
}

int CUnitCtrl::ConvDtoI(CDataArrayMtxFloat* matrix, double gain, int absolute) const {
    return Conversion(*this, Direction::toUnit, absolute).EveryCell(matrix, gain);
}

int CUnitCtrl::ConvItoD(CDataArrayMtxDouble* matrix, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).EveryCell(matrix, gain);
}

int CUnitCtrl::ConvItoD(CDataArrayMtxFloat* matrix, double gain, int absolute) const {
    return Conversion(*this, Direction::toStandard, absolute).EveryCell(matrix, gain);
}
