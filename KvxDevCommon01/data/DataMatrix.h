// SPDX-License-Identifier: MIT
//
// Matrices, row by row. The array matrices hold rows x columns arrays of one length, a waveform or spectrum
// per cell; CDataDoubleMtxCplx and CDataMtxCplx hold one complex number per cell. A cell outside the matrix
// is null, reads as 0 and makes an operation fail; nothing throws, archive serialisation excepted. Cells are
// handed out writable: one that a caller resizes makes the operations that need the common length fail, never
// overrun. Not thread-safe: a matrix belongs to one thread at a time.
//
// What members share is written once in the layers of namespace kvx; each public class adds what only it can
// do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/platform/Types.h>

class CDataDoubleMtxCplx;
class CDataMtxCplx;
class CDataArrayMtxFloat;
class CDataArrayMtxCplx;

namespace kvx {

/// Rows, columns and their product.
struct KVX_API MatrixShape {
    __int64 rows = 0;
    __int64 cols = 0;
    __int64 cells = 0;

    bool operator==(const MatrixShape&) const = default;
    bool Contains(__int64 row, __int64 col) const { return row >= 0 && row < rows && col >= 0 && col < cols; }
    __int64 IndexOf(__int64 row, __int64 col) const { return row * cols + col; }
};

/// What all cells of a matrix are: real arrays ...
struct KVX_API RealCells {
    bool operator==(const RealCells&) const = default;
};

/// ... or complex arrays with a common flag.
struct KVX_API CplxCells {
    int complexFlag = 0;  // 0 or 1
    bool operator==(const CplxCells&) const = default;
};

/// A matrix of arrays: shape, access to the cells, copy and comparison.
template <class Self, class Cell, class Kind>
class KVX_API CellMatrix : protected Kind {
public:
    CellMatrix() = default;
    CellMatrix(const CellMatrix& other);
    CellMatrix(CellMatrix&& other) noexcept;
    ~CellMatrix();

    /// Takes over shape and samples, in place when the shapes agree; empty when the memory is not there.
    CellMatrix& operator=(const CellMatrix& other);
    /// The same with the cells of `other` where new ones would be needed.
    CellMatrix& operator=(CellMatrix&& other) noexcept;

    /// Releases all cells and makes all counts 0.
    void Free();

    __int64 GetNumRow() const { return shape_.rows; }
    __int64 GetNumCol() const { return shape_.cols; }
    /// Number of samples in every cell.
    __int64 GetNum() const { return num_; }
    /// The cell; null when it is outside the matrix.
    Cell* GetArrayPtr(__int64 row, __int64 col) const {
        return shape_.Contains(row, col) ? &cells_[Index(shape_.IndexOf(row, col))] : nullptr;
    }

    /// Copies `num` samples from every cell of `src` to the cell here, 0 meaning all of this matrix's
    /// samples: real cells as rings, complex cells as plain runs, as the Copy of the cell does it. Fails
    /// unless rows and columns agree; succeeds at once on an empty matrix.
    int Copy(const Self& src, __int64 srcStart, __int64 dstStart, __int64 num);

    /// 1 when rows, columns, sample count and complex flag agree: matrices of one shape are equal whatever
    /// they hold.
    friend int operator==(const Self& a, const Self& b) { return a.HasShapeOf(b); }
    friend int operator!=(const Self& a, const Self& b) { return !(a == b); }

protected:
    static std::size_t Index(__int64 index) { return static_cast<std::size_t>(index); }

    Kind& CellKind() { return *this; }
    const Kind& CellKind() const { return *this; }

    /// Makes rows x cols cells of `num` zeros. Fails without a change when a count is below 1; leaves the
    /// matrix empty when the memory is not there.
    int CreateCells(Kind kind, __int64 rows, __int64 cols, __int64 num);
    /// The same with cells that are still empty.
    bool Allocate(Kind kind, __int64 rows, __int64 cols, __int64 num);
    /// Fails, leaving the matrix empty, unless `done`.
    int KeepIf(bool done);

    Cell* begin() const { return cells_.get(); }
    Cell* end() const { return cells_.get() + shape_.cells; }

    /// Version word (current generation only), flag (complex cells only), rows, columns and sample count in
    /// 32 bits each, then every cell in its own layout. A matrix whose loading fails, or whose cells differ
    /// in length from the sample count, is empty; a matrix that cannot be stored throws before anything is
    /// written.
    void SerializeLayout(CArchive& archive, Generation generation);

    MatrixShape shape_;
    __int64 num_ = 0;
    std::unique_ptr<Cell[]> cells_;

private:
    bool HasShapeOf(const CellMatrix& other) const {
        return shape_ == other.shape_ && num_ == other.num_ && CellKind() == other.CellKind();
    }
    void Swap(CellMatrix& other) noexcept;
    bool AreCellsWhole() const;
};

/// Matrices of real, integer or boolean arrays.
template <class Self, class Cell, typename Element>
class KVX_API ArrayMatrix : public CellMatrix<Self, Cell, RealCells> {
public:
    ArrayMatrix() = default;
    /// As Create; empty when that fails.
    ArrayMatrix(__int64 rows, __int64 cols, __int64 num);

    /// Makes rows x cols cells of `num` zeros. Fails without a change when a count is below 1; leaves the
    /// matrix empty when the memory is not there.
    int Create(__int64 rows, __int64 cols, __int64 num);

    /// The samples of a cell; null when it is outside the matrix.
    Element* GetDataPtr(__int64 row, __int64 col) const {
        const Cell* cell = this->GetArrayPtr(row, col);
        return cell ? cell->GetData() : nullptr;
    }

    /// Sets every sample to `value`; fails when there are none.
    int SetData(Element value);
    /// Makes every cell `num` samples copied from `data`, which may lie in this matrix, or zeros when `data`
    /// is null. Fails without cells; leaves the matrix empty when `num` is negative or the memory is not
    /// there.
    int SetData(__int64 num, const Element* data);
};

/// Matrices of numbers.
template <class Self, class Cell, typename Element>
class KVX_API NumberMatrix : public ArrayMatrix<Self, Cell, Element> {
public:
    using ArrayMatrix<Self, Cell, Element>::ArrayMatrix;

    /// Sets every sample to 0.
    void Zero();
};

/// Matrices that record sample by sample.
template <class Self, class Cell, typename Element>
class KVX_API SnapshotMatrix : public NumberMatrix<Self, Cell, Element> {
public:
    using NumberMatrix<Self, Cell, Element>::NumberMatrix;

    /// Appends snapshot[i] to cell i, row by row. Fails without a change unless the snapshot has one element
    /// per cell; leaves the matrix empty when the memory is not there.
    int Append(const Cell& snapshot);
};

/// Matrices of complex arrays. `Line` is the matrix of complex numbers that holds one sample of every cell.
template <class Self, class Cell, class Line, typename Real>
class KVX_API CplxArrayMatrix : public CellMatrix<Self, Cell, CplxCells> {
public:
    CplxArrayMatrix() = default;
    /// As Create; empty when that fails.
    CplxArrayMatrix(int isComplex, __int64 rows, __int64 cols, __int64 num);

    /// Makes rows x cols cells of `num` zeros, with imaginary parts when `isComplex` is not 0. Fails without
    /// a change when a count is below 1; leaves the matrix empty when the memory is not there.
    int Create(int isComplex, __int64 rows, __int64 cols, __int64 num);
    int IsComplex() const { return this->complexFlag; }

    /// The real parts of a cell; null when it is outside the matrix.
    Real* GetReal(__int64 row, __int64 col) const {
        const Cell* cell = this->GetArrayPtr(row, col);
        return cell ? cell->GetReal() : nullptr;
    }
    /// The imaginary parts of a cell; null when it is outside the matrix or has none.
    Real* GetImaginary(__int64 row, __int64 col) const {
        const Cell* cell = this->GetArrayPtr(row, col);
        return cell ? cell->GetImaginary() : nullptr;
    }

    /// Sets every sample to 0.
    void Zero();
    /// Sets the real and, when complex, the imaginary part of every sample to `value`; fails when there are
    /// none.
    int SetData(Real value);
    /// Assigns one cell; fails when it is outside the matrix, `values` has another flag or length, or memory
    /// is short.
    int SetArrayPtr(__int64 row, __int64 col, const Cell& values);

    /// Scales every cell of a complex matrix; a real-only matrix is left as it is.
    Self& operator*=(Real k);
    /// Scales by 1 / k, likewise; nothing happens when `k` is 0.
    Self& operator/=(Real k);

    /// Sets sample `line` of every cell to the number of `m`, the real part alone in a real-only matrix.
    /// Fails unless `m` has the same rows and columns and 0 <= line < GetNum().
    int SetDataFromMtxCplx(const Line& m, __int64 line);
    /// Sets the real parts only.
    int SetDataFromMtxCplxReal(const Line& m, __int64 line);
    /// Sets `m`, re-created when its shape differs, to sample `line` of every cell. Fails when `m` is null or
    /// cannot be created, or `line` is not a sample.
    int SetMtxCplx(Line* m, __int64 line) const;
    /// Sets the real parts of `m` only.
    int SetMtxCplxReal(Line* m, __int64 line) const;

private:
    enum class Parts { both, realOnly };

    bool HoldsLine(__int64 line) const;
    int LoadLine(const Line& m, __int64 line, Parts parts);
    int StoreLine(Line* m, __int64 line, Parts parts) const;
};

/// A matrix of complex numbers; `Self` is the public class.
template <class Self, class Value, typename Real>
class KVX_API CplxMatrix {
public:
    CplxMatrix() = default;
    CplxMatrix(const CplxMatrix& other);
    CplxMatrix(CplxMatrix&& other) noexcept;
    ~CplxMatrix();

    /// Takes over shape and values, in place when the shapes agree; empty when the memory is not there.
    CplxMatrix& operator=(const CplxMatrix& other);
    /// The same with the values of `other` where new ones would be needed.
    CplxMatrix& operator=(CplxMatrix&& other) noexcept;

    /// Makes rows x cols zeros. A shape without cells makes an empty matrix and succeeds; two negative
    /// counts, or too little memory, fail and leave the matrix empty.
    int Create(__int64 rows, __int64 cols);
    /// Releases all values and makes all counts 0.
    void Free();
    /// Sets every value to 0.
    void Zero();

    __int64 GetNumRow() const { return shape_.rows; }
    __int64 GetNumCol() const { return shape_.cols; }
    /// The value; null when it is outside the matrix.
    Value* GetDataPtr(__int64 row, __int64 col) const {
        if (!shape_.Contains(row, col)) return nullptr;
        return &values_[static_cast<std::size_t>(shape_.IndexOf(row, col))];
    }
    // Parts and squared magnitude of a value; 0 outside the matrix.
    Real GetReal(__int64 row, __int64 col) const { return At(row, col).GetReal(); }
    Real GetImaginary(__int64 row, __int64 col) const { return At(row, col).GetImaginary(); }
    Real GetAbsSq(__int64 row, __int64 col) const { return At(row, col).GetAbsSq(); }
    /// Fails outside the matrix.
    int SetData(__int64 row, __int64 col, const Value& value);

    /// The Frobenius norm; 0 for an empty matrix.
    Real GetNormEuclid() const;

    // Each fails unless `out` already has the shape of the result; `out` may be an operand.
    /// out = a + b.
    static int Add(const Self& a, const Self& b, Self* out);
    /// out = a * b, every sum taken in the order of the inner index.
    static int Mul(const Self& a, const Self& b, Self* out);
    /// out = a transposed, without conjugation.
    static int Trans(const Self& a, Self* out);
    /// out = the conjugates of a.
    static int Conj(const Self& a, Self* out);

    /// 1 when rows and columns agree, whatever the values.
    friend int operator==(const Self& a, const Self& b) { return a.shape_ == b.shape_; }
    friend int operator!=(const Self& a, const Self& b) { return !(a == b); }

protected:
    /// Version word (current generation only), rows and columns in 32 bits each, every value in its own
    /// layout. A matrix whose loading fails is empty.
    void SerializeLayout(CArchive& archive, Generation generation);

private:
    Value At(__int64 row, __int64 col) const {
        const Value* value = GetDataPtr(row, col);
        return value ? *value : Value();
    }
    Value* begin() const { return values_.get(); }
    Value* end() const { return values_.get() + shape_.cells; }
    void Swap(CplxMatrix& other) noexcept;

    MatrixShape shape_;
    std::unique_ptr<Value[]> values_;
};

}  // namespace kvx

/// Matrix of CDataArrayDouble: the samples of a multi-channel record.
class KVX_API CDataArrayMtxDouble
    : public kvx::SnapshotMatrix<CDataArrayMtxDouble, CDataArrayDouble, double> {
public:
    using SnapshotMatrix::SnapshotMatrix;

    /// Scales every sample.
    CDataArrayMtxDouble& operator*=(double k);
    /// Scales by 1 / k; nothing happens when `k` is 0.
    CDataArrayMtxDouble& operator/=(double k);

    /// CDataArrayDouble::CalcRms of a cell; 0 when it is outside the matrix or `num` is above the sample
    /// count.
    double CalcRms(__int64 row, __int64 col, __int64 start, __int64 num) const;
    /// Smallest and largest value of all cells, each searched as by CDataArrayDouble::GetMinMax; fails when
    /// one of the cells does, or there is none.
    int GetMinMax(__int64 start, double* min, double* max) const;
    /// Likewise, and the smallest value above 0 in any cell (2.2250738585072014e-308 when none is).
    int GetMinMaxAndPMin(__int64 start, double* min, double* max, double* pmin) const;
    /// Likewise over the samples `start` to `end`, `end` included; 0 or an index past the end means the last.
    int GetMinMaxAndPMin(__int64 start, __int64 end, double* min, double* max, double* pmin) const;

    /// Makes `out` this matrix as floats, cell by cell as CDataArrayDouble::GetDataArrayFloat. Fails when
    /// `out` is null, the cells have no samples or the memory is not there; `out` is then empty.
    int GetDataArrayMtxFloat(CDataArrayMtxFloat* out) const;
    /// The inverse: makes this matrix `in`, cell by cell as CDataArrayDouble::SetDataArrayFloat.
    int SetDataArrayMtxFloat(const CDataArrayMtxFloat& in);

    /// Version word 1, rows, columns and sample count in 32 bits each, every cell's own layout.
    void Serialize(CArchive& archive);
};

class KVX_API CDataArrayMtxFloat : public kvx::SnapshotMatrix<CDataArrayMtxFloat, CDataArrayFloat, float> {
public:
    using SnapshotMatrix::SnapshotMatrix;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

class KVX_API CDataArrayMtxLong
    : public kvx::SnapshotMatrix<CDataArrayMtxLong, CDataArrayLong, std::int32_t> {
public:
    using SnapshotMatrix::SnapshotMatrix;

    /// Adds `k` to every sample, modulo 2^32.
    CDataArrayMtxLong& operator+=(std::int32_t k);
    /// Smallest and largest value of all cells, each searched as by CDataArrayLong::GetMinMax; fails when one
    /// of the cells does, or there is none.
    int GetMinMax(__int64 start, std::int32_t* min, std::int32_t* max) const;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

class KVX_API CDataArrayMtxLongLong
    : public kvx::NumberMatrix<CDataArrayMtxLongLong, CDataArrayLongLong, std::int64_t> {
public:
    using NumberMatrix::NumberMatrix;
};

class KVX_API CDataArrayMtxIntPtr
    : public kvx::NumberMatrix<CDataArrayMtxIntPtr, CDataArrayIntPtr, std::int64_t> {
public:
    using NumberMatrix::NumberMatrix;
};

class KVX_API CDataArrayMtxBool : public kvx::ArrayMatrix<CDataArrayMtxBool, CDataArrayBool, int> {
public:
    using ArrayMatrix::ArrayMatrix;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

/// Matrix of CDataArrayDoubleCplx: the samples of a waveform or spectrum record.
class KVX_API CDataArrayDoubleMtxCplx
    : public kvx::CplxArrayMatrix<CDataArrayDoubleMtxCplx, CDataArrayDoubleCplx, CDataDoubleMtxCplx, double> {
public:
    using CplxArrayMatrix::CplxArrayMatrix;

    /// Makes `out` this matrix narrowed to float; fails when `out` is null or the memory is not there.
    int GetDataArrayMtxCplx(CDataArrayMtxCplx* out) const;
    /// Makes this matrix `in` widened to double.
    int SetDataArrayMtxCplx(const CDataArrayMtxCplx& in);

    /// Version word 1, flag, rows, columns and sample count in 32 bits each, every cell's own layout.
    void Serialize(CArchive& archive);
};

class KVX_API CDataArrayMtxCplx
    : public kvx::CplxArrayMatrix<CDataArrayMtxCplx, CDataArrayCplx, CDataMtxCplx, float> {
public:
    using CplxArrayMatrix::CplxArrayMatrix;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

/// Matrix of 64-bit complex numbers.
class KVX_API CDataDoubleMtxCplx : public kvx::CplxMatrix<CDataDoubleMtxCplx, CDataDoubleCplx, double> {
public:
    /// Version word 1, rows and columns in 32 bits each, every value's own layout.
    void Serialize(CArchive& archive);
};

/// Matrix of 32-bit complex numbers.
class KVX_API CDataMtxCplx : public kvx::CplxMatrix<CDataMtxCplx, CDataCplx, float> {
public:
    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};
