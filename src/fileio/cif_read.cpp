// CIF reader: a strict line scanner that fills the store's texts and column lists, then the
// shared step that turns them into the crystal (numbers, full cell, molecules).
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "cif_reader.h"
#include "element_rows.h"
#include "fatal.h"
#include "fileio.h"
#include "mmutil.h"
#include "store_arrays.h"

namespace {

constexpr const char* kRowDelimiters = " \t\n\r";
constexpr std::size_t kMinimumRowTokens = 5;
constexpr double kUnknownElementRadius = 9999.99;

// ----- Opening and slurping -----

// A directory opens as a stream on some systems but cannot be read: it fails like a missing file.
std::FILE* open_crystal_file(const char* filename) {
    std::FILE* file = std::fopen(filename, "r");
    struct stat info;
    if (file && fstat(fileno(file), &info) == 0 && S_ISDIR(info.st_mode)) {
        std::fclose(file);
        file = nullptr;
    }
    if (!file) FILEIO_FATAL(kStatusFailure, stderr, "Failed to open input file \"%s\"\n", filename);
    return file;
}

// The whole file as lines, newlines removed and nothing else changed (a CR stays).
std::vector<std::string> slurp_lines(std::FILE* file) {
    std::string text;
    char buffer[65536];
    std::size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0) text.append(buffer, count);
    std::fclose(file);

    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        if (end == std::string::npos) end = text.size();
        lines.push_back(text.substr(start, end - start));
        start = end + 1;
    }
    return lines;
}

// ----- Small text rules of the scan -----

bool contains(const std::string& line, const char* tag) {
    return line.find(tag) != std::string::npos;
}

bool starts_with(const std::string& line, const char* prefix) { return line.rfind(prefix, 0) == 0; }

// The value of a tag line: the text after the first space, or the whole line when it has none
// (so a tab-separated value or a value on the next line is not seen).
std::string value_after_first_space(const std::string& line) {
    const std::size_t space = line.find(' ');
    return space == std::string::npos ? line : line.substr(space + 1);
}

std::string trimmed(std::string line) {
    mmutil::trim(line);
    return line;
}

// Tokens of a loop row; fewer than five ends the run.
std::vector<std::string> row_tokens(std::string row) {
    std::vector<std::string> tokens;
    mmutil::tokenize(tokens, row, kRowDelimiters);
    if (tokens.size() < kMinimumRowTokens)
        FILEIO_FATAL(kStatusFailure, stdout,
                     "Not enough columns: %s\nAt least 5 columns are expected!\n", row.c_str());
    return tokens;
}

// ----- Loop columns -----

constexpr std::size_t kLoopColumns = 5;
using ColumnTags = std::array<const char*, kLoopColumns>;
using ColumnNumbers = std::array<std::size_t, kLoopColumns>;  // 1-based; 0 = missing
using ColumnLists = std::array<std::vector<std::string>*, kLoopColumns>;

constexpr ColumnTags kAtomSiteTags = {"_atom_site_label", "_atom_site_type_symbol",
                                      "_atom_site_fract_x", "_atom_site_fract_y",
                                      "_atom_site_fract_z"};
constexpr std::size_t kFirstFractColumn = 2;

constexpr ColumnTags kBondTags = {"_geom_bond_atom_site_label_1", "_geom_bond_atom_site_label_2",
                                  "_geom_bond_distance", "_geom_bond_site_symmetry_2",
                                  "_ccdc_geom_bond_type"};

// Numbers the header lines 1, 2, ... and remembers, per tag, the last line naming it; a line
// naming several tags counts for the first of them in the list.
ColumnNumbers number_columns(const std::vector<std::string>& header, const ColumnTags& tags) {
    ColumnNumbers numbers{};
    for (std::size_t line = 0; line < header.size(); ++line) {
        for (std::size_t k = 0; k < kLoopColumns; ++k) {
            if (contains(header[line], tags[k])) {
                numbers[k] = line + 1;
                break;
            }
        }
    }
    return numbers;
}

bool all_columns_present(const ColumnNumbers& numbers) {
    for (std::size_t number : numbers)
        if (number == 0) return false;
    return true;
}

// A row too short for a remembered column leaves that list one entry short.
void append_row(const std::vector<std::string>& tokens, const ColumnNumbers& numbers,
                const ColumnLists& lists) {
    for (std::size_t k = 0; k < kLoopColumns; ++k)
        if (numbers[k] <= tokens.size()) lists[k]->push_back(tokens[numbers[k] - 1]);
}

// ----- The line scan -----

class CifLineScanner {
   public:
    CifLineScanner(FileIO& store, const std::vector<std::string>& lines)
        : store_(store), lines_(lines), end_(lines.size()) {}

    int scan() {
        std::size_t i = 0;
        while (i < end_) i = scan_line(i);
        return fract_columns_;
    }

   private:
    struct LoopHeader {
        std::vector<std::string> tags;  // trimmed header lines
        std::size_t first_row;
    };

    std::string line_at(std::size_t i) const { return trimmed(lines_[i]); }

    // Each rule returns the index of the next line to scan; end_ ends the scan.
    std::size_t scan_line(std::size_t i) {
        const std::string line = line_at(i);
        if (line.empty() || line[0] == '#') return i + 1;
        if (line[0] == ';') return skip_text_field(i);
        if (read_value_line(line)) return i + 1;
        if (contains(line, "loop_")) return read_loop(i);
        return i + 1;
    }

    // The rules for lines that carry one value, in the order they are tried; true when one
    // applied. Tags are found anywhere in the line, case-sensitively.
    bool read_value_line(const std::string& line) {
        const std::string value = value_after_first_space(line);
        if (mmutil::iequals(line.substr(0, 5), "data_"))
            store_.identifier = line.substr(5);
        else if (contains(line, "_chemical_name_common"))
            read_common_name(value);
        else if (contains(line, "_space_group_IT_number"))
            store_.spacegroup_number = std::atoi(value.c_str());
        else if (names_space_group(line))
            store_.spacegroup_name = trimmed(value);  // quotes are kept
        else
            return read_cell_parameter(line, value);
        return true;
    }

    // Skips the field's lines, untrimmed, through the closing line; an unclosed field runs
    // to the end of the file.
    std::size_t skip_text_field(std::size_t i) const {
        for (std::size_t j = i + 1; j < end_; ++j)
            if (!lines_[j].empty() && lines_[j][0] == ';') return j + 1;
        return end_;
    }

    void read_common_name(std::string value) {
        mmutil::sg_triml(value);
        mmutil::sg_trimr(value);
        store_.chemical_name = value;
        store_.identifier = value;
    }

    // The first tag also covers its "_alt" form.
    static bool names_space_group(const std::string& line) {
        return contains(line, "_symmetry_space_group_name_H-M") ||
               contains(line, "_space_group_name_H-M_alt");
    }

    bool read_cell_parameter(const std::string& line, const std::string& value) {
        static constexpr std::array<const char*, 6> kCellTags = {
            "_cell_length_a",    "_cell_length_b",   "_cell_length_c",
            "_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"};
        for (std::size_t k = 0; k < kCellTags.size(); ++k) {
            if (contains(line, kCellTags[k])) {
                store_.cell_latt[k] = std::atof(value.c_str());
                return true;
            }
        }
        return false;
    }

    // Only the first header line (or the second, after a site-id column) decides the loop's
    // kind; a loop of no known kind is scanned on as ordinary lines.
    std::size_t read_loop(std::size_t loop_line) {
        std::size_t h = loop_line + 1;
        if (h >= end_) return end_;
        std::string first_tag = line_at(h);
        const bool has_id_column = contains(first_tag, "_symmetry_equiv_pos_site_id");
        if (has_id_column) {
            if (++h >= end_) return end_;
            first_tag = line_at(h);
        }
        if (contains(first_tag, "_symmetry_equiv_pos_as_xyz") ||
            contains(first_tag, "_space_group_symop_operation_xyz"))
            return read_symmetry_rows(h + 1, has_id_column);
        // Also takes anisotropic-displacement loops, whose tags begin the same way; they have
        // none of the remembered columns and are skipped.
        if (contains(first_tag, "_atom_site")) return read_atom_site_loop(h);
        if (contains(first_tag, "_geom_bond") || contains(first_tag, "_ccdc_geom"))
            return read_bond_loop(h);
        return loop_line + 1;
    }

    // Every row up to a blank one or a tag line is an operation, "loop_" and comments included.
    std::size_t read_symmetry_rows(std::size_t row, bool has_id_column) {
        for (; row < end_; ++row) {
            const std::string line = line_at(row);
            if (line.empty()) return row + 1;
            if (line[0] == '_') return row;
            std::string operation = has_id_column ? value_after_first_space(line) : line;
            mmutil::sg_trim(operation);
            if (!operation.empty()) store_.cif_symops.push_back(operation);
        }
        return end_;
    }

    LoopHeader read_loop_header(std::size_t h) const {
        LoopHeader header{{}, h};
        for (; header.first_row < end_; ++header.first_row) {
            std::string line = line_at(header.first_row);
            if (line.empty() || line[0] != '_') break;
            header.tags.push_back(line);
        }
        return header;
    }

    // The atom-site rows end the whole scan: nothing after them is read.
    std::size_t read_atom_site_loop(std::size_t h) {
        const LoopHeader header = read_loop_header(h);
        const ColumnNumbers columns = number_columns(header.tags, kAtomSiteTags);
        fract_columns_ = 0;
        for (std::size_t k = kFirstFractColumn; k < kLoopColumns; ++k)
            if (columns[k] != 0) ++fract_columns_;
        if (!all_columns_present(columns)) return header.first_row;
        read_atom_rows(header.first_row, columns);
        return end_;
    }

    // The first line after the header is always a row; later ones until a blank line or a
    // "loop_" line, so a comment or tag line right after the rows is taken as a row.
    void read_atom_rows(std::size_t row, const ColumnNumbers& columns) {
        Atoms& atoms = store_.cif_atoms;
        const ColumnLists lists = {&atoms.cif_atom_label, &atoms.cif_atom_symbol, &atoms.cif_fx,
                                   &atoms.cif_fy, &atoms.cif_fz};
        while (row < end_) {
            append_row(row_tokens(line_at(row)), columns, lists);
            if (++row >= end_) return;
            const std::string next = line_at(row);
            if (next.empty() || starts_with(next, "loop_")) return;
        }
    }

    // Read only with all five columns, the bond type included; every row up to the next
    // "loop_" line must be complete.
    std::size_t read_bond_loop(std::size_t h) {
        const LoopHeader header = read_loop_header(h);
        const ColumnNumbers columns = number_columns(header.tags, kBondTags);
        if (!all_columns_present(columns)) return header.first_row;
        Bonds& bonds = store_.cif_bonds;
        const ColumnLists lists = {&bonds.bond_label1, &bonds.bond_label2, &bonds.bond_distance,
                                   &bonds.bond_symmetry, &bonds.bond_type};
        for (std::size_t row = header.first_row; row < end_; ++row) {
            const std::string line = line_at(row);
            if (starts_with(line, "loop_")) return row;
            append_row(row_tokens(line), columns, lists);
        }
        return end_;
    }

    FileIO& store_;
    const std::vector<std::string>& lines_;
    const std::size_t end_;
    int fract_columns_ = 0;
};

// ----- From columns to crystal -----

// An entry past the end of a short column list reads as an empty text.
const std::string& column_entry(const std::vector<std::string>& list, int i) {
    static const std::string kEmpty;
    return static_cast<std::size_t>(i) < list.size() ? list[i] : kEmpty;
}

void print_scan_summary(const FileIO& store) {
    std::printf("  Identifier: %s\n", store.identifier.c_str());
    std::printf("  Spacegroup name: %s\n", store.spacegroup_name.c_str());
    std::printf("  Spacegroup operations: \n");
    for (const std::string& operation : store.cif_symops)
        std::printf("    %s\n", operation.c_str());
    const double* cell = store.cell_latt;
    std::printf("  Cell lattice a = %g\n", cell[0]);
    std::printf("  Cell lattice b = %g\n", cell[1]);
    std::printf("  Cell lattice c = %g\n", cell[2]);
    std::printf("  Cell lattice alpha = %g\n", cell[3]);
    std::printf("  Cell lattice beta  = %g\n", cell[4]);
    std::printf("  Cell lattice gamma = %g\n", cell[5]);
}

void print_atom_as_read(const char* heading, const Atoms& atoms, int i) {
    std::printf("%s%s %s %s %s %s\n", heading, column_entry(atoms.cif_atom_label, i).c_str(),
                column_entry(atoms.cif_atom_symbol, i).c_str(),
                column_entry(atoms.cif_fx, i).c_str(), column_entry(atoms.cif_fy, i).c_str(),
                column_entry(atoms.cif_fz, i).c_str());
}

void print_atom_summary(const FileIO& store) {
    std::printf("  natoms_cif = %d\n", store.natoms_cif);
    if (store.natoms_cif == 0) return;
    print_atom_as_read("  First atom: ", store.cif_atoms, 0);
    std::printf("  ...\n");
    print_atom_as_read("  Last  atom: ", store.cif_atoms, store.natoms_cif - 1);
}

// Missing or impossible cell parameters (a zero angle, angles that close no cell) give a
// lattice of infinities and NaN, which would spread into every coordinate written.
void require_finite_lattice(const FileIO& store) {
    for (const auto& row : store.cell_latt3x3)
        for (double entry : row)
            if (!std::isfinite(entry)) {
                const double* cell = store.cell_latt;
                FILEIO_FATAL(kStatusFailure, stdout,
                             "The cell of \"%s\" is not a valid lattice: a = %g, b = %g, c = %g, "
                             "alpha = %g, beta = %g, gamma = %g\n",
                             store.input_filename.c_str(), cell[0], cell[1], cell[2], cell[3],
                             cell[4], cell[5]);
            }
}

void assign_element_rows_and_radii(FileIO& store) {
    using fileio_detail::new_store_array;
    store.cif_atypes = new_store_array<int>(store.natoms_cif);
    store.cif_radius = new_store_array<double>(store.natoms_cif);
    for (int i = 0; i < store.natoms_cif; ++i) {
        const int row = fileio_detail::element_row_from_symbol(
            column_entry(store.cif_atoms.cif_atom_symbol, i));
        store.cif_atypes[i] = row;
        store.cif_radius[i] = row < 0 ? kUnknownElementRadius : nw_elem_radius_m[row];
    }
}

void derive_cartesian_from_fractional(FileIO& store) {
    for (int i = 0; i < store.natoms_cif; ++i)
        store.coord_f2c(store.cif_x_s + 3 * i, store.cif_x + 3 * i);
}

void derive_fractional_from_cartesian(FileIO& store) {
    for (int i = 0; i < store.natoms_cif; ++i)
        store.coord_c2f(store.cif_x + 3 * i, store.cif_x_s + 3 * i);
}

void make_coordinates_consistent(FileIO& store, bool fractional) {
    if (fractional)
        derive_cartesian_from_fractional(store);
    else
        derive_fractional_from_cartesian(store);
}

// The coordinate texts go into the fractional array, or the Cartesian one when the atom loop
// had no fractional columns; the other array follows from the lattice.
void assign_coordinates(FileIO& store, bool fractional) {
    using fileio_detail::new_store_array;
    store.cif_x_s = new_store_array<double>(3LL * store.natoms_cif);
    store.cif_x = new_store_array<double>(3LL * store.natoms_cif);
    double* as_read = fractional ? store.cif_x_s : store.cif_x;
    const Atoms& atoms = store.cif_atoms;
    for (int i = 0; i < store.natoms_cif; ++i) {
        as_read[3 * i] = std::atof(column_entry(atoms.cif_fx, i).c_str());
        as_read[3 * i + 1] = std::atof(column_entry(atoms.cif_fy, i).c_str());
        as_read[3 * i + 2] = std::atof(column_entry(atoms.cif_fz, i).c_str());
    }
    make_coordinates_consistent(store, fractional);
}

}  // namespace

namespace fileio_detail {

int scan_cif_lines(FileIO& store, const std::vector<std::string>& lines) {
    return CifLineScanner(store, lines).scan();
}

void build_crystal_from_cif_columns(FileIO& store, int fract_columns, bool verbose) {
    if (verbose) print_scan_summary(store);
    double lattice[3][3];
    store.cell_cell6_to_latt3x3(store.cell_latt, lattice);
    require_finite_lattice(store);

    store.natoms_cif = static_cast<int>(store.cif_atoms.cif_atom_label.size());
    if (verbose) print_atom_summary(store);
    assign_element_rows_and_radii(store);
    assign_coordinates(store, fract_columns != 0);

    store.make_spacegroup_P1(fract_columns);
    make_coordinates_consistent(store, fract_columns != 0);

    store.separate_cif_molecules(verbose);
    delete[] store.cif_radius;
    store.cif_radius = nullptr;
    store.is_periodic = true;
    if (verbose) std::printf("Crystal file %s parsing done.\n", store.input_filename.c_str());
}

}  // namespace fileio_detail

void FileIO::read_data_cif(const char* filename, bool verbose) {
    std::FILE* file = open_crystal_file(filename);
    input_filename = filename;
    if (verbose) std::printf("Reading crystal file \"%s\"... \n", filename);
    const std::vector<std::string> lines = slurp_lines(file);
    const int fract_columns = fileio_detail::scan_cif_lines(*this, lines);
    fileio_detail::build_crystal_from_cif_columns(*this, fract_columns, verbose);
}
