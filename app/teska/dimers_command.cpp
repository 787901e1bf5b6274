// `teska dimers`: each input read and its dimer classes found in a child of the batch, which
// also writes the calculation inputs (-d) and the picture (--svg); the parent prints each as a
// table or a JSON object in input order (with --json one array and nothing else on standard
// output).
#include "dimers_command.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include "convert_job.h"
#include "described_batch.h"
#include "failure.h"
#include "json.h"
#include "report.h"
#include "teska/dimers.h"
#include "teska/paths.h"

namespace teska::cli {

namespace {

const char kDimersExamples[] = R"(Examples:
  teska dimers naphthalene.cif
  teska dimers crystal.cif --cutoff 3.6 --heavy-only
  teska dimers salt.cif -d jobs -t xyz,gaussian --charge C12H12N=1 --charge F6P=-1
  teska dimers naphthalene.cif --svg naphthalene_dimers.svg
  teska dimers *.cif --json -j 2 > dimers.json)";

std::string int_array(const std::array<int, 3>& v) {
    return "[" + std::to_string(v[0]) + ", " + std::to_string(v[1]) + ", " + std::to_string(v[2]) + "]";
}

std::string class_json(const DimerClass& c, int number) {
    std::string orbit = "[";
    for (std::size_t k = 0; k < c.orbit.size(); ++k)
        orbit += std::string(k ? ", " : "") + "[" + std::to_string(c.orbit[k].i) + ", " +
                 std::to_string(c.orbit[k].j) + ", " + int_array(c.orbit[k].t) + "]";
    JsonObject o;
    o.add_number("class", number)
        .add_number("i", c.i)
        .add_number("j", c.j)
        .add("t", int_array(c.t))
        .add_string("formula_a", c.formula_a)
        .add_string("formula_b", c.formula_b)
        .add_number("multiplicity", c.multiplicity)
        .add_number("neighbours", c.neighbours)
        .add_number("closest_contact", c.closest_contact)
        .add("contact_atoms", json_string_array({c.contact_labels[0], c.contact_labels[1]}))
        .add_number("com_distance", c.com_distance)
        .add("relation", json_string_array(c.relation))
        .add("relation_names", json_string_array(c.relation_names))
        .add("orbit", orbit + "]")
        .add("near_cutoff", c.near_cutoff ? "true" : "false");
    return o.text(10);
}

// The JSON object of one input (the keys are listed in the README).
std::string dimers_json(const std::string& input, const DimerSet& set, const JobResult& described) {
    std::string molecules = "[";
    for (std::size_t m = 0; m < set.molecules.size(); ++m) {
        const DimerMolecule& d = set.molecules[m];
        molecules += std::string(m ? ",\n        " : "\n        ") + "{\"formula\": " +
                     json_string(d.formula) + ", \"centre\": [" + json_number(d.centre[0]) + ", " +
                     json_number(d.centre[1]) + ", " + json_number(d.centre[2]) + "]}";
    }
    std::string classes = "[";
    for (std::size_t k = 0; k < set.classes.size(); ++k)
        classes += std::string(k ? ",\n        " : "\n        ") +
                   class_json(set.classes[k], static_cast<int>(k) + 1);
    JsonObject o;
    o.add_string("file", input)
        .add_string("status", "ok")
        .add_number("cutoff", set.cutoff)
        .add("heavy_only", set.heavy_only ? "true" : "false")
        .add_number("operations", set.operations)
        .add_number("dimers_per_cell", set.dimers_per_cell)
        .add_number("neighbours_per_molecule", set.neighbours_per_molecule())
        .add_number("near_cutoff_classes", set.near_cutoff_classes())
        .add("molecules", molecules + (set.molecules.empty() ? "]" : "\n      ]"))
        .add("classes", classes + (set.classes.empty() ? "]" : "\n      ]"))
        .add("outputs", json_string_array(described.outputs))
        .add("warnings", json_string_array(described.warnings));
    return o.text(4);
}

std::string dimers_text(const std::string& input, const DimerSet& set) {
    char line[1024];
    std::string text = input + "\n";
    std::snprintf(line, sizeof line, "  %5s %4s %4s %-12s %8s %-15s %8s %4s %4s  %s\n", "class",
                  "i", "j", "t", "contact", "atoms", "com", "mult", "nb", "relation");
    text += line;
    for (std::size_t k = 0; k < set.classes.size(); ++k) {
        const DimerClass& c = set.classes[k];
        std::string relation;
        for (std::size_t r = 0; r < c.relation.size(); ++r)
            relation += (r ? "; " : "") + c.relation[r] + " (" + c.relation_names[r] + ")";
        if (relation.empty()) relation = "-";
        const std::string t = "[" + std::to_string(c.t[0]) + " " + std::to_string(c.t[1]) + " " +
                              std::to_string(c.t[2]) + "]";
        const std::string atoms = c.contact_labels[0] + "-" + c.contact_labels[1];
        std::snprintf(line, sizeof line, "  %5zu %4d %4d %-12s %8.3f %-15s %8.3f %4d %4d  %s%s\n",
                      k + 1, c.i, c.j, t.c_str(), c.closest_contact, atoms.c_str(), c.com_distance,
                      c.multiplicity, c.neighbours, relation.c_str(),
                      c.near_cutoff ? "  (near the cutoff)" : "");
        text += line;
    }
    std::snprintf(line, sizeof line,
                  "  dimers per cell %d, classes %zu, neighbours per molecule %.2f, near-cutoff "
                  "classes %d (cutoff %.3f A%s)\n",
                  set.dimers_per_cell, set.classes.size(), set.neighbours_per_molecule(),
                  set.near_cutoff_classes(), set.cutoff, set.heavy_only ? ", heavy atoms" : "");
    return text + line;
}

struct DimersJob {
    ReadSettings read;
    double cutoff = 4.0;
    bool heavy_only = false;
    std::string directory;  // empty: no calculation inputs
    DimerInputSettings inputs;
    std::string svg;         // empty: no picture
    bool svg_per_input = false;  // several inputs: FILE_INPUT.svg each
    bool json = false;       // the JSON object, else the table, goes back to the parent
};

void write_svg(const std::string& path, const std::string& text) {
    FILE* out = std::fopen(path.c_str(), "wb");
    bool written = out != nullptr && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (out != nullptr) written = std::fclose(out) == 0 && written;
    if (!written) throw Error(path, 0, 0, "cannot write the picture");
}

JobResult dimers_input(const std::string& input, const DimersJob& job) {
    if (job.read.strict && !is_cif_input(input)) throw Error(input, 0, 0, "--strict reads CIF files only");
    const Crystal c = Crystal::read(input, job.read);
    JobResult result;
    describe(c, result);
    const DimerSet set = find_dimers(c, job.cutoff, job.heavy_only);
    if (!job.directory.empty())
        result.outputs = write_dimer_inputs(c, set, join_path(job.directory, base_of(stem_of(input))),
                                            job.inputs);
    if (!job.svg.empty()) {
        const std::string path = job.svg_per_input
                                     ? stem_of(job.svg) + "_" + base_of(stem_of(input)) + ".svg"
                                     : job.svg;
        write_svg(path, dimers_svg(c, set));
        result.outputs.push_back(path);
    }
    // One of the two: a large cell's text passes through the batch's pipe.
    if (job.json)
        result.json = dimers_json(input, set, result);
    else
        result.text = dimers_text(input, set);
    result.status = Status::kOk;
    return result;
}

// "xyz,gaussian" as formats; xyz when none is named.
std::vector<Format> formats_of(const std::string& list) {
    std::vector<Format> formats;
    std::size_t at = 0;
    while (at <= list.size() && !list.empty()) {
        const std::size_t comma = std::min(list.find(',', at), list.size());
        const std::string name = list.substr(at, comma - at);
        const std::optional<Format> f = format_from_name(name);
        if (!f || !(*f == Format::kXyz || *f == Format::kPdb || is_quantum_chemistry(*f)))
            throw UsageError("dimer inputs are xyz, pdb, gaussian, orca or qchem, not \"" + name + "\"");
        formats.push_back(*f);
        at = comma + 1;
    }
    if (formats.empty()) formats.push_back(Format::kXyz);
    return formats;
}

std::vector<std::pair<std::string, int>> charges_of(const std::vector<std::string>& texts) {
    std::vector<std::pair<std::string, int>> charges;
    for (const std::string& text : texts) {
        const std::size_t equals = text.find('=');
        char* end = nullptr;
        const long q = equals == std::string::npos ? 0 : std::strtol(text.c_str() + equals + 1, &end, 10);
        if (equals == std::string::npos || equals == 0 || end == text.c_str() + equals + 1 ||
            *end != '\0' || q < -100 || q > 100)
            throw UsageError("--charge takes FORMULA=CHARGE, as C10H8=1, not \"" + text + "\"");
        charges.emplace_back(text.substr(0, equals), static_cast<int>(q));
    }
    return charges;
}

}  // namespace

DimersCommand::DimersCommand(CLI::App& app) {
    command_ = app.add_subcommand(
        "dimers", "List the symmetry-unique pairs of neighbouring molecules of crystals");
    command_->footer(kDimersExamples);
    add_batch_options(command_, batch_);
    add_reader_options(command_, reader_);
    command_->add_option("--cutoff", cutoff_,
                         "Closest atom-atom contact (angstrom) below which two molecules are a dimer")
        ->default_val(4.0)
        ->check(CLI::PositiveNumber);
    command_->add_flag("--heavy-only", heavy_only_, "Leave hydrogens out of the closest contact");
    command_->add_flag("--json", json_,
                       "Print one JSON document (an array, one object per input) and nothing else");
    command_->add_option("--svg", svg_,
                         "Draw each species' first molecule with its neighbours, coloured and "
                         "numbered by class (FILE_INPUT.svg for several inputs)");
    auto* directory = command_->add_option(
        "-d,--directory", directory_,
        "Write per class DIR/INPUT/class_NN/ with the dimer and both monomers");
    command_->add_option("-t,--format", formats_,
                         "Formats of those files, comma-separated: xyz (default), pdb, gaussian, "
                         "orca, qchem")
        ->needs(directory);
    command_->add_option("--charge", charges_,
                         "Charge of a species, as FORMULA=CHARGE (Hill formula); repeatable")
        ->needs(directory);
    command_->add_option("--method", inputs_.method, "Quantum-chemistry method (default B3LYP)")
        ->needs(directory);
    command_->add_option("--basis", inputs_.basis, "Basis set (default 6-31G(d))")->needs(directory);
    command_->add_option("--nprocs", inputs_.nprocs, "Processors (default 1)")
        ->check(CLI::PositiveNumber)
        ->needs(directory);
    command_->add_option("--memory", inputs_.memory_mb, "Memory in MB (default 1000)")
        ->check(CLI::PositiveNumber)
        ->needs(directory);
}

int DimersCommand::run() {
    DimersJob job;
    job.read = read_settings_of(reader_);
    if (job.read.block == "all") throw UsageError("dimers reads one data block");
    job.cutoff = cutoff_;
    job.heavy_only = heavy_only_;
    job.directory = directory_;
    job.inputs = inputs_;
    job.inputs.formats = formats_of(formats_);
    job.inputs.charges = charges_of(charges_);
    job.svg = svg_;
    job.json = json_;
    job.svg_per_input = batch_.inputs.size() > 1 || !batch_.files_from.empty();
    return run_described_batch(batch_, json_, "searched",
                               [&](const std::string& input) { return dimers_input(input, job); });
}

}  // namespace teska::cli
