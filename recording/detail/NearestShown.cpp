// SPDX-License-Identifier: MIT
#include <KvxRecording01/detail/NearestShown.h>

#include <cmath>
#include <cstddef>
#include <limits>

namespace kvx {

double NearestShown(const CUnitCtrl& unit, int isAbsolute, double standard, double shown) {
    // A conversion of several parts rounds as many times on both ways.
    const int most = unit.IsSingle() ? 1 : 4;
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const auto missOf = [&](double number) {
        return std::abs(unit.ConvItoD(number, 1.0, isAbsolute) - standard);
    };
    double nearest = shown;
    double least = missOf(shown);
    double below = shown, above = shown;
    for (int step = 0; step < most && least > 0.0; ++step) {
        for (double* const beside :
             {&(below = std::nextafter(below, -kInfinity)), &(above = std::nextafter(above, kInfinity))}) {
            const double miss = missOf(*beside);
            if (!(miss < least)) continue;
            nearest = *beside;
            least = miss;
        }
    }
    return nearest;
}

void ShownValues::Convert(const CUnitCtrl& unit, int isAbsolute, std::span<double> values) {
    standard_.assign(values.begin(), values.end());
    again_.resize(values.size());
    unit.ConvDtoI(values.data(), values.data(), std::ssize(values), 1.0, isAbsolute);
    unit.ConvItoD(again_.data(), values.data(), std::ssize(values), 1.0, isAbsolute);
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (again_[i] != standard_[i]) values[i] = NearestShown(unit, isAbsolute, standard_[i], values[i]);
    }
}

}  // namespace kvx
