// Errors of the Python module: every failure of reading or writing leaves as teska.Error, with
// the file, line and column it was found at; the process never exits.
#ifndef TESKA_PYTHON_ERRORS_H
#define TESKA_PYTHON_ERRORS_H

#include <pybind11/pybind11.h>

#include <string>

#include "fatal.h"
#include "teska/database.h"

namespace teska::python {

// Adds teska.Error (a subclass of Exception with the attributes file, line, column and
// message; str() is "FILE:LINE:COLUMN: message") and translates teska::Error into it.
void register_errors(pybind11::module_& m);

// Inside a catch block: rethrows the exception being handled, a failure of the readers or
// writers as a teska::Error naming file (or the file the failure names), anything else as it
// is.
[[noreturn]] void rethrow_positioned(const std::string& file);

// Runs work with the store's fatal errors raised instead of ending the process, and turns
// every failure of the readers and writers into a teska::Error.
template <typename Work>
auto with_errors_of(const std::string& file, Work&& work) -> decltype(work()) {
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    try {
        return work();
    } catch (...) {
        rethrow_positioned(file);
    }
}

}  // namespace teska::python

#endif  // TESKA_PYTHON_ERRORS_H
