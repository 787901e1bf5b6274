// CIF inputs: the database reader (the default), or the store's own reader and pipeline, the
// rules cif2pdb follows (strict).
#include <cmath>

#include "cell_bins.h"
#include "number_text.h"
#include "structure_readers.h"
#include "teska/database.h"

namespace teska::crystal_detail {

namespace {

constexpr int kSourceCif = 2;
constexpr double kUnknownElementRadius = 9999.99;

// The store keeps a quoted CIF value with its quotes.
std::string unquoted(const std::string& text) {
    if (text.size() >= 2 && (text[0] == '\'' || text[0] == '"') && text.back() == text[0])
        return text.substr(1, text.size() - 2);
    return text;
}

teska::ReadOptions database_options(const ReadSettings& settings, const std::string& path) {
    teska::ReadOptions options;
    options.block = settings.block;
    if (settings.bonds == "radii") {
        options.bonds = teska::BondSource::kRadii;
    } else if (settings.bonds == "file") {
        options.bonds = teska::BondSource::kFile;
    } else if (settings.bonds == "both") {
        options.bonds = teska::BondSource::kBoth;
    } else {
        throw Error(path, 0, 0, "bonds must be radii, file or both, not '" + settings.bonds + "'");
    }
    options.metal_bonds = settings.metal_bonds;
    if (settings.disorder == "major") {
        options.disorder = teska::DisorderMode::kMajor;
    } else if (settings.disorder == "all") {
        options.disorder = teska::DisorderMode::kAll;
    } else {
        options.disorder = teska::DisorderMode::kGroup;
        options.disorder_group = settings.disorder;
    }
    return options;
}

// The site of each atom of the cell as the store expanded it: the image of a site under an
// operation, wrapped into the cell, within 0.01 angstrom of the atom. Labels only when every
// atom has its site (coordinates given as Cartesian columns have none here).
std::vector<std::string> store_site_labels(const FileIO& store,
                                           const std::vector<SymmetryOperation>& operations) {
    const Atoms& sites = store.cif_atoms;
    const std::size_t n = sites.cif_atom_label.size();
    if (sites.cif_fx.size() != n || sites.cif_fy.size() != n || sites.cif_fz.size() != n)
        return {};
    std::vector<double> images;
    std::vector<int> site_of, all;
    for (const SymmetryOperation& op : operations)
        for (std::size_t j = 0; j < n; ++j) {
            const double f[3] = {fileio_detail::text_to_double(sites.cif_fx[j]),
                                 fileio_detail::text_to_double(sites.cif_fy[j]),
                                 fileio_detail::text_to_double(sites.cif_fz[j])};
            for (int i = 0; i < 3; ++i) {
                const double x = op.r[i][0] * f[0] + op.r[i][1] * f[1] + op.r[i][2] * f[2] + op.t[i];
                images.push_back(x - std::floor(x));
            }
            all.push_back(static_cast<int>(site_of.size()));
            site_of.push_back(static_cast<int>(j));
        }
    const double reach[3] = {1e-3, 1e-3, 1e-3};
    const fileio_detail::CellBins bins(images.data(), all, reach, true);
    std::vector<std::string> labels;
    for (int a = 0; a < store.natoms_cif; ++a) {
        const double* x = &store.cif_x_s[3 * a];
        double wrapped[3];
        for (int d = 0; d < 3; ++d) wrapped[d] = x[d] - std::floor(x[d]);
        int best = -1;
        double best_distance = 0.01;  // angstrom
        bins.for_each_near(wrapped, [&](int image) {
            double f[3], r2 = 0.0;
            for (int d = 0; d < 3; ++d) {
                f[d] = images[3 * image + d] - wrapped[d];
                f[d] -= std::round(f[d]);
            }
            for (int i = 0; i < 3; ++i) {
                const double c = store.cell_latt3x3[i][0] * f[0] + store.cell_latt3x3[i][1] * f[1] +
                                 store.cell_latt3x3[i][2] * f[2];
                r2 += c * c;
            }
            if (std::sqrt(r2) < best_distance) {
                best_distance = std::sqrt(r2);
                best = image;
            }
            return true;
        });
        if (best < 0) return {};
        labels.push_back(sites.cif_atom_label[static_cast<std::size_t>(site_of[best])]);
    }
    return labels;
}

}  // namespace

void read_cif_with_store_reader(Structure& s, const std::string& path) {
    FileIO& store = s.store;
    s.reader = "strict";
    store.read_data_cif(path.c_str(), false);
    store.input_kind = kSourceCif;
    store.read_crystal_strcuture_files(false, false);
    // The reader's bond test: the bonding radii, and one that reaches every atom for an
    // element it does not know.
    s.bond_radii.resize(static_cast<std::size_t>(store.natoms_cif));
    for (int i = 0; i < store.natoms_cif; ++i) {
        const int row = store.cif_atypes[i];
        s.bond_radii[i] = row < 0 ? kUnknownElementRadius : nw_elem_radius_m[row];
    }
    s.bond_scale = store.bond_scale;
    s.has_cell = true;
    s.block = store.identifier;
    s.spacegroup = unquoted(store.spacegroup_name);
    s.symmetry_source = store.cif_symops.empty() ? "none" : "loop";
    for (const std::string& text : store.cif_symops) {
        SymmetryOperation op{};  // the parser sets only the terms the text has
        store.ParseTransformString(text, op.r, op.t);
        s.operations.push_back(op);
    }
    const std::vector<SymmetryOperation> identity = {{{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 0, 0}}};
    s.atom_labels = store_site_labels(store, s.operations.empty() ? identity : s.operations);
}

void read_cif_with_database_reader(Structure& s, const std::string& path,
                                   const ReadSettings& settings) {
    const teska::ReadOptions options = database_options(settings, path);
    teska::CrystalInfo info = teska::read_database_cif(s.store, path, options);
    s.reader = "database";
    s.has_cell = true;
    s.block = info.block;
    s.spacegroup = info.spacegroup;
    s.symmetry_source = info.symmetry_source;
    for (const std::vector<double>& map : info.operations) {
        if (map.size() != 12) continue;
        SymmetryOperation op;
        for (int i = 0; i < 3; ++i) {
            for (int j = 0; j < 3; ++j) op.r[i][j] = map[4 * i + j];
            op.t[i] = map[4 * i + 3];
        }
        s.operations.push_back(op);
    }
    s.periodic = std::move(info.periodic);
    s.disorder_left_out = info.disorder_left_out;
    s.warnings = std::move(info.warnings);
    s.atom_labels = std::move(info.atom_labels);
    s.atom_occupancies = std::move(info.atom_occupancies);
    s.bond_radii.resize(static_cast<std::size_t>(s.store.natoms_cif));
    for (int i = 0; i < s.store.natoms_cif; ++i) {
        const int row = s.store.cif_atypes[i];
        s.bond_radii[i] = row > 0 && row < kBondingRadiusEntries ? nw_elem_radius_m[row] : 0.0;
    }
    s.bond_scale = options.bond_scale;
    s.has_cell_bonds = true;
    s.cell_bonds = std::move(info.bonds);
    for (teska::CrystalInfo::BondOrigin origin : info.bond_origins)
        s.cell_bond_added.push_back(static_cast<char>(origin));
    s.table_bonds = info.table_bonds;
    s.metal_bonds = info.metal_bonds;
}

std::vector<std::string> cif_blocks_with_atoms(const std::string& path) {
    return teska::database_blocks_with_atoms(path);
}

}  // namespace teska::crystal_detail
