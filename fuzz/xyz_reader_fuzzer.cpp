// Fuzz target: the XYZ reader. The count on the first line sizes the atom arrays and the
// number of lines read (a file shorter than its count is read on as empty lines), so inputs
// that announce more than the cap are not read.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "fatal.h"
#include "teska/fileio.h"
#include "memory_file.h"
#include "store_release.h"

namespace {

constexpr int kMaxAnnouncedAtoms = 1000;

// The reader's count: atoi of the first line.
int announced_atoms(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    return std::atoi(text.substr(0, text.find('\n')).c_str());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace fuzz_support;
    if (announced_atoms(data, size) > kMaxAnnouncedAtoms) return -1;
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    FileIO store;
    const fileio_detail::StoreGuard release(store);
    store.read_data_xyz(input_file().hold(data, size));
    return 0;
}
