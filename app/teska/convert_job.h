// The conversion of one input, as a child process of the batch does it: read, choose the
// molecules, write under staging names, rename into place.
#ifndef TESKA_CLI_CONVERT_JOB_H
#define TESKA_CLI_CONVERT_JOB_H

#include <string>

#include "job_result.h"
#include "output_naming.h"
#include "structure.h"
#include "write_outputs.h"

namespace teska::cli {

struct ConvertPlan {
    std::string input;
    InputKind kind = InputKind::kCif;
    OutputTarget target;
};

struct ConvertSettings {
    ReadSettings read;
    WriteSettings write;
    bool all_blocks = false;  // --block all: one output per data block
    bool skip_existing = false;
};

// Throws Failure; the store's own readers may end the process instead.
JobResult convert_input(const ConvertPlan& plan, const ConvertSettings& settings);

// What the report says of a read structure: atoms, molecules, their formulas, and the warnings:
// those the store printed while reading (in a child of the batch) and the reader's own.
void describe(const Structure& s, const std::string& input, JobResult& result);

}  // namespace teska::cli

#endif  // TESKA_CLI_CONVERT_JOB_H
