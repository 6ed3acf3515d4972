// SPDX-License-Identifier: MIT
//
// Work on the blocks of split complex arrays, shared by the arrays and the matrices made of them.
#pragma once

#include <algorithm>
#include <cstring>
#include <functional>
#include <type_traits>

#include <KvxDevCommon01/data/detail/Block.h>
#include <KvxDevCommon01/data/kernels/ElementRuns.h>

namespace kvx {

/// Sets every part to `value`; 0 on an empty array.
template <class Array, typename Real>
int FillParts(Array& array, Real value) {
    if (!array.GetReal()) return 0;
    std::fill_n(array.GetReal(), array.GetNum(), value);
    if (array.GetImaginary()) std::fill_n(array.GetImaginary(), array.GetNum(), value);
    return 1;
}

/// Scales both blocks of a complex array; a real-only array is left as it is.
template <class Array, typename Real>
void ScaleParts(Array& array, Real k) {
    if (!array.GetImaginary()) return;
    for (Real* part : {array.GetReal(), array.GetImaginary()}) {
        if constexpr (std::is_same_v<Real, double>) {
            ChangeEach(part, k, array.GetNum(), &ElementKernels::scale, std::multiplies<>());
        } else {
            for (__int64 i = 0; i < array.GetNum(); ++i) part[i] *= k;
        }
    }
}

/// Block copy without wrapping; 0 unless both runs lie inside their arrays and the flags agree.
template <class Array>
int CopyParts(Array& dst, __int64 dstStart, const Array& src, __int64 srcStart, __int64 num) {
    if (srcStart < 0 || dstStart < 0 || num < 1) return 0;
    if (num > src.GetNum() || srcStart > src.GetNum() - num) return 0;
    if (num > dst.GetNum() || dstStart > dst.GetNum() - num) return 0;
    if (src.IsComplex() != dst.IsComplex()) return 0;
    const auto copyRun = [&](auto* to, const auto* from) {
        std::memmove(to + dstStart, from + srcStart, static_cast<std::size_t>(num) * sizeof(*to));
    };
    copyRun(dst.GetReal(), src.GetReal());
    if (dst.IsComplex()) copyRun(dst.GetImaginary(), src.GetImaginary());
    return 1;
}

/// Makes `to` the shape of `from` and converts every part; 0 when `from` is empty or `to` cannot be sized.
template <class From, class To>
int ConvertParts(const From& from, To& to) {
    using Real = std::remove_pointer_t<decltype(to.GetReal())>;
    const __int64 num = from.GetNum();
    if (!to.Create(from.IsComplex(), num)) return 0;
    const auto convert = [](auto value) { return static_cast<Real>(value); };
    std::transform(from.GetReal(), from.GetReal() + num, to.GetReal(), convert);
    if (from.IsComplex())
        std::transform(from.GetImaginary(), from.GetImaginary() + num, to.GetImaginary(), convert);
    return 1;
}

}  // namespace kvx
