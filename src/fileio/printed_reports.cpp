// Reading the store's own reports out of what it printed.
#include "teska/printed_reports.h"

#include <sstream>

namespace teska {

namespace {

const char kFatalHeader[] = "ERROR  transport : ";
const char kWarning[] = "WARNING: ";
const char kContinuation[] = "         ";

std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

bool starts_with(const std::string& text, const char* prefix) {
    return text.compare(0, std::char_traits<char>::length(prefix), prefix) == 0;
}

// Appends line to text with one blank between, blanks inside collapsed.
void append_words(std::string& text, const std::string& line) {
    std::istringstream words(line);
    for (std::string word; words >> word;) {
        if (!text.empty()) text += ' ';
        text += word;
    }
}

}  // namespace

std::vector<std::string> store_warnings(const std::string& captured) {
    std::vector<std::string> warnings;
    bool in_warning = false;
    for (const std::string& line : lines_of(captured)) {
        if (line.find(kFatalHeader) != std::string::npos) break;  // its message is the error
        if (starts_with(line, kWarning)) {
            warnings.emplace_back();
            append_words(warnings.back(), line.substr(sizeof kWarning - 1));
            in_warning = true;
        } else if (in_warning && starts_with(line, kContinuation)) {
            append_words(warnings.back(), line);
        } else {
            in_warning = false;
        }
    }
    return warnings;
}

std::string fatal_report_text(const std::string& report) {
    std::string message;
    for (std::string line : lines_of(report)) {
        if (starts_with(line, kWarning)) line = line.substr(sizeof kWarning - 1);
        if (starts_with(line, "ERROR: ")) line = line.substr(7);
        append_words(message, line);
    }
    return message;
}

std::string store_fatal_message(const std::string& captured) {
    const std::size_t header = captured.rfind(kFatalHeader);
    if (header == std::string::npos) return std::string();
    const std::size_t end_of_header = captured.find('\n', header);
    if (end_of_header == std::string::npos) return std::string();
    return fatal_report_text(captured.substr(end_of_header + 1));
}

std::string last_line(const std::string& captured) {
    const std::vector<std::string> lines = lines_of(captured);
    for (auto it = lines.rbegin(); it != lines.rend(); ++it) {
        std::string words;
        append_words(words, *it);
        if (!words.empty()) return words;
    }
    return std::string();
}

}  // namespace teska
