// SPDX-License-Identifier: MIT
//
// The archive layouts of complex numbers, arrays and complex arrays, alone and as cells of a matrix.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/detail/Layout.h>

namespace kvx {

/// Version word (current generation only), re, im. A value whose loading fails is 0.
template <class Self, typename Real>
void SerializeLayout(CArchive& archive, CplxValue<Self, Real>& value, Generation generation) {
    Real re = value.GetReal();
    Real im = value.GetImaginary();
    if (archive.IsStoring()) {
        StoreVersion(archive, generation);
        archive << re << im;
        return;
    }
    value.Zero();
    SkipVersion(archive, generation);
    archive >> re >> im;
    value.SetData(re, im);
}

/// Version word (current generation only), 32-bit count, elements. An array whose loading fails is empty; a
/// count that cannot be stored in 32 bits throws before anything is written.
template <class Self, typename Element>
void SerializeLayout(CArchive& archive, Array<Self, Element>& array, Generation generation) {
    if (archive.IsStoring()) {
        const std::int32_t count = ArchiveCount(array.GetNum());
        StoreVersion(archive, generation);
        archive << count;
        archive.WriteNumbers(array.GetData(), static_cast<std::size_t>(count));
        return;
    }
    LoadOrEmpty(array, [&] {
        SkipVersion(archive, generation);
        const __int64 count = LoadCount(archive);
        archive.RequireRemaining(count, sizeof(Element));
        if (array.SetData(count, static_cast<const Element*>(nullptr)))
            archive.ReadNumbers(array.GetData(), static_cast<std::size_t>(count));
    });
}

/// Version word (current generation only), 32-bit flag, 32-bit count, the blocks. An array whose loading
/// fails is empty.
template <class Self, typename Real>
void SerializeLayout(CArchive& archive, CplxArray<Self, Real>& array, Generation generation) {
    if (archive.IsStoring()) {
        const std::int32_t count = ArchiveCount(array.GetNum());
        StoreVersion(archive, generation);
        archive << std::int32_t{array.IsComplex()} << count;
        archive.WriteNumbers(array.GetReal(), static_cast<std::size_t>(count));
        if (array.IsComplex()) archive.WriteNumbers(array.GetImaginary(), static_cast<std::size_t>(count));
        return;
    }
    LoadOrEmpty(array, [&] {
        SkipVersion(archive, generation);
        std::int32_t isComplex = 0;
        archive >> isComplex;
        const __int64 count = LoadCount(archive);
        archive.RequireRemaining(count, isComplex ? 2 * sizeof(Real) : sizeof(Real));
        if (!array.Create(isComplex, count)) return;
        archive.ReadNumbers(array.GetReal(), static_cast<std::size_t>(count));
        if (isComplex) archive.ReadNumbers(array.GetImaginary(), static_cast<std::size_t>(count));
    });
}

}  // namespace kvx
