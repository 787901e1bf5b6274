// Symmetry-unique molecules. Each molecule is tested against the unique molecules found so
// far; the candidates come from a grid of their centroids, looked up at the preimage of the
// molecule's centroid under each operation that preserves distances. An operation that does
// not (a file whose operations do not fit its cell) is tested against every unique molecule.
#include "unique_molecules.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <unordered_map>

#include "plane_spacings.h"


namespace teska::crystal_detail {

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

double length_of(const FileIO& store, const double df[3]) {
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
            if (length_of(store, df) < kTolerance) used[b] = matched = true;
        }
        if (!matched) return false;
    }
    return true;
}

// Whether operation op, then a lattice translation, maps i onto j; the translation in shift.
bool is_image(const FileIO& store, int i, const MoleculeShape& si, int j, const MoleculeShape& sj,
              const SymmetryOperation& op, int shift[3]) {
    if (si.composition != sj.composition) return false;
    double centre[3], whole[3], df[3];
    apply(op, si.centroid, centre);
    for (int d = 0; d < 3; ++d) {
        whole[d] = std::round(sj.centroid[d] - centre[d]);
        df[d] = centre[d] + whole[d] - sj.centroid[d];
    }
    if (!(length_of(store, df) < kTolerance) || !maps_atoms(store, i, j, op, whole)) return false;
    for (int d = 0; d < 3; ++d) shift[d] = static_cast<int>(whole[d]);
    return true;
}

// An operation whose rotation, in Cartesian terms, is orthogonal keeps distances: then i's
// centroid lies within the tolerance of the preimage of j's, modulo the lattice.
struct Preimage {
    bool isometry = false;
    double r[3][3] = {};  // inverse rotation
    double t[3] = {};     // inverse translation
};

Preimage preimage_of(const SymmetryOperation& op, const double L[3][3], const double Li[3][3]) {
    Preimage p;
    double q[3][3] = {};  // L R L^-1
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                for (int l = 0; l < 3; ++l) q[i][l] += L[i][j] * op.r[j][k] * Li[k][l];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            double dot = 0.0;
            for (int k = 0; k < 3; ++k) dot += q[k][i] * q[k][j];
            if (!(std::fabs(dot - (i == j ? 1.0 : 0.0)) < 1e-6)) return p;
        }
    const double(&r)[3][3] = op.r;
    const double det = r[0][0] * (r[1][1] * r[2][2] - r[1][2] * r[2][1]) -
                       r[0][1] * (r[1][0] * r[2][2] - r[1][2] * r[2][0]) +
                       r[0][2] * (r[1][0] * r[2][1] - r[1][1] * r[2][0]);
    if (!(std::fabs(det) > 0.5)) return p;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            const int i1 = (j + 1) % 3, i2 = (j + 2) % 3, j1 = (i + 1) % 3, j2 = (i + 2) % 3;
            p.r[i][j] = (r[i1][j1] * r[i2][j2] - r[i1][j2] * r[i2][j1]) / det;
        }
    for (int i = 0; i < 3; ++i)
        p.t[i] = -(p.r[i][0] * op.t[0] + p.r[i][1] * op.t[1] + p.r[i][2] * op.t[2]);
    p.isometry = true;
    return p;
}

// Centroids of the unique molecules, wrapped into [0,1) and hashed into bins at least the
// tolerance wide on each axis.
class CentroidGrid {
   public:
    explicit CentroidGrid(const double L[3][3]) {
        double spacing[3];
        fileio_detail::plane_spacings(L, spacing);
        for (int k = 0; k < 3; ++k) {
            // Fractional extent of the tolerance along axis k.
            const double reach = (kTolerance + 1e-6) / spacing[k];
            bins_[k] = std::isfinite(reach) && reach > 0.0
                           ? std::max(1, std::min(256, static_cast<int>(1.0 / reach)))
                           : 1;
        }
    }
    void add(int molecule, const double f[3]) {
        int b[3];
        bin_of(f, b);
        cells_[key(b[0], b[1], b[2])].push_back(molecule);
    }
    template <typename Visit>
    void for_each_near(const double f[3], Visit visit) const {
        int b[3];
        bin_of(f, b);
        std::vector<long long> seen;
        for (int i = -1; i <= 1; ++i)
            for (int j = -1; j <= 1; ++j)
                for (int k = -1; k <= 1; ++k) {
                    const long long cell = key(b[0] + i, b[1] + j, b[2] + k);
                    if (std::find(seen.begin(), seen.end(), cell) != seen.end()) continue;
                    seen.push_back(cell);
                    const auto found = cells_.find(cell);
                    if (found == cells_.end()) continue;
                    for (int m : found->second) visit(m);
                }
    }

   private:
    void bin_of(const double f[3], int b[3]) const {
        for (int k = 0; k < 3; ++k) {
            const double w = f[k] - std::floor(f[k]);
            b[k] = std::isfinite(w) ? std::min(bins_[k] - 1, static_cast<int>(w * bins_[k])) : 0;
        }
    }
    long long key(int i, int j, int k) const {
        const auto wrap = [](int v, int n) { return ((v % n) + n) % n; };
        return (static_cast<long long>(wrap(i, bins_[0])) * bins_[1] + wrap(j, bins_[1])) *
                   bins_[2] +
               wrap(k, bins_[2]);
    }
    int bins_[3] = {1, 1, 1};
    std::unordered_map<long long, std::vector<int>> cells_;
};

int identity_index(const std::vector<SymmetryOperation>& operations) {
    for (std::size_t k = 0; k < operations.size(); ++k) {
        const SymmetryOperation& op = operations[k];
        bool identity = true;
        for (int i = 0; i < 3; ++i) {
            identity = identity && op.t[i] == 0.0;
            for (int j = 0; j < 3; ++j) identity = identity && op.r[i][j] == (i == j ? 1.0 : 0.0);
        }
        if (identity) return static_cast<int>(k);
    }
    return -1;
}

}  // namespace

std::vector<UniqueMolecule> unique_molecules(const Structure& s) {
    const FileIO& store = s.store;
    std::vector<UniqueMolecule> unique;
    const int identity = identity_index(s.operations);
    const auto add_unique = [&](int m) {
        UniqueMolecule u;
        u.molecule = m;
        u.images.push_back(m);
        u.operations.push_back(identity);
        u.shifts.push_back({0, 0, 0});
        unique.push_back(u);
    };
    if (!s.has_cell || store.mol_x_s == nullptr) {
        for (int m = 0; m < store.nmols; ++m) add_unique(m);
        return unique;
    }
    std::map<std::vector<int>, int> compositions;
    std::vector<MoleculeShape> shapes;
    for (int m = 0; m < store.nmols; ++m) shapes.push_back(shape_of(store, m, compositions));
    std::vector<Preimage> preimages;
    for (const SymmetryOperation& op : s.operations)
        preimages.push_back(preimage_of(op, store.cell_latt3x3, store.cell_latt3x3_inv));

    CentroidGrid grid(store.cell_latt3x3);
    std::vector<int> unique_of(static_cast<std::size_t>(store.nmols), -1);  // index into unique
    for (int j = 0; j < store.nmols; ++j) {
        // The first unique molecule (in cell order) that maps onto j, with the first operation.
        int best = -1, best_op = -1, best_shift[3] = {0, 0, 0};
        const auto consider = [&](int i, int k) {
            int shift[3];
            if ((best >= 0 && i > best) || (i == best && k >= best_op)) return;
            if (!is_image(store, i, shapes[i], j, shapes[j], s.operations[k], shift)) return;
            best = i;
            best_op = k;
            for (int d = 0; d < 3; ++d) best_shift[d] = shift[d];
        };
        for (std::size_t k = 0; k < s.operations.size(); ++k) {
            const Preimage& p = preimages[k];
            if (!p.isometry) {
                for (const UniqueMolecule& u : unique) consider(u.molecule, static_cast<int>(k));
                continue;
            }
            double f[3];
            for (int i = 0; i < 3; ++i)
                f[i] = p.r[i][0] * shapes[j].centroid[0] + p.r[i][1] * shapes[j].centroid[1] +
                       p.r[i][2] * shapes[j].centroid[2] + p.t[i];
            grid.for_each_near(f, [&](int i) { consider(i, static_cast<int>(k)); });
        }
        if (best < 0) {
            unique_of[j] = static_cast<int>(unique.size());
            add_unique(j);
            grid.add(j, shapes[j].centroid);
            continue;
        }
        UniqueMolecule& u = unique[static_cast<std::size_t>(unique_of[best])];
        u.images.push_back(j);
        u.operations.push_back(best_op);
        u.shifts.push_back({best_shift[0], best_shift[1], best_shift[2]});
    }
    return unique;
}

}  // namespace teska::crystal_detail
