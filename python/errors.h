// teska.Error: every failure of reading or writing, with the file, line and column it was
// found at.
#ifndef TESKA_PYTHON_ERRORS_H
#define TESKA_PYTHON_ERRORS_H

#include <pybind11/pybind11.h>

namespace teska::python {

// Adds teska.Error (a subclass of Exception with the attributes file, line, column and
// message; str() is "FILE:LINE:COLUMN: message") and translates teska::Error into it.
void register_errors(pybind11::module_& m);

}  // namespace teska::python

#endif  // TESKA_PYTHON_ERRORS_H
