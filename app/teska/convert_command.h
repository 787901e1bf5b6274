// `teska convert`: every input to the chosen format, many at a time.
#ifndef TESKA_CLI_CONVERT_COMMAND_H
#define TESKA_CLI_CONVERT_COMMAND_H

#include <CLI/CLI.hpp>
#include <string>

#include "command_options.h"
#include "teska/crystal.h"

namespace teska::cli {

class ConvertCommand {
   public:
    explicit ConvertCommand(CLI::App& app);
    bool chosen() const { return command_->parsed(); }
    // Exit status: 0 when every input was converted (or skipped), 1 when some failed. Throws
    // UsageError.
    int run();

   private:
    CLI::App* command_;
    BatchOptions batch_;
    ReaderOptions reader_;
    std::string output_, directory_, format_, supercell_;
    bool split_ = false, unique_ = false, skip_existing_ = false;
    QuantumJob job_;
    std::vector<CLI::Option*> job_options_;
};

}  // namespace teska::cli

#endif  // TESKA_CLI_CONVERT_COMMAND_H
