// Positioned errors and warnings of the database reader, and its small text helpers.
#include <cctype>
#include <string>
#include <vector>

#include "database_detail.h"

namespace teska {

namespace database_detail {

std::string positioned(const std::string& file, int line, int column, const std::string& message) {
    std::string text = file;
    if (line > 0) {
        text += ':' + std::to_string(line);
        if (column > 0) text += ':' + std::to_string(column);
    }
    return text + ": " + message;
}

std::string lower(std::string text) {
    for (char& c : text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

std::string join(const std::vector<std::string>& parts, const std::string& separator) {
    std::string text;
    for (std::size_t i = 0; i < parts.size(); ++i) text += (i ? separator : "") + parts[i];
    return text;
}

std::string count_of(long long n, const char* singular, const char* plural) {
    return std::to_string(n) + " " + (n == 1 ? singular : plural);
}

}  // namespace database_detail

Error::Error(std::string file, int line, int column, const std::string& message)
    : std::runtime_error(database_detail::positioned(file, line, column, message)),
      file_(std::move(file)),
      line_(line),
      column_(column),
      message_(message) {}

}  // namespace teska
