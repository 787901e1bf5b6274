// The conversion of one input, as a child process of the batch does it: read, choose the
// molecules, write under staging names, rename into place.
#ifndef TESKA_CLI_CONVERT_JOB_H
#define TESKA_CLI_CONVERT_JOB_H

#include <string>

#include "job_result.h"
#include "teska/crystal.h"

namespace teska::cli {

struct ConvertPlan {
    std::string input;
    OutputTarget target;
};

struct ConvertSettings {
    ReadSettings read;
    WriteSettings write;
    bool all_blocks = false;  // --block all: one output per data block
    bool skip_existing = false;
};

// Throws teska::Error; the store's own conversion (--strict to PDB) may end the process.
JobResult convert_input(const ConvertPlan& plan, const ConvertSettings& settings);

// What the report says of a crystal: atoms, molecules, their formulas, and its warnings.
void describe(const Crystal& crystal, JobResult& result);

}  // namespace teska::cli

#endif  // TESKA_CLI_CONVERT_JOB_H
