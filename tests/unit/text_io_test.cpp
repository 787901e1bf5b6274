// Text in and out of the crystal path: numbers read as std::atof reads them, fixed-point fields
// and ATOM records written as snprintf writes them (bit for bit, byte for byte, on chosen hard
// cases, real crystal files and random values), and a crystal file read from a stream.
#include <dirent.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "element_rows.h"
#include "number_text.h"
#include "pdb_record.h"
#include "teska/fileio.h"
#include "test_support.h"

namespace {

using fileio_detail::text_to_double;
using test_support::read_file;
using test_support::write_file;

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

// Same bits: NaN matches NaN of the same sign, and -0 differs from 0.
bool same_bits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

testing::AssertionResult reads_as_atof(const std::string& text) {
    const double expected = std::atof(text.c_str());
    const double read = text_to_double(text);
    if (same_bits(expected, read)) return testing::AssertionSuccess();
    return testing::AssertionFailure() << "\"" << text << "\": atof gives " << std::hexfloat
                                       << expected << ", the reader " << read;
}

// Runs check(i) for each i below count, reporting the first ten failures it finds.
template <typename Check>
void expect_each(int count, Check check) {
    for (int i = 0, failures = 0; i < count && failures < 10; ++i) {
        const testing::AssertionResult result = check(i);
        if (!result) {
            ADD_FAILURE() << result.message();
            ++failures;
        }
    }
}

// ----- Reading numbers -----

TEST(TextToDouble, HardCasesReadAsAtof) {
    const char* const texts[] = {
        // plain and signed numbers, leading blanks, uncertainties (dropped), CIF placeholders
        "0", "-0", "0.000", "-0.000", " \t1.5", "5.4321(7)", "10.123(4)", "-0.25", "+0.25", "- 1",
        "--1", "-+1", "+-1", "?", ".", "-.", "-", "", " ", "abc", "1,5", "1 2", "(3)",
        // points and exponents without digits on one side
        ".5", "-.5", "5.", "1.e5", ".e5", "1e", "1e+", "1e-", "1E5", "1e+05", "1e-05", "-1.5E-3x",
        // hexadecimal and the words
        "0x1p3", "-0x1p3", "0X1P3", "0x", "0x.8", "00x1", "0x1g", "inf", "-inf", "INF", "Infinity",
        "-infinityx", "nan", "-nan", "NaN(123)", "-NAN(abc)",
        // range limits: overflow, the smallest normal, subnormals, underflow to zero
        "1.7976931348623157e308", "1.7976931348623159e308", "1e309", "-1e309", "1e400",
        "2.2250738585072014e-308", "2.2250738585072011e-308", "4.9406564584124654e-324",
        "2.4703282292062327e-324", "2.4703282292062328e-324", "1e-400", "-1e-400", "1e-5000000000",
        "1e5000000000", "0e999999999999", "-0e-999999999999",
        // long digit strings and halfway cases
        "9007199254740993", "9007199254740995", "123456789012345678901234567890",
        "0.1000000000000000055511151231257827", "0.1000000000000000055511151231257828",
        "2.50000000000000000000000000000000000000000000000000000000000000000000001",
        "0.00000000000000000000000000000000000000000000000000000000000000000000000012"};
    for (const char* text : texts) EXPECT_TRUE(reads_as_atof(text));
    EXPECT_TRUE(reads_as_atof(std::string{'1', '\0', '5'}));  // ends at a terminator
}

// Numbers of every shape a CIF value or a corrupt file may hold: blanks, signs, digits of
// any length, points, exponents up to the range limits, uncertainties and junk after them.
std::string random_number_text(std::mt19937_64& random) {
    auto pick = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    auto digits = [&](int most) {
        std::string run(pick(most + 1), '0');
        for (char& c : run) c = static_cast<char>('0' + pick(10));
        return run;
    };
    std::string text;
    if (pick(10) == 0) text += pick(2) ? " " : "\t";
    if (pick(3) == 0) text += "-+"[pick(2)];
    text += pick(4) ? digits(6) : digits(40);
    if (pick(4) != 0) text += '.';
    text += pick(4) ? digits(8) : digits(40);
    if (pick(3) == 0) {
        text += "eE"[pick(2)];
        if (pick(2)) text += "-+"[pick(2)];
        text += pick(3) ? std::to_string(pick(30)) : std::to_string(280 + pick(60));
    }
    if (pick(3) == 0) text += "(" + digits(2) + ")";
    if (pick(5) == 0) text += "x.e-+ ()"[pick(8)];
    return text;
}

std::string random_junk_text(std::mt19937_64& random) {
    static const char kAlphabet[] = "0123456789.-+eE()xXpinfa \t";
    std::string text(random() % 16, ' ');
    for (char& c : text) c = kAlphabet[random() % (sizeof kAlphabet - 1)];
    return text;
}

TEST(TextToDouble, RandomTextsReadAsAtof) {
    std::mt19937_64 random(20240601);
    expect_each(300000, [&](int i) {
        return reads_as_atof(i % 3 ? random_number_text(random) : random_junk_text(random));
    });
}

// Every word of every real crystal file: coordinates, cell parameters, uncertainties, dates,
// names, placeholders.
TEST(TextToDouble, WordsOfRealCrystalFilesReadAsAtof) {
    SKIP_WITHOUT_SHARED_CIFS();
    DIR* dir = opendir(SHARED_CIF_DIR);
    ASSERT_NE(dir, nullptr);
    std::size_t words = 0;
    while (const dirent* entry = readdir(dir)) {
        const std::string name = entry->d_name;
        if (!test_support::ends_with(name, ".cif")) continue;
        std::istringstream text(read_file(std::string(SHARED_CIF_DIR) + "/" + name));
        for (std::string word; text >> word; ++words) EXPECT_TRUE(reads_as_atof(word)) << name;
    }
    closedir(dir);
    EXPECT_GT(words, 10000u);
}

// ----- Writing fixed-point fields -----

testing::AssertionResult fixed_as_printf(double value, int width, int precision) {
    char expected[512];
    std::snprintf(expected, sizeof expected, "%*.*f", width, precision, value);
    std::vector<char> field(std::max<std::size_t>(width, fileio_detail::kFixedTextCapacity));
    const std::string written(field.data(),
                              fileio_detail::write_fixed(field.data(), value, width, precision));
    if (written == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << std::hexfloat << value << " as %" << width << "." << precision << "f: printf gives \""
           << expected << "\", the writer \"" << written << "\"";
}

// Exact binary ties go to the even digit; a value that rounds to zero keeps its sign; a value
// wider than its field widens it.
TEST(WriteFixed, RoundsAndSignsAsPrintf) {
    const double values[] = {
        0.0,        -0.0,         -0.0001,      -0.0004999,    -0.0005,    0.0005,   0.0015,
        0.0625,     -0.0625,      0.1875,       0.3125,        1.0005,     2.5e-4,   1.0625,
        12.3456,    999.9995,     -999.9995,    9999.9995,     99999.9995, 123456.5, 1e6,
        1e7,        1e8,          1e9,          1e10,          1e11,       1e12,     -1e12,
        123456.789, 0x1p52 - 0.5, 0x1p53,       1e22,          1e300,      -DBL_MAX, DBL_MAX,
        DBL_MIN,    -DBL_MIN,     DBL_TRUE_MIN, -DBL_TRUE_MIN, kNaN,       -kNaN,    kInf,
        -kInf};
    const int formats[][2] = {{8, 3}, {9, 3}, {6, 2}, {0, 0}, {1, 1}, {12, 9}, {3, 3}, {20, 5}};
    for (double value : values)
        for (const auto& format : formats)
            EXPECT_TRUE(fixed_as_printf(value, format[0], format[1]));
}

// Any bit pattern, coordinates of a cell, and exact ties k/16 at the third decimal.
double random_double(std::mt19937_64& random, int kind) {
    const std::uint64_t bits = random();
    if (kind == 0) {
        double value;
        std::memcpy(&value, &bits, sizeof value);
        return value;
    }
    const double unit = static_cast<double>(bits >> 11) * 0x1p-53;  // [0, 1)
    if (kind == 1) return 2000.0 * unit - 1000.0;
    return static_cast<double>(static_cast<int>(bits % 20001) - 10000) / 16.0;
}

TEST(WriteFixed, RandomDoublesAsPrintf) {
    std::mt19937_64 random(7);
    expect_each(300000, [&](int i) { return fixed_as_printf(random_double(random, i % 3), 8, 3); });
}

// ----- ATOM records -----

testing::AssertionResult record_as_printf(int serial, int row, int counter, int residue,
                                          const double xyz[3]) {
    const std::string symbol = fileio_detail::element_symbol(row);
    char expected[fileio_detail::kPdbAtomRecordCapacity + 1];
    std::snprintf(expected, sizeof expected,
                  "%-6s%5d %2s%-2X %3.3s %1s%4d    %8.3f%8.3f%8.3f%6.2f%6.2f%10s%2s%2s\n", "ATOM",
                  serial, symbol.c_str(), static_cast<unsigned>(counter), "MOL", "", residue,
                  xyz[0], xyz[1], xyz[2], 1.0, 0.0, "", symbol.c_str(), "");
    char record[fileio_detail::kPdbAtomRecordCapacity];
    const std::string formatted(
        record, fileio_detail::format_pdb_atom_record(record, serial, row, counter, residue, xyz));
    if (formatted == expected) return testing::AssertionSuccess();
    return testing::AssertionFailure()
           << "printf gives " << expected << "the formatter " << formatted;
}

// Counters at and past their limits, every element row and rows outside the table, and
// coordinates that widen their fields or are not numbers.
TEST(PdbAtomRecord, LimitsAsPrintf) {
    const int serials[] = {1, 9, 99999, 100000, 0, -1, -9999, INT_MAX, INT_MIN};
    const int counters[] = {1, 9, 10, 15, 16, 255, 256, 0, -1, INT_MIN};
    const int residues[] = {1, 9999, 10000, -1, INT_MAX, INT_MIN};
    const double coordinates[][3] = {{1.234, -5.678, 0.0625},
                                     {-0.0001, -0.0, 0.0},
                                     {1e12, -1e300, DBL_MAX},
                                     {kNaN, -kNaN, -kInf},
                                     {kInf, DBL_TRUE_MIN, -99999.9995}};
    for (int row = -2; row <= kElementRows + 1; ++row)
        for (const auto& xyz : coordinates) EXPECT_TRUE(record_as_printf(1, row, 1, 1, xyz));
    for (int serial : serials)
        for (int counter : counters)
            for (int residue : residues)
                for (const auto& xyz : coordinates)
                    EXPECT_TRUE(record_as_printf(serial, 17, counter, residue, xyz));
}

TEST(PdbAtomRecord, RandomRecordsAsPrintf) {
    std::mt19937_64 random(11);
    expect_each(100000, [&](int i) {
        const int serial = static_cast<int>(random() % 100000);
        const int row = static_cast<int>(random() % (kElementRows + 2)) - 1;
        const int counter = static_cast<int>(random() % 300);
        const int residue = static_cast<int>(random() % 20000);
        const double xyz[3] = {random_double(random, i % 3), random_double(random, 1),
                               random_double(random, 2)};
        return record_as_printf(serial, row, counter, residue, xyz);
    });
}

// ----- Reading a crystal file whole -----

// A stream has no size to read ahead of time: the text grows as it comes, here through many
// times the first read's room, and the store ends as from the same text in a file.
TEST(CrystalText, StreamReadsAsFile) {
    test_support::ScratchDir dir;
    std::string text;
    for (int i = 0; i < 20000; ++i) text += "# a comment to make the file longer\n";
    text += read_file(test_support::test_data("reader/chlorine_sodium.cif"));
    write_file(dir.file("file.cif"), text);
    const std::string pipe = dir.file("pipe.cif");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);

    std::thread writer([&] { write_file(pipe, text); });  // blocks until the reader opens
    FileIO from_pipe, from_file;
    from_pipe.read_data_cif(pipe.c_str(), false);
    writer.join();
    from_file.read_data_cif(dir.file("file.cif").c_str(), false);

    EXPECT_GT(text.size(), 700000u);
    EXPECT_EQ(from_pipe.identifier, from_file.identifier);
    EXPECT_EQ(from_pipe.cif_symops, from_file.cif_symops);
    EXPECT_EQ(from_pipe.cif_atoms.cif_atom_label, from_file.cif_atoms.cif_atom_label);
    EXPECT_EQ(from_pipe.cif_atoms.cif_fx, from_file.cif_atoms.cif_fx);
    ASSERT_EQ(from_pipe.natoms_cif, from_file.natoms_cif);
    ASSERT_GT(from_file.natoms_cif, 0);
    for (int k = 0; k < 3 * from_file.natoms_cif; ++k)
        EXPECT_TRUE(same_bits(from_pipe.cif_x_s[k], from_file.cif_x_s[k]));
}

}  // namespace
