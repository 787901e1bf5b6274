// What a child process printed while it worked on one input, read back by the parent; the
// store's reports in it are read with teska/printed_reports.h.
#ifndef TESKA_CLI_CAPTURED_OUTPUT_H
#define TESKA_CLI_CAPTURED_OUTPUT_H

#include <cstdio>
#include <string>

#include "teska/printed_reports.h"

namespace teska::cli {

// Everything written to the capture file, which is closed.
std::string read_capture(std::FILE* capture);

}  // namespace teska::cli

#endif  // TESKA_CLI_CAPTURED_OUTPUT_H
