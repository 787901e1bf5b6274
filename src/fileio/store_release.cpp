// Release of the arrays a store was given by its readers and its pipeline.
#include "store_release.h"

#include "teska/fileio.h"

namespace fileio_detail {

namespace {

template <typename T>
void release_array(T*& array) {
    delete_store_array(array);
    array = nullptr;
}

// A table of per-molecule arrays: each entry first, then the table.
template <typename T>
void release_table(T**& table, int entries) {
    if (table == nullptr) return;
    for (int i = 0; i < entries; ++i) delete_store_array(table[i]);
    release_array(table);
}

}  // namespace

ArrayRecord*& active_array_record() {
    thread_local ArrayRecord* record = nullptr;
    return record;
}

void release_store(FileIO& store) {
    release_array(store.cif_atypes);
    release_array(store.cif_x_s);
    release_array(store.cif_x);
    release_array(store.cif_radius);

    const int nmols = store.nmols > 0 ? store.nmols : 0;
    release_table(store.mol_atypes, nmols);
    release_table(store.mol_x, nmols);
    release_table(store.mol_x_s, nmols);
    release_table(store.mol_extra_a, nmols);
    release_table(store.mol_extra_b, nmols);
    release_table(store.mol_file_names, nmols);
    release_array(store.mol_natoms);
    release_array(store.mol_value);
    release_array(store.mol_ids);
}

}  // namespace fileio_detail
