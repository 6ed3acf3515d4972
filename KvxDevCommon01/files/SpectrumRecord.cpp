// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/files/ComDataKinds.h>
#include <KvxDevCommon01/files/RecordSamples.h>
#include <KvxDevCommon01/files/SpectrumRecord.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/units/UnitText.h>

#include <algorithm>
#include <iterator>
#include <new>

namespace kvx {

CComDataBase SpectrumRecord(std::span<const LineSpectrum> spectra, const CStringArray& names,
                            const CString& column) {
    const auto isLikeFirst = [&](const LineSpectrum& other) {
        const LineSpectrum& first = spectra.front();
        return other.kind == first.kind && other.unit == first.unit && other.spacingHz == first.spacingHz &&
               other.real.size() == first.real.size() && other.imaginary.size() == first.imaginary.size();
    };
    if (spectra.empty() || names.size() != spectra.size() || !std::ranges::all_of(spectra, isLikeFirst))
        throw Error(ErrorKind::kBadValue, "the spectra of a record are alike and each has a name");
    const LineSpectrum& first = spectra.front();
    const CStringArray columns = {column};
    CComDataBase record;
    if (!record.Create(first.spacingHz, std::ssize(spectra), 1, std::ssize(first.real), 0,
                       !first.imaginary.empty(), SingleUnit(kAxisHertz), first.unit, &names,
                       column.empty() ? nullptr : &columns)) {
        throw std::bad_alloc();
    }
    for (std::size_t row = 0; row < spectra.size(); ++row) {
        const auto at = static_cast<__int64>(row);
        std::ranges::copy(spectra[row].real, Samples(record, at, 0).begin());
        std::ranges::copy(spectra[row].imaginary, ImaginarySamples(record, at, 0).begin());
    }
    return record;
}

}  // namespace kvx
