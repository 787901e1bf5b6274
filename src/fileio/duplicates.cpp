// Duplicate-molecule check: marks molecules of the cell that repeat an earlier one and
// reduces the marks to the sorted list of distinct molecules; writes every molecule to files.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "writer_support.h"

namespace {

constexpr double kSameValueTolerance = 0.1;

bool within_tolerance(double a, double b) { return std::fabs(a - b) <= kSameValueTolerance; }

// The index arrays a check works on.
struct DuplicateMarks {
    const char* variant;  // "RE" or "HL"
    int* mol_index;
    int* unique_index;
    int& nunique;
};

// Molecule k's mark becomes that of the earliest equivalent molecule; a later i may
// overwrite it.
template <typename SameTest>
void mark_duplicates(int nmols, int* mol_index, SameTest same) {
    for (int i = 0; i < nmols - 1; ++i)
        for (int j = i + 1; j < nmols; ++j)
            if (same(i, j)) mol_index[j] = mol_index[i];
}

void store_distinct_marks(int nmols, DuplicateMarks& marks) {
    std::vector<int> distinct(marks.mol_index, marks.mol_index + nmols);
    std::sort(distinct.begin(), distinct.end());
    distinct.erase(std::unique(distinct.begin(), distinct.end()), distinct.end());
    marks.nunique = 0;
    for (int mark : distinct) marks.unique_index[marks.nunique++] = mark;
}

void print_marks(const char* heading, const int* marks, int count) {
    std::printf("%s", heading);
    for (int k = 0; k < count; ++k) std::printf(" %d", marks[k]);
    std::printf("\n");
}

// data_present: the per-molecule arrays that the variant's test compares exist.
template <typename SameTest>
void check_unitcell_same_mols(int nmols, DuplicateMarks marks, bool data_present, bool verbose,
                              SameTest same) {
    if (nmols > 0 && !(data_present && marks.mol_index && marks.unique_index))
        FILEIO_FATAL(kStatusFailure, stdout,
                     "The %s duplicate check lacks molecule data for %d molecules.\n",
                     marks.variant, nmols);
    if (verbose)
        std::printf("**** Check %s Duplicate Molecules in Unit Cell ****\n", marks.variant);
    mark_duplicates(nmols, marks.mol_index, same);
    if (verbose) print_marks("  Unit cell molecule indexes: ", marks.mol_index, nmols);
    store_distinct_marks(nmols, marks);
    if (verbose) {
        print_marks("  Unit cell unique molecule indexes:", marks.unique_index, marks.nunique);
        std::printf("**** End of Check %s Duplicate Molecules in Unit Cell ****\n", marks.variant);
    }
}

std::string path_in(const std::string& dir, const std::string& name) { return dir + "/" + name; }

}  // namespace

bool FileIO::RE_mols_if_the_same(int i, int j) {
    return mol_natoms[i] == mol_natoms[j] && within_tolerance(mol_value[i], mol_value[j]);
}

bool FileIO::HL_mols_if_the_same(int i, int j) {
    return RE_mols_if_the_same(i, j) && within_tolerance(mol_triple[i][0], mol_triple[j][0]) &&
           within_tolerance(mol_triple[i][1], mol_triple[j][1]) &&
           within_tolerance(mol_triple[i][2], mol_triple[j][2]);
}

void FileIO::RE_check_unitcell_same_mols(bool verbose) {
    const bool data_present = mol_natoms && mol_value;
    check_unitcell_same_mols(nmols, {"RE", re_mol_index, re_unique_index, re_nunique}, data_present,
                             verbose, [this](int i, int j) { return RE_mols_if_the_same(i, j); });
}

void FileIO::HL_check_unitcell_same_mols(bool verbose) {
    const bool data_present = mol_natoms && mol_value && mol_triple;
    check_unitcell_same_mols(nmols, {"HL", hl_mol_index, hl_unique_index, hl_nunique}, data_present,
                             verbose, [this](int i, int j) { return HL_mols_if_the_same(i, j); });
}

// Returns the result of closing the last file written.
int FileIO::write_mol_files() {
    mmutil::create_directory(data_dir.c_str());
    write_supercell_cif(path_in(data_dir, "supercell.cif").c_str(), nmols, mol_natoms, mol_atypes,
                        mol_x_s, supercell_n[0], supercell_n[1], supercell_n[2]);
    for (int k = 0; k < nmols; ++k)
        write_data_mol(path_in(data_dir, mol_file_names[k]).c_str(), mol_natoms[k], mol_atypes[k],
                       mol_x[k]);
    return write_unitcell_cif(path_in(data_dir, "unitcell.cif").c_str(), nmols, mol_natoms,
                              mol_atypes, mol_x_s);
}

// Molecule k (from 1) goes to "<prefix>-kk.mol". Returns the result of closing the last file
// written, 0 when there is none.
int FileIO::write_mol_files(const char* prefix) {
    int result = 0;
    for (int k = 1; k <= nmols; ++k)
        result = write_data_mol(fileio_detail::molecule_file_name(prefix, '-', k, ".mol").c_str(),
                                mol_natoms[k - 1], mol_atypes[k - 1], mol_x[k - 1]);
    return result;
}
