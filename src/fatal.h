// The one seam through which every fatal error leaves a store operation. Its policy is chosen
// at run time, per thread: report and exit (the command-line tool: the error header on
// standard output, the message on the stream the caller names, then exit with a status), or
// raise a FatalError that carries the same facts (library calls, batches, fuzz targets).
#ifndef CIF2PDB_FATAL_H
#define CIF2PDB_FATAL_H

#include <cstdio>
#include <stdexcept>
#include <string>

[[noreturn]] void report_fatal(const char* unit, int line, int status, FILE* stream,
                               const char* fmt, ...) __attribute__((format(printf, 5, 6)));

// Exit statuses: -1 (seen as 255) for unreadable files and bad input, 1 for molfile format
// errors and molecules that cannot be made whole.
constexpr int kStatusFailure = -1;
constexpr int kStatusFormat = 1;

#define FILEIO_FATAL(status, stream, ...) \
    report_fatal("fileio", __LINE__, status, stream, __VA_ARGS__)

enum class FatalPolicy {
    kExit,   // print the report and end the process (the default)
    kRaise,  // throw FatalError; nothing is printed
};

// What report_fatal raises under FatalPolicy::kRaise. what() is the message without its
// trailing newline.
class FatalError : public std::runtime_error {
   public:
    FatalError(std::string unit, int line, int status, const std::string& message);
    const std::string& unit() const { return unit_; }
    int line() const { return line_; }
    int status() const { return status_; }

   private:
    std::string unit_;
    int line_;
    int status_;
};

// The calling thread's policy; setting returns the one it replaces.
FatalPolicy fatal_policy();
FatalPolicy set_fatal_policy(FatalPolicy policy);

// Switches the calling thread's policy for the guard's lifetime, then restores the previous one.
class ScopedFatalPolicy {
   public:
    explicit ScopedFatalPolicy(FatalPolicy policy) : previous_(set_fatal_policy(policy)) {}
    ~ScopedFatalPolicy() { set_fatal_policy(previous_); }
    ScopedFatalPolicy(const ScopedFatalPolicy&) = delete;
    ScopedFatalPolicy& operator=(const ScopedFatalPolicy&) = delete;

   private:
    FatalPolicy previous_;
};

#endif  // CIF2PDB_FATAL_H
