// `teska info`: each input read in a child of the batch, described as text or as a JSON object;
// the parent prints them in input order (with --json one array and nothing else on standard
// output).
#include "info_command.h"

#include <array>
#include <cstdio>
#include <memory>

#include "convert_job.h"
#include "described_batch.h"
#include "failure.h"
#include "json.h"
#include "report.h"

namespace teska::cli {

namespace {

const char kInfoExamples[] = R"(Examples:
  teska info crystal.cif
  teska info *.cif --json > info.json
  teska info multi.cif --block form_II
  teska info molecule.mol --cell 10,12,8,90,95,90
  find db -name '*.cif' | teska info --files-from - -j 2 --report info.tsv)";

// The formulas of the unique molecules.
std::vector<std::string> unique_formulas(const Crystal& c) {
    std::vector<std::string> formulas;
    for (const UniqueMolecule& u : c.unique_molecules())
        formulas.push_back(c.molecules()[static_cast<std::size_t>(u.molecule)].formula);
    return formulas;
}

// The species as "C10H8 x2, H2O x4", or as a JSON array of {"formula", "count"} objects.
std::string species_text(const Crystal& c) {
    std::string text;
    for (const Species& s : c.species())
        text += (text.empty() ? "" : ", ") + s.formula + " x" + std::to_string(s.count);
    return text;
}

std::string species_json(const Crystal& c) {
    std::string text = "[";
    for (const Species& s : c.species())
        text += std::string(text.size() > 1 ? ", " : "") + "{\"formula\": " + json_string(s.formula) +
                ", \"count\": " + std::to_string(s.count) + "}";
    return text + "]";
}

int bond_count(const Crystal& c) {
    std::size_t bonds = 0;
    for (std::size_t m = 0; m < c.molecules().size(); ++m) bonds += c.bonds(static_cast<int>(m)).size();
    return static_cast<int>(bonds);
}

// The JSON object of one input read (the keys are listed in the README).
// Where each molecule's bonds came from, when the file's table or the metal rule added any:
// one object per molecule, in molecule order.
std::string added_bonds_json(const Crystal& c) {
    std::vector<std::string> rows;
    bool any = false;
    for (std::size_t m = 0; m < c.molecules().size(); ++m) {
        const AddedBonds added = c.added_bonds(static_cast<int>(m));
        any = any || added.table > 0 || added.metal > 0;
        rows.push_back("{\"bonds\": " + std::to_string(c.bonds(static_cast<int>(m)).size()) +
                       ", \"table\": " + std::to_string(added.table) +
                       ", \"metal\": " + std::to_string(added.metal) + "}");
    }
    if (!any) return "[]";
    std::string text = "[";
    for (std::size_t k = 0; k < rows.size(); ++k) text += (k ? ", " : "") + rows[k];
    return text + "]";
}

// ": in molecule 1 (FeH12O6) 6 of 18, ..." for the molecules the source added bonds to.
std::string added_bonds_text(const Crystal& c, int AddedBonds::*source) {
    std::string text;
    int listed = 0, more = 0;
    for (std::size_t m = 0; m < c.molecules().size(); ++m) {
        const int added = c.added_bonds(static_cast<int>(m)).*source;
        if (added == 0) continue;
        if (listed == 4) {
            ++more;
            continue;
        }
        text += std::string(listed++ ? ", " : ": in molecule ") + std::to_string(m + 1) + " (" +
                c.molecules()[m].formula + ") " + std::to_string(added) + " of " +
                std::to_string(c.bonds(static_cast<int>(m)).size());
    }
    if (more > 0) text += " and " + std::to_string(more) + " more";
    return text;
}

std::string info_json(const std::string& input, const Crystal& c,
                      const std::vector<std::string>& blocks, const JobResult& described) {
    std::vector<std::string> formulas;
    int periodic = 0;
    for (const Molecule& molecule : c.molecules()) {
        formulas.push_back(molecule.formula);
        periodic += molecule.periodic ? 1 : 0;
    }
    std::string cell = "null";
    if (c.has_cell()) {
        JsonObject o;
        const char* names[6] = {"a", "b", "c", "alpha", "beta", "gamma"};
        for (std::size_t k = 0; k < 6; ++k) o.add_number(names[k], c.cell()[k]);
        cell = o.text(6);
    }
    const std::vector<std::string> unique = unique_formulas(c);
    JsonObject o;
    o.add_string("file", input)
        .add_string("status", "ok")
        .add_string("reader", c.reader())
        .add_string("block", c.block())
        .add("blocks", json_string_array(blocks))
        .add_string("formula", c.formula())
        .add_string("spacegroup", c.spacegroup())
        .add_string("spacegroup_source", c.symmetry_source())
        .add_number("operations", static_cast<double>(c.operations().size()))
        .add("cell", cell)
        .add_number("atoms", c.atom_count())
        .add_number("molecules", static_cast<double>(c.molecules().size()))
        .add("molecule_formulas", json_string_array(formulas))
        .add_number("periodic_molecules", periodic)
        .add_number("bonds", bond_count(c))
        .add_number("table_bonds", c.table_bonds())
        .add_number("metal_bonds", c.metal_bonds())
        .add("molecule_added_bonds", added_bonds_json(c))
        .add("species", species_json(c))
        .add_number("unique_molecules", static_cast<double>(unique.size()))
        .add("unique_formulas", json_string_array(unique))
        .add_number("disorder_left_out", c.disorder_left_out())
        .add("warnings", json_string_array(described.warnings));
    return o.text(4);
}

std::string info_text(const std::string& input, const Crystal& c, const JobResult& described) {
    const std::vector<std::string> unique = unique_formulas(c);
    char line[512];
    std::string text = input + "\n";
    const auto row = [&text](const char* label, const std::string& value) {
        text += "  " + std::string(label) + std::string(18 - std::string(label).size(), ' ') +
                value + "\n";
    };
    row("reader", c.reader());
    if (!c.block().empty()) row("block", c.block());
    row("formula", c.formula());
    row("space group", (c.spacegroup().empty() ? "?" : c.spacegroup()) + " (" +
                           c.symmetry_source() + ", " + std::to_string(c.operations().size()) +
                           " operations)");
    if (c.has_cell()) {
        const std::array<double, 6> p = c.cell();
        std::snprintf(line, sizeof line, "%.4f %.4f %.4f %.3f %.3f %.3f", p[0], p[1], p[2], p[3],
                      p[4], p[5]);
        row("cell", line);
    } else {
        row("cell", "none");
    }
    const std::size_t molecules = c.molecules().size();
    row("atoms", std::to_string(c.atom_count()));
    row("molecules", std::to_string(molecules) + (molecules ? ": " + described.formulas : ""));
    row("species", std::to_string(c.species().size()) +
                       (c.species().empty() ? "" : ": " + species_text(c)));
    row("unique molecules", std::to_string(unique.size()) +
                                (unique.empty() ? "" : ": " + grouped_formulas(unique)));
    if (c.table_bonds() > 0)
        row("bond table", std::to_string(c.table_bonds()) + " bonds added beyond the radii" +
                              added_bonds_text(c, &AddedBonds::table));
    if (c.metal_bonds() > 0)
        row("metal bonds", std::to_string(c.metal_bonds()) +
                               " metal-ligand bonds beyond the radii" +
                               added_bonds_text(c, &AddedBonds::metal));
    row("disorder", std::to_string(c.disorder_left_out()) + " sites left out");
    row("warnings", std::to_string(described.warnings.size()));
    return text;
}

JobResult info_input(const std::string& input, const ReadSettings& read) {
    const bool cif = is_cif_input(input);
    if (read.strict && !cif) throw Error(input, 0, 0, "--strict reads CIF files only");
    const Crystal c = Crystal::read(input, read);
    std::vector<std::string> blocks = {c.block()};
    if (cif && c.reader() == "database") blocks = Crystal::cif_blocks(input);
    if (!cif) blocks.clear();
    JobResult result;
    describe(c, result);
    result.json = info_json(input, c, blocks, result);
    result.text = info_text(input, c, result);
    result.status = Status::kOk;
    return result;
}

}  // namespace

InfoCommand::InfoCommand(CLI::App& app) {
    command_ = app.add_subcommand("info", "Describe crystal structures and molecule files");
    command_->footer(kInfoExamples);
    add_batch_options(command_, batch_);
    add_reader_options(command_, reader_);
    command_->add_flag("--json", json_,
                       "Print one JSON document (an array, one object per input) and nothing else");
}

int InfoCommand::run() {
    const ReadSettings read = read_settings_of(reader_);
    if (read.block == "all")
        throw UsageError("info reads one data block; the \"blocks\" of its output lists them all");
    return run_described_batch(batch_, json_, "read",
                               [&](const std::string& input) { return info_input(input, read); });
}

}  // namespace teska::cli
