// The fuzz targets' helpers: the atom cap sized by the reader's own scan, the release of a
// store's arrays after an input, the in-memory input file, and the invariants that turn a
// wrong result into a crash.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>

#include "cif_limits.h"
#include "fatal.h"
#include "invariants.h"
#include "memory_file.h"
#include "store_release.h"
#include "teska/fileio.h"
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

// Atom rows times operations, the last row counted without its final newline, and cells taken
// up to the cap; a scan that fails is not capped: the reader then runs and reports the rejection.
TEST(CifAtomCap, CountsAtomRowsTimesOperationsAndTakesCellsUpToTheCap) {
    ASSERT_EQ(fuzz_support::kMaxExpandedAtoms, 256);
    std::string unterminated = crystal_text(2, 5);
    unterminated.pop_back();
    const struct {
        std::string text;
        int atoms;  // -1: not counted
        bool taken, rejected;
    } cases[] = {
        {crystal_text(4, 3), 12, true, false},
        {crystal_text(0, 3), 0, true, false},
        {crystal_text(4, 0), 0, true, false},
        {unterminated, 10, true, false},
        {crystal_text(4, 64), 256, true, false},
        {crystal_text(4, 65), 260, false, false},
        {crystal_text(300, 300) + "C0 C 0.1\n", -1, true, true},
    };
    for (const auto& c : cases) {
        const CifScan result = scan(c.text);
        if (c.atoms >= 0) {
            EXPECT_EQ(result.expanded_atoms, c.atoms);
        }
        EXPECT_EQ(fuzz_support::within_atom_cap(result), c.taken) << c.atoms;
        EXPECT_EQ(result.rejected, c.rejected) << c.atoms;
    }
}

void expect_no_arrays(const FileIO& s) {
    const void* arrays[] = {s.cif_atypes, s.cif_x_s,        s.cif_x,   s.cif_radius,  s.mol_natoms,
                            s.mol_atypes, s.mol_x,          s.mol_x_s, s.mol_extra_a, s.mol_extra_b,
                            s.mol_value,  s.mol_file_names, s.mol_ids};
    for (const void* array : arrays) EXPECT_EQ(array, nullptr);
}

// Runs run twice; the second run, after the first has set up the process's lasting buffers,
// must hand back every byte it took. Measured in AddressSanitizer builds only.
void expect_second_run_frees_everything(const std::function<void()>& run) {
#ifdef FUZZ_TEST_HEAP_COUNTS
    run();
    const std::size_t before = __sanitizer_get_current_allocated_bytes();
    run();
    EXPECT_EQ(__sanitizer_get_current_allocated_bytes(), before);
#else
    (void)run;
    GTEST_SKIP() << "the heap is measured in AddressSanitizer builds";
#endif
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

TEST(ReleaseStore, HandsBackEveryByteAConversionTook) {
    test_support::ScratchDir dir;
    expect_second_run_frees_everything([&] {
        FileIO store;
        const fileio_detail::StoreGuard release(store);
        convert(store, dir);
    });
}

// A nested V3000 table allocates the molecule slot anew over the outer table's arrays, which
// the store then no longer points to: the guard's record frees them too.
TEST(ReleaseStore, HandsBackWhatTheStoreLetGoOf) {
    const std::string input = test_support::test_data("readers/nested_v3000.mol");
    expect_second_run_frees_everything([&] {
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
    });
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
