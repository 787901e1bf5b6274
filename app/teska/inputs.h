// The list of inputs of a batch: the command line's, then those of --files-from (a file or "-"
// for standard input, one name a line), cut to one shard with --shard K/N.
#ifndef TESKA_CLI_INPUTS_H
#define TESKA_CLI_INPUTS_H

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

namespace teska::cli {

// Names one a line; surrounding blanks and carriage returns are dropped, and so are empty lines.
std::vector<std::string> read_name_list(std::istream& in);

// The positional inputs followed by those of files_from (empty: none; "-": standard_input).
// Throws UsageError when files_from cannot be read.
std::vector<std::string> collect_inputs(const std::vector<std::string>& positional,
                                        const std::string& files_from,
                                        std::istream& standard_input);

struct Shard {
    std::size_t k = 1, n = 1;  // the K-th of N parts, 1 <= K <= N
};

// "K/N" with 1 <= K <= N; throws UsageError otherwise.
Shard parse_shard(const std::string& text);

// The half-open range [first, last) of the K-th of N contiguous parts of count items: the
// parts follow one another in input order, cover every item once, and differ in size by at
// most one, so that the reports of all shards laid end to end are the report of the whole list.
void shard_range(std::size_t count, const Shard& shard, std::size_t* first, std::size_t* last);

}  // namespace teska::cli

#endif  // TESKA_CLI_INPUTS_H
