// Disorder as a chemist reads it: per assembly the major part (or a chosen group, or every
// part), groups without an assembly paired by their refined occupancies, one orientation of
// a group about a special position, shared and clashing partial sites as one atom.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "database_test_support.h"

namespace {

using database_test::formula_counts;
using database_test::read;
using Labels = std::vector<std::string>;

Labels left_out(const database_test::Read& r) { return r.info.disorder_left_out_sites; }

TEST(Disorder, AssembliesKeepTheirMajorGroupTiesTheLowestNumber) {
    const database_test::Read r = read("disorder_assemblies.cif");
    EXPECT_EQ(left_out(r), (Labels{"Cl2B", "Cl4B"}));
    EXPECT_EQ(formula_counts(r.info), "2xCCl2");
    EXPECT_EQ(r.info.disorder_left_out, 2);
    EXPECT_EQ(r.info.warnings, Labels{database_test::data("disorder_assemblies.cif") +
                                      ": disorder: the major alternative kept in 2 places of "
                                      "the cell, 2 atoms left out (every copy of Cl2B, Cl4B)"});
    database_test::expect_whole_molecules(*r.store, r.info);
}

TEST(Disorder, EveryPartOrAChosenGroup) {
    teska::ReadOptions every;
    every.disorder = teska::DisorderMode::kAll;
    const database_test::Read all = read("disorder_assemblies.cif", every);
    EXPECT_EQ(all.info.atoms, 8);
    EXPECT_EQ(formula_counts(all.info), "2xCCl3");
    EXPECT_EQ(all.info.disorder_left_out, 0);

    teska::ReadOptions chosen;
    chosen.disorder = teska::DisorderMode::kGroup;
    chosen.disorder_group = "2";
    const database_test::Read two = read("disorder_assemblies.cif", chosen);
    EXPECT_EQ(left_out(two), (Labels{"Cl2A", "Cl4A"}));
    EXPECT_TRUE(database_test::has_warning(two.info, "disorder: group 2 chosen in 2 assemblies"));

    chosen.disorder_group.clear();
    EXPECT_THROW(read("disorder_assemblies.cif", chosen), teska::Error);
}

// Without assemblies, group 1 is the major part of the first fragment (0.7 + 0.3) but the
// minor one of the second (0.45 + 0.55): each pair is chosen on its own.
TEST(Disorder, GroupsWithoutAssembliesArePairedAsRefined) {
    const database_test::Read r = read("disorder_paired.cif");
    EXPECT_EQ(left_out(r), (Labels{"Cl2B", "Cl4A"}));
    EXPECT_EQ(formula_counts(r.info), "2xCCl2");
}

// The inverted copy of the cyanide lies on the first (its N 0.07 A from the C): it is left
// out whole, the dinitrogen on the other centre is not touched.
TEST(Disorder, ANegativeGroupKeepsOneOrientation) {
    const database_test::Read r = read("disorder_negative.cif");
    EXPECT_EQ(r.info.atoms, 5);
    EXPECT_EQ(formula_counts(r.info), "1xCHN 1xN2");
    EXPECT_EQ(r.info.warnings,
              Labels{database_test::data("disorder_negative.cif") +
                     ": 1 negative disorder group (about special positions): one orientation "
                     "kept, 3 atoms of symmetry copies that overlap or bond to it left out"});
    database_test::expect_whole_molecules(*r.store, r.info);
}

// Six half hydrogens 60 degrees apart around the methyl axis: the second set lies 1.03 A from
// the first, closer than two hydrogens can be, and is left out.
TEST(Disorder, PartialSitesThatClashAreLeftOut) {
    const database_test::Read r = read("methyl_half_hydrogens.cif");
    EXPECT_EQ(formula_counts(r.info), "1xCH3Cl");
    EXPECT_EQ(left_out(r), (Labels{"H1D", "H1E", "H1F"}));

    teska::ReadOptions every;
    every.disorder = teska::DisorderMode::kAll;
    EXPECT_EQ(formula_counts(read("methyl_half_hydrogens.cif", every).info), "1xCH6Cl");
    ASSERT_EQ(r.info.warnings.size(), 1u);
    EXPECT_NE(r.info.warnings[0].find(": disorder: the major alternative kept in 1 place of the "
                                      "cell, 3 atoms left out (every copy of H1D, H1E, H1F)"),
              std::string::npos)
        << r.info.warnings[0];
}

// Alternatives found by where their atoms are, whatever their labels: each file's major
// orientation whole, nothing of another left, every molecule there.
TEST(Disorder, OverlappingAlternativesKeepOneOrientationWhole) {
    struct Case {
        const char* file;
        int atoms;
        const char* formulas;
        Labels left_out;
    };
    const Case cases[] = {
        // Two orientations at 0.25 about an inversion centre, each overlapping its inverted
        // copy and the other: one guest of the four images, the host untouched.
        {"guest_about_inversion.cif", 5, "1xCClN 1xN2", {"Cl2", "C2", "N2"}},
        // C3A and C3B, alternatives in two assemblies, bond to C2 and to each other: the
        // first group stays; H3B, bonded only to the C3B left out, goes with it.
        {"side_chain_two_assemblies.cif", 4, "1xC3Cl", {"C3B", "H3B"}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.file);
        const database_test::Read r = read(c.file);
        EXPECT_EQ(r.info.atoms, c.atoms);
        EXPECT_EQ(formula_counts(r.info), c.formulas);
        EXPECT_EQ(left_out(r), c.left_out);
        database_test::expect_whole_molecules(*r.store, r.info);
    }
    teska::ReadOptions every;
    every.disorder = teska::DisorderMode::kAll;
    EXPECT_EQ(formula_counts(read("side_chain_two_assemblies.cif", every).info), "1xC4HCl");
}

// Of two kept hydrogens that a half hydrogen clashes with, the warning names the last found:
// in a 10 A cube the grid has 4 bins per axis, visited from the lower to the higher, and the
// atoms of one bin latest kept first. H1P (bin 1 along a) is named by H1B of its own bin, not
// by the nearer H1A of bin 0; H2P, in one bin with both, by H2A, kept before the nearer H2B.
TEST(Disorder, AClashNamesTheLastKeptAtomFound) {
    const database_test::Read r = database_test::read_text(
        "data_x\n_cell_length_a 10\n_cell_length_b 10\n_cell_length_c 10\n"
        "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n"
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
