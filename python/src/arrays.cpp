// SPDX-License-Identifier: MIT
#include "arrays.h"

#include <algorithm>
#include <type_traits>

#include <KvxDevCommon01/platform/Text.h>

namespace kvx::python {
namespace {

constexpr int kSideBySide =
    py::detail::npy_api::NPY_ARRAY_C_CONTIGUOUS_ | py::detail::npy_api::NPY_ARRAY_ALIGNED_;

/// Whether an object is an array, not one of a subclass, of such numbers side by side as this machine has
/// them.
template <typename Number>
bool IsReadInPlace(const py::object& object) {
    if (Py_TYPE(object.ptr()) != py::detail::npy_api::get().PyArray_Type_) return false;
    const auto* const array = py::detail::array_proxy(object.ptr());
    const auto* const type = py::detail::array_descriptor_proxy(array->descr);
    return py::detail::check_flags(array, kSideBySide) && type->byteorder == '=' &&
           type->type_num == py::detail::npy_format_descriptor<Number>::value;
}

/// Whatever an array can be made of, as an array of some kind of numbers.
py::array AnyArray(const py::object& object, const char* name, bool takesComplex) {
    if (object.is_none()) Refuse(std::string(name) + " is None, not an array of numbers");
    py::array array;
    try {
        array = py::module_::import("numpy").attr("asanyarray")(object);
    } catch (const py::error_already_set& error) {
        if (!error.matches(PyExc_ValueError) && !error.matches(PyExc_TypeError)) throw;
        Refuse(std::string(name) + " is no array of numbers, for its rows are not equally long");
    }
    if (py::hasattr(array, "mask") && py::cast<bool>(array.attr("mask").attr("any")()))
        Refuse(std::string(name) + " has masked samples, which hold no value");
    const char kind = array.dtype().kind();
    const bool isNumber = kind == 'f' || kind == 'i' || kind == 'u' || kind == 'b';
    if (kind == 'c' && !takesComplex)
        Refuse(std::string(name) + " is complex, where real numbers are wanted");
    if (!isNumber && kind != 'c')
        Refuse(std::string(name) + " holds " + py::cast<std::string>(py::str(array.dtype())) +
               ", not numbers");
    return array;
}

py::module_ NumPy() {
    return py::module_::import("numpy");
}

}  // namespace

template <typename Number>
RowsOf<Number>::RowsOf(const py::object& object, const char* name, py::ssize_t axis)
    : name_(name),
      array_(IsReadInPlace<Number>(object) ? py::reinterpret_borrow<py::array>(object)
                                           : AnyArray(object, name, !std::is_same_v<Number, double>)),
      axis_(-1) {
    const py::ssize_t dimensions = array_.ndim();
    if (dimensions == 0) Refuse(std::string(name) + " is a single number, not an array");
    if (axis < -dimensions || axis >= dimensions) {
        Refuse("axis " + std::to_string(axis) + " is none of an array of " + std::to_string(dimensions) +
               (dimensions == 1 ? " dimension" : " dimensions"));
    }
    if (axis != -1 && axis != dimensions - 1) {
        axis_ = axis;
        array_ = NumPy().attr("moveaxis")(array_, axis, -1);
    }
    if (!IsReadInPlace<Number>(array_)) {
        auto numbers = py::reinterpret_steal<py::object>(py::detail::npy_api::get().PyArray_FromAny_(
            array_.ptr(), py::dtype::of<Number>().release().ptr(), 0, 0,
            kSideBySide | py::detail::npy_api::NPY_ARRAY_ENSUREARRAY_ |
                py::detail::npy_api::NPY_ARRAY_FORCECAST_,
            nullptr));
        if (!numbers) throw py::error_already_set();
        array_ = std::move(numbers);
    }
    data_ = static_cast<const Number*>(array_.data());
    length_ = static_cast<std::size_t>(array_.shape(dimensions - 1));
    count_ = 1;
    for (py::ssize_t d = 0; d + 1 < dimensions; ++d) count_ *= static_cast<std::size_t>(array_.shape(d));
}

template <typename Number>
void RowsOf<Number>::RequireValues() const {
    const std::span<const double> all = PartsOf(All());
    if (AreValues(all)) return;
    const std::wstring name = FromUtf8Replacing(name_);
    const std::size_t length = length_ * sizeof(Number) / sizeof(double);
    for (std::size_t row = 0; row < count_; ++row)
        kvx::RequireValues(all.subspan(row * length, length), name);
}

template <typename Number>
py::array RowsOf<Number>::Placed(py::array results) const {
    return axis_ == -1 ? results : py::array(NumPy().attr("moveaxis")(results, -1, axis_));
}

template class RowsOf<double>;
template class RowsOf<std::complex<double>>;

Rows OneRow(const py::object& array, const char* name) {
    Rows rows(array, name);
    if (!rows.IsSingle()) Refuse(std::string(name) + " has more than one dimension");
    return rows;
}

std::vector<double> NumbersOf(const py::object& array, const char* name) {
    const Rows rows = OneRow(array, name);
    return {rows.Row(0).begin(), rows.Row(0).end()};
}

bool IsComplex(const py::object& object) {
    return !object.is_none() && AnyArray(object, "the array", true).dtype().kind() == 'c';
}

py::array_t<std::complex<double>> ComplexArrayOf(std::span<const double> real,
                                                 std::span<const double> imaginary) {
    py::array_t<std::complex<double>> array(static_cast<py::ssize_t>(real.size()));
    std::complex<double>* const out = array.mutable_data();
    for (std::size_t i = 0; i < real.size(); ++i) out[i] = {real[i], imaginary.empty() ? 0.0 : imaginary[i]};
    return array;
}

py::array_t<double> Ramp(std::size_t count, double step, double start) {
    // Counting in int lets the compiler make several places at once.
    constexpr std::size_t kAtOnce = 1 << 20;
    py::array_t<double> array = NewArray<double>(count);
    double* const out = array.mutable_data();
    for (std::size_t first = 0; first < count; first += kAtOnce) {
        const auto before = static_cast<double>(first);
        const int some = static_cast<int>(std::min(kAtOnce, count - first));
        for (int i = 0; i < some; ++i) out[first + static_cast<std::size_t>(i)] = start + (before + i) * step;
    }
    return array;
}

std::string PathOf(const py::object& path) {
    const py::object text = py::module_::import("os").attr("fsdecode")(path);
    const std::string name = py::cast<std::string>(text);
    if (name.find('\0') != std::string::npos) Refuse("a path holds no zero byte");
    return name;
}

std::vector<py::object> PiecesOf(const py::object& listed) {
    if (listed.is_none()) return {};
    const bool isNamedTuple = py::hasattr(listed, "_fields");
    if (isNamedTuple) return {listed};
    if (!py::isinstance<py::list>(listed) && !py::isinstance<py::tuple>(listed) &&
        !py::isinstance<py::array>(listed))
        return {listed};
    std::vector<py::object> pieces;
    for (const py::handle piece : listed) pieces.push_back(py::reinterpret_borrow<py::object>(piece));
    return pieces;
}

std::wstring WideOf(const py::object& text, const char* name) {
    if (!py::isinstance<py::str>(text)) Refuse(std::string(name) + " is no text");
    return FromUtf8Replacing(py::cast<std::string>(text));
}

}  // namespace kvx::python
