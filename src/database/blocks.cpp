// Choice of the data block to read: the one named, or the first that holds atom sites.
#include <string>

#include "database_detail.h"

namespace teska {
namespace database_detail {

bool has_atom_sites(gemmi::cif::Block& block) {
    return block.find_values("_atom_site_fract_x").item() != nullptr ||
           block.find_values("_atom_site_cartn_x").item() != nullptr;
}

gemmi::cif::Block& choose_block(gemmi::cif::Document& doc, const std::string& name,
                                const Report& report) {
    if (!name.empty()) {
        const std::string wanted = lower(name);
        for (gemmi::cif::Block& block : doc.blocks)
            if (lower(block.name) == wanted) return block;
        report.fail(0, 0, "no data block named " + name);
    }
    for (gemmi::cif::Block& block : doc.blocks)
        if (has_atom_sites(block)) return block;
    report.fail(0, 0, "no data block holds atom sites (_atom_site_fract_x or _atom_site_Cartn_x)");
}

}  // namespace database_detail
}  // namespace teska
