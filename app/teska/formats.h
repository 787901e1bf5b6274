// The output formats of `teska convert`: their names, file extensions, and whether they write
// one file for the cell or one file per molecule.
#ifndef TESKA_CLI_FORMATS_H
#define TESKA_CLI_FORMATS_H

#include <optional>
#include <string>
#include <vector>

namespace teska::cli {

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

}  // namespace teska::cli

#endif  // TESKA_CLI_FORMATS_H
