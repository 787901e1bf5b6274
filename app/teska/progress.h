// The progress bar of a batch on standard error: files done of the total, rate, time left and
// failures so far, redrawn in place. Drawn only when standard error is a terminal.
#ifndef TESKA_CLI_PROGRESS_H
#define TESKA_CLI_PROGRESS_H

#include <chrono>
#include <cstddef>
#include <string>

namespace teska::cli {

class Progress {
   public:
    Progress(std::size_t total, bool enabled);
    bool enabled() const { return enabled_; }
    // Redraws the bar when done or failed changed or a quarter of a second passed.
    void update(std::size_t done, std::size_t failed);
    // Prints a line of messages above the bar.
    void print_above(const std::string& lines);
    // Removes the bar.
    void clear();
    double elapsed_seconds() const;

    // "[#####.....]  12/37  3.1 files/s  0:05 left  2 failed", width columns of bar.
    static std::string line(std::size_t done, std::size_t total, std::size_t failed,
                            double elapsed_seconds, int width);

   private:
    std::size_t total_;
    bool enabled_;
    bool drawn_ = false;
    std::size_t done_ = 0, failed_ = 0;
    std::chrono::steady_clock::time_point start_, last_draw_;
    void draw();
};

}  // namespace teska::cli

#endif  // TESKA_CLI_PROGRESS_H
