// SPDX-License-Identifier: MIT
//
// The archive layout of a data record around its samples and axis values. Each function throws what the
// archive throws.
#pragma once

#include <KvxDevCommon01/files/ComDataBase.h>
#include <KvxDevCommon01/platform/Archive.h>

namespace kvx {

/// The first generation has no version words and holds samples and axis values in single precision.
enum class RecordGeneration { kFirst, kCurrent };

inline constexpr std::int32_t kRecordVersion = 1;

/// A record without its samples, as long as nothing was allocated for them.
using RecordFields = CComDataBase::Fields;

/// What stands before the samples: mode, units and names.
void LoadRecordHead(CArchive& archive, RecordGeneration generation, RecordFields* fields);
void StoreRecordHead(CArchive& archive, const RecordFields& fields);

/// What stands behind the samples of a record with an equally spaced axis; nothing for others.
void LoadRecordSpacing(CArchive& archive, RecordFields* fields);
void StoreRecordSpacing(CArchive& archive, const RecordFields& fields);

/// A name per row and column: the given ones, then default ones.
void CompleteRowNames(const CStringArray& given, __int64 rows, RecordFields* fields);
void CompleteColNames(const CStringArray& given, __int64 cols, RecordFields* fields);

}  // namespace kvx
