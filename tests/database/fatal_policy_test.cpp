// The fatal seam's two policies: report and exit as the command-line tool needs, or raise a
// FatalError for library calls, chosen per thread at run time by a scoped guard.
#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "fatal.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

TEST(FatalPolicy, ExitIsTheDefaultAndReportsAsBefore) {
    EXPECT_EQ(fatal_policy(), FatalPolicy::kExit);
    EXPECT_EXIT(
        {
            test_support::stdout_to_stderr();
            report_fatal("fileio", 42, kStatusFailure, stdout, "Failed to open %s\n", "x.cif");
        },
        testing::ExitedWithCode(255),
        "\nERROR  transport : fileio : line 42 : \nFailed to open x.cif\n");
}

TEST(FatalPolicy, RaiseCarriesUnitLineStatusAndMessageAndPrintsNothing) {
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    testing::internal::CaptureStdout();
    try {
        report_fatal("mmutil", 600, kStatusFormat, stdout, "Determinant %s %d\n", "zero", 3);
        ADD_FAILURE() << "no FatalError raised";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.unit(), "mmutil");
        EXPECT_EQ(e.line(), 600);
        EXPECT_EQ(e.status(), kStatusFormat);
        EXPECT_STREQ(e.what(), "Determinant zero 3");
    }
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
}

TEST(FatalPolicy, GuardsNestAndRestoreThePolicyTheyReplaced) {
    {
        const ScopedFatalPolicy raise(FatalPolicy::kRaise);
        {
            const ScopedFatalPolicy exit(FatalPolicy::kExit);
            EXPECT_EQ(fatal_policy(), FatalPolicy::kExit);
        }
        EXPECT_EQ(fatal_policy(), FatalPolicy::kRaise);
    }
    EXPECT_EQ(fatal_policy(), FatalPolicy::kExit);
}

TEST(FatalPolicy, IsChosenPerThread) {
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    FatalPolicy other = FatalPolicy::kRaise;
    std::thread([&other] { other = fatal_policy(); }).join();
    EXPECT_EQ(other, FatalPolicy::kExit);
}

// What the database reader relies on: a store member's own fatal path comes back as an error.
TEST(FatalPolicy, StoreMembersRaiseUnderTheGuard) {
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    FileIO store;
    try {
        store.read_data_cif("/nonexistent/crystal.cif", false);
        ADD_FAILURE() << "no FatalError raised";
    } catch (const FatalError& e) {
        EXPECT_EQ(e.unit(), "fileio");
        EXPECT_EQ(e.status(), kStatusFailure);
        EXPECT_STREQ(e.what(), "Failed to open input file \"/nonexistent/crystal.cif\"");
    }
}

}  // namespace
