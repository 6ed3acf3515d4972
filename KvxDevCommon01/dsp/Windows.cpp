// SPDX-License-Identifier: MIT

#include <KvxDevCommon01/data/Samples.h>
#include <KvxDevCommon01/dsp/MatWIND.h>
#include <KvxDevCommon01/dsp/Windows.h>
#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/text/NearNames.h>

#include <algorithm>
#include <array>
#include <new>

namespace kvx {
namespace {

struct NamedWindow {
    std::string_view name;
    int (*generate)(CDataArrayDouble*);
};

// clang-format off
constexpr std::array kWindows = {
    NamedWindow{"hann",               &CMatWIND::GeneHanning},
    NamedWindow{"rectangular",        &CMatWIND::GeneRectangular},
    NamedWindow{"hamming",            &CMatWIND::GeneHamming},
    NamedWindow{"blackman",           &CMatWIND::GeneBlackman},
    NamedWindow{"blackman-harris",    &CMatWIND::GeneBlackmanHarris},
    NamedWindow{"blackman-harris-61", &CMatWIND::GeneBlackmanHarris_61dB},
    NamedWindow{"blackman-harris-67", &CMatWIND::GeneBlackmanHarris_67dB},
    NamedWindow{"blackman-harris-74", &CMatWIND::GeneBlackmanHarris_74dB},
    NamedWindow{"flat-top",           &CMatWIND::GeneFlatTop},
    NamedWindow{"half-rectangular",   &CMatWIND::GeneHalfRectangular},
};
// clang-format on

/// Other names of windows, under which they are found but not listed.
struct WindowAlias {
    std::string_view alias;
    std::string_view name;
};
constexpr std::array kAliases = {
    WindowAlias{"flattop", "flat-top"},
    WindowAlias{"hanning", "hann"},
    WindowAlias{"boxcar", "rectangular"},
};

}  // namespace

std::vector<std::string> WindowNames() {
    std::vector<std::string> names;
    for (const NamedWindow& window : kWindows) names.emplace_back(window.name);
    return names;
}

std::vector<double> MakeWindow(std::string_view name, std::int64_t size) {
    const auto alias = std::ranges::find(kAliases, name, &WindowAlias::alias);
    const auto found =
        std::ranges::find(kWindows, alias == kAliases.end() ? name : alias->name, &NamedWindow::name);
    if (found == kWindows.end()) throw Error(ErrorKind::kUnknownName, NoSuchName(name, WindowNames()));
    if (size < 1) throw Error(ErrorKind::kBadValue, "a window has one sample or more");
    CDataArrayDouble window(size, 0.0);
    if (!found->generate(&window)) throw std::bad_alloc();
    const std::span<const double> samples = Samples(window);
    return {samples.begin(), samples.end()};
}

double NoiseBandwidth(std::span<const double> window) {
    CDataArrayDouble samples;
    if (!window.empty() && !samples.SetData(std::ssize(window), window.data())) throw std::bad_alloc();
    double bandwidth = 0.0;
    if (!CMatWIND::CalcWindENBW(samples, &bandwidth, nullptr))
        throw Error(ErrorKind::kBadValue, "a window whose sum is 0 has no noise bandwidth");
    return bandwidth;
}

}  // namespace kvx
