// Fuzz target: the PDB reader (ATOM records and the CRYST1 cell).
#include <cstddef>
#include <cstdint>

#include "fatal.h"
#include "teska/fileio.h"
#include "memory_file.h"
#include "store_release.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace fuzz_support;
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    FileIO store;
    const fileio_detail::StoreGuard release(store);
    store.read_data_pdb(input_file().hold(data, size));
    return 0;
}
