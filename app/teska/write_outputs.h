// Writing one read structure in the chosen format: the cell (or a supercell) as one PDB, CIF or
// XYZ file, or one file per molecule (XYZ with --split, MDL molfiles, Gaussian, ORCA and Q-Chem
// inputs). Files go to their staging names; the caller commits them.
#ifndef TESKA_CLI_WRITE_OUTPUTS_H
#define TESKA_CLI_WRITE_OUTPUTS_H

#include <string>
#include <vector>

#include "formats.h"
#include "output_naming.h"
#include "staged_outputs.h"
#include "structure.h"

namespace teska::cli {

struct QuantumJob {
    std::string kind = "sp";  // "sp": single point with orbitals; "opt": optimisation, frequencies
    std::string method = "B3LYP";
    std::string basis = "6-31G(d)";
    int charge = 0;
    int multiplicity = 1;
    int nprocs = 1;
    int memory_mb = 1000;  // Gaussian %mem; ORCA's %MaxCore is this per process
};

struct WriteSettings {
    Format format = Format::kPdb;
    bool split = false;
    int supercell[3] = {1, 1, 1};
    bool unique = false;
    // The store's own writers throughout, as cif2pdb and the store's conversions write.
    bool strict = false;
    QuantumJob job;

    bool per_molecule() const;
    bool has_supercell() const;
};

// Writes s to the target's names through staging. input names the input in failures (Failure:
// no atoms, no cell for a format that needs one, a write that failed).
void write_structure(Structure& s, const std::string& input, const WriteSettings& settings,
                     const OutputTarget& target, StagedOutputs& staging);

}  // namespace teska::cli

#endif  // TESKA_CLI_WRITE_OUTPUTS_H
