// SPDX-License-Identifier: MIT
//
// Damaged files of graph settings, scales and early configurations: loading gives the settings or a reason,
// and settings that were loaded come back the same when they are stored and loaded again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include <KvxDevCommon01/graph/GraphSettings.h>
#include <KvxDevCommon01/graph/ScaleParam.h>
#include <KvxDevCommon01/platform/ByteStream.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/FileException.h>

namespace {

using Bytes = std::span<const std::byte>;

/// Loads a record; what it could not load is left as `Type()`.
template <class Type>
bool Load(Type* value, Bytes bytes, void (Type::*serialize)(CArchive&)) try {
    kvx::MemoryStream stream(bytes);
    CArchive archive(stream, CArchive::load);
    (value->*serialize)(archive);
    return true;
} catch (const CFileException&) {
    return false;
}

template <class Type>
void StoreAndLoad(Type& value) {
    kvx::MemoryStream stream;
    CArchive archive(stream, CArchive::store);
    value.Serialize(archive);
    archive.Flush();
    Type again;
    if (!Load(&again, stream.Bytes(), &Type::Serialize) || !(again == value)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes = std::as_bytes(std::span(data, size));
    try {
        kvx::MemoryStream stream(bytes);
        const CGraphInfo info = kvx::LoadGraphSettings(stream);
        StoreAndLoad(*info.GetGraphColorInfo());
        StoreAndLoad(*info.GetGraphConfigInfo());
    } catch (const kvx::Error& error) {
        if (*error.what() == '\0') std::abort();
    }
    CGraphConfigInfo config;
    if (Load(&config, bytes, &CGraphConfigInfo::Serialize)) StoreAndLoad(config);
    if (Load(&config, bytes, &CGraphConfigInfo::Serialize1st)) StoreAndLoad(config);
    CScaleParam scale;
    if (Load(&scale, bytes, &CScaleParam::Serialize)) scale.Check();
    return 0;
}
