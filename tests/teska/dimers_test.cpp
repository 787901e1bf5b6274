// `teska dimers`: the JSON document parses whole and carries naphthalene's packing, an input
// without a cell fails on its own, and the table ends with the totals.
#include <cmath>
#include <set>
#include <string>
#include <vector>

#include "teska_support.h"

namespace {

using teska_test::Json;
using teska_test::JsonReader;
using teska_test::run_teska;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::write_file;

const Json* class_at(const Json& classes, double com_distance) {
    for (const Json& c : classes.items)
        if (std::fabs(c["com_distance"].number - com_distance) < 1e-3) return &c;
    return nullptr;
}

bool contains(const Json& texts, const std::string& text) {
    for (const Json& t : texts.items)
        if (t.text == text) return true;
    return false;
}

// Naphthalene, P2_1/c with b = 6.003 and c = 8.235 at right angles: molecules on the inversion
// centres (0, 0, 0) and (0, 1/2, 1/2), so the edge-to-face pair lies half the b + c diagonal
// apart (5.095 A), four per molecule by the screw -x,y+1/2,-z+1/2; the stack along b 6.003 A
// apart, two per molecule by translation.
TEST(Dimers, JsonCarriesNaphthalenePacking) {
    ScratchDir dir;
    write_file(dir.file("naphthalene.cif"), read_file(std::string(EXAMPLES_DIR) + "/naphthalene.cif"));
    ASSERT_EQ(run_teska({"convert", "naphthalene.cif", "-t", "xyz"}, dir.path()).status, 0);
    const auto run =
        run_teska({"dimers", "naphthalene.cif", "naphthalene.xyz", "--json", "-j", "2"}, dir.path());
    EXPECT_EQ(run.status, 1);
    Json document;
    ASSERT_TRUE(JsonReader::parse(run.out, &document)) << run.out;
    ASSERT_EQ(document.items.size(), 2u);
    const Json& o = document.items[0];
    EXPECT_EQ(o["status"].text, "ok");
    EXPECT_EQ(o["cutoff"].number, 4.0);
    EXPECT_EQ(o["dimers_per_cell"].number, 14);
    ASSERT_EQ(o["molecules"].items.size(), 2u);
    EXPECT_EQ(o["molecules"].items[1]["centre"].items[1].number, 0.5);
    EXPECT_EQ(o["molecules"].items[1]["formula"].text, "C10H8");

    const Json* edge = class_at(o["classes"], 0.5 * std::sqrt(6.003 * 6.003 + 8.235 * 8.235));
    ASSERT_NE(edge, nullptr) << run.out;
    EXPECT_EQ((*edge)["multiplicity"].number, 4);
    EXPECT_EQ((*edge)["orbit"].items.size(), 4u);
    EXPECT_TRUE(contains((*edge)["relation"], "-x,y+1/2,-z+1/2")) << run.out;
    EXPECT_EQ((*edge)["near_cutoff"].kind, Json::kBool);
    const Json* stack = class_at(o["classes"], 6.003);
    ASSERT_NE(stack, nullptr);
    EXPECT_EQ((*stack)["multiplicity"].number, 2);
    EXPECT_TRUE(contains((*stack)["relation"], "x,y+1,z"));
    const Json& orbit = (*stack)["orbit"].items.at(0);
    EXPECT_EQ(orbit.items.at(2).items.at(1).number, 1);
    EXPECT_EQ((*stack)["contact_atoms"].items.size(), 2u);

    EXPECT_EQ(document.items[1]["status"].text, "failed");
    EXPECT_NE(document.items[1]["error"].text.find("cell"), std::string::npos);

    const auto text = run_teska({"dimers", "naphthalene.cif", "--cutoff", "3.0"}, dir.path());
    EXPECT_EQ(text.status, 0);
    EXPECT_NE(text.out.find("dimers per cell 8, classes 3"), std::string::npos) << text.out;
    EXPECT_NE(run_teska({"dimers", "naphthalene.cif", "--cutoff", "-1"}, dir.path()).status, 0);
}

// -d writes the same folders on every run: per input and class the dimer and both monomers in
// each format asked for; an unknown format or charge is a usage error.
TEST(Dimers, CalculationInputsInStableFolders) {
    ScratchDir dir;
    write_file(dir.file("naphthalene.cif"), read_file(std::string(EXAMPLES_DIR) + "/naphthalene.cif"));
    const std::vector<std::string> args = {"dimers", "naphthalene.cif", "-d", "jobs",
                                           "-t", "xyz,gaussian", "--charge", "C10H8=1", "--json"};
    const auto first = run_teska(args, dir.path());
    ASSERT_EQ(first.status, 0) << first.err;
    Json document;
    ASSERT_TRUE(JsonReader::parse(first.out, &document)) << first.out;
    const Json& outputs = document.items.at(0)["outputs"];
    EXPECT_EQ(outputs.items.size(), 5u * 3 * 2);
    EXPECT_EQ(outputs.items.at(0).text, "jobs/naphthalene/class_01/dimer.xyz");
    EXPECT_EQ(teska_test::folder_entries(dir.file("jobs/naphthalene/class_04")),
              (std::set<std::string>{"dimer.com", "dimer.xyz", "monomer_a.com", "monomer_a.xyz",
                                     "monomer_b.com", "monomer_b.xyz"}));
    const std::string com = read_file(dir.file("jobs/naphthalene/class_04/dimer.com"));
    EXPECT_NE(com.find("\n2 1 1 2 1 2\n"), std::string::npos) << com;
    const auto again = run_teska(args, dir.path());
    EXPECT_EQ(again.out, first.out);
    EXPECT_EQ(read_file(dir.file("jobs/naphthalene/class_04/dimer.com")), com);
    EXPECT_EQ(run_teska({"dimers", "naphthalene.cif", "-d", "jobs", "-t", "cif"}, dir.path()).status, 2);
    EXPECT_EQ(run_teska({"dimers", "naphthalene.cif", "-d", "jobs", "--charge", "C10H8"}, dir.path()).status, 2);
    EXPECT_EQ(run_teska({"dimers", "naphthalene.cif", "-t", "xyz"}, dir.path()).status, 2);
    ASSERT_EQ(run_teska({"dimers", "naphthalene.cif", "naphthalene.cif", "--svg", "pairs.svg"}, dir.path()).status, 0);
    EXPECT_NE(read_file(dir.file("pairs_naphthalene.svg")).find("</svg>"), std::string::npos);
}

}  // namespace
