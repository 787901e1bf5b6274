// An in-memory file (memfd) that the readers open by name like any other file.
#include "memory_file.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace fuzz_support {

MemoryFile::MemoryFile() {
    fd_ = memfd_create("fuzz-input", MFD_CLOEXEC);
    if (fd_ < 0) {
        std::fprintf(stderr, "fuzz: cannot create an in-memory file: %s\n", std::strerror(errno));
        std::abort();
    }
    path_ = "/proc/self/fd/" + std::to_string(fd_);
}

MemoryFile::~MemoryFile() { close(fd_); }

const char* MemoryFile::hold(const std::uint8_t* data, std::size_t size) {
    bool written = ftruncate(fd_, 0) == 0;
    for (std::size_t done = 0; written && done < size;) {
        const ssize_t count = pwrite(fd_, data + done, size - done, static_cast<off_t>(done));
        if (count < 0 && errno == EINTR) continue;
        written = count > 0;
        if (written) done += static_cast<std::size_t>(count);
    }
    if (!written) {
        std::fprintf(stderr, "fuzz: cannot write the in-memory file: %s\n", std::strerror(errno));
        std::abort();
    }
    return path_.c_str();
}

std::string MemoryFile::contents() const {
    std::string text;
    char buffer[65536];
    for (off_t offset = 0;;) {
        const ssize_t count = pread(fd_, buffer, sizeof buffer, offset);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        text.append(buffer, static_cast<std::size_t>(count));
        offset += count;
    }
    return text;
}

MemoryFile& input_file() {
    static MemoryFile file;
    return file;
}

MemoryFile& output_file() {
    static MemoryFile file;
    return file;
}

}  // namespace fuzz_support
