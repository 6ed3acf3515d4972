// SPDX-License-Identifier: MIT
//
// Complex numbers: CDataDoubleCplx and CDataCplx are one number of two doubles or two floats,
// CDataArrayDoubleCplx and CDataArrayCplx a run of them in split form, a real block and, when the array is
// complex, an imaginary block of the same fixed length. Operations return 1 for success and 0 for failure and
// never throw, archive serialisation excepted. Not thread-safe: an object belongs to one thread at a time.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

class CArchive;
class CDataArrayDouble;
class CDataArrayFloat;
class CDataArrayCplx;

namespace kvx {

/// One complex number; `Self` is the public class. Square roots are taken in double precision and narrowed.
/// The arithmetic is inline, so that sums of products cost no calls, and is rounded as the caller's compiler
/// flags say: where they allow fused operations the last bit may differ from that of the library's own
/// results, with -ffp-contract=off it does not.
template <class Self, typename Real>
class KVX_API CplxValue {
public:
    CplxValue() = default;
    CplxValue(Real re, Real im) : re_(re), im_(im) {}

    /// re + 0i.
    Self& operator=(Real re) {
        SetData(re, 0);
        return AsSelf();
    }

    Real GetReal() const { return re_; }
    Real GetImaginary() const { return im_; }
    void SetReal(Real re) { re_ = re; }
    void SetImaginary(Real im) { im_ = im; }
    void SetData(Real re, Real im) {
        re_ = re;
        im_ = im;
    }
    void Zero() { SetData(0, 0); }
    void UnityR() { SetData(1, 0); }
    void UnityI() { SetData(0, 1); }

    void Conj() { im_ = -im_; }
    void Neg() { SetData(-re_, -im_); }
    /// Makes this number its reciprocal; 0 stays 0.
    void Inv();

    /// The magnitude, without overflow on the way.
    Real GetAbs() const;
    /// re² + im².
    Real GetAbsSq() const { return re_ * re_ + im_ * im_; }
    /// Whether both parts lie strictly between -1e-30 and 1e-30.
    int IsZero() const {
        constexpr Real kTiny = Real(1e-30);
        return std::abs(re_) < kTiny && std::abs(im_) < kTiny;
    }

    Self& operator+=(const Self& z) {
        SetData(re_ + z.re_, im_ + z.im_);
        return AsSelf();
    }
    Self& operator-=(const Self& z) {
        SetData(re_ - z.re_, im_ - z.im_);
        return AsSelf();
    }
    Self& operator*=(const Self& z) {
        SetData(re_ * z.re_ - im_ * z.im_, re_ * z.im_ + im_ * z.re_);
        return AsSelf();
    }
    /// Division scaled by the larger part of `z`; by 0 + 0i it gives 0 + 0i.
    Self& operator/=(const Self& z);
    Self& operator+=(Real k) {
        re_ += k;
        return AsSelf();
    }
    Self& operator-=(Real k) {
        re_ -= k;
        return AsSelf();
    }
    Self& operator*=(Real k) {
        SetData(re_ * k, im_ * k);
        return AsSelf();
    }
    /// Multiplies by 1 / k; division by 0 gives 0 + 0i.
    Self& operator/=(Real k) { return k == 0 ? *this = Real(0) : *this *= 1 / k; }

    static Self Add(Self a, const Self& b) { return a += b; }
    static Self Sub(Self a, const Self& b) { return a -= b; }
    static Self Mul(Self a, const Self& b) { return a *= b; }
    static Self Div(Self a, const Self& b) { return a /= b; }
    static Self Add(Self a, Real k) { return a += k; }
    static Self Sub(Self a, Real k) { return a -= k; }
    static Self Mul(Self a, Real k) { return a *= k; }
    static Self Div(Self a, Real k) { return a /= k; }
    /// The principal square root.
    static Self Sqrt(const Self& z);

    friend int operator==(const Self& a, const Self& b) { return a.re_ == b.re_ && a.im_ == b.im_; }
    friend int operator!=(const Self& a, const Self& b) { return !(a == b); }

private:
    Self& AsSelf() { return static_cast<Self&>(*this); }

    Real re_ = 0;
    Real im_ = 0;
};

template <class Self, typename Real>
inline void CplxValue<Self, Real>::Inv() {
    if (re_ == 0 && im_ == 0) return;
    if (re_ == 0) {
        im_ = -1 / im_;
    } else if (im_ == 0) {
        re_ = 1 / re_;
    } else if (std::abs(re_) >= std::abs(im_)) {
        const Real r = im_ / re_;
        const Real d = 1 / (im_ * r + re_);
        SetData(d, -r * d);
    } else {
        const Real r = re_ / im_;
        const Real d = 1 / (re_ * r + im_);
        SetData(d * r, -d);
    }
}

template <class Self, typename Real>
inline Real CplxValue<Self, Real>::GetAbs() const {
    const Real re = std::abs(re_);
    const Real im = std::abs(im_);
    if (re == 0) return im;
    if (im == 0) return re;
    const auto larger = static_cast<double>(re < im ? im : re);
    const auto ratio = static_cast<double>(re < im ? re : im) / larger;
    return static_cast<Real>(larger * std::sqrt(1.0 + ratio * ratio));
}

template <class Self, typename Real>
inline Self& CplxValue<Self, Real>::operator/=(const Self& z) {
    if (z.re_ == 0 && z.im_ == 0) {
        Zero();
    } else if (std::abs(z.re_) >= std::abs(z.im_)) {
        const Real r = z.im_ / z.re_;
        const Real d = 1 / (r * z.im_ + z.re_);
        SetData((re_ + r * im_) * d, (im_ - r * re_) * d);
    } else {
        const Real r = z.re_ / z.im_;
        const Real d = 1 / (r * z.re_ + z.im_);
        SetData((r * re_ + im_) * d, (r * im_ - re_) * d);
    }
    return AsSelf();
}

template <class Self, typename Real>
inline Self CplxValue<Self, Real>::Sqrt(const Self& z) {
    constexpr Real kHalfRoot = Real(0.7071067811865476);
    const Real magnitude = z.GetAbs();
    const Real s =
        static_cast<Real>(std::sqrt(static_cast<double>(std::abs(z.re_)) + static_cast<double>(magnitude)));
    if (magnitude == 0 || s == 0) return z;
    if (z.re_ >= 0) return Self(s * kHalfRoot, z.im_ * kHalfRoot / s);
    const Real im = s * kHalfRoot;
    return Self(std::abs(z.im_) * kHalfRoot / s, z.im_ >= 0 ? im : -im);
}

enum class Contents : int;

/// A run of complex numbers in split form; `Self` is the public class.
template <class Self, typename Real>
class KVX_API CplxArray {
public:
    CplxArray() = default;
    /// As Create; empty when that fails.
    CplxArray(int isComplex, __int64 num);
    CplxArray(const CplxArray& other);
    CplxArray(CplxArray&& other) noexcept;
    ~CplxArray();

    /// Takes over flag, count and values, in place when flag and count agree; empty when allocation
    /// fails.
    CplxArray& operator=(const CplxArray& other);
    /// The same with the blocks of `other` where new ones would be needed.
    CplxArray& operator=(CplxArray&& other) noexcept;

    /// Makes the array `num` >= 1 zeros, with an imaginary block when `isComplex` is not 0. Fails without a
    /// change when `num` < 1; leaves the array empty when allocation fails.
    int Create(int isComplex, __int64 num);
    /// Releases both blocks; flag and count become 0.
    void Free();
    /// Sets all values to 0.
    void Zero();

    __int64 GetNum() const { return count_; }
    int IsComplex() const { return isComplex_; }
    /// The block of real parts; null when the array is empty.
    Real* GetReal() const { return real_; }
    /// The block of imaginary parts; null when the array is empty or real only.
    Real* GetImaginary() const { return imaginary_; }

    /// Copies GetNum() values from `src`; fails when `src` or the block is null.
    int SetReal(const Real* src);
    /// The same for the imaginary block, which a real-only array does not have.
    int SetImaginary(const Real* src);

    /// 1 when flag and count agree: arrays of one shape are equal whatever they hold.
    friend int operator==(const Self& a, const Self& b) { return a.HasShapeOf(b); }
    friend int operator!=(const Self& a, const Self& b) { return !(a == b); }

    /// 1 when there are values and all parts are exactly zero; a NaN is not.
    int IsAllZero() const;

protected:
    /// Keeps the flag, takes count and real parts from a block of `num` values; empty when `num` < 1.
    KVX_NO_API void AssignReal(__int64 num, const Real* values);

    int isComplex_ = 0;  // 0 or 1
    __int64 count_ = 0;
    __int64 byteSize_ = 0;  // of one block
    Real* real_ = nullptr;
    Real* imaginary_ = nullptr;  // not null exactly when isComplex_ is not 0

private:
    friend struct ForLoading;

    /// As Create, with values that are 0 or left to the caller.
    KVX_NO_API bool Allocate(int isComplex, __int64 num, Contents contents);
    KVX_NO_API bool HasShapeOf(const CplxArray& other) const {
        return isComplex_ == other.isComplex_ && count_ == other.count_;
    }
    KVX_NO_API void Swap(CplxArray& other) noexcept;
};

}  // namespace kvx

/// One complex number of two 64-bit floats.
class KVX_API CDataDoubleCplx : public kvx::CplxValue<CDataDoubleCplx, double> {
public:
    using CplxValue::CplxValue;
    using CplxValue::operator=;

    /// Version word 1, re, im.
    void Serialize(CArchive& archive);
};

/// One complex number of two 32-bit floats.
class KVX_API CDataCplx : public kvx::CplxValue<CDataCplx, float> {
public:
    using CplxValue::CplxValue;
    using CplxValue::operator=;

    /// Version word 1, re, im.
    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version word.
    void Serialize1st(CArchive& archive);
};

/// Complex numbers in split blocks of 64-bit floats.
class KVX_API CDataArrayDoubleCplx : public kvx::CplxArray<CDataArrayDoubleCplx, double> {
public:
    using CplxArray::CplxArray;
    /// Keeps the complex flag and takes the real parts from `other`; the imaginary parts are 0. Empty when
    /// `other` is.
    CDataArrayDoubleCplx& operator=(const CDataArrayDouble& other);

    /// Sets every real and every imaginary part to `value`; fails on an empty array.
    int SetData(double value);
    /// Copies `num` >= 1 values from `src` on from `srcStart` to here on from `dstStart`. Fails unless both
    /// runs lie inside their arrays and the flags agree. Runs of one array may overlap.
    int Copy(const CDataArrayDoubleCplx& src, __int64 srcStart, __int64 dstStart, __int64 num);

    /// Adds the blocks that both have, over as many values as both have.
    CDataArrayDoubleCplx& operator+=(const CDataArrayDoubleCplx& other);
    /// Scales both blocks of a complex array; a real-only array is left as it is.
    CDataArrayDoubleCplx& operator*=(double k);
    /// Scales by 1 / k, likewise; nothing happens when `k` is 0.
    CDataArrayDoubleCplx& operator/=(double k);

    /// Makes `out` this array narrowed to float. Fails only when `out` is null; an `out` that cannot be
    /// sized, or is to be made from an empty array, is left as its Create leaves it.
    int GetDataArrayCplx(CDataArrayCplx* out) const;
    /// Makes this array `in` widened to double; fails, leaving it empty, when `in` is empty or memory is
    /// short.
    int SetDataArrayCplx(const CDataArrayCplx& in);

    /// Version word 1, flag, 32-bit count, the real block and, when complex, the imaginary block.
    void Serialize(CArchive& archive);
};

/// Complex numbers in split blocks of 32-bit floats.
class KVX_API CDataArrayCplx : public kvx::CplxArray<CDataArrayCplx, float> {
public:
    using CplxArray::CplxArray;
    /// Keeps the complex flag and takes the real parts from `other`; the imaginary parts are 0. Empty when
    /// `other` is.
    CDataArrayCplx& operator=(const CDataArrayFloat& other);

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version word.
    void Serialize1st(CArchive& archive);
};
