// `teska info`: each input read in a child of the batch, described as text or as a JSON object;
// the parent prints them in input order (with --json one array and nothing else on standard
// output).
#include "info_command.h"

#include <cstdio>
#include <memory>

#include "convert_job.h"
#include "failure.h"
#include "formulas.h"
#include "json.h"
#include "report.h"
#include "unique_molecules.h"

namespace teska::cli {

namespace {

const char kInfoExamples[] = R"(Examples:
  teska info crystal.cif
  teska info *.cif --json > info.json
  teska info multi.cif --block form_II
  teska info molecule.mol --cell 10,12,8,90,95,90
  find db -name '*.cif' | teska info --files-from - -j 2 --report info.tsv)";

// The JSON object of one input read (the keys are listed in the README).
std::string info_json(const std::string& input, const Structure& s,
                      const std::vector<std::string>& blocks, const std::vector<int>& unique,
                      const JobResult& described) {
    const FileIO& store = s.store;
    std::vector<int> all_rows;
    for (int m = 0; m < store.nmols; ++m)
        all_rows.insert(all_rows.end(), store.mol_atypes[m],
                        store.mol_atypes[m] + store.mol_natoms[m]);
    const std::vector<std::string> formulas = s.molecule_formulas();
    std::vector<std::string> unique_formulas;
    for (int m : unique) unique_formulas.push_back(formulas[m]);
    int periodic = 0;
    for (char p : s.periodic) periodic += p ? 1 : 0;

    std::string cell = "null";
    if (s.has_cell) {
        JsonObject c;
        const char* names[6] = {"a", "b", "c", "alpha", "beta", "gamma"};
        for (int k = 0; k < 6; ++k) c.add_number(names[k], store.cell_latt[k]);
        cell = c.text(6);
    }
    JsonObject o;
    o.add_string("file", input)
        .add_string("status", "ok")
        .add_string("reader", s.reader)
        .add_string("block", s.block)
        .add("blocks", json_string_array(blocks))
        .add_string("formula", hill_formula(all_rows))
        .add_string("spacegroup", s.spacegroup)
        .add_string("spacegroup_source", s.symmetry_source)
        .add_number("operations", static_cast<double>(s.operations.size()))
        .add("cell", cell)
        .add_number("atoms", s.atom_count())
        .add_number("molecules", store.nmols)
        .add("molecule_formulas", json_string_array(formulas))
        .add_number("periodic_molecules", periodic)
        .add_number("unique_molecules", static_cast<double>(unique.size()))
        .add("unique_formulas", json_string_array(unique_formulas))
        .add_number("disorder_left_out", s.disorder_left_out)
        .add("warnings", json_string_array(described.warnings));
    return o.text(4);
}

std::string failed_json(const std::string& input, const JobResult& result) {
    JsonObject o;
    o.add_string("file", input)
        .add_string("status", status_name(result.status))
        .add_string("error", result.error)
        .add("warnings", json_string_array(result.warnings));
    return o.text(4);
}

std::string info_text(const std::string& input, const Structure& s, const std::vector<int>& unique,
                      const JobResult& described) {
    const FileIO& store = s.store;
    std::vector<int> all_rows;
    for (int m = 0; m < store.nmols; ++m)
        all_rows.insert(all_rows.end(), store.mol_atypes[m],
                        store.mol_atypes[m] + store.mol_natoms[m]);
    std::vector<std::string> unique_formulas;
    const std::vector<std::string> formulas = s.molecule_formulas();
    for (int m : unique) unique_formulas.push_back(formulas[m]);
    char line[512];
    std::string text = input + "\n";
    const auto row = [&text](const char* label, const std::string& value) {
        text += "  " + std::string(label) + std::string(18 - std::string(label).size(), ' ') +
                value + "\n";
    };
    row("reader", s.reader);
    if (!s.block.empty()) row("block", s.block);
    row("formula", hill_formula(all_rows));
    row("space group", (s.spacegroup.empty() ? "?" : s.spacegroup) + " (" + s.symmetry_source +
                           ", " + std::to_string(s.operations.size()) + " operations)");
    if (s.has_cell) {
        std::snprintf(line, sizeof line, "%.4f %.4f %.4f %.3f %.3f %.3f", store.cell_latt[0],
                      store.cell_latt[1], store.cell_latt[2], store.cell_latt[3],
                      store.cell_latt[4], store.cell_latt[5]);
        row("cell", line);
    } else {
        row("cell", "none");
    }
    row("atoms", std::to_string(s.atom_count()));
    row("molecules", std::to_string(store.nmols) + (store.nmols ? ": " + described.formulas : ""));
    row("unique molecules", std::to_string(unique.size()) +
                                (unique.empty() ? "" : ": " + grouped_formulas(unique_formulas)));
    row("disorder", std::to_string(s.disorder_left_out) + " sites left out");
    row("warnings", std::to_string(described.warnings.size()));
    return text;
}

JobResult info_input(const std::string& input, const ReadSettings& read) {
    const InputKind kind = input_kind_of(input);
    auto s = std::make_unique<Structure>();
    if (read.strict && kind != InputKind::kCif)
        throw Failure(input, "--strict reads CIF files only");
    load_structure(*s, input, kind, read, read.block);
    std::vector<std::string> blocks = {s->block};
    if (kind == InputKind::kCif && s->reader == "database") blocks = cif_blocks_with_atoms(input);
    if (kind != InputKind::kCif) blocks.clear();
    const std::vector<int> unique = unique_molecules(*s);
    JobResult result;
    describe(*s, input, result);
    result.json = info_json(input, *s, blocks, unique, result);
    result.text = info_text(input, *s, unique, result);
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
    const std::vector<std::string> inputs = inputs_of_this_run(batch_);
    ReportFile report(batch_.report);
    std::vector<BatchItem> items;
    for (const std::string& input : inputs) items.push_back({input, {}});

    Progress progress(items.size(), progress_wanted());
    Tally tally;
    if (json_) std::fputs("[", stdout);
    const auto work = [&](std::size_t i) { return info_input(inputs[i], read); };
    const auto commit = [&](std::size_t i, const JobResult& result) {
        std::string messages;
        for (const std::string& warning : result.warnings) messages += warning + "\n";
        if (!result.error.empty()) messages += result.error + "\n";
        progress.print_above(messages);
        if (json_) {
            const std::string object =
                result.status == Status::kOk ? result.json : failed_json(inputs[i], result);
            std::fputs((i == 0 ? "\n  " : ",\n  "), stdout);
            std::fputs(object.c_str(), stdout);
        } else if (result.status == Status::kOk) {
            progress.clear();
            std::fputs(result.text.c_str(), stdout);
            std::fflush(stdout);
        }
        report.add(inputs[i], result);
        tally.add(result.status);
    };
    const bool completed = run_batch(items, work, commit, batch_settings_of(batch_), progress);
    if (json_) std::fputs("\n]\n", stdout);
    std::fflush(stdout);
    const bool report_written = report.finish();
    std::fputs(summary_line(tally, "read", progress.elapsed_seconds()).c_str(), stderr);
    if (!report_written)
        std::fprintf(stderr, "teska: %s: cannot write the report\n", batch_.report.c_str());
    if (!completed) return 1;
    return tally.failed > 0 || !report_written ? 1 : 0;
}

}  // namespace teska::cli
