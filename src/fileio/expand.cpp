// Expansion of the asymmetric unit to the full cell: every operation applied to every atom,
// images ordered operation by operation, each coordinate wrapped once into the cell, and
// images that fall onto an earlier one removed (the earlier image always stays).
#include <algorithm>
#include <climits>
#include <cmath>
#include <iomanip>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "cell_bins.h"
#include "expand_overlap.h"
#include "fatal.h"
#include "teska/fileio.h"
#include "store_arrays.h"

namespace {

using fileio_detail::delete_store_array;
using fileio_detail::new_store_array;

// Element row, radius and both coordinate sets of a list of atoms, as the store keeps them.
struct AtomArrays {
    int* atypes = nullptr;
    double* radius = nullptr;
    double* x_s = nullptr;
    double* x = nullptr;
};

AtomArrays allocate_atom_arrays(long long count) {
    try {
        return {new_store_array<int>(count), new_store_array<double>(count),
                new_store_array<double>(3 * count), new_store_array<double>(3 * count)};
    } catch (const std::bad_alloc&) {
        FILEIO_FATAL(kStatusFailure, stdout,
                     "Not enough memory to expand the cell to %lld atoms.\n", count);
    }
}

void release_atom_arrays(const AtomArrays& arrays) {
    delete_store_array(arrays.atypes);
    delete_store_array(arrays.radius);
    delete_store_array(arrays.x_s);
    delete_store_array(arrays.x);
}

void copy_atom(const AtomArrays& from, long long i, const AtomArrays& to, long long k) {
    to.atypes[k] = from.atypes[i];
    to.radius[k] = from.radius[i];
    for (int c = 0; c < 3; ++c) {
        to.x_s[3 * k + c] = from.x_s[3 * i + c];
        to.x[3 * k + c] = from.x[3 * i + c];
    }
}

void print_operation(const std::string& op, const double rot[3][3], const double trans[3]) {
    std::cout << ">> operations: " << op << "\n"
              << "matrix:\n";
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) std::cout << std::setw(4) << rot[r][c];
        std::cout << "\n";
    }
    std::cout << "vector: \n";
    for (int c = 0; c < 3; ++c) std::cout << "  " << trans[c];
    std::cout << "\n-------------------\n";
}

// Image k * n + j is operation k applied to atom j, each coordinate wrapped once into the cell.
void generate_images(FileIO& store, long long n, const double* source, const AtomArrays& images,
                     double* target) {
    const long long m = static_cast<long long>(store.cif_symops.size());
    for (long long k = 0; k < m; ++k) {
        const std::string& op = store.cif_symops[k];
        double rot[3][3] = {}, trans[3] = {};
        store.ParseTransformString(op, rot, trans);
        if (store.print_details) print_operation(op, rot, trans);
        for (long long j = 0; j < n; ++j) {
            const long long image = k * n + j;
            images.atypes[image] = store.cif_atypes[j];
            images.radius[image] = store.cif_radius[j];
            const double* p = source + 3 * j;
            double* q = target + 3 * image;
            for (int c = 0; c < 3; ++c)
                q[c] = rot[c][0] * p[0] + rot[c][1] * p[1] + rot[c][2] * p[2] + trans[c];
            store.PBC_scaled_x_wrap(q);
        }
    }
}

// The literal test of one pair: the difference of the later image j minus the earlier i,
// taken to the nearest image with one shift per axis, squared length below 1e-06.
bool images_overlap(FileIO& store, const double* x, long long i, long long j) {
    double d[3];
    for (int c = 0; c < 3; ++c) d[c] = x[3 * j + c] - x[3 * i + c];
    store.PBC_scaled_disp_wrap(d);
    return d[0] * d[0] + d[1] * d[1] + d[2] * d[2] < 1e-06;
}

// Each coordinate of an overlapping pair is within 0.001 of the other's, modulo 1.
constexpr double kOverlapReach = 0.001;
// Beyond this a difference is rounded more coarsely than the cell list's margin.
constexpr double kBinnedMagnitude = 1048576.0;

enum class ImageKind : char { kBinned, kLarge, kNotFinite };

ImageKind image_kind(const double* p) {
    ImageKind kind = ImageKind::kBinned;
    for (int c = 0; c < 3; ++c) {
        if (!std::isfinite(p[c])) return ImageKind::kNotFinite;
        if (std::fabs(p[c]) > kBinnedMagnitude) kind = ImageKind::kLarge;
    }
    return kind;
}

}  // namespace

namespace fileio_detail {

std::vector<char> mark_overlapping_images_literal(FileIO& store, const double* x, long long count,
                                                  long long* overlaps) {
    std::vector<char> removed(static_cast<std::size_t>(count), 0);
    *overlaps = 0;
    for (long long i = 0; i < count; ++i) {
        if (removed[i]) continue;
        for (long long j = i + 1; j < count; ++j) {
            if (removed[j] || !images_overlap(store, x, i, j)) continue;
            removed[j] = 1;
            ++*overlaps;
        }
    }
    return removed;
}

// A coordinate that is not finite never passes the test, so such images are neither compared
// nor removed. Very large coordinates are compared with every later image.
std::vector<char> mark_overlapping_images(FileIO& store, const double* x, long long count,
                                          long long* overlaps) {
    std::vector<char> removed(static_cast<std::size_t>(count), 0);
    *overlaps = 0;
    if (count < 2) return removed;
    std::vector<ImageKind> kind(static_cast<std::size_t>(count));
    std::vector<int> binned, large;
    for (long long i = 0; i < count; ++i) {
        kind[i] = image_kind(x + 3 * i);
        if (kind[i] == ImageKind::kBinned) binned.push_back(static_cast<int>(i));
        if (kind[i] == ImageKind::kLarge) large.push_back(static_cast<int>(i));
    }
    const double reach[3] = {kOverlapReach, kOverlapReach, kOverlapReach};
    const CellBins bins(x, binned, reach, true);

    const auto compare = [&](long long i, long long j) {
        if (j <= i || removed[j] || kind[j] == ImageKind::kNotFinite) return;
        if (!images_overlap(store, x, i, j)) return;
        removed[j] = 1;
        ++*overlaps;
    };
    for (long long i = 0; i < count; ++i) {
        if (removed[i] || kind[i] == ImageKind::kNotFinite) continue;
        if (kind[i] == ImageKind::kLarge) {
            for (long long j = i + 1; j < count; ++j) compare(i, j);
            continue;
        }
        bins.for_each_near(x + 3 * i, [&](int j) {
            compare(i, j);
            return true;
        });
        for (int j : large) compare(i, j);
    }
    return removed;
}

}  // namespace fileio_detail

void FileIO::make_spacegroup_P1(int fractional) {
    const long long n = std::max(natoms_cif, 0);
    const long long m = static_cast<long long>(cif_symops.size());
    const long long total = n * m;
    if (total > INT_MAX)
        FILEIO_FATAL(kStatusFailure, stdout, "Too many atoms in the expanded cell: %lld x %lld.\n",
                     n, m);

    const AtomArrays old_atoms{cif_atypes, cif_radius, cif_x_s, cif_x};
    const AtomArrays images = allocate_atom_arrays(total);
    // The coordinates that are transformed; the other set is left zero for the caller.
    const double* source = fractional ? cif_x_s : cif_x;
    double* target = fractional ? images.x_s : images.x;

    generate_images(*this, n, source, images, target);

    long long overlaps = 0;
    const std::vector<char> removed =
        fileio_detail::mark_overlapping_images(*this, target, total, &overlaps);
    release_atom_arrays(old_atoms);
    AtomArrays kept = images;
    if (overlaps > 0) {
        std::cout << "WARNING: Overlapped atoms detected and to be removed\n"
                  << "         Number of overlapped atoms is " << overlaps << "\n"
                  << "         Number of remaining atoms is " << total - overlaps << "\n";
        kept = allocate_atom_arrays(total);
        long long next = 0;
        for (long long i = 0; i < total; ++i)
            if (!removed[i]) copy_atom(images, i, kept, next++);
        release_atom_arrays(images);
    }
    cif_atypes = kept.atypes;
    cif_radius = kept.radius;
    cif_x_s = kept.x_s;
    cif_x = kept.x;
    natoms_cif = static_cast<int>(total - overlaps);
}
