// The store never releases its plain arrays (a conversion is one short process). A fuzz target
// reads millions of inputs in one process, so after each input it hands back everything the
// readers and the pipeline allocated: memory stays flat and the leak checker, run after each
// input, sees only real leaks.
#ifndef CIF2PDB_FUZZ_STORE_RELEASE_H
#define CIF2PDB_FUZZ_STORE_RELEASE_H

class FileIO;

namespace fuzz_support {

// Frees the crystal arrays, the per-molecule arrays (nmols entries each, and what each entry
// points to) and the molecule counts, and leaves the pointers null. Arrays are taken as the
// store's readers allocate them: new[] through fileio_detail::new_store_array.
void release_store(FileIO& store);

// Owns a store for one input and releases its arrays when the input is done, also when a
// reader leaves by an exception.
class StoreGuard {
   public:
    explicit StoreGuard(FileIO& store) : store_(store) {}
    ~StoreGuard() { release_store(store_); }
    StoreGuard(const StoreGuard&) = delete;
    StoreGuard& operator=(const StoreGuard&) = delete;

   private:
    FileIO& store_;
};

}  // namespace fuzz_support

#endif  // CIF2PDB_FUZZ_STORE_RELEASE_H
