// The store prints its warnings ("WARNING: " lines) and, under the exit policy, the report with
// which it ends the process on bad input. These read them back out of what was captured.
#ifndef TESKA_PRINTED_REPORTS_H
#define TESKA_PRINTED_REPORTS_H

#include <string>
#include <vector>

namespace teska {

// Each "WARNING: " line with its continuation lines (nine blanks), as one line without the
// prefix and with runs of blanks as one; those of a fatal report are its message, not warnings.
std::vector<std::string> store_warnings(const std::string& captured);

// The message after the store's fatal header ("ERROR  transport : UNIT : line N :"), its lines
// joined, without "WARNING: " or "ERROR: " prefixes; empty when there is no such header.
std::string store_fatal_message(const std::string& captured);

// The text of a fatal report (what follows its header), its lines joined, without "WARNING: "
// or "ERROR: " prefixes.
std::string fatal_report_text(const std::string& report);

// The last line that is not blank, trimmed; empty when there is none.
std::string last_line(const std::string& captured);

}  // namespace teska

#endif  // TESKA_PRINTED_REPORTS_H
