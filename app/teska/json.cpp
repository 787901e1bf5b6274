// JSON text.
#include "json.h"

#include <cmath>
#include <cstdio>

namespace teska::cli {

std::string json_string(const std::string& text) {
    std::string out = "\"";
    for (const char c : text) {
        switch (c) {
            case '"':
                out += "\\\"";
                break;
            case '\\':
                out += "\\\\";
                break;
            case '\n':
                out += "\\n";
                break;
            case '\r':
                out += "\\r";
                break;
            case '\t':
                out += "\\t";
                break;
            default:
                if (static_cast<unsigned char>(c) < 0x20) {
                    char escaped[8];
                    std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                    out += escaped;
                } else {
                    out += c;
                }
        }
    }
    return out + "\"";
}

std::string json_number(double value) {
    if (!std::isfinite(value)) return "null";
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

std::string json_string_array(const std::vector<std::string>& texts) {
    std::string out = "[";
    for (std::size_t i = 0; i < texts.size(); ++i) out += (i ? ", " : "") + json_string(texts[i]);
    return out + "]";
}

JsonObject& JsonObject::add(const std::string& key, const std::string& json_value) {
    members_.emplace_back(key, json_value);
    return *this;
}

JsonObject& JsonObject::add_string(const std::string& key, const std::string& text) {
    return add(key, json_string(text));
}

JsonObject& JsonObject::add_number(const std::string& key, double value) {
    return add(key, json_number(value));
}

std::string JsonObject::text(int indent) const {
    const std::string pad(static_cast<std::size_t>(indent), ' ');
    const std::string brace_pad(static_cast<std::size_t>(indent > 2 ? indent - 2 : 0), ' ');
    std::string out = "{";
    for (std::size_t i = 0; i < members_.size(); ++i)
        out +=
            (i ? ",\n" : "\n") + pad + json_string(members_[i].first) + ": " + members_[i].second;
    return out + "\n" + brace_pad + "}";
}

}  // namespace teska::cli
