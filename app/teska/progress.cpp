// The progress bar.
#include "progress.h"

#include <cstdio>

namespace teska::cli {

namespace {

std::string clock_text(double seconds) {
    const long s = static_cast<long>(seconds + 0.5);
    char text[32];
    if (s >= 3600)
        std::snprintf(text, sizeof text, "%ld:%02ld:%02ld", s / 3600, s / 60 % 60, s % 60);
    else
        std::snprintf(text, sizeof text, "%ld:%02ld", s / 60, s % 60);
    return text;
}

}  // namespace

Progress::Progress(std::size_t total, bool enabled)
    : total_(total),
      enabled_(enabled),
      start_(std::chrono::steady_clock::now()),
      last_draw_(start_) {}

double Progress::elapsed_seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
}

std::string Progress::line(std::size_t done, std::size_t total, std::size_t failed,
                           double elapsed_seconds, int width) {
    const int filled = total == 0 ? width : static_cast<int>(width * done / total);
    std::string text = "[" + std::string(filled, '#') + std::string(width - filled, '.') + "]";
    text += "  " + std::to_string(done) + "/" + std::to_string(total);
    if (done > 0 && elapsed_seconds > 0) {
        const double rate = done / elapsed_seconds;
        char number[32];
        std::snprintf(number, sizeof number, "  %.1f files/s", rate);
        text += number;
        text += "  " + clock_text((total - done) / rate) + " left";
    }
    if (failed > 0) text += "  " + std::to_string(failed) + " failed";
    return text;
}

void Progress::draw() {
    const std::string text = line(done_, total_, failed_, elapsed_seconds(), 30);
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
    std::fflush(stderr);
    drawn_ = true;
    last_draw_ = std::chrono::steady_clock::now();
}

void Progress::update(std::size_t done, std::size_t failed) {
    if (!enabled_) return;
    const bool changed = done != done_ || failed != failed_;
    done_ = done;
    failed_ = failed;
    if (changed || !drawn_ ||
        std::chrono::steady_clock::now() - last_draw_ > std::chrono::milliseconds(250))
        draw();
}

void Progress::clear() {
    if (!drawn_) return;
    std::fprintf(stderr, "\r\033[K");
    std::fflush(stderr);
    drawn_ = false;
}

void Progress::print_above(const std::string& lines) {
    if (lines.empty()) return;
    clear();
    std::fputs(lines.c_str(), stderr);
    std::fflush(stderr);
    if (enabled_) draw();
}

}  // namespace teska::cli
