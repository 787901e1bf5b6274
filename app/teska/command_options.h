// The options that convert and info share: the inputs and how a batch of them runs, and the
// choice of reader.
#ifndef TESKA_CLI_COMMAND_OPTIONS_H
#define TESKA_CLI_COMMAND_OPTIONS_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "batch.h"
#include "teska/crystal.h"

namespace teska::cli {

struct BatchOptions {
    std::vector<std::string> inputs;
    std::string files_from;
    int jobs = 1;
    std::string shard;
    double timeout_seconds = 0;
    std::string report;
};

struct ReaderOptions {
    bool strict = false;
    std::string block;
    std::string disorder;
    std::string bonds;
    bool no_metal_bonds = false;
    std::string cell;
    CLI::Option* strict_option = nullptr;
    CLI::Option* block_option = nullptr;
    CLI::Option* disorder_option = nullptr;
    CLI::Option* bonds_option = nullptr;
    CLI::Option* no_metal_bonds_option = nullptr;
};

void add_batch_options(CLI::App* command, BatchOptions& options);
void add_reader_options(CLI::App* command, ReaderOptions& options);

// The inputs of this run: the command line's and --files-from's, cut to the shard. Throws
// UsageError when there are none.
std::vector<std::string> inputs_of_this_run(const BatchOptions& options);

// The read settings the options give (--cell parsed). Throws UsageError.
ReadSettings read_settings_of(const ReaderOptions& options);

BatchSettings batch_settings_of(const BatchOptions& options);

// Whether a progress bar is drawn: standard error is a terminal.
bool progress_wanted();

}  // namespace teska::cli

#endif  // TESKA_CLI_COMMAND_OPTIONS_H
