// SPDX-License-Identifier: MIT
//
// The name that was meant: commands, options, values and units that a mistyped one is near to.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <KvxDevCommon01/Export.h>

namespace kvx {

/// " (did you mean 'm/s2' or 'mm/s'?)": those of the names (UTF-8), at most three, that the change of a
/// character or two leads to, nearest first; empty when there is none. Two neighbours that changed places are
/// one change; case does not count. Of equally near names those come first that begin as the text does.
KVX_API std::string DidYouMean(std::string_view text, const std::vector<std::string>& names);

/// "there is no 'hol' (did you mean 'hold'?)", or with all names, "only hold, zeros", where none is near.
KVX_API std::string NoSuchName(std::string_view text, const std::vector<std::string>& names);

}  // namespace kvx
