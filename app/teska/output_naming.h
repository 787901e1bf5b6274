// Where the outputs of one input go: beside the input, in the folder of -d, or under the name of
// -o; per-molecule files numbered from the name (NAME_01.xyz, NAME-01.com) and, with
// --block all, one name per data block (NAME_BLOCK.pdb).
#ifndef TESKA_CLI_OUTPUT_NAMING_H
#define TESKA_CLI_OUTPUT_NAMING_H

#include <string>

#include "formats.h"

namespace teska::cli {

struct OutputTarget {
    std::string directory;  // the folder every output of the input lands in
    std::string stem;       // directory/NAME, without an extension
    std::string exact;      // the name -o gave a single-file output; empty otherwise
};

// output (from -o) and directory (from -d) may be empty; per_molecule tells whether the
// format writes one file per molecule.
OutputTarget plan_output(const std::string& input, const std::string& output,
                         const std::string& directory, bool per_molecule);

// The one output of a single-file format.
std::string single_output_path(const OutputTarget& target, Format format);
// Molecule number (from 1) of a per-molecule format: at least two digits.
std::string molecule_output_path(const OutputTarget& target, Format format, int number);
// The output that exists only when the input was converted completely: the single output, or
// the first molecule's file, which is renamed into place last.
std::string first_output_path(const OutputTarget& target, Format format, bool per_molecule);
// The target of one data block: "_BLOCK" appended to the name, "/" in the block read as "_".
OutputTarget block_target(const OutputTarget& target, const std::string& block);

}  // namespace teska::cli

#endif  // TESKA_CLI_OUTPUT_NAMING_H
