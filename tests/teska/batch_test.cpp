// teska batches end to end: good and bad inputs in one run; the same outputs and report with
// -j 2 as with -j 1; shards that partition the input list; --skip-existing; and no output left
// by a write that fails or an input stopped at the time limit.
#include <sys/stat.h>

#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "teska_support.h"

namespace {

using teska_test::folder_entries;
using teska_test::report_rows;
using teska_test::run_teska;
using test_support::read_file;
using test_support::ScratchDir;
using test_support::test_data;
using test_support::write_file;
using Row = std::vector<std::string>;
using Names = std::set<std::string>;

// Two crystals that convert, and inputs that fail in the three ways a reader fails: the database
// reader with a position, the store's molfile reader ending its process, a file that is missing.
std::vector<std::string> stage_batch(const ScratchDir& dir) {
    write_file(dir.file("naphthalene.cif"), read_file(test_support::example("naphthalene.cif")));
    write_file(dir.file("chloroacetonitrile.cif"),
               read_file(test_data("golden_inputs/chloroacetonitrile.cif")));
    for (const char* name : {"unterminated_text.cif", "values_missing.cif", "short_counts.mol"})
        write_file(dir.file(name), read_file(test_data(std::string("teska/") + name)));
    return {"naphthalene.cif",  "unterminated_text.cif", "chloroacetonitrile.cif",
            "short_counts.mol", "missing.cif",           "values_missing.cif"};
}

std::vector<std::string> with(std::vector<std::string> args, const std::vector<std::string>& more) {
    args.insert(args.end(), more.begin(), more.end());
    return args;
}

TEST(Batch, GoodInputsAreConvertedAndBadOnesNamedWithTheirPosition) {
    ScratchDir dir;
    const auto run = run_teska(
        with({"convert"}, with(stage_batch(dir), {"-d", "out", "--report", "report.tsv"})),
        dir.path());
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.out, "");
    EXPECT_EQ(folder_entries(dir.file("out")),
              (Names{"chloroacetonitrile.pdb", "naphthalene.pdb"}));

    const auto rows = report_rows(dir.file("report.tsv"));
    ASSERT_EQ(rows.size(), 6u);
    // Naphthalene (P 21/c, Z = 2): two C10H8 of 18 atoms. Chloroacetonitrile (P 21 21 21,
    // Z = 4): four C2H2ClN of 6 atoms.
    EXPECT_EQ(rows[0], (Row{"naphthalene.cif", "ok", "36", "2", "C10H8 x2", "", ""}));
    EXPECT_EQ(rows[2], (Row{"chloroacetonitrile.cif", "ok", "24", "4", "C2H2ClN x4", "", ""}));
    // The text field opened on line 15 runs to the end of the 16-line file; the row of line 13
    // has all its values, the next one not, which the reader finds at the loop of line 8.
    const std::vector<std::pair<std::size_t, std::string>> failures = {
        {1, "unterminated_text.cif:17:1: "},
        {3, "short_counts.mol: Problems reading a MDL file Cannot read atom and bond count"},
        {4, "missing.cif: no such file"},
        {5, "values_missing.cif:8:1: "}};
    for (const auto& [row, error] : failures) {
        SCOPED_TRACE(rows[row][0]);
        ASSERT_EQ(rows[row].size(), 7u);
        EXPECT_EQ(Row(rows[row].begin() + 1, rows[row].begin() + 5), (Row{"failed", "", "", ""}));
        EXPECT_EQ(rows[row][6].compare(0, error.size(), error), 0) << rows[row][6];
        EXPECT_NE(run.err.find(rows[row][6] + "\n"), std::string::npos) << run.err;
    }
    EXPECT_NE(run.err.find("teska: 6 inputs, 2 converted, 4 failed, 0 skipped in "),
              std::string::npos);
}

// The batch above and, when they are beside the project, the database files, once with one
// job and once with two: same files, same bytes, same report, same status.
TEST(Batch, TwoJobsWriteTheSameFilesAndReportAsOne) {
    ScratchDir dir;
    std::vector<std::string> inputs = stage_batch(dir);
    for (const std::string& name : test_support::shared_cif_names())
        inputs.push_back(test_support::shared_cif(name));
    const auto one =
        run_teska(with(with({"convert"}, inputs), {"-d", "one", "--report", "one.tsv", "-j", "1"}),
                  dir.path());
    const auto two =
        run_teska(with(with({"convert"}, inputs), {"-d", "two", "--report", "two.tsv", "-j", "2"}),
                  dir.path());
    EXPECT_EQ(one.status, 1);
    EXPECT_EQ(two.status, one.status);
    EXPECT_EQ(read_file(dir.file("two.tsv")), read_file(dir.file("one.tsv")));
    const Names written = folder_entries(dir.file("one"));
    EXPECT_EQ(folder_entries(dir.file("two")), written);
    EXPECT_GE(written.size(), 2u);
    for (const std::string& name : written)
        EXPECT_EQ(read_file(dir.file("two/" + name)), read_file(dir.file("one/" + name))) << name;
}

// Seven inputs in three shards of 2, 2 and 3 (K-th part: inputs 7(K-1)/3 up to 7K/3): the
// shards' rows laid end to end are the whole run's rows, and their outputs split the whole
// run's outputs.
TEST(Batch, ShardsPartitionTheInputListInOrder) {
    ScratchDir dir;
    const std::string crystal = read_file(test_support::example("naphthalene.cif"));
    std::string list;
    for (const char* name :
         {"n1.cif", "n2.cif", "n3.cif", "n4.cif", "bad.cif", "n6.cif", "n7.cif"}) {
        write_file(dir.file(name), std::string(name) == "bad.cif" ? "data_x\n" : crystal);
        list += std::string(name) + "\n";
    }
    write_file(dir.file("list.txt"), list);
    const auto whole =
        run_teska({"convert", "--files-from", "list.txt", "-d", "whole", "--report", "whole.tsv"},
                  dir.path());
    EXPECT_EQ(whole.status, 1);
    std::vector<Row> rows;
    Names outputs;
    const std::vector<std::size_t> sizes = {2, 2, 3};
    for (int k = 1; k <= 3; ++k) {
        const std::string part = "part" + std::to_string(k);
        // The list comes on standard input this time.
        run_teska({"convert", "--files-from", "-", "--shard", std::to_string(k) + "/3", "-d", part,
                   "--report", part + ".tsv"},
                  dir.path(), list);
        const auto part_rows = report_rows(dir.file(part + ".tsv"));
        EXPECT_EQ(part_rows.size(), sizes[k - 1]);
        rows.insert(rows.end(), part_rows.begin(), part_rows.end());
        for (const std::string& name : folder_entries(dir.file(part)))
            EXPECT_TRUE(outputs.insert(name).second) << name << " written by two shards";
    }
    EXPECT_EQ(rows, report_rows(dir.file("whole.tsv")));
    EXPECT_EQ(outputs, folder_entries(dir.file("whole")));
    EXPECT_EQ(outputs.size(), 6u);
}

// An output already there marks its input done: the file is left as it is and the row says so.
// A per-molecule format is done when its first file is there (renamed into place last).
TEST(Batch, SkipExistingLeavesConvertedInputsAlone) {
    ScratchDir dir;
    stage_batch(dir);
    test_support::make_dir(dir.file("out"));
    write_file(dir.file("out/naphthalene.pdb"), "kept\n");
    write_file(dir.file("out/chloroacetonitrile_01.xyz"), "kept\n");
    const auto pdb = run_teska({"convert", "naphthalene.cif", "chloroacetonitrile.cif", "-d", "out",
                                "--skip-existing", "--report", "pdb.tsv"},
                               dir.path());
    const auto xyz = run_teska({"convert", "naphthalene.cif", "chloroacetonitrile.cif", "-d", "out",
                                "--skip-existing", "-t", "xyz", "--split", "--report", "xyz.tsv"},
                               dir.path());
    EXPECT_EQ(pdb.status, 0);
    EXPECT_EQ(xyz.status, 0);
    EXPECT_EQ(read_file(dir.file("out/naphthalene.pdb")), "kept\n");
    EXPECT_EQ(read_file(dir.file("out/chloroacetonitrile_01.xyz")), "kept\n");
    EXPECT_EQ(folder_entries(dir.file("out")),
              (Names{"naphthalene.pdb", "chloroacetonitrile.pdb", "naphthalene_01.xyz",
                     "naphthalene_02.xyz", "chloroacetonitrile_01.xyz"}));
    const auto status_of = [](const std::vector<Row>& rows) {
        std::vector<std::string> statuses;
        for (const Row& row : rows) statuses.push_back(row[1]);
        return statuses;
    };
    EXPECT_EQ(status_of(report_rows(dir.file("pdb.tsv"))),
              (std::vector<std::string>{"skipped", "ok"}));
    EXPECT_EQ(status_of(report_rows(dir.file("xyz.tsv"))),
              (std::vector<std::string>{"ok", "skipped"}));
    EXPECT_NE(pdb.err.find("teska: 2 inputs, 1 converted, 0 failed, 1 skipped"), std::string::npos);
}

// A 4x4x4 supercell of naphthalene is 2,304 ATOM records of 81 bytes, past a file-size limit of
// 64 KiB: the write fails, by the limit's signal or (the signal ignored) as a failed write, in
// teska's PDB writer and in the store's CIF writer. Neither a final file nor a staging folder
// is left.
TEST(Batch, AWriteThatFailsLeavesNoFile) {
    for (const auto& [limit, output, error] :
         std::vector<std::tuple<std::string, std::string, std::string>>{
             {"ulimit -f 64;", "big.pdb", "naphthalene.cif: stopped by signal 25"},
             {"ulimit -f 64; trap '' XFSZ;", "big.pdb", "naphthalene.cif: writing big.pdb failed"},
             {"ulimit -f 64; trap '' XFSZ;", "big.cif",
              "naphthalene.cif: writing big.cif failed"}}) {
        SCOPED_TRACE(limit + " " + output);
        ScratchDir dir;
        write_file(dir.file("naphthalene.cif"),
                   read_file(test_support::example("naphthalene.cif")));
        const auto run =
            run_teska({"convert", "naphthalene.cif", "--supercell", "4x4x4", "-o", output},
                      dir.path(), "", limit);
        EXPECT_EQ(run.status, 1);
        EXPECT_EQ(run.err.compare(0, error.size(), error), 0) << run.err;
        EXPECT_EQ(folder_entries(dir.path()), (Names{"naphthalene.cif"}));
    }
}

// A named pipe that no one writes to never finishes reading. Under --strict the child has
// made its staging folder before reading, and the parent removes it after the kill.
TEST(Batch, AnInputPastTheTimeLimitIsStoppedAndLeavesNoFile) {
    ScratchDir dir;
    stage_batch(dir);
    ASSERT_EQ(::mkfifo(dir.file("stuck.cif").c_str(), 0600), 0);
    const auto run = run_teska({"convert", "--strict", "stuck.cif", "naphthalene.cif", "-d", "out",
                                "--timeout", "0.5", "--report", "report.tsv"},
                               dir.path());
    EXPECT_EQ(run.status, 1);
    const auto rows = report_rows(dir.file("report.tsv"));
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], (Row{"stuck.cif", "timeout", "", "", "", "",
                            "stuck.cif: stopped after the time limit of 0.5 s"}));
    EXPECT_EQ(rows[1][1], "ok");
    EXPECT_EQ(folder_entries(dir.file("out")), (Names{"naphthalene.pdb"}));
}

}  // namespace
