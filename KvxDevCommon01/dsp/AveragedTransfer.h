// SPDX-License-Identifier: MIT
//
// Averaged transfer function from a reference to a response, and its coherence: both signals are cut,
// windowed and transformed alike (see AveragedSpectrum.h), and their powers and cross power are averaged over
// the blocks.
#pragma once

#include <span>

#include <KvxDevCommon01/Export.h>
#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/data/DataCplx.h>
#include <KvxDevCommon01/dsp/AveragedSpectrum.h>
#include <KvxDevCommon01/platform/Types.h>

namespace kvx {

class KVX_API AveragedTransfer {
public:
    /// Begins anew with a window, whose count is the block size, and an overlap in samples, 0 <= overlap <
    /// count. Fails (0) as AveragedSpectrum::Begin; then nothing can be added.
    int Begin(const CDataArrayDouble& window, __int64 overlap);

    /// Adds all full blocks of two signals that were sampled together and returns their number; 0 for signals
    /// of different counts. Pairs of signals may follow one another, as the blows of a hammer do; no block
    /// spans two of them.
    __int64 Add(std::span<const double> reference, std::span<const double> response);

    /// Blocks added so far.
    __int64 GetNumBlocks() const { return blockCount_; }

    /// Transfer function H1, the cross power over the reference's power, as complex numbers in the response's
    /// unit over the reference's: the best estimate when noise is on the response alone. 0 on lines where the
    /// reference has no power. Fails (0) for a null array, without blocks or when memory runs out.
    int GetTransfer(CDataArrayDoubleCplx* xfr) const;

    /// Coherence, the squared cross power over both powers, from 0 to 1: the part of the response's power
    /// that the reference explains, always 1 for a single block. 0 on lines where one of them has no power.
    /// Fails as GetTransfer.
    int GetCoherence(CDataArrayDouble* coherence) const;

private:
    BlockCut cut_{};
    BlockTransform reference_;
    BlockTransform response_;
    // Sums over the blocks; the cross power is the response times the conjugate reference.
    CDataArrayDoubleCplx referencePower_;
    CDataArrayDoubleCplx responsePower_;
    CDataArrayDoubleCplx crossPower_;
    __int64 blockCount_ = 0;
};

}  // namespace kvx
