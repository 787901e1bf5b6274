// Tests of the benchmark's supercell generator: the triplet parser, the seed crystal and its
// unit cell, the P1 file layout, and that the conversion reads a supercell into whole molecules.
#include "supercell.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>

#include "fileio.h"
#include "test_support.h"

namespace {

using bench::Operation;
using bench::SeedCrystal;
using bench::SiteAtom;
using test_support::ScratchDir;

std::string written_supercell(const SeedCrystal& seed, bench::Repeats repeats) {
    ScratchDir dir;
    FILE* out = std::fopen(dir.file("p1.cif").c_str(), "w");
    bench::write_p1_supercell(out, seed, bench::unit_cell_atoms(seed), repeats);
    std::fclose(out);
    return test_support::read_file(dir.file("p1.cif"));
}

std::string seed_error(const std::string& text) {
    ScratchDir dir;
    test_support::write_file(dir.file("seed.cif"), text);
    try {
        bench::read_seed_crystal(dir.file("seed.cif"));
    } catch (const bench::SeedError& error) {
        const std::string message = error.what();
        return message.substr(message.find("seed.cif"));
    }
    return "no error";
}

SeedCrystal cubic_seed(std::vector<std::string> operations, std::vector<SiteAtom> atoms) {
    return {"cube", {10, 10, 10, 90, 90, 90}, std::move(operations), std::move(atoms)};
}

TEST(ParseOperation, TripletsGiveRotationAndTranslation) {
    struct Case {
        const char* triplet;
        double rot[3][3];
        double trans[3];
    };
    const Case cases[] = {
        {"x,y,z", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}},
        {"-x+1/2, y+1/2, -z", {{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, {0.5, 0.5, 0}},
        {"1/2+X,-Y+1/2,Z", {{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}, {0.5, 0.5, 0}},
        {"-y, x-y, z+0.25", {{0, -1, 0}, {1, -1, 0}, {0, 0, 1}}, {0, 0, 0.25}},
        {"x, y, z-2/3", {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, -2.0 / 3.0}},
    };
    for (const Case& c : cases) {
        const Operation op = bench::parse_operation(c.triplet);
        for (int r = 0; r < 3; ++r) {
            for (int k = 0; k < 3; ++k) EXPECT_EQ(op.rot[r][k], c.rot[r][k]) << c.triplet;
            EXPECT_DOUBLE_EQ(op.trans[r], c.trans[r]) << c.triplet;
        }
    }
}

TEST(ParseOperation, RejectsWhatIsNoTriplet) {
    for (const char* triplet : {"x,y", "x,y,z,x", "x,q,z", "x,,z", "x,y,-", "x,y,1/"})
        EXPECT_THROW(bench::parse_operation(triplet), bench::SeedError) << triplet;
}

TEST(SeedCrystal, ReadsCellOperationsAndAsymmetricUnit) {
    const SeedCrystal seed = bench::read_seed_crystal(SEED_CIF);
    EXPECT_EQ(seed.name, "anthracene");
    const double cell[6] = {8.562, 6.038, 11.184, 90, 124.70, 90};
    for (int k = 0; k < 6; ++k) EXPECT_DOUBLE_EQ(seed.cell[k], cell[k]);
    ASSERT_EQ(seed.operations.size(), 4u);
    EXPECT_EQ(seed.operations[1], "-x+1/2, y+1/2, -z");
    ASSERT_EQ(seed.atoms.size(), 12u);  // half a molecule C14H10 on an inversion centre
    EXPECT_EQ(seed.atoms[0].symbol, "C");
    EXPECT_DOUBLE_EQ(seed.atoms[0].frac[0], 0.08163);
    EXPECT_EQ(seed.atoms[0].u_iso, "0.0489(3)");
    EXPECT_EQ(seed.atoms[11].symbol, "H");
    EXPECT_DOUBLE_EQ(seed.atoms[11].frac[2], 0.30303);
}

// Bonds C-C below 1.6 and C-H below 1.2 angstrom, nearest periodic image, monoclinic cell.
int count_bonded(const SeedCrystal& seed, const std::vector<SiteAtom>& cell, std::size_t i) {
    const double beta = seed.cell[4] * 3.14159265358979 / 180.0;
    int bonded = 0;
    for (std::size_t j = 0; j < cell.size(); ++j) {
        if (j == i) continue;
        double f[3];
        for (int d = 0; d < 3; ++d) {
            f[d] = cell[j].frac[d] - cell[i].frac[d];
            f[d] -= std::nearbyint(f[d]);
        }
        const double x = seed.cell[0] * f[0] + seed.cell[2] * std::cos(beta) * f[2];
        const double y = seed.cell[1] * f[1];
        const double z = seed.cell[2] * std::sin(beta) * f[2];
        const bool both_carbon = cell[i].symbol == "C" && cell[j].symbol == "C";
        if (std::sqrt(x * x + y * y + z * z) < (both_carbon ? 1.6 : 1.2)) ++bonded;
    }
    return bonded;
}

TEST(UnitCell, SeedExpandsToTwoWholeMoleculesInsideTheCell) {
    const SeedCrystal seed = bench::read_seed_crystal(SEED_CIF);
    const std::vector<SiteAtom> cell = bench::unit_cell_atoms(seed);
    ASSERT_EQ(cell.size(), 48u);  // 4 operations x 12 atoms, no site on a symmetry element
    for (std::size_t i = 0; i < cell.size(); ++i) {
        for (double f : cell[i].frac) {
            EXPECT_GE(f, 0.0);
            EXPECT_LT(f, 1.0);
        }
        // Each carbon has three partners, each hydrogen one: no contact between molecules.
        EXPECT_EQ(count_bonded(seed, cell, i), cell[i].symbol == "C" ? 3 : 1) << i;
    }
}

TEST(UnitCell, ImagesOnAnEarlierSiteAreDropped) {
    const SeedCrystal seed = cubic_seed({"x,y,z", "-x,-y,-z"},
                                        {{"C", {0, 0, 0}, "?"}, {"O", {0.5, 0.25, 0.99995}, "?"}});
    const std::vector<SiteAtom> cell = bench::unit_cell_atoms(seed);
    // -x,-y,-z maps the origin onto itself; the O image (0.5, 0.75, 0.00005) is a new site.
    ASSERT_EQ(cell.size(), 3u);
    EXPECT_EQ(cell[2].symbol, "O");
    EXPECT_DOUBLE_EQ(cell[2].frac[1], 0.75);
}

TEST(P1Supercell, WholeFileOfTwoCells) {
    const SeedCrystal seed = cubic_seed(
        {"x,y,z"}, {{"C", {0.25, 0.5, 0.9999999}, "0.05"}, {"Cl", {0.75, 0.0, 0.125}, "?"}});
    const std::string expected =
        "data_cube_P1_2x1x1\n"
        "_audit_creation_method            'P1 supercell 2 x 1 x 1 of cube'\n"
        "_symmetry_space_group_name_H-M    'P 1'\n"
        "_symmetry_Int_Tables_number       1\n"
        "_cell_length_a                    20.0000\n"
        "_cell_length_b                    10.0000\n"
        "_cell_length_c                    10.0000\n"
        "_cell_angle_alpha                 90.000\n"
        "_cell_angle_beta                  90.000\n"
        "_cell_angle_gamma                 90.000\n"
        "_cell_formula_units_Z             1\n"
        "# 4 atoms\n"
        "\n"
        "loop_\n"
        "_symmetry_equiv_pos_as_xyz\n"
        "'x, y, z'\n"
        "\n"
        "loop_\n"
        "_atom_site_label\n"
        "_atom_site_type_symbol\n"
        "_atom_site_fract_x\n"
        "_atom_site_fract_y\n"
        "_atom_site_fract_z\n"
        "_atom_site_U_iso_or_equiv\n"
        "_atom_site_occupancy\n"
        "C1 C 0.125000 0.500000 0.000000 0.05 1\n"
        "Cl1 Cl 0.375000 0.000000 0.125000 ? 1\n"
        "C2 C 0.625000 0.500000 0.000000 0.05 1\n"
        "Cl2 Cl 0.875000 0.000000 0.125000 ? 1\n";
    EXPECT_EQ(written_supercell(seed, {2, 1, 1}), expected);
}

TEST(P1Supercell, CellsRunWithAInnermostAndSameBytesEveryTime) {
    const SeedCrystal seed = cubic_seed({"x,y,z"}, {{"N", {0.5, 0.5, 0.5}, "?"}});
    const std::string text = written_supercell(seed, {2, 2, 2});
    const std::string rows = text.substr(text.find("N1 "));
    EXPECT_EQ(rows,
              "N1 N 0.250000 0.250000 0.250000 ? 1\nN2 N 0.750000 0.250000 0.250000 ? 1\n"
              "N3 N 0.250000 0.750000 0.250000 ? 1\nN4 N 0.750000 0.750000 0.250000 ? 1\n"
              "N5 N 0.250000 0.250000 0.750000 ? 1\nN6 N 0.750000 0.250000 0.750000 ? 1\n"
              "N7 N 0.250000 0.750000 0.750000 ? 1\nN8 N 0.750000 0.750000 0.750000 ? 1\n");
    EXPECT_EQ(written_supercell(seed, {2, 2, 2}), text);
}

TEST(SeedCrystal, UnusableSeedsNameFileAndLine) {
    const std::string cell =
        "data_x\n_cell_length_a 5\n_cell_length_b 5\n_cell_length_c 5\n"
        "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n";
    const std::string atoms =
        "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
        "_atom_site_fract_y\n_atom_site_fract_z\nC1 C 0 0 0\n";
    EXPECT_EQ(seed_error(cell + "loop_\n_symmetry_equiv_pos_as_xyz\n'x,y'\n" + atoms),
              "seed.cif:8: symmetry operation 'x,y' does not have three parts");
    EXPECT_EQ(
        seed_error(cell + "loop_\n_symmetry_equiv_pos_as_xyz\n'x,y,z'\n" + atoms + "C2 C 0\n"),
        "seed.cif:11: loop values do not fill whole rows of 5 columns");
    EXPECT_EQ(seed_error(cell + "loop_\n_symmetry_equiv_pos_as_xyz\nx,y,z\n" +
                         "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
                         "_atom_site_fract_y\n_atom_site_fract_z\nC1 C ? 0 0\n"),
              "seed.cif:11: atom C1: coordinate '?' is not a number");
    EXPECT_EQ(seed_error("data_x\n_cell_length_a 5\n;\nopen text\n"),
              "seed.cif:3: text field is not closed");
    EXPECT_EQ(seed_error(cell + atoms), "seed.cif: no symmetry operations");
    EXPECT_EQ(seed_error("data_x\n_cell_length_a ?\n"),
              "seed.cif:2: _cell_length_a has no numeric value");
    EXPECT_EQ(seed_error("data_x\n"), "seed.cif: no positive _cell_length_a");
}

TEST(SeedCrystal, MissingFileIsNamed) {
    EXPECT_THROW(bench::read_seed_crystal("/nonexistent/seed.cif"), bench::SeedError);
}

// The conversion's reader and pipeline on a 2 x 2 x 2 supercell: 16 anthracene molecules of 24
// atoms, each made whole again (every atom has its partners without any periodic image).
TEST(P1Supercell, ConversionFindsEveryMoleculeWhole) {
    ScratchDir dir;
    const SeedCrystal seed = bench::read_seed_crystal(SEED_CIF);
    test_support::write_file(dir.file("p1.cif"), written_supercell(seed, {2, 2, 2}));
    FileIO store;
    store.read_data_cif(dir.file("p1.cif").c_str(), false);
    EXPECT_EQ(store.natoms_cif, 384);
    EXPECT_EQ(store.mol_natoms_list, std::vector<int>(16, 24));
    store.input_kind = 2;
    store.read_crystal_strcuture_files(false, false);
    ASSERT_EQ(store.nmols, 16);
    for (int m = 0; m < store.nmols; ++m) {
        const double* x = store.mol_x[m];
        for (int i = 0; i < 24; ++i) {
            int bonded = 0;
            for (int j = 0; j < 24; ++j) {
                const double d = std::hypot(x[3 * j] - x[3 * i], x[3 * j + 1] - x[3 * i + 1],
                                            x[3 * j + 2] - x[3 * i + 2]);
                if (j != i && d < 1.6) ++bonded;
            }
            EXPECT_EQ(bonded, store.mol_atypes[m][i] == 6 ? 3 : 1) << "molecule " << m;
        }
    }
}

}  // namespace
