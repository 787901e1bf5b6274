// What each symmetry operation makes of each molecule. The image of a molecule's centre of
// mass is the centre of mass of its image, so the candidates are the molecules of the same
// composition whose centre lies there modulo the lattice; the one kept is confirmed atom by
// atom (every atom onto a distinct atom of the same element).
#include <cmath>

#include "dimers_detail.h"

namespace teska::dimers_detail {

namespace {

constexpr double kTolerance = 0.1;  // angstrom

void apply(const SymmetryOperation& op, const double f[3], double out[3]) {
    for (int i = 0; i < 3; ++i)
        out[i] = op.r[i][0] * f[0] + op.r[i][1] * f[1] + op.r[i][2] * f[2] + op.t[i];
}

double length(const Placed& placed, const double df[3]) {
    const auto x = placed.to_cartesian(df);
    return std::sqrt(x[0] * x[0] + x[1] * x[1] + x[2] * x[2]);
}

// Whether op, then the lattice vector -shift, maps every atom of k onto an atom of p.
bool maps_atoms(const Placed& placed, const SymmetryOperation& op, std::size_t k, std::size_t p,
                const std::array<int, 3>& shift) {
    const std::vector<int>& zk = placed.elements[k];
    const std::vector<int>& zp = placed.elements[p];
    const std::vector<double>& fk = placed.fractional[k];
    const std::vector<double>& fp = placed.fractional[p];
    std::vector<char> used(zp.size(), 0);
    for (std::size_t a = 0; a < zk.size(); ++a) {
        double image[3];
        apply(op, &fk[3 * a], image);
        bool matched = false;
        for (std::size_t b = 0; b < zp.size() && !matched; ++b) {
            if (used[b] || zp[b] != zk[a]) continue;
            double df[3];
            for (std::size_t d = 0; d < 3; ++d) df[d] = image[d] - shift[d] - fp[3 * b + d];
            if (length(placed, df) < kTolerance) used[b] = matched = true;
        }
        if (!matched) return false;
    }
    return true;
}

}  // namespace

std::vector<SymmetryOperation> distinct_operations(const std::vector<SymmetryOperation>& ops) {
    std::vector<SymmetryOperation> distinct;
    for (const SymmetryOperation& op : ops) {
        bool seen = false;
        for (const SymmetryOperation& kept : distinct) {
            bool same = true;
            for (int i = 0; i < 3 && same; ++i) {
                const double dt = op.t[i] - kept.t[i];
                same = std::fabs(dt - std::round(dt)) < 1e-6;
                for (int j = 0; j < 3 && same; ++j) same = std::fabs(op.r[i][j] - kept.r[i][j]) < 1e-6;
            }
            seen = seen || same;
        }
        if (!seen) distinct.push_back(op);
    }
    return distinct;
}

std::vector<MoleculeImages> molecule_images(const Placed& placed,
                                            const std::vector<SymmetryOperation>& ops) {
    const std::size_t n = placed.molecules.size();
    std::vector<MoleculeImages> images;
    double reach[3];
    for (int k = 0; k < 3; ++k) reach[k] = kTolerance * placed.reciprocal[k] + 1e-9;
    const CentreGrid grid(placed.molecules, reach);
    for (std::size_t g = 0; g < ops.size(); ++g) {
        MoleculeImages m;
        for (std::size_t k = 0; k < n; ++k) {
            double centre[3];
            apply(ops[g], placed.molecules[k].centre.data(), centre);
            int found = -1;
            std::array<int, 3> shift{{0, 0, 0}};
            grid.for_each_near(centre, reach, [&](int p, const std::array<int, 3>& t) {
                const auto sp = static_cast<std::size_t>(p);
                if (found >= 0 || placed.composition[sp] != placed.composition[k]) return;
                double df[3];
                for (std::size_t d = 0; d < 3; ++d)
                    df[d] = centre[d] - t[d] - placed.molecules[sp].centre[d];
                if (!(length(placed, df) < kTolerance) || !maps_atoms(placed, ops[g], k, sp, t))
                    return;
                found = p;
                shift = t;
            });
            if (found < 0)
                throw Error(placed.file, 0, 0,
                            "symmetry operation " + symmetry_code(ops[g]) + " maps molecule " +
                                std::to_string(k + 1) + " (" + placed.molecules[k].formula +
                                ") onto no molecule of the cell");
            m.image.push_back(found);
            m.shift.push_back(shift);
        }
        images.push_back(std::move(m));
    }
    return images;
}

}  // namespace teska::dimers_detail
