// Output formats: names, extensions, naming of per-molecule files.
#include "teska/outputs.h"

#include "teska/paths.h"

namespace teska {

namespace {

const FormatTraits kTraits[] = {
    {Format::kPdb, "pdb", ".pdb", false, '_'},          {Format::kCif, "cif", ".cif", false, '_'},
    {Format::kXyz, "xyz", ".xyz", false, '_'},          {Format::kMol, "mol", ".mol", true, '_'},
    {Format::kGaussian, "gaussian", ".com", true, '-'}, {Format::kOrca, "orca", ".inp", true, '-'},
    {Format::kQchem, "qchem", ".in", true, '-'},
};

}  // namespace

const FormatTraits& traits(Format format) {
    for (const FormatTraits& t : kTraits)
        if (t.format == format) return t;
    return kTraits[0];
}

std::optional<Format> format_from_name(const std::string& name) {
    const std::string lower = lower_case(name);
    if (lower == "com" || lower == "gjf") return Format::kGaussian;
    for (const FormatTraits& t : kTraits)
        if (lower == t.name) return t.format;
    return std::nullopt;
}

std::vector<std::string> format_names_accepted() {
    std::vector<std::string> names;
    for (const FormatTraits& t : kTraits) names.push_back(t.name);
    names.push_back("com");
    names.push_back("gjf");
    return names;
}

std::optional<Format> format_from_extension(const std::string& path) {
    const std::string extension = lower_case(extension_of(path));
    if (extension == ".gjf") return Format::kGaussian;
    if (extension == ".inp") return std::nullopt;
    for (const FormatTraits& t : kTraits)
        if (extension == t.extension) return t.format;
    return std::nullopt;
}

bool is_quantum_chemistry(Format format) {
    return format == Format::kGaussian || format == Format::kOrca || format == Format::kQchem;
}

}  // namespace teska
