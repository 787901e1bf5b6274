// Positioned messages.
#include "failure.h"

#include <cctype>

namespace teska::cli {

std::string positioned_message(const std::string& file, int line, int column,
                               const std::string& message) {
    std::string text = file;
    if (line > 0) text += ":" + std::to_string(line);
    if (line > 0 && column > 0) text += ":" + std::to_string(column);
    return text + ": " + message;
}

std::string as_warning(const std::string& file, const std::string& positioned) {
    if (positioned.compare(0, file.size(), file) != 0 || positioned.size() <= file.size() ||
        positioned[file.size()] != ':')
        return file + ": warning: " + positioned;
    // Skip ":LINE:COLUMN" (digits and colons) to the blank that starts the message.
    std::size_t at = file.size();
    while (at < positioned.size() &&
           (positioned[at] == ':' || std::isdigit(static_cast<unsigned char>(positioned[at]))))
        ++at;
    if (at >= positioned.size() || positioned[at] != ' ') return file + ": warning: " + positioned;
    return positioned.substr(0, at + 1) + "warning: " + positioned.substr(at + 1);
}

}  // namespace teska::cli
