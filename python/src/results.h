// SPDX-License-Identifier: MIT
//
// The named tuples of kvx/results.py, and what of the library becomes one.
#pragma once

#include <utility>

#include <KvxDevCommon01/data/Statistics.h>
#include <KvxDevCommon01/dsp/LineFigures.h>
#include <KvxDevCommon01/dsp/SineFit.h>
#include <KvxRecording01/Sensitivity.h>

#include "arrays.h"

namespace kvx::python {

#define KVX_RESULTS(Do)                                                                              \
    Do(Figures) Do(SineFit) Do(Peak) Do(Motion) Do(TransferLine) Do(Sensitivity) Do(Calibration)     \
        Do(RandomWave) Do(Levels) Do(Resampled) Do(RunFigures) Do(FormatInfo) Do(FileInfo) Do(Limit) \
            Do(ComparedBand) Do(ComparedLine) Do(Comparison) Do(WindowFigures) Do(ShockPulse)        \
                Do(PulseFigures)

/// An object of a class of results, which are tuples with names: made as a tuple, without a call of
/// Python. `type` keeps the class once it was looked up.
template <typename... Fields>
py::object NamedTuple(PyObject*& type, const char* name, Fields&&... fields) {
    if (type == nullptr) type = py::object(py::module_::import("kvx.results").attr(name)).release().ptr();
    const py::tuple values = py::make_tuple(std::forward<Fields>(fields)...);
    const py::tuple arguments = py::make_tuple(values);
    PyObject* const made =
        PyTuple_Type.tp_new(reinterpret_cast<PyTypeObject*>(type), arguments.ptr(), nullptr);
    if (made == nullptr) throw py::error_already_set();
    return py::reinterpret_steal<py::object>(made);
}

#define KVX_RESULT(Name)                                                     \
    class Name##Result : public py::object {                                 \
    public:                                                                  \
        PYBIND11_OBJECT_DEFAULT(Name##Result, py::object, IsAnything)        \
        template <typename... Fields>                                        \
        static Name##Result Of(Fields&&... fields) {                         \
            static PyObject* type = nullptr;                                 \
            return NamedTuple(type, #Name, std::forward<Fields>(fields)...); \
        }                                                                    \
    };
KVX_RESULTS(KVX_RESULT)
#undef KVX_RESULT

inline FiguresResult ResultOf(const SampleFigures& f) {
    return FiguresResult::Of(f.count, f.missing, f.mean, f.rms, f.min, f.max, f.peak, f.deviation, f.skewness,
                             f.kurtosis, f.places.min, f.places.max, f.places.peak);
}
inline SineFitResult ResultOf(const SineFit& fit) {
    return SineFitResult::Of(fit.frequencyHz, fit.amplitude, fit.phase, fit.offset, fit.residualRms);
}
inline TransferLineResult ResultOf(const TransferLine& line) {
    return TransferLineResult::Of(line.hz, std::complex<double>(line.real, line.imaginary), line.magnitude,
                                  line.phaseDegrees, line.coherence);
}
inline SensitivityResult ResultOf(const Sensitivity& sensitivity) {
    return SensitivityResult::Of(sensitivity.value, sensitivity.electrical, sensitivity.physical);
}

}  // namespace kvx::python

namespace pybind11::detail {
#define KVX_RESULT_NAME(Name)                            \
    template <>                                          \
    struct handle_type_name<kvx::python::Name##Result> { \
        static constexpr auto name = const_name(#Name);  \
    };
KVX_RESULTS(KVX_RESULT_NAME)
#undef KVX_RESULT_NAME
}  // namespace pybind11::detail
