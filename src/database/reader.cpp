// The database reader's entry points: a data block read stage by stage (cell, symmetry,
// sites, disorder, expansion, molecules) into the store. Store members run under the raising
// fatal policy, so that no error ends the process; their errors come back as teska::Error.
#include <cmath>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "database_detail.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "teska/database.h"

namespace teska {

namespace {

using namespace database_detail;

void check_options(const ReadOptions& options, const Report& report) {
    // Beyond 4 every atom bonds to far neighbours, and the image searches grow with the cube.
    if (!(options.bond_scale > 0.0 && options.bond_scale <= 4.0))
        report.fail(0, 0, "the bond scale must be a number above 0 and at most 4");
    if (options.max_cell_atoms < 1)
        report.fail(0, 0, "the limit of atoms in the cell must be positive");
    if (options.disorder == DisorderMode::kGroup && options.disorder_group.empty())
        report.fail(0, 0, "no disorder group named for the chosen-group mode");
}

// The store's texts and lists of an earlier read are replaced, not appended to.
void clear_store_lists(FileIO& store) {
    store.cif_symops.clear();
    store.cif_atoms = Atoms();
    store.cif_bonds = Bonds();
    store.mol_natoms_list.clear();
    store.mol_atom_list.clear();
}

void store_texts(FileIO& store, gemmi::cif::Block& block, const std::string& name,
                 const Symmetry& symmetry) {
    store.input_filename = name;
    store.identifier = block.name;
    const std::string* common = single_value(block, "_chemical_name_common");
    if (common && !gemmi::cif::is_null(*common)) {
        store.chemical_name = gemmi::cif::as_string(*common);
        if (!store.chemical_name.empty()) store.identifier = store.chemical_name;
    }
    store.spacegroup_name = symmetry.name;
    store.spacegroup_number = symmetry.number > 0 ? symmetry.number : -1;
    for (const gemmi::Op& op : symmetry.ops) store.cif_symops.push_back(op.triplet());
}

std::vector<std::string> labels_left_out(const std::vector<Site>& sites,
                                         const DisorderChoice& disorder) {
    std::vector<std::string> labels;
    for (std::size_t i = 0; i < sites.size(); ++i)
        if (!disorder.keep[i]) labels.push_back(sites[i].label);
    return labels;
}

std::vector<std::vector<double>> operation_matrices(const std::vector<gemmi::Op>& ops) {
    std::vector<std::vector<double>> matrices;
    for (const gemmi::Op& op : ops) {
        std::vector<double> m;
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) m.push_back(static_cast<double>(op.rot[r][c]) / op.DEN);
            m.push_back(static_cast<double>(op.tran[r]) / op.DEN);
        }
        matrices.push_back(m);
    }
    return matrices;
}

CrystalInfo read_block_stages(FileIO& store, gemmi::cif::Block& block, const std::string& name,
                              const ReadOptions& options, Report& report) {
    const Cell cell = read_cell(block, report);
    clear_store_lists(store);
    double parameters[6];
    for (int k = 0; k < 6; ++k) store.cell_latt[k] = parameters[k] = cell.parameters[k];
    double latt[3][3];
    store.cell_cell6_to_latt3x3(parameters, latt);
    store.bond_scale = options.bond_scale;

    const Symmetry symmetry = read_symmetry(block, cell.parameters[3], cell.parameters[5], report);
    const std::vector<Site> sites = read_sites(block, store, report);
    if (sites.empty())
        report.fail(tag_line(block, "_atom_site_fract_x") + tag_line(block, "_atom_site_cartn_x"),
                    0, "no atoms: every atom site was left out");
    DisorderChoice disorder = choose_disorder(sites, options, report);
    const Lattice lattice(store.cell_latt3x3);
    const Expansion expansion = expand_sites(sites, disorder, symmetry.ops, lattice,
                                             options.bond_scale, options.max_cell_atoms, report);
    for (std::size_t i = 0; i < expansion.disorder.site_left_out.size(); ++i) {
        if (!expansion.disorder.site_left_out[i]) continue;
        disorder.keep[i] = 0;
        ++disorder.left_out;
    }
    if (expansion.atoms.empty()) report.fail(0, 0, "no atoms left after the disorder choice");
    TableBonds table;
    if (options.bonds != BondSource::kRadii)
        table = read_bond_table(block, sites, disorder, symmetry, expansion, lattice,
                                options.bond_scale, options.bonds == BondSource::kFile, report);
    const bool use_radii = options.bonds != BondSource::kFile || !table.present;
    if (!table.present && options.bonds == BondSource::kFile)
        report.warn(0, "no bond table in the block: bonds from the bonding radii");
    std::vector<ExplicitBond> explicit_bonds = table.bonds;
    int metal_bonds = 0;
    // Metal-ligand bonds where no bond table is used: the author's bonds are the better word.
    if (options.metal_bonds && use_radii && table.bonds.empty() &&
        (!table.present || options.bonds == BondSource::kRadii)) {
        const std::vector<ExplicitBond> metal =
            metal_ligand_bonds(expansion, lattice, options.bond_scale);
        metal_bonds = static_cast<int>(metal.size());
        explicit_bonds.insert(explicit_bonds.end(), metal.begin(), metal.end());
        if (metal_bonds > 0)
            report.warn(0, count_of(metal_bonds, "metal-ligand bond", "metal-ligand bonds") +
                               " beyond the bonding radii added (covalent radii of the metal "
                               "and the donor plus a coordination tolerance)");
    }
    const Molecules molecules =
        store_molecules(store, expansion, options.bond_scale, explicit_bonds, use_radii, report);
    if (table.present && use_radii)
        warn_bonds_not_listed(block, sites, expansion, molecules.bonds, report);
    store_texts(store, block, name, symmetry);

    CrystalInfo info;
    info.file = name;
    info.block = block.name;
    info.spacegroup = symmetry.name;
    info.spacegroup_number = symmetry.number;
    info.symmetry_source = symmetry.source;
    for (int k = 0; k < 6; ++k) {
        info.cell[k] = cell.parameters[k];
        info.cell_su[k] = cell.su[k];
    }
    info.sites = static_cast<int>(sites.size());
    info.operations = operation_matrices(symmetry.ops);
    info.atoms = store.natoms_cif;
    info.molecules = store.nmols;
    info.periodic = molecules.periodic;
    info.formulas = molecules.formulas;
    info.disorder_left_out = disorder.left_out;
    info.disorder_left_out_sites = labels_left_out(sites, disorder);
    info.bonds = molecules.bonds;
    const CrystalInfo::BondOrigin explicit_origin = table.bonds.empty()
                                                        ? CrystalInfo::BondOrigin::kMetal
                                                        : CrystalInfo::BondOrigin::kTable;
    for (char explicit_only : molecules.explicit_only)
        info.bond_origins.push_back(explicit_only ? explicit_origin
                                                  : CrystalInfo::BondOrigin::kRadii);
    info.table_bonds = table.added;
    info.metal_bonds = metal_bonds;
    info.warnings = report.warnings();
    for (const CellAtom& atom : expansion.atoms) {
        info.atom_labels.push_back(sites[atom.site].label);
        info.atom_occupancies.push_back(sites[atom.site].occupancy);
    }
    return info;
}

// Whatever a stage or a store member raises comes back as teska::Error naming the file.
CrystalInfo read_block(FileIO& store, gemmi::cif::Block& block, const std::string& name,
                       const ReadOptions& options, Report& report) {
    check_options(options, report);
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    try {
        return read_block_stages(store, block, name, options, report);
    } catch (const Error&) {
        throw;
    } catch (const FatalError& e) {
        report.fail(0, 0, e.what());
    } catch (const std::bad_alloc&) {
        report.fail(0, 0, "not enough memory");
    } catch (const std::exception& e) {
        report.fail(0, 0, e.what());
    }
}

struct ParsedFile {
    gemmi::cif::Document doc;
    std::vector<int> heading_lines;
};

ParsedFile parse_file_text(const std::string& text, Report& report) {
    ParsedFile parsed;
    parsed.doc = parse_document(text, report, &parsed.heading_lines);
    return parsed;
}

// The file's warnings that concern block b.
Report block_report(const Report& report, const ParsedFile& parsed, std::size_t b) {
    const std::vector<int>& lines = parsed.heading_lines;
    if (lines.size() != parsed.doc.blocks.size()) return report;
    return report.for_block(lines.front(), lines[b], b + 1 < lines.size() ? lines[b + 1] : 0);
}

}  // namespace

CrystalInfo read_database_cif_text(FileIO& store, const std::string& text, const std::string& name,
                                   const ReadOptions& options) {
    Report report(name);
    ParsedFile parsed = parse_file_text(text, report);
    gemmi::cif::Block& block = choose_block(parsed.doc, options.block, report);
    Report part = block_report(report, parsed, &block - parsed.doc.blocks.data());
    return read_block(store, block, name, options, part);
}

CrystalInfo read_database_cif(FileIO& store, const std::string& path, const ReadOptions& options) {
    return read_database_cif_text(store, read_text_file(path), path, options);
}

std::vector<std::string> database_blocks_with_atoms(const std::string& path) {
    Report report(path);
    gemmi::cif::Document doc = parse_document(read_text_file(path), report);
    std::vector<std::string> names;
    for (gemmi::cif::Block& block : doc.blocks)
        if (has_atom_sites(block)) names.push_back(block.name);
    return names;
}

std::vector<BlockResult> read_database_cif_every_block(
    const std::string& path, const ReadOptions& options,
    const std::function<void(FileIO&, const CrystalInfo&)>& on_block) {
    Report report(path);
    ParsedFile parsed = parse_file_text(read_text_file(path), report);
    std::vector<BlockResult> results;
    for (std::size_t b = 0; b < parsed.doc.blocks.size(); ++b) {
        gemmi::cif::Block& block = parsed.doc.blocks[b];
        if (!has_atom_sites(block)) continue;
        BlockResult result;
        result.block = block.name;
        FileIO store;
        try {
            Report part = block_report(report, parsed, b);
            result.info = read_block(store, block, path, options, part);
            result.ok = true;
        } catch (const Error& e) {
            result.error = e.what();
        }
        if (result.ok && on_block) on_block(store, result.info);
        results.push_back(result);
    }
    if (results.empty())
        report.fail(0, 0,
                    "no data block holds atom sites (_atom_site_fract_x or _atom_site_Cartn_x)");
    return results;
}

}  // namespace teska
