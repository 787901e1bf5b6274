// Writing one read structure in the chosen format: the cell (or a supercell) as one PDB, CIF or
// XYZ file, or one file per molecule (XYZ with --split, MDL molfiles, Gaussian, ORCA and Q-Chem
// inputs). Files go to their staging names; the caller commits them.
#ifndef TESKA_CRYSTAL_WRITE_OUTPUTS_H
#define TESKA_CRYSTAL_WRITE_OUTPUTS_H

#include <string>
#include <vector>

#include "structure.h"
#include "teska/outputs.h"

namespace teska::crystal_detail {

// Writes the listed molecules of s (all of them, or the unique ones with settings.unique) to
// the target's names through staging. input names the input in errors (no atoms, no cell for
// a format that needs one, a write that failed).
void write_structure(Structure& s, const std::vector<int>& molecules, const std::string& input,
                     const WriteSettings& settings, const OutputTarget& target,
                     StagedOutputs& staging);

}  // namespace teska::crystal_detail

#endif  // TESKA_CRYSTAL_WRITE_OUTPUTS_H
