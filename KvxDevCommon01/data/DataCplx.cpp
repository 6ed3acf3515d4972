// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataCplx.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <utility>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/detail/Block.h>
#include <KvxDevCommon01/data/detail/CplxRuns.h>
#include <KvxDevCommon01/data/detail/ElementLayout.h>
#include <KvxDevCommon01/data/kernels/ElementRuns.h>

namespace kvx {

// ---- CplxArray

template <class Self, typename Real>
CplxArray<Self, Real>::CplxArray(int isComplex, __int64 num) {
    Create(isComplex, num);
}

template <class Self, typename Real>
CplxArray<Self, Real>::CplxArray(const CplxArray& other) {
    *this = other;
}

template <class Self, typename Real>
CplxArray<Self, Real>::CplxArray(CplxArray&& other) noexcept {
    Swap(other);
}

template <class Self, typename Real>
CplxArray<Self, Real>::~CplxArray() {
    Free();
}

template <class Self, typename Real>
CplxArray<Self, Real>& CplxArray<Self, Real>::operator=(const CplxArray& other) {
    if (this == &other) return *this;
    if (!HasShapeOf(other)) {
        Free();
        Allocate(other.isComplex_, other.count_, Contents::open);
    }
    if (real_) std::copy_n(other.real_, count_, real_);
    if (imaginary_) std::copy_n(other.imaginary_, count_, imaginary_);
    return *this;
}

template <class Self, typename Real>
CplxArray<Self, Real>& CplxArray<Self, Real>::operator=(CplxArray&& other) noexcept {
    if (HasShapeOf(other)) return *this = std::as_const(other);
    Free();
    Swap(other);
    return *this;
}

template <class Self, typename Real>
int CplxArray<Self, Real>::Create(int isComplex, __int64 num) {
    return Allocate(isComplex, num, Contents::zero);
}

template <class Self, typename Real>
bool CplxArray<Self, Real>::Allocate(int isComplex, __int64 num, Contents contents) {
    if (num < 1) return false;
    Free();
    count_ = num;
    real_ = AllocateBlock<Real>(num, contents);
    if (isComplex) imaginary_ = AllocateBlock<Real>(num, contents);
    if (!real_ || (isComplex && !imaginary_)) {
        Free();
        return false;
    }
    isComplex_ = isComplex ? 1 : 0;
    byteSize_ = num * __int64{sizeof(Real)};
    return true;
}

template <class Self, typename Real>
void CplxArray<Self, Real>::Free() {
    FreeBlock(real_, count_);
    FreeBlock(imaginary_, count_);
    real_ = nullptr;
    imaginary_ = nullptr;
    isComplex_ = 0;
    count_ = 0;
    byteSize_ = 0;
}

template <class Self, typename Real>
void CplxArray<Self, Real>::Zero() {
    FillParts(*this, Real(0));
}

template <class Self, typename Real>
int CplxArray<Self, Real>::SetReal(const Real* src) {
    if (!src || !real_) return 0;
    std::memmove(real_, src, static_cast<std::size_t>(byteSize_));
    return 1;
}

template <class Self, typename Real>
int CplxArray<Self, Real>::SetImaginary(const Real* src) {
    if (!src || !imaginary_) return 0;
    std::memmove(imaginary_, src, static_cast<std::size_t>(byteSize_));
    return 1;
}

template <class Self, typename Real>
int CplxArray<Self, Real>::IsAllZero() const {
    return real_ && AreAllZero(real_, count_) && (!imaginary_ || AreAllZero(imaginary_, count_));
}

template <class Self, typename Real>
void CplxArray<Self, Real>::AssignReal(__int64 num, const Real* values) {
    const int isComplex = isComplex_;
    Free();
    if (!Allocate(isComplex, num, Contents::open)) return;
    std::copy_n(values, num, real_);
    if (isComplex) std::fill_n(imaginary_, num, Real(0));
}

template <class Self, typename Real>
void CplxArray<Self, Real>::Swap(CplxArray& other) noexcept {
    std::swap(isComplex_, other.isComplex_);
    std::swap(count_, other.count_);
    std::swap(byteSize_, other.byteSize_);
    std::swap(real_, other.real_);
    std::swap(imaginary_, other.imaginary_);
}

template class CplxArray<CDataArrayDoubleCplx, double>;
template class CplxArray<CDataArrayCplx, float>;

}  // namespace kvx

// ---- the public classes

void CDataDoubleCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::current);
}

void CDataCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::current);
}

void CDataCplx::Serialize1st(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::first);
}

CDataArrayDoubleCplx& CDataArrayDoubleCplx::operator=(const CDataArrayDouble& other) {
    AssignReal(other.GetNum(), other.GetData());
    return *this;
}

int CDataArrayDoubleCplx::SetData(double value) {
    return kvx::FillParts(*this, value);
}

int CDataArrayDoubleCplx::Copy(const CDataArrayDoubleCplx& src, __int64 srcStart, __int64 dstStart,
                               __int64 num) {
    return kvx::CopyParts(*this, dstStart, src, srcStart, num);
}

CDataArrayDoubleCplx& CDataArrayDoubleCplx::operator+=(const CDataArrayDoubleCplx& other) {
    const __int64 common = std::min(count_, other.count_);
    const auto add = [common](double* to, const double* from) {
        if (to && from) kvx::SetOfTwo(to, to, from, common, &kvx::ElementKernels::add, std::plus<>());
    };
    add(real_, other.real_);
    add(imaginary_, other.imaginary_);
    return *this;
}

CDataArrayDoubleCplx& CDataArrayDoubleCplx::operator*=(double k) {
    kvx::ScaleParts(*this, k);
    return *this;
}

CDataArrayDoubleCplx& CDataArrayDoubleCplx::operator/=(double k) {
    return k == 0.0 ? *this : *this *= 1.0 / k;
}

int CDataArrayDoubleCplx::GetDataArrayCplx(CDataArrayCplx* out) const {
    if (!out) return 0;
    kvx::ConvertParts(*this, *out);
    return 1;
}

int CDataArrayDoubleCplx::SetDataArrayCplx(const CDataArrayCplx& in) {
    Free();
    return kvx::ConvertParts(in, *this);
}

void CDataArrayDoubleCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::current);
}

CDataArrayCplx& CDataArrayCplx::operator=(const CDataArrayFloat& other) {
    AssignReal(other.GetNum(), other.GetData());
    return *this;
}

void CDataArrayCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::current);
}

void CDataArrayCplx::Serialize1st(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, kvx::Generation::first);
}
