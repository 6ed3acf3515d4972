// SPDX-License-Identifier: MIT
//
// The extension kvx._kvx, all of which the package kvx shows under its own name.
#include <cstddef>
#include <string>

#include <pybind11/pybind11.h>

#include <KvxDevCommon01/platform/Parallel.h>
#include <KvxDevCommon01/platform/Version.h>

#include "bands.h"
#include "errors.h"
#include "filters.h"
#include "lines.h"
#include "plot.h"
#include "recordings.h"
#include "records.h"
#include "shock.h"
#include "signals.h"
#include "spectra.h"
#include "transforms.h"
#include "units.h"

namespace {

namespace py = pybind11;

/// Refuses objects whose __init__ never ran: without this pybind11 gives them memory that nothing has set.
void RequireMade(const py::module_& module) {
    for (const auto& [name, value] : py::dict(module.attr("__dict__"))) {
        if (!PyType_Check(value.ptr())) continue;
        auto* const info = py::detail::get_type_info(reinterpret_cast<PyTypeObject*>(value.ptr()));
        if (info == nullptr) continue;
        info->operator_new = [](std::size_t) -> void* { throw py::type_error("the object was never made"); };
    }
}

}  // namespace

PYBIND11_MODULE(_kvx, module) {
    using namespace kvx::python;
    // What is defined here belongs to the package.
    const py::object own = module.attr("__name__");
    module.attr("__name__") = "kvx";
    BindErrors();
    BindUnits(module);
    BindTransforms(module);
    BindSpectra(module);
    BindFilters(module);
    BindFilterDesign(module);
    BindSignals(module);
    BindBands(module);
    BindLines(module);
    BindRecords(module);
    BindRecordings(module);
    BindShock(module);
    BindPlot(module);
    module.def("working_threads", &kvx::WorkingThreads,
               "How many threads work at once: KVX_THREADS of the environment, else one per core.");
    RequireMade(module);
    module.attr("__version__") = std::string(kvx::kVersion);
    module.attr("__name__") = own;
}
