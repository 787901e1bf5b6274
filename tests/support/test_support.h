// Helpers shared by the tests: scratch directories, whole-file reads and writes, running the
// command-line tools, the optional folder of database crystal files, and whether atoms are one
// bonded piece.
#ifndef CIF2PDB_TEST_SUPPORT_H
#define CIF2PDB_TEST_SUPPORT_H

#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace test_support {

inline std::string read_file(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

inline void write_file(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

inline bool file_exists(const std::string& path) {
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

inline void make_dir(const std::string& path) { ::mkdir(path.c_str(), 0755); }

inline bool ends_with(const std::string& text, const std::string& tail) {
    return text.size() >= tail.size() &&
           text.compare(text.size() - tail.size(), tail.size(), tail) == 0;
}

// A fresh directory under the system's temporary folder, removed when the object goes.
class ScratchDir {
   public:
    ScratchDir() {
        char pattern[] = "/tmp/cif2pdb_test_XXXXXX";
        const char* made = ::mkdtemp(pattern);
        path_ = made ? made : "/tmp";
    }
    ~ScratchDir() {
        if (path_ != "/tmp") std::system(("rm -rf '" + path_ + "'").c_str());
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + "/" + name; }

   private:
    std::string path_;
};

// Death tests match the error stream only; fatal messages that go to standard output are
// sent there by calling this first inside the death-test statement.
inline void stdout_to_stderr() {
    std::fflush(stdout);
    ::dup2(STDERR_FILENO, STDOUT_FILENO);
}

// What run prints on standard output.
template <typename Run>
std::string stdout_of(Run run) {
    testing::internal::CaptureStdout();
    run();
    return testing::internal::GetCapturedStdout();
}

// The rows of a tab-separated file as fields, its comment lines (#) and header row left out.
inline std::vector<std::vector<std::string>> tsv_rows(const std::string& path) {
    std::vector<std::vector<std::string>> rows;
    std::istringstream in(read_file(path));
    bool header = true;
    for (std::string line; std::getline(in, line);) {
        if (line.empty() || line[0] == '#' || std::exchange(header, false)) continue;
        std::vector<std::string> fields(1);
        for (char c : line)
            if (c == '\t')
                fields.emplace_back();
            else
                fields.back() += c;
        rows.push_back(fields);
    }
    return rows;
}

struct RunResult {
    int status = -1;  // exit status as the shell sees it (0..255); -1 if killed by a signal
    std::string out, err;
};

inline std::string shell_quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += (c == '\'') ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Runs an executable with the given arguments inside dir, capturing both streams; shell_prefix
// runs first in the same shell (e.g. "ulimit -f 64;"), stdin_text is the standard input.
inline RunResult run_program(const std::string& exe, const std::vector<std::string>& args,
                             const std::string& dir, const std::string& stdin_text = "",
                             const std::string& shell_prefix = "") {
    write_file(dir + "/.stdin", stdin_text);
    std::string command =
        "cd " + shell_quote(dir) + " && " + shell_prefix + " LC_ALL=C " + shell_quote(exe);
    for (const auto& arg : args) command += " " + shell_quote(arg);
    command += " > .stdout 2> .stderr < .stdin";
    const int raw = std::system(("bash -c " + shell_quote(command)).c_str());
    RunResult result{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read_file(dir + "/.stdout"),
                     read_file(dir + "/.stderr")};
    for (const char* name : {"/.stdout", "/.stderr", "/.stdin"}) std::remove((dir + name).c_str());
    return result;
}

inline RunResult run_cif2pdb(const std::vector<std::string>& args, const std::string& dir) {
    return run_program(CIF2PDB_EXE, args, dir);
}

inline std::string test_data(const std::string& name) {
    return std::string(TEST_DATA_DIR) + "/" + name;
}
inline std::string golden(const std::string& name) { return std::string(GOLDEN_DIR) + "/" + name; }
#ifdef EXAMPLES_DIR  // not given to the benchmarks' tests
inline std::string example(const std::string& name) {
    return std::string(EXAMPLES_DIR) + "/" + name;
}
#endif

// Path of a database crystal file beside the project; empty when the folder is absent.
inline std::string shared_cif(const std::string& name) {
    const std::string path = std::string(SHARED_CIF_DIR) + "/" + name;
    return file_exists(path) ? path : std::string();
}

// Names in a folder (not "." and ".."), hidden ones included.
inline std::set<std::string> folder_entries(const std::string& path) {
    std::set<std::string> names;
    if (DIR* dir = opendir(path.c_str())) {
        while (const dirent* entry = readdir(dir))
            if (std::string(entry->d_name) != "." && std::string(entry->d_name) != "..")
                names.insert(entry->d_name);
        closedir(dir);
    }
    return names;
}

// The names of the database crystal files beside the project, sorted; none when it is absent.
inline std::vector<std::string> shared_cif_names() {
    std::vector<std::string> names;
    for (const std::string& name : folder_entries(SHARED_CIF_DIR))
        if (ends_with(name, ".cif")) names.push_back(name);
    return names;
}

// How many of n items the first reaches through bonded(i, j): n when they are one piece.
template <typename Bonded>
int reached_from_first(int n, Bonded bonded) {
    std::vector<int> piece = {0};
    std::vector<char> in_piece(static_cast<std::size_t>(n), 0);
    in_piece[0] = 1;
    for (std::size_t k = 0; k < piece.size(); ++k)
        for (int j = 0; j < n; ++j)
            if (!in_piece[j] && bonded(piece[k], j)) in_piece[j] = 1, piece.push_back(j);
    return static_cast<int>(piece.size());
}

#define SKIP_WITHOUT_SHARED_CIFS()                                               \
    do {                                                                         \
        if (!test_support::file_exists(SHARED_CIF_DIR))                          \
            GTEST_SKIP() << "database crystal files are not beside the project"; \
    } while (0)

}  // namespace test_support

#endif  // CIF2PDB_TEST_SUPPORT_H
