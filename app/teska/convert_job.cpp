// One input's conversion.
#include "convert_job.h"

#include <memory>
#include <vector>

#include "batch.h"
#include "captured_output.h"
#include "failure.h"
#include "teska/fileio.h"
#include "teska/paths.h"

namespace teska::cli {

void describe(const Crystal& crystal, JobResult& result) {
    result.atoms = crystal.atom_count();
    result.molecules = static_cast<int>(crystal.molecules().size());
    std::vector<std::string> formulas;
    for (const Molecule& molecule : crystal.molecules()) formulas.push_back(molecule.formula);
    result.formulas = grouped_formulas(formulas);
    result.warnings = crystal.warnings();
}

namespace {

// --strict to PDB is cif2pdb's own conversion, byte for byte, on the staging name.
JobResult convert_as_cif2pdb(const ConvertPlan& plan) {
    StagedOutputs staging(plan.input, plan.target.directory);
    const std::string path = staging.path_for(single_output_path(plan.target, Format::kPdb));
    auto store = std::make_unique<FileIO>();
    const int closed = store->write_cif2pdb(plan.input.c_str(), path.c_str(), false, false);
    JobResult result;
    result.atoms = 0;
    std::vector<std::string> formulas;
    for (int m = 0; m < store->nmols; ++m) {
        result.atoms += store->mol_natoms[m];
        std::vector<int> numbers;
        for (int k = 0; k < store->mol_natoms[m]; ++k) {
            const int row = store->mol_atypes[m][k];
            numbers.push_back(row > 0 && row < kElementRows ? row : 0);
        }
        formulas.push_back(hill_formula(numbers));
    }
    if (result.atoms == 0) throw Error(plan.input, 0, 0, "the cell holds no atoms");
    if (closed != 0)
        throw Error(plan.input, 0, 0,
                    "writing " + single_output_path(plan.target, Format::kPdb) + " failed");
    result.molecules = store->nmols;
    result.formulas = grouped_formulas(formulas);
    for (const std::string& warning : store_warnings(take_child_output()))
        result.warnings.push_back(plan.input + ": warning: " + warning);
    result.outputs = staging.commit();
    result.status = Status::kOk;
    return result;
}

bool converted_before(const OutputTarget& target, const WriteSettings& write) {
    return path_exists(first_output_path(target, write.format, write.per_molecule()));
}

// Adds one block's description to the result of several.
void add_block(JobResult& total, const JobResult& block_result, const std::string& block) {
    total.atoms = (total.atoms < 0 ? 0 : total.atoms) + block_result.atoms;
    total.molecules = (total.molecules < 0 ? 0 : total.molecules) + block_result.molecules;
    if (!total.formulas.empty()) total.formulas += "; ";
    total.formulas += block + ": " + block_result.formulas;
    total.warnings.insert(total.warnings.end(), block_result.warnings.begin(),
                          block_result.warnings.end());
}

}  // namespace

JobResult convert_input(const ConvertPlan& plan, const ConvertSettings& settings) {
    const WriteSettings& write = settings.write;
    JobResult result;
    const bool cif = is_cif_input(plan.input);
    if (settings.read.strict && !cif) throw Error(plan.input, 0, 0, "--strict reads CIF files only");
    if (!path_exists(plan.input)) throw Error(plan.input, 0, 0, "no such file");
    if (is_directory(plan.input)) throw Error(plan.input, 0, 0, "is a directory");

    const bool all_blocks = settings.all_blocks && cif;
    std::vector<std::string> blocks = {settings.read.block};
    if (all_blocks) {
        blocks = Crystal::cif_blocks(plan.input);
        if (blocks.empty()) throw Error(plan.input, 0, 0, "no data block holds atom sites");
    }
    if (settings.skip_existing) {
        bool all_there = true;
        for (const std::string& block : blocks)
            all_there = all_there &&
                        converted_before(
                            all_blocks ? block_target(plan.target, block) : plan.target, write);
        if (all_there) {
            result.status = Status::kSkipped;
            return result;
        }
    }
    if (settings.read.strict && write.format == Format::kPdb && !write.has_supercell())
        return convert_as_cif2pdb(plan);

    StagedOutputs staging(plan.input, plan.target.directory);
    for (const std::string& block : blocks) {
        ReadSettings read = settings.read;
        read.block = block;
        const Crystal crystal = Crystal::read(plan.input, read);
        crystal.write_staged(plan.input, write,
                             all_blocks ? block_target(plan.target, block) : plan.target, staging);
        JobResult block_result;
        describe(crystal, block_result);
        if (all_blocks)
            add_block(result, block_result, block);
        else
            result = block_result;
    }
    result.outputs = staging.commit();
    result.status = Status::kOk;
    return result;
}

}  // namespace teska::cli
