// The store's readers print their progress and warnings on standard output, which a Python
// program does not want mixed into its own: while a reader runs, file descriptor 1 goes to a
// temporary file, and what was printed is handed back.
#ifndef TESKA_CRYSTAL_CAPTURED_STDOUT_H
#define TESKA_CRYSTAL_CAPTURED_STDOUT_H

#include <cstdio>
#include <string>

namespace teska::crystal_detail {

class CapturedStdout {
   public:
    CapturedStdout();   // when standard output cannot be redirected, nothing is captured
    ~CapturedStdout();  // restores standard output
    CapturedStdout(const CapturedStdout&) = delete;
    CapturedStdout& operator=(const CapturedStdout&) = delete;

    // Restores standard output and returns what was printed since the capture began.
    std::string finish();

   private:
    std::FILE* capture_ = nullptr;
    int saved_ = -1;
};

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_CAPTURED_STDOUT_H
