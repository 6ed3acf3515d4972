// SPDX-License-Identifier: MIT
#include <KvxRecording01/LibraryVersions.h>

#include <sndfile.h>
#include <zlib.h>

#include <string>

namespace kvx {

std::vector<LibraryVersion> RecordingLibraries() {
    std::string sound = ::sf_version_string();  // "libsndfile-1.2.0"
    sound.erase(0, sound.rfind('-') + 1);
    return {{"libsndfile", sound}, {"zlib", ::zlibVersion()}};
}

}  // namespace kvx
