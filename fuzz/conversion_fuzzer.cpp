// Fuzz target: the whole conversion of a small cell, as cif2pdb runs it: read, expand,
// separate, make every molecule whole and write the PDB model, which is then checked.
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
    MemoryFile& output = output_file();
    output.hold(nullptr, 0);
    try {
        if (store.write_cif2pdb(input_file().hold(data, size), output.path(), false, false) != 0)
            invariant_broken("the PDB file was not closed cleanly");
    } catch (const FatalError&) {
        return 0;  // a rejection the conversion reports
    }
    check_molecule_partition(store);
    check_molecule_arrays(store);
    check_cell_model(store, output.contents());
    return 0;
}
