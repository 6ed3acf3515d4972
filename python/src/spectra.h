// SPDX-License-Identifier: MIT
//
// Averaged spectra and transfer functions of arrays, all at once or as they come.
#pragma once

#include <mutex>

#include "arrays.h"

namespace kvx::python {

/// An object of the library that belongs to one thread at a time, for any number of threads.
template <class Object>
struct Guarded {
    Object object;
    std::mutex mutex = {};

    /// What work(object) returns, without the interpreter lock and alone with the object.
    template <class Work>
    auto Use(Work work) {
        const py::gil_scoped_release unlocked;
        const std::lock_guard alone(mutex);
        return work(object);
    }
};

void BindSpectra(py::module_& module);

}  // namespace kvx::python
