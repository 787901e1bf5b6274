// Pure functions of teska's command line: shards of a batch and the result record.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "failure.h"
#include "inputs.h"
#include "job_result.h"

namespace {

using namespace teska::cli;

// Width w: decimal below 10^w; upper case from A00.. for 26 * 36^(w-1) values; lower case as

// many again; then no number fits.

// The ATOM record formatted without printf is printf's record, byte for byte: rounding at the

// third decimal (ties of binary values both ways), negative zero, numbers wider than their columns,

// one- and two-letter symbols, counters of one and two hexadecimal digits.

// Every item in exactly one shard, shards in input order, sizes within one of each other.

TEST(Shards, PartitionEveryListInOrder) {
    for (std::size_t count = 0; count <= 20; ++count)
        for (std::size_t n = 1; n <= 7; ++n) {
            std::size_t expected_first = 0;
            for (std::size_t k = 1; k <= n; ++k) {
                std::size_t first = 0, last = 0;
                shard_range(count, Shard{k, n}, &first, &last);
                EXPECT_EQ(first, expected_first) << count << " " << k << "/" << n;
                EXPECT_LE(last - first, count / n + 1);
                EXPECT_GE(last - first, count / n);
                expected_first = last;
            }
            EXPECT_EQ(expected_first, count);
        }
    EXPECT_EQ(parse_shard("3/10").k, 3u);
    for (const char* bad : {"0/3", "4/3", "3", "a/b", "1/", "-1/3", "1/3x"})
        EXPECT_THROW(parse_shard(bad), UsageError) << bad;
}

TEST(JobResults, SurviveTheirEncodingAndATruncatedOneIsRefused) {
    JobResult r;
    r.status = Status::kOk;
    r.atoms = 36;
    r.molecules = 2;
    r.formulas = "C10H8 x2";
    r.warnings = {"a: warning: x", "a:1:2: warning: y:z"};
    r.outputs = {"out/a.pdb"};
    r.json = "{\"a\": 1}";
    JobResult back;
    const std::string text = encode(r);
    ASSERT_TRUE(decode(text, &back));
    EXPECT_EQ(encode(back), text);
    EXPECT_EQ(back.warnings, r.warnings);
    EXPECT_FALSE(decode(text.substr(0, text.size() - 1), &back));
    EXPECT_FALSE(decode("", &back));
}

}  // namespace
