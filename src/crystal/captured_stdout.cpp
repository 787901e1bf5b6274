// Standard output redirected to a temporary file for the length of a store operation.
#include "captured_stdout.h"

#include <unistd.h>

#include <iostream>

namespace teska::crystal_detail {

CapturedStdout::CapturedStdout() {
    std::cout.flush();
    std::fflush(stdout);
    capture_ = std::tmpfile();
    if (capture_ == nullptr) return;
    saved_ = ::dup(STDOUT_FILENO);
    if (saved_ < 0 || ::dup2(::fileno(capture_), STDOUT_FILENO) < 0) {
        if (saved_ >= 0) ::close(saved_);
        saved_ = -1;
        std::fclose(capture_);
        capture_ = nullptr;
    }
}

CapturedStdout::~CapturedStdout() { finish(); }

std::string CapturedStdout::finish() {
    if (capture_ == nullptr) return std::string();
    std::cout.flush();
    std::fflush(stdout);
    ::dup2(saved_, STDOUT_FILENO);
    ::close(saved_);
    std::string text;
    std::rewind(capture_);
    char buffer[1 << 14];
    for (std::size_t n; (n = std::fread(buffer, 1, sizeof buffer, capture_)) > 0;)
        text.append(buffer, n);
    std::fclose(capture_);
    capture_ = nullptr;
    saved_ = -1;
    return text;
}

}  // namespace teska::crystal_detail
