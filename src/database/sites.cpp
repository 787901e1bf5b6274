// Atom sites of a data block: the atom-site loop mapped column by column (fractional or
// Cartesian coordinates, occupancy, disorder assembly and group), the element of each site
// from its type symbol or else its label, and the sites that are no atoms left out.
#include <cctype>
#include <cmath>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "database_detail.h"
#include "element_rows.h"
#include "teska/fileio.h"
#include "gemmi/numb.hpp"

namespace teska {
namespace database_detail {

namespace {

namespace cif = gemmi::cif;

// Coordinates beyond this (fractional or Cartesian) place no atom of any cell; the expansion
// folds coordinates into the cell and needs them finite and with digits below the unit.
constexpr double kMaxCoordinate = 1e6;

// Columns of the atom-site table, in the order asked of gemmi.
enum SiteColumn {
    kX,
    kY,
    kZ,
    kLabel,
    kTypeSymbol,
    kOccupancy,
    kAssembly,
    kGroup,
    kCalcFlag,
    kAltId,
    kColumns
};

const std::vector<std::string> kOptionalColumns = {
    "?label",          "?type_symbol", "?occupancy",   "?disorder_assembly",
    "?disorder_group", "?calc_flag",   "?label_alt_id"};

std::string letters_at_start(const std::string& text) {
    std::size_t i = 0;
    while (i < text.size() && std::isspace(static_cast<unsigned char>(text[i]))) ++i;
    std::size_t end = i;
    while (end < text.size() && std::isalpha(static_cast<unsigned char>(text[end]))) ++end;
    return text.substr(i, end - i);
}

// Hydrogen isotopes read as hydrogen.
int one_letter_element(char c) {
    const char upper = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (upper == 'D' || upper == 'T') return 1;
    const int row = fileio_detail::element_row_from_symbol(std::string(1, upper));
    return row > 0 ? row : -1;
}

int two_letter_element(const std::string& letters) {
    const int row = fileio_detail::element_row_from_symbol(letters.substr(0, 2));
    return row > 0 ? row : -1;
}

bool starts_with_lower(const std::string& text, const char* prefix) {
    const std::string low = lower(text);
    return low.compare(0, std::string(prefix).size(), prefix) == 0;
}

// Labels of difference peaks (Q1), centroids (Cg1, Cnt, Cent, Ctr), dummies and lone pairs.
bool is_dummy_label(const std::string& label) {
    if (label.size() >= 1 && (label[0] == 'Q' || label[0] == 'q') &&
        (label.size() == 1 || std::isdigit(static_cast<unsigned char>(label[1]))))
        return true;
    for (const char* prefix : {"cg", "cnt", "cent", "ctr", "dum", "lp"})
        if (starts_with_lower(label, prefix)) return true;
    return false;
}

// A 3x3 matrix and vector that take Cartesian to fractional coordinates, when the file
// gives one.
struct CartesianToFractional {
    bool given = false;
    double m[3][3];
    double v[3] = {0, 0, 0};
};

CartesianToFractional file_transformation(cif::Block& block) {
    CartesianToFractional t;
    for (const char* style : {"core", "mmcif"}) {
        bool complete = true;
        for (int r = 0; r < 3 && complete; ++r) {
            for (int c = 0; c < 3 && complete; ++c) {
                const std::string tag =
                    style[0] == 'c' ? "_atom_sites_fract_tran_matrix_" + std::to_string(r + 1) +
                                          std::to_string(c + 1)
                                    : "_atom_sites_fract_transf_matrix[" + std::to_string(r + 1) +
                                          "][" + std::to_string(c + 1) + "]";
                const std::string* value = single_value(block, tag);
                const double x = value ? cif::as_number(*value) : NAN;
                if (std::isnan(x)) complete = false;
                t.m[r][c] = x;
            }
        }
        if (!complete) continue;
        for (int r = 0; r < 3; ++r) {
            const std::string tag =
                style[0] == 'c' ? "_atom_sites_fract_tran_vector_" + std::to_string(r + 1)
                                : "_atom_sites_fract_transf_vector[" + std::to_string(r + 1) + "]";
            const std::string* value = single_value(block, tag);
            const double x = value ? cif::as_number(*value) : NAN;
            t.v[r] = std::isnan(x) ? 0.0 : x;
        }
        t.given = true;
        return t;
    }
    return t;
}

// Labels of the sites left out for one reason, and how many.
struct Dropped {
    Dropped(const char* one, const char* many) : singular(one), plural(many) {}
    const char* singular;
    const char* plural;
    std::vector<std::string> labels;
    int count = 0;
    void add(const std::string& label) {
        if (labels.size() < 4) labels.push_back(label.empty() ? "?" : label);
        ++count;
    }
    std::string text() const {
        return count_of(count, singular, plural) + " (" + join(labels, ", ") +
               (count > static_cast<int>(labels.size()) ? ", ..." : "") + ")";
    }
};

// A number with its standard uncertainty, quoted or not; NaN when it is none.
double number_of(const std::string& value) {
    if (!value.empty() && (value[0] == '\'' || value[0] == '"'))
        return cif::as_number(cif::as_string(value));
    return cif::as_number(value);
}

// Element rows of the type symbols or labels met so far: files repeat a few of them.
class ElementCache {
   public:
    int of(const std::string& text, int (*lookup)(const std::string&)) {
        const auto found = rows_.find(text);
        if (found != rows_.end()) return found->second;
        const int row = lookup(text);
        if (rows_.size() < kMaxEntries) rows_.emplace(text, row);
        return row;
    }

   private:
    static constexpr std::size_t kMaxEntries = 4096;
    std::map<std::string, int> rows_;
};

std::string optional_text(const cif::Table::Row& row, int column) {
    if (!row.has(column)) return std::string();
    const std::string& value = row[column];
    return cif::is_null(value) ? std::string() : cif::as_string(value);
}

}  // namespace

int element_from_type_symbol(const std::string& symbol) {
    const std::string letters = letters_at_start(symbol);
    if (letters.empty()) return -1;
    if (letters.size() >= 2) return two_letter_element(letters);
    return one_letter_element(letters[0]);
}

int element_from_label(const std::string& label) {
    if (is_dummy_label(label)) return -1;
    const std::string letters = letters_at_start(label);
    if (letters.empty()) return -1;
    // "Cl1" is chlorine, "C1A" and "CA" carbon: a two-letter element needs a lower-case
    // second letter.
    if (letters.size() >= 2 && std::islower(static_cast<unsigned char>(letters[1])))
        return two_letter_element(letters);
    return one_letter_element(letters[0]);
}

std::vector<Site> read_sites(gemmi::cif::Block& block, FileIO& store, Report& report) {
    const bool is_fractional = block.find("_atom_site_", {"fract_x", "fract_y", "fract_z"}).ok();
    std::vector<std::string> columns = {"fract_x", "fract_y", "fract_z"};
    if (!is_fractional) columns = {"cartn_x", "cartn_y", "cartn_z"};
    columns.insert(columns.end(), kOptionalColumns.begin(), kOptionalColumns.end());
    cif::Table table = block.find("_atom_site_", columns);
    const int line = tag_line(block, is_fractional ? "_atom_site_fract_x" : "_atom_site_cartn_x");
    if (!table.ok()) report.fail(line, 0, "the atom sites lack one of the three coordinates");
    const CartesianToFractional transformation =
        is_fractional ? CartesianToFractional() : file_transformation(block);

    Dropped dummies("dummy atom, peak or centroid", "dummy atoms, peaks or centroids");
    Dropped unknown("with unknown coordinates", "with unknown coordinates");
    Dropped empty("of zero occupancy", "of zero occupancy");
    ElementCache types, labels;
    std::vector<Site> sites;
    sites.reserve(table.length());
    Atoms& texts = store.cif_atoms;
    for (std::vector<std::string>* column : {&texts.cif_atom_label, &texts.cif_atom_symbol,
                                             &texts.cif_fx, &texts.cif_fy, &texts.cif_fz})
        column->reserve(column->size() + table.length());
    for (std::size_t i = 0; i < table.length(); ++i) {
        const cif::Table::Row row = table[static_cast<int>(i)];
        Site site;
        site.label = optional_text(row, kLabel);
        const std::string type_symbol = optional_text(row, kTypeSymbol);
        if (row.has(kCalcFlag) && lower(row[kCalcFlag]) == "dum") {
            dummies.add(site.label);
            continue;
        }
        site.element = !type_symbol.empty() ? types.of(type_symbol, element_from_type_symbol)
                                            : labels.of(site.label, element_from_label);
        if (site.element < 0) {
            dummies.add(site.label);
            continue;
        }
        if (cif::is_null(row[kX]) || cif::is_null(row[kY]) || cif::is_null(row[kZ])) {
            unknown.add(site.label);
            continue;
        }
        double x[3];
        for (int k = 0; k < 3; ++k) {
            x[k] = number_of(row[kX + k]);
            if (std::isnan(x[k]))
                report.fail(
                    line, 0,
                    "site " + site.label + ": coordinate '" + row[kX + k] + "' is not a number");
            if (!(std::fabs(x[k]) <= kMaxCoordinate))
                report.fail(line, 0,
                            "site " + site.label + ": coordinate '" + row[kX + k] +
                                "' is beyond 1000000 in magnitude");
        }
        const std::string occupancy = optional_text(row, kOccupancy);
        if (!occupancy.empty()) {
            site.occupancy = cif::as_number(occupancy);
            if (std::isnan(site.occupancy))
                report.fail(
                    line, 0,
                    "site " + site.label + ": occupancy '" + occupancy + "' is not a number");
        }
        if (!(site.occupancy > 0.0)) {
            empty.add(site.label);
            continue;
        }
        if (is_fractional) {
            for (int k = 0; k < 3; ++k) site.frac[k] = x[k];
        } else if (transformation.given) {
            for (int r = 0; r < 3; ++r)
                site.frac[r] = transformation.m[r][0] * x[0] + transformation.m[r][1] * x[1] +
                               transformation.m[r][2] * x[2] + transformation.v[r];
        } else {
            store.coord_c2f(x, site.frac);
        }
        // The store keeps the columns of the sites that are atoms as the file gives them.
        texts.cif_atom_label.push_back(site.label);
        texts.cif_atom_symbol.push_back(type_symbol);
        texts.cif_fx.push_back(cif::as_string(row[kX]));
        texts.cif_fy.push_back(cif::as_string(row[kY]));
        texts.cif_fz.push_back(cif::as_string(row[kZ]));
        site.assembly = optional_text(row, kAssembly);
        site.group = optional_text(row, kGroup);
        if (site.group.empty() && !row.has(kGroup)) site.group = optional_text(row, kAltId);
        if (site.group == "0") site.group.clear();
        sites.push_back(std::move(site));
    }

    std::vector<std::string> reasons;
    for (const Dropped* dropped : {&dummies, &unknown, &empty})
        if (dropped->count > 0) reasons.push_back(dropped->text());
    if (!reasons.empty()) {
        const int total = dummies.count + unknown.count + empty.count;
        report.warn(line, count_of(total, "site", "sites") + " left out: " + join(reasons, "; "));
    }
    return sites;
}

}  // namespace database_detail
}  // namespace teska
