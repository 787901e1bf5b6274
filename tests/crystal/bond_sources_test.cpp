// The model's bonds of a crystal the database reader read are the reader's: the file's bond
// table included, and the bond source chosen in the read settings.
#include <gtest/gtest.h>

#include <cstddef>

#include "teska/crystal.h"
#include "test_support.h"

namespace {

std::size_t bond_total(const teska::Crystal& c) {
    std::size_t total = 0;
    for (std::size_t m = 0; m < c.molecules().size(); ++m) total += c.bonds(static_cast<int>(m)).size();
    return total;
}

const std::string kAquaIron = "database/hexaaqua_iron_bond_table.cif";

TEST(BondSources, TheModelsBondsAreTheReaders) {
    const teska::Crystal both = teska::Crystal::read(test_support::test_data(kAquaIron));
    ASSERT_EQ(both.molecules().size(), 1u);
    EXPECT_EQ(both.molecules()[0].formula, "FeH12O6");
    EXPECT_EQ(both.table_bonds(), 6);
    EXPECT_EQ(both.added_bonds(0).table, 6);
    // 6 Fe-O from the table beside the 12 O-H of the radii; the iron (atom 0) has all six.
    ASSERT_EQ(both.bonds(0).size(), 18u);
    int iron_bonds = 0;
    for (const teska::Bond& bond : both.bonds(0)) iron_bonds += bond.a == 0;
    EXPECT_EQ(iron_bonds, 6);
    EXPECT_EQ(both.species().size(), 1u);

    teska::ReadSettings radii;
    radii.bonds = "radii";
    radii.metal_bonds = false;
    const teska::Crystal apart = teska::Crystal::read(test_support::test_data(kAquaIron), radii);
    EXPECT_EQ(apart.molecules().size(), 7u);
    EXPECT_EQ(bond_total(apart), 12u);
    EXPECT_EQ(apart.table_bonds(), 0);
    EXPECT_EQ(apart.species().size(), 2u);

    teska::ReadSettings wrong;
    wrong.bonds = "table";
    EXPECT_THROW(teska::Crystal::read(test_support::test_data(kAquaIron), wrong), teska::Error);

    // By the radii, the metal-ligand rule joins the same six Fe-O bonds.
    radii.metal_bonds = true;
    const teska::Crystal metal = teska::Crystal::read(test_support::test_data(kAquaIron), radii);
    ASSERT_EQ(metal.molecules().size(), 1u);
    EXPECT_EQ(metal.metal_bonds(), 6);
    EXPECT_EQ(metal.added_bonds(0).metal, 6);
    EXPECT_EQ(metal.added_bonds(0).table, 0);
    EXPECT_EQ(metal.bonds(0).size(), 18u);
}

}  // namespace
