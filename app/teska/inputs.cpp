// Input lists and shards.
#include "inputs.h"

#include <cstdlib>
#include <fstream>

#include "failure.h"

namespace teska::cli {

std::vector<std::string> read_name_list(std::istream& in) {
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos) continue;
        names.push_back(line.substr(first, line.find_last_not_of(" \t\r") - first + 1));
    }
    return names;
}

std::vector<std::string> collect_inputs(const std::vector<std::string>& positional,
                                        const std::string& files_from,
                                        std::istream& standard_input) {
    std::vector<std::string> inputs = positional;
    if (files_from.empty()) return inputs;
    std::vector<std::string> listed;
    if (files_from == "-") {
        listed = read_name_list(standard_input);
    } else {
        std::ifstream in(files_from);
        if (!in) throw UsageError("cannot read the list of inputs " + files_from);
        listed = read_name_list(in);
    }
    inputs.insert(inputs.end(), listed.begin(), listed.end());
    return inputs;
}

Shard parse_shard(const std::string& text) {
    const std::size_t slash = text.find('/');
    const auto whole_number = [](const std::string& digits, std::size_t* value) {
        if (digits.empty() || digits.size() > 9 ||
            digits.find_first_not_of("0123456789") != std::string::npos)
            return false;
        *value = std::strtoul(digits.c_str(), nullptr, 10);
        return true;
    };
    Shard shard;
    if (slash == std::string::npos || !whole_number(text.substr(0, slash), &shard.k) ||
        !whole_number(text.substr(slash + 1), &shard.n) || shard.k < 1 || shard.k > shard.n)
        throw UsageError("--shard takes K/N with 1 <= K <= N, not " + text);
    return shard;
}

void shard_range(std::size_t count, const Shard& shard, std::size_t* first, std::size_t* last) {
    *first = count * (shard.k - 1) / shard.n;
    *last = count * shard.k / shard.n;
}

}  // namespace teska::cli
