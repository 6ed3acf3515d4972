// SPDX-License-Identifier: MIT
//
// CMatBasic: the basic numeric routines on which the rest of the signal processing stands. Stateless; every
// routine may be called from any thread.
#pragma once

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/platform/Types.h>

#include <cstdint>

class KVX_API CMatBasic {
public:
    /// The smallest power of two that is not below n: 1 for n <= 1, 0 when it would exceed 2^62.
    static __int64 GreaterEqPow2(__int64 n);

    /// Multiplies data[i], i < n, by a - b cos(phase0 + i dphase), angles in radians. The cosine is the entry
    /// of the sine table nearest to the angle, in steps of pi/65536. (0.5, 0.5, 0, 2 pi/n, n) is the periodic
    /// Hann window. Fails (0), leaving the data as they are, for a null block, n < 1, an angle that is not
    /// finite or one too large (beyond about 1e11) to have a meaning on the table.
    static int WindowCore(double a, double b, double phase0, double dphase, __int64 n, double* data);

    /// The next number of the suite's uniform generator: seed = (1229 seed + 351750) mod 1664501 in 32-bit
    /// arithmetic; the result is seed/1664501, in [0, 1). 0 for a null seed. A given seed gives the same
    /// sequence everywhere.
    static double GenRandom(std::uint32_t* seed);
};
