// Reading the seed crystal, expanding it to one unit cell and writing P1 supercells.
#include "supercell.h"

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <map>

namespace bench {
namespace {

constexpr double kDuplicateTolerance = 1e-4;   // fractional
constexpr long long kFractionScale = 1000000;  // six decimals in the written coordinates

const char* const kCellTags[6] = {"_cell_length_a",    "_cell_length_b",   "_cell_length_c",
                                  "_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"};

struct Line {
    int number;  // 1-based
    std::string text;
};

class SeedText {
   public:
    explicit SeedText(const std::string& path) : path_(path) {
        std::ifstream in(path);
        if (!in) throw SeedError("cannot open seed crystal " + path);
        std::string text;
        for (int number = 1; std::getline(in, text); ++number) {
            if (!text.empty() && text.back() == '\r') text.pop_back();
            lines_.push_back({number, text});
        }
    }
    const std::vector<Line>& lines() const { return lines_; }
    [[noreturn]] void fail(int line, const std::string& message) const {
        throw SeedError(path_ + ":" + std::to_string(line) + ": " + message);
    }
    [[noreturn]] void fail(const std::string& message) const {
        throw SeedError(path_ + ": " + message);
    }

   private:
    std::string path_;
    std::vector<Line> lines_;
};

std::string trimmed(const std::string& text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string::npos) return "";
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

bool starts_with(const std::string& text, const char* prefix) { return text.rfind(prefix, 0) == 0; }

// CIF values: blank-separated, quoted with ' or " when they hold blanks (a quote closes only
// before a blank or the end of the line).
std::vector<std::string> split_values(const std::string& text) {
    std::vector<std::string> values;
    std::size_t i = 0;
    while (i < text.size()) {
        if (std::isspace(static_cast<unsigned char>(text[i]))) {
            ++i;
            continue;
        }
        const char quote = text[i];
        if (quote == '\'' || quote == '"') {
            std::size_t end = i + 1;
            while (
                end < text.size() &&
                !(text[end] == quote && (end + 1 == text.size() ||
                                         std::isspace(static_cast<unsigned char>(text[end + 1])))))
                ++end;
            values.push_back(text.substr(i + 1, end - i - 1));
            i = end + 1;
        } else {
            std::size_t end = i;
            while (end < text.size() && !std::isspace(static_cast<unsigned char>(text[end]))) ++end;
            values.push_back(text.substr(i, end - i));
            i = end;
        }
    }
    return values;
}

// A number with an optional standard uncertainty, 5.4321(7).
bool read_number(const std::string& text, double* value) {
    char* end = nullptr;
    *value = std::strtod(text.c_str(), &end);
    return end != text.c_str() && (*end == '\0' || *end == '(');
}

// Index of the first line after a text field that opens at lines[i].
std::size_t skip_text_field(const SeedText& seed, std::size_t i) {
    const std::vector<Line>& lines = seed.lines();
    for (std::size_t j = i + 1; j < lines.size(); ++j)
        if (starts_with(lines[j].text, ";")) return j + 1;
    seed.fail(lines[i].number, "text field is not closed");
}

struct Loop {
    int line;  // of "loop_"
    std::vector<std::string> tags;
    std::vector<std::vector<std::string>> rows;
    int column(const char* tag) const {
        for (std::size_t c = 0; c < tags.size(); ++c)
            if (tags[c] == tag) return static_cast<int>(c);
        return -1;
    }
};

// Reads the loop that opens at lines[i]; values may run over several lines, a text field is one
// value. Returns the index of the first line after the loop.
std::size_t read_loop(const SeedText& seed, std::size_t i, Loop* loop) {
    const std::vector<Line>& lines = seed.lines();
    loop->line = lines[i].number;
    std::size_t j = i + 1;
    for (; j < lines.size() && starts_with(trimmed(lines[j].text), "_"); ++j)
        loop->tags.push_back(split_values(lines[j].text).at(0));
    if (loop->tags.empty()) seed.fail(loop->line, "loop_ without tags");
    std::vector<std::string> values;
    while (j < lines.size()) {
        const std::string text = trimmed(lines[j].text);
        if (text.empty() || starts_with(text, "loop_") || starts_with(text, "data_") ||
            starts_with(text, "_"))
            break;
        if (starts_with(lines[j].text, ";")) {
            const std::size_t next = skip_text_field(seed, j);
            values.push_back("?");
            j = next;
            continue;
        }
        if (text[0] != '#')
            for (std::string& value : split_values(text)) values.push_back(std::move(value));
        ++j;
    }
    if (values.size() % loop->tags.size() != 0)
        seed.fail(loop->line, "loop values do not fill whole rows of " +
                                  std::to_string(loop->tags.size()) + " columns");
    for (std::size_t v = 0; v < values.size(); v += loop->tags.size())
        loop->rows.emplace_back(values.begin() + v, values.begin() + v + loop->tags.size());
    return j;
}

void take_operations(const SeedText& seed, const Loop& loop, SeedCrystal* crystal) {
    int column = loop.column("_symmetry_equiv_pos_as_xyz");
    if (column < 0) column = loop.column("_space_group_symop_operation_xyz");
    if (column < 0) return;
    for (const std::vector<std::string>& row : loop.rows) {
        try {
            parse_operation(row[column]);
        } catch (const SeedError& error) {
            seed.fail(loop.line, error.what());
        }
        crystal->operations.push_back(row[column]);
    }
}

void take_atoms(const SeedText& seed, const Loop& loop, SeedCrystal* crystal) {
    const int label = loop.column("_atom_site_label");
    const int type = loop.column("_atom_site_type_symbol");
    const int fract[3] = {loop.column("_atom_site_fract_x"), loop.column("_atom_site_fract_y"),
                          loop.column("_atom_site_fract_z")};
    if (label < 0 || fract[0] < 0) return;
    if (type < 0 || fract[1] < 0 || fract[2] < 0)
        seed.fail(loop.line, "atom-site loop needs type symbol and three fractional coordinates");
    const int u_iso = loop.column("_atom_site_U_iso_or_equiv");
    for (const std::vector<std::string>& row : loop.rows) {
        SiteAtom atom{row[type], {}, u_iso < 0 ? "?" : row[u_iso]};
        for (int d = 0; d < 3; ++d)
            if (!read_number(row[fract[d]], &atom.frac[d]))
                seed.fail(loop.line, "atom " + row[label] + ": coordinate '" + row[fract[d]] +
                                         "' is not a number");
        crystal->atoms.push_back(atom);
    }
}

void take_cell_value(const SeedText& seed, const Line& line, SeedCrystal* crystal,
                     bool cell_seen[6]) {
    const std::vector<std::string> values = split_values(line.text);
    for (int k = 0; k < 6; ++k) {
        if (values[0] != kCellTags[k]) continue;
        if (values.size() < 2 || !read_number(values[1], &crystal->cell[k]))
            seed.fail(line.number, std::string(kCellTags[k]) + " has no numeric value");
        cell_seen[k] = true;
    }
}

void check_complete(const SeedText& seed, const SeedCrystal& crystal, const bool cell_seen[6]) {
    for (int k = 0; k < 6; ++k)
        if (!cell_seen[k] || crystal.cell[k] <= 0)
            seed.fail(std::string("no positive ") + kCellTags[k]);
    if (crystal.operations.empty()) seed.fail("no symmetry operations");
    if (crystal.atoms.empty()) seed.fail("no atom sites");
}

// One signed term of a triplet part: a coordinate letter or a number (1/2, 0.25).
std::size_t read_term(const std::string& part, std::size_t i, double sign, int row, Operation* op) {
    const char letter = static_cast<char>(std::tolower(static_cast<unsigned char>(part[i])));
    if (letter >= 'x' && letter <= 'z') {
        op->rot[row][letter - 'x'] += sign;
        return i + 1;
    }
    char* end = nullptr;
    double value = std::strtod(part.c_str() + i, &end);
    if (end == part.c_str() + i) throw SeedError("unreadable symmetry operation");
    if (*end == '/') {
        const char* denominator = end + 1;
        value /= std::strtod(denominator, &end);
        if (end == denominator) throw SeedError("unreadable symmetry operation");
    }
    op->trans[row] += sign * value;
    return static_cast<std::size_t>(end - part.c_str());
}

void read_triplet_part(const std::string& part, int row, Operation* op) {
    std::size_t i = 0;
    bool any_term = false;
    while (i < part.size()) {
        if (part[i] == ' ') {
            ++i;
            continue;
        }
        double sign = 1.0;
        if (part[i] == '+' || part[i] == '-') {
            sign = part[i] == '-' ? -1.0 : 1.0;
            ++i;
        }
        if (i == part.size()) throw SeedError("unreadable symmetry operation");
        i = read_term(part, i, sign, row, op);
        any_term = true;
    }
    if (!any_term) throw SeedError("unreadable symmetry operation");
}

double wrapped(double value) {
    const double w = value - std::floor(value);
    return w >= 1.0 ? 0.0 : w;
}

bool same_site(const std::array<double, 3>& p, const std::array<double, 3>& q) {
    double sum = 0;
    for (int d = 0; d < 3; ++d) {
        const double delta = p[d] - q[d];
        const double nearest = delta - std::nearbyint(delta);
        sum += nearest * nearest;
    }
    return sum < kDuplicateTolerance * kDuplicateTolerance;
}

// A fraction in [0, 1) as "0.dddddd"; a value that rounds up to 1 is written as 0.
std::string six_decimals(double value) {
    long long scaled = std::llround(value * kFractionScale);
    if (scaled >= kFractionScale) scaled -= kFractionScale;
    char text[32];
    std::snprintf(text, sizeof text, "0.%06lld", scaled);
    return text;
}

void write_header(FILE* out, const SeedCrystal& seed, Repeats r, long long natoms) {
    const int counts[3] = {r.na, r.nb, r.nc};
    std::fprintf(out, "data_%s_P1_%dx%dx%d\n", seed.name.c_str(), r.na, r.nb, r.nc);
    std::fprintf(out, "_audit_creation_method            'P1 supercell %d x %d x %d of %s'\n", r.na,
                 r.nb, r.nc, seed.name.c_str());
    std::fprintf(out, "_symmetry_space_group_name_H-M    'P 1'\n");
    std::fprintf(out, "_symmetry_Int_Tables_number       1\n");
    for (int k = 0; k < 3; ++k)
        std::fprintf(out, "%-34s%.4f\n", kCellTags[k], seed.cell[k] * counts[k]);
    for (int k = 3; k < 6; ++k) std::fprintf(out, "%-34s%.3f\n", kCellTags[k], seed.cell[k]);
    std::fprintf(out, "_cell_formula_units_Z             1\n");
    std::fprintf(out, "# %lld atoms\n\n", natoms);
    std::fprintf(out, "loop_\n_symmetry_equiv_pos_as_xyz\n'x, y, z'\n\n");
    std::fprintf(out,
                 "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
                 "_atom_site_fract_y\n_atom_site_fract_z\n_atom_site_U_iso_or_equiv\n"
                 "_atom_site_occupancy\n");
}

}  // namespace

SeedCrystal read_seed_crystal(const std::string& path) {
    const SeedText seed(path);
    const std::vector<Line>& lines = seed.lines();
    SeedCrystal crystal;
    bool cell_seen[6] = {};
    std::size_t i = 0;
    while (i < lines.size()) {
        const std::string text = trimmed(lines[i].text);
        if (starts_with(lines[i].text, ";")) {
            i = skip_text_field(seed, i);
        } else if (starts_with(text, "loop_")) {
            Loop loop;
            i = read_loop(seed, i, &loop);
            take_operations(seed, loop, &crystal);
            take_atoms(seed, loop, &crystal);
        } else {
            if (starts_with(text, "data_")) crystal.name = split_values(text)[0].substr(5);
            if (starts_with(text, "_cell_")) take_cell_value(seed, lines[i], &crystal, cell_seen);
            ++i;
        }
    }
    check_complete(seed, crystal, cell_seen);
    return crystal;
}

Operation parse_operation(const std::string& triplet) {
    Operation op{};
    std::size_t start = 0;
    for (int row = 0; row < 3; ++row) {
        const std::size_t comma = triplet.find(',', start);
        if ((row < 2) != (comma != std::string::npos))
            throw SeedError("symmetry operation '" + triplet + "' does not have three parts");
        try {
            read_triplet_part(triplet.substr(start, comma - start), row, &op);
        } catch (const SeedError&) {
            throw SeedError("unreadable symmetry operation '" + triplet + "'");
        }
        start = comma + 1;
    }
    return op;
}

std::vector<SiteAtom> unit_cell_atoms(const SeedCrystal& seed) {
    std::vector<SiteAtom> cell;
    for (const std::string& triplet : seed.operations) {
        const Operation op = parse_operation(triplet);
        for (const SiteAtom& atom : seed.atoms) {
            SiteAtom image = atom;
            for (int r = 0; r < 3; ++r) {
                double value = op.trans[r];
                for (int c = 0; c < 3; ++c) value += op.rot[r][c] * atom.frac[c];
                image.frac[r] = wrapped(value);
            }
            bool duplicate = false;
            for (const SiteAtom& kept : cell)
                duplicate = duplicate || same_site(kept.frac, image.frac);
            if (!duplicate) cell.push_back(image);
        }
    }
    return cell;
}

long long supercell_atom_count(const std::vector<SiteAtom>& cell, Repeats repeats) {
    return static_cast<long long>(cell.size()) * repeats.na * repeats.nb * repeats.nc;
}

void write_p1_supercell(FILE* out, const SeedCrystal& seed, const std::vector<SiteAtom>& cell,
                        Repeats repeats) {
    write_header(out, seed, repeats, supercell_atom_count(cell, repeats));
    const int counts[3] = {repeats.na, repeats.nb, repeats.nc};
    std::map<std::string, long long> serial_of_element;
    for (int k = 0; k < repeats.nc; ++k)
        for (int j = 0; j < repeats.nb; ++j)
            for (int i = 0; i < repeats.na; ++i) {
                const int offset[3] = {i, j, k};
                for (const SiteAtom& atom : cell) {
                    std::string fract[3];
                    for (int d = 0; d < 3; ++d)
                        fract[d] = six_decimals((atom.frac[d] + offset[d]) / counts[d]);
                    std::fprintf(out, "%s%lld %s %s %s %s %s 1\n", atom.symbol.c_str(),
                                 ++serial_of_element[atom.symbol], atom.symbol.c_str(),
                                 fract[0].c_str(), fract[1].c_str(), fract[2].c_str(),
                                 atom.u_iso.c_str());
                }
            }
}

}  // namespace bench
