// SPDX-License-Identifier: MIT
//
// CUnitCtrlList: an ordered list of unit descriptors, built to be offered in a selection list. It owns
// copies. An object belongs to one thread at a time.
#pragma once

#include <vector>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>
#include <KvxDevCommon01/units/UnitCtrl.h>

class KVX_API CUnitCtrlList {
public:
    /// Empties the list.
    void Init() { units_.clear(); }
    __int64 GetNum() const { return std::ssize(units_); }
    /// Copies a descriptor out; 0 when `out` is null or `index` is outside [0, count).
    int GetUnit(__int64 index, CUnitCtrl* out) const;
    /// 0, with the list unchanged, when allocation fails.
    int Append(CUnitCtrl unit);

    // The builders below empty the list first and return 0 when there is nothing to list or allocation fails.

    /// One plain single descriptor per unit of the dimension, in table order.
    int MakeSingleUnitListByDimCode(CUnitCtrl::DIM_CODE dim);
    /// The same for the dimension of `unit`.
    int MakeSingleUnitListByUnitCode(CUnitCtrl::UNIT_CODE unit);
    /// Compounds of a and b, over the units of b's dimension when `varySecond` is nonzero, else of a's.
    int MakeConexusUnitListByUnitCode(CUnitCtrl::UNIT_CODE a, CUnitCtrl::UNIT_CODE b, int varySecond,
                                      int divide);
    /// A single unit over its dimension with the same flags; a compound over the dimension of its first or,
    /// when `varySecond` is nonzero, its second member, all else kept.
    int MakeConexusUnitListByUnit(const CUnitCtrl& unit, int varySecond);
    /// The same for the compound of the first members of a and b.
    int MakeConexusUnitListByUnit(const CUnitCtrl& a, const CUnitCtrl& b, int varySecond, int divide);

    /// One item per descriptor: its index in this list as code, its unit name as text. 0 when `list` is null
    /// or allocation fails.
    int MakeItemInfoList(CItemInfoList* list) const;

private:
    std::vector<CUnitCtrl> units_;
};
