// Output names.
#include "teska/outputs.h"

#include <cstdio>

#include "teska/paths.h"

namespace teska {

OutputTarget plan_output(const std::string& input, const std::string& output,
                         const std::string& directory, bool per_molecule) {
    OutputTarget target;
    if (!output.empty()) {
        target.directory = directory_of(output);
        target.stem = stem_of(output);
        if (!per_molecule) target.exact = output;
    } else if (!directory.empty()) {
        target.directory = directory;
        target.stem = join_path(directory, base_of(stem_of(input)));
    } else {
        target.directory = directory_of(input);
        target.stem = stem_of(input);
    }
    return target;
}

std::string single_output_path(const OutputTarget& target, Format format) {
    return target.exact.empty() ? target.stem + traits(format).extension : target.exact;
}

std::string molecule_output_path(const OutputTarget& target, Format format, int number) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%02d", number);
    const FormatTraits& t = traits(format);
    return target.stem + t.number_separator + digits + t.extension;
}

std::string first_output_path(const OutputTarget& target, Format format, bool per_molecule) {
    return per_molecule ? molecule_output_path(target, format, 1)
                        : single_output_path(target, format);
}

OutputTarget block_target(const OutputTarget& target, const std::string& block) {
    std::string safe = block;
    for (char& c : safe)
        if (c == '/') c = '_';
    OutputTarget result = target;
    result.stem = target.stem + "_" + safe;
    if (!target.exact.empty())
        result.exact = stem_of(target.exact) + "_" + safe + extension_of(target.exact);
    return result;
}

}  // namespace teska
