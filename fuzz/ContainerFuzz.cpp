// SPDX-License-Identifier: MIT
//
// Damaged layouts of the containers, unit descriptors, headers and data records: loading gives a value or a
// file exception, and what was loaded comes back the same when it is stored and loaded again. The first byte
// chooses the type.
#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <span>

#include <KvxDevCommon01/KvxDevCommon01.h>

namespace {

using Bytes = std::span<const std::byte>;

template <class Type>
void Store(Type& value, kvx::MemoryStream* stream) {
    CArchive archive(*stream, CArchive::store);
    value.Serialize(archive);
    archive.Flush();
}

template <class Type>
void Load(Type* value, Bytes bytes, void (Type::*serialize)(CArchive&)) {
    kvx::MemoryStream stream(bytes);
    CArchive archive(stream, CArchive::load);
    (value->*serialize)(archive);
}

template <class Type>
void LoadStoreLoad(Bytes bytes, void (Type::*serialize)(CArchive&)) {
    Type loaded;
    try {
        Load(&loaded, bytes, serialize);
    } catch (const CFileException&) {
        return;
    }
    kvx::MemoryStream first;
    Store(loaded, &first);
    if (first.Bytes().empty()) return;  // an empty data record is stored as nothing
    Type again;
    Load(&again, first.Bytes(), &Type::Serialize);
    kvx::MemoryStream second;
    Store(again, &second);
    if (!std::ranges::equal(first.Bytes(), second.Bytes())) std::abort();
}

template <class Type>
void BothGenerations(Bytes bytes) {
    LoadStoreLoad<Type>(bytes, &Type::Serialize);
    if constexpr (requires(Type value, CArchive archive) { value.Serialize1st(archive); }) {
        LoadStoreLoad<Type>(bytes, &Type::Serialize1st);
    }
}

constexpr auto kTypes = std::to_array<void (*)(Bytes)>({
    BothGenerations<CDataArrayDouble>,
    BothGenerations<CDataArrayFloat>,
    BothGenerations<CDataArrayLong>,
    BothGenerations<CDataArrayBool>,
    BothGenerations<CDataDoubleCplx>,
    BothGenerations<CDataCplx>,
    BothGenerations<CDataArrayDoubleCplx>,
    BothGenerations<CDataArrayCplx>,
    BothGenerations<CDataArrayMtxDouble>,
    BothGenerations<CDataArrayMtxFloat>,
    BothGenerations<CDataArrayMtxLong>,
    BothGenerations<CDataArrayMtxBool>,
    BothGenerations<CDataArrayDoubleMtxCplx>,
    BothGenerations<CDataArrayMtxCplx>,
    BothGenerations<CDataDoubleMtxCplx>,
    BothGenerations<CDataMtxCplx>,
    BothGenerations<CUnitCtrl>,
    BothGenerations<CComHdr>,
    BothGenerations<CComDataBase>,
});

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const Bytes bytes = std::as_bytes(std::span(data, size));
    if (!bytes.empty()) kTypes[data[0] % kTypes.size()](bytes.subspan(1));
    return 0;
}
