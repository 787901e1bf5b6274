// mmutil: text trimming, comparison, tokens and file names; directories; matrix routines.
#include "teska/mmutil.h"

#include <sys/stat.h>

#include <cmath>
#include <string>
#include <vector>

#include "test_support.h"

using Words = std::vector<std::string>;
using Matrix = double[3][3];
using Values = std::vector<double>;

static std::string trimmed(std::string& (*f)(std::string&), std::string s) { return f(s); }
static std::string trimmed(char* (*f)(char*), std::string s) { return f(&s[0]); }
static Values flat(const Matrix& m) { return Values(&m[0][0], &m[0][0] + 9); }

TEST(Text, TrimmersRemoveTheirOwnSetsAndBlankTextsFollowTheirRule) {
    EXPECT_EQ(trimmed(mmutil::triml, " \t\n x "), "\n x ");
    EXPECT_EQ(trimmed(mmutil::trimr, " x \t\r\n"), " x");
    EXPECT_EQ(trimmed(mmutil::trim, " \t \r\n"), "");
    EXPECT_EQ(trimmed(mmutil::sg_trim, "' x, y, z '"), "x,y,z");
    EXPECT_EQ(trimmed(mmutil::sg_trim, "\"P 1\"\r\n"), "P1");
    EXPECT_EQ(trimmed(mmutil::sg_trim, "'x,\ty'"), "x,\ty");
    EXPECT_EQ(trimmed(mmutil::sg_trim, " '' "), "");
    EXPECT_EQ(trimmed(mmutil::c_triml, "   "), "   ");  // never removes the first character
    EXPECT_EQ(trimmed(mmutil::c_trimr, "\n"), "\n");
    EXPECT_EQ(trimmed(mmutil::c_trimr, "  \r\n"), " ");
    EXPECT_EQ(trimmed(mmutil::c_trim, " \tab c \r\n"), "ab c");
    EXPECT_EQ(trimmed(mmutil::c_trim, " \t  "), " ");
    EXPECT_EQ(mmutil::c_trim(nullptr), nullptr);
    char line[] = " \t first  second third \r\n";
    char *rest = line, *none = nullptr;
    EXPECT_STREQ(mmutil::strhed(&rest), "first");
    EXPECT_STREQ(rest, "second third");
    EXPECT_EQ(mmutil::strhed(&none), nullptr);  // used to crash
}

TEST(Text, ComparisonAndTokens) {
    const char* text = "xyZw";
    Words out = {"stale"};
    std::string empty;
    EXPECT_EQ(mmutil::ci_char_traits::find(text, 2, 'z'), text + 2);  // not among the first two
    EXPECT_EQ(mmutil::ci_char_traits::compare("ab", "ABc", 5), -1);   // the first ends first
    EXPECT_FALSE(mmutil::iequals("loop_", "loop"));
    EXPECT_EQ(mmutil::my_strcasestr("_symmetry_EQUIV", "_SYMMETRY_equiv_pos", 15), 1);
    EXPECT_EQ(mmutil::my_strcasestr("abc", "xyz", 0), 1);
    EXPECT_FALSE(mmutil::isAlphabetical("C1") || mmutil::isAlphabetical(""));

    EXPECT_TRUE(mmutil::tokenize(out, "  C1 C\t0.1234(5) 'P 1'\r\n", " \t\n\r"));
    EXPECT_EQ(out, Words({"C1", "C", "0.1234(5)", "'P", "1'"}));  // quotes are plain characters
    EXPECT_TRUE(mmutil::tokenize(out, "a b", ""));
    EXPECT_EQ(out, Words({"a b"}));
    EXPECT_FALSE(mmutil::tokenize(out, "a b", nullptr));
    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(mmutil::tokenize(out, empty, " \t\n\r"));
    EXPECT_TRUE(out.empty());
    EXPECT_EQ(mmutil::split_string_dl(",a,,b,", ','), Words({"a", "b"}));
}

TEST(Text, FileNamesNumbersAndDirectories) {
    char cut[] = "3.0099", integer[] = "1200";
    test_support::ScratchDir scratch;
    const std::string fresh = scratch.file("data");
    struct stat info;
    EXPECT_EQ(mmutil::base_filename("c:\\run\\x.cif"), "x.cif");
    EXPECT_EQ(mmutil::base_filename("data/x.cif"), "x.cif");
    EXPECT_STREQ(mmutil::morphNumericString(cut, 2), "3");  // 3.00, not 3.01; 0s and . go
    EXPECT_STREQ(mmutil::morphNumericString(integer, 2), "1200");

    EXPECT_EQ(mmutil::create_directory(fresh.c_str()), 0);
    ASSERT_EQ(stat(fresh.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & (S_IFMT | 0727), S_IFDIR | 0700u);  // group may not write
    EXPECT_EQ(mmutil::create_directory(fresh.c_str()), 0);       // an existing one counts
    EXPECT_NE(mmutil::create_directory(scratch.file("missing/child").c_str()), 0);
}

TEST(Matrix, ProductsAndTheirAliasingRules) {
    Matrix a = {{1, 2, 3}, {0, 1, 4}, {5, 6, 0}}, b = {{1, 0, 0}, {3, 1, 0}, {0, 1, 1}};
    Matrix c = {{9, 9, 9}, {9, 9, 9}, {9, 9, 9}};
    double x[2][3] = {{1, -1, 2}, {0, 0, 1}}, w[3] = {2, -3, 6};
    double *a_rows[3] = {a[0], a[1], a[2]}, *c_rows[3] = {c[0], c[1], c[2]};
    EXPECT_EQ(mmutil::det(a), 1.0);
    mmutil::mat_vec_mul(a, w, w);  // in place, like the next one
    mmutil::mat_vec_mul_n(a, x, x, 2);
    EXPECT_EQ(Values(w, w + 3), Values({14, 21, -8}));
    EXPECT_EQ(Values(x[0], x[0] + 6), Values({5, 7, -1, 3, 4, 0}));
    mmutil::mat_mat_mul(a, b, c);  // c is cleared first
    EXPECT_EQ(flat(c), Values({7, 5, 3, 3, 5, 4, 23, 6, 0}));
    mmutil::mat_scale(c, -0.5, c);
    mmutil::mat_mat_add(c, c, c);
    mmutil::transpose_matrix(c);
    mmutil::mat_mat_mul_nxn(a_rows, a_rows, c_rows, 2);  // the leading 2x2 blocks only
    EXPECT_EQ(flat(c), Values({1, 4, -23, 0, 1, -6, -3, -4, 0}));
    mmutil::transpose_matrix(a_rows, 3);
    EXPECT_EQ(flat(a), Values({1, 0, 5, 2, 1, 6, 3, 4, 0}));
}

TEST(Matrix, AnintRoundsHalvesAwayFromZero) {
    const double cases[][2] = {{0.5, 1}, {-0.5, -1}, {0.0, 0}, {2.5, 3}, {-2.5, -3}, {-0.4, 0}};
    for (const auto& c : cases) EXPECT_EQ(mmutil::anint(c[0]), c[1]) << c[0];
    EXPECT_EQ(mmutil::anint(-2147483647.6), -2147483648.0);  // the 32-bit range is the contract
}

TEST(Matrix, InverseIsTheAdjugateOverTheDeterminant) {
    Matrix a = {{1, 2, 3}, {0, 1, 4}, {5, 6, 0}}, b;
    Matrix tiny = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1e-30}};  // |det| of exactly 1e-30 is accepted
    mmutil::invert(a, b);
    EXPECT_EQ(flat(b), Values({-24, 18, 5, 20, -15, -4, -5, 4, 1}));
    mmutil::invert(tiny, b);
    EXPECT_DOUBLE_EQ(b[2][2], 1e30);
}

TEST(MatrixDeathTest, InvertEndsTheProcessOnOverlapAndZeroDeterminant) {
    Matrix a = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1e-31}}, b;  // overlap is checked first
    const auto status = ::testing::ExitedWithCode(255);
    EXPECT_EXIT(
        (test_support::stdout_to_stderr(), mmutil::invert(a, a)), status,
        "^\nERROR  transport : mmutil : line 593 : \ninvert - Result matrix overlaps input\n$");
    EXPECT_EXIT((test_support::stdout_to_stderr(), mmutil::invert(a, b)), status,
                "^\nERROR  transport : mmutil : line 600 : \nDeterminant of matrix is zero\\.\n$");
}

TEST(Matrix, RotationUsesTheShortPi) {
    Matrix r;
    double z_axis[3] = {0, 0, 1};
    mmutil::rot_matrix_from_dir_vector_and_angle(r, z_axis, 90.0);
    const Values quarter_turn = {0, -1, 0, 1, 0, 0, 0, 0, 1};
    for (int i = 0; i < 9; ++i) EXPECT_NEAR(flat(r)[i], quarter_turn[i], 1e-14) << i;
    EXPECT_TRUE(r[0][0] < -1e-15 && r[0][0] > -1e-14);  // cos 90 degrees with the 14-digit pi
}

TEST(Matrix, JacobiFindsKnownEigenpairsAndSortsThemDescending) {
    Matrix a = {{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}}, v;
    const double r2 = std::sqrt(2.0), values[3] = {2 + r2, 2, 2 - r2};
    const Matrix vectors = {{0.5, -r2 / 2, 0.5}, {1 / r2, 0, -1 / r2}, {0.5, r2 / 2, 0.5}};
    double d[3];
    int nrot = 0;
    mmutil::jacobi_nr(a, 3, d, v, nrot);
    EXPECT_GT(nrot, 0);
    for (int k = 0; k < 3; ++k) {
        EXPECT_NEAR(d[k], values[k], 1e-14);
        const double overlap =  // an eigenvector is fixed up to its sign
            v[0][k] * vectors[k][0] + v[1][k] * vectors[k][1] + v[2][k] * vectors[k][2];
        EXPECT_NEAR(std::fabs(overlap), 1.0, 1e-12) << "eigenvector " << k;
    }
    EXPECT_EQ(flat(a), Values({2, 0, 0, -1, 2, 0, 0, -1, 2}));  // the strict upper triangle goes
    Matrix diagonal = {{1, 0, 0}, {0, 3, 0}, {0, 0, 2}}, w = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
    double e[3] = {1, 2, 2};
    mmutil::jacobi_nr(diagonal, 3, d, v, nrot);  // returns at once, sorted
    EXPECT_EQ(nrot, 0);
    EXPECT_EQ(Values(d, d + 3), Values({3, 2, 1}));
    EXPECT_EQ(flat(v), Values({0, 0, 1, 1, 0, 0, 0, 1, 0}));
    mmutil::eigsrt_nr(e, w, 3);  // of equal maxima the last wins; columns follow their values
    EXPECT_EQ(Values(e, e + 3), Values({2, 2, 1}));
    EXPECT_EQ(flat(w), Values({3, 2, 1, 6, 5, 4, 9, 8, 7}));
}
