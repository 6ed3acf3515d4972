// SPDX-License-Identifier: MIT
//
// The one-dimensional arrays: CDataArrayDouble, CDataArrayFloat, CDataArrayLong, CDataArrayLongLong,
// CDataArrayIntPtr and CDataArrayBool. Each owns a block of elements that reaches to the count rounded up to
// whole steps of 1024, those behind the count zero when the block is made or grows. Operations return 1 for
// success and 0 for failure and never throw, archive serialisation excepted; an allocation that fails leaves
// the array empty. Not thread-safe: an array belongs to one thread at a time.
//
// kvx::Array holds every operation that several of them have, and says which of them have it; each public
// class adds what only it can do.
#pragma once

#include <concepts>
#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/NoValue.h>
#include <KvxDevCommon01/platform/Types.h>

class CArchive;
class CDataArrayDouble;
class CDataArrayFloat;
class CDataArrayLong;
class CDataArrayLongLong;
class CDataArrayIntPtr;
class CDataArrayBool;
class CDataArrayDoubleCplx;

namespace kvx {

template <class Class, class... Listed>
concept OneOf = (std::same_as<Class, Listed> || ...);

// The arrays that have an operation which not all of them have.
template <class Class>
concept NumberArray = !OneOf<Class, CDataArrayBool>;
template <class Class>
concept FloatingArray = OneOf<Class, CDataArrayDouble, CDataArrayFloat>;
template <class Class>
concept Int64Array = OneOf<Class, CDataArrayLongLong, CDataArrayIntPtr>;
template <class Class>
concept IntegerArray = Int64Array<Class> || OneOf<Class, CDataArrayLong>;

/// The integers that are not the element type itself. An array takes them as values, so that a literal 0 is a
/// number and not a null pointer.
template <typename Number, typename Element>
concept OtherInteger = std::integral<Number> && !std::same_as<Number, Element>;

/// The block of an array and the work on it that every element type allows. This is what the library exports;
/// the operations of the interface are those of Array.
template <typename Element>
class KVX_API ArrayStorage {
protected:
    ArrayStorage() = default;
    ArrayStorage(const ArrayStorage& other);
    ArrayStorage(ArrayStorage&& other) noexcept;
    ~ArrayStorage();
    ArrayStorage& operator=(const ArrayStorage& other);
    ArrayStorage& operator=(ArrayStorage&& other) noexcept;

    void Release();
    bool Assign(__int64 num, const Element* data);
    bool Assign(__int64 num, Element value);
    /// Sets every element; false when there is none.
    bool Fill(Element value);
    bool AppendRun(__int64 num, const Element* data);
    bool CopyRing(const ArrayStorage& src, __int64 srcStart, __int64 dstStart, __int64 num);
    /// Makes `count` the count and room for it: the elements up to the old whole step keep their values, then
    /// those up to `count` are open, and the rest of the step is zero. On failure the array is empty.
    KVX_NO_API bool Resize(__int64 count);

    /// Elements are used in steps of so many.
    static constexpr __int64 kStep = 1024;

    // count_ <= capacity_, capacity_ a multiple of kStep and at least one of it; without a block both are 0.
    // Elements behind the whole step in which the count lies have not been used yet.
    __int64 count_ = 0;
    __int64 capacity_ = 0;
    Element* data_ = nullptr;
    Element spare_{};

private:
    friend struct ForLoading;

    /// The elements from the first to the end of the step that have been used.
    KVX_NO_API __int64 Used() const;
    /// Gives the block room for `capacity` elements, of which the used ones stay, and more when it `mayGrow`
    /// further; false without a change when there is no memory.
    KVX_NO_API bool Reserve(__int64 capacity, bool mayGrow);
    /// Exchanges the blocks; each array keeps its spare element.
    KVX_NO_API void Swap(ArrayStorage& other) noexcept;
};

/// The operations that all arrays or several of them have; `Self` is the public class.
///
/// A copy assigned to an array of the same count copies in place, else into a fresh block; the array is empty
/// when allocation fails. What is converted from an array of another kind does the same. Assigning a
/// temporary takes over its block, but at equal counts copies the elements all the same, so that pointers to
/// this block stay good.
template <class Self, typename Element>
class KVX_API Array : public ArrayStorage<Element> {
public:
    Array() = default;
    /// `num` elements of `value`; empty when `num` is negative or allocation fails.
    Array(__int64 num, Element value) { this->Assign(num, value); }
    Array(__int64 num, OtherInteger<Element> auto value) : Array(num, static_cast<Element>(value)) {}
    /// `num` elements copied from `data`, or zeros when `data` is null; empty on failure.
    Array(__int64 num, const Element* data) { this->Assign(num, data); }

    __int64 GetNum() const { return count_; }
    /// The live block; null when there is none. An array of count 0 may own a block.
    Element* GetData() const { return data_; }

    /// The element, or for an index outside the array a spare element that harmlessly takes what is written
    /// to it.
    Element& operator[](__int64 index) { return IsInside(index) ? data_[index] : this->spare_; }
    /// The element, or 0 for an index outside the array.
    Element operator[](__int64 index) const { return IsInside(index) ? data_[index] : Element{}; }

    /// Releases the block.
    void Free() { this->Release(); }

    /// Makes the array `num` elements copied from `data`, or zeros when `data` is null. `data` may lie in
    /// this array.
    int SetData(__int64 num, const Element* data) { return this->Assign(num, data); }
    /// Makes the array `num` elements of `value`.
    int SetData(__int64 num, Element value) { return this->Assign(num, value); }
    int SetData(__int64 num, OtherInteger<Element> auto value) {
        return SetData(num, static_cast<Element>(value));
    }
    /// Sets all elements to `value`; fails on an empty array.
    int SetData(Element value) requires FloatingArray<Self> { return this->Fill(value); }
    /// Sets all elements to `value`; fails on an empty array.
    int SetDataAll(Element value) requires IntegerArray<Self> { return this->Fill(value); }
    /// Sets all elements to 0.
    void Zero() requires NumberArray<Self> { this->Fill(Element{}); }

    int Append(Element value) requires NumberArray<Self> {
        if (count_ % ArrayStorage<Element>::kStep == 0) {  // a new step begins
            const Element run[] = {value};  // a copy, so that `value` itself stays in a register
            return this->AppendRun(1, run);
        }
        data_[count_++] = value;
        return 1;
    }
    /// Appends `num` elements of `data`, which may lie in this array. Fails, without a change, when `num` is
    /// negative or `data` is null.
    int Append(__int64 num, const Element* data) requires NumberArray<Self> {
        return this->AppendRun(num, data);
    }
    /// Appends the elements of another array, or of this one.
    int Append(const Self& other) requires NumberArray<Self> {
        return this->AppendRun(other.GetNum(), other.GetData());
    }
    /// Removes all elements; one block stays for those to come. Fails when that block cannot be allocated.
    int RemoveAll() requires Int64Array<Self>;

    /// Copies `num` > 0 elements from `src` on from `srcStart` to here on from `dstStart`, both arrays taken
    /// as rings. Starts are >= 0 and may lie past the end; `num` is at most both counts. Copying within one
    /// array acts as if everything were read before anything is written.
    int Copy(const Self& src, __int64 srcStart, __int64 dstStart, __int64 num) {
        return this->CopyRing(src, srcStart, dstStart, num);
    }

    /// 1 when there are elements and all are exactly zero; a NaN is not.
    int IsAllZero() const requires FloatingArray<Self>;
    /// The first index >= `start` that holds `value`; -1 when none does or `start` is outside the array.
    __int64 Search(Element value, __int64 start) const requires IntegerArray<Self>;

    /// Makes `out` this array; values outside 32 bits become the nearest 32-bit value. Fails when `out` is
    /// null or cannot be sized.
    int GetDataArrayLong(CDataArrayLong* out) const requires Int64Array<Self>;
    /// Makes this array `in`.
    int SetDataArrayLong(const CDataArrayLong& in) requires Int64Array<Self>;

protected:
    using ArrayStorage<Element>::count_;
    using ArrayStorage<Element>::data_;

    bool IsEmpty() const { return count_ == 0; }
    bool IsInside(__int64 index) const { return index >= 0 && index < count_; }
};

/// The classes of the array family.
template <class Class>
concept ArrayClass = requires(const Class& array) {
    []<class Self, typename Element>(const Array<Self, Element>&) {}(array);
};

/// The elements as a range, in `for (double x : array)` and in the algorithms of std::ranges; an array also
/// converts to a span of its elements. Argument-dependent lookup finds these through the base classes.
template <ArrayClass Class>
auto* begin(Class& array) {
    return array.GetData();
}
template <ArrayClass Class>
const auto* begin(const Class& array) {
    return array.GetData();
}
template <ArrayClass Class>
auto* end(Class& array) {
    return array.GetData() + array.GetNum();
}
template <ArrayClass Class>
const auto* end(const Class& array) {
    return array.GetData() + array.GetNum();
}

}  // namespace kvx

/// 64-bit floating point: the array of waveforms, spectra and frequency axes.
class KVX_API CDataArrayDouble : public kvx::Array<CDataArrayDouble, double> {
public:
    using Array::Array;
    /// As long as `other`, each element the magnitude of one of its; a missing imaginary part counts as 0.
    CDataArrayDouble& operator=(const CDataArrayDoubleCplx& other);

    /// Element i becomes i * step + offset; fails on an empty array.
    int SetDelta(double step, double offset);

    /// this[d] += src[s] for `num` > 0 steps, d on from `dstStart`, s on from `srcStart`, each index
    /// restarting at 0 on reaching its own count. Fails when a start is outside its array. The steps are
    /// taken in order: with `src` this very array a step sees what the steps before it wrote.
    int AddArr(const CDataArrayDouble& src, __int64 srcStart, __int64 dstStart, __int64 num);
    /// this[d] *= src[s], walked as in AddArr.
    int MulArr(const CDataArrayDouble& src, __int64 srcStart, __int64 dstStart, __int64 num);
    /// dst[d] = a[i] + b[j] on three rings, walked as in the member AddArr; fails when `dst` is null.
    static int AddArr(CDataArrayDouble* dst, __int64 dstStart, const CDataArrayDouble& a, __int64 aStart,
                      const CDataArrayDouble& b, __int64 bStart, __int64 num);
    /// dst[d] = a[i] * b[j], walked as in AddArr.
    static int MulArr(CDataArrayDouble* dst, __int64 dstStart, const CDataArrayDouble& a, __int64 aStart,
                      const CDataArrayDouble& b, __int64 bStart, __int64 num);
    /// dst += src * k over the elements both have; fails only when `dst` is null.
    static int MulAdd(CDataArrayDouble* dst, const CDataArrayDouble& src, double k);

    CDataArrayDouble& operator+=(double k);
    CDataArrayDouble& operator*=(double k);
    /// Multiplies by 1 / k; nothing happens when `k` is 0.
    CDataArrayDouble& operator/=(double k);
    // Element by element, over as many elements as both arrays have.
    CDataArrayDouble& operator+=(const CDataArrayDouble& other);
    CDataArrayDouble& operator*=(const CDataArrayDouble& other);
    CDataArrayDouble& operator/=(const CDataArrayDouble& other);
    /// Adds the magnitudes of `other` over the elements both have; an empty array is assigned them.
    CDataArrayDouble& operator+=(const CDataArrayDoubleCplx& other);

    /// 1 when both arrays have a block, the same count and equal elements: arrays without a block equal
    /// nothing.
    int operator==(const CDataArrayDouble& other) const;
    int operator!=(const CDataArrayDouble& other) const { return !(*this == other); }

    /// The plain sum, in a fixed order of additions (see numerics.md); 0 for an empty array.
    double GetSum() const;
    /// The sum divided by the count; 0 for an empty array.
    double GetAve() const;
    /// Sum of squares of `num` elements on from `start`, on the ring. `num` < 1 means all; `start` may be any
    /// index, negative ones counting from the end. 0 for an empty array or `num` above the count.
    double GetSqSum(__int64 start, __int64 num) const;
    /// Root mean square of the same elements.
    double CalcRms(__int64 start, __int64 num) const;
    /// Largest absolute value of `num` elements on from `start`, cut off at the end; `num` 0 means to the
    /// end. NaNs are passed over. 0 when no element is in that range.
    double GetAbsMax(__int64 start, __int64 num) const;
    /// Smallest and largest value from `start` to the end without the no-value marker; either pointer may be
    /// null. NaNs are passed over unless there is nothing else. Fails, writing nothing, when `start` is
    /// outside the array or only markers are found.
    int GetMinMax(__int64 start, double* min, double* max) const;
    /// Likewise, and in `pmin` the smallest value above 0 (2.2250738585072014e-308 when none is).
    int GetMinMaxAndPMin(__int64 start, double* min, double* max, double* pmin) const;
    /// Likewise over the elements `start` to `end`, `end` included; 0 or an index past the end means the
    /// last.
    int GetMinMaxAndPMin(__int64 start, __int64 end, double* min, double* max, double* pmin) const;
    /// 1 when there are elements and each is strictly smaller than its successor; a NaN beside another
    /// element is not.
    int IsSorted() const;

    /// Clamps every element to the range between `a` and `b`, given in either order; fails on an empty array.
    int Clip(double a, double b);
    /// Element-wise maximum with `other`, over as many elements as both have; fails when either is empty.
    int SetLarge(const CDataArrayDouble& other);
    /// Element-wise minimum, likewise.
    int SetSmall(const CDataArrayDouble& other);
    /// Puts the last element first.
    void Reverse();

    /// Makes `out` this array rounded to float; the no-value marker becomes the float marker. Fails when
    /// `out` is null or cannot be sized.
    int GetDataArrayFloat(CDataArrayFloat* out) const;
    /// The inverse: makes this array `in`, the float marker becoming the double one.
    int SetDataArrayFloat(const CDataArrayFloat& in);

    /// Version word 1, 32-bit count, elements. An array whose loading fails is empty; a count that cannot be
    /// stored in 32 bits throws before anything is written.
    void Serialize(CArchive& archive);
};

/// 32-bit floating point.
class KVX_API CDataArrayFloat : public kvx::Array<CDataArrayFloat, float> {
public:
    using Array::Array;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version word.
    void Serialize1st(CArchive& archive);
};

/// 32-bit signed integers.
class KVX_API CDataArrayLong : public kvx::Array<CDataArrayLong, std::int32_t> {
public:
    using Array::Array;

    /// Puts the last element first.
    void Reverse();
    /// As CDataArrayDouble::GetMinMax; the marker is -2147483648.
    int GetMinMax(__int64 start, std::int32_t* min, std::int32_t* max) const;
    /// The last index <= `start` that holds `value`, `start` -1 meaning the last element; -1 when none does
    /// or `start` is outside the array.
    __int64 SearchRev(std::int32_t value, __int64 start) const;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version word.
    void Serialize1st(CArchive& archive);
};

/// 64-bit signed integers.
class KVX_API CDataArrayLongLong : public kvx::Array<CDataArrayLongLong, std::int64_t> {
public:
    using Array::Array;
};

/// Pointer-sized signed integers, 64 bits on every platform.
class KVX_API CDataArrayIntPtr : public kvx::Array<CDataArrayIntPtr, std::int64_t> {
public:
    using Array::Array;
};

/// Truth values, 0 or not 0, in 32 bits each.
class KVX_API CDataArrayBool : public kvx::Array<CDataArrayBool, int> {
public:
    using Array::Array;

    /// Sets the element at `index`, or every element when `index` is negative. Fails on an empty array and
    /// past its end.
    int SetDataValue(int value, __int64 index);

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version word.
    void Serialize1st(CArchive& archive);
};
