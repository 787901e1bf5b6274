// One input's conversion.
#include "convert_job.h"

#include <memory>
#include <vector>

#include "batch.h"
#include "captured_output.h"
#include "failure.h"
#include "formulas.h"
#include "paths.h"
#include "staged_outputs.h"

namespace teska::cli {

void describe(const Structure& s, const std::string& input, JobResult& result) {
    result.atoms = s.atom_count();
    result.molecules = s.store.nmols;
    result.formulas = grouped_formulas(s.molecule_formulas());
    for (const std::string& warning : store_warnings(take_child_output()))
        result.warnings.push_back(input + ": warning: " + warning);
    for (const std::string& warning : s.warnings)
        result.warnings.push_back(as_warning(input, warning));
}

namespace {

// --strict to PDB is cif2pdb's own conversion, byte for byte, on the staging name.
JobResult convert_as_cif2pdb(const ConvertPlan& plan) {
    StagedOutputs staging(plan.input, plan.target.directory);
    const std::string path = staging.path_for(single_output_path(plan.target, Format::kPdb));
    auto s = std::make_unique<Structure>();
    const int closed = s->store.write_cif2pdb(plan.input.c_str(), path.c_str(), false, false);
    if (s->atom_count() == 0) throw Failure(plan.input, "the cell holds no atoms");
    if (closed != 0)
        throw Failure(plan.input,
                      "writing " + single_output_path(plan.target, Format::kPdb) + " failed");
    JobResult result;
    describe(*s, plan.input, result);
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
    if (settings.read.strict && plan.kind != InputKind::kCif)
        throw Failure(plan.input, "--strict reads CIF files only");
    if (!path_exists(plan.input)) throw Failure(plan.input, "no such file");
    if (is_directory(plan.input)) throw Failure(plan.input, "is a directory");

    const bool all_blocks = settings.all_blocks && plan.kind == InputKind::kCif;
    std::vector<std::string> blocks = {settings.read.block};
    if (all_blocks) {
        blocks = cif_blocks_with_atoms(plan.input);
        if (blocks.empty()) throw Failure(plan.input, "no data block holds atom sites");
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
        auto s = std::make_unique<Structure>();
        load_structure(*s, plan.input, plan.kind, settings.read, block);
        write_structure(*s, plan.input, write,
                        all_blocks ? block_target(plan.target, block) : plan.target, staging);
        JobResult block_result;
        describe(*s, plan.input, block_result);
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
