// SPDX-License-Identifier: MIT
//
// The samples of a record as spans, const for a const record; see data/Samples.h.
#pragma once

#include <span>

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

/// The real samples of a cell; empty outside the record.
inline std::span<double> Samples(CComDataBase& record, __int64 row, __int64 column) {
    CDataArrayDoubleMtxCplx* const matrix = record.GetDataPtr();
    return matrix != nullptr ? Samples(*matrix, row, column) : std::span<double>();
}
inline std::span<const double> Samples(const CComDataBase& record, __int64 row, __int64 column) {
    const CDataArrayDoubleMtxCplx* const matrix = record.GetDataPtr();
    return matrix != nullptr ? Samples(*matrix, row, column) : std::span<const double>();
}

/// The imaginary samples of a cell; empty outside the record and where it is real only.
inline std::span<double> ImaginarySamples(CComDataBase& record, __int64 row, __int64 column) {
    CDataArrayDoubleMtxCplx* const matrix = record.GetDataPtr();
    return matrix != nullptr ? ImaginarySamples(*matrix, row, column) : std::span<double>();
}
inline std::span<const double> ImaginarySamples(const CComDataBase& record, __int64 row, __int64 column) {
    const CDataArrayDoubleMtxCplx* const matrix = record.GetDataPtr();
    return matrix != nullptr ? ImaginarySamples(*matrix, row, column) : std::span<const double>();
}

}  // namespace kvx
