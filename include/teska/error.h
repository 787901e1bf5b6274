// The one error type of the library: what went wrong, and the file, line and column where.
#ifndef TESKA_ERROR_H
#define TESKA_ERROR_H

#include <stdexcept>
#include <string>

namespace teska {

// An error with the place it was found: "FILE:LINE:COLUMN: message" when line and column are
// known, "FILE:LINE: message" with a line only, "FILE: message" otherwise.
class Error : public std::runtime_error {
   public:
    Error(std::string file, int line, int column, const std::string& message);
    const std::string& file() const { return file_; }
    int line() const { return line_; }      // 0 when unknown
    int column() const { return column_; }  // 0 when unknown
    const std::string& message() const { return message_; }

   private:
    std::string file_;
    int line_;
    int column_;
    std::string message_;
};

}  // namespace teska

#endif  // TESKA_ERROR_H
