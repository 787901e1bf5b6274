// Describing batches.
#include "described_batch.h"

#include <cstdio>

#include "json.h"
#include "report.h"

namespace teska::cli {

std::string failed_json(const std::string& input, const JobResult& result) {
    JsonObject o;
    o.add_string("file", input)
        .add_string("status", status_name(result.status))
        .add_string("error", result.error)
        .add("warnings", json_string_array(result.warnings));
    return o.text(4);
}

int run_described_batch(const BatchOptions& batch, bool json, const char* verb,
                        const std::function<JobResult(const std::string& input)>& describe) {
    const std::vector<std::string> inputs = inputs_of_this_run(batch);
    ReportFile report(batch.report);
    std::vector<BatchItem> items;
    for (const std::string& input : inputs) items.push_back({input, {}});

    Progress progress(items.size(), progress_wanted());
    Tally tally;
    if (json) std::fputs("[", stdout);
    const auto work = [&](std::size_t i) { return describe(inputs[i]); };
    const auto commit = [&](std::size_t i, const JobResult& result) {
        std::string messages;
        for (const std::string& warning : result.warnings) messages += warning + "\n";
        if (!result.error.empty()) messages += result.error + "\n";
        progress.print_above(messages);
        if (json) {
            const std::string object =
                result.status == Status::kOk ? result.json : failed_json(inputs[i], result);
            std::fputs((i == 0 ? "\n  " : ",\n  "), stdout);
            std::fputs(object.c_str(), stdout);
        } else if (result.status == Status::kOk) {
            progress.clear();
            std::fputs(result.text.c_str(), stdout);
            std::fflush(stdout);
        }
        report.add(inputs[i], result);
        tally.add(result.status);
    };
    const bool completed = run_batch(items, work, commit, batch_settings_of(batch), progress);
    if (json) std::fputs("\n]\n", stdout);
    std::fflush(stdout);
    const bool report_written = report.finish();
    std::fputs(summary_line(tally, verb, progress.elapsed_seconds()).c_str(), stderr);
    if (!report_written)
        std::fprintf(stderr, "teska: %s: cannot write the report\n", batch.report.c_str());
    if (!completed) return 1;
    return tally.failed > 0 || !report_written ? 1 : 0;
}

}  // namespace teska::cli
