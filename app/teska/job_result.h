// What the conversion or reading of one input gives, and its encoding for the trip from the
// child process that did the work to the parent that reports it.
#ifndef TESKA_CLI_JOB_RESULT_H
#define TESKA_CLI_JOB_RESULT_H

#include <string>
#include <vector>

namespace teska::cli {

enum class Status { kOk, kFailed, kSkipped, kTimeout };

// "ok", "failed", "skipped", "timeout": the status column of the report.
const char* status_name(Status status);

struct JobResult {
    Status status = Status::kFailed;
    int atoms = -1;                     // atoms in the cell; -1 when not read
    int molecules = -1;                 // molecules in the cell; -1 when not read
    std::string formulas;               // "C10H8 x2"
    std::vector<std::string> warnings;  // each "FILE:LINE:COLUMN: warning: message"
    std::string error;                  // "FILE:LINE:COLUMN: message"
    std::vector<std::string> outputs;   // files written
    std::string json;                   // teska info: the input's JSON object
    std::string text;                   // teska info: the input's plain-text summary
};

std::string encode(const JobResult& result);
// False when the text is not a whole encoding (the child ended while writing it).
bool decode(const std::string& text, JobResult* result);

}  // namespace teska::cli

#endif  // TESKA_CLI_JOB_RESULT_H
