// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/ValConv.h>

#include <string_view>
#include <utility>

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <KvxDevCommon01/text/ConvData.h>
#include <KvxDevCommon01/units/UnitNames.h>

namespace {

/// The format that the first member of a single descriptor brings along; empty for most.
const wchar_t* CustomaryFormat(const CUnitCtrl& descriptor) {
    using namespace kvx::units;
    const CUnitCtrl::UNIT_CODE unit = kvx::UnitParts(descriptor).front().unit;
    if (descriptor == CUnitCtrl::DIM_FREQUENCY) return L"%.2f";
    if (descriptor == CUnitCtrl::DIM_VOLTAGE) return L"%.1f";
    const bool isDecibel = unit == kAmplitudeDecibel || unit == kPowerDecibel;
    return descriptor.IsSingle() && (isDecibel || unit == kDegree) ? L"%6.2f" : L"";
}

/// The half-day text around a time.
CString WithHalfDay(unsigned int textId, const CString& time) {
    constexpr std::wstring_view place = L"%s";
    CString text(kvx::ResourceText(textId));
    return text.replace(text.find(place), place.size(), time);
}

CString DateText(const COleDateTime& t, CValConv::DATE_FORMAT df, int fourDigitYear) {
    const unsigned int first = fourDigitYear ? kvx::kTextFirstLongYearDate : kvx::kTextFirstShortYearDate;
    return t.Format(kvx::ResourceText(first + (df - CValConv::DATE_SLASHES)));
}

CString TimeText(const COleDateTime& t, CValConv::TIME_FORMAT tf, int twentyFourHour) {
    const bool isWestern = tf == CValConv::TIME_WESTERN;
    if (twentyFourHour) {
        return t.Format(
            kvx::ResourceText(isWestern ? kvx::kTextWestern24HourTime : kvx::kTextJapanese24HourTime));
    }
    const CString time =
        t.Format(kvx::ResourceText(isWestern ? kvx::kTextWestern12HourTime : kvx::kTextJapanese12HourTime));
    // The hour of what is no valid time is -1.
    if (t.GetHour() < 12)
        return WithHalfDay(isWestern ? kvx::kTextWesternMorning : kvx::kTextJapaneseMorning, time);
    return WithHalfDay(isWestern ? kvx::kTextWesternAfternoon : kvx::kTextJapaneseAfternoon, time);
}

}  // namespace

CValConv::CValConv(CUnitCtrl unit, UNIT_SUFFIX suffix) {
    SetUnit(unit);
    SetUnitSuffix(suffix);
}

CValConv::CValConv(CUnitCtrl::UNIT_CODE code, UNIT_SUFFIX suffix) : CValConv(kvx::SingleUnit(code), suffix) {}

int CValConv::SetUnit(CUnitCtrl unit) {
    unit_ = unit;
    if (format_.empty()) format_ = CustomaryFormat(unit_);
    return 1;
}

int CValConv::SetUnitCode(CUnitCtrl::UNIT_CODE code) {
    return SetUnit(kvx::SingleUnit(code));
}

int CValConv::SetUnitSuffix(UNIT_SUFFIX suffix) {
    if (suffix < SUFFIX_NONE || suffix > SUFFIX_RMS) return 0;
    const bool isPeakToPeak = suffix == SUFFIX_PEAK_TO_PEAK;
    suffix_ = suffix;
    gainToShown_ = isPeakToPeak ? 2.0 : 1.0;
    gainToStandard_ = isPeakToPeak ? 0.5 : 1.0;
    return 1;
}

int CValConv::SetFmt(const wchar_t* fmt) {
    if (fmt == nullptr) return 0;
    format_ = fmt;
    return 1;
}

CValConv::UNIT_SUFFIX CValConv::GetUnitSuffixCode(CUnitCtrl::DIM_CODE dim) {
    switch (dim) {
        case CUnitCtrl::DIM_ACCELERATION:
        case CUnitCtrl::DIM_VELOCITY:
            return SUFFIX_ZERO_TO_PEAK;
        case CUnitCtrl::DIM_DISPLACEMENT:
            return SUFFIX_PEAK_TO_PEAK;
        default:
            return SUFFIX_NONE;
    }
}

double CValConv::ConvDtoI(double x, int absolute) const {
    return unit_.ConvDtoI(x, gainToShown_, absolute);
}

float CValConv::ConvDtoI(float x, int absolute) const {
    return unit_.ConvDtoI(x, gainToShown_, absolute);
}

int CValConv::ConvDtoI(double* dst, const double* src, __int64 num, int absolute) const {
    return unit_.ConvDtoI(dst, src, num, gainToShown_, absolute);
}

int CValConv::ConvDtoI(float* dst, const float* src, __int64 num, int absolute) const {
    return unit_.ConvDtoI(dst, src, num, gainToShown_, absolute);
}

double CValConv::ConvItoD(double x, int absolute) const {
    return unit_.ConvItoD(x, gainToStandard_, absolute);
}

float CValConv::ConvItoD(float x, int absolute) const {
    return unit_.ConvItoD(x, gainToStandard_, absolute);
}

int CValConv::ConvItoD(double* dst, const double* src, __int64 num, int absolute) const {
    return unit_.ConvItoD(dst, src, num, gainToStandard_, absolute);
}

int CValConv::ConvItoD(float* dst, const float* src, __int64 num, int absolute) const {
    return unit_.ConvItoD(dst, src, num, gainToStandard_, absolute);
}

int CValConv::GetUnitString(CString* out) const {
    if (out == nullptr) return 0;
    unit_.GetUnitName(out);
    if (suffix_ != SUFFIX_NONE)
        *out += kvx::ResourceText(kvx::kTextSuffixZeroToPeak + (suffix_ - SUFFIX_ZERO_TO_PEAK));
    return 1;
}

int CValConv::ConvDataToString(double x, CString* text) const {
    return LclToString(x, 0, text);
}

int CValConv::ConvDataToString(double x, CString* value, CString* unit, const char* locale) const {
    return LclToString(x, 0, value, unit, locale);
}

int CValConv::ConvTempDataToString(double x, CString* text) const {
    return LclToString(x, 1, text);
}

int CValConv::ConvTempDataToString(double x, CString* value, CString* unit, const char* locale) const {
    return LclToString(x, 1, value, unit, locale);
}

int CValConv::LclToString(double x, int absolute, CString* value, CString* unit, const char* locale) const {
    const double shown = x == kvx::kNoValue<double> ? x : ConvDtoI(x, absolute);
    if (!CConvData::ValToStr(shown, value, format_.c_str(), locale)) return 0;
    if (unit != nullptr) GetUnitString(unit);
    return 1;
}

int CValConv::LclToString(double x, int absolute, CString* text) const {
    CString unit;
    if (!LclToString(x, absolute, text, &unit, nullptr)) return 0;
    *text += L' ' + unit;
    return 1;
}

int CValConv::GetDateTimeString(CString* date, CString* time, const COleDateTime& t, DATE_FORMAT df,
                                TIME_FORMAT tf, int fourDigitYear, int twentyFourHour) {
    if (tf != TIME_WESTERN && tf != TIME_JAPANESE) return 0;
    if (date != nullptr) {
        if (df < DATE_SLASHES || df > DATE_MONTH_NAMED) return 0;
        *date = DateText(t, df, fourDigitYear);
    }
    if (time != nullptr) *time = TimeText(t, tf, twentyFourHour);
    return 1;
}

int CValConv::GetDateTimeString(CString* both, const COleDateTime& t, DATE_FORMAT df, TIME_FORMAT tf,
                                int fourDigitYear, int twentyFourHour) {
    CString time;
    if (both == nullptr || !GetDateTimeString(both, &time, t, df, tf, fourDigitYear, twentyFourHour))
        return 0;
    *both += L' ' + time;
    return 1;
}
