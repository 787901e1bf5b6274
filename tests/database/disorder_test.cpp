// Disorder as a chemist reads it: per assembly the major part (or a chosen group, or every
// part), groups without an assembly paired by their refined occupancies, one orientation of
// a group about a special position, shared and clashing partial sites as one atom.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "database_test_support.h"

namespace {

using database_test::formula_counts;
using database_test::read;
using Labels = std::vector<std::string>;

Labels left_out(const database_test::Read& r) { return r.info.disorder_left_out_sites; }

// Each file read by default: the sites left out, every molecule there and whole, and the one
// warning that says what was left out (after "FILE: "; not compared where null). Alternatives
// are found by where their atoms are, whatever their labels.
TEST(Disorder, EachFileKeepsItsMajorAlternativeWhole) {
    struct Case {
        const char* file;
        const char* formulas;
        Labels left_out;
        const char* warning;
    };
    const Case cases[] = {
        // Per assembly the major group; of equal ones, the lowest number.
        {"disorder_assemblies.cif",
         "2xCCl2",
         {"Cl2B", "Cl4B"},
         "disorder: the major alternative kept in 2 places of the cell, 2 atoms left out (every "
         "copy of Cl2B, Cl4B)"},
        // Without assemblies, group 1 is the major part of the first fragment (0.7 + 0.3) but
        // the minor one of the second (0.45 + 0.55): each pair is chosen on its own.
        {"disorder_paired.cif", "2xCCl2", {"Cl2B", "Cl4A"}, nullptr},
        // The inverted copy of the cyanide lies on the first (its N 0.07 A from the C): it is
        // left out whole, its sites kept; the dinitrogen on the other centre is not touched.
        {"disorder_negative.cif",
         "1xCHN 1xN2",
         {},
         "1 negative disorder group (about special positions): one orientation kept, 3 atoms of "
         "symmetry copies that overlap or bond to it left out"},
        // Six half hydrogens 60 degrees apart around the methyl axis: the second set lies 1.03 A
        // from the first, closer than two hydrogens can be.
        {"methyl_half_hydrogens.cif",
         "1xCH3Cl",
         {"H1D", "H1E", "H1F"},
         "disorder: the major alternative kept in 1 place of the cell, 3 atoms left out (every "
         "copy of H1D, H1E, H1F)"},
        // Two orientations at 0.25 about an inversion centre, each overlapping its inverted
        // copy and the other: one guest of the four images, the host untouched.
        {"guest_about_inversion.cif", "1xCClN 1xN2", {"Cl2", "C2", "N2"}, nullptr},
        // C3A and C3B, alternatives in two assemblies, bond to C2 and to each other: the
        // first group stays; H3B, bonded only to the C3B left out, goes with it.
        {"side_chain_two_assemblies.cif", "1xC3Cl", {"C3B", "H3B"}, nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const database_test::Read r = read(c.file);
        EXPECT_EQ(formula_counts(r.info), c.formulas);
        EXPECT_EQ(left_out(r), c.left_out);
        if (c.warning) {
            EXPECT_EQ(r.info.warnings, Labels{database_test::data(c.file) + ": " + c.warning});
        }
        database_test::expect_whole_molecules(*r.store, r.info);
    }
}

// Every part kept, or a chosen group (which must be named).
TEST(Disorder, EveryPartOrAChosenGroup) {
    teska::ReadOptions every;
    every.disorder = teska::DisorderMode::kAll;
    for (const auto& [file, formulas] : std::vector<std::pair<std::string, std::string>>{
             {"disorder_assemblies.cif", "2xCCl3"},
             {"methyl_half_hydrogens.cif", "1xCH6Cl"},
             {"side_chain_two_assemblies.cif", "1xC4HCl"}}) {
        const database_test::Read all = read(file, every);
        EXPECT_EQ(formula_counts(all.info), formulas);
        EXPECT_EQ(all.info.disorder_left_out, 0) << file;
    }

    teska::ReadOptions chosen;
    chosen.disorder = teska::DisorderMode::kGroup;
    chosen.disorder_group = "2";
    const database_test::Read two = read("disorder_assemblies.cif", chosen);
    EXPECT_EQ(left_out(two), (Labels{"Cl2A", "Cl4A"}));
    EXPECT_TRUE(database_test::has_warning(two.info, "disorder: group 2 chosen in 2 assemblies"));

    chosen.disorder_group.clear();
    EXPECT_THROW(read("disorder_assemblies.cif", chosen), teska::Error);
}

// Of two kept hydrogens that a half hydrogen clashes with, the warning names the last found:
// in a 10 A cube the grid has 4 bins per axis, visited from the lower to the higher, and the
// atoms of one bin latest kept first. H1P (bin 1 along a) is named by H1B of its own bin, not
// by the nearer H1A of bin 0; H2P, in one bin with both, by H2A, kept before the nearer H2B.
TEST(Disorder, AClashNamesTheLastKeptAtomFound) {
    const database_test::Read r = database_test::read_text(
        "data_x\n" + database_test::right_cell("10", "10") +
        "_space_group_name_Hall 'P 1'\nloop_\n_atom_site_label\n_atom_site_fract_x\n"
        "_atom_site_fract_y\n_atom_site_fract_z\n_atom_site_occupancy\n"
        "H1A 0.20 0.1 0.1 1\nH1B 0.33 0.1 0.1 1\nH1P 0.26 0.1 0.1 0.5\n"
        "H2A 0.53 0.6 0.6 1\nH2B 0.66 0.6 0.6 1\nH2P 0.60 0.6 0.6 0.5\n");
    EXPECT_EQ(r.info.warnings, Labels{"test.cif: 2 partial sites left out, each clashing "
                                      "with an atom kept (H1P by H1B, H2P by H2A)"});
}

TEST(Disorder, SitesOnOnePositionAreOneAtomTheHigherOccupancyWinning) {
    const database_test::Read r = read("shared_sites.cif");
    ASSERT_EQ(r.info.atoms, 2);
    EXPECT_EQ(r.store->cif_atypes[0], 26);  // Fe1A
    EXPECT_EQ(r.store->cif_atypes[1], 13);  // Al1, not Si1 before it in the file
    EXPECT_EQ(r.info.warnings,
              Labels{database_test::data("shared_sites.cif") +
                     ": 2 atoms of distinct sites on one position merged, the higher occupancy "
                     "kept: Fe1B into Fe1A, Si1 into Al1"});
}

}  // namespace
