// The line scan of the CIF reader on a text in memory, to size the cell before it is expanded.
#include "cif_limits.h"

#include <string_view>
#include <vector>

#include "cif_reader.h"
#include "fatal.h"
#include "teska/fileio.h"

namespace fuzz_support {

namespace {

// The reader's rule: newlines removed and nothing else changed; a final newline ends the last
// line without opening another.
std::vector<std::string_view> lines_of(std::string_view text) {
    std::vector<std::string_view> lines;
    for (std::size_t start = 0; start < text.size();) {
        std::size_t stop = text.find('\n', start);
        if (stop == std::string_view::npos) stop = text.size();
        lines.push_back(text.substr(start, stop - start));
        start = stop + 1;
    }
    return lines;
}

}  // namespace

CifScan scan_cif_text(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    FileIO scratch;
    CifScan scan;
    try {
        fileio_detail::scan_cif_lines(scratch, lines_of(text));
    } catch (const FatalError&) {
        scan.rejected = true;
        return scan;
    }
    const long long atoms = static_cast<long long>(scratch.cif_atoms.cif_atom_label.size());
    const long long operations = static_cast<long long>(scratch.cif_symops.size());
    scan.expanded_atoms = atoms * operations;
    return scan;
}

}  // namespace fuzz_support
