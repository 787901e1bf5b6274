// Writes a framework crystal for the benchmark: space group F m -3 m (192 operations) with a
// simple cubic grid of carbon atoms (1.5 angstrom apart by default: bonded to the six nearest
// only), so that the whole cell is one network bonded to its own images. The asymmetric unit is one
// grid point per orbit, many of them on special positions (mirror planes, axes, inversion centres),
// written with six decimals so that their images coincide only within the expansion's overlap
// bound. The sites are listed in a fixed shuffled order, as a refinement program lists them:
// neighbours in the file are rarely neighbours in the crystal.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

using Point = std::array<int, 3>;

struct GridOperation {
    std::array<int, 3> axis;    // output coordinate k takes input coordinate axis[k]
    std::array<int, 3> sign;    // times sign[k]
    std::array<int, 3> centre;  // plus a face-centring translation of 0 or 1/2
};

// The 48 signed permutations of m-3m times the four translations of the F lattice.
std::vector<GridOperation> fm3m_operations() {
    const int permutations[6][3] = {{0, 1, 2}, {1, 2, 0}, {2, 0, 1},
                                    {1, 0, 2}, {0, 2, 1}, {2, 1, 0}};
    const int centring[4][3] = {{0, 0, 0}, {0, 1, 1}, {1, 0, 1}, {1, 1, 0}};
    std::vector<GridOperation> ops;
    for (const auto& t : centring)
        for (const auto& p : permutations)
            for (int s = 0; s < 8; ++s)
                ops.push_back({{p[0], p[1], p[2]},
                               {s & 1 ? -1 : 1, s & 2 ? -1 : 1, s & 4 ? -1 : 1},
                               {t[0], t[1], t[2]}});
    return ops;
}

std::string triplet(const GridOperation& op) {
    std::string text;
    for (int k = 0; k < 3; ++k) {
        if (k) text += ",";
        if (op.sign[k] < 0) text += "-";
        text += "xyz"[op.axis[k]];
        if (op.centre[k]) text += "+1/2";
    }
    return text;
}

Point apply(const GridOperation& op, const Point& p, int grid) {
    Point q;
    for (int k = 0; k < 3; ++k) {
        const int v = op.sign[k] * p[op.axis[k]] + op.centre[k] * grid / 2;
        q[k] = ((v % grid) + grid) % grid;
    }
    return q;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr,
                     "Usage: %s GRID OUT.cif [SPACING]   (GRID even, 2..64: GRID^3 atoms; "
                     "SPACING in angstrom, default 1.5)\n",
                     argv[0]);
        return 2;
    }
    const int grid = std::atoi(argv[1]);
    const double spacing = argc == 4 ? std::atof(argv[3]) : 1.5;
    if (grid < 2 || grid > 64 || grid % 2 || !(spacing > 0.1 && spacing < 10.0)) {
        std::fprintf(stderr, "GRID must be even, from 2 to 64; SPACING from 0.1 to 10\n");
        return 2;
    }
    const char* path = argv[2];
    FILE* out = std::fopen(path, "w");
    if (!out) {
        std::fprintf(stderr, "cannot write %s\n", path);
        return 1;
    }
    const std::vector<GridOperation> ops = fm3m_operations();
    std::vector<Point> asymmetric;
    for (int i = 0; i < grid; ++i)
        for (int j = 0; j < grid; ++j)
            for (int k = 0; k < grid; ++k) {
                const Point p{i, j, k};
                bool smallest = true;
                for (const GridOperation& op : ops)
                    smallest = smallest && !(apply(op, p, grid) < p);
                if (smallest) asymmetric.push_back(p);
            }

    // A fixed linear congruential shuffle, the same on every machine.
    unsigned long long state = 20261123;
    for (std::size_t i = asymmetric.size(); i > 1; --i) {
        state = state * 6364136223846793005ULL + 1442695040888963407ULL;
        std::swap(asymmetric[i - 1], asymmetric[(state >> 33) % i]);
    }

    std::fprintf(out, "data_framework_Fm-3m_%d\n", grid);
    std::fprintf(out, "_symmetry_space_group_name_H-M    'F m -3 m'\n");
    std::fprintf(out, "_space_group_IT_number            225\n");
    for (const char* tag : {"_cell_length_a", "_cell_length_b", "_cell_length_c"})
        std::fprintf(out, "%-34s%.4f\n", tag, grid * spacing);
    for (const char* tag : {"_cell_angle_alpha", "_cell_angle_beta", "_cell_angle_gamma"})
        std::fprintf(out, "%-34s90.000\n", tag);
    std::fprintf(out, "# %zu sites, %d atoms in the cell\n\n", asymmetric.size(),
                 grid * grid * grid);
    std::fprintf(out, "loop_\n_symmetry_equiv_pos_as_xyz\n");
    for (const GridOperation& op : ops) std::fprintf(out, "'%s'\n", triplet(op).c_str());
    std::fprintf(out,
                 "\nloop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
                 "_atom_site_fract_y\n_atom_site_fract_z\n");
    int label = 0;
    for (const Point& p : asymmetric)
        std::fprintf(out, "C%d C %.6f %.6f %.6f\n", ++label, double(p[0]) / grid,
                     double(p[1]) / grid, double(p[2]) / grid);
    std::fprintf(out, "\n");
    return std::fclose(out) == 0 ? 0 : 1;
}
