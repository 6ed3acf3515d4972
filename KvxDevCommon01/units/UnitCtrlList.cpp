// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitCtrlList.h>

#include <algorithm>
#include <new>

#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace {

/// Refills the list with one descriptor per unit of the dimension, made of the unit's code by `make`.
template <typename Make>
int ListDimension(CUnitCtrlList& list, CUnitCtrl::DIM_CODE dim, Make make) {
    list.Init();
    for (const auto& row : kvx::detail::UnitsOfDimension(dim)) {
        if (!list.Append(make(row.code))) return 0;
    }
    return list.GetNum() > 0;
}

}  // namespace

int CUnitCtrlList::GetUnit(__int64 index, CUnitCtrl* out) const {
    if (out == nullptr || index < 0 || index >= GetNum()) return 0;
    *out = units_[static_cast<std::size_t>(index)];
    return 1;
}

int CUnitCtrlList::Append(CUnitCtrl unit) try {
    units_.push_back(unit);
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}

int CUnitCtrlList::MakeSingleUnitListByDimCode(CUnitCtrl::DIM_CODE dim) {
    return ListDimension(*this, dim, [](CUnitCtrl::UNIT_CODE unit) { return kvx::SingleUnit(unit); });
}

int CUnitCtrlList::MakeSingleUnitListByUnitCode(CUnitCtrl::UNIT_CODE unit) {
    return MakeSingleUnitListByDimCode(CUnitCtrl::GetDimCode(unit));
}

int CUnitCtrlList::MakeConexusUnitListByUnitCode(CUnitCtrl::UNIT_CODE a, CUnitCtrl::UNIT_CODE b,
                                                 int varySecond, int divide) {
    return ListDimension(*this, CUnitCtrl::GetDimCode(varySecond ? b : a), [=](CUnitCtrl::UNIT_CODE unit) {
        return varySecond ? CUnitCtrl(a, unit, divide) : CUnitCtrl(unit, b, divide);
    });
}

int CUnitCtrlList::MakeConexusUnitListByUnit(const CUnitCtrl& unit, int varySecond) {
    CUnitCtrl variant = unit;
    auto& varied = variant.members_[varySecond && !unit.IsSingle() ? 1 : 0];
    return ListDimension(*this, CUnitCtrl::GetDimCode(varied.unit), [&](CUnitCtrl::UNIT_CODE code) {
        varied.unit = code;
        return variant;
    });
}

int CUnitCtrlList::MakeConexusUnitListByUnit(const CUnitCtrl& a, const CUnitCtrl& b, int varySecond,
                                             int divide) {
    return MakeConexusUnitListByUnit(CUnitCtrl(a, b, divide), varySecond);
}

int CUnitCtrlList::MakeItemInfoList(CItemInfoList* list) const try {
    if (list == nullptr) return 0;
    list->Init();
    CString name;
    for (std::size_t i = 0; i < units_.size(); ++i) {
        units_[i].GetUnitName(&name);
        name.resize(std::min(name.size(), CItemInfo::kTextLimit));
        if (!list->Append(static_cast<std::int32_t>(i), name)) return 0;
    }
    return 1;
} catch (const std::bad_alloc&) {
    return 0;
}
