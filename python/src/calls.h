// SPDX-License-Identifier: MIT
//
// Functions that are called so often that the call itself counts. pybind11 makes a tuple and a dictionary of
// the arguments of a call and looks each name up in it; here arguments go straight to their places. What is
// not plain (a name that is none, an argument of another kind) is left to the function that pybind11 made.
#pragma once

#include <array>
#include <cstddef>
#include <exception>
#include <span>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

namespace kvx::python {

namespace py = pybind11;

/// The name of an argument, and what it is when it is not stated.
struct Parameter {
    explicit Parameter(const py::arg& arg)
        : name(py::reinterpret_steal<py::object>(PyUnicode_InternFromString(arg.name))) {}
    explicit Parameter(const py::arg_v& arg) : Parameter(static_cast<const py::arg&>(arg)) {
        usual = arg.value;
    }

    py::object name;
    py::object usual = {};
};

/// Puts the arguments of a call in their places; false when one is missing or has none.
bool Place(std::span<const Parameter> parameters, PyObject* const* arguments, Py_ssize_t byPlace,
           PyObject* names, std::span<PyObject*> places);

template <class Result, class... Arguments>
class QuickFunction {
public:
    using Function = Result (*)(Arguments...);

    /// Takes the place of the function `name` of a module, which has these parameters.
    static void Replace(py::module_& module, const char* name, Function function,
                        std::vector<Parameter> parameters) {
        auto* const own = new QuickFunction;
        own->function_ = function;
        own->general_ = module.attr(name);
        own->parameters_ = std::move(parameters);
        own->text_ = py::cast<std::string>(own->general_.attr("__doc__"));
        const py::capsule self(own, [](void* made) { delete static_cast<QuickFunction*>(made); });
        own->definition_ = {name, reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&Call)),
                            METH_FASTCALL | METH_KEYWORDS, own->text_.c_str()};
        module.attr(name) = py::reinterpret_steal<py::object>(
            PyCFunction_NewEx(&own->definition_, self.ptr(), py::object(module.attr("__name__")).ptr()));
    }

private:
    using Casters = std::tuple<py::detail::make_caster<Arguments>...>;
    using Indices = std::index_sequence_for<Arguments...>;

    static PyObject* Call(PyObject* self, PyObject* const* arguments, Py_ssize_t count, PyObject* names) {
        const auto& own = *static_cast<const QuickFunction*>(PyCapsule_GetPointer(self, nullptr));
        std::array<PyObject*, sizeof...(Arguments)> places{};
        Casters casters;
        if (!Place(own.parameters_, arguments, count, names, places) || !Load(casters, places, Indices()))
            return PyObject_Vectorcall(own.general_.ptr(), arguments, static_cast<std::size_t>(count), names);
        try {
            return py::detail::make_caster<Result>::cast(own.Made(casters, Indices()),
                                                         py::return_value_policy::move, {})
                .ptr();
        } catch (...) {
            // An exception becomes one of Python on its way through a function of pybind11.
            const py::cpp_function rethrow(
                [thrown = std::current_exception()] { std::rethrow_exception(thrown); });
            return PyObject_CallNoArgs(rethrow.ptr());
        }
    }

    template <std::size_t... index>
    static bool Load(Casters& casters, std::span<PyObject* const> places, std::index_sequence<index...>) {
        return (std::get<index>(casters).load(places[index], true) && ...);
    }
    template <std::size_t... index>
    Result Made(Casters& casters, std::index_sequence<index...>) const {
        return function_(py::detail::cast_op<Arguments>(std::move(std::get<index>(casters)))...);
    }

    Function function_;
    py::object general_;
    std::vector<Parameter> parameters_;
    std::string text_;
    PyMethodDef definition_;
};

/// As module.def(name, function, parameters..., text), for a function that is called often.
template <class Result, class... Arguments, class... Parameters>
void DefineQuick(py::module_& module, const char* name, Result (*function)(Arguments...), const char* text,
                 const Parameters&... parameters) {
    static_assert(sizeof...(Arguments) == sizeof...(Parameters));
    module.def(name, function, parameters..., text);
    QuickFunction<Result, Arguments...>::Replace(module, name, function, {Parameter(parameters)...});
}

}  // namespace kvx::python
