// The outputs of the crystal model: the formats it writes, where the files of one input go,
// and the staging that renames them into place only when every one of them is complete.
#ifndef TESKA_OUTPUTS_H
#define TESKA_OUTPUTS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace teska {

// ----- Formats -----

enum class Format { kPdb, kCif, kXyz, kMol, kGaussian, kOrca, kQchem };

struct FormatTraits {
    Format format;
    const char* name;       // as given to -t
    const char* extension;  // with its dot
    // Always one file per molecule (molfiles and quantum-chemistry inputs); xyz only with --split.
    bool always_per_molecule;
    // Between the name and the molecule number: NAME_01.xyz, but NAME-01.com as the store's
    // conversions name their Gaussian inputs.
    char number_separator;
};

const FormatTraits& traits(Format format);

// Names accepted by -t: the format names, and "com"/"gjf" for gaussian.
std::optional<Format> format_from_name(const std::string& name);
std::vector<std::string> format_names_accepted();

// The format an output file name implies; none for an unknown extension and for ".inp", which
// ORCA and Q-Chem inputs share.
std::optional<Format> format_from_extension(const std::string& path);

bool is_quantum_chemistry(Format format);

// ----- What to write -----

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

// ----- File names -----
// Where the outputs of one input go: beside the input, in a folder, or under a given name;
// per-molecule files numbered from the name (NAME_01.xyz, NAME-01.com) and, for every data
// block of a file, one name per block (NAME_BLOCK.pdb).

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

// ----- Staging -----
// The outputs of one input, written under temporary names in a private folder inside their
// target folder and renamed into place only when all of them are complete: a failed or killed
// conversion leaves no half-written file under a final name.

class StagedOutputs {
   public:
    // Creates target_directory/.teska-PID.tmp; throws Error naming input when it cannot.
    StagedOutputs(const std::string& input, const std::string& target_directory);
    ~StagedOutputs();  // removes the staging folder and whatever is left in it
    StagedOutputs(const StagedOutputs&) = delete;
    StagedOutputs& operator=(const StagedOutputs&) = delete;

    // Where to write the file that is to become final_path (which must lie in the target folder).
    std::string path_for(const std::string& final_path);
    // Renames every staged file to its final name, the first one registered last, so that the
    // first output existing means all of them were written. Throws Error.
    std::vector<std::string> commit();

    // The staging folder a process with this id uses in target_directory, for the parent to
    // remove after killing it.
    static std::string folder_of(const std::string& target_directory, pid_t pid);

   private:
    std::string input_;
    std::string folder_;
    std::vector<std::pair<std::string, std::string>> files_;  // staged, final
};

}  // namespace teska

#endif  // TESKA_OUTPUTS_H
