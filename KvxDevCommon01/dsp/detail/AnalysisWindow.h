// SPDX-License-Identifier: MIT
//
// The analysis windows by their number in the interface.
#pragma once

#include <KvxDevCommon01/data/DataArray.h>
#include <KvxDevCommon01/dsp/MatLib.h>
#include <KvxDevCommon01/dsp/MatWIND.h>

namespace kvx {

/// Makes `window` the `size` samples of a window of MATLIB_WINDOW; fails for another kind or size < 1.
inline int MakeAnalysisWindow(__int64 kind, __int64 size, CDataArrayDouble* window) {
    int (*generate)(CDataArrayDouble*) = nullptr;
    switch (kind) {
        // clang-format off
        case MATLIB_RECTANGULAR:          generate = CMatWIND::GeneRectangular;          break;
        case MATLIB_HANNING:              generate = CMatWIND::GeneHanning;              break;
        case MATLIB_HAMMING:              generate = CMatWIND::GeneHamming;              break;
        case MATLIB_BLACKMAN:             generate = CMatWIND::GeneBlackman;             break;
        case MATLIB_BLACKMAN_HARRIS:      generate = CMatWIND::GeneBlackmanHarris;       break;
        case MATLIB_BLACKMAN_HARRIS_61DB: generate = CMatWIND::GeneBlackmanHarris_61dB;  break;
        case MATLIB_BLACKMAN_HARRIS_67DB: generate = CMatWIND::GeneBlackmanHarris_67dB;  break;
        case MATLIB_BLACKMAN_HARRIS_74DB: generate = CMatWIND::GeneBlackmanHarris_74dB;  break;
        case MATLIB_FLAT_TOP:             generate = CMatWIND::GeneFlatTop;              break;
        // clang-format on
        default:
            return 0;
    }
    return window->SetData(size, nullptr) && generate(window);
}

}  // namespace kvx
