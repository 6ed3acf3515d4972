// SPDX-License-Identifier: MIT
//
// Matrices, row by row. The array matrices hold rows x columns arrays of one length, a waveform or spectrum
// per cell; CDataDoubleMtxCplx and CDataMtxCplx hold one complex number per cell. A cell outside the matrix
// is null, reads as 0 and makes an operation fail; nothing throws, archive serialisation excepted. Cells are
// handed out writable: one that a caller resizes makes the operations that need the common length fail, never
// overrun. Not thread-safe: a matrix belongs to one thread at a time.
//
// kvx::Matrix holds every operation that several of the array matrices have, and says which of them have it;
// kvx::CplxMatrix is the matrix of complex numbers. Each public class adds what only it can do.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <type_traits>
#include <utility>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/platform/Types.h>

class CDataDoubleMtxCplx;
class CDataMtxCplx;
class CDataArrayMtxFloat;
class CDataArrayMtxCplx;

namespace kvx {

enum class Generation : int;

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

/// What the operations of a matrix need to know of its cells: the type of a sample, what all cells are, and
/// the matrix of complex numbers that holds one sample of every cell.
template <class Cell>
struct CellTraits {
    using Element = std::remove_pointer_t<decltype(std::declval<Cell>().GetData())>;
    using Kind = RealCells;
    struct Line;  // real cells have none
};
template <>
struct CellTraits<CDataArrayDoubleCplx> {
    using Element = double;
    using Kind = CplxCells;
    using Line = CDataDoubleMtxCplx;
};
template <>
struct CellTraits<CDataArrayCplx> {
    using Element = float;
    using Kind = CplxCells;
    using Line = CDataMtxCplx;
};

// The cells whose matrix has an operation which not all matrices have.
template <class Cell>
concept CplxCell = OneOf<Cell, CDataArrayDoubleCplx, CDataArrayCplx>;
template <class Cell>
concept RealCell = !CplxCell<Cell>;
template <class Cell>
concept NumberCell = !OneOf<Cell, CDataArrayBool>;
template <class Cell>
concept RecordingCell = OneOf<Cell, CDataArrayDouble, CDataArrayFloat, CDataArrayLong>;
template <class Cell>
concept ScalableCell = CplxCell<Cell> || OneOf<Cell, CDataArrayDouble>;

/// The cells of a matrix of arrays and the work on them that every cell allows. This is what the library
/// exports; the operations of the interface are those of Matrix.
template <class Cell>
class KVX_API MatrixStorage : protected CellTraits<Cell>::Kind {
protected:
    using Kind = typename CellTraits<Cell>::Kind;

    MatrixStorage() = default;
    MatrixStorage(const MatrixStorage& other);
    MatrixStorage(MatrixStorage&& other) noexcept;
    ~MatrixStorage();
    MatrixStorage& operator=(const MatrixStorage& other);
    MatrixStorage& operator=(MatrixStorage&& other) noexcept;

    void Release();
    /// Makes rows x cols cells of `num` zeros. False without a change when a count is below 1; leaves the
    /// matrix empty when allocation fails.
    bool Allocate(Kind kind, __int64 rows, __int64 cols, __int64 num);
    bool CopyCells(const MatrixStorage& src, __int64 srcStart, __int64 dstStart, __int64 num);

    /// Makes rows x cols cells that are still empty and will hold `num` samples; false, leaving the matrix
    /// empty, when allocation fails.
    KVX_NO_API bool AllocateEmpty(Kind kind, __int64 rows, __int64 cols, __int64 num);
    KVX_NO_API bool AreCellsWhole() const;
    /// Makes rows x cols cells that are about to be loaded with `num` samples: those that are there when
    /// there are as many of that kind, else empty ones; false, leaving the matrix empty, when allocation
    /// fails.
    KVX_NO_API bool AllocateForLoading(Kind kind, __int64 rows, __int64 cols, __int64 num);
    KVX_NO_API bool HasShapeOf(const MatrixStorage& other) const {
        return shape_ == other.shape_ && num_ == other.num_ && CellKind() == other.CellKind();
    }
    /// Leaves the matrix empty unless `done`, which is returned.
    KVX_NO_API bool KeepIf(bool done);
    KVX_NO_API Kind& CellKind() { return *this; }
    KVX_NO_API const Kind& CellKind() const { return *this; }
    KVX_NO_API Cell* begin() const { return cells_.get(); }
    KVX_NO_API Cell* end() const { return cells_.get() + shape_.cells; }

    MatrixShape shape_;
    __int64 num_ = 0;
    std::unique_ptr<Cell[]> cells_;

private:
    friend struct ForLoading;

    KVX_NO_API void Swap(MatrixStorage& other) noexcept;
};

/// The operations that all matrices of arrays or several of them have; `Self` is the public class.
///
/// Assignment takes over shape and samples, in place when the shapes agree; the matrix is empty when
/// allocation fails. Assigning a temporary takes over its cells where new ones would be needed.
template <class Self, class Cell>
class KVX_API Matrix : public MatrixStorage<Cell> {
    using Element = typename CellTraits<Cell>::Element;
    using Line = typename CellTraits<Cell>::Line;

public:
    Matrix() = default;
    /// As Create; empty when that fails.
    Matrix(__int64 rows, __int64 cols, __int64 num) requires RealCell<Cell> { Create(rows, cols, num); }
    Matrix(int isComplex, __int64 rows, __int64 cols, __int64 num) requires CplxCell<Cell> {
        Create(isComplex, rows, cols, num);
    }

    /// Makes rows x cols cells of `num` zeros. Fails without a change when a count is below 1; leaves the
    /// matrix empty when allocation fails.
    int Create(__int64 rows, __int64 cols, __int64 num) requires RealCell<Cell> {
        return this->Allocate(RealCells(), rows, cols, num);
    }
    /// The same, with imaginary parts when `isComplex` is not 0.
    int Create(int isComplex, __int64 rows, __int64 cols, __int64 num) requires CplxCell<Cell> {
        return this->Allocate(CplxCells{isComplex ? 1 : 0}, rows, cols, num);
    }
    /// Releases all cells and makes all counts 0.
    void Free() { this->Release(); }

    __int64 GetNumRow() const { return shape_.rows; }
    __int64 GetNumCol() const { return shape_.cols; }
    /// Number of samples in every cell.
    __int64 GetNum() const { return num_; }
    int IsComplex() const requires CplxCell<Cell> { return this->complexFlag; }
    /// The cell; null when it is outside the matrix.
    Cell* GetArrayPtr(__int64 row, __int64 col) const {
        return shape_.Contains(row, col) ? this->begin() + shape_.IndexOf(row, col) : nullptr;
    }
    /// The samples of a cell; null when it is outside the matrix.
    Element* GetDataPtr(__int64 row, __int64 col) const requires RealCell<Cell> {
        const Cell* cell = GetArrayPtr(row, col);
        return cell ? cell->GetData() : nullptr;
    }
    /// The real parts of a cell; null when it is outside the matrix.
    Element* GetReal(__int64 row, __int64 col) const requires CplxCell<Cell> {
        const Cell* cell = GetArrayPtr(row, col);
        return cell ? cell->GetReal() : nullptr;
    }
    /// The imaginary parts of a cell; null when it is outside the matrix or has none.
    Element* GetImaginary(__int64 row, __int64 col) const requires CplxCell<Cell> {
        const Cell* cell = GetArrayPtr(row, col);
        return cell ? cell->GetImaginary() : nullptr;
    }

    /// Sets every sample to 0.
    void Zero() requires NumberCell<Cell> {
        for (Cell& cell : *this) cell.Zero();
    }
    /// Sets every sample, when complex both of its parts, to `value`; fails when there are none.
    int SetData(Element value);
    /// Makes every cell `num` samples copied from `data`, which may lie in this matrix, or zeros when `data`
    /// is null. Fails without cells; leaves the matrix empty when `num` is negative or allocation fails.
    int SetData(__int64 num, const Element* data) requires RealCell<Cell>;
    /// Assigns one cell; fails when it is outside the matrix, `values` has another flag or length, or
    /// allocation fails.
    int SetArrayPtr(__int64 row, __int64 col, const Cell& values) requires CplxCell<Cell>;
    /// Appends snapshot[i] to cell i, row by row. Fails without a change unless the snapshot has one element
    /// per cell; leaves the matrix empty when allocation fails.
    int Append(const Cell& snapshot) requires RecordingCell<Cell>;
    /// Copies `num` samples from every cell of `src` to the cell here, 0 meaning all of this matrix's
    /// samples: real cells as rings, complex cells as plain runs, as the Copy of the cell does it. Fails
    /// unless rows and columns agree; succeeds at once on an empty matrix.
    int Copy(const Self& src, __int64 srcStart, __int64 dstStart, __int64 num) {
        return this->CopyCells(src, srcStart, dstStart, num);
    }

    /// Scales every cell; a matrix of real-only complex cells is left as it is.
    Self& operator*=(Element k) requires ScalableCell<Cell>;
    /// Scales by 1 / k, likewise; nothing happens when `k` is 0.
    Self& operator/=(Element k) requires ScalableCell<Cell>;

    /// Sets sample `line` of every cell to the number of `m`, the real part alone in a real-only matrix.
    /// Fails unless `m` has the same rows and columns and 0 <= line < GetNum().
    int SetDataFromMtxCplx(const Line& m, __int64 line) requires CplxCell<Cell>;
    /// Sets the real parts only.
    int SetDataFromMtxCplxReal(const Line& m, __int64 line) requires CplxCell<Cell>;
    /// Sets `m`, re-created when its shape differs, to sample `line` of every cell. Fails when `m` is null or
    /// cannot be created, or `line` is not a sample.
    int SetMtxCplx(Line* m, __int64 line) const requires CplxCell<Cell>;
    /// Sets the real parts of `m` only.
    int SetMtxCplxReal(Line* m, __int64 line) const requires CplxCell<Cell>;

    /// 1 when rows, columns, sample count and complex flag agree: matrices of one shape are equal whatever
    /// they hold.
    friend int operator==(const Self& a, const Self& b) {
        return static_cast<const Matrix&>(a).HasShapeOf(b);
    }
    friend int operator!=(const Self& a, const Self& b) { return !(a == b); }

protected:
    /// Version word (current generation only), flag (complex cells only), rows, columns and sample count in
    /// 32 bits each, then every cell in its own layout. A matrix whose loading fails, or whose cells differ
    /// in length from the sample count, is empty; a matrix that cannot be stored throws before anything is
    /// written.
    KVX_NO_API void SerializeLayout(CArchive& archive, Generation generation);

    using MatrixStorage<Cell>::shape_;
    using MatrixStorage<Cell>::num_;
    using MatrixStorage<Cell>::cells_;

private:
    enum class Parts { both, realOnly };

    KVX_NO_API bool HoldsLine(__int64 line) const;
    KVX_NO_API int LoadLine(const Line& m, __int64 line, Parts parts);
    KVX_NO_API int StoreLine(Line* m, __int64 line, Parts parts) const;
};

/// A matrix of complex numbers; `Self` is the public class.
template <class Self, class Value, typename Real>
class KVX_API CplxMatrix {
public:
    CplxMatrix() = default;
    CplxMatrix(const CplxMatrix& other);
    CplxMatrix(CplxMatrix&& other) noexcept;
    ~CplxMatrix();

    /// Takes over shape and values, in place when the shapes agree; empty when allocation fails.
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

private:
    KVX_NO_API Value At(__int64 row, __int64 col) const {
        const Value* value = GetDataPtr(row, col);
        return value ? *value : Value();
    }
    KVX_NO_API Value* begin() const { return values_.get(); }
    KVX_NO_API Value* end() const { return values_.get() + shape_.cells; }
    KVX_NO_API void Swap(CplxMatrix& other) noexcept;

    MatrixShape shape_;
    std::unique_ptr<Value[]> values_;
};

}  // namespace kvx

/// Matrix of CDataArrayDouble: the samples of a multi-channel record.
class KVX_API CDataArrayMtxDouble : public kvx::Matrix<CDataArrayMtxDouble, CDataArrayDouble> {
public:
    using Matrix::Matrix;

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
    /// `out` is null, the cells have no samples or allocation fails; `out` is then empty.
    int GetDataArrayMtxFloat(CDataArrayMtxFloat* out) const;
    /// The inverse: makes this matrix `in`, cell by cell as CDataArrayDouble::SetDataArrayFloat.
    int SetDataArrayMtxFloat(const CDataArrayMtxFloat& in);

    /// Version word 1, rows, columns and sample count in 32 bits each, every cell's own layout.
    void Serialize(CArchive& archive);
};

class KVX_API CDataArrayMtxFloat : public kvx::Matrix<CDataArrayMtxFloat, CDataArrayFloat> {
public:
    using Matrix::Matrix;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

class KVX_API CDataArrayMtxLong : public kvx::Matrix<CDataArrayMtxLong, CDataArrayLong> {
public:
    using Matrix::Matrix;

    /// Adds `k` to every sample, modulo 2^32.
    CDataArrayMtxLong& operator+=(std::int32_t k);
    /// Smallest and largest value of all cells, each searched as by CDataArrayLong::GetMinMax; fails when one
    /// of the cells does, or there is none.
    int GetMinMax(__int64 start, std::int32_t* min, std::int32_t* max) const;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

class KVX_API CDataArrayMtxLongLong : public kvx::Matrix<CDataArrayMtxLongLong, CDataArrayLongLong> {
public:
    using Matrix::Matrix;
};

class KVX_API CDataArrayMtxIntPtr : public kvx::Matrix<CDataArrayMtxIntPtr, CDataArrayIntPtr> {
public:
    using Matrix::Matrix;
};

class KVX_API CDataArrayMtxBool : public kvx::Matrix<CDataArrayMtxBool, CDataArrayBool> {
public:
    using Matrix::Matrix;

    void Serialize(CArchive& archive);
    /// The first generation of the layout: no version words.
    void Serialize1st(CArchive& archive);
};

/// Matrix of CDataArrayDoubleCplx: the samples of a waveform or spectrum record.
class KVX_API CDataArrayDoubleMtxCplx : public kvx::Matrix<CDataArrayDoubleMtxCplx, CDataArrayDoubleCplx> {
public:
    using Matrix::Matrix;

    /// Makes `out` this matrix narrowed to float; fails when `out` is null or allocation fails.
    int GetDataArrayMtxCplx(CDataArrayMtxCplx* out) const;
    /// Makes this matrix `in` widened to double.
    int SetDataArrayMtxCplx(const CDataArrayMtxCplx& in);

    /// Version word 1, flag, rows, columns and sample count in 32 bits each, every cell's own layout.
    void Serialize(CArchive& archive);
};

class KVX_API CDataArrayMtxCplx : public kvx::Matrix<CDataArrayMtxCplx, CDataArrayCplx> {
public:
    using Matrix::Matrix;

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
