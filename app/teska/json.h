// Just enough JSON for `teska info --json`: escaped strings, numbers, arrays and objects built
// as text.
#ifndef TESKA_CLI_JSON_H
#define TESKA_CLI_JSON_H

#include <string>
#include <utility>
#include <vector>

namespace teska::cli {

std::string json_string(const std::string& text);
// Shortest round-trip-safe text of the number; null when it is not finite.
std::string json_number(double value);
std::string json_string_array(const std::vector<std::string>& texts);

// An object whose members keep the order they were added in.
class JsonObject {
   public:
    JsonObject& add(const std::string& key, const std::string& json_value);
    JsonObject& add_string(const std::string& key, const std::string& text);
    JsonObject& add_number(const std::string& key, double value);
    // Members one a line, indented by indent blanks (the braces by indent - 2).
    std::string text(int indent = 2) const;

   private:
    std::vector<std::pair<std::string, std::string>> members_;
};

}  // namespace teska::cli

#endif  // TESKA_CLI_JSON_H
