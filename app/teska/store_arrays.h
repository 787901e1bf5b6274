// The store's plain arrays that teska fills itself. Like the store's own they are zero-filled
// and never released (the store holds plain pointers and each input is read by a short-lived
// child process); the function keeps the store's allocation name, which the leak checker's
// suppression list names.
#ifndef TESKA_CLI_STORE_ARRAYS_H
#define TESKA_CLI_STORE_ARRAYS_H

#include <cstddef>

namespace teska::cli {

template <typename T>
__attribute__((noinline)) T* new_store_array(std::size_t count) {
    return new T[count + 1]();
}

}  // namespace teska::cli

#endif  // TESKA_CLI_STORE_ARRAYS_H
