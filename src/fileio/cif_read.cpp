// CIF reader: a strict line scanner that fills the store's texts and column lists, then the
// shared step that turns them into the crystal (numbers, full cell, molecules).
#include <sys/stat.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "cif_reader.h"
#include "element_rows.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "number_text.h"
#include "store_arrays.h"

namespace {

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

// The whole file as one text. A regular file is read in one piece into a buffer of its size;
// a stream of unknown size grows the buffer as it comes.
std::string slurp_text(std::FILE* file) {
    constexpr std::size_t kFirstChunk = 65536;
    struct stat info;
    std::size_t capacity = kFirstChunk;
    if (fstat(fileno(file), &info) == 0 && info.st_size > 0)
        capacity = static_cast<std::size_t>(info.st_size) + 1;  // + 1 to see the end at once
    std::string text(capacity, '\0');
    std::size_t used = 0;
    for (;;) {
        if (used == text.size()) text.resize(2 * text.size());
        const std::size_t count = std::fread(&text[used], 1, text.size() - used, file);
        if (count == 0) break;
        used += count;
    }
    std::fclose(file);
    text.resize(used);
    return text;
}

// The lines of a text, newlines removed and nothing else changed (a CR stays); a final newline
// ends the last line without opening another.
std::vector<std::string_view> split_lines(const std::string& text) {
    const char* const begin = text.data();
    const char* const end = begin + text.size();
    std::size_t count = 0;
    for (const char* p = begin; (p = static_cast<const char*>(std::memchr(p, '\n', end - p))); ++p)
        ++count;
    std::vector<std::string_view> lines;
    lines.reserve(count + 1);
    for (const char* start = begin; start < end;) {
        const char* stop = static_cast<const char*>(std::memchr(start, '\n', end - start));
        if (stop == nullptr) stop = end;
        lines.emplace_back(start, static_cast<std::size_t>(stop - start));
        start = stop + 1;
    }
    return lines;
}

// ----- Small text rules of the scan -----

using Line = std::string_view;

bool contains(Line line, const char* tag) { return line.find(tag) != Line::npos; }

bool starts_with(Line line, const char* prefix) {
    return line.substr(0, std::strlen(prefix)) == prefix;
}

// The value of a tag line: the text after the first space, or the whole line when it has none
// (so a tab-separated value or a value on the next line is not seen).
Line value_after_first_space(Line line) {
    const std::size_t space = line.find(' ');
    return space == Line::npos ? line : line.substr(space + 1);
}

// The character sets of mmutil's trimmers and of the row delimiters, tested directly: the
// library's find_first_not_of searches the set once per character.
bool is_plain_blank(char c) { return c == ' ' || c == '\t'; }
bool is_line_blank(char c) { return is_plain_blank(c) || c == '\n' || c == '\r'; }

// mmutil::trim on a view: spaces and tabs off the left, then spaces, tabs, LF and CR off the
// right.
Line trimmed(Line line) {
    std::size_t first = 0;
    std::size_t last = line.size();
    while (first < last && is_plain_blank(line[first])) ++first;
    while (last > first && is_line_blank(line[last - 1])) --last;
    return line.substr(first, last - first);
}

// Tokens of a loop row, as mmutil::tokenize cuts them on " \t\n\r"; fewer than five end the run.
void row_tokens(Line row, std::vector<Line>& tokens) {
    tokens.clear();
    const std::size_t size = row.size();
    for (std::size_t start = 0;;) {
        while (start < size && is_line_blank(row[start])) ++start;
        if (start == size) break;
        std::size_t end = start;
        while (end < size && !is_line_blank(row[end])) ++end;
        tokens.push_back(row.substr(start, end - start));
        start = end;
    }
    if (tokens.size() < kMinimumRowTokens)
        FILEIO_FATAL(kStatusFailure, stdout,
                     "Not enough columns: %s\nAt least 5 columns are expected!\n",
                     std::string(row).c_str());
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
ColumnNumbers number_columns(const std::vector<Line>& header, const ColumnTags& tags) {
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
void append_row(const std::vector<Line>& tokens, const ColumnNumbers& numbers,
                const ColumnLists& lists) {
    for (std::size_t k = 0; k < kLoopColumns; ++k)
        if (numbers[k] <= tokens.size()) lists[k]->emplace_back(tokens[numbers[k] - 1]);
}

// ----- The line scan -----

// Looks at the lines through views: only the values the store keeps are copied.
class CifLineScanner {
   public:
    CifLineScanner(FileIO& store, const std::vector<Line>& lines)
        : store_(store), lines_(lines), end_(lines.size()) {}

    int scan() {
        std::size_t i = 0;
        while (i < end_) i = scan_line(i);
        return fract_columns_;
    }

   private:
    struct LoopHeader {
        std::vector<Line> tags;  // trimmed header lines
        std::size_t first_row;
    };

    Line line_at(std::size_t i) const { return trimmed(lines_[i]); }

    // Each rule returns the index of the next line to scan; end_ ends the scan.
    std::size_t scan_line(std::size_t i) {
        const Line line = line_at(i);
        if (line.empty() || line[0] == '#') return i + 1;
        if (line[0] == ';') return skip_text_field(i);
        if (read_value_line(line)) return i + 1;
        if (contains(line, "loop_")) return read_loop(i);
        return i + 1;
    }

    // The rules for lines that carry one value, in the order they are tried; true when one
    // applied. Tags are found anywhere in the line, case-sensitively.
    bool read_value_line(Line line) {
        const Line value = value_after_first_space(line);
        if (mmutil::iequals(std::string(line.substr(0, 5)), "data_"))
            store_.identifier = line.substr(5);
        else if (contains(line, "_chemical_name_common"))
            read_common_name(std::string(value));
        else if (contains(line, "_space_group_IT_number"))
            store_.spacegroup_number = std::atoi(std::string(value).c_str());
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
    static bool names_space_group(Line line) {
        return contains(line, "_symmetry_space_group_name_H-M") ||
               contains(line, "_space_group_name_H-M_alt");
    }

    bool read_cell_parameter(Line line, Line value) {
        static constexpr std::array<const char*, 6> kCellTags = {
            "_cell_length_a",    "_cell_length_b",   "_cell_length_c",
            "_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"};
        for (std::size_t k = 0; k < kCellTags.size(); ++k) {
            if (contains(line, kCellTags[k])) {
                store_.cell_latt[k] = fileio_detail::text_to_double(std::string(value));
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
        Line first_tag = line_at(h);
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
            const Line line = line_at(row);
            if (line.empty()) return row + 1;
            if (line[0] == '_') return row;
            std::string operation(has_id_column ? value_after_first_space(line) : line);
            mmutil::sg_trim(operation);
            if (!operation.empty()) store_.cif_symops.push_back(operation);
        }
        return end_;
    }

    LoopHeader read_loop_header(std::size_t h) const {
        LoopHeader header{{}, h};
        for (; header.first_row < end_; ++header.first_row) {
            const Line line = line_at(header.first_row);
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

    // A blank line or a "loop_" line ends the atom rows, so a comment or tag line right after
    // them is taken as a row.
    bool ends_atom_rows(std::size_t row) const {
        if (row >= end_) return true;
        const Line next = line_at(row);
        return next.empty() || starts_with(next, "loop_");
    }

    // One past the last atom row; the first line after the header is always a row.
    std::size_t atom_rows_end(std::size_t first_row) const {
        if (first_row >= end_) return end_;
        std::size_t row = first_row + 1;
        while (!ends_atom_rows(row)) ++row;
        return row;
    }

    // The rows are found first so that each column list grows once.
    void read_atom_rows(std::size_t first_row, const ColumnNumbers& columns) {
        Atoms& atoms = store_.cif_atoms;
        const ColumnLists lists = {&atoms.cif_atom_label, &atoms.cif_atom_symbol, &atoms.cif_fx,
                                   &atoms.cif_fy, &atoms.cif_fz};
        const std::size_t rows_end = atom_rows_end(first_row);
        for (std::vector<std::string>* list : lists)
            list->reserve(list->size() + (rows_end - first_row));
        for (std::size_t row = first_row; row < rows_end; ++row) {
            row_tokens(line_at(row), tokens_);
            append_row(tokens_, columns, lists);
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
            const Line line = line_at(row);
            if (starts_with(line, "loop_")) return row;
            row_tokens(line, tokens_);
            append_row(tokens_, columns, lists);
        }
        return end_;
    }

    FileIO& store_;
    const std::vector<Line>& lines_;
    const std::size_t end_;
    int fract_columns_ = 0;
    std::vector<Line> tokens_;  // of the row being read, kept to reuse its room
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
        as_read[3 * i] = fileio_detail::text_to_double(column_entry(atoms.cif_fx, i));
        as_read[3 * i + 1] = fileio_detail::text_to_double(column_entry(atoms.cif_fy, i));
        as_read[3 * i + 2] = fileio_detail::text_to_double(column_entry(atoms.cif_fz, i));
    }
    make_coordinates_consistent(store, fractional);
}

}  // namespace

namespace fileio_detail {

int scan_cif_lines(FileIO& store, const std::vector<std::string_view>& lines) {
    return CifLineScanner(store, lines).scan();
}

int scan_cif_lines(FileIO& store, const std::vector<std::string>& lines) {
    return scan_cif_lines(store, std::vector<std::string_view>(lines.begin(), lines.end()));
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
    delete_store_array(store.cif_radius);
    store.cif_radius = nullptr;
    store.is_periodic = true;
    if (verbose) std::printf("Crystal file %s parsing done.\n", store.input_filename.c_str());
}

}  // namespace fileio_detail

// The text and its line list live only through the scan: the store keeps copies of what it
// needs, and the memory is free again before the expansion.
void FileIO::read_data_cif(const char* filename, bool verbose) {
    std::FILE* file = open_crystal_file(filename);
    input_filename = filename;
    if (verbose) std::printf("Reading crystal file \"%s\"... \n", filename);
    int fract_columns = 0;
    {
        const std::string text = slurp_text(file);
        fract_columns = fileio_detail::scan_cif_lines(*this, split_lines(text));
    }
    fileio_detail::build_crystal_from_cif_columns(*this, fract_columns, verbose);
}
