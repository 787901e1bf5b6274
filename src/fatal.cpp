// Fatal-error reporting. Kept alone in this file so that a fuzzing build can link a
// version that throws instead of ending the process.
#include "fatal.h"

#include <cstdarg>
#include <cstdlib>

void report_fatal(const char* unit, int line, int status, FILE* stream, const char* fmt, ...) {
    std::printf("\nERROR  transport : %s : line %i : \n", unit, line);
    std::fflush(stdout);
    va_list args;
    va_start(args, fmt);
    std::vfprintf(stream, fmt, args);
    va_end(args);
    std::fflush(stream);
    std::exit(status);
}
