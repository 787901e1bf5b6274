// `teska convert`: options, the checks that make a command line a usage error, the plan of every
// input's outputs, and the batch.
#include "convert_command.h"

#include <cstdio>
#include <iostream>
#include <map>

#include "convert_job.h"
#include "failure.h"
#include "inputs.h"
#include "teska/paths.h"
#include "report.h"

namespace teska::cli {

namespace {

const char kConvertExamples[] = R"(Examples:
  teska convert crystal.cif                  writes crystal.pdb beside the input
  teska convert crystal.cif -o cell.cif      the unit cell as a P1 CIF file
  teska convert *.cif -d out -j 2 --report out/report.tsv
  teska convert crystal.cif -t xyz --split   crystal_01.xyz, crystal_02.xyz, ...
  teska convert crystal.cif -t orca --unique --job opt --method PBE0 --basis def2-SVP
  teska convert crystal.cif --supercell 2x2x1 -o slab.pdb
  teska convert molecule.mol --cell 10,12,8,90,95,90 -t cif
  find db -name '*.cif' | teska convert --files-from - -d out --shard 3/10 --skip-existing)";

Format chosen_format(const std::string& format_option, const std::string& output) {
    if (!format_option.empty()) return *format_from_name(format_option);
    if (output.empty()) return Format::kPdb;
    if (const auto format = format_from_extension(output)) return *format;
    throw UsageError("cannot tell the format of " + output +
                     " from its extension: give it with -t (pdb, cif, xyz, mol, gaussian, orca, "
                     "qchem)");
}

void parse_supercell(const std::string& text, int counts[3]) {
    char tail = '\0';
    std::string spaced = text;
    for (char& c : spaced)
        if (c == 'x' || c == 'X' || c == ',') c = ' ';
    const int parsed =
        std::sscanf(spaced.c_str(), "%d %d %d %c", &counts[0], &counts[1], &counts[2], &tail);
    if (parsed != 3 || counts[0] < 1 || counts[1] < 1 || counts[2] < 1 ||
        text.find_first_not_of("0123456789xX,") != std::string::npos)
        throw UsageError("--supercell takes NAxNBxNC with whole numbers of at least 1, not " +
                         text);
}

// Outputs that would collide, or overwrite an input, make the command line unusable.
void check_outputs(const std::vector<ConvertPlan>& plans, const WriteSettings& write,
                   bool all_blocks) {
    std::map<std::string, std::size_t> owner;
    for (std::size_t i = 0; i < plans.size(); ++i) {
        const ConvertPlan& plan = plans[i];
        const std::string first =
            all_blocks ? plan.target.stem + "_BLOCK" + traits(write.format).extension
                       : first_output_path(plan.target, write.format, write.per_molecule());
        const std::string key = normalised_path(first);
        const auto [at, inserted] = owner.emplace(key, i);
        if (!inserted)
            throw UsageError(plans[at->second].input + " and " + plan.input +
                             " would both be written to " + first +
                             ": rename one of them or convert them in separate runs");
        if (key == normalised_path(plan.input) || same_existing_file(first, plan.input))
            throw UsageError("writing " + first + " would replace the input " + plan.input +
                             ": give another name with -o or a folder with -d");
    }
}

}  // namespace

ConvertCommand::ConvertCommand(CLI::App& app) {
    command_ = app.add_subcommand("convert", "Convert crystal structures and molecule files");
    command_->footer(kConvertExamples);
    add_batch_options(command_, batch_);
    auto* output = command_
                       ->add_option("-o,--output", output_,
                                    "Output file of a single input (per-molecule formats: "
                                    "the name the numbers are added to)")
                       ->type_name("OUTPUT");
    auto* directory = command_
                          ->add_option("-d,--directory", directory_,
                                       "Write every output into DIR, made if missing")
                          ->type_name("DIR");
    output->excludes(directory);
    command_
        ->add_option("-t,--format", format_,
                     "Output format (default: from the output's extension, else pdb)")
        ->type_name("FORMAT")
        ->check(CLI::IsMember(format_names_accepted(), CLI::ignore_case));
    command_->add_flag("--split", split_, "xyz: one file per molecule (NAME_01.xyz, ...)");
    command_->add_option("--supercell", supercell_, "pdb, cif: repeat the cell NA x NB x NC times")
        ->type_name("NAxNBxNC");
    auto* unique = command_->add_flag(
        "--unique", unique_,
        "Keep only molecules that are not images of an earlier one under the file's symmetry");
    command_->add_flag("--skip-existing", skip_existing_,
                       "Leave inputs whose output exists already");
    add_reader_options(command_, reader_);
    reader_.strict_option->excludes(unique);

    const std::string qc = "gaussian, orca, qchem: ";
    job_options_ = {
        command_
            ->add_option("--job", job_.kind,
                         qc + "sp (single point printing orbitals, charge 0, singlet) or "
                              "opt (optimisation, then frequencies)")
            ->check(CLI::IsMember({"sp", "opt"})),
        command_->add_option("--method", job_.method, qc + "method (default B3LYP)"),
        command_->add_option("--basis", job_.basis, qc + "basis set (default 6-31G(d))"),
        command_->add_option("--charge", job_.charge, qc + "charge of each molecule (opt)"),
        command_->add_option("--multiplicity", job_.multiplicity, qc + "spin multiplicity (opt)")
            ->check(CLI::Range(1, 99)),
        command_->add_option("--nprocs", job_.nprocs, qc + "processors (default 1)")
            ->check(CLI::Range(1, 100000)),
        command_
            ->add_option("--memory", job_.memory_mb,
                         qc + "memory in MB (default 1000; ORCA: divided among processors)")
            ->check(CLI::Range(1, 1 << 30)),
    };
}

int ConvertCommand::run() {
    ConvertSettings settings;
    settings.read = read_settings_of(reader_);
    settings.skip_existing = skip_existing_;
    settings.all_blocks = reader_.block == "all";
    if (settings.all_blocks) settings.read.block.clear();
    WriteSettings& write = settings.write;
    write.format = chosen_format(format_, output_);
    write.split = split_;
    write.unique = unique_;
    write.strict = reader_.strict;
    write.job = job_;
    if (!supercell_.empty()) parse_supercell(supercell_, write.supercell);

    // mol and the quantum-chemistry formats are one file per molecule with or without it.
    if (split_ && (write.format == Format::kPdb || write.format == Format::kCif))
        throw UsageError(
            "--split: pdb and cif files hold the whole cell; one file per molecule is xyz, mol, "
            "gaussian, orca or qchem output");
    if (write.has_supercell() && write.format != Format::kPdb && write.format != Format::kCif)
        throw UsageError("--supercell applies to pdb and cif output");
    if (!is_quantum_chemistry(write.format))
        for (const CLI::Option* option : job_options_)
            if (option->count() > 0)
                throw UsageError(option->get_name() +
                                 " applies to gaussian, orca and qchem output");
    if (job_.kind == "sp" && (job_.charge != 0 || job_.multiplicity != 1))
        throw UsageError(
            "single-point jobs (--job sp) are written for charge 0 and a singlet; "
            "give --job opt for another charge or multiplicity");

    std::vector<std::string> all_inputs =
        collect_inputs(batch_.inputs, batch_.files_from, std::cin);
    if (all_inputs.empty())
        throw UsageError("no input files (give them as arguments or with --files-from)");
    if (!output_.empty() && all_inputs.size() > 1)
        throw UsageError("-o names the output of a single input; give -d DIR for several");

    std::vector<ConvertPlan> plans;
    for (const std::string& input : all_inputs)
        plans.push_back({input,
                         plan_output(input, output_, directory_, write.per_molecule())});
    check_outputs(plans, write, settings.all_blocks);
    if (!batch_.shard.empty()) {
        std::size_t first = 0, last = 0;
        shard_range(plans.size(), parse_shard(batch_.shard), &first, &last);
        plans = std::vector<ConvertPlan>(plans.begin() + static_cast<std::ptrdiff_t>(first),
                                         plans.begin() + static_cast<std::ptrdiff_t>(last));
    }

    if (!directory_.empty()) {
        const std::string failure = make_directories(directory_);
        if (!failure.empty()) std::fprintf(stderr, "teska: %s\n", failure.c_str());
    }
    ReportFile report(batch_.report);
    std::vector<BatchItem> items;
    for (const ConvertPlan& plan : plans) items.push_back({plan.input, {plan.target.directory}});

    Progress progress(items.size(), progress_wanted());
    Tally tally;
    const auto work = [&](std::size_t i) { return convert_input(plans[i], settings); };
    const auto commit = [&](std::size_t i, const JobResult& result) {
        std::string messages;
        for (const std::string& warning : result.warnings) messages += warning + "\n";
        if (!result.error.empty()) messages += result.error + "\n";
        progress.print_above(messages);
        report.add(plans[i].input, result);
        tally.add(result.status);
    };
    const bool completed = run_batch(items, work, commit, batch_settings_of(batch_), progress);
    const bool report_written = report.finish();
    std::fputs(summary_line(tally, "converted", progress.elapsed_seconds()).c_str(), stderr);
    if (!report_written)
        std::fprintf(stderr, "teska: %s: cannot write the report\n", batch_.report.c_str());
    if (!completed) {
        std::fputs("teska: stopped by a signal; the inputs not reported were not converted\n",
                   stderr);
        return 1;
    }
    return tally.failed > 0 || !report_written ? 1 : 0;
}

}  // namespace teska::cli
