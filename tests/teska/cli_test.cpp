// The command line itself: help and version, and every command line that cannot be carried out,
// which ends with status 2 before any input is read or any file written.
#include <string>
#include <vector>

#include "teska_support.h"

namespace {

using teska_test::folder_entries;
using teska_test::run_teska;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::write_file;

TEST(CommandLine, HelpAndVersion) {
    ScratchDir dir;
    const auto help = run_teska({"--help"}, dir.path());
    EXPECT_EQ(help.status, 0);
    EXPECT_NE(help.out.find("convert"), std::string::npos);
    EXPECT_NE(help.out.find("info"), std::string::npos);
    for (const char* command : {"convert", "info"}) {
        const auto sub = run_teska({command, "--help"}, dir.path());
        EXPECT_EQ(sub.status, 0) << command;
        EXPECT_NE(sub.out.find("Examples:\n  teska " + std::string(command)), std::string::npos)
            << sub.out;
    }
    const auto version = run_teska({"--version"}, dir.path());
    EXPECT_EQ(version.status, 0);
    EXPECT_EQ(version.out, "teska 1.0.0\n");
}

TEST(CommandLine, UsageErrorsEndWithStatus2BeforeAnyInputIsRead) {
    ScratchDir dir;
    const std::string crystal = read_file(std::string(EXAMPLES_DIR) + "/naphthalene.cif");
    test_support::make_dir(dir.file("x"));
    test_support::make_dir(dir.file("y"));
    for (const char* name : {"a.cif", "b.cif", "x/c.cif", "y/c.cif", "p.pdb"})
        write_file(dir.file(name), crystal);
    const auto before = folder_entries(dir.path());
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {},
             {"convert"},
             {"bogus", "a.cif"},
             {"convert", "a.cif", "--bogus"},
             {"convert", "a.cif", "b.cif", "-o", "both.pdb"},  // -o names one input's output
             {"convert", "a.cif", "-o", "o.pdb", "-d", "out"},
             {"convert", "x/c.cif", "y/c.cif", "-d", "out"},  // both to out/c.pdb
             {"convert", "a.cif", "a.cif"},
             {"convert", "p.pdb"},               // would replace its input
             {"convert", "a.cif", "-t", "cif"},  // likewise
             {"convert", "a.cif", "-t", "png"},
             {"convert", "a.cif", "-o", "a.inp"},  // ORCA or Q-Chem?
             {"convert", "a.cif", "-o", "a.txt"},
             {"convert", "a.cif", "--split"},  // pdb has no per-molecule form
             {"convert", "a.cif", "-t", "xyz", "--supercell", "2x2x2"},
             {"convert", "a.cif", "--supercell", "2x0x1"},
             {"convert", "a.cif", "--supercell", "2x2"},
             {"convert", "a.cif", "--method", "PBE0"},             // no quantum-chemistry output
             {"convert", "a.cif", "-t", "orca", "--charge", "1"},  // single points are neutral
             {"convert", "a.cif", "--strict", "--unique"},
             {"convert", "a.cif", "--strict", "--disorder", "all"},
             {"convert", "a.cif", "--cell", "10,10,10,90,90"},
             {"convert", "a.cif", "-j", "0"},
             {"convert", "a.cif", "--timeout", "-1"},
             {"convert", "a.cif", "--shard", "0/3"},
             {"convert", "a.cif", "--shard", "4/3"},
             {"convert", "a.cif", "--shard", "1"},
             {"convert", "--files-from", "missing.txt"},
             {"info", "a.cif", "--block", "all"}}) {
        const auto run = run_teska(args, dir.path());
        EXPECT_EQ(run.status, 2) << testing::PrintToString(args) << run.err;
        EXPECT_NE(run.err, "") << testing::PrintToString(args);
        EXPECT_EQ(folder_entries(dir.path()), before) << testing::PrintToString(args);
    }
}

}  // namespace
