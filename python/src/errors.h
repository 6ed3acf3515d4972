// SPDX-License-Identifier: MIT
//
// Errors of the library as exceptions of Python, and exceptions of Python within calls of the library.
#pragma once

#include <string>

#include <pybind11/pybind11.h>

#include <KvxDevCommon01/platform/Error.h>
#include <KvxDevCommon01/platform/Progress.h>

namespace kvx::python {

namespace py = pybind11;

/// kvx::Error and CFileException become the classes of kvx/errors.py.
void BindErrors();

/// Throws Error (kBadValue).
[[noreturn]] void Refuse(const std::string& sentence);

/// An object that is one: Python may hand in None for any.
template <class Pointer>
const Pointer& Required(const Pointer& object) {
    if (!object) throw py::type_error("None is no object of this kind");
    return object;
}

/// Lets Ctrl-C end work that tells how far it has come: what a handler of Python raises passes through it.
ProgressFunction Interruptible();

/// What `work` returns, with the interpreter lock released meanwhile.
template <class Work>
auto Unlocked(Work work) {
    const py::gil_scoped_release unlocked;
    return work();
}

/// The same for work on a file, which an Error then names.
template <class Work>
auto UnlockedOn(const std::string& path, Work work) {
    const py::gil_scoped_release unlocked;
    try {
        return work();
    } catch (const Error& error) {
        throw error.At({.path = path});
    }
}

}  // namespace kvx::python
