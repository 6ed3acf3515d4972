// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/NumberBytes.h>

#include <bit>
#include <cstdint>

#include <KvxRecording01/detail/ByteOrder.h>
#include <KvxRecording01/kernels/NumberKernels.h>

namespace kvx {
namespace {

/// By kinds, then by 1, 2, 4 and 8 bytes.
constexpr NumberKernels::Orders NumberKernels::*kLoops[3][4] = {
    {&NumberKernels::int8, &NumberKernels::int16, &NumberKernels::int32, &NumberKernels::int64},
    {&NumberKernels::uint8, &NumberKernels::uint16, &NumberKernels::uint32, &NumberKernels::uint64},
    {nullptr, &NumberKernels::half, &NumberKernels::single, &NumberKernels::real},
};

}  // namespace

bool IsHostDouble(const NumberType& type) {
    return type == NumberType{NumberType::Kind::floating, sizeof(double), kIsBigHost};
}

bool ToDoubles(const NumberType& type, const std::byte* from, std::size_t step, std::span<double> to) {
    const auto* const row = kLoops[static_cast<std::size_t>(type.kind)];
    const auto& loops = ActiveKernels<NumberKernels>().*row[std::countr_zero(type.bytes)];
    const auto read = type.isBig == kIsBigHost ? loops.straight : loops.swapped;
    return read(to.data(), from, static_cast<std::int64_t>(step), std::ssize(to));
}

}  // namespace kvx
