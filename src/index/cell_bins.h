// A cell list: atoms sorted into a grid of bins so that every atom within a given reach of a
// point lies in the point's bin or in one of the bins next to it. Periodic grids bin the
// fractional position modulo 1 and wrap at the faces; open grids bin a Cartesian position
// within the bounding box of the atoms. A periodic grid may also start empty and take atoms one
// at a time, each query seeing the atoms added before it. The grid only proposes atoms;
// callers apply their own exact test to each proposal.
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

    // An empty periodic grid of bins[k] bins along axis k (at least one) for up to about
    // capacity atoms, filled by add(). The caller picks the bins: when each is at least the
    // reach wide, every position within reach of a point lies in its bin or a neighbouring one.
    CellBins(const std::array<int, 3>& bins, int capacity);

    // Bins one more atom of a periodic grid at fractional position p (taken modulo 1).
    void add(int atom, const double p[3]);

    // Calls visit(atom) for every binned atom in the bins around position p, each once, and
    // returns early when visit returns false. The order is fixed, so that a caller that keeps
    // the first or the last atom found always keeps the same one: along each axis the bins
    // b - 1, b, b + 1 around the point's bin b (wrapped on a periodic grid, skipped past the
    // edge of an open one; a periodic axis of two bins gives b and then the other), the first
    // axis outermost; within a bin, the atoms of add() latest first, then the atoms of the
    // constructor in the order listed.
    template <typename Visit>
    void for_each_near(const double p[3], Visit visit) const {
        std::array<int, 3> lo, count;
        for (int k = 0; k < 3; ++k) {
            const int b = bin_of(p[k], k);
            if (periodic_ && bins_[k] <= 2) {  // no bin twice
                lo[k] = b;
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
                    for (int s = head_[cell]; s >= 0; s = next_[s])
                        if (!visit(atoms_[s])) return;
                }
            }
        }
    }

    const std::array<int, 3>& bins() const { return bins_; }

   private:
    int bin_of(double coordinate, int axis) const;
    int cell_of(const double p[3]) const {
        return (bin_of(p[0], 0) * bins_[1] + bin_of(p[1], 1)) * bins_[2] + bin_of(p[2], 2);
    }
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
    // The atoms of a bin are a list of slots: atoms_[s] is the atom of slot s, next_[s] the
    // slot after it (-1 at the end), head_[c] the first slot of bin c (-1 when empty). The
    // constructor fills each bin's slots in one contiguous run.
    std::vector<int> head_;
    std::vector<int> next_;
    std::vector<int> atoms_;
};

}  // namespace fileio_detail

#endif  // TESKA_INDEX_CELL_BINS_H
