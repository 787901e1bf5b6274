// The overlap test of the expansion: an image within 0.001 (fractional units, per-axis
// nearest image with one shift) of an earlier image that is itself kept is removed.
#ifndef CIF2PDB_EXPAND_OVERLAP_H
#define CIF2PDB_EXPAND_OVERLAP_H

#include <vector>

class FileIO;

namespace fileio_detail {

// 1 for each removed image of x (count images, three coordinates each); *overlaps counts them.
// Through a cell list: every pair the test could accept is proposed, then tested as below.
std::vector<char> mark_overlapping_images(FileIO& store, const double* x, long long count,
                                          long long* overlaps);

// The same by comparing every pair of kept images.
std::vector<char> mark_overlapping_images_literal(FileIO& store, const double* x, long long count,
                                                  long long* overlaps);

}  // namespace fileio_detail

#endif  // CIF2PDB_EXPAND_OVERLAP_H
