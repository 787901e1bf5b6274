// The author's bond table (_geom_bond_*): each listed bond is found as a pair of cell atoms
// with the lattice shift between them, for every copy of it the operations make in the cell.
// Bonds the radius test already gives are left to it; the others become explicit bonds.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "database_detail.h"
#include "element_rows.h"
#include "gemmi/numb.hpp"

namespace teska {
namespace database_detail {

namespace {

namespace cif = gemmi::cif;

// A listed bond's atoms are taken to be an atom of the cell within this (angstrom).
constexpr double kFoundDistance = 0.2;
// A listed distance may differ from the one the coordinates give by this much (angstrom).
constexpr double kDistanceTolerance = 0.05;
// Some tables list every short distance, not only bonds: an entry longer than the bonding
// radii allow by more than this (angstrom) is taken for a contact. Coordination bonds that
// the radii miss exceed them by a few tenths.
constexpr double kLongestExcess = 0.5;
// Warnings name at most this many bonds each.
constexpr std::size_t kNamedBonds = 4;

// Tables of inorganic crystals list the contacts of alkali and alkaline-earth ions with the
// bonds; those contacts are ionic and join nothing beyond what the radii join.
bool is_ionic_cation(int z) {
    switch (z) {
        case 3: case 11: case 19: case 37: case 55: case 87:  // group 1
        case 4: case 12: case 20: case 38: case 56: case 88:  // group 2
            return true;
        default:
            return false;
    }
}

struct Code {
    int operation = 0;  // index into the operations, 0 for the identity
    int shift[3] = {0, 0, 0};
};

// "." "?" "" and "1_555" are the identity; "n_klm" is operation n moved by (k-5, l-5, m-5);
// a bare "n" is operation n. Returns false for any other text.
bool parse_code(const std::string& text, int operations, Code* code) {
    *code = Code();
    if (cif::is_null(text) || text.empty()) return true;
    const std::string value = cif::as_string(text);
    const std::size_t bar = value.find('_');
    const std::string number = value.substr(0, bar);
    if (number.empty() || number.size() > 4 ||
        number.find_first_not_of("0123456789") != std::string::npos)
        return false;
    const int n = std::stoi(number);
    if (n < 1 || n > operations) return false;
    code->operation = n - 1;
    if (bar == std::string::npos) return true;
    const std::string digits = value.substr(bar + 1);
    if (digits.size() != 3 || digits.find_first_not_of("0123456789") != std::string::npos)
        return false;
    for (int k = 0; k < 3; ++k) code->shift[k] = digits[k] - '5';
    return true;
}

// The operations in the file's order, by their ids when the loop gives ids: what the codes
// number. Without an operations loop, those the reader uses.
std::vector<gemmi::Op> coded_operations(cif::Block& block, const Symmetry& symmetry) {
    const char* const loops[][2] = {
        {"_space_group_symop_operation_xyz", "_space_group_symop_id"},
        {"_symmetry_equiv_pos_as_xyz", "_symmetry_equiv_pos_site_id"}};
    for (const auto& tags : loops) {
        cif::Column column = block.find_values(tags[0]);
        if (!column.item()) continue;
        cif::Column ids = block.find_values(tags[1]);
        std::vector<gemmi::Op> ops(column.length(), gemmi::Op::identity());
        std::vector<char> given(column.length(), 0);
        for (int i = 0; i < column.length(); ++i) {
            gemmi::Op op;
            std::string problem;
            if (cif::is_null(column[i]) || !parse_operation(cif::as_string(column[i]), &op, &problem))
                return symmetry.ops;  // the reader did not use the loop either
            int index = i;
            if (ids.item() && ids.length() == column.length()) {
                const std::string id = cif::as_string(ids[i]);
                if (id.empty() || id.size() > 4 ||
                    id.find_first_not_of("0123456789") != std::string::npos)
                    return symmetry.ops;
                index = std::stoi(id) - 1;
                if (index < 0 || index >= column.length() || given[index]) return symmetry.ops;
            }
            given[index] = 1;
            ops[index] = op;
        }
        return ops;
    }
    return symmetry.ops;
}

void apply(const gemmi::Op& op, const double x[3], const int shift[3], double out[3]) {
    for (int r = 0; r < 3; ++r) {
        out[r] = static_cast<double>(op.tran[r]) / gemmi::Op::DEN + shift[r];
        for (int c = 0; c < 3; ++c) out[r] += static_cast<double>(op.rot[r][c]) / gemmi::Op::DEN * x[c];
    }
}

double length(const Lattice& lattice, const double d[3]) {
    const double(&m)[3][3] = lattice.matrix();
    double sum = 0.0;
    for (int r = 0; r < 3; ++r) {
        const double x = m[r][0] * d[0] + m[r][1] * d[1] + m[r][2] * d[2];
        sum += x * x;
    }
    return std::sqrt(sum);
}

// Finds the atom of the site at fractional position x (any image); sets *offset to the
// lattice vector from the atom to x. -1 when none is near (a site merged into another).
int cell_atom_at(const Expansion& cell, const std::vector<std::vector<int>>& atoms_of_site,
                 const Lattice& lattice, int site, const double x[3], int offset[3]) {
    const auto distance_to = [&](int atom, double* rounded) {
        double d[3];
        for (int k = 0; k < 3; ++k) {
            const double f = x[k] - cell.atoms[atom].frac[k];
            rounded[k] = std::round(f);
            d[k] = f - rounded[k];
        }
        return length(lattice, d);
    };
    int best = -1;
    double best_distance = kFoundDistance, rounded[3], best_rounded[3] = {0, 0, 0};
    for (int atom : atoms_of_site[site]) {
        const double d = distance_to(atom, rounded);
        if (d < best_distance) {
            best_distance = d;
            best = atom;
            std::copy(rounded, rounded + 3, best_rounded);
        }
    }
    for (int k = 0; k < 3; ++k) offset[k] = static_cast<int>(best_rounded[k]);
    return best;
}

std::string number_text(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.3f", value);
    return text;
}

std::string named_list(const std::vector<std::string>& names) {
    std::vector<std::string> shown(names.begin(),
                                   names.begin() + std::min(names.size(), kNamedBonds));
    std::string text = join(shown, ", ");
    if (names.size() > kNamedBonds) text += ", ...";
    return text;
}

}  // namespace

TableBonds read_bond_table(gemmi::cif::Block& block, const std::vector<Site>& sites,
                           const DisorderChoice& disorder, const Symmetry& symmetry,
                           const Expansion& cell, const Lattice& lattice, double bond_scale,
                           bool every_bond, Report& report) {
    TableBonds result;
    cif::Table table = block.find("_geom_bond_", {"atom_site_label_1", "atom_site_label_2",
                                                  "?distance", "?site_symmetry_1",
                                                  "?site_symmetry_2"});
    if (!table.ok() || table.length() == 0) return result;
    result.present = true;
    const int line = tag_line(block, "_geom_bond_atom_site_label_1");

    std::map<std::string, int> site_of_label, site_of_lower;
    for (std::size_t i = 0; i < sites.size(); ++i) {
        site_of_label.emplace(sites[i].label, static_cast<int>(i));
        site_of_lower.emplace(lower(sites[i].label), static_cast<int>(i));
    }
    std::vector<std::vector<int>> atoms_of_site(sites.size());
    for (std::size_t a = 0; a < cell.atoms.size(); ++a)
        atoms_of_site[cell.atoms[a].site].push_back(static_cast<int>(a));
    const std::vector<gemmi::Op> coded = coded_operations(block, symmetry);
    if (coded.empty() || symmetry.ops.empty()) return result;

    std::vector<std::string> unusable, beyond_radii, contacts;
    int ionic = 0;
    std::set<std::tuple<int, int, int, int, int>> seen;
    for (std::size_t i = 0; i < table.length(); ++i) {
        const cif::Table::Row row = table[static_cast<int>(i)];
        const std::string label[2] = {cif::as_string(row[0]), cif::as_string(row[1])};
        const std::string name = label[0] + "-" + label[1];
        int site[2];
        bool left_out = false, unknown = false;
        for (int k = 0; k < 2; ++k) {
            site[k] = -1;
            const auto exact = site_of_label.find(label[k]);
            if (exact != site_of_label.end()) {
                site[k] = exact->second;
            } else {
                const auto any_case = site_of_lower.find(lower(label[k]));
                if (any_case != site_of_lower.end()) site[k] = any_case->second;
            }
            if (site[k] < 0)
                unknown = true;
            else if (site[k] < static_cast<int>(disorder.keep.size()) && !disorder.keep[site[k]])
                left_out = true;
        }
        if (left_out) continue;  // an alternative the disorder choice left out
        if (unknown) {
            unusable.push_back(name + " (no such site)");
            continue;
        }
        Code code[2];
        bool readable = true;
        for (int k = 0; k < 2; ++k) {
            const int column = 3 + k;
            const std::string text = row.has(column) ? row[column] : std::string(".");
            if (!parse_code(text, static_cast<int>(coded.size()), &code[k])) readable = false;
        }
        if (!readable) {
            unusable.push_back(name + " (symmetry code not found)");
            continue;
        }
        double x[2][3];
        for (int k = 0; k < 2; ++k)
            apply(coded[code[k].operation], sites[site[k]].frac, code[k].shift, x[k]);
        const double d[3] = {x[1][0] - x[0][0], x[1][1] - x[0][1], x[1][2] - x[0][2]};
        const double distance = length(lattice, d);
        if (row.has(2) && !cif::is_null(row[2])) {
            const double listed = gemmi::cif::as_number(row[2]);
            if (std::isfinite(listed) && std::fabs(listed - distance) > kDistanceTolerance) {
                unusable.push_back(name + " (listed " + number_text(listed) + ", the sites are " +
                                   number_text(distance) + " apart)");
                continue;
            }
        }
        ++result.listed;
        const int element[2] = {sites[site[0]].element, sites[site[1]].element};
        if (is_ionic_cation(element[0]) || is_ionic_cation(element[1])) {
            ++ionic;
            continue;
        }
        const double limit =
            (nw_elem_radius_m[element[0]] + nw_elem_radius_m[element[1]]) * bond_scale;
        if (distance >= limit + kLongestExcess) {
            contacts.push_back(name + " " + number_text(distance));
            continue;
        }
        const bool by_radii = distance < limit;
        if (by_radii && !every_bond) continue;
        if (!by_radii) beyond_radii.push_back(name + " " + number_text(distance));
        // Every copy the operations make in the cell.
        bool found_all = true;
        std::vector<ExplicitBond> copies;
        for (const gemmi::Op& op : symmetry.ops) {
            const int none[3] = {0, 0, 0};
            double y[2][3];
            int atom[2], offset[2][3];
            for (int k = 0; k < 2; ++k) {
                apply(op, x[k], none, y[k]);
                atom[k] = cell_atom_at(cell, atoms_of_site, lattice, site[k], y[k], offset[k]);
            }
            if (atom[0] < 0 || atom[1] < 0) {
                found_all = false;
                break;
            }
            ExplicitBond bond{atom[0], atom[1], {0, 0, 0}};
            for (int k = 0; k < 3; ++k) bond.shift[k] = offset[1][k] - offset[0][k];
            if (bond.a > bond.b || (bond.a == bond.b && std::make_tuple(bond.shift[0], bond.shift[1],
                                                                         bond.shift[2]) <
                                                            std::make_tuple(0, 0, 0))) {
                std::swap(bond.a, bond.b);
                for (int& s : bond.shift) s = -s;
            }
            if (seen.emplace(bond.a, bond.b, bond.shift[0], bond.shift[1], bond.shift[2]).second)
                copies.push_back(bond);
        }
        if (!found_all) {
            if (!by_radii) beyond_radii.pop_back();
            unusable.push_back(name + " (its atoms are not in the cell)");
            continue;
        }
        result.bonds.insert(result.bonds.end(), copies.begin(), copies.end());
    }
    if (!unusable.empty())
        report.warn(line, count_of(static_cast<long long>(unusable.size()), "bond", "bonds") +
                              " of the bond table not used: " + named_list(unusable));
    if (!beyond_radii.empty())
        report.warn(line, count_of(static_cast<long long>(beyond_radii.size()), "bond", "bonds") +
                              " of the bond table longer than the bonding radii allow, joined "
                              "as the table lists " +
                              (beyond_radii.size() == 1 ? "it" : "them") + ": " +
                              named_list(beyond_radii));
    if (!contacts.empty())
        report.warn(line, count_of(static_cast<long long>(contacts.size()), "entry", "entries") +
                              " of the bond table too long for a bond, taken for " +
                              (contacts.size() == 1 ? "a contact: " : "contacts: ") +
                              named_list(contacts));
    if (ionic > 0)
        report.warn(line, count_of(ionic, "bond", "bonds") +
                              " of the bond table to alkali or alkaline-earth ions left to the "
                              "bonding radii (ionic contacts)");
    result.added = static_cast<int>(result.bonds.size());
    return result;
}

void warn_bonds_not_listed(gemmi::cif::Block& block, const std::vector<Site>& sites,
                           const Expansion& cell,
                           const std::vector<std::pair<int, int>>& bonds, Report& report) {
    cif::Table table =
        block.find("_geom_bond_", {"atom_site_label_1", "atom_site_label_2"});
    if (!table.ok() || table.length() == 0) return;
    std::set<std::pair<std::string, std::string>> listed;
    std::set<std::string> labels;
    for (std::size_t i = 0; i < table.length(); ++i) {
        const cif::Table::Row row = table[static_cast<int>(i)];
        const std::string a = lower(cif::as_string(row[0])), b = lower(cif::as_string(row[1]));
        listed.emplace(std::min(a, b), std::max(a, b));
        labels.insert(a);
        labels.insert(b);
    }
    std::set<std::pair<std::string, std::string>> missing;
    std::vector<std::string> names;
    for (const auto& bond : bonds) {
        const Site& x = sites[cell.atoms[bond.first].site];
        const Site& y = sites[cell.atoms[bond.second].site];
        if (x.element == 1 || y.element == 1) continue;  // tables often leave hydrogens out
        const std::string a = lower(x.label), b = lower(y.label);
        if (!labels.count(a) || !labels.count(b)) continue;
        const std::pair<std::string, std::string> key(std::min(a, b), std::max(a, b));
        if (listed.count(key) || !missing.insert(key).second) continue;
        names.push_back(x.label + "-" + y.label);
    }
    if (!names.empty())
        report.warn(tag_line(block, "_geom_bond_atom_site_label_1"),
                    count_of(static_cast<long long>(names.size()), "bond", "bonds") +
                        " by the bonding radii not in the bond table: " + named_list(names));
}

}  // namespace database_detail
}  // namespace teska
