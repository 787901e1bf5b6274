// Allocation of the store's plain arrays. They are zero-filled and, by design, never
// released: a new read allocates anew and the process ends soon after. Every such array
// comes from this one function, which the leak checker's suppression names.
#ifndef CIF2PDB_STORE_ARRAYS_H
#define CIF2PDB_STORE_ARRAYS_H

namespace fileio_detail {

// A negative count allocates an empty array.
template <typename T>
__attribute__((noinline)) T* new_store_array(long long count) {
    return new T[count < 0 ? 0 : count]();
}

}  // namespace fileio_detail

#endif  // CIF2PDB_STORE_ARRAYS_H
