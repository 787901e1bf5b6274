// The one seam through which every fatal error leaves the program: the error header on
// standard output, the message on the stream the caller names, then exit with a status.
#ifndef CIF2PDB_FATAL_H
#define CIF2PDB_FATAL_H

#include <cstdio>

[[noreturn]] void report_fatal(const char* unit, int line, int status, FILE* stream,
                               const char* fmt, ...) __attribute__((format(printf, 5, 6)));

// Exit statuses: -1 (seen as 255) for unreadable files and bad input, 1 for molfile format
// errors and molecules that cannot be made whole.
constexpr int kStatusFailure = -1;
constexpr int kStatusFormat = 1;

#define FILEIO_FATAL(status, stream, ...) \
    report_fatal("fileio", __LINE__, status, stream, __VA_ARGS__)

#endif  // CIF2PDB_FATAL_H
