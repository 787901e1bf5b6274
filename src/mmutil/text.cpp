// Text utilities: trimming, case-insensitive comparison, splitting and file-name helpers used
// by the structure readers and the driver.
#include <algorithm>
#include <cctype>
#include <cstring>
#include <cwctype>
#include <sstream>
#include <utility>

#include "teska/mmutil.h"

namespace mmutil {

namespace {

constexpr const char* kPlainBlanks = " \t";
constexpr const char* kLineBlanks = " \t\n\r";
// Quoted CIF values: quotes go with the blanks at both ends.
constexpr const char* kQuotedLeft = " \t\"'";
constexpr const char* kQuotedRight = " \t\n\r\"'";

int lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
int upper(char c) { return std::toupper(static_cast<unsigned char>(c)); }

std::string& erase_leading(std::string& s, const char* set) {
    s.erase(0, s.find_first_not_of(set));
    return s;
}

// npos + 1 wraps to 0, so a text made only of set characters becomes empty.
std::string& erase_trailing(std::string& s, const char* set) {
    s.erase(s.find_last_not_of(set) + 1);
    return s;
}

bool is_plain_blank(char c) { return c == ' ' || c == '\t'; }
bool is_line_blank(char c) { return is_plain_blank(c) || c == '\n' || c == '\r'; }
bool is_word_separator(char c) { return is_plain_blank(c) || c == '\n'; }
bool is_trailing_space(char c) { return c == ' ' || (c >= 8 && c <= 13); }

// Tokens are the runs of characters outside delims. The first delimiter is appended so that
// the last token ends on a delimiter too.
void append_tokens(std::string text, const std::string& delims, std::vector<std::string>& out) {
    if (!delims.empty()) text += delims[0];
    std::size_t start = text.find_first_not_of(delims);
    while (start != std::string::npos) {
        const std::size_t end = text.find_first_of(delims, start);
        out.push_back(text.substr(start, end - start));
        start = end == std::string::npos ? end : text.find_first_not_of(delims, end);
    }
}

}  // namespace

// ----- Trimming -----

std::string& triml(std::string& s) { return erase_leading(s, kPlainBlanks); }
std::string& trimr(std::string& s) { return erase_trailing(s, kLineBlanks); }
std::string& trim(std::string& s) { return trimr(triml(s)); }

std::string& sg_triml(std::string& s) { return erase_leading(s, kQuotedLeft); }
std::string& sg_trimr(std::string& s) { return erase_trailing(s, kQuotedRight); }

std::string& sg_trim(std::string& s) {
    sg_trimr(sg_triml(s));
    s.erase(std::remove(s.begin(), s.end(), ' '), s.end());
    return s;
}

// A text made only of blanks is left alone, so that c_trim keeps one blank of it.
char* c_triml(char* s) {
    if (s == nullptr) return s;
    std::size_t skip = 0;
    while (is_plain_blank(s[skip])) ++skip;
    if (skip > 0 && s[skip] != '\0') std::memmove(s, s + skip, std::strlen(s + skip) + 1);
    return s;
}

char* c_trimr(char* s) {
    if (s == nullptr) return s;
    for (std::size_t last = std::strlen(s); last > 1 && is_line_blank(s[last - 1]); --last)
        s[last - 1] = '\0';
    return s;
}

char* c_trim(char* s) { return c_trimr(c_triml(s)); }

char* strhed(char** s) {
    if (s == nullptr || *s == nullptr) return nullptr;
    char* p = *s;
    while (is_word_separator(*p)) ++p;
    char* word = p;
    while (*p != '\0' && !is_word_separator(*p)) ++p;
    if (*p != '\0') *p++ = '\0';
    while (is_word_separator(*p)) ++p;
    char* end = p + std::strlen(p);
    while (end > p && is_trailing_space(end[-1])) *--end = '\0';
    *s = p;
    return word;
}

// ----- Comparison -----

bool ci_char_traits::eq(char a, char b) { return lower(a) == lower(b); }
bool ci_char_traits::ne(char a, char b) { return lower(a) != lower(b); }
bool ci_char_traits::lt(char a, char b) { return lower(a) < lower(b); }

int ci_char_traits::compare(const char* s1, const char* s2, std::size_t n) {
    for (std::size_t i = 0; i < n; ++i) {
        if (s1[i] == '\0') return s2[i] == '\0' ? 0 : -1;
        if (s2[i] == '\0') return 1;
        if (s1[i] == s2[i]) continue;
        if (lower(s1[i]) < lower(s2[i])) return -1;
        if (lower(s1[i]) > lower(s2[i])) return 1;
    }
    return 0;
}

// Not found gives the end of the n characters, not a null pointer.
const char* ci_char_traits::find(const char* s, int n, char c) {
    int i = 0;
    while (i < n && lower(s[i]) != lower(c)) ++i;
    return s + (n < 1 ? 0 : i);
}

bool iequals(const std::string& a, const std::string& b) {
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (upper(a[i]) != upper(b[i])) return false;
    return true;
}

// Stops where both texts end, so that n beyond their length reads nothing past them.
int my_strcasestr(const char* a, const char* b, int n) {
    for (int i = 0; i < n; ++i) {
        if (lower(a[i]) != lower(b[i])) return 0;
        if (a[i] == '\0') break;
    }
    return 1;
}

int isalpha(int c) {
    if (c >= 0 && c <= 127) return std::isalpha(c) != 0;
    return std::iswalpha(static_cast<std::wint_t>(c)) != 0;
}

bool isAlphabetical(const std::string& s) {
    if (s.empty()) return false;
    for (char c : s)
        if (!mmutil::isalpha(static_cast<unsigned char>(c))) return false;
    return true;
}

// ----- Splitting -----

bool tokenize(std::vector<std::string>& out, const char* line, const char* delims) {
    out.clear();
    if (line == nullptr || delims == nullptr) return false;
    append_tokens(line, delims, out);
    return true;
}

bool tokenize(std::vector<std::string>& out, std::string& line, const char* delims) {
    out.clear();
    if (delims == nullptr) return false;
    append_tokens(line, delims, out);
    return true;
}

void split_to_words(std::string text, std::string delims, std::vector<std::string>* out) {
    if (out != nullptr) append_tokens(std::move(text), delims, *out);
}

std::vector<std::string> split_string(std::string text) {
    std::istringstream words(text);
    std::vector<std::string> out;
    for (std::string word; words >> word;) out.push_back(word);
    return out;
}

std::vector<std::string> split_string_dl(std::string text, char delim) {
    std::vector<std::string> out;
    std::string piece;
    for (char c : text) {
        if (c != delim) {
            piece += c;
        } else if (!piece.empty()) {
            out.push_back(piece);
            piece.clear();
        }
    }
    if (!piece.empty()) out.push_back(piece);
    return out;
}

// ----- File names and labels -----

std::string RemoveWhiteSpaceUnderscore(const std::string& s) {
    std::string kept;
    for (char c : s)
        if (c != ' ' && c != '_') kept += c;
    return kept;
}

char* ReplaceSlashWithUnderscore(char* s) {
    for (char* p = s; p != nullptr && *p != '\0'; ++p)
        if (*p == '/' || *p == '\\') *p = '_';
    return s;
}

char* ReplaceBackSlashWithSlash(char* s) {
    for (char* p = s; p != nullptr && *p != '\0'; ++p)
        if (*p == '\\') *p = '/';
    return s;
}

std::string remove_filename_extension(const std::string& name) {
    return name.substr(0, name.rfind('.'));
}

std::string base_filename(const std::string& path) {
    const std::size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

// Cuts without rounding, then drops trailing zeros and a point left last: 1.2500 -> 1.25.
char* morphNumericString(char* s, int ndigits) {
    char* point = std::strchr(s, '.');
    if (point == nullptr) return s;
    if (ndigits >= 0 && std::strlen(point + 1) > static_cast<std::size_t>(ndigits))
        point[1 + ndigits] = '\0';
    char* end = s + std::strlen(s);
    while (end[-1] == '0') *--end = '\0';
    if (end[-1] == '.') end[-1] = '\0';
    return s;
}

}  // namespace mmutil
