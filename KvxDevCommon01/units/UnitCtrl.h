// SPDX-License-Identifier: MIT
//
// CUnitCtrl: the unit descriptor that every stored, converted, plotted or printed quantity carries: one unit,
// or up to four joined by multiplication and division, each optionally squared ("(m/s#u2#n)#u2#n/Hz"). Data
// are in the standard unit (D) of their dimension; the descriptor converts to the shown unit (I), in which a
// person views or enters them, and back. A small value without storage of its own; an object belongs to one
// thread at a time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Text.h>
#include <KvxDevCommon01/platform/Types.h>

class CArchive;
class CDataArrayDouble;
class CDataArrayFloat;
class CDataArrayMtxDouble;
class CDataArrayMtxFloat;
class CItemInfoList;

namespace kvx {
struct UnitAccess;
}

class KVX_API CUnitCtrl {
public:
    /// Dimension: a value whose low 16 bits are zero.
    enum DIM_CODE : std::uint32_t {
        DIM_ACCELERATION = 0x00010000,
        DIM_VELOCITY = 0x00020000,
        DIM_DISPLACEMENT = 0x00030000,
        DIM_FORCE = 0x00040000,
        DIM_STRAIN = 0x00050000,
        DIM_ANGULAR_VELOCITY = 0x00060000,
        DIM_ANGULAR_ACCELERATION = 0x00070000,
        DIM_PRESSURE = 0x00080000,
        DIM_TIME = 0x01000000,
        DIM_FREQUENCY = 0x02000000,
        DIM_CHARGE = 0x03000000,
        DIM_VOLTAGE = 0x04000000,
        DIM_TEMPERATURE = 0x05000000,
        DIM_RATIO = 0x06000000,
        DIM_ANGLE = 0x07000000,
        DIM_CYCLES = 0x08000000,
        DIM_ENGINEERING_UNIT = 0x09000000,
        DIM_COUNT = 0x0A000000,
        DIM_CURRENT = 0x0B000000,
        DIM_RESISTANCE = 0x0C000000,
        DIM_STANDARD_DEVIATION = 0x0D000000,
        DIM_MASS = 0x0E000000,
        DIM_NONE = 0x0F000000,
        DIM_HEAT = 0x10000000,
        DIM_POWER = 0x11000000,
        DIM_TORQUE = 0x12000000,
        DIM_MOMENT_OF_INERTIA = 0x13000000,
        DIM_CAPACITANCE = 0x14000000,
        DIM_CONDUCTANCE = 0x15000000,
        DIM_INDUCTANCE = 0x16000000,
        DIM_MAGNETIC_FLUX = 0x17000000,
        DIM_MAGNETIC_FLUX_DENSITY = 0x18000000,
    };

    /// Unit: its dimension plus a 1-based unit number in the low 16 bits; 0x00010004 is "m/s#u2#n". All have
    /// names in UnitNames.h.
    enum UNIT_CODE : std::uint32_t {
        UNIT_NONE = 0x0F000001,  ///< no unit: the default, an empty member, and what an unknown code becomes
    };

    /// Calculation flags of a member, a bit set. A value with none of these bits counts as plain.
    enum UNIT_CALC : std::uint32_t {
        CALC_PLAIN = 0x001,
        CALC_SQUARED = 0x010,
        CALC_DIVIDE = 0x100,  ///< in the denominator; for the first member, the reciprocal
    };
    friend constexpr UNIT_CALC operator|(UNIT_CALC a, UNIT_CALC b) {
        return UNIT_CALC{std::uint32_t{a} | std::uint32_t{b}};
    }

    /// One of the units that a descriptor joins, with its flags.
    struct Member {
        UNIT_CODE unit = UNIT_NONE;
        UNIT_CALC calc = CALC_PLAIN;

        bool operator==(const Member&) const = default;
    };

    /// No unit, single.
    CUnitCtrl() = default;
    /// The standard unit of a dimension, single; no unit for an unknown dimension.
    CUnitCtrl(DIM_CODE dim);
    /// The compound a times b, or a over b when `divide` is nonzero. Unknown codes become UNIT_NONE.
    CUnitCtrl(UNIT_CODE a, UNIT_CODE b, int divide);
    /// The compound of the first members of a and b with their flags; a nonzero `divide` toggles the second's
    /// divide flag.
    CUnitCtrl(const CUnitCtrl& a, const CUnitCtrl& b, int divide);
    /// All four members. Single when members 2 to 4 are UNIT_NONE with plain flags. Unknown codes become
    /// UNIT_NONE.
    CUnitCtrl(UNIT_CODE unit1, UNIT_CALC calc1, UNIT_CODE unit2, UNIT_CALC calc2, UNIT_CODE unit3,
              UNIT_CALC calc3, UNIT_CODE unit4, UNIT_CALC calc4);

    /// Compares dimensions, not units: equal first dimensions and single flags; for compounds also equal
    /// second dimensions, and equal third and fourth ones where both sides have the member. Flags are not
    /// compared.
    int operator==(const CUnitCtrl& other) const;
    int operator!=(const CUnitCtrl& other) const { return !(*this == other); }
    /// Whether this is a single descriptor of the dimension.
    int operator==(DIM_CODE dim) const;
    int operator!=(DIM_CODE dim) const { return !(*this == dim); }

    int IsSingle() const { return single_; }
    /// Single and an acceleration, a velocity, a displacement, or any of the three.
    int IsAcc() const { return *this == DIM_ACCELERATION; }
    int IsVel() const { return *this == DIM_VELOCITY; }
    int IsDisp() const { return *this == DIM_DISPLACEMENT; }
    int IsAccOrVelOrDisp() const { return IsAcc() || IsVel() || IsDisp(); }
    static int IsAccOrVelOrDisp(DIM_CODE dim);
    /// Single and of a dimension that a test can be controlled by.
    int IsControlAvailable() const;

    /// The dimensions of the four members, through the non-null pointers. Always 1.
    int GetDimCode(DIM_CODE* d1, DIM_CODE* d2, DIM_CODE* d3, DIM_CODE* d4) const;
    /// The dimension part of a unit code, known or not.
    static DIM_CODE GetDimCode(UNIT_CODE unit);
    /// Every field, through the non-null pointers.
    void GetInfo(UNIT_CODE* unit1, UNIT_CALC* calc1, int* single, UNIT_CODE* unit2, UNIT_CALC* calc2,
                 UNIT_CODE* unit3, UNIT_CALC* calc3, UNIT_CODE* unit4, UNIT_CALC* calc4) const;
    /// The standard unit of a dimension ("%" for ratios), UNIT_NONE when unknown. `index`, when not null,
    /// receives the unit's 0-based position among the units of its dimension, 0 when unknown.
    static UNIT_CODE GetStdUnitCode(DIM_CODE dim, __int64* index);

    /// Display name of the first member's dimension; a null output is skipped.
    void GetDimName(CString* name) const;
    /// Display name of the unit, with markup: "#u" raises, "#l" lowers, "#n" returns to normal. Null is
    /// skipped.
    void GetUnitName(CString* name) const;

    /// Converts from the standard unit to this one; the result is multiplied by `gain`. Temperatures are
    /// converted only when `absolute` is nonzero, so that differences of temperatures are never shifted. The
    /// float forms compute in double and round once.
    double ConvDtoI(double value, double gain, int absolute) const;
    float ConvDtoI(float value, double gain, int absolute) const;
    /// The same for a buffer, each element with the bits of the scalar form. `dst` and `src` are the same or
    /// do not overlap. 0 when either is null or `num` is negative.
    int ConvDtoI(double* dst, const double* src, __int64 num, double gain, int absolute) const;
    int ConvDtoI(float* dst, const float* src, __int64 num, double gain, int absolute) const;
    /// The same in place for every element of an array, every sample of every cell of a matrix. 0 when null.
    int ConvDtoI(CDataArrayDouble* array, double gain, int absolute) const;
    int ConvDtoI(CDataArrayFloat* array, double gain, int absolute) const;
    int ConvDtoI(CDataArrayMtxDouble* matrix, double gain, int absolute) const;
    int ConvDtoI(CDataArrayMtxFloat* matrix, double gain, int absolute) const;

    /// The conversions back, from this unit to the standard one; again the result is multiplied by `gain`.
    double ConvItoD(double value, double gain, int absolute) const;
    float ConvItoD(float value, double gain, int absolute) const;
    int ConvItoD(double* dst, const double* src, __int64 num, double gain, int absolute) const;
    int ConvItoD(float* dst, const float* src, __int64 num, double gain, int absolute) const;
    int ConvItoD(CDataArrayDouble* array, double gain, int absolute) const;
    int ConvItoD(CDataArrayFloat* array, double gain, int absolute) const;
    int ConvItoD(CDataArrayMtxDouble* matrix, double gain, int absolute) const;
    int ConvItoD(CDataArrayMtxFloat* matrix, double gain, int absolute) const;

    /// Fills a selection list with dimensions (item code: the dimension): those for control when `which` is
    /// 1, those for measurement when it is 2, else all. 0 when the list is null or allocation fails.
    static int GetDimList(int which, CItemInfoList* list);
    static int GetControlDimList(CItemInfoList* list) { return GetDimList(1, list); }
    static int GetMeasurementDimList(CItemInfoList* list) { return GetDimList(2, list); }
    /// Fills a selection list with the units of a dimension, or of a unit's dimension (item code: the unit).
    /// 0 when the list is null, the dimension has no units (the list is then empty) or allocation fails.
    static int GetUnitListByDimCode(DIM_CODE dim, CItemInfoList* list);
    static int GetUnitListByUnitCode(UNIT_CODE unit, CItemInfoList* list);

    /// A record of 128 bytes: version 2, first code, its flags, the single flag, the other codes with their
    /// flags, as 32-bit words, then zeros. Loading also accepts version 1, of which only the first two
    /// members count.
    void Serialize(CArchive& archive);
    /// The first generation of the record, without a version word: the first five of those fields.
    void Serialize1st(CArchive& archive);

private:
    friend class CUnitCtrlList;
    friend struct kvx::UnitAccess;

    static constexpr std::size_t kMembers = 4;

    static Member Validated(UNIT_CODE unit, UNIT_CALC calc);

    // The 32-bit fields in the order of the archive: unit, flags and single flag, then unit and flags of the
    // others.
    using Fields = std::array<std::uint32_t, 9>;
    static constexpr std::size_t kFirstGenerationFields = 5;
    Fields GetFields() const;
    void SetFields(const Fields& fields);

    std::array<Member, kMembers> members_;
    int single_ = 1;
};

namespace kvx {

/// The single descriptor of one unit; an unknown code gives no unit.
KVX_API CUnitCtrl SingleUnit(CUnitCtrl::UNIT_CODE unit, CUnitCtrl::UNIT_CALC calc = CUnitCtrl::CALC_PLAIN);

using UnitPart = CUnitCtrl::Member;

/// The members of a descriptor in their order, for as long as it lives unchanged: one of a single descriptor,
/// of a compound two to four, the last one that is used being the last. A member in between may be UNIT_NONE.
KVX_API std::span<const UnitPart> UnitParts(const CUnitCtrl& unit);

}  // namespace kvx
