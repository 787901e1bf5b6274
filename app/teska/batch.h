// The batch runner: each input is worked on in a child process of its own (also with one job at
// a time), so that an input on which the store ends the process, crashes or runs past the time
// limit fails alone; at most N children run at once, and the parent alone hands the results
// on, in input order, whatever order they finished in.
#ifndef TESKA_CLI_BATCH_H
#define TESKA_CLI_BATCH_H

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "job_result.h"
#include "progress.h"

namespace teska::cli {

struct BatchItem {
    std::string input;
    // The folders the child stages outputs in (StagedOutputs); removed by the parent when the
    // child is killed or dies.
    std::vector<std::string> target_directories;
};

struct BatchSettings {
    int jobs = 1;
    double timeout_seconds = 0;  // 0: no limit
};

using BatchWork = std::function<JobResult(std::size_t index)>;
using BatchCommit = std::function<void(std::size_t index, const JobResult& result)>;

// In the child working on an input: what the store printed on standard output and standard
// error (both go to the child's capture file) since the last call; empty outside a child.
std::string take_child_output();

// Runs work(i) for every item in children; calls commit(i, result) in the parent in order of i.
// Failures of the child are turned into failed results naming the input with the store's own
// message when it left one. Returns false when SIGINT or SIGTERM stopped the batch (running
// children are killed and their staging folders removed; later items are not committed).
bool run_batch(const std::vector<BatchItem>& items, const BatchWork& work,
               const BatchCommit& commit, const BatchSettings& settings, Progress& progress);

}  // namespace teska::cli

#endif  // TESKA_CLI_BATCH_H
