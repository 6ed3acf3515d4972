// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/files/ComDataBase.h>

#include <cstdint>
#include <limits>
#include <new>
#include <type_traits>
#include <utility>

#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/detail/RecordLayout.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/FileException.h>

/// Loads a record with its samples.
struct kvx::RecordLoader {
    CArchive& archive;
    Generation generation;
    CComDataBase record = CComDataBase();

    CArchive& Archive() { return archive; }

    void Begin(const RecordOutline& outline) {
        if (record.data_ == nullptr) record.data_ = std::make_unique<CDataArrayDoubleMtxCplx>();
        if (!CreateForLoading(*record.data_, outline.isComplex, outline.rows, outline.cols, outline.nsamp))
            throw std::bad_alloc();
    }

    void TakeCell(__int64 cell) {
        const __int64 row = cell / record.GetNumCol();
        const __int64 col = cell % record.GetNumCol();
        LoadSamples(archive, generation, Samples(record, row, col));
        LoadSamples(archive, generation, ImaginarySamples(record, row, col));
    }

    void TakeAxis() {
        record.hdata_ = std::make_unique<CDataArrayDouble>();
        if (!record.hdata_->SetData(record.GetNsamp(), nullptr)) throw std::bad_alloc();
        LoadSamples(archive, generation, Samples(*record.hdata_));
    }

    CComDataBase Load(CComDataBase former) {
        record.data_ = std::move(former.data_);
        record.fields_ = LoadRecord(*this, generation).fields;
        return std::move(record);
    }
};

CComDataBase kvx::LoadWholeRecord(CArchive& archive, Generation generation, CComDataBase former) {
    return RecordLoader{archive, generation}.Load(std::move(former));
}

CComDataBase::CComDataBase(DATA_MODE mode) {
    fields_.mode = mode;
}

CComDataBase::CComDataBase(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset,
                           int isComplex, const CUnitCtrl& hunit, const CUnitCtrl& unit,
                           const CStringArray* rowNames, const CStringArray* colNames)
    : CComDataBase() {
    Create(delta, rows, cols, nsamp, offset, isComplex, hunit, unit, rowNames, colNames);
}

CComDataBase::CComDataBase(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& hunit,
                           const CUnitCtrl& unit, const CDataArrayDouble& hdata, const CStringArray* rowNames,
                           const CStringArray* colNames)
    : CComDataBase() {
    Create(rows, cols, isComplex, hunit, unit, hdata, rowNames, colNames);
}

CComDataBase::~CComDataBase() = default;

CComDataBase::CComDataBase(const CComDataBase& other) : CComDataBase() {
    *this = other;
}

CComDataBase& CComDataBase::operator=(const CComDataBase& other) {
    if (this != &other && !LclCopy(other)) Free();
    return *this;
}

CComDataBase::CComDataBase(CComDataBase&& other) noexcept : CComDataBase() {
    *this = std::move(other);
}

CComDataBase& CComDataBase::operator=(CComDataBase&& other) noexcept {
    if (this == &other) return *this;
    fields_ = std::move(other.fields_);
    data_ = std::move(other.data_);
    hdata_ = std::move(other.hdata_);
    other.Free();
    return *this;
}

int CComDataBase::LclCopy(const CComDataBase& other) try {
    const auto copy = [](const auto& source, auto& target) {
        if (source == nullptr) {
            target.reset();
            return true;
        }
        if (target == nullptr) target = std::make_unique<std::remove_reference_t<decltype(*target)>>();
        *target = *source;
        return target->GetNum() == source->GetNum();
    };
    fields_ = other.fields_;
    return copy(other.data_, data_) && copy(other.hdata_, hdata_);
} catch (const std::bad_alloc&) {
    return 0;
}

int CComDataBase::LclCreate(DATA_MODE mode, __int64 rows, __int64 cols, __int64 nsamp, int isComplex,
                            const CUnitCtrl& hunit, const CUnitCtrl& unit, const CDataArrayDouble* hdata,
                            const CStringArray* rowNames, const CStringArray* colNames) try {
    // The arguments may be parts of this record, so they are copied before it is freed.
    CComDataBase made(mode);
    made.fields_.hunit = hunit;
    made.fields_.unit = unit;
    if (hdata != nullptr) made.hdata_ = std::make_unique<CDataArrayDouble>(*hdata);
    const CStringArray givenRowNames = rowNames != nullptr ? *rowNames : CStringArray();
    const CStringArray givenColNames = colNames != nullptr ? *colNames : CStringArray();
    Free();

    made.data_ = std::make_unique<CDataArrayDoubleMtxCplx>();
    if (!made.data_->Create(isComplex, rows, cols, nsamp) || !made.Check()) return 0;
    kvx::CompleteRowNames(givenRowNames, rows, &made.fields_);
    kvx::CompleteColNames(givenColNames, cols, &made.fields_);
    *this = std::move(made);
    return 1;
} catch (const std::bad_alloc&) {
    Free();
    return 0;
}

int CComDataBase::Create(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset,
                         int isComplex, const CUnitCtrl& hunit, const CUnitCtrl& unit,
                         const CStringArray* rowNames, const CStringArray* colNames) {
    if (!LclCreate(MODE_SPACING, rows, cols, nsamp, isComplex, hunit, unit, nullptr, rowNames, colNames))
        return 0;
    fields_.delta = delta;
    fields_.offset = offset;
    return 1;
}

int CComDataBase::Create(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& hunit,
                         const CUnitCtrl& unit, const CDataArrayDouble& hdata, const CStringArray* rowNames,
                         const CStringArray* colNames) {
    return LclCreate(MODE_AXIS, rows, cols, hdata.GetNum(), isComplex, hunit, unit, &hdata, rowNames,
                     colNames);
}

void CComDataBase::Free() {
    fields_ = {};
    data_.reset();
    hdata_.reset();
}

void CComDataBase::Init() {
    if (data_ != nullptr) data_->SetData(kvx::kNoValue<double>);
}

void CComDataBase::Zero() {
    if (data_ != nullptr) data_->Zero();
}

__int64 CComDataBase::GetNumRow() const {
    return data_ != nullptr ? data_->GetNumRow() : 0;
}

__int64 CComDataBase::GetNumCol() const {
    return data_ != nullptr ? data_->GetNumCol() : 0;
}

__int64 CComDataBase::GetNsamp() const {
    return data_ != nullptr ? data_->GetNum() : 0;
}

double* CComDataBase::GetReal(__int64 row, __int64 col) const {
    return data_ != nullptr ? data_->GetReal(row, col) : nullptr;
}

double* CComDataBase::GetImaginary(__int64 row, __int64 col) const {
    return data_ != nullptr ? data_->GetImaginary(row, col) : nullptr;
}

double CComDataBase::GetDelta() const {
    return fields_.mode == MODE_SPACING ? fields_.delta : 0.0;
}

__int64 CComDataBase::GetOffset() const {
    return fields_.mode == MODE_SPACING ? fields_.offset : 0;
}

CDataArrayDouble* CComDataBase::GetHData() const {
    return fields_.mode == MODE_AXIS ? hdata_.get() : nullptr;
}

int CComDataBase::SetDelta(double delta) {
    if (fields_.mode != MODE_SPACING) return 0;
    fields_.delta = delta;
    return 1;
}

int CComDataBase::SetOffset(__int64 offset) {
    if (fields_.mode != MODE_SPACING) return 0;
    fields_.offset = offset;
    return 1;
}

int CComDataBase::LclSetNsamp(__int64 nsamp) {
    if (data_->Create(data_->IsComplex(), data_->GetNumRow(), data_->GetNumCol(), nsamp)) return 1;
    Free();
    return 0;
}

int CComDataBase::SetNsamp(__int64 nsamp) {
    if (fields_.mode != MODE_SPACING || data_ == nullptr) return 0;
    return nsamp == data_->GetNum() || LclSetNsamp(nsamp);
}

int CComDataBase::SetHData(const CDataArrayDouble& hdata) {
    if (fields_.mode != MODE_AXIS || data_ == nullptr || hdata_ == nullptr || hdata.GetNum() < 1) return 0;
    if (hdata.GetNum() == data_->GetNum()) return 1;
    if (!LclSetNsamp(hdata.GetNum())) return 0;
    *hdata_ = hdata;
    if (Check()) return 1;
    Free();
    return 0;
}

int CComDataBase::SetUnit(const CUnitCtrl& unit) {
    fields_.unit = unit;
    return 1;
}

int CComDataBase::SetHUnit(const CUnitCtrl& hunit) {
    fields_.hunit = hunit;
    return 1;
}

int CComDataBase::SetRowName(const CStringArray& names) try {
    kvx::CompleteRowNames(names, GetNumRow(), &fields_);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

int CComDataBase::SetColName(const CStringArray& names) try {
    kvx::CompleteColNames(names, GetNumCol(), &fields_);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

int CComDataBase::Check() const {
    const auto isCount = [](__int64 count) {
        return count >= 1 && count <= std::numeric_limits<std::int32_t>::max();
    };
    if (fields_.mode > MODE_AXIS || !isCount(GetNumRow()) || !isCount(GetNumCol()) || !isCount(GetNsamp()))
        return 0;
    // Cells can be changed through their pointers.
    for (__int64 row = 0; row < GetNumRow(); ++row) {
        for (__int64 col = 0; col < GetNumCol(); ++col) {
            const CDataArrayDoubleCplx* cell = data_->GetArrayPtr(row, col);
            if (cell->GetNum() != GetNsamp() || cell->IsComplex() != data_->IsComplex()) return 0;
        }
    }
    return fields_.mode != MODE_AXIS || (hdata_ != nullptr && hdata_->GetNum() == GetNsamp());
}

void CComDataBase::Serialize(CArchive& archive) {
    if (archive.IsStoring()) {
        Store(archive);
    } else {
        LclLoad(archive, kvx::Generation::current);
    }
}

void CComDataBase::Serialize1st(CArchive& archive) {
    if (archive.IsStoring()) throw CFileException(CFileException::endOfFile);
    LclLoad(archive, kvx::Generation::first);
}

void CComDataBase::Store(CArchive& archive) const {
    if (data_ == nullptr || (fields_.mode == MODE_AXIS && hdata_ == nullptr)) return;
    kvx::StoreRecordHead(archive, fields_);
    kvx::RecordOutline outline = {.fields = {},
                                  .rows = GetNumRow(),
                                  .cols = GetNumCol(),
                                  .nsamp = GetNsamp(),
                                  .isComplex = data_->IsComplex() != 0};
    outline.fields.mode = fields_.mode;
    archive.Expect(kvx::RecordPlan(outline, kvx::Generation::current).Bytes());
    data_->Serialize(archive);
    kvx::StoreRecordSpacing(archive, fields_);
    if (fields_.mode == MODE_AXIS) hdata_->Serialize(archive);
    archive.Flush();
}

void CComDataBase::LclLoad(CArchive& archive, kvx::Generation generation) try {
    *this = kvx::LoadWholeRecord(archive, generation, std::move(*this));
} catch (const kvx::Error&) {
    // The record stays empty.
} catch (const std::bad_alloc&) {
    // Here, too.
}
