// The fuzz targets' helpers: the atom cap sized by the reader's own scan, the release of a
// store's arrays after an input, the in-memory input file, and the invariants that turn a
// wrong result into a crash.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "cif_limits.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "invariants.h"
#include "memory_file.h"
#include "store_release.h"
#include "test_support.h"

#if defined(__SANITIZE_ADDRESS__)
#define FUZZ_TEST_HEAP_COUNTS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define FUZZ_TEST_HEAP_COUNTS 1
#endif
#endif
#ifdef FUZZ_TEST_HEAP_COUNTS
// The sanitizer runtime's count of bytes in live allocations (gcc ships no header for it).
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace {

using fuzz_support::CifScan;

// A P 1 cell of 10 angstrom with the given operation and atom rows.
std::string crystal_text(int operations, int rows) {
    std::string text = "data_test\n";
    for (const char* tag : {"_cell_length_a", "_cell_length_b", "_cell_length_c"})
        text += std::string(tag) + " 10\n";
    for (const char* tag : {"_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"})
        text += std::string(tag) + " 90\n";
    text += "loop_\n_symmetry_equiv_pos_as_xyz\n";
    for (int k = 0; k < operations; ++k) text += "'x, y, z'\n";
    text += "\nloop_\n_atom_site_label\n_atom_site_type_symbol\n";
    text += "_atom_site_fract_x\n_atom_site_fract_y\n_atom_site_fract_z\n";
    for (int k = 0; k < rows; ++k) text += "C" + std::to_string(k + 1) + " C 0.1 0.2 0.3\n";
    return text;
}

CifScan scan(const std::string& text) {
    const ScopedFatalPolicy raise(FatalPolicy::kRaise);
    return fuzz_support::scan_cif_text(reinterpret_cast<const std::uint8_t*>(text.data()),
                                       text.size());
}

TEST(CifAtomCap, CountsAtomRowsTimesOperations) {
    EXPECT_EQ(scan(crystal_text(4, 3)).expanded_atoms, 12);
    EXPECT_EQ(scan(crystal_text(0, 3)).expanded_atoms, 0);
    EXPECT_EQ(scan(crystal_text(4, 0)).expanded_atoms, 0);
    // Without the final newline the last row is still a row.
    std::string text = crystal_text(2, 5);
    text.pop_back();
    EXPECT_EQ(scan(text).expanded_atoms, 10);
}

TEST(CifAtomCap, TakesCellsUpToTheCap) {
    ASSERT_EQ(fuzz_support::kMaxExpandedAtoms, 256);
    EXPECT_TRUE(fuzz_support::within_atom_cap(scan(crystal_text(4, 64))));   // 256 atoms
    EXPECT_FALSE(fuzz_support::within_atom_cap(scan(crystal_text(4, 65))));  // 260 atoms
}

// The reader then runs and reports the rejection itself.
TEST(CifAtomCap, AScanThatFailsIsNotCapped) {
    std::string text = crystal_text(300, 300);
    text += "C0 C 0.1\n";
    const CifScan result = scan(text);
    EXPECT_TRUE(result.rejected);
    EXPECT_TRUE(fuzz_support::within_atom_cap(result));
}

void expect_no_arrays(const FileIO& store) {
    EXPECT_EQ(store.cif_atypes, nullptr);
    EXPECT_EQ(store.cif_x_s, nullptr);
    EXPECT_EQ(store.cif_x, nullptr);
    EXPECT_EQ(store.cif_radius, nullptr);
    EXPECT_EQ(store.mol_natoms, nullptr);
    EXPECT_EQ(store.mol_atypes, nullptr);
    EXPECT_EQ(store.mol_x, nullptr);
    EXPECT_EQ(store.mol_x_s, nullptr);
    EXPECT_EQ(store.mol_extra_a, nullptr);
    EXPECT_EQ(store.mol_extra_b, nullptr);
    EXPECT_EQ(store.mol_file_names, nullptr);
    EXPECT_EQ(store.mol_value, nullptr);
    EXPECT_EQ(store.mol_ids, nullptr);
}

void convert(FileIO& store, const test_support::ScratchDir& dir) {
    const std::string input = test_support::test_data("golden_inputs/ferrocene_p21c.cif");
    ASSERT_EQ(store.write_cif2pdb(input.c_str(), dir.file("out.pdb").c_str(), false, false), 0);
}

TEST(ReleaseStore, LeavesNoArrayOfAConversion) {
    test_support::ScratchDir dir;
    FileIO store;
    convert(store, dir);
    ASSERT_GT(store.nmols, 1);
    fileio_detail::release_store(store);
    expect_no_arrays(store);
    fileio_detail::release_store(store);  // nothing left to free twice
}

// A second conversion after the first has set up the process's lasting buffers.
TEST(ReleaseStore, HandsBackEveryByteAConversionTook) {
#ifdef FUZZ_TEST_HEAP_COUNTS
    test_support::ScratchDir dir;
    {
        FileIO store;
        const fileio_detail::StoreGuard release(store);
        convert(store, dir);
    }
    const std::size_t before = __sanitizer_get_current_allocated_bytes();
    {
        FileIO store;
        const fileio_detail::StoreGuard release(store);
        convert(store, dir);
    }
    EXPECT_EQ(__sanitizer_get_current_allocated_bytes(), before);
#else
    GTEST_SKIP() << "the heap is measured in AddressSanitizer builds";
#endif
}

// A nested V3000 table allocates the molecule slot anew over the outer table's arrays, which
// the store then no longer points to: the guard's record frees them too.
TEST(ReleaseStore, HandsBackWhatTheStoreLetGoOf) {
#ifdef FUZZ_TEST_HEAP_COUNTS
    const std::string input = test_support::test_data("readers/nested_v3000.mol");
    const auto read_nested = [&] {
        FileIO store;
        const fileio_detail::StoreGuard release(store);
        store.natoms_cif = 64;
        store.cif_atypes = fileio_detail::new_store_array<int>(64);
        store.cif_x = fileio_detail::new_store_array<double>(3 * 64);
        store.nmols = 1;
        store.mol_natoms = fileio_detail::new_store_array<int>(1);
        store.mol_atypes = fileio_detail::new_store_array<int*>(1);
        store.mol_x = fileio_detail::new_store_array<double*>(1);
        store.mol_x_s = fileio_detail::new_store_array<double*>(1);
        store.read_data_mol(input.c_str(), 0, false);
        ASSERT_GT(store.mol_natoms[0], 0);
    };
    read_nested();
    const std::size_t before = __sanitizer_get_current_allocated_bytes();
    read_nested();
    EXPECT_EQ(__sanitizer_get_current_allocated_bytes(), before);
#else
    GTEST_SKIP() << "the heap is measured in AddressSanitizer builds";
#endif
}

TEST(MemoryFile, ReadersSeeWhatItHoldsNow) {
    fuzz_support::MemoryFile file;
    const std::string first = "first text", second = "2nd";
    for (const std::string& text : {first, second}) {
        const char* path =
            file.hold(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
        EXPECT_EQ(test_support::read_file(path), text);
    }
    test_support::write_file(file.path(), "written");
    EXPECT_EQ(file.contents(), "written");
}

TEST(FuzzInvariants, AcceptTwoAtomsInOneMolecule) {
    FileIO store;
    store.natoms_cif = 2;
    store.mol_natoms_list = {2};
    store.mol_atom_list = {1, 0};
    fuzz_support::check_molecule_partition(store);
    fuzz_support::check_cell_model(store, "TITLE     x\nATOM  1\nATOM  2\nTER\nENDMDL\n");
}

TEST(FuzzInvariantsDeathTest, AbortOnAWrongPartitionOrModel) {
    FileIO store;
    store.natoms_cif = 2;
    store.mol_natoms_list = {1, 1};
    store.mol_atom_list = {0, 0};
    EXPECT_DEATH(fuzz_support::check_molecule_partition(store), "atom 0 listed twice");
    store.mol_natoms_list = {1};
    store.mol_atom_list = {0};
    EXPECT_DEATH(fuzz_support::check_molecule_partition(store),
                 "molecule sizes 1 and list of 1 for 2 atoms");
    EXPECT_DEATH(fuzz_support::check_cell_model(store, "ATOM  1\nTER\nENDMDL\n"),
                 "1 ATOM records for 2 atoms");
    EXPECT_DEATH(fuzz_support::check_cell_model(store, "ATOM  1\nATOM  2\nTER\n"),
                 "does not end with TER and ENDMDL");
}

}  // namespace
