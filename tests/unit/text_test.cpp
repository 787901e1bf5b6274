// Text utilities: trimming sets and blank-only texts, case-insensitive comparison, tokens,
// file-name helpers, the pinnable clock and directory creation.
#include <sys/stat.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "mmutil.h"
#include "test_support.h"

namespace {

using Words = std::vector<std::string>;
using StringTrimmer = std::string& (*)(std::string&);
using CTrimmer = char* (*)(char*);

struct StringTrimCase {
    const char* name;
    StringTrimmer trimmer;
    std::string input;
    std::string expected;
};

TEST(Trim, StringTrimmersRemoveTheirOwnSetsOnly) {
    const StringTrimCase cases[] = {
        {"triml", mmutil::triml, " \t x y \n", "x y \n"},
        {"triml", mmutil::triml, "\n x", "\n x"},
        {"triml", mmutil::triml, " \t ", ""},
        {"trimr", mmutil::trimr, " x y \t\r\n", " x y"},
        {"trimr", mmutil::trimr, " \t\r\n", ""},
        {"trim", mmutil::trim, "  _cell_length_a 7.1\r\n", "_cell_length_a 7.1"},
        {"trim", mmutil::trim, "   ", ""},
        {"trim", mmutil::trim, "", ""},
        {"sg_triml", mmutil::sg_triml, " '\"P 1", "P 1"},
        {"sg_trimr", mmutil::sg_trimr, "P 1 '\"\r\n", "P 1"},
        {"sg_trim", mmutil::sg_trim, "' x, y, z '", "x,y,z"},
        {"sg_trim", mmutil::sg_trim, "\"P 1\"", "P1"},
        {"sg_trim", mmutil::sg_trim, "'-x+1/2, y, -z'\r\n", "-x+1/2,y,-z"},
        {"sg_trim", mmutil::sg_trim, "'x,\ty'", "x,\ty"},
        {"sg_trim", mmutil::sg_trim, " '' ", ""},
    };
    for (const auto& c : cases) {
        std::string text = c.input;
        std::string& result = c.trimmer(text);
        EXPECT_EQ(&result, &text) << c.name;
        EXPECT_EQ(text, c.expected) << c.name << " of \"" << c.input << "\"";
    }
}

struct CTrimCase {
    const char* name;
    CTrimmer trimmer;
    const char* input;
    const char* expected;
};

TEST(Trim, CTrimmersNeverRemoveTheFirstCharacter) {
    const CTrimCase cases[] = {
        {"c_triml", mmutil::c_triml, " \tab ", "ab "},
        {"c_triml", mmutil::c_triml, "   ", "   "},
        {"c_triml", mmutil::c_triml, "", ""},
        {"c_trimr", mmutil::c_trimr, " ab \t\r\n", " ab"},
        {"c_trimr", mmutil::c_trimr, " ", " "},
        {"c_trimr", mmutil::c_trimr, "\n", "\n"},
        {"c_trimr", mmutil::c_trimr, "  \r\n", " "},
        {"c_trim", mmutil::c_trim, "  ab c \r\n", "ab c"},
        {"c_trim", mmutil::c_trim, " ", " "},
        {"c_trim", mmutil::c_trim, " \t  ", " "},
        {"c_trim", mmutil::c_trim, "x", "x"},
        {"c_trim", mmutil::c_trim, "", ""},
    };
    for (const auto& c : cases) {
        std::vector<char> buffer(c.input, c.input + std::strlen(c.input) + 1);
        EXPECT_EQ(c.trimmer(buffer.data()), buffer.data()) << c.name;
        EXPECT_STREQ(buffer.data(), c.expected) << c.name << " of \"" << c.input << "\"";
    }
    EXPECT_EQ(mmutil::c_triml(nullptr), nullptr);
    EXPECT_EQ(mmutil::c_trim(nullptr), nullptr);
}

TEST(Trim, StrhedCutsTheHeadWordAndTrimsTheRest) {
    char line[] = " \t first  second third \r\n";
    char* rest = line;
    EXPECT_STREQ(mmutil::strhed(&rest), "first");
    EXPECT_STREQ(rest, "second third");
    EXPECT_STREQ(mmutil::strhed(&rest), "second");
    EXPECT_STREQ(mmutil::strhed(&rest), "third");
    EXPECT_STREQ(rest, "");
    EXPECT_STREQ(mmutil::strhed(&rest), "");
    char* none = nullptr;
    EXPECT_EQ(mmutil::strhed(&none), nullptr);
}

TEST(Compare, CaseInsensitiveTraits) {
    using ci_string = std::basic_string<char, mmutil::ci_char_traits>;
    EXPECT_TRUE(ci_string("Loop_") == ci_string("LOOP_"));
    EXPECT_FALSE(ci_string("Loop_") == ci_string("Loop"));
    EXPECT_TRUE(mmutil::ci_char_traits::eq('a', 'A'));
    EXPECT_TRUE(mmutil::ci_char_traits::ne('a', 'b'));
    EXPECT_TRUE(mmutil::ci_char_traits::lt('A', 'b'));
    EXPECT_FALSE(mmutil::ci_char_traits::lt('b', 'A'));

    using Traits = mmutil::ci_char_traits;
    EXPECT_EQ(Traits::compare("ABC", "abd", 3), -1);
    EXPECT_EQ(Traits::compare("abd", "ABC", 3), 1);
    EXPECT_EQ(Traits::compare("ABC", "abd", 2), 0);
    EXPECT_EQ(Traits::compare("xyz", "abc", 0), 0);
    EXPECT_EQ(Traits::compare("ab", "AB", 5), 0);    // both end together
    EXPECT_EQ(Traits::compare("ab", "ABc", 5), -1);  // s1 ends first
    EXPECT_EQ(Traits::compare("abc", "AB", 5), 1);   // s2 ends first

    const char text[] = "xyZw";
    EXPECT_EQ(Traits::find(text, 4, 'z'), text + 2);
    EXPECT_EQ(Traits::find(text, 4, 'q'), text + 4);
    EXPECT_EQ(Traits::find(text, 2, 'z'), text + 2);
    EXPECT_EQ(Traits::find(text, 0, 'x'), text);
    EXPECT_EQ(Traits::find(text, -3, 'x'), text);
}

TEST(Compare, IequalsAndPrefixComparison) {
    EXPECT_TRUE(mmutil::iequals("Loop_", "LOOP_"));
    EXPECT_TRUE(mmutil::iequals("", ""));
    EXPECT_FALSE(mmutil::iequals("loop_", "loop"));
    EXPECT_FALSE(mmutil::iequals("loop_a", "loop_b"));

    EXPECT_EQ(mmutil::my_strcasestr("_SYMMETRY_equiv", "_symmetry_EQUIV_pos", 15), 1);
    EXPECT_EQ(mmutil::my_strcasestr("_symmetry", "_space", 9), 0);
    EXPECT_EQ(mmutil::my_strcasestr("abc", "xyz", 0), 1);
    EXPECT_EQ(mmutil::my_strcasestr("abc", "xyz", -1), 1);
    EXPECT_EQ(mmutil::my_strcasestr("ab", "AB", 40), 1);  // texts end together
    EXPECT_EQ(mmutil::my_strcasestr("ab", "ABC", 40), 0);
}

TEST(Compare, AlphabeticClassification) {
    EXPECT_TRUE(mmutil::isalpha('a'));
    EXPECT_TRUE(mmutil::isalpha('Z'));
    EXPECT_FALSE(mmutil::isalpha('1'));
    EXPECT_FALSE(mmutil::isalpha('_'));
    EXPECT_FALSE(mmutil::isalpha(0xE9));  // no locale is set: only ASCII letters count

    EXPECT_FALSE(mmutil::isAlphabetical(""));
    EXPECT_TRUE(mmutil::isAlphabetical("Cl"));
    EXPECT_FALSE(mmutil::isAlphabetical("C1"));
    EXPECT_FALSE(mmutil::isAlphabetical("C "));
}

TEST(Split, TokenizeTakesRunsOutsideTheDelimiters) {
    const char* const kCifBlanks = " \t\n\r";
    struct Case {
        const char* line;
        Words expected;
    } cases[] = {
        {"a  b\tc", {"a", "b", "c"}},
        {"", {}},
        {" \t\r\n", {}},
        {"  C1 C 0.1234(5) 0.5\r\n", {"C1", "C", "0.1234(5)", "0.5"}},
        {"'P 21/c'", {"'P", "21/c'"}},  // quotes are ordinary characters
        {"last", {"last"}},
    };
    for (const auto& c : cases) {
        Words out = {"stale"};
        EXPECT_TRUE(mmutil::tokenize(out, c.line, kCifBlanks)) << c.line;
        EXPECT_EQ(out, c.expected) << c.line;
        std::string line = c.line;
        EXPECT_TRUE(mmutil::tokenize(out, line, kCifBlanks)) << c.line;
        EXPECT_EQ(out, c.expected) << c.line;
    }
}

TEST(Split, TokenizeEdgeArguments) {
    Words out = {"stale"};
    EXPECT_FALSE(mmutil::tokenize(out, static_cast<const char*>(nullptr), " "));
    EXPECT_TRUE(out.empty());
    out = {"stale"};
    EXPECT_FALSE(mmutil::tokenize(out, "a b", nullptr));
    EXPECT_TRUE(out.empty());
    std::string line = "a b";
    EXPECT_FALSE(mmutil::tokenize(out, line, nullptr));
    EXPECT_TRUE(mmutil::tokenize(out, "a b", ""));
    EXPECT_EQ(out, Words({"a b"}));
    EXPECT_TRUE(mmutil::tokenize(out, "x,y;;z,", ",;"));
    EXPECT_EQ(out, Words({"x", "y", "z"}));
}

TEST(Split, WordsStringsAndSingleDelimiter) {
    Words out = {"kept"};
    mmutil::split_to_words("-x+1/2, y ,-z", ", ", &out);
    EXPECT_EQ(out, Words({"kept", "-x+1/2", "y", "-z"}));

    EXPECT_EQ(mmutil::split_string("  one\ttwo\n three  "), Words({"one", "two", "three"}));
    EXPECT_EQ(mmutil::split_string(" \t "), Words());

    EXPECT_EQ(mmutil::split_string_dl("a,,b,", ','), Words({"a", "b"}));
    EXPECT_EQ(mmutil::split_string_dl(",x", ','), Words({"x"}));
    EXPECT_EQ(mmutil::split_string_dl("x y", ','), Words({"x y"}));
    EXPECT_EQ(mmutil::split_string_dl("", ','), Words());
}

TEST(FileNames, LabelsAndPaths) {
    EXPECT_EQ(mmutil::RemoveWhiteSpaceUnderscore(" P 21_c _"), "P21c");

    char slashes[] = "P 21/c\\x";
    EXPECT_EQ(mmutil::ReplaceSlashWithUnderscore(slashes), slashes);
    EXPECT_STREQ(slashes, "P 21_c_x");
    char windows_path[] = "dir\\sub/file";
    EXPECT_STREQ(mmutil::ReplaceBackSlashWithSlash(windows_path), "dir/sub/file");

    EXPECT_EQ(mmutil::remove_filename_extension("crystal.cif"), "crystal");
    EXPECT_EQ(mmutil::remove_filename_extension("a.b.cif"), "a.b");
    EXPECT_EQ(mmutil::remove_filename_extension("run.1/crystal"), "run");
    EXPECT_EQ(mmutil::remove_filename_extension("crystal"), "crystal");

    EXPECT_EQ(mmutil::base_filename("data/run/x.cif"), "x.cif");
    EXPECT_EQ(mmutil::base_filename("c:\\run\\x.cif"), "x.cif");
    EXPECT_EQ(mmutil::base_filename("x.cif"), "x.cif");
    EXPECT_EQ(mmutil::base_filename("dir/"), "");
}

TEST(FileNames, MorphNumericStringCutsWithoutRounding) {
    struct Case {
        const char* input;
        int ndigits;
        const char* expected;
    } cases[] = {
        {"1.2500", -1, "1.25"},  {"3.000", -1, "3"},      {"3.000", 2, "3"},
        {"2.71828", 3, "2.718"}, {"2.71899", 3, "2.718"}, {"3.75", 0, "3"},
        {"100.00", -1, "100"},   {"1200", 2, "1200"},     {"0.5", 6, "0.5"},
        {"-0.100", 1, "-0.1"},
    };
    for (const auto& c : cases) {
        std::vector<char> buffer(c.input, c.input + std::strlen(c.input) + 1);
        EXPECT_EQ(mmutil::morphNumericString(buffer.data(), c.ndigits), buffer.data());
        EXPECT_STREQ(buffer.data(), c.expected) << c.input << " with " << c.ndigits;
    }
}

// Runs the body with the time zone set to UTC, restoring the previous one afterwards.
class UtcClock : public ::testing::Test {
   protected:
    void SetUp() override {
        const char* zone = std::getenv("TZ");
        had_zone_ = zone != nullptr;
        if (had_zone_) saved_zone_ = zone;
        setenv("TZ", "UTC", 1);
        tzset();
    }
    void TearDown() override {
        mmutil::unpin_clock();
        if (had_zone_)
            setenv("TZ", saved_zone_.c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }

   private:
    bool had_zone_ = false;
    std::string saved_zone_;
};

TEST_F(UtcClock, PinnedClockGivesThePinnedDate) {
    mmutil::pin_clock(0);
    EXPECT_EQ(mmutil::get_now_date_time(), "1970-01-01 00:00:00");
    mmutil::pin_clock(1700000000);
    EXPECT_EQ(mmutil::get_now_date_time(), "2023-11-14 22:13:20");
    const std::tm local = mmutil::local_now();
    EXPECT_EQ(local.tm_year, 123);
    EXPECT_EQ(local.tm_mon, 10);
    EXPECT_EQ(local.tm_mday, 14);
    mmutil::unpin_clock();
    EXPECT_NE(mmutil::get_now_date_time(), "2023-11-14 22:13:20");
    EXPECT_EQ(mmutil::get_now_date_time().size(), 19u);
}

TEST(Files, CreateDirectoryMakesOneLevelOnly) {
    test_support::ScratchDir scratch;
    const std::string fresh = scratch.file("data");
    EXPECT_EQ(mmutil::create_directory(fresh.c_str()), 0);
    struct stat info;
    ASSERT_EQ(stat(fresh.c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
    EXPECT_EQ(info.st_mode & 0700, 0700u);
    EXPECT_EQ(info.st_mode & 0027, 0u);  // group may not write, others get nothing

    EXPECT_EQ(mmutil::create_directory(fresh.c_str()), 0);  // existing directory
    const std::string plain_file = scratch.file("file");
    test_support::write_file(plain_file, "x");
    EXPECT_EQ(mmutil::create_directory(plain_file.c_str()), 0);  // anything existing counts
    EXPECT_NE(mmutil::create_directory(scratch.file("missing/child").c_str()), 0);
    EXPECT_FALSE(test_support::file_exists(scratch.file("missing")));
}

}  // namespace
