// Fuzz target: the CIF line reader, read_data_cif with its printed summary, from the line scan
// through the expansion to the molecule lists, on cells up to the atom cap.
#include <cstddef>
#include <cstdint>

#include "cif_limits.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "invariants.h"
#include "memory_file.h"
#include "store_release.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace fuzz_support;
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    if (!within_atom_cap(scan_cif_text(data, size))) return -1;

    FileIO store;
    const fileio_detail::StoreGuard release(store);
    try {
        store.read_data_cif(input_file().hold(data, size), true);
    } catch (const FatalError&) {
        return 0;  // a rejection the reader reports
    }
    check_molecule_partition(store);
    return 0;
}
