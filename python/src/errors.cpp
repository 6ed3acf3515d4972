// SPDX-License-Identifier: MIT
#include "errors.h"

#include <cstdint>
#include <exception>
#include <optional>

namespace kvx::python {
namespace {

py::str Text(const std::string& text) {
    return py::reinterpret_steal<py::str>(
        PyUnicode_DecodeUTF8(text.data(), static_cast<py::ssize_t>(text.size()), "replace"));
}

py::dict PlaceOf(const ErrorPlace& place) {
    py::dict dict;
    const auto add = [&](const char* name, const std::optional<std::int64_t>& number) {
        if (number) dict[name] = *number;
    };
    if (!place.path.empty()) dict["path"] = Text(place.path);
    add("record", place.record);
    add("channel", place.channel);
    add("sample", place.sample);
    add("line", place.line);
    add("column", place.column);
    add("byte", place.byte);
    return dict;
}

void Raise(const Error& error) {
    const py::sequence classes = py::module_::import("kvx.errors").attr("_CLASSES");
    const py::object type = classes[static_cast<std::size_t>(error.Kind())];
    const py::object exception =
        type(Text(error.Sentence()), PlaceOf(error.Place()), Text(std::string(error.what())));
    PyErr_SetObject(type.ptr(), exception.ptr());
}

}  // namespace

void BindErrors() {
    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const Error& error) {
            Raise(error);
        } catch (const CFileException& error) {
            Raise(Error(error));
        }
    });
}

void Refuse(const std::string& sentence) {
    throw Error(ErrorKind::kBadValue, sentence);
}

ProgressFunction Interruptible() {
    return [](std::uint64_t, std::uint64_t) {
        const py::gil_scoped_acquire locked;
        if (PyErr_CheckSignals() != 0) throw py::error_already_set();
    };
}

}  // namespace kvx::python
