// Helpers of the teska tests: running the executable (optionally under shell settings such as a
// file-size limit, or with text on its standard input), reading a report back, and a small JSON
// reader for `teska info --json`.
#ifndef TESKA_TEST_SUPPORT_H
#define TESKA_TEST_SUPPORT_H

#include <cctype>
#include <cstdlib>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "test_support.h"

namespace teska_test {

using test_support::folder_entries;
using test_support::read_file;
using test_support::RunResult;

inline RunResult run_teska(const std::vector<std::string>& args, const std::string& dir,
                           const std::string& stdin_text = "",
                           const std::string& shell_prefix = "") {
    return test_support::run_program(TESKA_EXE, args, dir, stdin_text, shell_prefix);
}

// The lines of a text, without their line ends.
inline std::vector<std::string> lines_of(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) lines.push_back(line);
    return lines;
}

// A report's rows as fields, the header left out.
inline std::vector<std::vector<std::string>> report_rows(const std::string& path) {
    return test_support::tsv_rows(path);
}

// A JSON value: null, bool, number, string, array or object.
struct Json {
    enum Kind { kNull, kBool, kNumber, kString, kArray, kObject } kind = kNull;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<Json> items;
    std::map<std::string, Json> members;
    const Json& operator[](const std::string& key) const {
        static const Json kMissing;
        const auto it = members.find(key);
        return it == members.end() ? kMissing : it->second;
    }
};

// Parses a whole JSON text; false when it is not one JSON value (trailing text included).
class JsonReader {
   public:
    static bool parse(const std::string& text, Json* out) {
        JsonReader reader(text);
        return reader.value(out) && (reader.skip(), reader.at_ == text.size());
    }

   private:
    explicit JsonReader(const std::string& text) : s_(text) {}
    const std::string& s_;
    std::size_t at_ = 0;
    void skip() {
        while (at_ < s_.size() && std::isspace(static_cast<unsigned char>(s_[at_]))) ++at_;
    }
    bool literal(const char* word) {
        const std::string w = word;
        if (s_.compare(at_, w.size(), w) != 0) return false;
        at_ += w.size();
        return true;
    }
    bool string(std::string* out) {
        if (s_[at_] != '"') return false;
        for (++at_; at_ < s_.size() && s_[at_] != '"'; ++at_) {
            if (s_[at_] == '\\' && ++at_ < s_.size()) {
                const char e = s_[at_];
                if (e == 'u') {
                    *out +=
                        static_cast<char>(std::strtol(s_.substr(at_ + 1, 4).c_str(), nullptr, 16));
                    at_ += 4;
                } else {
                    *out += e == 'n' ? '\n' : e == 't' ? '\t' : e == 'r' ? '\r' : e;
                }
            } else {
                *out += s_[at_];
            }
        }
        return at_++ < s_.size();
    }
    bool value(Json* v) {
        skip();
        if (at_ >= s_.size()) return false;
        const char c = s_[at_];
        if (c == '{' || c == '[') {  // members "key": value, or items, up to the closing bracket
            const bool object = c == '{';
            v->kind = object ? Json::kObject : Json::kArray;
            ++at_;
            skip();
            if (s_[at_] == (object ? '}' : ']')) return ++at_, true;
            for (;; ++at_) {
                std::string key;
                skip();
                if (object && (!string(&key) || (skip(), s_[at_++] != ':'))) return false;
                if (!object) v->items.emplace_back();
                if (!value(object ? &v->members[key] : &v->items.back())) return false;
                skip();
                if (s_[at_] != ',') return s_[at_++] == (object ? '}' : ']');
            }
        }
        if (c == '"') return v->kind = Json::kString, string(&v->text);
        if (literal("null")) return v->kind = Json::kNull, true;
        if (literal("true")) return v->kind = Json::kBool, v->boolean = true, true;
        if (literal("false")) return v->kind = Json::kBool, true;
        char* end = nullptr;
        v->kind = Json::kNumber;
        v->number = std::strtod(s_.c_str() + at_, &end);
        if (end == s_.c_str() + at_) return false;
        at_ = static_cast<std::size_t>(end - s_.c_str());
        return true;
    }
};

}  // namespace teska_test

#endif  // TESKA_TEST_SUPPORT_H
