// Options shared by the subcommands.
#include "command_options.h"

#include <unistd.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <iostream>

#include "failure.h"
#include "inputs.h"

namespace teska::cli {

void add_batch_options(CLI::App* command, BatchOptions& options) {
    command->add_option("inputs", options.inputs, "Input files: CIF, PDB, XYZ, MDL molfiles")
        ->type_name("INPUT...");
    command
        ->add_option("--files-from", options.files_from,
                     "Read input names from FILE, one a line (- for standard input)")
        ->type_name("FILE");
    command->add_option("-j,--jobs", options.jobs, "Work on N inputs at a time (default 1)")
        ->type_name("N")
        ->check(CLI::Range(1, 4096));
    command
        ->add_option("--shard", options.shard,
                     "Take only the K-th of N contiguous parts of the input list")
        ->type_name("K/N");
    command
        ->add_option("--timeout", options.timeout_seconds,
                     "Stop working on an input after S seconds and count it failed")
        ->type_name("S")
        ->check(CLI::PositiveNumber);
    command
        ->add_option("--report", options.report,
                     "Write a tab-separated report, one row per input in input order")
        ->type_name("FILE");
}

void add_reader_options(CLI::App* command, ReaderOptions& options) {
    options.strict_option = command->add_flag(
        "--strict", options.strict,
        "Read CIF files by cif2pdb's rules and write what cif2pdb and the store's writers write");
    options.block_option = command
                               ->add_option("--block", options.block,
                                            "Data block to read (default: the first with atoms)")
                               ->type_name("NAME");
    options.disorder_option =
        command
            ->add_option("--disorder", options.disorder,
                         "Disorder: major (default), all sites, or one group by its name")
            ->type_name("major|all|GROUP");
    options.bonds_option =
        command
            ->add_option("--bonds", options.bonds,
                         "Bonds of CIF files: the bonding radii, the file's bond table, or "
                         "both (default: the radii and the table's bonds beyond them)")
            ->type_name("radii|file|both")
            ->check(CLI::IsMember({"radii", "file", "both"}));
    options.no_metal_bonds_option = command->add_flag(
        "--no-metal-bonds", options.no_metal_bonds,
        "CIF files without a bond table in use: no metal-ligand bonds beyond the bonding radii");
    command
        ->add_option("--cell", options.cell,
                     "Cell of inputs that have none (molfiles, XYZ, PDB without CRYST1), "
                     "angstrom and degrees")
        ->type_name("a,b,c,alpha,beta,gamma");
    options.strict_option->excludes(options.block_option)
        ->excludes(options.disorder_option)
        ->excludes(options.bonds_option)
        ->excludes(options.no_metal_bonds_option);
}

std::vector<std::string> inputs_of_this_run(const BatchOptions& options) {
    std::vector<std::string> inputs = collect_inputs(options.inputs, options.files_from, std::cin);
    if (inputs.empty())
        throw UsageError("no input files (give them as arguments or with --files-from)");
    if (options.shard.empty()) return inputs;
    std::size_t first = 0, last = 0;
    shard_range(inputs.size(), parse_shard(options.shard), &first, &last);
    return std::vector<std::string>(inputs.begin() + static_cast<std::ptrdiff_t>(first),
                                    inputs.begin() + static_cast<std::ptrdiff_t>(last));
}

ReadSettings read_settings_of(const ReaderOptions& options) {
    ReadSettings settings;
    settings.strict = options.strict;
    settings.block = options.block;
    if (!options.disorder.empty()) settings.disorder = options.disorder;
    if (!options.bonds.empty()) settings.bonds = options.bonds;
    settings.metal_bonds = !options.no_metal_bonds;
    if (!options.cell.empty()) {
        std::string text = options.cell;
        for (char& c : text)
            if (c == ',') c = ' ';
        const char* at = text.c_str();
        int count = 0;
        std::array<double, 6> c{};
        for (char* end = nullptr; count < 7; ++count) {
            const double value = std::strtod(at, &end);
            if (end == at) break;
            if (count < 6) c[static_cast<std::size_t>(count)] = value;
            at = end;
        }
        const bool lengths = c[0] > 0 && c[1] > 0 && c[2] > 0;
        const bool angles =
            c[3] > 0 && c[3] < 180 && c[4] > 0 && c[4] < 180 && c[5] > 0 && c[5] < 180;
        while (*at == ' ') ++at;
        if (count != 6 || *at != '\0' || !lengths || !angles)
            throw UsageError(
                "--cell takes six numbers a,b,c,alpha,beta,gamma (angstrom, degrees), not " +
                options.cell);
        settings.cell = c;
    }
    return settings;
}

BatchSettings batch_settings_of(const BatchOptions& options) {
    BatchSettings settings;
    settings.jobs = options.jobs;
    settings.timeout_seconds = options.timeout_seconds;
    return settings;
}

bool progress_wanted() { return ::isatty(STDERR_FILENO) != 0; }

}  // namespace teska::cli
