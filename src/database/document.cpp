// Loading a CIF document: the file's text, the repairs of the known breakages of database
// files, the parse by gemmi's CIF 1.1 grammar without its strict checks, and the checks
// redone as warnings (a tag with no value, a tag or block name given twice).
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "database_detail.h"
#include "gemmi/cif.hpp"

namespace teska {
namespace database_detail {

namespace {

namespace cif = gemmi::cif;

constexpr std::size_t kMaxFileBytes = std::size_t{1} << 30;

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

bool starts_with_keyword(const std::string& text, std::size_t at, const char* keyword) {
    const std::size_t n = std::strlen(keyword);
    if (text.size() - at < n) return false;
    for (std::size_t i = 0; i < n; ++i)
        if (std::tolower(static_cast<unsigned char>(text[at + i])) != keyword[i]) return false;
    return true;
}

// An insertion into the text, at a byte offset.
struct Edit {
    std::size_t at;
    std::string text;
};

// One line of the text (from begin to before end, without its '\n'), scanned as the grammar
// tokenises it outside text fields. Repairs are collected as insertions.
class LineRepair {
   public:
    LineRepair(const std::string& text, std::size_t begin, std::size_t end, int number,
               Report& report, std::vector<Edit>& edits)
        : text_(text), begin_(begin), end_(end), number_(number), report_(report), edits_(edits) {}

    std::size_t first_token() const {
        std::size_t i = begin_;
        while (i < end_ && is_blank(text_[i])) ++i;
        return i;
    }

    bool is_blank_or_comment() const {
        const std::size_t i = first_token();
        return i >= end_ || text_[i] == '#';
    }

    // Turns the line into a comment.
    void comment_out() { edits_.push_back(Edit{first_token(), "#"}); }

    // "data_NAME rest": the rest becomes a comment.
    void comment_out_after_block_name(std::size_t at) {
        std::size_t name_end = at;
        while (name_end < end_ && !is_blank(text_[name_end])) ++name_end;
        std::size_t rest = name_end;
        while (rest < end_ && is_blank(text_[rest])) ++rest;
        if (rest >= end_ || text_[rest] == '#') return;
        report_.warn(number_, "text after the block name " + text_.substr(at, name_end - at) +
                                  " ignored: " + trimmed(rest));
        edits_.push_back(Edit{rest, "#"});
    }

    // Closes a quoted value that the line never closes; counts block headings on the way.
    void close_open_quote(int* headings) {
        // Most lines (loop rows) hold neither a quote nor a keyword's '_': nothing to do.
        const char* first = text_.data() + begin_;
        const std::size_t length = end_ - begin_;
        if (!std::memchr(first, '\'', length) && !std::memchr(first, '"', length) &&
            !std::memchr(first, '_', length))
            return;
        std::size_t i = begin_;
        while (i < end_) {
            const char c = text_[i];
            if (is_blank(c)) {
                ++i;
            } else if (c == '#') {
                return;
            } else if (c == '\'' || c == '"') {
                const std::size_t close = closing_quote(i);
                if (close == std::string::npos) {
                    std::size_t at = end_;
                    if (at > begin_ && text_[at - 1] == '\r') --at;
                    report_.warn(number_,
                                 "quoted value never closed; closed at the end of the "
                                 "line: " +
                                     trimmed(i));
                    edits_.push_back(Edit{at, std::string(1, c)});
                    return;
                }
                i = close + 1;
            } else {
                if (starts_with_keyword(text_, i, "data_") ||
                    starts_with_keyword(text_, i, "global_"))
                    ++*headings;
                while (i < end_ && !is_blank(text_[i])) ++i;
            }
        }
    }

   private:
    // A quote closes a value when blank, '#' or the end of the line follows it.
    std::size_t closing_quote(std::size_t open) const {
        for (std::size_t j = open + 1; j < end_; ++j)
            if (text_[j] == text_[open] &&
                (j + 1 == end_ || is_blank(text_[j + 1]) || text_[j + 1] == '#'))
                return j;
        return std::string::npos;
    }

    std::string trimmed(std::size_t from) const {
        std::size_t to = end_;
        while (to > from && is_blank(text_[to - 1])) --to;
        return text_.substr(from, to - from);
    }

    const std::string& text_;
    const std::size_t begin_, end_;
    const int number_;
    Report& report_;
    std::vector<Edit>& edits_;
};

bool is_data_heading(const std::string& text, std::size_t at) {
    return starts_with_keyword(text, at, "data_");
}

// A data item opens at this point of a line: a tag or a loop.
bool is_item_start(const std::string& text, std::size_t at) {
    return (at < text.size() && text[at] == '_') || starts_with_keyword(text, at, "loop_");
}

// The block name a file without a heading is read under: its name without folder and
// extension, blanks made '_'.
std::string block_name_of(const std::string& file) {
    std::string name = file.substr(file.find_last_of('/') + 1);
    const std::size_t dot = name.find_last_of('.');
    if (dot != std::string::npos && dot > 0) name.erase(dot);
    for (char& c : name)
        if (is_blank(c) || c == '\n') c = '_';
    return name.empty() ? "unnamed" : name;
}

void normalise_tag(std::string& tag) {
    for (char& c : tag) {
        if (c == '.')
            c = '_';
        else
            c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    }
}

// Tags lower-cased with '.' as '_'; a pair without a value gets "?"; repeated tags warned.
void check_block(cif::Block& block, Report& report) {
    std::map<std::string, int> first_line;
    auto note_tag = [&](const std::string& tag, int line) {
        const auto seen = first_line.emplace(tag, line);
        if (!seen.second)
            report.warn(line, "tag " + tag + " given again (first at line " +
                                  std::to_string(seen.first->second) + "); the first is used");
    };
    for (cif::Item& item : block.items) {
        if (item.type == cif::ItemType::Pair) {
            normalise_tag(item.pair[0]);
            if (item.pair[1].empty()) {
                report.warn(item.line_number, "tag " + item.pair[0] + " has no value");
                item.pair[1] = "?";
            }
            note_tag(item.pair[0], item.line_number);
        } else if (item.type == cif::ItemType::Loop) {
            for (std::string& tag : item.loop.tags) {
                normalise_tag(tag);
                note_tag(tag, item.line_number);
            }
        }
    }
}

}  // namespace

std::string read_text_file(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        throw Error(path, 0, 0, std::string("cannot open the file: ") + std::strerror(errno));
    struct stat info;
    if (fstat(fileno(file), &info) == 0 && S_ISDIR(info.st_mode)) {
        std::fclose(file);
        throw Error(path, 0, 0, "cannot read the file: it is a directory");
    }
    std::string text;
    char buffer[1 << 16];
    std::size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) {
        // A larger file is no crystal, and parsing one would take several times its size in
        // memory; an endless stream such as /dev/zero ends here too.
        if (text.size() + count > kMaxFileBytes) {
            std::fclose(file);
            throw Error(path, 0, 0, "the file is larger than 1 GiB");
        }
        text.append(buffer, count);
    }
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) throw Error(path, 0, 0, "cannot read the file");
    return text;
}

GrammarScan repair_grammar(const std::string& text, Report& report) {
    GrammarScan scan;
    std::vector<int>& heading_lines = scan.heading_lines;
    std::vector<std::pair<std::size_t, std::size_t>> lines;  // begin, end
    for (std::size_t begin = 0;;) {
        const std::size_t end = text.find('\n', begin);
        lines.emplace_back(begin, end == std::string::npos ? text.size() : end);
        if (end == std::string::npos) break;
        begin = end + 1;
    }
    // Without any data block heading or data item there is nothing to repair: the parse
    // reports it.
    bool has_heading = false;
    for (const auto& line : lines) {
        std::size_t i = line.first;
        while (i < line.second && is_blank(text[i])) ++i;
        if (is_data_heading(text, i) || is_item_start(text, i)) {
            has_heading = true;
            break;
        }
    }
    if (!has_heading) return scan;

    std::vector<Edit> edits;
    bool seen_data = false, in_text_field = false;
    int first_stray = 0, stray_lines = 0;
    for (std::size_t n = 0; n < lines.size(); ++n) {
        const std::size_t begin = lines[n].first, end = lines[n].second;
        const int number = static_cast<int>(n) + 1;
        LineRepair repair(text, begin, end, number, report, edits);
        const std::size_t first = repair.first_token();
        if (!seen_data) {
            if (is_data_heading(text, first)) {
                seen_data = true;
            } else if (is_item_start(text, first)) {
                // A file whose heading line was lost: its items open a block named after
                // the file, on the item's own line so that line numbers stay.
                seen_data = true;
                const std::string name = block_name_of(report.file());
                report.warn(number, "data items before any data_ heading: read as the block " +
                                        name);
                edits.push_back(Edit{first, "data_" + name + " "});
                heading_lines.push_back(number);
            } else {
                if (!repair.is_blank_or_comment()) {
                    if (stray_lines++ == 0) first_stray = number;
                    repair.comment_out();
                }
                continue;
            }
        }
        if (begin < end && text[begin] == ';') {
            in_text_field = !in_text_field;
            scan.open_text_field = in_text_field ? number : 0;
            continue;
        }
        if (in_text_field) continue;
        if (is_data_heading(text, first)) repair.comment_out_after_block_name(first);
        int headings = 0;
        repair.close_open_quote(&headings);
        for (int h = 0; h < headings; ++h) heading_lines.push_back(number);
    }
    if (stray_lines > 0)
        report.warn(first_stray, "text before the first data block ignored (" +
                                     count_of(stray_lines, "line", "lines") + ")");
    if (edits.empty()) return scan;

    scan.repaired = true;
    scan.text.reserve(text.size() + edits.size());
    std::size_t copied = 0;
    for (const Edit& edit : edits) {  // in text order: lines are scanned in order
        scan.text.append(text, copied, edit.at - copied);
        scan.text += edit.text;
        copied = edit.at;
    }
    scan.text.append(text, copied, std::string::npos);
    return scan;
}

gemmi::cif::Document parse_document(const std::string& text, Report& report,
                                    std::vector<int>* heading_lines_out) {
    const GrammarScan scan = repair_grammar(text, report);
    const std::vector<int>& heading_lines = scan.heading_lines;
    if (heading_lines_out) *heading_lines_out = heading_lines;
    const std::string& parsed = scan.repaired ? scan.text : text;
    cif::Document doc;
    try {
        tao::pegtl::memory_input<> in(parsed.data(), parsed.size(), report.file());
        doc.source = report.file();
        cif::parse_input(doc, in);
    } catch (const tao::pegtl::parse_error& e) {
        const auto& positions = e.positions();
        const int line = positions.empty() ? 0 : static_cast<int>(positions.front().line);
        const int column = positions.empty() ? 0 : static_cast<int>(positions.front().column);
        std::string message(e.message());
        // The grammar finds a text field unclosed at the end of the file; its ';' is where
        // the reader of the message must look.
        if (scan.open_text_field > 0 && message == "unterminated text field")
            message += " (opened at line " + std::to_string(scan.open_text_field) + ")";
        report.fail(line, column, message);
    } catch (const std::runtime_error& e) {
        report.fail(0, 0, e.what());
    }
    if (doc.blocks.empty()) report.fail(0, 0, "no data block (data_) in the file");

    std::map<std::string, std::size_t> block_names;
    for (std::size_t b = 0; b < doc.blocks.size(); ++b) {
        cif::Block& block = doc.blocks[b];
        const int line = b < heading_lines.size() ? heading_lines[b] : 0;
        const auto seen = block_names.emplace(lower(block.name), b);
        if (!seen.second && !block.name.empty())
            report.warn(line, "data block name " + block.name +
                                  " given again; by name, the first such block is read");
        check_block(block, report);
    }
    return doc;
}

int tag_line(const gemmi::cif::Block& block, const std::string& tag) {
    for (const cif::Item& item : block.items) {
        if (item.type == cif::ItemType::Pair && item.pair[0] == tag) return item.line_number;
        if (item.type == cif::ItemType::Loop && item.loop.find_tag_lc(tag) >= 0)
            return item.line_number;
    }
    return 0;
}

const std::string* single_value(gemmi::cif::Block& block, const std::string& tag) {
    cif::Column column = block.find_values(tag);
    if (!column.item() || column.length() < 1) return nullptr;
    return &column[0];
}

}  // namespace database_detail
}  // namespace teska
