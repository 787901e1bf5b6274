// Writing a Crystal with teska's writers: the file names, the staging and the formats of
// `teska convert`.
#include <cctype>

#include "captured_stdout.h"
#include "crystal.h"
#include "errors.h"
#include "formats.h"
#include "output_naming.h"
#include "staged_outputs.h"
#include "store_arrays.h"

namespace teska::python {

namespace {

cli::Format format_of(const std::string& path, const std::optional<std::string>& name) {
    if (name) {
        std::string lower = *name;
        for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        if (const auto format = cli::format_from_name(lower)) return *format;
        throw Error(path, 0, 0,
                    "unknown format " + *name +
                        ": give one of pdb, cif, xyz, mol, gaussian (com, gjf), orca, "
                        "qchem");
    }
    if (const auto format = cli::format_from_extension(path)) return *format;
    throw Error(path, 0, 0,
                "cannot tell the format from the extension: give format= (pdb, cif, "
                "xyz, mol, gaussian, orca, qchem)");
}

// The combinations `teska convert` refuses, refused here in the words of the keyword arguments.
void check_request(const std::string& path, const cli::WriteSettings& settings) {
    auto refuse = [&](const std::string& message) { throw Error(path, 0, 0, message); };
    if (settings.split &&
        (settings.format == cli::Format::kPdb || settings.format == cli::Format::kCif))
        refuse(
            "split: pdb and cif files hold the whole cell; one file per molecule is xyz, mol, "
            "gaussian, orca or qchem output");
    for (int count : settings.supercell)
        if (count < 1 || count > 1000) refuse("supercell: each count must be from 1 to 1000");
    if (settings.has_supercell() && settings.format != cli::Format::kPdb &&
        settings.format != cli::Format::kCif)
        refuse("supercell applies to pdb and cif output");
    const cli::QuantumJob& job = settings.job;
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

std::vector<std::string> Crystal::write(const std::string& path,
                                        const WriteRequest& request) const {
    if (path.empty()) throw Error(file, 0, 0, "the output name is empty");
    cli::WriteSettings settings;
    settings.format = format_of(path, request.format);
    settings.split = request.split;
    for (int i = 0; i < 3; ++i)
        settings.supercell[i] = request.supercell[static_cast<std::size_t>(i)];
    settings.unique = request.unique;
    settings.strict = reader == "strict";
    settings.job = request.job;
    check_request(path, settings);

    const CapturedStdout printed;  // the store's writers report what they write
    const fileio_detail::ArrayRecording recording(store_arrays());
    return with_errors_of(file, [&] {
        const cli::OutputTarget target = cli::plan_output(file, path, "", settings.per_molecule());
        cli::StagedOutputs staging(file, target.directory);
        cli::write_structure(structure(), file, settings, target, staging);
        return staging.commit();
    });
}

}  // namespace teska::python
