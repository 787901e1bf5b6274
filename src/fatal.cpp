// Fatal-error reporting under the calling thread's policy: report and exit, or raise.
#include "fatal.h"

#include <cstdarg>
#include <cstdlib>
#include <utility>
#include <vector>

namespace {

thread_local FatalPolicy current_policy = FatalPolicy::kExit;

std::string trimmed_message(std::string message) {
    while (!message.empty() && message.back() == '\n') message.pop_back();
    return message;
}

__attribute__((format(printf, 1, 0))) std::string format_message(const char* fmt, va_list args) {
    va_list count_args;
    va_copy(count_args, args);
    const int size = std::vsnprintf(nullptr, 0, fmt, count_args);
    va_end(count_args);
    if (size <= 0) return std::string();
    std::vector<char> buffer(static_cast<std::size_t>(size) + 1);
    std::vsnprintf(buffer.data(), buffer.size(), fmt, args);
    return std::string(buffer.data(), static_cast<std::size_t>(size));
}

}  // namespace

FatalError::FatalError(std::string unit, int line, int status, const std::string& message)
    : std::runtime_error(trimmed_message(message)),
      unit_(std::move(unit)),
      line_(line),
      status_(status) {}

FatalPolicy fatal_policy() { return current_policy; }

FatalPolicy set_fatal_policy(FatalPolicy policy) {
    const FatalPolicy previous = current_policy;
    current_policy = policy;
    return previous;
}

void report_fatal(const char* unit, int line, int status, FILE* stream, const char* fmt, ...) {
    va_list args;
    va_start(args, fmt);
    if (current_policy == FatalPolicy::kRaise) {
        const std::string message = format_message(fmt, args);
        va_end(args);
        throw FatalError(unit, line, status, message);
    }
    std::printf("\nERROR  transport : %s : line %i : \n", unit, line);
    std::fflush(stdout);
    std::vfprintf(stream, fmt, args);
    va_end(args);
    std::fflush(stream);
    std::exit(status);
}
