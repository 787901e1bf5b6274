// MDL molfile reader: the V2000 atom block into a molecule slot, and the V3000 extended
// connection table, whose atoms go to the crystal arrays. Only atoms are kept; bonds are
// found again from distances.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "element_rows.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "store_arrays.h"

namespace {

constexpr const char* kTokenSeparators = " \t\n\r";
// Longest physical V3000 line the reader's 32768-byte buffer holds.
constexpr std::size_t kMaxV3000LineLength = 32767;

// Token i of a V3000 line; a token past the end of the line reads as empty.
const std::string& token_at(const std::vector<std::string>& tokens, std::size_t i) {
    static const std::string kEmpty;
    return i < tokens.size() ? tokens[i] : kEmpty;
}

// A line too long for the buffer fails the stream, as an end of file does.
bool read_physical_line(std::istream& in, std::string& line) {
    if (!std::getline(in, line)) return false;
    if (line.size() > kMaxV3000LineLength) {
        in.setstate(std::ios::failbit);
        return false;
    }
    return true;
}

// "M  V30 ..." or the closing "M  END".
bool is_v3000_line(const std::vector<std::string>& tokens) {
    return tokens.size() >= 2 && tokens[0] == "M" && (tokens[1] == "V30" || tokens[1] == "END");
}

bool continues_on_next_line(const std::string& line) { return !line.empty() && line.back() == '-'; }

bool is_property(const std::string& token) { return token.find('=') != std::string::npos; }

// Tokens from index first onward must all be KEY=VALUE properties. Their values (charge,
// radical, stereo, mass, valence) are not kept.
bool all_properties_from(const std::vector<std::string>& tokens, std::size_t first) {
    for (std::size_t i = first; i < tokens.size(); ++i)
        if (!is_property(tokens[i])) return false;
    return true;
}

int non_negative(int count) { return std::max(count, 0); }

// Fresh element and coordinate arrays for a molecule slot; the old ones stay allocated.
void allocate_molecule_slot(FileIO& store, int slot, int natoms) {
    const bool slot_exists = store.mol_natoms && store.mol_atypes && store.mol_x && store.mol_x_s &&
                             slot >= 0 && slot < store.nmols;
    if (!slot_exists)
        FILEIO_FATAL(kStatusFailure, stderr,
                     "Molecule slot %d does not exist (the store holds %d molecules)\n", slot,
                     store.nmols);
    const int n = non_negative(natoms);
    store.mol_natoms[slot] = n;
    store.mol_atypes[slot] = fileio_detail::new_store_array<int>(n);
    store.mol_x[slot] = fileio_detail::new_store_array<double>(3LL * n);
    store.mol_x_s[slot] = fileio_detail::new_store_array<double>(3LL * n);
}

// Atoms the crystal arrays can take: V3000 atoms are stored there and never past them.
long long crystal_atom_capacity(const FileIO& store) {
    return (store.cif_atypes && store.cif_x) ? non_negative(store.natoms_cif) : 0;
}

// ----- Header and counts line -----

struct CountsLine {
    int natoms = 0;
    bool is_v3000 = false;
};

CountsLine read_counts_line(std::istream& in) {
    std::string line;
    for (int header_line = 0; header_line < 3; ++header_line) std::getline(in, line);
    if (!std::getline(in, line)) line.clear();
    if (line.size() < 6)
        FILEIO_FATAL(kStatusFormat, stdout,
                     "WARNING: Problems reading a MDL file\n"
                     "         Cannot read atom and bond count\n"
                     "         Expected standard 6 character atom and bond count\n");
    CountsLine counts;
    counts.natoms = std::atoi(line.substr(0, 3).c_str());
    if (line.size() > 14) {
        const unsigned chiral_flag = static_cast<unsigned>(std::atoi(line.substr(12, 3).c_str()));
        if (chiral_flag > 1)
            std::printf(
                "WARNING: The Chiral Flag should be either 0 or 1. The value of %u will be ignored.\n",
                chiral_flag);
    }
    if (std::atoi(line.substr(6, 3).c_str()) > 0)
        FILEIO_FATAL(kStatusFormat, stdout,
                     "WARNING: Problems reading the Count line of an MDL file\n"
                     "         There may be erroneous addition spaces or\n"
                     "         the file may contains Atom Lists, which are ignored\n");
    counts.is_v3000 = line.find("V3000") != std::string::npos;
    return counts;
}

// ----- V2000 atom block -----

// Fixed columns: x 1-10, y 11-20, z 21-30, symbol 32-34. A line too short for them throws
// the standard out-of-range error of substr, which is not caught.
void read_v2000_atom_line(const std::string& line, int* atype, double* xyz) {
    xyz[0] = std::atof(line.substr(0, 10).c_str());
    xyz[1] = std::atof(line.substr(10, 10).c_str());
    xyz[2] = std::atof(line.substr(20, 10).c_str());
    std::string symbol = line.substr(31, 3);
    *atype = fileio_detail::element_row_from_symbol(mmutil::trim(symbol));
}

void read_v2000_atoms(FileIO& store, std::istream& in, int slot, int natoms) {
    allocate_molecule_slot(store, slot, natoms);
    std::string line;
    for (int i = 0; i < store.mol_natoms[slot]; ++i) {
        if (!std::getline(in, line))
            FILEIO_FATAL(kStatusFormat, stdout,
                         "WARNING: Problems reading a MDL file\n"
                         "         Not enough atoms to match atom count (%d) in counts line\n",
                         store.natoms_cif);
        read_v2000_atom_line(line, &store.mol_atypes[slot][i], &store.mol_x[slot][3 * i]);
    }
}

// ----- V3000 blocks -----

// What one line read at the current CTAB level leads to.
enum class V3000Step {
    kNextLine,    // the line or block was handled; read on at this level
    kOpenTable,   // a BEGIN CTAB line: its contents form a new, inner level
    kLevelTrue,   // the level ends and reports success ("M  END")
    kLevelFalse,  // the level ends and reports failure (a failed read or grammar violation)
};

V3000Step open_table(FileIO& store, std::istream& in, int slot) {
    std::vector<std::string>& tokens = store.mdl_tokens;
    if (!store.ReadV3000Line(in, tokens) || token_at(tokens, 2) != "COUNTS")
        return V3000Step::kLevelFalse;
    allocate_molecule_slot(store, slot, std::atoi(token_at(tokens, 3).c_str()));
    return V3000Step::kOpenTable;
}

V3000Step next_v3000_step(FileIO& store, std::istream& in, int slot) {
    std::vector<std::string>& tokens = store.mdl_tokens;
    if (!store.ReadV3000Line(in, tokens)) return V3000Step::kLevelFalse;
    if (token_at(tokens, 1) == "END") return V3000Step::kLevelTrue;
    if (token_at(tokens, 2) == "LINKNODE") return V3000Step::kNextLine;
    // Any other keyword, END CTAB among them, closes the current level.
    if (token_at(tokens, 2) != "BEGIN") return V3000Step::kLevelFalse;

    std::string block = token_at(tokens, 3);
    if (block == "CTAB") return open_table(store, in, slot);
    bool handled;
    if (block == "ATOM")
        handled = store.ReadAtomBlock(in);
    else if (block == "BOND")
        handled = store.ReadBondBlock(in);
    else if (block == "RGROUP")
        handled = store.ReadRGroupBlock(in);
    else
        handled = store.ReadUnimplementedBlock(in, block);
    return handled ? V3000Step::kNextLine : V3000Step::kLevelFalse;
}

// A nested table ends well on its "END CTAB" line; either keyword is enough.
bool closes_table(const std::vector<std::string>& tokens) {
    return token_at(tokens, 2) == "END" || token_at(tokens, 3) == "CTAB";
}

}  // namespace

void FileIO::read_data_mol(const char* path, int slot, bool show_progress) {
    std::ifstream in(path);
    if (!in) FILEIO_FATAL(kStatusFailure, stderr, "Failed to open input file \"%s\"\n", path);
    if (show_progress) std::printf("Reading molecular file \"%s\"... \n", path);

    const CountsLine counts = read_counts_line(in);
    if (counts.is_v3000) {
        mdl_atom_index.clear();
        ReadV3000Block(in, slot, show_progress);
        return;
    }
    read_v2000_atoms(*this, in, slot, counts.natoms);
}

bool FileIO::ReadV3000Line(std::istream& in, std::vector<std::string>& token_list) {
    std::string line;
    if (!read_physical_line(in, line)) return false;
    mmutil::tokenize(token_list, line, kTokenSeparators);
    if (!is_v3000_line(token_list)) return false;

    // A trailing minus sign continues the line: each continuation line, itself a V3000 line,
    // adds its tokens after its first three. Any failure leaves the first line's tokens alone.
    std::vector<std::string> continuation, part;
    while (continues_on_next_line(line)) {
        if (!read_physical_line(in, line)) return false;
        mmutil::tokenize(part, line, kTokenSeparators);
        if (!is_v3000_line(part)) return false;
        continuation.insert(continuation.end(),
                            part.begin() + std::min<std::size_t>(3, part.size()), part.end());
    }
    token_list.insert(token_list.end(), continuation.begin(), continuation.end());
    return true;
}

// Nested CTAB levels are tracked by a counter rather than by recursion, so that no depth of
// nesting can exhaust the stack. When a level ends, the level around it checks that the
// current line closes the table, as a recursive reader would on return.
bool FileIO::ReadV3000Block(std::istream& in, int slot, bool) {
    long long open_levels = 0;
    for (;;) {
        const V3000Step step = next_v3000_step(*this, in, slot);
        if (step == V3000Step::kOpenTable) {
            ++open_levels;
            continue;
        }
        if (step == V3000Step::kNextLine && in.good()) continue;
        bool level_result = step != V3000Step::kLevelFalse;
        for (;;) {
            if (open_levels == 0) return level_result;
            --open_levels;
            if (!closes_table(mdl_tokens)) {
                level_result = false;
            } else if (!in.good()) {
                level_result = true;
            } else {
                break;
            }
        }
    }
}

bool FileIO::ReadAtomBlock(std::istream& in) {
    const long long capacity = crystal_atom_capacity(*this);
    for (long long k = 0;; ++k) {
        if (!ReadV3000Line(in, mdl_tokens)) return false;
        const std::vector<std::string>& tokens = mdl_tokens;
        if (token_at(tokens, 2) == "END") return true;
        if (token_at(tokens, 1) == "END") return false;  // the file ends inside the block

        mdl_atom_index[std::atoi(token_at(tokens, 2).c_str())] = static_cast<int>(k + 1);
        const double xyz[3] = {std::atof(token_at(tokens, 4).c_str()),
                               std::atof(token_at(tokens, 5).c_str()),
                               std::atof(token_at(tokens, 6).c_str())};
        const std::string& type = token_at(tokens, 3);
        if (type == "R#") {
            std::printf("WARNING: A molecule contains an R group which is not implemented!\n");
            continue;
        }
        if (k >= capacity) return false;
        cif_atypes[k] = fileio_detail::element_row_from_symbol(type);
        std::copy(xyz, xyz + 3, cif_x + 3 * k);
        if (!all_properties_from(tokens, 8)) return false;
    }
}

bool FileIO::ReadBondBlock(std::istream& in) {
    for (;;) {
        if (!ReadV3000Line(in, mdl_tokens)) return false;
        const std::vector<std::string>& tokens = mdl_tokens;
        if (token_at(tokens, 2) == "END") return true;
        if (token_at(tokens, 1) == "END") return false;  // the file ends inside the block

        // Bonds are not stored; an atom number not seen in the atom block maps to 0.
        mdl_atom_index.emplace(std::atoi(token_at(tokens, 4).c_str()), 0);
        mdl_atom_index.emplace(std::atoi(token_at(tokens, 5).c_str()), 0);
        if (!all_properties_from(tokens, 6)) return false;
    }
}

bool FileIO::ReadRGroupBlock(std::istream& in) {
    if (print_details)
        std::printf(
            "WARNING: RGROUP and RLOGIC blocks are not currently implemented and their contents are ignored.\n");
    do {
        if (!ReadV3000Line(in, mdl_tokens)) return false;
    } while (token_at(mdl_tokens, 2) != "END" || token_at(mdl_tokens, 3) != "RGROUP");
    return true;
}

bool FileIO::ReadUnimplementedBlock(std::istream& in, std::string& blockname) {
    if (print_details)
        std::printf(
            "WARNING: %s blocks are not currently implemented and their contents are ignored.\n",
            blockname.c_str());
    do {
        if (!ReadV3000Line(in, mdl_tokens)) return false;
    } while (token_at(mdl_tokens, 2) != "END");
    return true;
}
