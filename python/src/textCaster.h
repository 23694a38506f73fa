// How texts go to Python and back: as UTF-8, and bytes that are none as Python has them in names of files
// (surrogateescape), so that every text can be read, and comes back as it was.
#pragma once

#include <pybind11/cast.h>
#include <string>

namespace pybind11::detail {

template <>
struct type_caster<std::string> {
  PYBIND11_TYPE_CASTER(std::string, const_name("str"));

  bool load(handle source, bool)
  {
    object bytes = reinterpret_borrow<object>(source);
    if (source && PyUnicode_Check(source.ptr()))
      bytes = reinterpret_steal<object>(PyUnicode_AsEncodedString(source.ptr(), "utf-8", "surrogateescape"));
    if (!bytes)
      PyErr_Clear();
    if (!bytes || !PyBytes_Check(bytes.ptr()))
      return false;
    value.assign(PyBytes_AS_STRING(bytes.ptr()), static_cast<std::size_t>(PyBytes_GET_SIZE(bytes.ptr())));
    return true;
  }

  static handle cast(const std::string& text, return_value_policy, handle)
  {
    PyObject* made =
        PyUnicode_DecodeUTF8(text.data(), static_cast<Py_ssize_t>(text.size()), "surrogateescape");
    if (!made)
      throw error_already_set();
    return made;
  }
};

}  // namespace pybind11::detail
