// SPDX-License-Identifier: MIT
#include "calls.h"

#include <algorithm>

namespace kvx::python {

bool Place(std::span<const Parameter> parameters, PyObject* const* arguments, Py_ssize_t byPlace,
           PyObject* names, std::span<PyObject*> places) {
    const auto first = static_cast<std::size_t>(byPlace);
    if (first > places.size()) return false;
    std::copy_n(arguments, first, places.begin());
    const Py_ssize_t named = names == nullptr ? 0 : PyTuple_GET_SIZE(names);
    for (Py_ssize_t i = 0; i < named; ++i) {
        // Names in a program are one object each, and so are these.
        const auto found = std::ranges::find(parameters, PyTuple_GET_ITEM(names, i),
                                             [](const Parameter& each) { return each.name.ptr(); });
        const auto place = static_cast<std::size_t>(found - parameters.begin());
        if (place == places.size() || places[place] != nullptr) return false;
        places[place] = arguments[byPlace + i];
    }
    for (std::size_t p = first; p < places.size(); ++p) {
        if (places[p] == nullptr) places[p] = parameters[p].usual.ptr();
        if (places[p] == nullptr) return false;
    }
    return true;
}

}  // namespace kvx::python
