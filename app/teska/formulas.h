// Chemical formulas in Hill order, for reports and `teska info`.
#ifndef TESKA_CLI_FORMULAS_H
#define TESKA_CLI_FORMULAS_H

#include <string>
#include <vector>

namespace teska::cli {

// Hill order: with carbon, C then H then the rest alphabetically; without carbon, every
// element alphabetically. Counts of one are not written; unknown elements (rows outside the
// element table) count as "X".
std::string hill_formula(const int* element_rows, int count);
std::string hill_formula(const std::vector<int>& element_rows);

// Formulas grouped in order of first appearance with their counts: "C10H8 x2, H2O x4".
std::string grouped_formulas(const std::vector<std::string>& formulas);

}  // namespace teska::cli

#endif  // TESKA_CLI_FORMULAS_H
