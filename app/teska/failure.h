// A failure of one input found by the command line itself: a teska::Error, printed
// "FILE:LINE:COLUMN: message", "FILE:LINE: message" or "FILE: message".
#ifndef TESKA_CLI_FAILURE_H
#define TESKA_CLI_FAILURE_H

#include <stdexcept>
#include <string>

#include "teska/error.h"

namespace teska::cli {

class Failure : public teska::Error {
   public:
    Failure(const std::string& file, const std::string& message, int line = 0, int column = 0)
        : teska::Error(file, line, column, message) {}
};

// A command line that cannot be carried out as given: teska prints the message and ends with
// status 2 before any input is read.
class UsageError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};

}  // namespace teska::cli

#endif  // TESKA_CLI_FAILURE_H
