// Fuzz target: the MDL molfile reader, V2000 and V3000, into a store set up as a one-molecule
// read sets it up: one molecule slot, and crystal arrays with room for an atom per line, where
// the V3000 atoms go. Every COUNTS line of a V3000 table allocates its atoms before any is
// read, so inputs whose counts add up to more than the cap are not read.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <vector>

#include "fatal.h"
#include "teska/fileio.h"
#include "memory_file.h"
#include "teska/mmutil.h"
#include "store_arrays.h"
#include "store_release.h"

namespace {

constexpr long long kMaxCountedAtoms = 10000;

// The atoms the COUNTS lines ask for, summed; a V3000 line's keyword and count are always on
// its first physical line.
long long counted_atoms(const std::string& text) {
    long long total = 0;
    std::vector<std::string> tokens;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t stop = text.find('\n', start);
        if (stop == std::string::npos) stop = text.size();
        std::string line = text.substr(start, stop - start);
        mmutil::tokenize(tokens, line, " \t\n\r");
        if (tokens.size() > 3 && tokens[2] == "COUNTS")
            total += std::max(std::atoi(tokens[3].c_str()), 0);
        start = stop + 1;
    }
    return total;
}

void prepare_one_molecule_store(FileIO& store, const std::string& text) {
    using fileio_detail::new_store_array;
    const int lines = static_cast<int>(std::count(text.begin(), text.end(), '\n'));
    store.natoms_cif = lines + 1;
    store.cif_atypes = new_store_array<int>(store.natoms_cif);
    store.cif_x = new_store_array<double>(3LL * store.natoms_cif);
    store.nmols = 1;
    store.mol_natoms = new_store_array<int>(1);
    store.mol_atypes = new_store_array<int*>(1);
    store.mol_x = new_store_array<double*>(1);
    store.mol_x_s = new_store_array<double*>(1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace fuzz_support;
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (counted_atoms(text) > kMaxCountedAtoms) return -1;
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);

    FileIO store;
    const fileio_detail::StoreGuard release(store);
    prepare_one_molecule_store(store, text);
    try {
        store.read_data_mol(input_file().hold(data, size), 0, false);
    } catch (const FatalError&) {
        return 0;  // a rejection the reader reports
    } catch (const std::out_of_range&) {
        return 0;  // a V2000 atom line shorter than its columns ends the read this way
    }
    return 0;
}
