// SPDX-License-Identifier: MIT
//
// CValConv: how a value is shown to a person: in which unit, as which amplitude (zero-to-peak, peak-to-peak,
// rms) and with which number format. Data are in the standard unit of their dimension, amplitudes as
// zero-to-peak; text is made here, at the very end. Also the texts of dates and times. A value type; an
// object belongs to one thread at a time.
#pragma once

#include <cstdint>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/DateTime.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

class KVX_API CValConv {
public:
    /// Amplitude suffix. Peak-to-peak doubles a value on its way to the shown one and halves it on its way
    /// back; the others leave it as it is.
    enum UNIT_SUFFIX : std::uint32_t {
        SUFFIX_NONE = 1,
        SUFFIX_ZERO_TO_PEAK = 2,
        SUFFIX_PEAK_TO_PEAK = 3,
        SUFFIX_RMS = 4,
    };

    enum DATE_FORMAT : std::uint32_t {
        DATE_SLASHES = 101,      ///< 2026/03/04
        DATE_HYPHENS = 102,      ///< 2026-03-04
        DATE_DOTS = 103,         ///< 2026.03.04
        DATE_JAPANESE = 104,     ///< 2026年3月4日
        DATE_DAY_FIRST = 105,    ///< 04-03-2026
        DATE_MONTH_NAMED = 106,  ///< 04-Mar-2026
    };

    enum TIME_FORMAT : std::uint32_t {
        TIME_WESTERN = 201,   ///< 14:05:09 or 02:05:09 PM
        TIME_JAPANESE = 202,  ///< 14時5分09秒 or 午後2時5分9秒
    };

    /// No unit, no suffix, no format.
    CValConv() = default;
    /// As SetUnit or SetUnitCode, then SetUnitSuffix; no suffix when `suffix` is none of the four.
    CValConv(CUnitCtrl unit, UNIT_SUFFIX suffix);
    CValConv(CUnitCtrl::UNIT_CODE code, UNIT_SUFFIX suffix);

    /// Takes a unit, for a code the single plain one (no unit for an unknown code). Frequencies, voltages,
    /// decibels and degrees of angle bring a format of their own unless one is already set. Always 1.
    int SetUnit(CUnitCtrl unit);
    int SetUnitCode(CUnitCtrl::UNIT_CODE code);
    /// 0, with nothing changed, when `suffix` is none of the four.
    int SetUnitSuffix(UNIT_SUFFIX suffix);
    /// The number format, as CConvData::ValToStr takes it; empty for the default one. 0 when null.
    int SetFmt(const wchar_t* fmt);

    const CUnitCtrl& GetUnit() const { return unit_; }
    UNIT_SUFFIX GetUnitSuffix() const { return suffix_; }
    const CString& GetFmt() const { return format_; }

    /// The customary suffix of a dimension: zero-to-peak for accelerations and velocities, peak-to-peak for
    /// displacements, none for all others.
    static UNIT_SUFFIX GetUnitSuffixCode(CUnitCtrl::DIM_CODE dim);

    /// Converts a standard value to the shown one, as CUnitCtrl does, with the gain of the suffix.
    double ConvDtoI(double x, int absolute) const;
    float ConvDtoI(float x, int absolute) const;
    /// `dst` and `src` are the same or do not overlap. 0 when either is null or `num` is negative.
    int ConvDtoI(double* dst, const double* src, __int64 num, int absolute) const;
    int ConvDtoI(float* dst, const float* src, __int64 num, int absolute) const;
    /// The conversions back, from what a person entered.
    double ConvItoD(double x, int absolute) const;
    float ConvItoD(float x, int absolute) const;
    int ConvItoD(double* dst, const double* src, __int64 num, int absolute) const;
    int ConvItoD(float* dst, const float* src, __int64 num, int absolute) const;

    /// The unit's name followed by the text of the suffix, with markup: "mm#l p-p#n". 0 when null.
    int GetUnitString(CString* out) const;

    /// The text of a standard value; temperatures are taken as differences. No-value stays no-value. The
    /// first form gives value, blank and unit in one; the second apart, the unit only if wanted, with the
    /// decimal sign of `locale` (null: of the current one). 0 when the text or value is null.
    int ConvDataToString(double x, CString* text) const;
    int ConvDataToString(double x, CString* value, CString* unit, const char* locale) const;
    /// The same for absolute temperatures.
    int ConvTempDataToString(double x, CString* text) const;
    int ConvTempDataToString(double x, CString* value, CString* unit, const char* locale) const;

    /// Date and time as texts; null outputs are skipped. The year has four digits or two, the time runs to 24
    /// hours or twice to 12 with a half-day text. 0, with no output changed, for an unknown time format, and
    /// for an unknown date format when a date is wanted. An invalid time counts as one in the morning and
    /// shows as COleDateTime::Format shows it.
    static int GetDateTimeString(CString* date, CString* time, const COleDateTime& t, DATE_FORMAT df,
                                 TIME_FORMAT tf, int fourDigitYear, int twentyFourHour);
    /// Date, blank and time in one; 0 also when `both` is null.
    static int GetDateTimeString(CString* both, const COleDateTime& t, DATE_FORMAT df, TIME_FORMAT tf,
                                 int fourDigitYear, int twentyFourHour);

private:
    int LclToString(double x, int absolute, CString* value, CString* unit, const char* locale) const;
    int LclToString(double x, int absolute, CString* text) const;

    CUnitCtrl unit_;
    UNIT_SUFFIX suffix_ = SUFFIX_NONE;
    CString format_;
    double gainToShown_ = 1.0;
    double gainToStandard_ = 1.0;
};
