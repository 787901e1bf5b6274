// The batch of the subcommands that describe each input (info, dimers): each input worked on
// in a child, its text printed in input order, or with --json one array of its JSON objects
// and nothing else on standard output; the report and the summary line on standard error.
#ifndef TESKA_CLI_DESCRIBED_BATCH_H
#define TESKA_CLI_DESCRIBED_BATCH_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "command_options.h"
#include "job_result.h"

namespace teska::cli {

// Runs describe(input) for the inputs of this run; verb names what was done in the summary
// line ("read", "searched"). Returns the exit status: 0 when every input succeeded, 1
// otherwise or when the report could not be written.
int run_described_batch(const BatchOptions& batch, bool json, const char* verb,
                        const std::function<JobResult(const std::string& input)>& describe);

// The JSON object of an input that failed or timed out.
std::string failed_json(const std::string& input, const JobResult& result);

}  // namespace teska::cli

#endif  // TESKA_CLI_DESCRIBED_BATCH_H
