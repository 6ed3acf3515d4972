// SPDX-License-Identifier: MIT
//
// Arrays of NumPy as spans and back. What a caller hands in may have any layout and any kind of real or
// complex numbers; doubles that lie side by side are read in place.
#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <string>
#include <type_traits>
#include <vector>

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <KvxDevCommon01/files/Channels.h>
#include <KvxDevCommon01/platform/Parallel.h>

#include "errors.h"

namespace kvx::python {

inline bool IsAnything(PyObject*) {
    return true;
}

// What arguments may be, for signatures: whatever it is, the function that takes it says what is wrong with
// it.
#define KVX_ARGUMENT(Name)                                    \
    class Name : public py::object {                          \
    public:                                                   \
        PYBIND11_OBJECT_DEFAULT(Name, py::object, IsAnything) \
    };
KVX_ARGUMENT(ArrayLike)   ///< what numpy.asarray takes
KVX_ARGUMENT(UnitLike)    ///< a Unit, or its name
KVX_ARGUMENT(WindowLike)  ///< the name of a window, a name with its numbers, or the samples of one
KVX_ARGUMENT(PathLike)    ///< str, bytes or os.PathLike
KVX_ARGUMENT(Listed)      ///< one of something or a list of them
KVX_ARGUMENT(Floats)      ///< what is a number for a number and an array for an array
#undef KVX_ARGUMENT

/// An array of that shape whose numbers are not set. Faster than the constructors of py::array_t.
template <typename Number>
py::array_t<Number> NewArray(std::span<const py::ssize_t> shape) {
    const auto& numpy = py::detail::npy_api::get();
    PyObject* const array = numpy.PyArray_NewFromDescr_(
        numpy.PyArray_Type_, py::dtype::of<Number>().release().ptr(), static_cast<int>(shape.size()),
        shape.data(), nullptr, nullptr, 0, nullptr);
    if (array == nullptr) throw py::error_already_set();
    return py::reinterpret_steal<py::array_t<Number>>(array);
}
template <typename Number>
py::array_t<Number> NewArray(std::size_t length) {
    const auto size = static_cast<py::ssize_t>(length);
    return NewArray<Number>(std::span(&size, 1));
}

/// The real or complex samples of an array along one of its axes: rows of equally many.
template <typename Number>
class RowsOf {
public:
    /// `name`, which lives as long, is what sentences call the array. Throws Error (kBadValue) for what is no
    /// array of numbers, for complex numbers where real ones are wanted, and for an axis that there is not.
    RowsOf(const py::object& array, const char* name, py::ssize_t axis = -1);

    std::size_t Count() const { return count_; }
    std::size_t Length() const { return length_; }
    std::span<const Number> Row(std::size_t row) const { return {data_ + row * length_, length_}; }
    /// All rows, one behind the other.
    std::span<const Number> All() const { return {data_, count_ * length_}; }
    bool IsSingle() const { return array_.ndim() == 1; }
    /// The array that holds the rows.
    const py::array& Array() const { return array_; }

    /// Throws Error (kUnsupported) for a sample that is not finite or the no-value marker.
    void RequireValues() const;

    /// An array for `length` results per row, with the axis where it was.
    template <typename Result>
    py::array_t<Result> Make(std::size_t length) const {
        if (IsSingle()) return NewArray<Result>(length);
        std::vector<py::ssize_t> shape(array_.shape(), array_.shape() + array_.ndim());
        shape.back() = static_cast<py::ssize_t>(length);
        return NewArray<Result>(shape);
    }
    /// What Make gave, as the caller wants it.
    py::array Placed(py::array results) const;

private:
    const char* name_;
    py::array array_;
    const Number* data_;
    std::size_t count_;
    std::size_t length_;
    py::ssize_t axis_;
};
using Rows = RowsOf<double>;
using ComplexRows = RowsOf<std::complex<double>>;

/// One row of real samples.
Rows OneRow(const py::object& array, const char* name);
/// The samples of a list of numbers.
std::vector<double> NumbersOf(const py::object& array, const char* name);

/// Real and imaginary parts side by side.
inline std::span<const double> PartsOf(std::span<const double> numbers) {
    return numbers;
}
inline std::span<const double> PartsOf(std::span<const std::complex<double>> numbers) {
    return {reinterpret_cast<const double*>(numbers.data()), 2 * numbers.size()};
}

/// Whether an array holds complex numbers.
bool IsComplex(const py::object& array);

/// When samples are looked at for those that are no numbers: before the work, or only when results are none
/// either, where every sample that counts shows in them.
enum class Looks { before, after };

/// Calls work(row, results) for each row with the lock released, rows side by side on the cores.
template <typename Result, class Source, class Work>
py::array MapRows(const Source& rows, std::size_t length, Work work, Looks looks = Looks::before) {
    py::array_t<Result> results = rows.template Make<Result>(length);
    Result* const data = results.mutable_data();
    const auto one = [&](std::size_t row) {
        work(rows.Row(row), std::span<Result>(data + row * length, length));
    };
    {
        const py::gil_scoped_release unlocked;
        if (looks == Looks::before) rows.RequireValues();
        if (rows.Count() == 1) {
            one(0);
        } else {
            ForEachInParallel(rows.Count(), one);
        }
        if (looks == Looks::after &&
            !AreValues(PartsOf(std::span<const Result>(data, rows.Count() * length))))
            rows.RequireValues();
    }
    return rows.Placed(std::move(results));
}

/// An array that owns the numbers of a vector.
template <typename Number>
py::array_t<Number> ArrayOf(std::vector<Number> numbers) {
    auto* const owned = new std::vector<Number>(std::move(numbers));
    const py::capsule owner(owned, [](void* vector) { delete static_cast<std::vector<Number>*>(vector); });
    return py::array_t<Number>({static_cast<py::ssize_t>(owned->size())},
                               {static_cast<py::ssize_t>(sizeof(Number))}, owned->data(), owner);
}
py::array_t<std::complex<double>> ComplexArrayOf(std::span<const double> real,
                                                 std::span<const double> imaginary);
/// 0, step, 2 step ...
py::array_t<double> Ramp(std::size_t count, double step, double start = 0.0);

/// A view of samples that belong to `owner`, which lives as long as the view; samples that are const are not
/// written to.
template <typename Number>
py::array_t<std::remove_const_t<Number>> ViewOf(std::span<Number> samples, const py::object& owner) {
    using Value = std::remove_const_t<Number>;
    py::array_t<Value> view({static_cast<py::ssize_t>(samples.size())},
                            {static_cast<py::ssize_t>(sizeof(Number))}, samples.data(), owner);
    if (std::is_const_v<Number>)
        py::detail::array_proxy(view.ptr())->flags &= ~py::detail::npy_api::NPY_ARRAY_WRITEABLE_;
    return view;
}

/// UTF-8 text of a path.
std::string PathOf(const py::object& path);
/// The pieces of what is one or a list of them; none of None.
std::vector<py::object> PiecesOf(const py::object& listed);
/// A str as wide text.
std::wstring WideOf(const py::object& text, const char* name);

}  // namespace kvx::python

namespace pybind11::detail {
#define KVX_ARGUMENT_NAME(Name)                         \
    template <>                                         \
    struct handle_type_name<kvx::python::Name> {        \
        static constexpr auto name = const_name(#Name); \
    };
KVX_ARGUMENT_NAME(ArrayLike)
KVX_ARGUMENT_NAME(UnitLike)
KVX_ARGUMENT_NAME(WindowLike)
KVX_ARGUMENT_NAME(PathLike)
KVX_ARGUMENT_NAME(Listed)
KVX_ARGUMENT_NAME(Floats)
#undef KVX_ARGUMENT_NAME
}  // namespace pybind11::detail
