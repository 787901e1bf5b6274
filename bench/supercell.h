// P1 supercells of a seed crystal, for the benchmark inputs. The seed is a CIF file with its
// symmetry operations and asymmetric unit; the output is a P1 file of na x nb x nc cells whose
// symmetry loop holds only x,y,z and whose atoms are wrapped into the supercell, so that the
// molecules on its faces are cut. The same seed and repeats always give the same bytes.
#ifndef CIF2PDB_BENCH_SUPERCELL_H
#define CIF2PDB_BENCH_SUPERCELL_H

#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

// A seed file that cannot be used; the message names the file and, where one applies, the line.
class SeedError : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
};

struct SiteAtom {
    std::string symbol;
    std::array<double, 3> frac;
    std::string u_iso;  // as written in the seed ("?" when the seed has no such column)
};

struct SeedCrystal {
    std::string name;                     // data block name
    std::array<double, 6> cell{};         // a, b, c (angstrom), alpha, beta, gamma (degrees)
    std::vector<std::string> operations;  // coordinate triplets as written, quotes removed
    std::vector<SiteAtom> atoms;          // asymmetric unit
};

struct Operation {
    double rot[3][3];
    double trans[3];
};

struct Repeats {
    int na, nb, nc;
};

SeedCrystal read_seed_crystal(const std::string& path);

// "-x+1/2, y, z" and the like: signed x, y, z terms and numbers (decimals or fractions) in each of
// three comma-separated parts.
Operation parse_operation(const std::string& triplet);

// Every operation applied to every seed atom, operation by operation, wrapped into [0, 1);
// an image within 1e-4 (fractional, nearest image) of an earlier one is dropped.
std::vector<SiteAtom> unit_cell_atoms(const SeedCrystal& seed);

long long supercell_atom_count(const std::vector<SiteAtom>& cell, Repeats repeats);

// Cells with c outermost and a innermost; within a cell the atoms in unit-cell order. Labels are
// the element symbol and a running number per element.
void write_p1_supercell(FILE* out, const SeedCrystal& seed, const std::vector<SiteAtom>& cell,
                        Repeats repeats);

}  // namespace bench

#endif  // CIF2PDB_BENCH_SUPERCELL_H
