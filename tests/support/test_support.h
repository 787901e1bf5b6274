// Helpers shared by the tests: scratch directories, whole-file reads and writes, running the
// command-line tool, and the optional folder of database crystal files.
#ifndef CIF2PDB_TEST_SUPPORT_H
#define CIF2PDB_TEST_SUPPORT_H

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
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

struct RunResult {
    int status = -1;  // exit status as the shell sees it (0..255); -1 if killed by a signal
    std::string out, err;
};

inline std::string shell_quote(const std::string& text) {
    std::string quoted = "'";
    for (char c : text) quoted += (c == '\'') ? std::string("'\\''") : std::string(1, c);
    return quoted + "'";
}

// Runs the cif2pdb executable with the given arguments inside dir, capturing both streams.
inline RunResult run_cif2pdb(const std::vector<std::string>& args, const std::string& dir) {
    std::string command = "cd " + shell_quote(dir) + " && LC_ALL=C " + shell_quote(CIF2PDB_EXE);
    for (const auto& arg : args) command += " " + shell_quote(arg);
    command += " > .stdout 2> .stderr < /dev/null";
    const int raw = std::system(command.c_str());
    RunResult result{WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, read_file(dir + "/.stdout"),
                     read_file(dir + "/.stderr")};
    std::remove((dir + "/.stdout").c_str());
    std::remove((dir + "/.stderr").c_str());
    return result;
}

inline std::string test_data(const std::string& name) {
    return std::string(TEST_DATA_DIR) + "/" + name;
}
inline std::string golden(const std::string& name) { return std::string(GOLDEN_DIR) + "/" + name; }

// Path of a database crystal file beside the project; empty when the folder is absent.
inline std::string shared_cif(const std::string& name) {
    const std::string path = std::string(SHARED_CIF_DIR) + "/" + name;
    return file_exists(path) ? path : std::string();
}

#define SKIP_WITHOUT_SHARED_CIFS()                                               \
    do {                                                                         \
        if (!test_support::file_exists(SHARED_CIF_DIR))                          \
            GTEST_SKIP() << "database crystal files are not beside the project"; \
    } while (0)

}  // namespace test_support

#endif  // CIF2PDB_TEST_SUPPORT_H
