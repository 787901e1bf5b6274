// Crystal.write: the format from format= or the extension, and the combinations `teska
// convert` refuses, refused here in the words of the keyword arguments.
#include "writing.h"

#include <cctype>

namespace teska::python {

namespace {

Format format_of(const std::string& path, const std::optional<std::string>& name) {
    if (name) {
        std::string lower = *name;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (const auto format = format_from_name(lower)) return *format;
        throw Error(path, 0, 0,
                    "unknown format " + *name +
                        ": give one of pdb, cif, xyz, mol, gaussian (com, gjf), orca, "
                        "qchem");
    }
    if (const auto format = format_from_extension(path)) return *format;
    throw Error(path, 0, 0,
                "cannot tell the format from the extension: give format= (pdb, cif, "
                "xyz, mol, gaussian, orca, qchem)");
}

// The combinations `teska convert` refuses, refused here in the words of the keyword arguments.
void check_request(const std::string& path, const WriteSettings& settings) {
    auto refuse = [&](const std::string& message) { throw Error(path, 0, 0, message); };
    if (settings.split &&
        (settings.format == Format::kPdb || settings.format == Format::kCif))
        refuse(
            "split: pdb and cif files hold the whole cell; one file per molecule is xyz, mol, "
            "gaussian, orca or qchem output");
    for (int count : settings.supercell)
        if (count < 1 || count > 1000) refuse("supercell: each count must be from 1 to 1000");
    if (settings.has_supercell() && settings.format != Format::kPdb &&
        settings.format != Format::kCif)
        refuse("supercell applies to pdb and cif output");
    const QuantumJob& job = settings.job;
    if (job.kind != "sp" && job.kind != "opt") refuse("job must be \"sp\" or \"opt\"");
    if (job.kind == "sp" && (job.charge != 0 || job.multiplicity != 1))
        refuse(
            "single-point jobs (job=\"sp\") are written for charge 0 and a singlet; give "
            "job=\"opt\" for another charge or multiplicity");
    if (job.multiplicity < 1 || job.multiplicity > 99) refuse("multiplicity must be from 1 to 99");
    if (job.nprocs < 1 || job.nprocs > 100000) refuse("nprocs must be from 1 to 100000");
    if (job.memory_mb < 1 || job.memory_mb > (1 << 30)) refuse("memory_mb must be at least 1");
}

}  // namespace

std::vector<std::string> write_crystal(const Crystal& c, const std::string& path,
                                       const WriteRequest& request) {
    if (path.empty()) throw Error(c.file(), 0, 0, "the output name is empty");
    WriteSettings settings;
    settings.format = format_of(path, request.format);
    settings.split = request.split;
    for (int i = 0; i < 3; ++i)
        settings.supercell[i] = request.supercell[static_cast<std::size_t>(i)];
    settings.unique = request.unique;
    settings.strict = c.reader() == "strict";
    settings.job = request.job;
    check_request(path, settings);
    return c.write(path, settings);
}

}  // namespace teska::python
