// What the store printed while a child process worked on one input: its warnings, and the
// report with which it ended the process on bad input.
#ifndef TESKA_CLI_CAPTURED_OUTPUT_H
#define TESKA_CLI_CAPTURED_OUTPUT_H

#include <cstdio>
#include <string>
#include <vector>

namespace teska::cli {

// Everything written to the capture file, which is closed.
std::string read_capture(std::FILE* capture);

// Each "WARNING: " line with its continuation lines (nine blanks), as one line without the
// prefix and with runs of blanks as one; those of a fatal report are its message, not warnings.
std::vector<std::string> store_warnings(const std::string& captured);

// The message after the store's fatal header ("ERROR  transport : UNIT : line N :"), its lines
// joined, without "WARNING: " or "ERROR: " prefixes; empty when there is no such header.
std::string store_fatal_message(const std::string& captured);

// The last line that is not blank, trimmed; empty when there is none.
std::string last_line(const std::string& captured);

}  // namespace teska::cli

#endif  // TESKA_CLI_CAPTURED_OUTPUT_H
