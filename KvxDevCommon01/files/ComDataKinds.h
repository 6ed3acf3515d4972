// SPDX-License-Identifier: MIT
//
// The four kinds of data record that fix the axis mode and the axis unit of CComDataBase: time waveform,
// real, complex and unevenly spaced spectrum. They add no data of their own, so that a record may be kept and
// stored as its base.
#pragma once

#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/units/UnitNames.h>

namespace kvx {

/// Units in which the axis is shown: "ms" and "Hz". Its numbers are in the standard units, seconds and hertz.
inline constexpr auto kAxisMilliseconds = units::kMillisecond;
inline constexpr auto kAxisHertz = units::kHertz;

/// What the records with an equally spaced axis share. Arguments as CComDataBase::Create has them.
template <CUnitCtrl::UNIT_CODE axisUnit, int isComplex>
class SpacedRecord : public CComDataBase {
public:
    /// Empty, in mode 1.
    SpacedRecord() : CComDataBase(MODE_SPACING) {}
    SpacedRecord(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset,
                 const CUnitCtrl& unit, const CStringArray* rowNames, const CStringArray* colNames) {
        Create(delta, rows, cols, nsamp, offset, unit, rowNames, colNames);
    }
    int Create(double delta, __int64 rows, __int64 cols, __int64 nsamp, __int64 offset, const CUnitCtrl& unit,
               const CStringArray* rowNames, const CStringArray* colNames) {
        return CComDataBase::Create(delta, rows, cols, nsamp, offset, isComplex, SingleUnit(axisUnit), unit,
                                    rowNames, colNames);
    }
};

}  // namespace kvx

/// Time waveform: real, equally spaced in seconds.
class CComDataWave : public kvx::SpacedRecord<kvx::kAxisMilliseconds, 0> {
public:
    using SpacedRecord::SpacedRecord;
};

/// Real spectrum, equally spaced in hertz.
class CComDataSpecA : public kvx::SpacedRecord<kvx::kAxisHertz, 0> {
public:
    using SpacedRecord::SpacedRecord;
};

/// Complex spectrum, equally spaced in hertz.
class CComDataSpecF : public kvx::SpacedRecord<kvx::kAxisHertz, 1> {
public:
    using SpacedRecord::SpacedRecord;
};

/// Spectrum on an axis of any frequencies, in hertz. Arguments as CComDataBase::Create has them.
class CComDataSpecG : public CComDataBase {
public:
    /// Empty, in mode 2.
    CComDataSpecG() : CComDataBase(MODE_AXIS) {}
    CComDataSpecG(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& unit,
                  const CDataArrayDouble& hdata, const CStringArray* rowNames, const CStringArray* colNames) {
        Create(rows, cols, isComplex, unit, hdata, rowNames, colNames);
    }
    int Create(__int64 rows, __int64 cols, int isComplex, const CUnitCtrl& unit,
               const CDataArrayDouble& hdata, const CStringArray* rowNames, const CStringArray* colNames) {
        return CComDataBase::Create(rows, cols, isComplex, kvx::SingleUnit(kvx::kAxisHertz), unit, hdata,
                                    rowNames, colNames);
    }
    /// The axis values; null if there are none.
    double* GetHData() const {
        const CDataArrayDouble* axis = CComDataBase::GetHData();
        return axis != nullptr ? axis->GetData() : nullptr;
    }
};
