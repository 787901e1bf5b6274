// Writes a P1 supercell of a seed crystal: make_supercell SEED.cif NA NB NC OUT.cif
#include <cstdio>
#include <cstdlib>
#include <string>

#include "supercell.h"

namespace {

bool read_repeat(const char* text, int* value) {
    char* end = nullptr;
    const long parsed = std::strtol(text, &end, 10);
    if (end == text || *end != '\0' || parsed < 1 || parsed > 1000) return false;
    *value = static_cast<int>(parsed);
    return true;
}

int usage(const char* program) {
    std::fprintf(stderr, "Usage: %s SEED.cif NA NB NC OUT.cif   (repeats 1..1000)\n", program);
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    bench::Repeats repeats{};
    if (argc != 6 || !read_repeat(argv[2], &repeats.na) || !read_repeat(argv[3], &repeats.nb) ||
        !read_repeat(argv[4], &repeats.nc))
        return usage(argv[0]);
    const std::string output = argv[5];
    try {
        const bench::SeedCrystal seed = bench::read_seed_crystal(argv[1]);
        const std::vector<bench::SiteAtom> cell = bench::unit_cell_atoms(seed);
        FILE* out = std::fopen(output.c_str(), "w");
        if (out == nullptr) throw bench::SeedError("cannot create " + output);
        bench::write_p1_supercell(out, seed, cell, repeats);
        if (std::fclose(out) != 0) throw bench::SeedError("cannot write " + output);
        std::printf("%s: %lld atoms (%d x %d x %d cells of %zu atoms)\n", output.c_str(),
                    bench::supercell_atom_count(cell, repeats), repeats.na, repeats.nb, repeats.nc,
                    cell.size());
    } catch (const bench::SeedError& error) {
        std::fprintf(stderr, "make_supercell: %s\n", error.what());
        return 1;
    }
    return 0;
}
