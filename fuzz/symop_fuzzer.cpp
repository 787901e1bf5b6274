// Fuzz target: the symmetry-operation parser, on every line of the input as one operation, so
// that CIF files and the parser's table of test cases serve as seeds as they are.
#include <cstddef>
#include <cstdint>
#include <string>

#include "teska/fileio.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    FileIO store;
    for (std::size_t start = 0; start <= text.size();) {
        std::size_t stop = text.find('\n', start);
        if (stop == std::string::npos) stop = text.size();
        double rot[3][3] = {}, trans[3] = {};
        store.ParseTransformString(text.substr(start, stop - start), rot, trans);
        start = stop + 1;
    }
    return 0;
}
