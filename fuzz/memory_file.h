// The readers of the store take file names, so each fuzz input is handed to them as a file: an
// anonymous in-memory file, rewritten for every input and reached through its /proc path.
#ifndef CIF2PDB_FUZZ_MEMORY_FILE_H
#define CIF2PDB_FUZZ_MEMORY_FILE_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace fuzz_support {

class MemoryFile {
   public:
    MemoryFile();
    ~MemoryFile();
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    // Replaces the contents with the bytes given; returns the path to open.
    const char* hold(const std::uint8_t* data, std::size_t size);
    // The contents as they are now (after a writer opened the path and wrote to it).
    std::string contents() const;
    const char* path() const { return path_.c_str(); }

   private:
    int fd_ = -1;
    std::string path_;
};

// The one file of the process that inputs go through, and the one that outputs go to.
MemoryFile& input_file();
MemoryFile& output_file();

}  // namespace fuzz_support

#endif  // CIF2PDB_FUZZ_MEMORY_FILE_H
