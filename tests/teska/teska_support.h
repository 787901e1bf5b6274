// Helpers of the teska tests: running the executable (optionally under shell settings such as a
// file-size limit, or with text on its standard input), reading a report back, and a small JSON
// reader for `teska info --json`.
#ifndef TESKA_TEST_SUPPORT_H
#define TESKA_TEST_SUPPORT_H

#include <dirent.h>

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

using test_support::read_file;
using test_support::RunResult;
using test_support::shell_quote;

// Runs teska with args inside dir; shell_prefix runs first in the same shell (e.g. "ulimit -f
// 64;"), stdin_text is the standard input.
inline RunResult run_teska(const std::vector<std::string>& args, const std::string& dir,
                           const std::string& stdin_text = "",
                           const std::string& shell_prefix = "") {
    test_support::write_file(dir + "/.stdin", stdin_text);
    std::string command =
        "cd " + shell_quote(dir) + " && " + shell_prefix + " LC_ALL=C " + shell_quote(TESKA_EXE);
    for (const auto& arg : args) command += " " + shell_quote(arg);
    command += " > .stdout 2> .stderr < .stdin";
    const int raw = std::system(("bash -c " + shell_quote(command)).c_str());
    RunResult result{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read_file(dir + "/.stdout"),
                     read_file(dir + "/.stderr")};
    for (const char* name : {"/.stdout", "/.stderr", "/.stdin"}) std::remove((dir + name).c_str());
    return result;
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
    std::vector<std::vector<std::string>> rows;
    const std::vector<std::string> lines = lines_of(read_file(path));
    for (std::size_t i = 1; i < lines.size(); ++i) {
        std::vector<std::string> fields;
        std::size_t start = 0;
        for (std::size_t tab; (tab = lines[i].find('\t', start)) != std::string::npos;
             start = tab + 1)
            fields.push_back(lines[i].substr(start, tab - start));
        fields.push_back(lines[i].substr(start));
        rows.push_back(fields);
    }
    return rows;
}

// Names in a folder (not "." and ".."), hidden ones included.
inline std::set<std::string> folder_entries(const std::string& path) {
    std::set<std::string> names;
    if (DIR* dir = opendir(path.c_str())) {
        while (const dirent* entry = readdir(dir))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
                names.insert(entry->d_name);
        closedir(dir);
    }
    return names;
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
        if (c == '{') {
            v->kind = Json::kObject;
            ++at_;
            skip();
            if (s_[at_] == '}') return ++at_, true;
            for (;;) {
                std::string key;
                skip();
                if (!string(&key)) return false;
                skip();
                if (s_[at_++] != ':' || !value(&v->members[key])) return false;
                skip();
                if (s_[at_] == ',') {
                    ++at_;
                    continue;
                }
                return s_[at_++] == '}';
            }
        }
        if (c == '[') {
            v->kind = Json::kArray;
            ++at_;
            skip();
            if (s_[at_] == ']') return ++at_, true;
            for (;;) {
                v->items.emplace_back();
                if (!value(&v->items.back())) return false;
                skip();
                if (s_[at_] == ',') {
                    ++at_;
                    continue;
                }
                return s_[at_++] == ']';
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
