// A cell list: atoms sorted into a grid of bins so that every atom within a given reach of a
// point lies in the point's bin or in one of the bins next to it. Periodic grids bin the
// fractional position modulo 1 and wrap at the faces; open grids bin a Cartesian position
// within the bounding box of the atoms. The grid only proposes atoms; callers apply their own
// exact test to each proposal.
#ifndef TESKA_INDEX_CELL_BINS_H
#define TESKA_INDEX_CELL_BINS_H

#include <array>
#include <vector>

namespace fileio_detail {

class CellBins {
   public:
    // Bins the listed atoms (indices into x, three coordinates each) so that two positions
    // whose coordinates differ by at most reach[k] along axis k (modulo 1 when periodic) fall
    // into the same or neighbouring bins. A reach that is not finite, or too large for more
    // than one or two bins, makes that axis one bin. The grid holds at most about
    // max(64, 2 x atoms) bins.
    CellBins(const double* x, const std::vector<int>& atoms, const double reach[3], bool periodic);

    // Calls visit(atom) for every binned atom in the bins around position p, each once, bins
    // in a fixed order and atoms within a bin in ascending index. Returns early when visit
    // returns false.
    template <typename Visit>
    void for_each_near(const double p[3], Visit visit) const {
        std::array<int, 3> lo, count;
        for (int k = 0; k < 3; ++k) {
            const int b = bin_of(p[k], k);
            if (bins_[k] <= 2) {  // every bin of the axis; no bin twice
                lo[k] = 0;
                count[k] = bins_[k];
            } else {
                lo[k] = b - 1;
                count[k] = 3;
            }
        }
        for (int i = 0; i < count[0]; ++i) {
            const int b0 = wrap(lo[0] + i, 0);
            if (b0 < 0) continue;
            for (int j = 0; j < count[1]; ++j) {
                const int b1 = wrap(lo[1] + j, 1);
                if (b1 < 0) continue;
                for (int l = 0; l < count[2]; ++l) {
                    const int b2 = wrap(lo[2] + l, 2);
                    if (b2 < 0) continue;
                    const int cell = (b0 * bins_[1] + b1) * bins_[2] + b2;
                    for (int s = start_[cell]; s < start_[cell + 1]; ++s)
                        if (!visit(atoms_[s])) return;
                }
            }
        }
    }

    const std::array<int, 3>& bins() const { return bins_; }

   private:
    int bin_of(double coordinate, int axis) const;
    // A neighbouring bin index on one axis, wrapped on a periodic grid; -1 past an open edge.
    int wrap(int b, int axis) const {
        if (b < 0) return periodic_ ? b + bins_[axis] : -1;
        if (b >= bins_[axis]) return periodic_ ? b - bins_[axis] : -1;
        return b;
    }

    bool periodic_;
    std::array<int, 3> bins_{1, 1, 1};
    std::array<double, 3> origin_{0.0, 0.0, 0.0};  // open grids: lower corner of the box
    std::array<double, 3> scale_{1.0, 1.0, 1.0};   // bins per unit length
    std::vector<int> start_;  // atoms of bin c: atoms_[start_[c] .. start_[c+1])
    std::vector<int> atoms_;
};

}  // namespace fileio_detail

#endif  // TESKA_INDEX_CELL_BINS_H
