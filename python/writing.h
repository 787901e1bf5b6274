// Crystal.write for Python: the keyword arguments checked and turned into the model's write
// settings.
#ifndef TESKA_PYTHON_WRITING_H
#define TESKA_PYTHON_WRITING_H

#include <optional>
#include <string>
#include <vector>

#include "teska/crystal.h"

namespace teska::python {

struct WriteRequest {
    std::optional<std::string> format;  // a name as `teska convert -t` takes; else the extension
    bool split = false;
    std::array<int, 3> supercell = {1, 1, 1};
    bool unique = false;
    QuantumJob job;
};

// Writes c to path; returns the files written. Throws teska::Error.
std::vector<std::string> write_crystal(const Crystal& c, const std::string& path,
                                       const WriteRequest& request);

}  // namespace teska::python

#endif  // TESKA_PYTHON_WRITING_H
