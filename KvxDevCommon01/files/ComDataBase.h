// SPDX-License-Identifier: MIT
//
// CComDataBase: the record of one block of measured or computed data, in memory and on disk. A matrix of
// equally long sample arrays (a cell per row and column, say response and reference channel), the units of
// the values and of the horizontal axis, a name per row and column, and the axis: equally spaced, or an array
// of its values. One record belongs to one thread at a time.
#pragma once

#include <cstdint>
#include <memory>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataMatrix.h>
#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

namespace kvx {
enum class Generation : int;
struct RecordLoader;
}  // namespace kvx

class KVX_API CComDataBase {
public:
    enum DATA_MODE : std::uint32_t {
        MODE_EMPTY = 0,
        MODE_SPACING = 1,  ///< equally spaced axis: sample i lies at (i + offset) * delta
        MODE_AXIS = 2,     ///< one axis value per sample
    };

    /// Everything but the samples and the axis values.
    struct Fields {
        DATA_MODE mode = MODE_EMPTY;
        CUnitCtrl hunit;
        CUnitCtrl unit;
        CStringArray rowNames;
        CStringArray colNames;
        double delta = 0.0;
        __int64 offset = 0;
    };

    /// An empty record, with its mode set.
    explicit CComDataBase(DATA_MODE mode = MODE_EMPTY);
    /// As Create with the same arguments; empty when that fails.
    CComDataBase(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset, int isComplex,
                 const CUnitCtrl& hunit, const CUnitCtrl& unit, const CStringArray* rowNames,
                 const CStringArray* colNames);
    CComDataBase(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& hunit, const CUnitCtrl& unit,
                 const CDataArrayDouble& hdata, const CStringArray* rowNames, const CStringArray* colNames);
    ~CComDataBase();

    /// Copies everything; the copy is empty when allocation fails.
    CComDataBase(const CComDataBase& other);
    CComDataBase& operator=(const CComDataBase& other);
    /// Leaves `other` empty.
    CComDataBase(CComDataBase&& other) noexcept;
    CComDataBase& operator=(CComDataBase&& other) noexcept;

    /// Makes a record of rows x cols cells of `nsamp` zeros (also in their imaginary parts when `isComplex`
    /// is not 0) on an axis of spacing `delta`, in the standard unit of `hunit`; the first sample has the
    /// index `offset`. Rows and columns beyond the given names (null: all of them) are named Data-Row-001,
    /// Data-Col-001 and so on; surplus names are ignored. Returns 0, with an empty record, when a count is
    /// below 1 or allocation fails.
    int Create(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset, int isComplex,
               const CUnitCtrl& hunit, const CUnitCtrl& unit, const CStringArray* rowNames,
               const CStringArray* colNames);
    /// The same with the axis values `hdata`, one for each of the zeros of a cell; also fails when there are
    /// none.
    int Create(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& hunit, const CUnitCtrl& unit,
               const CDataArrayDouble& hdata, const CStringArray* rowNames, const CStringArray* colNames);

    /// Back to an empty record of mode 0 without units and names.
    void Free();
    /// Sets every sample, imaginary parts included, to the no-data marker -1.7976931348623157e308.
    void Init();
    /// Sets every sample to zero.
    void Zero();

    DATA_MODE GetDataMode() const { return fields_.mode; }
    /// The matrix, owned by the record; null when the record is empty.
    CDataArrayDoubleMtxCplx* GetDataPtr() const { return data_.get(); }
    /// Counts of rows, columns and samples per cell; 0 when the record is empty.
    __int64 GetNumRow() const;
    __int64 GetNumCol() const;
    __int64 GetNsamp() const;
    /// The real and the imaginary samples of a cell; null outside the matrix and where there are none.
    double* GetReal(__int64 row, __int64 col) const;
    double* GetImaginary(__int64 row, __int64 col) const;
    /// Spacing and first index of the axis; 0 unless the mode is 1.
    double GetDelta() const;
    __int64 GetOffset() const;
    /// The axis values, owned by the record; null unless the mode is 2.
    CDataArrayDouble* GetHData() const;
    /// Units of the values and of the axis.
    const CUnitCtrl& GetUnit() const { return fields_.unit; }
    const CUnitCtrl& GetHUnit() const { return fields_.hunit; }
    const CStringArray& GetRowName() const { return fields_.rowNames; }
    const CStringArray& GetColName() const { return fields_.colNames; }

    /// 0 unless the mode is 1.
    int SetDelta(double delta);
    int SetOffset(__int64 offset);
    /// Changes the sample count of every cell; unless it has it already, the samples become zeros. 0 unless
    /// the mode is 1 and there is a matrix; when allocation fails or `nsamp` is below 1 the record
    /// becomes empty, too.
    int SetNsamp(__int64 nsamp);
    /// Changes the axis to one of another length, with all samples zero. An axis of the present length is
    /// deliberately not taken over: the call succeeds and changes nothing. 0 unless the mode is 2, the record
    /// is not empty and `hdata` has values; when allocation fails the record becomes empty, too.
    int SetHData(const CDataArrayDouble& hdata);
    int SetUnit(const CUnitCtrl& unit);
    int SetHUnit(const CUnitCtrl& hunit);
    /// Names the rows or columns by the rule of Create.
    int SetRowName(const CStringArray& names);
    int SetColName(const CStringArray& names);

    /// Whether the record can be stored and loaded again: it has samples, in cells that all have the length
    /// and the complex flag of the matrix, no count above 2147483647, and in mode 2 as many axis values.
    int Check() const;

    /// Reads or writes the record; an empty one writes nothing. Only the low 32 bits of the offset are
    /// written. A short read throws the end-of-file exception; it and contents that make no record leave the
    /// record empty.
    void Serialize(CArchive& archive);
    /// Writes the record, as Serialize does.
    void Store(CArchive& archive) const;
    /// Reads a record of the first generation, which had single precision samples; a storing archive throws
    /// the end-of-file exception.
    void Serialize1st(CArchive& archive);

private:
    friend struct kvx::RecordLoader;

    int LclCreate(DATA_MODE mode, __int64 rows, __int64 cols, __int64 nsamp, int isComplex,
                  const CUnitCtrl& hunit, const CUnitCtrl& unit, const CDataArrayDouble* hdata,
                  const CStringArray* rowNames, const CStringArray* colNames);
    int LclSetNsamp(__int64 nsamp);
    int LclCopy(const CComDataBase& other);
    void LclLoad(CArchive& archive, kvx::Generation generation);

    Fields fields_;
    std::unique_ptr<CDataArrayDoubleMtxCplx> data_;
    std::unique_ptr<CDataArrayDouble> hdata_;
};
