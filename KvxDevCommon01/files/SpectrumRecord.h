// SPDX-License-Identifier: MIT
//
// Spectra as a record for a data file.
#pragma once

#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/dsp/LineSpectrum.h>
#include <KvxDevCommon01/files/ComDataBase.h>

namespace kvx {

/// A record over frequency with one row for a spectrum, named by `names`, and one column, which may have a
/// name, that of a transfer function's reference. Throws Error (kBadValue) without spectra, for another
/// number of names, and for spectra of different kinds, counts, spacings or units; std::bad_alloc when memory
/// runs out.
KVX_API CComDataBase SpectrumRecord(std::span<const LineSpectrum> spectra, const CStringArray& names,
                                    const CString& column = {});

}  // namespace kvx
