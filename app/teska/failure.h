// A failure of one input, with the place it was found: printed "FILE:LINE:COLUMN: message"
// when line and column are known, "FILE:LINE: message" with a line only, "FILE: message"
// otherwise.
#ifndef TESKA_CLI_FAILURE_H
#define TESKA_CLI_FAILURE_H

#include <stdexcept>
#include <string>

namespace teska::cli {

std::string positioned_message(const std::string& file, int line, int column,
                               const std::string& message);

class Failure : public std::runtime_error {
   public:
    Failure(const std::string& file, const std::string& message, int line = 0, int column = 0)
        : std::runtime_error(positioned_message(file, line, column, message)),
          file_(file),
          message_(message),
          line_(line),
          column_(column) {}
    const std::string& file() const { return file_; }
    const std::string& message() const { return message_; }
    int line() const { return line_; }      // 0 when unknown
    int column() const { return column_; }  // 0 when unknown

   private:
    std::string file_;
    std::string message_;
    int line_;
    int column_;
};

// A command line that cannot be carried out as given: teska prints the message and ends with
// status 2 before any input is read.
class UsageError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};

// A positioned text "FILE:LINE:COLUMN: message" (as the readers format warnings) with
// "warning: " put before its message. A text that does not start with file is returned with
// "FILE: warning: " before it.
std::string as_warning(const std::string& file, const std::string& positioned);

}  // namespace teska::cli

#endif  // TESKA_CLI_FAILURE_H
