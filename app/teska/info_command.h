// `teska info`: what each input holds, as text or as one JSON document.
#ifndef TESKA_CLI_INFO_COMMAND_H
#define TESKA_CLI_INFO_COMMAND_H

#include <CLI/CLI.hpp>

#include "command_options.h"

namespace teska::cli {

class InfoCommand {
   public:
    explicit InfoCommand(CLI::App& app);
    bool chosen() const { return command_->parsed(); }
    // Exit status: 0 when every input was read, 1 when some failed. Throws UsageError.
    int run();

   private:
    CLI::App* command_;
    BatchOptions batch_;
    ReaderOptions reader_;
    bool json_ = false;
};

}  // namespace teska::cli

#endif  // TESKA_CLI_INFO_COMMAND_H
