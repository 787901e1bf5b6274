// Whole-molecule reconstruction: moves the atoms of one molecule to the periodic images that
// join them into one bonded piece, then brings the centre of mass into the cell.
#include <cstdio>
#include <vector>

#include "bond_search.h"
#include "element_rows.h"
#include "fatal.h"
#include "teska/fileio.h"

namespace {

// The fixed line number of the "not all atoms bonded" report.
constexpr int kNotBondedLine = 3313;
// A centre of mass within these bounds stays put, so a molecule centred on a cell face is
// not flipped to the other side by rounding.
constexpr double kComLowerBound = -5.96046448e-08;
constexpr double kComUpperBound = 1.0000000596046448;

double covalent_radius_angstrom(int row) {
    return fileio_detail::element_record_or_dummy(row).covalent_radius / 250.0;
}

std::vector<double> covalent_radii(int natoms, const int* atypes) {
    std::vector<double> radius(natoms);
    for (int k = 0; k < natoms; ++k) radius[k] = covalent_radius_angstrom(atypes[k]);
    return radius;
}

// Places the atoms one at a time, each the lowest-numbered unplaced atom bonded to any placed
// one, moved next to its earliest-placed partner when the bond runs across a cell face.
// Returns how many atoms were placed.
int grow_bonded_piece(FileIO& store, int natoms, const int* atypes, double* x_s) {
    std::vector<double> radius = covalent_radii(natoms, atypes);
    if (!fileio_detail::coordinates_indexable(x_s, 3LL * natoms))
        return fileio_detail::grow_whole_piece_literal(store, natoms, x_s, radius.data());
    const fileio_detail::BondRule rule =
        fileio_detail::store_bond_rule(store, fileio_detail::ImageRule::kDirectThenFolded);
    std::vector<int> order;
    return fileio_detail::grow_first_component(rule, natoms, x_s, radius.data(), &order);
}

// Mass-weighted centre in fractional coordinates. When no atom has a mass (every element
// unknown) the plain average stands in, so the wrap still has a finite centre to test.
void centre_of_mass(int natoms, const int* atypes, const double* x_s, double com[3]) {
    double total_mass = 0.0;
    double weighted[3] = {0.0, 0.0, 0.0};
    double plain[3] = {0.0, 0.0, 0.0};
    for (int k = 0; k < natoms; ++k) {
        const double mass = fileio_detail::element_record_or_dummy(atypes[k]).mass;
        total_mass += mass;
        for (int d = 0; d < 3; ++d) {
            weighted[d] += mass * x_s[3 * k + d];
            plain[d] += x_s[3 * k + d];
        }
    }
    for (int d = 0; d < 3; ++d)
        com[d] = total_mass > 0.0 ? weighted[d] / total_mass : plain[d] / natoms;
}

void print_com(int imol, const double com[3], const char* suffix) {
    std::printf("  molecule %d COM = %9.6f %9.6f %9.6f%s\n", imol, com[0], com[1], com[2], suffix);
}

// At most one lattice shift per axis, chosen by the centre of mass. Returns whether any
// axis was shifted.
bool wrap_into_cell(int natoms, double* x_s, const double com[3]) {
    bool shifted = false;
    for (int d = 0; d < 3; ++d) {
        double shift = 0.0;
        if (com[d] < kComLowerBound)
            shift = 1.0;
        else if (com[d] > kComUpperBound)
            shift = -1.0;
        if (shift == 0.0) continue;
        for (int k = 0; k < natoms; ++k) x_s[3 * k + d] += shift;
        shifted = true;
    }
    return shifted;
}

}  // namespace

namespace fileio_detail {

int grow_whole_piece_literal(FileIO& store, int natoms, double* x_s, double* radius) {
    std::vector<int> flags(natoms, 1);
    std::vector<int> list(natoms, 0);
    int placed = 0;
    for (int k = 0; k < natoms; ++k) {
        int first = -1, second = -1;
        double distance = 0.0;
        store.find_bond_atom_one(natoms, x_s, radius, flags.data(), k, list.data(), &first, &second,
                                 &distance);
        if (first < 0) break;
        flags[first] = 0;
        list[k] = first;
        ++placed;
    }
    return placed;
}

}  // namespace fileio_detail

void FileIO::make_whole_molecule(int imol, int natoms, int* atypes, double* x_s, bool verbose) {
    if (natoms < 1) return;

    const int nat_bonded = grow_bonded_piece(*this, natoms, atypes, x_s);
    if (nat_bonded != natoms) {
        report_fatal("fileio", kNotBondedLine, kStatusFormat, stdout,
                     "Not all atoms are bonded in the molecule!\nnat_bonded = %d, natoms = %d\n",
                     nat_bonded, natoms);
    }

    double com[3];
    centre_of_mass(natoms, atypes, x_s, com);
    if (verbose) print_com(imol, com, "");
    if (!wrap_into_cell(natoms, x_s, com)) return;
    centre_of_mass(natoms, atypes, x_s, com);
    if (verbose) print_com(imol, com, " (wrapped)");
}
