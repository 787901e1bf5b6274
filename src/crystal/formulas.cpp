// Hill formulas and their grouping.
#include "formulas.h"

#include <map>
#include <utility>

#include "teska/crystal.h"
#include "teska/fileio.h"

namespace teska {

namespace {

std::string symbol_of(int row) {
    if (row <= 0 || row >= kElementRows) return "X";
    const char* s = Elements_m[row].symbol;
    return s[1] == ' ' ? std::string(1, s[0]) : std::string(s, 2);
}

void append_element(std::string& formula, const std::string& symbol, int count) {
    formula += symbol;
    if (count > 1) formula += std::to_string(count);
}

}  // namespace

std::string hill_formula(const int* element_rows, int count) {
    std::map<std::string, int> counts;  // alphabetical
    for (int i = 0; i < count; ++i) ++counts[symbol_of(element_rows[i])];
    std::string formula;
    const auto carbon = counts.find("C");
    if (carbon != counts.end()) {
        append_element(formula, "C", carbon->second);
        counts.erase(carbon);
        const auto hydrogen = counts.find("H");
        if (hydrogen != counts.end()) {
            append_element(formula, "H", hydrogen->second);
            counts.erase(hydrogen);
        }
    }
    for (const auto& [symbol, n] : counts) append_element(formula, symbol, n);
    return formula;
}

std::string hill_formula(const std::vector<int>& element_rows) {
    return hill_formula(element_rows.data(), static_cast<int>(element_rows.size()));
}

std::string grouped_formulas(const std::vector<std::string>& formulas) {
    std::vector<std::pair<std::string, int>> groups;
    for (const std::string& formula : formulas) {
        bool found = false;
        for (auto& group : groups)
            if (group.first == formula) {
                ++group.second;
                found = true;
                break;
            }
        if (!found) groups.emplace_back(formula, 1);
    }
    std::string text;
    for (const auto& [formula, n] : groups) {
        if (!text.empty()) text += ", ";
        text += formula + " x" + std::to_string(n);
    }
    return text;
}

}  // namespace teska
