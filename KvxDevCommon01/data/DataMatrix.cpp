// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/data/DataMatrix.h>

#include <algorithm>
#include <cmath>
#include <new>
#include <type_traits>
#include <utility>

#include <KvxDevCommon01/data/RangeScan.h>
#include <KvxDevCommon01/data/detail/Block.h>
#include <KvxDevCommon01/data/detail/CplxRuns.h>
#include <KvxDevCommon01/data/detail/ElementLayout.h>
#include <KvxDevCommon01/data/detail/MatrixFamily.h>

namespace kvx {
namespace {

// ---- what differs between real and complex cells

template <class Cell>
bool MakeCell(RealCells, Cell& cell, __int64 num) {
    return cell.SetData(num, nullptr);
}

template <class Cell>
bool MakeCell(CplxCells kind, Cell& cell, __int64 num) {
    return cell.Create(kind.complexFlag, num);
}

/// Whether a cell has the length and the flag that its matrix states.
template <class Cell>
bool IsWhole(RealCells, const Cell& cell, __int64 num) {
    return cell.GetNum() == num && cell.GetData();
}

template <class Cell>
bool IsWhole(CplxCells kind, const Cell& cell, __int64 num) {
    return cell.GetNum() == num && cell.IsComplex() == kind.complexFlag;
}

template <class Self, typename Element>
void FillCell(Array<Self, Element>& cell, Element value) {
    std::fill_n(cell.GetData(), cell.GetNum(), value);
}

template <class Self, typename Real>
void FillCell(CplxArray<Self, Real>& cell, Real value) {
    FillParts(cell, value);
}

void ScaleCell(CDataArrayDouble& cell, double k) {
    cell *= k;
}

template <class Self, typename Real>
void ScaleCell(CplxArray<Self, Real>& cell, Real k) {
    ScaleParts(cell, k);
}

template <class Cell>
bool CopyCell(RealCells, Cell& dst, __int64 dstStart, const Cell& src, __int64 srcStart, __int64 num) {
    return dst.Copy(src, srcStart, dstStart, num);
}

template <class Cell>
bool CopyCell(CplxCells, Cell& dst, __int64 dstStart, const Cell& src, __int64 srcStart, __int64 num) {
    return CopyParts(dst, dstStart, src, srcStart, num);
}

/// The head of a matrix with cells of that kind.
void StoreMatrixHead(CArchive& archive, Generation generation, RealCells, const ArrayMatrixHead& head) {
    StoreHead(archive, generation, head);
}
void StoreMatrixHead(CArchive& archive, Generation generation, CplxCells kind, const ArrayMatrixHead& head) {
    StoreHead(archive, generation, CplxArrayMatrixHead{kind.complexFlag, head.rows, head.cols, head.num});
}
ArrayMatrixHead LoadMatrixHead(CArchive& archive, Generation generation, RealCells*) {
    return LoadHead<ArrayMatrixHead>(archive, generation);
}
ArrayMatrixHead LoadMatrixHead(CArchive& archive, Generation generation, CplxCells* kind) {
    const auto head = LoadHead<CplxArrayMatrixHead>(archive, generation);
    kind->complexFlag = head.isComplex ? 1 : 0;
    return {head.rows, head.cols, head.num};
}

/// The fewest bytes that a cell of `num` samples takes in an archive.
template <class Cell>
std::size_t CellBytes(RealCells, __int64 num, Generation generation) {
    using Element = std::remove_pointer_t<decltype(std::declval<Cell>().GetData())>;
    return HeadBytes<ArrayHead>(generation) + ByteSize<Element>(num);
}

template <class Cell>
std::size_t CellBytes(CplxCells kind, __int64 num, Generation generation) {
    using Real = std::remove_pointer_t<decltype(std::declval<Cell>().GetReal())>;
    return HeadBytes<CplxArrayHead>(generation) + ByteSize<Real>(num) * (kind.complexFlag ? 2 : 1);
}

/// Whether a matrix of that kind may have cells of `num` samples: a block of a real array may be empty.
bool CanHold(RealCells, __int64 num) {
    return num >= 0;
}
bool CanHold(CplxCells, __int64 num) {
    return num > 0;
}

/// Runs `action(cell, index)` on every cell, up to the first for which it fails.
template <class Cell, class Action>
bool TryEach(Cell* cells, __int64 count, Action action) {
    for (__int64 i = 0; i < count; ++i) {
        if (!action(cells[i], i)) return false;
    }
    return true;
}

/// rows x cols values made by their default constructor; null when there are none or allocation fails.
template <class Value>
std::unique_ptr<Value[]> NewValues(const MatrixShape& shape) {
    if (shape.cells < 1) return nullptr;
    return std::unique_ptr<Value[]>(new (std::nothrow) Value[static_cast<std::size_t>(shape.cells)]);
}

/// The shape rows x cols; without cells when a count is below 1 or the size in bytes overflows.
template <class Value>
MatrixShape ShapeFor(__int64 rows, __int64 cols) {
    if (rows < 1 || cols < 1 || cols > kMaxCount<Value> / rows) return {};
    return {rows, cols, rows * cols};
}

}  // namespace

// ---- MatrixStorage

template <class Cell>
MatrixStorage<Cell>::MatrixStorage(const MatrixStorage& other) : MatrixStorage() {
    *this = other;
}

template <class Cell>
MatrixStorage<Cell>::MatrixStorage(MatrixStorage&& other) noexcept : MatrixStorage() {
    Swap(other);
}

template <class Cell>
MatrixStorage<Cell>::~MatrixStorage() = default;

template <class Cell>
MatrixStorage<Cell>& MatrixStorage<Cell>::operator=(const MatrixStorage& other) {
    if (this == &other) return *this;
    if (!HasShapeOf(other) &&
        !AllocateEmpty(other.CellKind(), other.shape_.rows, other.shape_.cols, other.num_)) {
        return *this;
    }
    KeepIf(TryEach(begin(), shape_.cells, [&](Cell& cell, __int64 i) {
        cell = other.begin()[i];
        return cell.GetNum() == other.begin()[i].GetNum();
    }));
    return *this;
}

template <class Cell>
MatrixStorage<Cell>& MatrixStorage<Cell>::operator=(MatrixStorage&& other) noexcept {
    if (HasShapeOf(other)) return *this = std::as_const(other);
    Release();
    Swap(other);
    return *this;
}

template <class Cell>
void MatrixStorage<Cell>::Release() {
    MatrixStorage empty;
    Swap(empty);
}

template <class Cell>
bool MatrixStorage<Cell>::CopyCells(const MatrixStorage& src, __int64 srcStart, __int64 dstStart,
                                    __int64 num) {
    if (shape_ != src.shape_) return false;
    return TryEach(begin(), shape_.cells, [&](Cell& cell, __int64 i) {
        return CopyCell(CellKind(), cell, dstStart, src.begin()[i], srcStart, num == 0 ? num_ : num);
    });
}

template <class Cell>
bool MatrixStorage<Cell>::Allocate(Kind kind, __int64 rows, __int64 cols, __int64 num) {
    if (rows < 1 || cols < 1 || num < 1) return false;
    if (!AllocateEmpty(kind, rows, cols, num)) return false;
    return KeepIf(
        TryEach(begin(), shape_.cells, [&](Cell& cell, __int64) { return MakeCell(kind, cell, num); }));
}

template <class Cell>
bool MatrixStorage<Cell>::AllocateEmpty(Kind kind, __int64 rows, __int64 cols, __int64 num) {
    Release();
    const MatrixShape shape = ShapeFor<Cell>(rows, cols);
    cells_ = NewValues<Cell>(shape);
    if (!cells_) return false;
    CellKind() = kind;
    shape_ = shape;
    num_ = num;
    return true;
}

template <class Cell>
bool MatrixStorage<Cell>::AllocateForLoading(Kind kind, __int64 rows, __int64 cols, __int64 num) {
    if (!cells_ || shape_.rows != rows || shape_.cols != cols || CellKind() != kind)
        return AllocateEmpty(kind, rows, cols, num);
    num_ = num;
    return true;
}

template <class Cell>
bool MatrixStorage<Cell>::KeepIf(bool done) {
    if (!done) Release();
    return done;
}

template <class Cell>
void MatrixStorage<Cell>::Swap(MatrixStorage& other) noexcept {
    std::swap(CellKind(), other.CellKind());
    std::swap(shape_, other.shape_);
    std::swap(num_, other.num_);
    std::swap(cells_, other.cells_);
}

template <class Cell>
bool MatrixStorage<Cell>::AreCellsWhole() const {
    return std::all_of(begin(), end(), [this](const Cell& cell) { return IsWhole(CellKind(), cell, num_); });
}

// clang-format off
#define KVX_INSTANTIATE(Class, Cell) template class MatrixStorage<Cell>;
KVX_CELL_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
// clang-format on

// ---- Matrix

template <class Self, class Cell>
int Matrix<Self, Cell>::SetData(Element value) {
    if (num_ < 1) return 0;
    for (Cell& cell : *this) FillCell(cell, value);
    return 1;
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetData(__int64 num, const Element* data) requires RealCell<Cell> {
    if (!cells_) return 0;
    const Cell model(num, data);
    num_ = num;
    return this->KeepIf(IsWhole(RealCells(), model, num) &&
                        TryEach(this->begin(), shape_.cells, [&](Cell& cell, __int64) {
                            cell = model;
                            return IsWhole(RealCells(), cell, num);
                        }));
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetArrayPtr(__int64 row, __int64 col, const Cell& values) requires CplxCell<Cell> {
    Cell* cell = GetArrayPtr(row, col);
    if (!cell || !IsWhole(this->CellKind(), values, num_)) return 0;
    *cell = values;
    return IsWhole(this->CellKind(), *cell, num_);
}

template <class Self, class Cell>
int Matrix<Self, Cell>::Append(const Cell& snapshot) requires RecordingCell<Cell> {
    if (!cells_ || snapshot.GetNum() != shape_.cells) return 0;
    ++num_;
    return this->KeepIf(TryEach(this->begin(), shape_.cells,
                                [&](Cell& cell, __int64 i) { return cell.Append(snapshot[i]); }));
}

template <class Self, class Cell>
Self& Matrix<Self, Cell>::operator*=(Element k) requires ScalableCell<Cell> {
    for (Cell& cell : *this) ScaleCell(cell, k);
    return static_cast<Self&>(*this);
}

template <class Self, class Cell>
Self& Matrix<Self, Cell>::operator/=(Element k) requires ScalableCell<Cell> {
    return k == 0 ? static_cast<Self&>(*this) : *this *= 1 / k;
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetDataFromMtxCplx(const Line& m, __int64 line) requires CplxCell<Cell> {
    return LoadLine(m, line, Parts::both);
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetDataFromMtxCplxReal(const Line& m, __int64 line) requires CplxCell<Cell> {
    return LoadLine(m, line, Parts::realOnly);
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetMtxCplx(Line* m, __int64 line) const requires CplxCell<Cell> {
    return StoreLine(m, line, Parts::both);
}

template <class Self, class Cell>
int Matrix<Self, Cell>::SetMtxCplxReal(Line* m, __int64 line) const requires CplxCell<Cell> {
    return StoreLine(m, line, Parts::realOnly);
}

template <class Self, class Cell>
bool Matrix<Self, Cell>::HoldsLine(__int64 line) const {
    return line >= 0 && line < num_ && std::all_of(this->begin(), this->end(), [&](const Cell& cell) {
               return line < cell.GetNum() && cell.IsComplex() == this->complexFlag;
           });
}

template <class Self, class Cell>
int Matrix<Self, Cell>::LoadLine(const Line& m, __int64 line, Parts parts) {
    if (m.GetNumRow() != shape_.rows || m.GetNumCol() != shape_.cols || !HoldsLine(line)) return 0;
    const auto* value = m.GetDataPtr(0, 0);
    for (Cell& cell : *this) {
        cell.GetReal()[line] = value->GetReal();
        if (parts == Parts::both && this->complexFlag) cell.GetImaginary()[line] = value->GetImaginary();
        ++value;
    }
    return 1;
}

template <class Self, class Cell>
int Matrix<Self, Cell>::StoreLine(Line* m, __int64 line, Parts parts) const {
    if (!m || !HoldsLine(line)) return 0;
    const bool hasShape = m->GetNumRow() == shape_.rows && m->GetNumCol() == shape_.cols;
    if (!hasShape && !m->Create(shape_.rows, shape_.cols)) return 0;
    auto* value = m->GetDataPtr(0, 0);
    for (const Cell& cell : *this) {
        value->SetReal(cell.GetReal()[line]);
        if (parts == Parts::both) value->SetImaginary(this->complexFlag ? cell.GetImaginary()[line] : 0);
        ++value;
    }
    return 1;
}

template <class Self, class Cell>
void Matrix<Self, Cell>::SerializeLayout(CArchive& archive, Generation generation) {
    if (archive.IsStoring()) {
        if (!this->AreCellsWhole()) throw CFileException(CFileException::genericException);
        StoreMatrixHead(archive, generation, this->CellKind(), {shape_.rows, shape_.cols, num_});
        for (Cell& cell : *this) kvx::SerializeLayout(archive, cell, generation);
        return;
    }
    LoadOrEmpty(*this, [&] {
        typename CellTraits<Cell>::Kind kind;
        const auto [rows, cols, num] = LoadMatrixHead(archive, generation, &kind);
        if (rows < 1 || cols < 1 || !CanHold(kind, num)) return this->Release();
        archive.RequireRemaining(rows * cols, CellBytes<Cell>(kind, num, generation));
        if (!this->AllocateForLoading(kind, rows, cols, num)) return;
        for (Cell& cell : *this) kvx::SerializeLayout(archive, cell, generation);
        this->KeepIf(this->AreCellsWhole());
    });
}

// ---- CplxMatrix

template <class Self, class Value, typename Real>
CplxMatrix<Self, Value, Real>::CplxMatrix(const CplxMatrix& other) {
    *this = other;
}

template <class Self, class Value, typename Real>
CplxMatrix<Self, Value, Real>::CplxMatrix(CplxMatrix&& other) noexcept {
    Swap(other);
}

template <class Self, class Value, typename Real>
CplxMatrix<Self, Value, Real>::~CplxMatrix() = default;

template <class Self, class Value, typename Real>
CplxMatrix<Self, Value, Real>& CplxMatrix<Self, Value, Real>::operator=(const CplxMatrix& other) {
    if (this == &other) return *this;
    if (shape_ != other.shape_) Create(other.shape_.rows, other.shape_.cols);
    std::copy_n(other.begin(), shape_.cells, begin());
    return *this;
}

template <class Self, class Value, typename Real>
CplxMatrix<Self, Value, Real>& CplxMatrix<Self, Value, Real>::operator=(CplxMatrix&& other) noexcept {
    if (shape_ == other.shape_) return *this = std::as_const(other);
    Free();
    Swap(other);
    return *this;
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::Create(__int64 rows, __int64 cols) {
    Free();
    if (rows < 1 || cols < 1) return rows >= 0 || cols >= 0;
    const MatrixShape shape = ShapeFor<Value>(rows, cols);
    values_ = NewValues<Value>(shape);
    if (!values_) return 0;
    shape_ = shape;
    return 1;
}

template <class Self, class Value, typename Real>
void CplxMatrix<Self, Value, Real>::Free() {
    values_.reset();
    shape_ = {};
}

template <class Self, class Value, typename Real>
void CplxMatrix<Self, Value, Real>::Zero() {
    std::fill(begin(), end(), Value());
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::SetData(__int64 row, __int64 col, const Value& value) {
    Value* target = GetDataPtr(row, col);
    if (!target) return 0;
    *target = value;
    return 1;
}

template <class Self, class Value, typename Real>
Real CplxMatrix<Self, Value, Real>::GetNormEuclid() const {
    double sum = 0.0;
    for (const Value& value : *this) sum += static_cast<double>(value.GetAbsSq());
    return static_cast<Real>(std::sqrt(sum));
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::Add(const Self& a, const Self& b, Self* out) {
    if (!out || a.shape_ != b.shape_ || a.shape_ != out->shape_) return 0;
    std::transform(a.begin(), a.end(), b.begin(), out->begin(),
                   [](const Value& x, const Value& y) { return Value::Add(x, y); });
    return 1;
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::Mul(const Self& a, const Self& b, Self* out) {
    if (!out || a.shape_.cols != b.shape_.rows) return 0;
    if (out->shape_.rows != a.shape_.rows || out->shape_.cols != b.shape_.cols) return 0;
    if (out == &a || out == &b) {
        Self product;
        if (!product.Create(out->shape_.rows, out->shape_.cols) || !Mul(a, b, &product)) return 0;
        *out = product;
        return 1;
    }
    Value* target = out->begin();
    for (__int64 row = 0; row < a.shape_.rows; ++row) {
        for (__int64 col = 0; col < b.shape_.cols; ++col) {
            Value sum;
            const Value* left = a.begin() + row * a.shape_.cols;
            const Value* right = b.begin() + col;
            for (__int64 k = 0; k < a.shape_.cols; ++k, ++left, right += b.shape_.cols) {
                sum += Value::Mul(*left, *right);
            }
            *target++ = sum;
        }
    }
    return 1;
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::Trans(const Self& a, Self* out) {
    if (!out || out->shape_.rows != a.shape_.cols || out->shape_.cols != a.shape_.rows) return 0;
    if (out == &a) {
        for (__int64 row = 0; row < a.shape_.rows; ++row) {
            for (__int64 col = 0; col < row; ++col)
                std::swap(*out->GetDataPtr(row, col), *out->GetDataPtr(col, row));
        }
        return 1;
    }
    const Value* source = a.begin();
    for (__int64 row = 0; row < a.shape_.rows; ++row) {
        for (__int64 col = 0; col < a.shape_.cols; ++col) *out->GetDataPtr(col, row) = *source++;
    }
    return 1;
}

template <class Self, class Value, typename Real>
int CplxMatrix<Self, Value, Real>::Conj(const Self& a, Self* out) {
    if (!out || a.shape_ != out->shape_) return 0;
    std::transform(a.begin(), a.end(), out->begin(), [](Value value) {
        value.Conj();
        return value;
    });
    return 1;
}

template <class Self, class Value, typename Real>
void CplxMatrix<Self, Value, Real>::Swap(CplxMatrix& other) noexcept {
    std::swap(shape_, other.shape_);
    std::swap(values_, other.values_);
}

/// The head, then every value in its own layout. A matrix whose loading fails is empty.
template <class Self, class Value, typename Real>
void SerializeLayout(CArchive& archive, CplxMatrix<Self, Value, Real>& matrix, Generation generation) {
    const auto serializeValues = [&] {
        Value* values = matrix.GetDataPtr(0, 0);
        const __int64 count = values ? matrix.GetNumRow() * matrix.GetNumCol() : 0;
        for (__int64 i = 0; i < count; ++i) SerializeLayout(archive, values[i], generation);
    };
    if (archive.IsStoring()) {
        StoreHead(archive, generation, CplxMatrixHead{matrix.GetNumRow(), matrix.GetNumCol()});
        serializeValues();
        return;
    }
    LoadOrEmpty(matrix, [&] {
        const auto [rows, cols] = LoadHead<CplxMatrixHead>(archive, generation);
        matrix.Free();
        if (rows < 1 || cols < 1) return;
        const std::size_t versionBytes = generation == Generation::current ? sizeof(kLayoutVersion) : 0;
        archive.RequireRemaining(rows * cols, versionBytes + 2 * sizeof(Real));
        matrix.Create(rows, cols);
        serializeValues();
    });
}

bool CreateForLoading(CDataArrayDoubleMtxCplx& matrix, int isComplex, __int64 rows, __int64 cols,
                      __int64 num) {
    return ForLoading::Create(matrix, CplxCells{isComplex ? 1 : 0}, rows, cols, num);
}

// The operations of Matrix are instantiated one by one, for their own matrices: Clang 14 would instantiate
// all of them with the class.
// clang-format off
#define KVX_INSTANTIATE(Class, Cell) template int Matrix<Class, Cell>::SetData(CellTraits<Cell>::Element);
KVX_CELL_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Cell) \
    template int Matrix<Class, Cell>::SetData(__int64, const CellTraits<Cell>::Element*);
KVX_ARRAY_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Cell) template int Matrix<Class, Cell>::Append(const Cell&);
KVX_RECORDING_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Cell)                                                \
    template Class& Matrix<Class, Cell>::operator*=(CellTraits<Cell>::Element); \
    template Class& Matrix<Class, Cell>::operator/=(CellTraits<Cell>::Element);
KVX_SCALABLE_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
#define KVX_INSTANTIATE(Class, Cell)                                                                           \
    template int Matrix<Class, Cell>::SetArrayPtr(__int64, __int64, const Cell&);                              \
    template int Matrix<Class, Cell>::SetDataFromMtxCplx(const CellTraits<Cell>::Line&, __int64);     \
    template int Matrix<Class, Cell>::SetDataFromMtxCplxReal(const CellTraits<Cell>::Line&, __int64); \
    template int Matrix<Class, Cell>::SetMtxCplx(CellTraits<Cell>::Line*, __int64) const;             \
    template int Matrix<Class, Cell>::SetMtxCplxReal(CellTraits<Cell>::Line*, __int64) const;
KVX_CPLX_MATRICES(KVX_INSTANTIATE)
#undef KVX_INSTANTIATE
// clang-format on

template class CplxMatrix<CDataDoubleMtxCplx, CDataDoubleCplx, double>;
template class CplxMatrix<CDataMtxCplx, CDataCplx, float>;

namespace {

/// Searches the samples `start` to `last` of every cell; 0 when one of the searches finds nothing.
template <class Cell, typename Element>
int FindRange(const Cell* begin, const Cell* end, __int64 start, __int64 last, Element* min, Element* max,
              Element* pmin) {
    const auto positive = pmin ? SmallestPositive::wanted : SmallestPositive::ignored;
    RangeScan<Element> whole(positive);
    for (const Cell* cell = begin; cell != end; ++cell) {
        const __int64 stop = std::min(last, cell->GetNum() - 1);
        if (start < 0 || stop < start) return 0;
        RangeScan<Element> scan(positive);
        scan.Add({cell->GetData() + start, static_cast<std::size_t>(stop - start + 1)});
        if (!scan.HasFound()) return 0;
        whole.Merge(scan);
    }
    return whole.Write(min, max, pmin);
}

/// Converts cell by cell into `to`, which has the shape of `from`.
template <class From, class To, class ConvertCell>
int ConvertCells(const From& from, To& to, ConvertCell convertCell) {
    for (__int64 row = 0; row < from.GetNumRow(); ++row) {
        for (__int64 col = 0; col < from.GetNumCol(); ++col) {
            if (!convertCell(*from.GetArrayPtr(row, col), *to.GetArrayPtr(row, col))) {
                to.Free();
                return 0;
            }
        }
    }
    return 1;
}

}  // namespace
}  // namespace kvx

// ---- the public classes

using kvx::Generation;

double CDataArrayMtxDouble::CalcRms(__int64 row, __int64 col, __int64 start, __int64 num) const {
    const CDataArrayDouble* cell = GetArrayPtr(row, col);
    return cell ? cell->CalcRms(start, num) : 0.0;
}

int CDataArrayMtxDouble::GetMinMax(__int64 start, double* min, double* max) const {
    return GetMinMaxAndPMin(start, 0, min, max, nullptr);
}

int CDataArrayMtxDouble::GetMinMaxAndPMin(__int64 start, double* min, double* max, double* pmin) const {
    return GetMinMaxAndPMin(start, 0, min, max, pmin);
}

int CDataArrayMtxDouble::GetMinMaxAndPMin(__int64 start, __int64 end, double* min, double* max,
                                          double* pmin) const {
    return kvx::FindRange(this->begin(), this->end(), start, end == 0 ? num_ - 1 : end, min, max, pmin);
}

int CDataArrayMtxDouble::GetDataArrayMtxFloat(CDataArrayMtxFloat* out) const {
    if (!out) return 0;
    out->Free();
    if (!cells_) return 1;
    return out->Create(GetNumRow(), GetNumCol(), GetNum()) &&
           kvx::ConvertCells(*this, *out, [](const CDataArrayDouble& from, CDataArrayFloat& to) {
               return from.GetDataArrayFloat(&to);
           });
}

int CDataArrayMtxDouble::SetDataArrayMtxFloat(const CDataArrayMtxFloat& in) {
    Free();
    if (in.GetNumRow() == 0) return 1;
    return Create(in.GetNumRow(), in.GetNumCol(), in.GetNum()) &&
           kvx::ConvertCells(in, *this, [](const CDataArrayFloat& from, CDataArrayDouble& to) {
               return to.SetDataArrayFloat(from);
           });
}

void CDataArrayMtxDouble::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxFloat::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxFloat::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, Generation::first);
}

CDataArrayMtxLong& CDataArrayMtxLong::operator+=(std::int32_t k) {
    for (CDataArrayLong& cell : *this) {
        std::int32_t* values = cell.GetData();
        for (__int64 i = 0; i < cell.GetNum(); ++i) {
            values[i] = static_cast<std::int32_t>(static_cast<std::uint32_t>(values[i]) +
                                                  static_cast<std::uint32_t>(k));
        }
    }
    return *this;
}

int CDataArrayMtxLong::GetMinMax(__int64 start, std::int32_t* min, std::int32_t* max) const {
    std::int32_t* const none = nullptr;
    return kvx::FindRange(this->begin(), this->end(), start, num_ - 1, min, max, none);
}

void CDataArrayMtxLong::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxLong::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, Generation::first);
}

void CDataArrayMtxBool::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxBool::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, Generation::first);
}

int CDataArrayDoubleMtxCplx::GetDataArrayMtxCplx(CDataArrayMtxCplx* out) const {
    if (!out) return 0;
    out->Free();
    if (!cells_) return 1;
    return out->Create(IsComplex(), GetNumRow(), GetNumCol(), GetNum()) &&
           kvx::ConvertCells(*this, *out, [](const CDataArrayDoubleCplx& from, CDataArrayCplx& to) {
               return kvx::ConvertParts(from, to);
           });
}

int CDataArrayDoubleMtxCplx::SetDataArrayMtxCplx(const CDataArrayMtxCplx& in) {
    Free();
    if (in.GetNumRow() == 0) return 1;
    return Create(in.IsComplex(), in.GetNumRow(), in.GetNumCol(), in.GetNum()) &&
           kvx::ConvertCells(in, *this, [](const CDataArrayCplx& from, CDataArrayDoubleCplx& to) {
               return kvx::ConvertParts(from, to);
           });
}

void CDataArrayDoubleMtxCplx::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxCplx::Serialize(CArchive& archive) {
    SerializeLayout(archive, Generation::current);
}

void CDataArrayMtxCplx::Serialize1st(CArchive& archive) {
    SerializeLayout(archive, Generation::first);
}

void CDataDoubleMtxCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, Generation::current);
}

void CDataMtxCplx::Serialize(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, Generation::current);
}

void CDataMtxCplx::Serialize1st(CArchive& archive) {
    kvx::SerializeLayout(archive, *this, Generation::first);
}
