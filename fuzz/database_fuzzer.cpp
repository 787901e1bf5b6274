// Fuzz target: the database reader on CIF text, under each of its disorder choices (picked by
// the input's length, so that a given input always reads the same way). The reader promises
// teska::Error and nothing else; whatever else escapes it is reported as a crash.
#include <cstddef>
#include <cstdint>
#include <string>

#include "fatal.h"
#include "teska/fileio.h"
#include "invariants.h"
#include "store_release.h"
#include "teska/database.h"

namespace {

teska::ReadOptions options_for(std::size_t size) {
    static const teska::DisorderMode kModes[3] = {
        teska::DisorderMode::kMajor, teska::DisorderMode::kAll, teska::DisorderMode::kGroup};
    teska::ReadOptions options;
    options.disorder = kModes[size % 3];
    if (options.disorder == teska::DisorderMode::kGroup) options.disorder_group = "2";
    // Thousands of images crowded by operations that do not fit the lattice, merging and
    // clashing, take seconds each under the sanitizers; the reader's own limit keeps every
    // input far inside libFuzzer's time limit.
    options.max_cell_atoms = 4096;
    return options;
}

// What the reader says it leaves: the cell's atoms divided into the molecule arrays.
void check_crystal(const FileIO& store, const teska::CrystalInfo& info) {
    using fuzz_support::invariant_broken;
    if (info.atoms != store.natoms_cif)
        invariant_broken("info.atoms " + std::to_string(info.atoms) + ", natoms_cif " +
                         std::to_string(store.natoms_cif));
    if (info.molecules != store.nmols)
        invariant_broken("info.molecules " + std::to_string(info.molecules) + ", nmols " +
                         std::to_string(store.nmols));
    fuzz_support::check_molecule_partition(store);
    fuzz_support::check_molecule_arrays(store);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    FileIO store;
    const fileio_detail::StoreGuard release(store);
    try {
        const teska::CrystalInfo info =
            teska::read_database_cif_text(store, text, "fuzz.cif", options_for(size));
        check_crystal(store, info);
    } catch (const teska::Error&) {
        // a rejection the reader reports
    }
    return 0;
}
