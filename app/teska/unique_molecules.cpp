// Symmetry-unique molecules.
#include "unique_molecules.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace teska::cli {

namespace {

constexpr double kTolerance = 0.1;  // angstrom

struct MoleculeShape {
    int composition = 0;             // equal for molecules with the same atoms of each element
    double centroid[3] = {0, 0, 0};  // fractional, unweighted
};

MoleculeShape shape_of(const FileIO& store, int m, std::map<std::vector<int>, int>& compositions) {
    MoleculeShape shape;
    const int n = store.mol_natoms[m];
    std::vector<int> sorted_elements(store.mol_atypes[m], store.mol_atypes[m] + n);
    std::sort(sorted_elements.begin(), sorted_elements.end());
    shape.composition =
        compositions.emplace(sorted_elements, static_cast<int>(compositions.size())).first->second;
    for (int a = 0; a < n; ++a)
        for (int d = 0; d < 3; ++d) shape.centroid[d] += store.mol_x_s[m][3 * a + d] / n;
    return shape;
}

void apply(const SymmetryOperation& op, const double f[3], double out[3]) {
    for (int i = 0; i < 3; ++i)
        out[i] = op.r[i][0] * f[0] + op.r[i][1] * f[1] + op.r[i][2] * f[2] + op.t[i];
}

double cartesian_length(const FileIO& store, const double df[3]) {
    const double(&L)[3][3] = store.cell_latt3x3;
    double sum = 0.0;
    for (int i = 0; i < 3; ++i) {
        const double r = L[i][0] * df[0] + L[i][1] * df[1] + L[i][2] * df[2];
        sum += r * r;
    }
    return std::sqrt(sum);
}

// Whether op plus the lattice translation shift maps every atom of i onto an atom of j.
bool maps_atoms(const FileIO& store, int i, int j, const SymmetryOperation& op,
                const double shift[3]) {
    const int n = store.mol_natoms[i];
    std::vector<char> used(static_cast<std::size_t>(n), 0);
    for (int a = 0; a < n; ++a) {
        double image[3];
        apply(op, &store.mol_x_s[i][3 * a], image);
        bool matched = false;
        for (int b = 0; b < n && !matched; ++b) {
            if (used[b] || store.mol_atypes[j][b] != store.mol_atypes[i][a]) continue;
            double df[3];
            for (int d = 0; d < 3; ++d) df[d] = image[d] + shift[d] - store.mol_x_s[j][3 * b + d];
            if (cartesian_length(store, df) < kTolerance) used[b] = matched = true;
        }
        if (!matched) return false;
    }
    return true;
}

bool is_image(const Structure& s, int i, const MoleculeShape& si, int j, const MoleculeShape& sj) {
    if (si.composition != sj.composition) return false;
    for (const SymmetryOperation& op : s.operations) {
        double centre[3], shift[3], df[3];
        apply(op, si.centroid, centre);
        for (int d = 0; d < 3; ++d) {
            shift[d] = std::round(sj.centroid[d] - centre[d]);
            df[d] = centre[d] + shift[d] - sj.centroid[d];
        }
        if (cartesian_length(s.store, df) < kTolerance && maps_atoms(s.store, i, j, op, shift))
            return true;
    }
    return false;
}

}  // namespace

std::vector<int> all_molecules(const Structure& s) {
    std::vector<int> molecules;
    for (int m = 0; m < s.store.nmols; ++m) molecules.push_back(m);
    return molecules;
}

std::vector<int> unique_molecules(const Structure& s) {
    if (!s.has_cell || s.store.mol_x_s == nullptr) return all_molecules(s);
    std::map<std::vector<int>, int> compositions;
    std::vector<MoleculeShape> shapes;
    for (int m = 0; m < s.store.nmols; ++m) shapes.push_back(shape_of(s.store, m, compositions));
    std::vector<int> kept;
    for (int j = 0; j < s.store.nmols; ++j) {
        const bool image = std::any_of(kept.begin(), kept.end(), [&](int i) {
            return is_image(s, i, shapes[i], j, shapes[j]);
        });
        if (!image) kept.push_back(j);
    }
    return kept;
}

}  // namespace teska::cli
