// teska: one command line for every reader and writer of the structure store, many files at a
// time. The dispatcher: parses the command line with CLI11 and runs the chosen subcommand.
// Exit statuses: 0 every input done, 1 some failed, 2 a command line that cannot be used.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "convert_command.h"
#include "dimers_command.h"
#include "failure.h"
#include "info_command.h"

namespace {

constexpr int kUsageStatus = 2;

const char kFooter[] = R"(Run "teska COMMAND --help" for the options and examples of a command.
Exit status: 0 when every input was done, 1 when some failed, 2 for a usage error.)";

}  // namespace

int main(int argc, char** argv) {
    CLI::App app{"teska: crystal structures to whole-molecule files, many files at a time",
                 "teska"};
    app.set_version_flag("--version", "teska " TESKA_VERSION);
    app.require_subcommand(1);
    app.footer(kFooter);
    teska::cli::ConvertCommand convert(app);
    teska::cli::InfoCommand info(app);
    teska::cli::DimersCommand dimers(app);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        return app.exit(e) == 0 ? 0 : kUsageStatus;
    }
    try {
        if (convert.chosen()) return convert.run();
        return dimers.chosen() ? dimers.run() : info.run();
    } catch (const teska::cli::UsageError& e) {
        std::fprintf(stderr, "teska: %s\n", e.what());
        return kUsageStatus;
    } catch (const teska::Error& e) {
        std::fprintf(stderr, "%s\n", e.what());
        return 1;
    }
}
