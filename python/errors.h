// Errors of the Python module: every failure of reading or writing leaves as teska.Error, with
// the file, line and column it was found at; the process never exits.
#ifndef TESKA_PYTHON_ERRORS_H
#define TESKA_PYTHON_ERRORS_H

#include <pybind11/pybind11.h>

#include <stdexcept>
#include <string>

#include "fatal.h"

namespace teska::python {

class PositionedError : public std::runtime_error {
   public:
    PositionedError(std::string file, int line, int column, const std::string& message);
    const std::string& file() const { return file_; }
    int line() const { return line_; }
    int column() const { return column_; }
    const std::string& message() const { return message_; }

   private:
    std::string file_;
    int line_;
    int column_;
    std::string message_;
};

// Adds teska.Error (a subclass of Exception with the attributes file, line, column and
// message; str() is "FILE:LINE:COLUMN: message") and translates PositionedError into it.
void register_errors(pybind11::module_& m);

// Inside a catch block: rethrows the exception being handled, a failure of the readers or
// writers as a PositionedError naming file (or the file the failure names), anything else as
// it is.
[[noreturn]] void rethrow_positioned(const std::string& file);

// Runs work with the store's fatal errors raised instead of ending the process, and turns
// every failure of the readers and writers into a PositionedError.
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
