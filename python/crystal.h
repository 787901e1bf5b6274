// A crystal (or molecule file) read for Python: its cell, its molecules whole and one entry
// each, what the reading learnt, and the filled store that the writers use.
#ifndef TESKA_PYTHON_CRYSTAL_H
#define TESKA_PYTHON_CRYSTAL_H

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "structure.h"
#include "write_outputs.h"

namespace fileio_detail {
class ArrayRecord;
}

namespace teska::python {

struct ReadRequest {
    bool strict = false;
    std::string disorder = "major";
    std::optional<std::string> block;
    std::optional<std::array<double, 6>> cell;  // for molecule files without a cell
};

struct WriteRequest {
    std::optional<std::string> format;  // a name as `teska convert -t` takes; else the extension
    bool split = false;
    std::array<int, 3> supercell = {1, 1, 1};
    bool unique = false;
    cli::QuantumJob job;
};

struct Molecule {
    std::vector<int> rows;           // element rows of the store (atomic numbers; -1 unknown)
    std::vector<double> positions;   // Cartesian angstrom, 3 per atom
    std::vector<double> fractional;  // 3 per atom; empty without a cell
    std::string formula;             // Hill order
    bool periodic = false;           // bonded to its own periodic image

    int size() const { return static_cast<int>(rows.size()); }
};

class Crystal {
   public:
    // Reads path (of the kind its extension tells, CIF otherwise); name stands for it in
    // errors and warnings. Throws Error.
    static Crystal read(const std::string& path, const std::string& name,
                        const ReadRequest& request);

    // Writes in the format asked for, or the one path's extension implies: one file for the cell
    // or one per molecule (NAME_01.xyz, NAME-01.com). Returns the files written. Throws
    // Error.
    std::vector<std::string> write(const std::string& path, const WriteRequest& request) const;

    std::string file, reader, block, spacegroup, symmetry_source;
    bool has_cell = false;
    std::array<double, 6> cell = {0, 0, 0, 0, 0, 0};
    double lattice[3][3] = {};  // rows a, b, c in angstrom
    std::vector<cli::SymmetryOperation> operations;
    std::vector<std::shared_ptr<Molecule>> molecules;
    std::vector<int> unique;  // molecules that are no image of an earlier one
    std::vector<std::string> warnings;
    int disorder_left_out = 0;

    int atom_count() const;

   private:
    struct OwnedStructure;
    cli::Structure& structure() const;
    // Lists the store arrays the writers allocate, released with the store.
    fileio_detail::ArrayRecord& store_arrays() const;
    std::shared_ptr<OwnedStructure> structure_;
};

}  // namespace teska::python

#endif  // TESKA_PYTHON_CRYSTAL_H
