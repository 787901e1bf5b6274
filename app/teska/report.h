// The batch report (--report FILE): a tab-separated header and one row per input in input
// order, written under a temporary name and renamed when the batch ends; and the summary line.
#ifndef TESKA_CLI_REPORT_H
#define TESKA_CLI_REPORT_H

#include <cstdio>
#include <string>

#include "job_result.h"

namespace teska::cli {

// "input\tstatus\tatoms\tmolecules\tformulas\twarnings\terror\n"
std::string report_header();
// One row; warnings are joined with " | ", and tabs and line breaks inside a field become
// blanks. Atom and molecule counts are empty when the input was not read.
std::string report_row(const std::string& input, const JobResult& result);

class ReportFile {
   public:
    // An empty path writes nothing. Throws Failure when the file cannot be created.
    explicit ReportFile(const std::string& path);
    ~ReportFile();  // a report never finished is removed
    ReportFile(const ReportFile&) = delete;
    ReportFile& operator=(const ReportFile&) = delete;
    void add(const std::string& input, const JobResult& result);
    // Renames the finished report into place; false when writing it failed.
    bool finish();

   private:
    std::string path_, temporary_;
    std::FILE* out_ = nullptr;
};

struct Tally {
    std::size_t ok = 0, failed = 0, skipped = 0;
    void add(Status status);
};

// "teska: 37 inputs, 35 converted, 2 failed, 0 skipped in 12.3 s"
std::string summary_line(const Tally& tally, const char* done_word, double seconds);

}  // namespace teska::cli

#endif  // TESKA_CLI_REPORT_H
