// Hill formulas of the store's element rows (the vector form and the grouping are public, in
// teska/crystal.h).
#ifndef TESKA_CRYSTAL_FORMULAS_H
#define TESKA_CRYSTAL_FORMULAS_H

#include <string>

namespace teska {

// Unknown elements (rows outside the element table) count as "X".
std::string hill_formula(const int* element_rows, int count);

}  // namespace teska

#endif  // TESKA_CRYSTAL_FORMULAS_H
