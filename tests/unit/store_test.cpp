// The structure store: a fresh store's defaults, the cell setter that leaves the matrices
// alone, the lattice-vector accessor and the molfile hooks that keep nothing.
#include <string>

#include "fileio.h"
#include "test_support.h"

namespace {

TEST(Store, FreshStoreHasItsDefaults) {
    const FileIO store;
    EXPECT_FALSE(store.is_periodic);
    EXPECT_EQ(store.spacegroup_number, -1);
    EXPECT_EQ(store.identifier, "teska");
    EXPECT_EQ(store.data_dir, "data");
    EXPECT_EQ(store.bond_scale, 1.15);
    EXPECT_EQ(store.log_suffix, "log");
    EXPECT_EQ(store.fchk_suffix, "fchk");
    EXPECT_FALSE(store.print_details);
    EXPECT_FALSE(bverbose_local);

    for (const std::string* text :
         {&store.spare_text_1, &store.spare_text_2, &store.spare_text_3, &store.spare_text_4,
          &store.chemical_name, &store.spacegroup_name, &store.input_filename})
        EXPECT_TRUE(text->empty());
    EXPECT_TRUE(store.cif_symops.empty());
    EXPECT_TRUE(store.cif_atoms.cif_atom_label.empty());
    EXPECT_TRUE(store.cif_atoms.cif_fz.empty());
    EXPECT_TRUE(store.cif_bonds.bond_label1.empty());
    EXPECT_TRUE(store.cif_bonds.bond_type.empty());
    EXPECT_TRUE(store.mdl_tokens.empty());
    EXPECT_TRUE(store.mdl_atom_index.empty());
    EXPECT_TRUE(store.mol_natoms_list.empty());
    EXPECT_TRUE(store.mol_atom_list.empty());
    EXPECT_TRUE(store.spare_list_1.empty());
    EXPECT_TRUE(store.spare_list_2.empty());
}

TEST(Store, UnsetFieldsStartAtZero) {
    const FileIO store;
    for (double value : store.cell_latt) EXPECT_EQ(value, 0.0);
    for (const auto* m : {&store.cell_latt3x3, &store.cell_latt3x3_inv, &store.cell_vectors,
                          &store.cell_latt3x3_copy, &store.supercell_latt3x3})
        for (const auto& row : *m)
            for (double value : row) EXPECT_EQ(value, 0.0);
    for (double length : store.cell_lengths) EXPECT_EQ(length, 0.0);
    for (int repeat : store.supercell_n) EXPECT_EQ(repeat, 1);
    EXPECT_EQ(store.natoms_cif, 0);
    EXPECT_EQ(store.nmols, 0);
    EXPECT_EQ(store.input_kind, 0);
    EXPECT_EQ(store.re_nunique, 0);
    EXPECT_EQ(store.hl_nunique, 0);
    EXPECT_EQ(store.cif_atypes, nullptr);
    EXPECT_EQ(store.cif_x_s, nullptr);
    EXPECT_EQ(store.cif_x, nullptr);
    EXPECT_EQ(store.cif_radius, nullptr);
    EXPECT_EQ(store.mol_natoms, nullptr);
    EXPECT_EQ(store.mol_atypes, nullptr);
    EXPECT_EQ(store.mol_x, nullptr);
    EXPECT_EQ(store.mol_x_s, nullptr);
    EXPECT_EQ(store.mol_extra_a, nullptr);
    EXPECT_EQ(store.mol_extra_b, nullptr);
    EXPECT_EQ(store.mol_value, nullptr);
    EXPECT_EQ(store.mol_ids, nullptr);
    EXPECT_EQ(store.mol_file_names, nullptr);
    EXPECT_EQ(store.mol_triple, nullptr);
    EXPECT_EQ(store.re_mol_index, nullptr);
    EXPECT_EQ(store.hl_unique_index, nullptr);
}

TEST(Store, OrcaOutputBlockIsTheDefaultText) {
    const FileIO store;
    EXPECT_EQ(store.orca_output_block.size(), 140u);
    EXPECT_EQ(store.orca_output_block,
              "%output\n"
              "  PrintLevel=Normal\n"
              "  Print[ P_Basis       ] 2\n"
              "  Print[ P_Overlap     ] 1\n"
              "  Print[ P_OrbEn       ] 1\n"
              "  Print[ P_MOs         ] 1\n"
              "end\n");
}

TEST(Store, SetCellLatticeStoresSixNumbersOnly) {
    FileIO store;
    double cubic[6] = {10, 10, 10, 90, 90, 90};
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(cubic, lattice);

    double lengths[3] = {7.1, 8.3, 9.7};
    store.set_cell_lattice(lengths, 81.2, 76.5, 68.9);
    const double* cell = store.get_cell_latt();
    EXPECT_EQ(cell, store.cell_latt);
    const double expected[6] = {7.1, 8.3, 9.7, 81.2, 76.5, 68.9};
    for (int k = 0; k < 6; ++k) EXPECT_EQ(cell[k], expected[k]) << k;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) EXPECT_EQ(store.cell_latt3x3[i][j], lattice[i][j]);
}

TEST(Store, LatticeVectorsAreTheMatrixColumns) {
    FileIO store;
    const double columns[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};  // columns a, b, c
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) store.cell_latt3x3[i][j] = columns[j][i];
    double a[3], b[3], c[3];
    store.get_cif_lattice_vectors(a, b, c);
    for (int k = 0; k < 3; ++k) {
        EXPECT_EQ(a[k], columns[0][k]);
        EXPECT_EQ(b[k], columns[1][k]);
        EXPECT_EQ(c[k], columns[2][k]);
    }
}

TEST(Store, MolfileHooksKeepNothing) {
    FileIO store;
    EXPECT_EQ(store.AddBond(0, 0, 0, 0), 1);
    EXPECT_EQ(store.AddBond(1, 2, 1, 0), 1);
    EXPECT_EQ(store.AddBond(-5, 99999, 3, -1), 1);
    store.SetFormalCharge(-1);
    store.SetSpinMultiplicity(3);
    store.SetIsotope(13);
    EXPECT_EQ(store.natoms_cif, 0);
    EXPECT_EQ(store.cif_atypes, nullptr);
}

}  // namespace
