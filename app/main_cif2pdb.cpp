// cif2pdb: converts a crystal structure CIF file into a PDB file of the whole unit cell,
// every molecule whole and one residue per molecule.
#include <cstdio>
#include <cstring>
#include <string>

#include "teska/fileio.h"
#include "teska/mmutil.h"

namespace {

constexpr const char* kVersion = "1.0.0";
constexpr const char* kCredit = "Crystal cells to whole-molecule PDB files by the TESKA team";
constexpr const char* kStars =
    "*******************************************************************";

void print_framed_line(const char* text) {
    std::printf("%s\n", text);
    std::fflush(stdout);
}

void print_title() {
    char line[128];
    print_framed_line(kStars);
    std::snprintf(line, sizeof line,
                  "*   TESKA Transport Calculation Utility, Version %-13.13s    *", kVersion);
    print_framed_line(line);
    std::snprintf(line, sizeof line, "*   %-59.59s   *", kCredit);
    print_framed_line(line);
    print_framed_line(kStars);
}

void help_prompts(const std::string& program_name) {
    std::printf("\nUsage: %s input.cif [out.pdb]\n\n", program_name.c_str());
}

// The invocation's last path component; either separator counts.
std::string program_name_of(const char* argv0) {
    const std::string path = argv0 ? argv0 : "";
    const std::size_t cut = path.find_last_of("/\\");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

bool is_verbose_switch(const char* arg) { return std::strncmp(arg, "-verbose", 8) == 0; }

bool is_help_switch(const char* arg) {
    return std::strncmp(arg, "-h", 2) == 0 || std::strncmp(arg, "--help", 6) == 0;
}

}  // namespace

int main(int argc, char** argv) {
    print_title();
    const std::string program_name = program_name_of(argc > 0 ? argv[0] : nullptr);
    if (argc <= 1) {
        help_prompts(program_name);
        return 1;
    }

    bool verbose = false;
    for (int i = 1; i < argc; ++i) {
        if (is_verbose_switch(argv[i])) {
            verbose = true;
        } else if (is_help_switch(argv[i])) {
            help_prompts(program_name);
            return 0;
        }
    }

    FileIO store;
    // Input and output are taken by position; switches are not skipped.
    const std::string input = argv[1];
    const std::string output =
        argc == 2 ? mmutil::remove_filename_extension(input) + ".pdb" : std::string(argv[2]);

    std::printf("Convert CIF file to PDF file...\n");
    store.write_cif2pdb(input.c_str(), output.c_str(), verbose, false);
    std::printf("Successfully done.\n");
    return 0;
}
