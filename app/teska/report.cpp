// Report rows and the summary line.
#include "report.h"

#include <unistd.h>

#include "failure.h"
#include "teska/paths.h"

namespace teska::cli {

namespace {

std::string field(const std::string& text) {
    std::string clean = text;
    for (char& c : clean)
        if (c == '\t' || c == '\n' || c == '\r') c = ' ';
    return clean;
}

std::string count(int n) { return n < 0 ? std::string() : std::to_string(n); }

}  // namespace

std::string report_header() {
    return "input\tstatus\tatoms\tmolecules\tformulas\twarnings\terror\n";
}

std::string report_row(const std::string& input, const JobResult& result) {
    std::string warnings;
    for (const std::string& w : result.warnings) warnings += (warnings.empty() ? "" : " | ") + w;
    return field(input) + "\t" + status_name(result.status) + "\t" + count(result.atoms) + "\t" +
           count(result.molecules) + "\t" + field(result.formulas) + "\t" + field(warnings) + "\t" +
           field(result.error) + "\n";
}

ReportFile::ReportFile(const std::string& path) : path_(path) {
    if (path.empty()) return;
    temporary_ = join_path(directory_of(path),
                           "." + base_of(path) + ".teska-" + std::to_string(::getpid()) + ".tmp");
    out_ = std::fopen(temporary_.c_str(), "w");
    if (out_ == nullptr) throw Failure(path, "cannot write the report");
    std::fputs(report_header().c_str(), out_);
}

ReportFile::~ReportFile() {
    if (out_ != nullptr) {
        std::fclose(out_);
        std::remove(temporary_.c_str());
    }
}

void ReportFile::add(const std::string& input, const JobResult& result) {
    if (out_ != nullptr) std::fputs(report_row(input, result).c_str(), out_);
}

bool ReportFile::finish() {
    if (out_ == nullptr) return true;
    const bool written = std::ferror(out_) == 0 && std::fclose(out_) == 0;
    out_ = nullptr;
    if (!written || std::rename(temporary_.c_str(), path_.c_str()) != 0) {
        std::remove(temporary_.c_str());
        return false;
    }
    return true;
}

void Tally::add(Status status) {
    if (status == Status::kOk)
        ++ok;
    else if (status == Status::kSkipped)
        ++skipped;
    else
        ++failed;
}

std::string summary_line(const Tally& tally, const char* done_word, double seconds) {
    char time[32];
    std::snprintf(time, sizeof time, "%.1f", seconds);
    const std::size_t total = tally.ok + tally.failed + tally.skipped;
    return "teska: " + std::to_string(total) + (total == 1 ? " input, " : " inputs, ") +
           std::to_string(tally.ok) + " " + done_word + ", " + std::to_string(tally.failed) +
           " failed, " + std::to_string(tally.skipped) + " skipped in " + time + " s\n";
}

}  // namespace teska::cli
