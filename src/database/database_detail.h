// Shared pieces of the database reader: the report of one read (warnings and positioned
// errors), the stages' data (symmetry, cell, atom sites, cell atoms) and the functions that
// pass them from stage to stage, in the order the reader applies them.
#ifndef TESKA_DATABASE_DETAIL_H
#define TESKA_DATABASE_DETAIL_H

#include <string>
#include <utility>
#include <vector>

#include "gemmi/cifdoc.hpp"
#include "gemmi/symmetry.hpp"
#include "index/bond_growth.h"
#include "index/cell_bins.h"
#include "teska/database.h"

class FileIO;

namespace teska {
namespace database_detail {

using fileio_detail::ExplicitBond;

// "FILE:LINE:COLUMN: message", "FILE:LINE: message" or "FILE: message" (line, column 0 = unknown).
std::string positioned(const std::string& file, int line, int column, const std::string& message);

// Warnings of one read, and the errors it raises, all named after the file.
class Report {
   public:
    explicit Report(std::string file) : file_(std::move(file)) {}
    const std::string& file() const { return file_; }
    void warn(int line, const std::string& message) {
        warnings_.push_back(positioned(file_, line, 0, message));
        lines_.push_back(line);
    }
    [[noreturn]] void fail(int line, int column, const std::string& message) const {
        throw Error(file_, line, column, message);
    }
    const std::vector<std::string>& warnings() const { return warnings_; }
    // The warnings that concern a block from line `first` to before line `end` (0: to the end
    // of the file): those of its lines, those before the first block and those of no line.
    Report for_block(int first_block_line, int first, int end) const {
        Report part(file_);
        for (std::size_t i = 0; i < warnings_.size(); ++i) {
            const int line = lines_[i];
            if (line == 0 || line < first_block_line ||
                (line >= first && (end == 0 || line < end))) {
                part.warnings_.push_back(warnings_[i]);
                part.lines_.push_back(line);
            }
        }
        return part;
    }

   private:
    std::string file_;
    std::vector<std::string> warnings_;
    std::vector<int> lines_;
};

// Text helpers.
std::string lower(std::string text);
std::string join(const std::vector<std::string>& parts, const std::string& separator);
// "3 sites" / "1 site".
std::string count_of(long long n, const char* singular, const char* plural);

// ----- Document (document.cpp) -----

// The whole file as text; an unreadable file raises an error naming it.
std::string read_text_file(const std::string& path);

struct GrammarScan {
    bool repaired = false;
    std::string text;                // the repaired text, when repaired
    std::vector<int> heading_lines;  // line of each block heading, in order
    int open_text_field = 0;         // line of a text field never closed, 0 when none
};

// Repairs the known breakages of database files, line numbers unchanged, with a warning
// each: text before the first data block, a token after a block name, a quote never closed
// on its line.
GrammarScan repair_grammar(const std::string& text, Report& report);
// Parses the (repaired) text without gemmi's strict checks, then gives a tag with no value
// the value "?" and warns about tags and block names given twice (the first is used). Tags
// are lower-cased and their '.' become '_', so "_atom_site.fract_x" reads as
// "_atom_site_fract_x". heading_lines, when given, receives the line of each block heading.
gemmi::cif::Document parse_document(const std::string& text, Report& report,
                                    std::vector<int>* heading_lines = nullptr);

// Line of the item that holds the tag (the "loop_" line for a loop column); 0 when absent.
int tag_line(const gemmi::cif::Block& block, const std::string& tag);
// The single value of a tag given as a pair or a one-row loop; nullptr when absent.
const std::string* single_value(gemmi::cif::Block& block, const std::string& tag);

// ----- Block choice (blocks.cpp) -----

bool has_atom_sites(gemmi::cif::Block& block);
// The block named (case-insensitively), or the first block with atom sites.
gemmi::cif::Block& choose_block(gemmi::cif::Document& doc, const std::string& name,
                                const Report& report);

// ----- Symmetry (symmetry.cpp) -----

struct Symmetry {
    std::vector<gemmi::Op> ops;  // translations wrapped into [0, 1)
    std::string source;          // "loop", "Hall", "H-M", "number" or "none"
    std::string name;            // H-M name of the group the operations form, else as given
    int number = 0;              // 0 when unknown
};

// A triplet as gemmi's parser takes it: decimals that are multiples of 1/24 become k/24 and
// digit strings are bounded. Returns false with *problem set when the text cannot be made so.
bool normalise_triplet(const std::string& text, std::string* out, std::string* problem);
// Normalises and parses one operation and checks that its rotation is an integer matrix of
// determinant +-1.
bool parse_operation(const std::string& text, gemmi::Op* op, std::string* problem);
// Why gemmi's Hall parser must not be given this symbol, or "" when it may: longer than any
// Hall symbol, a number of more than four digits, a change of basis that is no operation, or
// a screw subscript on a rotation whose axis neither the symbol nor the axis rules give (which
// that parser would apply along no axis, out of bounds).
std::string hall_symbol_problem(const std::string& hall);
// "P 21/n", "P_21/n", "P 2(1)/n 1" and the like, made comparable with gemmi's table.
std::string normalise_hm_name(const std::string& name);
// Symmetry from the operations loop, else the Hall symbol, else the H-M name, else the IT
// number, else P1 with a warning. alpha and gamma choose between R settings of a name.
Symmetry read_symmetry(gemmi::cif::Block& block, double alpha, double gamma, Report& report);

// ----- Cell (cell.cpp) -----

struct Cell {
    double parameters[6] = {0, 0, 0, 0, 0, 0};  // a, b, c (angstrom), alpha, beta, gamma (deg)
    double su[6] = {0, 0, 0, 0, 0, 0};          // standard uncertainties (0 when not given)
};

// The standard uncertainty of a CIF number: "8.562(2)" gives 0.002; 0 when none is given.
double standard_uncertainty(const std::string& value);
// Lengths and angles; a missing, non-numeric, zero or impossible value is an error that
// names the tag.
Cell read_cell(gemmi::cif::Block& block, Report& report);

// ----- Atom sites (sites.cpp) -----

struct Site {
    std::string label;
    int element = -1;  // element row
    double frac[3] = {0, 0, 0};
    double occupancy = 1.0;
    std::string assembly;  // disorder assembly, "" when none
    std::string group;     // disorder group, "" when none ("." "?" "0" read as none)
};

// Element row of a type symbol: charges and digits are removed ("O2-", "Fe3+", "Cl1"); "D"
// and "T" are hydrogen. -1 when it names no element (dummy atoms, peaks, centroids).
int element_from_type_symbol(const std::string& symbol);
// Element row of a site label ("C12A", "Cl1", "H3'"); -1 for peaks, centroids and dummies.
int element_from_label(const std::string& label);

// The atom sites of the block with fractional coordinates (Cartesian ones are converted with
// the file's transformation matrix, else with the store's lattice, which must be set).
// Dummy atoms, peaks and centroids, sites with unknown coordinates and sites of zero
// occupancy are left out with one warning. The columns of the sites read are appended, as
// text, to the store's atom columns.
std::vector<Site> read_sites(gemmi::cif::Block& block, FileIO& store, Report& report);

// ----- Disorder (disorder.cpp) -----

struct DisorderChoice {
    bool every_part = false;    // no choice made: partial sites neither clash nor alternate
    std::vector<char> keep;     // per site
    std::vector<int> copy_set;  // per site: index of its negative group, -1 when none
    int negative_groups = 0;    // number of copy sets
    int left_out = 0;           // sites left out
    // Disorder parts as labelled (group, assembly, and occupancy where no assembly is given):
    std::vector<int> part;           // per site: its part, -1 when it has no group
    std::vector<int> part_assembly;  // per part: the assembly whose parts alternate
    std::vector<int> part_rank;      // per part: the order of its group among the groups
    bool group_chosen = false;       // the caller chose a group: no part loses to its vacancy
};

// Which sites to keep under the option's disorder mode, and the labelled parts. The major
// mode keeps every site: which of the alternatives stays is chosen in the cell, by where the
// atoms are (choose_alternatives). A chosen group is chosen here, with one warning.
DisorderChoice choose_disorder(const std::vector<Site>& sites, const ReadOptions& options,
                               Report& report);

// ----- Lattice geometry (lattice.cpp) -----

// The lattice as the store keeps it (Cartesian = m x fractional), with what the periodic
// distance tests need.
class Lattice {
   public:
    explicit Lattice(const double m[3][3]);
    const double (&matrix() const)[3][3] { return m_; }
    // Distance between neighbouring lattice planes across axis k (angstrom).
    double plane_spacing(int k) const { return spacing_[k]; }
    // Squared length of the shortest lattice image of a fractional displacement between two
    // positions in [0,1) (each component in (-1, 1)).
    double min_image_distance2(const double d[3]) const;
    // An empty periodic grid of the index for up to capacity atoms added one at a time, whose
    // neighbouring bins hold every position within reach (angstrom) of a point: along each
    // axis as many bins as whole reaches fit between two lattice planes, the axis of most bins
    // halved while there are more than max(64, 8 x capacity). The merges name the last kept
    // atom they find in their warnings, so this shape, which fixes the order of the bins, is
    // part of the output.
    fileio_detail::CellBins grid(double reach, int capacity) const;

   private:
    double m_[3][3];
    double spacing_[3];
    double half_min_spacing2_;  // below this squared length the folded image is the shortest
};

// ----- Expansion (expansion.cpp) -----

// Images of one site closer than this (angstrom) are one atom: special positions, and
// coordinates rounded in the file. Distinct sites closer than this are one atom too.
constexpr double kMergeDistance = 0.5;
// A partial site closer than this fraction of the bonding-radius sum to an atom already kept
// clashes with it (but never below kMergeDistance); two hydrogens clash below kHydrogenClash.
constexpr double kClashFraction = 0.7;
constexpr double kHydrogenClash = 1.1;
// Occupancies "add up to one" (or "to at most one") within this: refined occupancies are
// printed to two decimals, and riding hydrogens are rounded on their own.
constexpr double kOccupancySumTolerance = 0.03;

// One image of a site in the cell: the site under one operation, wrapped into [0, 1).
struct SiteImage {
    int site;
    int op;
    double frac[3];
};

// ----- Alternatives by position (alternatives.cpp) -----

struct Alternatives {
    std::vector<char> site_left_out;  // per site: no image of it stays
    int atoms_left_out = 0;
    int sets = 0;  // sets of overlapping alternatives among which a choice was made
};

// Disorder chosen by where the atoms are. The images of partial sites form pieces: a
// labelled part under one operation, or unlabelled partial sites of one occupancy bonded
// under one operation. Two pieces are alternatives when an atom of one lies closer to an
// atom of the other than two atoms can be (the clash limits below), or when they are parts
// of one assembly under one operation; images of one site on one position are one atom, and
// two lone unlabelled sites on one position are a shared site, both left to the merging.
// Of each set of alternatives the pieces are taken by occupancy (then group order, then
// file order), each kept unless it overlaps one kept before; a set made of one labelled
// part whose occupancies add up to less than one half loses to its vacancy. Marks the
// images left out in removed. Fails on a pile of overlapping partial sites beyond any real
// cell's.
Alternatives choose_alternatives(const std::vector<Site>& sites, const DisorderChoice& disorder,
                                 const std::vector<SiteImage>& images, const Lattice& lattice,
                                 double bond_scale, std::vector<char>* removed,
                                 const Report& report);

// The limit below which a partial atom clashes with another atom (angstrom).
double clash_limit(int element_a, int element_b);
// Below this occupancy a site is partial.
constexpr double kFullOccupancy = 0.999;

struct CellAtom {
    int site;     // index into the sites
    int element;  // element row
    double frac[3];
};

struct Expansion {
    std::vector<CellAtom> atoms;  // operation by operation, sites in file order within each
    int merged_images = 0;        // images of one site merged (special positions)
    int merged_sites = 0;         // distinct sites merged into another
    int clashes = 0;              // partial sites dropped for a clash
    int copies_dropped = 0;       // atoms of overlapping copies of negative groups
    int alternatives = 0;         // copies of a partial site left out as alternatives
    Alternatives disorder;        // the alternatives chosen by position
};

// Applies every operation to every kept site (exact matrices, positions wrapped into [0,1)),
// drops overlapping copies of negative groups, merges coinciding atoms and drops clashing
// partial sites, the higher occupancy winning. Last, copies of one partial site that the
// bonds join into one molecule with occupancies adding up to at most one are alternatives
// (disorder about a special position written without a negative group): the first stays.
// With every part kept, only coinciding atoms are merged. More than max_cell_atoms images
// are an error.
Expansion expand_sites(const std::vector<Site>& sites, const DisorderChoice& disorder,
                       const std::vector<gemmi::Op>& ops, const Lattice& lattice, double bond_scale,
                       long long max_cell_atoms, Report& report);

// ----- The file's bond table (bond_table.cpp) -----

struct TableBonds {
    bool present = false;             // the block has a bond table
    int listed = 0;                   // its bonds found where their codes say
    int added = 0;                    // explicit bonds of the cell made from them
    std::vector<ExplicitBond> bonds;  // those, once each
};

// Reads the _geom_bond loop: labels, symmetry codes ("n_klm", "n", "." and "1_555"; codes
// number the file's operations) and distances. A bond whose site is unknown, whose code names
// no operation, or whose listed distance differs from the coordinates' by more than 0.05
// angstrom is not used, with one warning for all; bonds to sites the disorder choice left out
// are passed over; bonds to alkali and alkaline-earth ions are left to the radii and entries
// longer than the radii allow by more than 0.5 angstrom taken for contacts, with a warning. Each bond used gives an explicit bond for every copy the operations make
// in the cell; bonds the radius test gives are left to it unless every_bond. Bonds longer than
// the radius test allows are named in a warning.
TableBonds read_bond_table(gemmi::cif::Block& block, const std::vector<Site>& sites,
                           const DisorderChoice& disorder, const Symmetry& symmetry,
                           const Expansion& cell, const Lattice& lattice, double bond_scale,
                           bool every_bond, Report& report);

// Warns about bonds of the radius test between atoms that the bond table names (hydrogens
// left out) whose pair of labels it does not list.
void warn_bonds_not_listed(gemmi::cif::Block& block, const std::vector<Site>& sites,
                           const Expansion& cell,
                           const std::vector<std::pair<int, int>>& bonds, Report& report);

// ----- Metal-ligand bonds (metal_bonds.cpp) -----

// Bonds of transition metals to donor atoms (C, N, O, P, S, halogens) of pieces that hold
// hydrogen (ligands, not oxo-anions or oxides) closer than the sum of their covalent radii
// for metal-ligand bonds plus a coordination tolerance, in every image that close, where the
// bonding radii do not join them already.
std::vector<ExplicitBond> metal_ligand_bonds(const Expansion& cell, const Lattice& lattice,
                                             double bond_scale);

// ----- Molecules into the store (molecules.cpp) -----

struct Molecules {
    std::vector<char> periodic;
    std::vector<std::string> formulas;
    std::vector<std::pair<int, int>> bonds;  // pairs of cell atoms, a < b, sorted
    std::vector<char> explicit_only;         // per bond: 1 when the radius test does not give it
};

// Hill formula of element rows: C and H first when there is carbon, then alphabetical.
std::string hill_formula(const std::vector<int>& elements);

// Divides the cell atoms into molecules by the bond test over the true minimum image, makes
// each whole with each centre of mass in [0,1) (a component bonded to its own image stays as
// placed in the cell, with a warning), and fills the store as the crystal pipeline leaves it.
// The explicit bonds join their atoms besides the bond test, or alone without use_radii.
Molecules store_molecules(FileIO& store, const Expansion& cell, double bond_scale,
                          const std::vector<ExplicitBond>& explicit_bonds, bool use_radii,
                          Report& report);

}  // namespace database_detail
}  // namespace teska

#endif  // TESKA_DATABASE_DETAIL_H
