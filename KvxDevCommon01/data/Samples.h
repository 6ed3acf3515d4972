// SPDX-License-Identifier: MIT
//
// Samples: the contents of arrays and of the cells of matrices as spans, const for const containers. Nothing
// is copied: a span is good until its container is resized, assigned another shape or destroyed. A container
// without samples, a cell outside its matrix and imaginary parts that are not there give an empty span.
//
// An array that is used as a ring lies in the span from its index 0 on: a stretch that wraps around is an end
// of the span, then its beginning.
#pragma once

#include <cstddef>
#include <span>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

namespace detail {

/// `count` elements, none where there is no block.
template <typename Element>
std::span<Element> SpanOf(Element* block, __int64 count) {
    return {block, block != nullptr ? static_cast<std::size_t>(count) : 0};
}

}  // namespace detail

/// The elements of an array.
template <class Self, typename Element>
std::span<Element> Samples(Array<Self, Element>& array) {
    return detail::SpanOf(array.GetData(), array.GetNum());
}
template <class Self, typename Element>
std::span<const Element> Samples(const Array<Self, Element>& array) {
    return detail::SpanOf(array.GetData(), array.GetNum());
}

/// The real parts of a complex array.
template <class Self, typename Real>
std::span<Real> Samples(CplxArray<Self, Real>& array) {
    return detail::SpanOf(array.GetReal(), array.GetNum());
}
template <class Self, typename Real>
std::span<const Real> Samples(const CplxArray<Self, Real>& array) {
    return detail::SpanOf(array.GetReal(), array.GetNum());
}

/// The imaginary parts of a complex array; empty when it is real only.
template <class Self, typename Real>
std::span<Real> ImaginarySamples(CplxArray<Self, Real>& array) {
    return detail::SpanOf(array.GetImaginary(), array.GetNum());
}
template <class Self, typename Real>
std::span<const Real> ImaginarySamples(const CplxArray<Self, Real>& array) {
    return detail::SpanOf(array.GetImaginary(), array.GetNum());
}

/// The samples of a cell, of a complex one the real parts: as many as the cell itself holds.
template <class Self, class Cell>
auto Samples(Matrix<Self, Cell>& matrix, __int64 row, __int64 column) {
    Cell* const cell = matrix.GetArrayPtr(row, column);
    return cell != nullptr ? Samples(*cell) : decltype(Samples(*cell))();
}
template <class Self, class Cell>
auto Samples(const Matrix<Self, Cell>& matrix, __int64 row, __int64 column) {
    const Cell* const cell = matrix.GetArrayPtr(row, column);
    return cell != nullptr ? Samples(*cell) : decltype(Samples(*cell))();
}

/// The imaginary parts of a complex cell; empty when it is real only.
template <class Self, CplxCell Cell>
auto ImaginarySamples(Matrix<Self, Cell>& matrix, __int64 row, __int64 column) {
    Cell* const cell = matrix.GetArrayPtr(row, column);
    return cell != nullptr ? ImaginarySamples(*cell) : decltype(ImaginarySamples(*cell))();
}
template <class Self, CplxCell Cell>
auto ImaginarySamples(const Matrix<Self, Cell>& matrix, __int64 row, __int64 column) {
    const Cell* const cell = matrix.GetArrayPtr(row, column);
    return cell != nullptr ? ImaginarySamples(*cell) : decltype(ImaginarySamples(*cell))();
}

}  // namespace kvx
