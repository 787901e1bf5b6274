// Helpers of the database reader's tests: reading a test crystal into a fresh store, the
// molecule formulas as a sorted list, and the invariants every read must keep (whole
// molecules, centres of mass in the cell, no atom lost between the cell and the molecules).
#ifndef TESKA_DATABASE_TEST_SUPPORT_H
#define TESKA_DATABASE_TEST_SUPPORT_H

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "element_rows.h"
#include "teska/database.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace database_test {

inline std::string data(const std::string& name) {
    return test_support::test_data("database/" + name);
}

struct Read {
    std::unique_ptr<FileIO> store = std::make_unique<FileIO>();
    teska::CrystalInfo info;
};

inline Read read(const std::string& name, const teska::ReadOptions& options = {}) {
    Read result;
    result.info = teska::read_database_cif(*result.store, data(name), options);
    return result;
}

inline Read read_text(const std::string& text, const teska::ReadOptions& options = {}) {
    Read result;
    result.info = teska::read_database_cif_text(*result.store, text, "test.cif", options);
    return result;
}

// The message of the error that reading text raises; "no error" when it raises none.
inline std::string error_of(const std::string& text) {
    try {
        read_text(text);
    } catch (const teska::Error& e) {
        return e.what();
    }
    return "no error";
}

// A cell with right angles, a along x and b_and_c along y and z; the head of an atom loop of
// fractional coordinates.
inline std::string right_cell(const std::string& a, const std::string& b_and_c) {
    return "_cell_length_a " + a + "\n_cell_length_b " + b_and_c + "\n_cell_length_c " + b_and_c +
           "\n_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n";
}
const char* const kSiteLoop =
    "loop_\n_atom_site_label\n_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n";

// "2xC2H2 1xN2": each formula with its count, in formula order.
inline std::string formula_counts(const teska::CrystalInfo& info) {
    std::map<std::string, int> counts;
    for (const std::string& formula : info.formulas) ++counts[formula];
    std::string text;
    for (const auto& entry : counts)
        text += (text.empty() ? "" : " ") + std::to_string(entry.second) + "x" + entry.first;
    return text;
}

inline std::string warnings_of(const teska::CrystalInfo& info) {
    std::string text;
    for (const std::string& warning : info.warnings) text += warning + "\n";
    return text;
}

// Whether a warning holds text; the warnings are shown when the expectation fails.
inline testing::AssertionResult has_warning(const teska::CrystalInfo& info,
                                            const std::string& text) {
    const bool found =
        std::any_of(info.warnings.begin(), info.warnings.end(),
                    [&](const std::string& w) { return w.find(text) != std::string::npos; });
    return (found ? testing::AssertionSuccess() : testing::AssertionFailure()) << "warnings:\n"
                                                                               << warnings_of(info);
}

// Every molecule not bonded to its own image is one bonded piece as placed (bonding radii
// times the bond scale, no periodic images; or a bond the reader reports, the file's table
// or a metal-ligand contact, placed within kLongestBond) with its centre of mass in [0,1); a
// periodic one lies in the cell; together they hold every atom of the cell once.
constexpr double kLongestBond = 3.5;

inline void expect_whole_molecules(const FileIO& store, const teska::CrystalInfo& info) {
    ASSERT_EQ(store.nmols, info.molecules);
    ASSERT_EQ(static_cast<int>(info.periodic.size()), store.nmols);
    const std::set<std::pair<int, int>> reported(info.bonds.begin(), info.bonds.end());
    const bool mapped = store.mol_atom_list.size() == static_cast<std::size_t>(store.natoms_cif);
    int atoms = 0;
    std::size_t first = 0;
    for (int m = 0; m < store.nmols;
         ++m, first += static_cast<std::size_t>(store.mol_natoms[m - 1])) {
        const int n = store.mol_natoms[m];
        atoms += n;
        const double* x = store.mol_x[m];
        const double* f = store.mol_x_s[m];
        if (info.periodic[m]) {
            for (int k = 0; k < 3 * n; ++k)
                EXPECT_TRUE(f[k] >= 0.0 && f[k] < 1.0) << "molecule " << m;
            continue;
        }
        const auto bonded = [&](int i, int j) {
            const double d = std::hypot(x[3 * i] - x[3 * j], x[3 * i + 1] - x[3 * j + 1],
                                        x[3 * i + 2] - x[3 * j + 2]);
            const double limit = (nw_elem_radius_m[store.mol_atypes[m][i]] +
                                  nw_elem_radius_m[store.mol_atypes[m][j]]) *
                                 store.bond_scale;
            if (d < limit) return true;
            if (!mapped || d >= kLongestBond) return false;
            const int a = store.mol_atom_list[first + i], b = store.mol_atom_list[first + j];
            return reported.count({std::min(a, b), std::max(a, b)}) > 0;
        };
        EXPECT_EQ(test_support::reached_from_first(n, bonded), n)
            << "molecule " << m << " not whole";
        for (int d = 0; d < 3; ++d) {
            double sum = 0.0, mass = 0.0;
            for (int k = 0; k < n; ++k) {
                const double w =
                    fileio_detail::element_record_or_dummy(store.mol_atypes[m][k]).mass;
                sum += w * f[3 * k + d];
                mass += w;
            }
            EXPECT_GE(sum / mass, -1e-9) << "molecule " << m << " axis " << d;
            EXPECT_LT(sum / mass, 1.0) << "molecule " << m << " axis " << d;
        }
    }
    EXPECT_EQ(atoms, store.natoms_cif);
    EXPECT_EQ(info.atoms, store.natoms_cif);
}

}  // namespace database_test

#endif  // TESKA_DATABASE_TEST_SUPPORT_H
