// teska.Error and the translation of the readers' and writers' failures into it.
#include "errors.h"

#include "teska/error.h"

namespace py = pybind11;

namespace teska::python {

namespace {

// The exception type, created once with the module and kept for the life of the process.
PyObject* error_type = nullptr;

}  // namespace

void register_errors(py::module_& m) {
    error_type = PyErr_NewExceptionWithDoc(
        "teska.Error",
        "A file that cannot be read or written. Attributes: file, line and column (0 when "
        "unknown), message.",
        PyExc_Exception, nullptr);
    if (error_type == nullptr) throw py::error_already_set();
    m.add_object("Error", py::handle(error_type));

    py::register_exception_translator([](std::exception_ptr thrown) {
        try {
            if (thrown) std::rethrow_exception(thrown);
        } catch (const teska::Error& e) {
            py::object error = py::reinterpret_borrow<py::object>(error_type)(e.what());
            error.attr("file") = e.file();
            error.attr("line") = e.line();
            error.attr("column") = e.column();
            error.attr("message") = e.message();
            PyErr_SetObject(error_type, error.ptr());
        }
    });
}

}  // namespace teska::python
