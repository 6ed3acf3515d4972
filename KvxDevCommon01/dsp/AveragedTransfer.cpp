// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/dsp/AveragedTransfer.h>
#include <KvxDevCommon01/dsp/MatSpec.h>

#include <iterator>

namespace kvx {

int AveragedTransfer::Begin(const CDataArrayDouble& window, __int64 overlap) {
    cut_ = {window.GetNum(), overlap};
    blockCount_ = 0;
    if (cut_.IsValid() && reference_.SetWindow(window) && response_.SetWindow(window) &&
        referencePower_.Create(0, cut_.size / 2) && responsePower_.Create(0, cut_.size / 2) &&
        crossPower_.Create(1, cut_.size / 2)) {
        return 1;
    }
    cut_ = {};
    return 0;
}

__int64 AveragedTransfer::Add(std::span<const double> reference, std::span<const double> response) {
    if (reference.size() != response.size()) return 0;
    const double* const xRe = reference_.GetReal().data();
    const double* const xIm = reference_.GetImaginary().data();
    const double* const yRe = response_.GetReal().data();
    const double* const yIm = response_.GetImaginary().data();
    double* const xPower = referencePower_.GetReal();
    double* const yPower = responsePower_.GetReal();
    double* const crossRe = crossPower_.GetReal();
    double* const crossIm = crossPower_.GetImaginary();
    const __int64 lineCount = crossPower_.GetNum();
    const __int64 added = cut_.Count(std::ssize(reference));
    for (__int64 block = 0; block < added; ++block) {
        reference_.Transform(cut_.Block(reference, block));
        response_.Transform(cut_.Block(response, block));
        for (__int64 k = 0; k < lineCount; ++k) {
            xPower[k] += xRe[k] * xRe[k] + xIm[k] * xIm[k];
            yPower[k] += yRe[k] * yRe[k] + yIm[k] * yIm[k];
            crossRe[k] += yRe[k] * xRe[k] + yIm[k] * xIm[k];
            crossIm[k] += yIm[k] * xRe[k] - yRe[k] * xIm[k];
        }
    }
    blockCount_ += added;
    return added;
}

int AveragedTransfer::GetTransfer(CDataArrayDoubleCplx* xfr) const {
    if (xfr == nullptr || blockCount_ == 0 || !xfr->Create(1, crossPower_.GetNum())) return 0;
    return CMatSpec::CalcXfr(xfr, referencePower_, crossPower_);
}

int AveragedTransfer::GetCoherence(CDataArrayDouble* coherence) const {
    CDataArrayDoubleCplx forward;
    CDataArrayDoubleCplx backward;
    if (coherence == nullptr || !GetTransfer(&forward) || !backward.Create(1, crossPower_.GetNum()) ||
        !CMatSpec::CalcXfr(&backward, responsePower_, crossPower_) ||
        !coherence->SetData(crossPower_.GetNum(), nullptr)) {
        return 0;
    }
    // Quotients first: the product of two powers could leave the range of a double.
    for (__int64 k = 0; k < coherence->GetNum(); ++k) {
        (*coherence)[k] = forward.GetReal()[k] * backward.GetReal()[k] +
                          forward.GetImaginary()[k] * backward.GetImaginary()[k];
    }
    return 1;
}

}  // namespace kvx
