// SPDX-License-Identifier: MIT
//
// FieldStream: reads or writes the fields of a record one by one, as the direction of its archive has it, so
// that one function per record serves both.
#pragma once

#include <cstddef>
#include <type_traits>

#include <KvxDevCommon01/platform/Archive.h>

namespace kvx::detail {

template <typename T>
concept Enumeration = std::is_enum_v<T>;

class FieldStream {
public:
    explicit FieldStream(CArchive& archive) : archive_(archive) {}

    template <ArchiveNumber Number>
    void operator()(Number& value) {
        archive_.IsLoading() ? archive_ >> value : archive_ << value;
    }
    template <Enumeration Enum>
    void operator()(Enum& value) {
        auto number = static_cast<std::underlying_type_t<Enum>>(value);
        (*this)(number);
        value = static_cast<Enum>(number);
    }
    template <ArchiveNumber Number, std::size_t Count>
    void operator()(Number (&values)[Count]) {
        archive_.IsLoading() ? archive_.ReadNumbers(values, Count) : archive_.WriteNumbers(values, Count);
    }

private:
    CArchive& archive_;
};

}  // namespace kvx::detail
