// Symmetry of a data block, from the first source that gives it: the operations loop, the
// Hall symbol, the H-M name (any setting of gemmi's table), the IT number; else P1. The
// operations are kept as gemmi's exact integer matrices over Op::DEN.
#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <string>
#include <vector>

#include "database_detail.h"

namespace teska {
namespace database_detail {

namespace {

namespace cif = gemmi::cif;
using gemmi::Op;

// Real operations are a few characters long; bounding them keeps gemmi's integer
// arithmetic far from overflow.
constexpr std::size_t kMaxTripletLength = 120;
constexpr std::size_t kMaxIntegerDigits = 4;
constexpr std::size_t kMaxDecimalLength = 20;
// Decimals are bounded like the integers (at most four digits before the point), so that
// their value in 24ths always fits an int.
constexpr double kMaxDecimalValue = 9999.0;
// The longest Hall symbols of the tables have about 25 characters.
constexpr std::size_t kMaxHallLength = 80;
// A decimal is taken as k/24 when it lies this close (in units of 1/24) to it: 0.3333 and
// 0.333 are 1/3, 0.33 is not.
constexpr double kDecimalTolerance = 0.01;

bool is_number_char(char c) { return (c >= '0' && c <= '9') || c == '.'; }

// The operations in sorted order, translations wrapped.
std::vector<Op> sorted_ops(std::vector<Op> ops) {
    for (Op& op : ops) op.wrap();
    std::sort(ops.begin(), ops.end());
    ops.erase(std::unique(ops.begin(), ops.end()), ops.end());
    return ops;
}

std::vector<Op> ops_of(const gemmi::GroupOps& group) {
    std::vector<Op> ops;
    for (Op op : group) ops.push_back(op);
    return ops;
}

// The symmetry a name gives, with where it came from.
struct Named {
    bool found = false;
    std::vector<Op> ops;
    const gemmi::SpaceGroup* group = nullptr;
    std::string source;  // "Hall", "H-M", "number"
    std::string given;   // the text of the file
    int line = 0;
};

std::string value_text(cif::Block& block, const char* tag) {
    const std::string* value = single_value(block, tag);
    return value ? cif::as_string(*value) : std::string();
}

Named from_hall(cif::Block& block, Report& report) {
    Named named;
    for (const char* tag : {"_space_group_name_hall", "_symmetry_space_group_name_hall"}) {
        const std::string hall = value_text(block, tag);
        if (hall.empty()) continue;
        named.given = hall;
        named.line = tag_line(block, tag);
        const std::string problem = hall_symbol_problem(hall);
        if (!problem.empty()) {
            report.warn(named.line, "Hall symbol '" + hall + "' cannot be read: " + problem);
            return named;
        }
        try {
            const gemmi::GroupOps group = gemmi::symops_from_hall(hall.c_str());
            named.ops = ops_of(group);
            named.group = gemmi::find_spacegroup_by_ops(group);
            named.found = true;
            named.source = "Hall";
        } catch (const std::exception& e) {
            report.warn(named.line, "Hall symbol '" + hall + "' cannot be read: " + e.what());
        }
        return named;
    }
    return named;
}

Named from_hm_name(cif::Block& block, double alpha, double gamma, Report& report) {
    Named named;
    for (const char* tag : {"_space_group_name_h-m_alt", "_symmetry_space_group_name_h-m"}) {
        const std::string name = value_text(block, tag);
        if (name.empty()) continue;
        named.given = name;
        named.line = tag_line(block, tag);
        named.group = gemmi::find_spacegroup_by_name(normalise_hm_name(name), alpha, gamma);
        if (!named.group) {
            report.warn(named.line, "space-group name '" + name + "' not recognised");
            return named;
        }
        named.ops = ops_of(named.group->operations());
        named.found = true;
        named.source = "H-M";
        return named;
    }
    return named;
}

Named from_number(cif::Block& block, Report& report) {
    Named named;
    for (const char* tag : {"_space_group_it_number", "_symmetry_int_tables_number"}) {
        const std::string text = value_text(block, tag);
        if (text.empty()) continue;
        named.given = text;
        named.line = tag_line(block, tag);
        char* end = nullptr;
        const long number = std::strtol(text.c_str(), &end, 10);
        // gemmi's lookup answers 0 with P1, so the range is checked first.
        if (*end != '\0' || number < 1 || number > 230) {
            report.warn(named.line, "space-group number '" + text + "' is not 1 to 230");
            return named;
        }
        named.group = gemmi::find_spacegroup_by_number(static_cast<int>(number));
        if (named.group) {
            named.ops = ops_of(named.group->operations());
            named.found = true;
            named.source = "number";
        }
        return named;
    }
    return named;
}

struct LoopOps {
    std::vector<Op> ops;
    int line = 0;
    std::string problem;  // the first operation that could not be read, and why
};

LoopOps from_loop(cif::Block& block, Report& report) {
    LoopOps loop;
    for (const char* tag : {"_space_group_symop_operation_xyz", "_symmetry_equiv_pos_as_xyz"}) {
        cif::Column column = block.find_values(tag);
        if (!column.item()) continue;
        loop.line = tag_line(block, tag);
        int repeated = 0;
        for (const std::string& value : column) {
            if (cif::is_null(value)) continue;
            const std::string text = cif::as_string(value);
            Op op;
            std::string problem;
            if (!parse_operation(text, &op, &problem)) {
                loop.problem = "operation '" + text + "' cannot be read: " + problem;
                loop.ops.clear();
                return loop;
            }
            op.wrap();
            if (std::find(loop.ops.begin(), loop.ops.end(), op) != loop.ops.end())
                ++repeated;
            else
                loop.ops.push_back(op);
        }
        if (repeated > 0)
            report.warn(loop.line, count_of(repeated, "operation", "operations") +
                                       " given twice in the operations loop; read once");
        if (!loop.ops.empty() &&
            std::find(loop.ops.begin(), loop.ops.end(), Op::identity()) == loop.ops.end()) {
            report.warn(loop.line, "the operations loop lacks x,y,z; it is added");
            loop.ops.insert(loop.ops.begin(), Op::identity());
        }
        return loop;
    }
    return loop;
}

}  // namespace

bool normalise_triplet(const std::string& text, std::string* out, std::string* problem) {
    if (text.size() > kMaxTripletLength) {
        *problem = "longer than " + std::to_string(kMaxTripletLength) + " characters";
        return false;
    }
    out->clear();
    std::size_t i = 0;
    while (i < text.size()) {
        if (!is_number_char(text[i])) {
            *out += text[i++];
            continue;
        }
        std::size_t end = i;
        while (end < text.size() && is_number_char(text[end])) ++end;
        const std::string number = text.substr(i, end - i);
        i = end;
        const std::size_t dots = std::count(number.begin(), number.end(), '.');
        if (dots == 0) {
            if (number.size() > kMaxIntegerDigits) {
                *problem = "number " + number + " has too many digits";
                return false;
            }
            *out += number;
            continue;
        }
        // Some database files give translations as decimals (".5+Y", "x+0.3333").
        if (dots > 1 || number.size() > kMaxDecimalLength || number == ".") {
            *problem = "number " + number + " cannot be read";
            return false;
        }
        const double value = std::strtod(number.c_str(), nullptr);
        if (!(value <= kMaxDecimalValue)) {
            *problem = "decimal " + number + " is out of range";
            return false;
        }
        const double in_24ths = value * Op::DEN;
        const double k = std::round(in_24ths);
        if (std::fabs(in_24ths - k) > kDecimalTolerance) {
            *problem = "decimal " + number + " is not a multiple of 1/24";
            return false;
        }
        *out += std::to_string(static_cast<int>(k)) + "/24";
    }
    return true;
}

std::string hall_symbol_problem(const std::string& hall) {
    if (hall.size() > kMaxHallLength)
        return "longer than " + std::to_string(kMaxHallLength) + " characters";
    // The parser reads a C string: what follows a NUL would be checked here but not parsed.
    if (hall.find('\0') != std::string::npos) return "it holds a NUL character";
    for (std::size_t i = 0, run = 0; i < hall.size(); ++i) {
        run = std::isdigit(static_cast<unsigned char>(hall[i])) ? run + 1 : 0;
        if (run > kMaxIntegerDigits) return "a number has too many digits";
    }
    // The parser's own reading: blanks are ' ', '\t' and '_'; an optional '-', the lattice
    // letter, then matrix symbols up to an optional change of basis in parentheses.
    const auto blank = [](char c) { return c == ' ' || c == '\t' || c == '_'; };
    const std::size_t n = hall.size();
    std::size_t i = 0;
    while (i < n && blank(hall[i])) ++i;
    if (i < n && hall[i] == '-') ++i;
    while (i < n && blank(hall[i])) ++i;
    if (i < n) ++i;  // the lattice letter
    int position = 0, previous = 0;
    while (true) {
        while (i < n && blank(hall[i])) ++i;
        if (i >= n || hall[i] == '(') break;
        std::size_t end = i;
        while (end < n && !blank(hall[end])) ++end;
        const std::string symbol = hall.substr(i, end - i);
        ++position;
        // A lone "1" followed by a space or the end is skipped, leaving the previous order.
        if (symbol == "1" && (end == n || hall[end] == ' ')) {
            i = end;
            continue;
        }
        i = end;
        std::size_t p = symbol[0] == '-' ? 1 : 0;
        if (p >= symbol.size() || symbol[p] < '1' || symbol[p] == '5' || symbol[p] > '6')
            return std::string();  // the parser rejects it with its own message
        const int order = symbol[p] - '0';
        bool subscript = false, axis = false, diagonal = false;
        for (++p; p < symbol.size(); ++p) {
            const char c = symbol[p];
            if (c >= '1' && c <= '5') subscript = true;
            if (c == 'x' || c == 'y' || c == 'z') axis = true;
            if (c == '\'' || c == '"' || c == '*') diagonal = true;
        }
        // The axis rules, where the symbol names no axis: the first symbol turns about z, a
        // second 2-fold after a 2- or 4-fold about x.
        if (!axis && !diagonal)
            axis =
                position == 1 || (position == 2 && order == 2 && (previous == 2 || previous == 4));
        if (subscript && !axis) return "the screw subscript of '" + symbol + "' has no axis";
        previous = order;
    }
    if (i < n) {  // "(0 0 1)" or "(x,y,z+1/12)"
        const std::size_t close = hall.find(')', i);
        const std::string basis =
            hall.substr(i + 1, close == std::string::npos ? std::string::npos : close - i - 1);
        gemmi::Op op;
        std::string problem;
        if (basis.find(',') != std::string::npos && !parse_operation(basis, &op, &problem))
            return "change of basis '" + basis + "': " + problem;
    }
    return std::string();
}

bool parse_operation(const std::string& text, gemmi::Op* op, std::string* problem) {
    std::string triplet;
    if (!normalise_triplet(text, &triplet, problem)) return false;
    try {
        *op = gemmi::parse_triplet(triplet);
    } catch (const std::exception& e) {
        *problem = e.what();
        return false;
    }
    for (const auto& row : op->rot)
        for (int entry : row)
            if (entry % Op::DEN != 0 || std::abs(entry) > 2 * Op::DEN) {
                *problem = "the rotation is not an integer matrix";
                return false;
            }
    if (std::abs(op->det_rot()) != Op::DEN * Op::DEN * Op::DEN) {
        *problem = "the rotation does not have determinant 1 or -1";
        return false;
    }
    return true;
}

std::string normalise_hm_name(const std::string& name) {
    std::string text;
    for (std::size_t i = 0; i < name.size(); ++i) {
        // "2(1)" is the screw axis 21.
        if (name[i] == '(' && i > 0 && std::isdigit(static_cast<unsigned char>(name[i - 1])) &&
            i + 2 < name.size() && std::isdigit(static_cast<unsigned char>(name[i + 1])) &&
            name[i + 2] == ')') {
            text += name[i + 1];
            i += 2;
            continue;
        }
        text += name[i] == '_' ? ' ' : name[i];
    }
    const std::size_t first = text.find_first_not_of(' ');
    const std::size_t last = text.find_last_not_of(' ');
    return first == std::string::npos ? std::string() : text.substr(first, last - first + 1);
}

Symmetry read_symmetry(gemmi::cif::Block& block, double alpha, double gamma, Report& report) {
    const LoopOps loop = from_loop(block, report);
    Named named = from_hall(block, report);
    if (!named.found) {
        const Named by_name = from_hm_name(block, alpha, gamma, report);
        if (by_name.found || named.given.empty()) named = by_name;
    }
    if (!named.found) {
        const Named by_number = from_number(block, report);
        if (by_number.found) named = by_number;
    }

    Symmetry symmetry;
    if (!loop.ops.empty()) {
        symmetry.ops = loop.ops;
        symmetry.source = "loop";
        const std::vector<Op> sorted = sorted_ops(loop.ops);
        const gemmi::SpaceGroup* group = nullptr;
        if (named.found && named.source != "number" && sorted == sorted_ops(named.ops)) {
            group = named.group;
        } else {
            group = gemmi::find_spacegroup_by_ops(gemmi::split_centering_vectors(loop.ops));
            const bool agrees =
                named.source == "number" && group && group->number == named.group->number;
            if (named.found && !agrees)
                report.warn(loop.line, "the operations loop disagrees with the space group " +
                                           named.source + " '" + named.given +
                                           "'; the loop is used");
        }
        symmetry.name = group ? group->xhm() : named.given;
        symmetry.number = group ? group->number : 0;
        return symmetry;
    }
    if (!loop.problem.empty()) {
        if (!named.found) report.fail(loop.line, 0, loop.problem);
        report.warn(loop.line, loop.problem + "; the symmetry of the space group " + named.source +
                                   " is used");
    }
    if (named.found) {
        symmetry.ops = named.ops;
        symmetry.source = named.source;
        symmetry.name = named.group ? named.group->xhm() : named.given;
        symmetry.number = named.group ? named.group->number : 0;
        if (named.source == "number")
            report.warn(named.line, "symmetry from the space-group number " + named.given +
                                        " alone: its standard setting " + symmetry.name);
        return symmetry;
    }
    report.warn(0, "no symmetry operations, Hall symbol, H-M name or number: read as P 1");
    symmetry.ops = {Op::identity()};
    symmetry.source = "none";
    symmetry.name = "P 1";
    symmetry.number = 1;
    return symmetry;
}

}  // namespace database_detail
}  // namespace teska
