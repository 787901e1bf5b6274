// The store never releases its plain arrays (a conversion is one short process). A process that
// reads many inputs (a fuzz target, the Python module) hands back everything the readers and
// the pipeline allocated once it is done with a store: memory stays flat, and the leak checker
// sees only real leaks.
#ifndef FILEIO_STORE_RELEASE_H
#define FILEIO_STORE_RELEASE_H

#include "store_arrays.h"

class FileIO;

namespace fileio_detail {

// Frees the crystal arrays, the per-molecule arrays (nmols entries each, and what each entry
// points to) and the molecule counts, and leaves the pointers null. Arrays are taken as the
// store's readers allocate them: new[] through fileio_detail::new_store_array.
void release_store(FileIO& store);

// Owns a store for one input: records every array allocated meanwhile and, when the input is
// done (also when a reader leaves by an exception), releases the store and then frees the
// arrays the store no longer points to.
class StoreGuard {
   public:
    explicit StoreGuard(FileIO& store) : store_(store), recording_(record_) {}
    ~StoreGuard() { release_store(store_); }
    StoreGuard(const StoreGuard&) = delete;
    StoreGuard& operator=(const StoreGuard&) = delete;

   private:
    FileIO& store_;
    ArrayRecord record_;        // destroyed last: frees what release_store did not reach
    ArrayRecording recording_;  // closed before the record frees
};

}  // namespace fileio_detail

#endif  // FILEIO_STORE_RELEASE_H
