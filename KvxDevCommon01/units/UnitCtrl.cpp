// SPDX-License-Identifier: MIT
#include <KvxDevCommon01/units/UnitCtrl.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include <KvxDevCommon01/platform/Archive.h>
#include <KvxDevCommon01/resources/StringTable.h>
#include <KvxDevCommon01/resources/TextId.h>
#include <KvxDevCommon01/text/ItemInfo.h>
#include <KvxDevCommon01/units/UnitNames.h>
#include <KvxDevCommon01/units/UnitText.h>
#include <KvxDevCommon01/units/detail/UnitTable.h>

namespace {

static_assert(CUnitCtrl::UNIT_NONE == kvx::units::kNone);

template <typename Value>
void StoreIfWanted(Value* out, Value value) {
    if (out != nullptr) *out = value;
}

bool NeedsBrackets(std::wstring_view name) {
    for (const std::wstring_view markup : {L"#u", L"#l", L"#n"}) {
        if (name.find(markup) != name.npos) return true;
    }
    int depth = 0;
    for (const wchar_t c : name) {
        if (c == L'(') {
            ++depth;
        } else if (c == L')') {
            --depth;
        } else if (depth == 0 && std::wstring_view(L"*+-/・·").find(c) != std::wstring_view::npos) {
            return true;
        }
    }
    return false;
}

std::wstring Bracketed(std::wstring name) {
    return NeedsBrackets(name) ? L"(" + std::move(name) + L")" : std::move(name);
}

}  // namespace

CUnitCtrl::Member CUnitCtrl::Validated(UNIT_CODE unit, UNIT_CALC calc) {
    constexpr std::uint32_t known = CALC_PLAIN | CALC_SQUARED | CALC_DIVIDE;
    return {kvx::detail::FindUnitRow(unit) != nullptr ? unit : UNIT_NONE,
            (calc & known) != 0 ? calc : CALC_PLAIN};
}

CUnitCtrl::CUnitCtrl(DIM_CODE dim) {
    members_[0].unit = GetStdUnitCode(dim, nullptr);
}

CUnitCtrl::CUnitCtrl(UNIT_CODE a, UNIT_CODE b, int divide) : single_(0) {
    members_[0] = Validated(a, CALC_PLAIN);
    members_[1] = Validated(b, divide ? CALC_DIVIDE : CALC_PLAIN);
}

CUnitCtrl::CUnitCtrl(const CUnitCtrl& a, const CUnitCtrl& b, int divide) : single_(0) {
    const Member second = b.members_[0];
    members_[0] = a.members_[0];
    members_[1] = Validated(second.unit, divide ? UNIT_CALC{second.calc ^ CALC_DIVIDE} : second.calc);
}

CUnitCtrl::CUnitCtrl(UNIT_CODE unit1, UNIT_CALC calc1, UNIT_CODE unit2, UNIT_CALC calc2, UNIT_CODE unit3,
                     UNIT_CALC calc3, UNIT_CODE unit4, UNIT_CALC calc4)
    : members_{Validated(unit1, calc1), Validated(unit2, calc2), Validated(unit3, calc3),
               Validated(unit4, calc4)} {
    single_ = std::all_of(members_.begin() + 1, members_.end(),
                          [](const Member& m) { return m.unit == UNIT_NONE && m.calc == CALC_PLAIN; });
}

int CUnitCtrl::operator==(const CUnitCtrl& other) const {
    const auto sameDimension = [&](std::size_t i) {
        return GetDimCode(members_[i].unit) == GetDimCode(other.members_[i].unit);
    };
    const auto sameOrEmpty = [&](std::size_t i) {
        return members_[i].unit == UNIT_NONE || other.members_[i].unit == UNIT_NONE || sameDimension(i);
    };
    if (single_ != other.single_ || !sameDimension(0)) return 0;
    return single_ || (sameDimension(1) && sameOrEmpty(2) && sameOrEmpty(3));
}

int CUnitCtrl::operator==(DIM_CODE dim) const {
    return single_ && GetDimCode(members_[0].unit) == dim;
}

int CUnitCtrl::IsAccOrVelOrDisp(DIM_CODE dim) {
    return dim == DIM_ACCELERATION || dim == DIM_VELOCITY || dim == DIM_DISPLACEMENT;
}

int CUnitCtrl::IsControlAvailable() const {
    const auto* row = kvx::detail::FindDimensionRow(GetDimCode(members_[0].unit));
    return single_ && row != nullptr && row->controlAvailable;
}

int CUnitCtrl::GetDimCode(DIM_CODE* d1, DIM_CODE* d2, DIM_CODE* d3, DIM_CODE* d4) const {
    StoreIfWanted(d1, GetDimCode(members_[0].unit));
    StoreIfWanted(d2, GetDimCode(members_[1].unit));
    StoreIfWanted(d3, GetDimCode(members_[2].unit));
    StoreIfWanted(d4, GetDimCode(members_[3].unit));
    return 1;
}

CUnitCtrl::DIM_CODE CUnitCtrl::GetDimCode(UNIT_CODE unit) {
    return kvx::detail::DimensionOf(unit);
}

void CUnitCtrl::GetInfo(UNIT_CODE* unit1, UNIT_CALC* calc1, int* single, UNIT_CODE* unit2, UNIT_CALC* calc2,
                        UNIT_CODE* unit3, UNIT_CALC* calc3, UNIT_CODE* unit4, UNIT_CALC* calc4) const {
    StoreIfWanted(unit1, members_[0].unit);
    StoreIfWanted(calc1, members_[0].calc);
    StoreIfWanted(single, single_);
    StoreIfWanted(unit2, members_[1].unit);
    StoreIfWanted(calc2, members_[1].calc);
    StoreIfWanted(unit3, members_[2].unit);
    StoreIfWanted(calc3, members_[2].calc);
    StoreIfWanted(unit4, members_[3].unit);
    StoreIfWanted(calc4, members_[3].calc);
}

CUnitCtrl::UNIT_CODE CUnitCtrl::GetStdUnitCode(DIM_CODE dim, __int64* index) {
    const auto* dimension = kvx::detail::FindDimensionRow(dim);
    if (dimension == nullptr) {
        StoreIfWanted<__int64>(index, 0);
        return UNIT_NONE;
    }
    const auto units = kvx::detail::UnitsOfDimension(dim);
    const auto standard = std::ranges::find(units, dimension->standardUnit, &kvx::detail::UnitRow::code);
    StoreIfWanted<__int64>(index, standard - units.begin());
    return dimension->standardUnit;
}

void CUnitCtrl::GetDimName(CString* name) const {
    const auto* row = kvx::detail::FindDimensionRow(GetDimCode(members_[0].unit));
    if (name != nullptr && row != nullptr) *name = kvx::ResourceText(row->nameId);
}

void CUnitCtrl::GetUnitName(CString* name) const {
    if (name != nullptr) *name = kvx::UnitName(*this, kvx::CurrentLanguage());
}

int CUnitCtrl::GetDimList(int which, CItemInfoList* list) {
    if (list == nullptr) return 0;
    list->Init();
    for (const auto& row : kvx::detail::Dimensions()) {
        if ((which == 1 && !row.controlAvailable) || (which == 2 && !row.measurementAvailable)) continue;
        if (!list->AppendResource(static_cast<std::int32_t>(row.code), row.nameId)) return 0;
    }
    return 1;
}

int CUnitCtrl::GetUnitListByDimCode(DIM_CODE dim, CItemInfoList* list) {
    if (list == nullptr) return 0;
    list->Init();
    for (const auto& row : kvx::detail::UnitsOfDimension(dim)) {
        if (!list->AppendResource(static_cast<std::int32_t>(row.code), row.nameId)) return 0;
    }
    return list->GetNum() > 0;
}

int CUnitCtrl::GetUnitListByUnitCode(UNIT_CODE unit, CItemInfoList* list) {
    return GetUnitListByDimCode(GetDimCode(unit), list);
}

CUnitCtrl::Fields CUnitCtrl::GetFields() const {
    const auto& [first, second, third, fourth] = members_;
    return {first.unit,  first.calc,  static_cast<std::uint32_t>(single_),
            second.unit, second.calc, third.unit,
            third.calc,  fourth.unit, fourth.calc};
}

void CUnitCtrl::SetFields(const Fields& fields) {
    const auto unit = [&](std::size_t i) { return UNIT_CODE{fields[i]}; };
    const auto calc = [&](std::size_t i) { return UNIT_CALC{fields[i]}; };
    *this = CUnitCtrl(unit(0), calc(1), unit(3), calc(4), unit(5), calc(6), unit(7), calc(8));
    // Only the stored flag tells a unit from its compound with no unit.
    if (fields[2] == 0 && unit(3) == UNIT_NONE) single_ = 0;
}

void CUnitCtrl::Serialize(CArchive& archive) {
    constexpr std::int32_t version = 2;
    std::array<std::uint32_t, 32> record{};
    if (archive.IsStoring()) {
        record[0] = version;
        std::ranges::copy(GetFields(), record.begin() + 1);
        archive.WriteNumbers(record.data(), record.size());
        return;
    }
    archive.ReadNumbers(record.data(), record.size());
    const bool allMembers = static_cast<std::int32_t>(record[0]) >= version;
    Fields fields{};  // zeros are no unit
    std::copy_n(record.begin() + 1, allMembers ? fields.size() : kFirstGenerationFields, fields.begin());
    SetFields(fields);
}

void CUnitCtrl::Serialize1st(CArchive& archive) {
    Fields fields = GetFields();
    if (archive.IsStoring()) {
        archive.WriteNumbers(fields.data(), kFirstGenerationFields);
        return;
    }
    fields = {};
    archive.ReadNumbers(fields.data(), kFirstGenerationFields);
    SetFields(fields);
}

struct kvx::UnitAccess {
    static std::span<const UnitPart> Members(const CUnitCtrl& unit) { return unit.members_; }
};

std::span<const kvx::UnitPart> kvx::UnitParts(const CUnitCtrl& unit) {
    const std::span<const UnitPart> members = UnitAccess::Members(unit);
    std::size_t used = unit.IsSingle() ? 1 : members.size();
    while (used > 2 && members[used - 1].unit == units::kNone) --used;
    return members.first(used);
}

std::wstring kvx::UnitName(const CUnitCtrl& unit, Language language) {
    const auto text = [language](unsigned int id) { return std::wstring(ResourceText(id, language)); };
    const auto nameOf = [&](const UnitPart& part) {
        const detail::UnitRow* const row = detail::FindUnitRow(part.unit);
        return row != nullptr ? text(row->nameId) : std::wstring();
    };
    const auto hasFlag = [](const UnitPart& part, CUnitCtrl::UNIT_CALC flag) {
        return (part.calc & flag) != 0;
    };
    const std::span<const UnitPart> parts = UnitParts(unit);
    const UnitPart& first = parts.front();
    std::wstring name = nameOf(first);
    if (hasFlag(first, CUnitCtrl::CALC_SQUARED)) name = Bracketed(std::move(name)) + text(kTextUnitSquared);
    if (hasFlag(first, CUnitCtrl::CALC_DIVIDE)) name = text(kTextUnitReciprocal) + Bracketed(std::move(name));
    if (unit.IsSingle()) return name;
    if (!hasFlag(first, CUnitCtrl::CALC_SQUARED)) name = Bracketed(std::move(name));
    for (const UnitPart& part : parts.subspan(1)) {
        if (part.unit == units::kNone) continue;
        name += text(hasFlag(part, CUnitCtrl::CALC_DIVIDE) ? kTextUnitQuotient : kTextUnitProduct);
        name += Bracketed(nameOf(part));
        if (hasFlag(part, CUnitCtrl::CALC_SQUARED)) name += text(kTextUnitSquared);
    }
    return name;
}

CUnitCtrl kvx::SingleUnit(CUnitCtrl::UNIT_CODE unit, CUnitCtrl::UNIT_CALC calc) {
    using U = CUnitCtrl;
    return {unit,         calc,          U::UNIT_NONE, U::CALC_PLAIN,
            U::UNIT_NONE, U::CALC_PLAIN, U::UNIT_NONE, U::CALC_PLAIN};
}
