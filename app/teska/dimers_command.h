// `teska dimers`: the symmetry-unique neighbour pairs of each input, as a table or as one JSON
// document, with inputs for dimer calculations and a picture on request.
#ifndef TESKA_CLI_DIMERS_COMMAND_H
#define TESKA_CLI_DIMERS_COMMAND_H

#include <CLI/CLI.hpp>

#include "command_options.h"
#include "teska/dimers.h"

namespace teska::cli {

class DimersCommand {
   public:
    explicit DimersCommand(CLI::App& app);
    bool chosen() const { return command_->parsed(); }
    // Exit status: 0 when every input gave its dimers, 1 when some failed. Throws UsageError.
    int run();

   private:
    CLI::App* command_;
    BatchOptions batch_;
    ReaderOptions reader_;
    double cutoff_ = 4.0;
    bool heavy_only_ = false;
    bool json_ = false;
    // Inputs of dimer calculations: a folder, formats, species charges, method.
    std::string directory_;
    std::string formats_;
    std::vector<std::string> charges_;
    DimerInputSettings inputs_;
    std::string svg_;
};

}  // namespace teska::cli

#endif  // TESKA_CLI_DIMERS_COMMAND_H
