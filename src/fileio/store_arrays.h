// Allocation of the store's plain arrays. They are zero-filled and, by design, never
// released: a new read allocates anew and the process ends soon after. Every such array
// comes from this one function, which the leak checker's suppression names.
//
// A process that reads many inputs into stores (a fuzz target, the Python module) opens an
// ArrayRecording around each: every array allocated on that thread meanwhile is listed in its
// ArrayRecord, which frees them all when it ends, also those a reader let go of (a table
// allocated anew over an earlier one).
#ifndef CIF2PDB_STORE_ARRAYS_H
#define CIF2PDB_STORE_ARRAYS_H

#include <cstddef>
#include <unordered_map>

namespace fileio_detail {

class ArrayRecord {
   public:
    ArrayRecord() = default;
    ArrayRecord(const ArrayRecord&) = delete;
    ArrayRecord& operator=(const ArrayRecord&) = delete;
    ~ArrayRecord() { free_all(); }

    void add(void* array, void (*release)(void*)) { arrays_.emplace(array, release); }
    void forget(void* array) { arrays_.erase(array); }
    // Frees every array still listed.
    void free_all() {
        for (const auto& [array, release] : arrays_) release(array);
        arrays_.clear();
    }
    std::size_t size() const { return arrays_.size(); }

   private:
    std::unordered_map<void*, void (*)(void*)> arrays_;
};

// The record of this thread's open recording, or null.
ArrayRecord*& active_array_record();

// Lists the arrays allocated on this thread in `record` while it lives; recordings nest.
class ArrayRecording {
   public:
    explicit ArrayRecording(ArrayRecord& record) : previous_(active_array_record()) {
        active_array_record() = &record;
    }
    ~ArrayRecording() { active_array_record() = previous_; }
    ArrayRecording(const ArrayRecording&) = delete;
    ArrayRecording& operator=(const ArrayRecording&) = delete;

   private:
    ArrayRecord* previous_;
};

template <typename T>
void release_store_array(void* array) {
    delete[] static_cast<T*>(array);
}

// A negative count allocates an empty array.
template <typename T>
__attribute__((noinline)) T* new_store_array(long long count) {
    T* array = new T[count < 0 ? 0 : count]();
    if (ArrayRecord* record = active_array_record()) {
        try {
            record->add(array, &release_store_array<T>);
        } catch (...) {
            delete[] array;
            throw;
        }
    }
    return array;
}

// Frees an array from new_store_array and takes it off the open recording.
template <typename T>
void delete_store_array(T* array) {
    if (array == nullptr) return;
    if (ArrayRecord* record = active_array_record()) record->forget(array);
    delete[] array;
}

}  // namespace fileio_detail

#endif  // CIF2PDB_STORE_ARRAYS_H
