// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataArray.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/Ring.h>
#include <KvxDevCommon01/data/detail/ArrayFamily.h>
#include <KvxDevCommon01/data/detail/Block.h>
#include <KvxDevCommon01/data/detail/ElementLayout.h>
#include <KvxDevCommon01/data/detail/LaneSum.h>
#include <KvxDevCommon01/data/kernels/ComplexKernels.h>
#include <KvxDevCommon01/data/kernels/ElementRuns.h>

namespace kvx {
namespace {

/// `count` rounded up to whole steps, of which a block has at least one.
constexpr __int64 WholeSteps(__int64 count, __int64 step) {
    return count < 1 ? step : ((count - 1) / step + 1) * step;
}

template <class From, class To, class Convert>
int ConvertInto(const From& from, To& to, Convert convert) {
    using Element = std::remove_pointer_t<decltype(to.GetData())>;
    if (!ForLoading::Create<Element>(to, from.GetNum())) return 0;
    std::transform(from.GetData(), from.GetData() + from.GetNum(), to.GetData(), convert);
    return 1;
}

}  // namespace

// ---- ArrayStorage

template <typename Element>
ArrayStorage<Element>::ArrayStorage(const ArrayStorage& other) {
    Assign(other.count_, other.data_);
}

template <typename Element>
ArrayStorage<Element>::ArrayStorage(ArrayStorage&& other) noexcept {
    Swap(other);
}

template <typename Element>
ArrayStorage<Element>::~ArrayStorage() {
    FreeBlock(data_, capacity_);
}

template <typename Element>
ArrayStorage<Element>& ArrayStorage<Element>::operator=(const ArrayStorage& other) {
    if (this == &other) return *this;
    if (count_ == other.count_ && data_ && other.data_) {
        std::copy_n(other.data_, count_, data_);
    } else {
        Assign(other.count_, other.data_);
    }
    return *this;
}

template <typename Element>
ArrayStorage<Element>& ArrayStorage<Element>::operator=(ArrayStorage&& other) noexcept {
    if (count_ == other.count_ || !other.data_) return *this = std::as_const(other);
    Release();
    Swap(other);
    return *this;
}

template <typename Element>
void ArrayStorage<Element>::Release() {
    FreeBlock(data_, capacity_);
    data_ = nullptr;
    count_ = 0;
    capacity_ = 0;
}

template <typename Element>
bool ArrayStorage<Element>::Assign(__int64 num, const Element* data) {
    ArrayStorage keptAlive;
    if (LiesInside<Element>(data, data_, capacity_)) Swap(keptAlive);
    Release();
    if (data) {
        if (!Resize(num)) return false;
        std::copy_n(data, num, data_);
        return true;
    }
    if (num < 0 || num > kMaxCount<Element> - kStep) return false;
    data_ = AllocateBlock<Element>(WholeSteps(num, kStep), Contents::zero);
    if (!data_) return false;
    capacity_ = WholeSteps(num, kStep);
    count_ = num;
    return true;
}

template <typename Element>
bool ArrayStorage<Element>::Assign(__int64 num, Element value) {
    const Element zero{};  // whose bytes are all 0, which those of -0.0 are not
    if (std::memcmp(&value, &zero, sizeof(Element)) == 0) return Assign(num, nullptr);
    Release();
    if (!Resize(num)) return false;
    Fill(value);
    return true;
}

template <typename Element>
bool ArrayStorage<Element>::Fill(Element value) {
    std::fill_n(data_, count_, value);
    return count_ != 0;
}

template <typename Element>
bool ArrayStorage<Element>::AppendRun(__int64 num, const Element* data) {
    if (num < 0 || (num > 0 && !data)) return false;
    if (num > kMaxCount<Element> - kStep - count_) {
        Release();
        return false;
    }
    const bool isOwn = LiesInside<Element>(data, data_, capacity_);
    const auto offset = isOwn ? data - data_ : 0;
    const __int64 end = count_;
    if (!Resize(end + num)) return false;
    std::copy_n(isOwn ? data_ + offset : data, num, data_ + end);
    return true;
}

template <typename Element>
bool ArrayStorage<Element>::CopyRing(const ArrayStorage& src, __int64 srcStart, __int64 dstStart,
                                     __int64 num) {
    if (srcStart < 0 || dstStart < 0 || num < 1 || num > count_ || num > src.count_) return false;
    const Ring<const Element> from{src.data_, src.count_, WrapIndex(srcStart, src.count_)};
    const Ring<Element> to{data_, count_, WrapIndex(dstStart, count_)};
    const auto copyRun = [](__int64 length, const Element* in, Element* out) {
        std::copy_n(in, length, out);
    };
    if (&src != this) {
        WalkRings(num, copyRun, from, to);
        return true;
    }
    const std::unique_ptr<Element[]> taken(new (std::nothrow) Element[static_cast<std::size_t>(num)]);
    if (!taken) return false;
    const Ring<Element> buffer{taken.get(), num, 0};
    WalkRings(num, copyRun, from, buffer);
    WalkRings(num, copyRun, Ring<const Element>{taken.get(), num, 0}, to);
    return true;
}

template <typename Element>
bool ArrayStorage<Element>::Resize(__int64 count) {
    if (count < 0 || count > kMaxCount<Element> - kStep) {
        Release();
        return false;
    }
    const __int64 used = Used();
    const __int64 wanted = WholeSteps(count, kStep);
    if ((wanted > capacity_ || wanted < used) && !Reserve(wanted, wanted > used && data_)) {
        Release();
        return false;
    }
    const __int64 open = std::max(used, count);
    const bool isZero = IsMemoryZeroUntilWritten(ByteSize<Element>(capacity_));
    if (open < wanted && !isZero) std::memset(data_ + open, 0, ByteSize<Element>(wanted - open));
    count_ = count;
    return true;
}

template <typename Element>
__int64 ArrayStorage<Element>::Used() const {
    return data_ ? WholeSteps(count_, kStep) : 0;
}

template <typename Element>
bool ArrayStorage<Element>::Reserve(__int64 capacity, bool mayGrow) {
    const std::size_t kept = ByteSize<Element>(std::min(Used(), capacity));
    std::size_t bytes = ByteSize<Element>(capacity);
    void* block = nullptr;
    if (mayGrow) {
        const std::size_t roomy = RoomyMemorySize(bytes);
        block = ResizeMemory(data_, ByteSize<Element>(capacity_), kept, roomy);
        if (block) bytes = roomy;
    }
    if (!block) block = ResizeMemory(data_, ByteSize<Element>(capacity_), kept, bytes);
    if (!block) return false;
    data_ = static_cast<Element*>(block);
    capacity_ = static_cast<__int64>(bytes / sizeof(Element));
    return true;
}

template <typename Element>
void ArrayStorage<Element>::Swap(ArrayStorage& other) noexcept {
    std::swap(count_, other.count_);
    std::swap(capacity_, other.capacity_);
    std::swap(data_, other.data_);
}

template class ArrayStorage<double>;
template class ArrayStorage<float>;
template class ArrayStorage<std::int32_t>;
template class ArrayStorage<std::int64_t>;

// ---- Array

template <class Self, typename Element>
int Array<Self, Element>::RemoveAll() requires Int64Array<Self> {
    return this->Resize(0);
}

template <class Self, typename Element>
int Array<Self, Element>::IsAllZero() const requires FloatingArray<Self> {
    return !IsEmpty() && AreAllZero(data_, count_);
}

template <class Self, typename Element>
__int64 Array<Self, Element>::Search(Element value, __int64 start) const requires IntegerArray<Self> {
    if (!IsInside(start)) return -1;
    Element* const end = data_ + count_;
    Element* const found = std::find(data_ + start, end, value);
    return found == end ? -1 : found - data_;
}

template <class Self, typename Element>
int Array<Self, Element>::GetDataArrayLong(CDataArrayLong* out) const requires Int64Array<Self> {
    using Narrow = std::numeric_limits<std::int32_t>;
    return out && ConvertInto(*this, *out, [](Element value) {
               return static_cast<std::int32_t>(std::clamp<Element>(value, Narrow::min(), Narrow::max()));
           });
}

template <class Self, typename Element>
int Array<Self, Element>::SetDataArrayLong(const CDataArrayLong& in) requires Int64Array<Self> {
    return ConvertInto(in, *this, [](std::int32_t value) { return Element{value}; });
}

// The constrained operations are instantiated one by one, for their own arrays: Clang 14 would instantiate
// all of them with the class.
// clang-format off
#define KVX_INSTANTIATE(Class, Element)                    \
    template int Array<Class, Element>::IsAllZero() const;
KVX_FLOATING_ARRAYS(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Element) \
    template __int64 Array<Class, Element>::Search(Element, __int64) const;
KVX_INTEGER_ARRAYS(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Element)                                         \
    template int Array<Class, Element>::RemoveAll();                            \
    template int Array<Class, Element>::GetDataArrayLong(CDataArrayLong*) const; \
    template int Array<Class, Element>::SetDataArrayLong(const CDataArrayLong&);
KVX_INT64_ARRAYS(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
// clang-format on

}  // namespace kvx

// ---- CDataArrayDouble

using kvx::Generation;
using kvx::LaneSum;
using kvx::Ring;
using kvx::SerializeLayout;
using kvx::WalkRings;

namespace {

/// A sum, product or choice of two elements, as a function and as the kernel of its loop.
template <class Function>
struct Operation {
    kvx::ElementKernels::OfTwo* kvx::ElementKernels::*kernel;
    Function function;
};

constexpr Operation<std::plus<>> kSum{&kvx::ElementKernels::add, {}};
constexpr Operation<std::multiplies<>> kProduct{&kvx::ElementKernels::multiply, {}};
constexpr Operation<std::divides<>> kQuotient{&kvx::ElementKernels::divide, {}};
constexpr auto kTakeLarger = [](double a, double b) { return a < b ? b : a; };
constexpr auto kTakeSmaller = [](double a, double b) { return b < a ? b : a; };
constexpr Operation<decltype(kTakeLarger)> kLarger{&kvx::ElementKernels::larger, kTakeLarger};
constexpr Operation<decltype(kTakeSmaller)> kSmaller{&kvx::ElementKernels::smaller, kTakeSmaller};

/// Applies dst[i] = operation(dst[i], src[i]) over the elements that both have.
template <class Function>
void CombineCommon(CDataArrayDouble& dst, const CDataArrayDouble& src, const Operation<Function>& operation) {
    kvx::SetOfTwo(dst.GetData(), dst.GetData(), src.GetData(), std::min(dst.GetNum(), src.GetNum()),
                  operation.kernel, operation.function);
}

bool IsIndexOf(const CDataArrayDouble& array, __int64 index) {
    return index >= 0 && index < array.GetNum();
}

template <class Function>
int CombineRings(CDataArrayDouble* dst, __int64 dstStart, const CDataArrayDouble& a, __int64 aStart,
                 const CDataArrayDouble& b, __int64 bStart, __int64 num,
                 const Operation<Function>& operation) {
    if (!dst || !IsIndexOf(*dst, dstStart) || !IsIndexOf(a, aStart) || !IsIndexOf(b, bStart) || num < 1)
        return 0;
    WalkRings(
        num,
        [&](__int64 length, double* d, const double* x, const double* y) {
            kvx::SetOfTwo(d, x, y, length, operation.kernel, operation.function);
        },
        Ring<double>{dst->GetData(), dst->GetNum(), dstStart},
        Ring<const double>{a.GetData(), a.GetNum(), aStart},
        Ring<const double>{b.GetData(), b.GetNum(), bStart});
    return 1;
}

template <class Function>
int CombineRings(CDataArrayDouble& dst, __int64 dstStart, const CDataArrayDouble& src, __int64 srcStart,
                 __int64 num, const Operation<Function>& operation) {
    return CombineRings(&dst, dstStart, dst, dstStart, src, srcStart, num, operation);
}

/// The magnitudes of `count` values on from `start`; a missing imaginary part counts as 0.
void SetMagnitudes(double* to, const CDataArrayDoubleCplx& values, __int64 start, __int64 count) {
    const double* const re = values.GetReal() + start;
    if (const double* const im = values.GetImaginary()) {
        kvx::ActiveKernels<kvx::ComplexKernels>().magnitude(to, {re, im + start}, count);
    } else {
        std::transform(re, re + count, to, [](double x) { return std::abs(x); });
    }
}

template <typename Element>
int FindRange(const Element* values, __int64 count, Element* min, Element* max, Element* pmin) {
    // Two different numbers that are not 0 leave a scan nothing to ask.
    constexpr __int64 kShort = 1024;
    if constexpr (std::is_same_v<Element, double>) {
        if (!pmin && count <= kShort) {
            const auto [low, high] = kvx::ActiveKernels<kvx::ReductionKernels>().extremes(values, count);
            if (low < high && low != 0.0 && high != 0.0) {
                if (min) *min = low;
                if (max) *max = high;
                return 1;
            }
        }
    }
    kvx::RangeScan<Element> scan(pmin ? kvx::SmallestPositive::wanted : kvx::SmallestPositive::ignored);
    scan.Add({values, static_cast<std::size_t>(count)});
    return scan.Write(min, max, pmin);
}

}  // namespace

CDataArrayDouble& CDataArrayDouble::operator=(const CDataArrayDoubleCplx& other) {
    if (kvx::ForLoading::Create<double>(*this, other.GetNum())) SetMagnitudes(data_, other, 0, count_);
    return *this;
}

int CDataArrayDouble::SetDelta(double step, double offset) {
    for (__int64 i = 0; i < count_; ++i) data_[i] = static_cast<double>(i) * step + offset;
    return !IsEmpty();
}

int CDataArrayDouble::AddArr(const CDataArrayDouble& src, __int64 srcStart, __int64 dstStart, __int64 num) {
    return CombineRings(*this, dstStart, src, srcStart, num, kSum);
}

int CDataArrayDouble::MulArr(const CDataArrayDouble& src, __int64 srcStart, __int64 dstStart, __int64 num) {
    return CombineRings(*this, dstStart, src, srcStart, num, kProduct);
}

int CDataArrayDouble::AddArr(CDataArrayDouble* dst, __int64 dstStart, const CDataArrayDouble& a,
                             __int64 aStart, const CDataArrayDouble& b, __int64 bStart, __int64 num) {
    return CombineRings(dst, dstStart, a, aStart, b, bStart, num, kSum);
}

int CDataArrayDouble::MulArr(CDataArrayDouble* dst, __int64 dstStart, const CDataArrayDouble& a,
                             __int64 aStart, const CDataArrayDouble& b, __int64 bStart, __int64 num) {
    return CombineRings(dst, dstStart, a, aStart, b, bStart, num, kProduct);
}

int CDataArrayDouble::MulAdd(CDataArrayDouble* dst, const CDataArrayDouble& src, double k) {
    if (!dst) return 0;
    kvx::ActiveKernels<kvx::ElementKernels>().addScaled(dst->GetData(), dst->GetData(), src.GetData(), k,
                                                        std::min(dst->GetNum(), src.GetNum()));
    return 1;
}

CDataArrayDouble& CDataArrayDouble::operator+=(double k) {
    kvx::ChangeEach(data_, k, count_, &kvx::ElementKernels::addNumber, std::plus<>());
    return *this;
}

CDataArrayDouble& CDataArrayDouble::operator*=(double k) {
    kvx::ChangeEach(data_, k, count_, &kvx::ElementKernels::scale, std::multiplies<>());
    return *this;
}

CDataArrayDouble& CDataArrayDouble::operator/=(double k) {
    return k == 0.0 ? *this : *this *= 1.0 / k;
}

CDataArrayDouble& CDataArrayDouble::operator+=(const CDataArrayDouble& other) {
    CombineCommon(*this, other, kSum);
    return *this;
}

CDataArrayDouble& CDataArrayDouble::operator*=(const CDataArrayDouble& other) {
    CombineCommon(*this, other, kProduct);
    return *this;
}

CDataArrayDouble& CDataArrayDouble::operator/=(const CDataArrayDouble& other) {
    CombineCommon(*this, other, kQuotient);
    return *this;
}

CDataArrayDouble& CDataArrayDouble::operator+=(const CDataArrayDoubleCplx& other) {
    if (IsEmpty()) return *this = other;
    const __int64 common = std::min(count_, other.GetNum());
    std::array<double, 512> magnitudes;
    for (__int64 start = 0; start < common; start += std::ssize(magnitudes)) {
        const __int64 length = std::min(common - start, std::ssize(magnitudes));
        SetMagnitudes(magnitudes.data(), other, start, length);
        kvx::SetOfTwo(data_ + start, data_ + start, magnitudes.data(), length, kSum.kernel, kSum.function);
    }
    return *this;
}

int CDataArrayDouble::operator==(const CDataArrayDouble& other) const {
    return data_ && other.data_ && std::equal(data_, data_ + count_, other.data_, other.data_ + other.count_);
}

double CDataArrayDouble::GetSum() const {
    return kvx::ActiveKernels<kvx::ReductionKernels>().sum(data_, count_);
}

double CDataArrayDouble::GetAve() const {
    return IsEmpty() ? 0.0 : GetSum() / static_cast<double>(count_);
}

double CDataArrayDouble::GetSqSum(__int64 start, __int64 num) const {
    if (IsEmpty() || num > count_) return 0.0;
    const __int64 length = num < 1 ? count_ : num;
    const __int64 first = kvx::WrapIndex(start, count_);
    if (first + length <= count_)
        return kvx::ActiveKernels<kvx::ReductionKernels>().sumOfSquares(data_ + first, length);
    LaneSum sum;
    WalkRings(
        length, [&](__int64 run, const double* values) { sum.AddSquares(values, run); },
        Ring<const double>{data_, count_, first});
    return sum.Total();
}

double CDataArrayDouble::CalcRms(__int64 start, __int64 num) const {
    if (IsEmpty()) return 0.0;
    return std::sqrt(GetSqSum(start, num) / static_cast<double>(num < 1 ? count_ : num));
}

double CDataArrayDouble::GetAbsMax(__int64 start, __int64 num) const {
    if (!IsInside(start) || num < 0) return 0.0;
    const __int64 rest = count_ - start;
    return kvx::ActiveKernels<kvx::ReductionKernels>().largestMagnitude(
        data_ + start, num == 0 ? rest : std::min(num, rest));
}

int CDataArrayDouble::GetMinMax(__int64 start, double* min, double* max) const {
    return GetMinMaxAndPMin(start, 0, min, max, nullptr);
}

int CDataArrayDouble::GetMinMaxAndPMin(__int64 start, double* min, double* max, double* pmin) const {
    return GetMinMaxAndPMin(start, 0, min, max, pmin);
}

int CDataArrayDouble::GetMinMaxAndPMin(__int64 start, __int64 end, double* min, double* max,
                                       double* pmin) const {
    const __int64 last = end == 0 ? count_ - 1 : std::min(end, count_ - 1);
    if (!IsInside(start) || last < start) return 0;
    return FindRange(data_ + start, last - start + 1, min, max, pmin);
}

int CDataArrayDouble::IsSorted() const {
    const auto isNotBelow = [](double value, double next) { return !(value < next); };
    return !IsEmpty() && std::adjacent_find(data_, data_ + count_, isNotBelow) == data_ + count_;
}

int CDataArrayDouble::Clip(double a, double b) {
    const double low = std::min(a, b);
    const double high = std::max(a, b);
    kvx::ActiveKernels<kvx::ElementKernels>().clip(data_, data_, low, high, count_);
    return !IsEmpty();
}

int CDataArrayDouble::SetLarge(const CDataArrayDouble& other) {
    CombineCommon(*this, other, kLarger);
    return !IsEmpty() && !other.IsEmpty();
}

int CDataArrayDouble::SetSmall(const CDataArrayDouble& other) {
    CombineCommon(*this, other, kSmaller);
    return !IsEmpty() && !other.IsEmpty();
}

void CDataArrayDouble::Reverse() {
    std::reverse(data_, data_ + count_);
}

int CDataArrayDouble::GetDataArrayFloat(CDataArrayFloat* out) const {
    if (!out || !kvx::ForLoading::Create<float>(*out, count_)) return 0;
    kvx::ActiveKernels<kvx::ElementKernels>().narrow(out->GetData(), data_, count_);
    return 1;
}

int CDataArrayDouble::SetDataArrayFloat(const CDataArrayFloat& in) {
    if (!kvx::ForLoading::Create<double>(*this, in.GetNum())) return 0;
    kvx::ActiveKernels<kvx::ElementKernels>().widen(data_, in.GetData(), count_);
    return 1;
}

void CDataArrayDouble::Serialize(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::current);
}

// ---- CDataArrayFloat

void CDataArrayFloat::Serialize(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::current);
}

void CDataArrayFloat::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::first);
}

// ---- CDataArrayLong

void CDataArrayLong::Reverse() {
    std::reverse(data_, data_ + count_);
}

int CDataArrayLong::GetMinMax(__int64 start, std::int32_t* min, std::int32_t* max) const {
    return IsInside(start) && FindRange<std::int32_t>(data_ + start, count_ - start, min, max, nullptr);
}

__int64 CDataArrayLong::SearchRev(std::int32_t value, __int64 start) const {
    __int64 index = start == -1 ? count_ - 1 : start;
    if (!IsInside(index)) return -1;
    while (index >= 0 && data_[index] != value) --index;
    return index;
}

void CDataArrayLong::Serialize(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::current);
}

void CDataArrayLong::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::first);
}

// ---- CDataArrayBool

int CDataArrayBool::SetDataValue(int value, __int64 index) {
    if (index < 0) return Fill(value);
    if (!IsInside(index)) return 0;
    data_[index] = value;
    return 1;
}

void CDataArrayBool::Serialize(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::current);
}

void CDataArrayBool::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, *this, Generation::first);
}
