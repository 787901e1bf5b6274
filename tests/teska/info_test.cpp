// `teska info`: the JSON document parses whole and carries the counts each crystal's symmetry
// implies; molecule files with and without a cell.
#include <string>
#include <vector>

#include "teska_support.h"

namespace {

using teska_test::Json;
using teska_test::JsonReader;
using teska_test::run_teska;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;

struct Expected {
    std::string file, formula, source;
    int operations, atoms, molecules, unique;
};

// Naphthalene, P 21/c (4 operations), Z = 2: both molecules images of one another.
// Chloroacetonitrile, P 21 21 21 (4), Z = 4: one molecule and its three images.
// Acetonitrile hydrate, P -1 (2): two acetonitriles and two waters, each pair related by the
// inversion, so two unique molecules.
TEST(Info, JsonParsesWholeAndCarriesTheCounts) {
    ScratchDir dir;
    write_file(dir.file("naphthalene.cif"),
               read_file(std::string(EXAMPLES_DIR) + "/naphthalene.cif"));
    for (const char* name : {"chloroacetonitrile.cif", "acetonitrile_hydrate.cif"})
        write_file(dir.file(name), read_file(test_data(std::string("golden_inputs/") + name)));
    const auto run = run_teska({"info", "naphthalene.cif", "chloroacetonitrile.cif", "missing.cif",
                                "acetonitrile_hydrate.cif", "--json", "-j", "2"},
                               dir.path());
    EXPECT_EQ(run.status, 1);
    Json document;
    ASSERT_TRUE(JsonReader::parse(run.out, &document)) << run.out;
    ASSERT_EQ(document.kind, Json::kArray);
    ASSERT_EQ(document.items.size(), 4u);

    const std::vector<std::pair<std::size_t, Expected>> crystals = {
        {0, {"naphthalene.cif", "C20H16", "loop", 4, 36, 2, 1}},
        {1, {"chloroacetonitrile.cif", "C8H8Cl4N4", "loop", 4, 24, 4, 1}},
        {3, {"acetonitrile_hydrate.cif", "C4H10N2O2", "loop", 2, 18, 4, 2}}};
    for (const auto& [index, e] : crystals) {
        SCOPED_TRACE(e.file);
        const Json& o = document.items[index];
        EXPECT_EQ(o["file"].text, e.file);
        EXPECT_EQ(o["status"].text, "ok");
        EXPECT_EQ(o["formula"].text, e.formula);
        EXPECT_EQ(o["spacegroup_source"].text, e.source);
        EXPECT_EQ(o["operations"].number, e.operations);
        EXPECT_EQ(o["atoms"].number, e.atoms);
        EXPECT_EQ(o["molecules"].number, e.molecules);
        EXPECT_EQ(o["molecule_formulas"].items.size(), static_cast<std::size_t>(e.molecules));
        EXPECT_EQ(o["unique_molecules"].number, e.unique);
        EXPECT_EQ(o["unique_formulas"].items.size(), static_cast<std::size_t>(e.unique));
        EXPECT_EQ(o["warnings"].kind, Json::kArray);
        EXPECT_EQ(o["cell"].kind, Json::kObject);
    }
    const Json& naphthalene = document.items[0];
    EXPECT_EQ(naphthalene["cell"]["a"].number, 8.658);
    EXPECT_EQ(naphthalene["cell"]["beta"].number, 122.92);
    EXPECT_EQ(naphthalene["molecule_formulas"].items[1].text, "C10H8");
    EXPECT_EQ(document.items[3]["unique_formulas"].items[0].text, "C2H3N");
    // Two acetonitriles (5 bonds each) and two waters (2 each): two species of two.
    const Json& hydrate = document.items[3];
    EXPECT_EQ(hydrate["bonds"].number, 14);
    ASSERT_EQ(hydrate["species"].items.size(), 2u);
    EXPECT_EQ(hydrate["species"].items[0]["formula"].text, "C2H3N");
    EXPECT_EQ(hydrate["species"].items[0]["count"].number, 2);
    EXPECT_EQ(hydrate["species"].items[1]["formula"].text, "H2O");
    EXPECT_EQ(naphthalene["bonds"].number, 38);

    const Json& missing = document.items[2];
    EXPECT_EQ(missing["status"].text, "failed");
    EXPECT_EQ(missing["error"].text, "missing.cif: no such file");
    EXPECT_NE(run.err.find("missing.cif: no such file\n"), std::string::npos);
}

// A device is refused before any reader would read it without end.
TEST(Info, ADeviceIsNoInput) {
    ScratchDir dir;
    const auto run = run_teska({"info", "/dev/zero"}, dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("/dev/zero: is a device, not a file\n"), std::string::npos) << run.err;
}

// --bonds chooses where the bonds come from; the info says what the file's table added.
TEST(Info, BondSourcesAndTheTablesBonds) {
    ScratchDir dir;
    const std::string file = test_data("database/hexaaqua_iron_bond_table.cif");
    const auto both = run_teska({"info", file}, dir.path());
    EXPECT_EQ(both.status, 0) << both.err;
    EXPECT_NE(both.out.find("  molecules         1: FeH12O6 x1\n"), std::string::npos) << both.out;
    EXPECT_NE(both.out.find("  bond table        6 bonds added beyond the radii: in molecule 1 "
                            "(FeH12O6) 6 of 18\n"),
              std::string::npos)
        << both.out;
    const auto radii =
        run_teska({"info", file, "--bonds", "radii", "--no-metal-bonds", "--json"}, dir.path());
    EXPECT_NE(radii.out.find("\"table_bonds\": 0"), std::string::npos) << radii.out;
    EXPECT_NE(radii.out.find("\"molecules\": 7"), std::string::npos) << radii.out;
    EXPECT_EQ(run_teska({"info", file, "--bonds", "table"}, dir.path()).status, 2);
    const auto metal = run_teska({"info", file, "--bonds", "radii", "--json"}, dir.path());
    EXPECT_NE(metal.out.find("\"metal_bonds\": 6"), std::string::npos) << metal.out;
    EXPECT_NE(metal.out.find("\"molecule_added_bonds\": [{\"bonds\": 18, \"table\": 0, "
                             "\"metal\": 6}]"),
              std::string::npos);
}

// A molfile becomes a crystal with --cell; an XYZ file without one has no cell, and its two
// molecules are the bonded pieces as placed; a PDB file brings its cell.
TEST(Info, MoleculeFilesWithAndWithoutACell) {
    ScratchDir dir;
    write_file(dir.file("naph.cif"), read_file(std::string(EXAMPLES_DIR) + "/naphthalene.cif"));
    ASSERT_EQ(run_teska({"convert", "naph.cif", "-t", "mol"}, dir.path()).status, 0);
    ASSERT_EQ(run_teska({"convert", "naph.cif", "-t", "xyz"}, dir.path()).status, 0);
    ASSERT_EQ(run_teska({"convert", "naph.cif", "-o", "cell.pdb"}, dir.path()).status, 0);
    const auto run = run_teska(
        {"info", "naph_01.mol", "naph.xyz", "--cell", "20,20,20,90,90,90", "--json"}, dir.path());
    write_file(dir.file("chiral.mol"), read_file(test_data("readers/chiral_2.mol")));
    const auto bare =
        run_teska({"info", "naph.xyz", "cell.pdb", "chiral.mol", "--json"}, dir.path());
    Json with_cell, without_cell;
    ASSERT_TRUE(JsonReader::parse(run.out, &with_cell)) << run.out;
    ASSERT_TRUE(JsonReader::parse(bare.out, &without_cell)) << bare.out;
    const Json& mol = with_cell.items.at(0);
    EXPECT_EQ(mol["reader"].text, "molfile");
    EXPECT_EQ(mol["formula"].text, "C10H8");
    EXPECT_EQ(mol["cell"]["a"].number, 20);
    EXPECT_EQ(with_cell.items.at(1)["molecules"].number, 2);
    const Json& xyz = without_cell.items.at(0);
    EXPECT_EQ(xyz["cell"].kind, Json::kNull);
    EXPECT_EQ(xyz["atoms"].number, 36);
    EXPECT_EQ(xyz["molecules"].number, 2);
    // A PDB file with a CRYST1 cell is a crystal of its own.
    const Json& pdb = without_cell.items.at(1);
    EXPECT_EQ(pdb["reader"].text, "pdb");
    EXPECT_EQ(pdb["cell"]["beta"].number, 122.92);
    EXPECT_EQ(pdb["molecules"].number, 2);
    EXPECT_EQ(pdb["formula"].text, "C20H16");
    // The store's reader prints its warning and reads on: the warning is the input's.
    const Json& chiral = without_cell.items.at(2);
    ASSERT_EQ(chiral["warnings"].items.size(), 1u);
    EXPECT_EQ(chiral["warnings"].items[0].text,
              "chiral.mol: warning: The Chiral Flag should be either 0 or 1. The value of 2 will "
              "be ignored.");
}

}  // namespace
