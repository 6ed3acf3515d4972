// SPDX-License-Identifier: MIT
//
// The archive layouts of complex numbers, arrays and complex arrays, alone and as cells of a matrix.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/data/detail/Block.h>
#include <KvxDevCommon01/data/detail/Layout.h>

namespace kvx {

/// Sizes containers whose elements are all loaded or computed next: what they are before is open, and a
/// container of that shape keeps its blocks. False, leaving the container empty, when it cannot be sized.
struct ForLoading {
    template <typename Element>
    static bool Create(ArrayStorage<Element>& array, __int64 num) {
        if (array.data_ && array.count_ == num) return true;
        array.Release();
        return array.Resize(num);
    }
    template <class Self, typename Real>
    static bool Create(CplxArray<Self, Real>& array, int isComplex, __int64 num) {
        if (array.count_ == num && array.isComplex_ == isComplex && num > 0) return true;
        array.Free();
        return array.Allocate(isComplex, num, Contents::open);
    }
    /// `num` samples in each of rows x cols cells, all counts above 0.
    template <CplxCell Cell>
    static bool Create(MatrixStorage<Cell>& matrix, CplxCells kind, __int64 rows, __int64 cols, __int64 num) {
        if (!matrix.AllocateForLoading(kind, rows, cols, num)) return false;
        return matrix.KeepIf(std::all_of(matrix.begin(), matrix.end(),
                                         [&](Cell& cell) { return Create(cell, kind.complexFlag, num); }));
    }
};

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

/// The head, then the elements. An array whose loading fails is empty; a count that cannot be stored in 32
/// bits throws before anything is written.
template <class Self, class Element>
void SerializeLayout(CArchive& archive, Array<Self, Element>& array, Generation generation) {
    if (archive.IsStoring()) {
        StoreHead(archive, generation, ArrayHead{array.GetNum()});
        archive.WriteNumbers(array.GetData(), static_cast<std::size_t>(array.GetNum()));
        return;
    }
    LoadOrEmpty(array, [&] {
        const auto head = LoadHead<ArrayHead>(archive, generation);
        archive.RequireRemaining(head.num, sizeof(Element));
        if (ForLoading::Create(array, head.num))
            archive.ReadNumbers(array.GetData(), static_cast<std::size_t>(head.num));
    });
}

/// The head, then the blocks. An array whose loading fails is empty.
template <class Self, typename Real>
void SerializeLayout(CArchive& archive, CplxArray<Self, Real>& array, Generation generation) {
    const auto transferParts = [&](auto transfer) {
        const auto count = static_cast<std::size_t>(array.GetNum());
        (archive.*transfer)(array.GetReal(), count);
        if (array.IsComplex()) (archive.*transfer)(array.GetImaginary(), count);
    };
    if (archive.IsStoring()) {
        StoreHead(archive, generation, CplxArrayHead{array.IsComplex(), array.GetNum()});
        transferParts(&CArchive::WriteNumbers<Real>);
        return;
    }
    LoadOrEmpty(array, [&] {
        const auto head = LoadHead<CplxArrayHead>(archive, generation);
        archive.RequireRemaining(head.num, head.isComplex ? 2 * sizeof(Real) : sizeof(Real));
        if (ForLoading::Create(array, head.isComplex != 0, head.num))
            transferParts(&CArchive::ReadNumbers<Real>);
    });
}

}  // namespace kvx
