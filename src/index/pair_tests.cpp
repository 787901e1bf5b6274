// The one-step fold of a fractional displacement.
#include "pair_tests.h"

#include "fatal.h"

namespace fileio_detail {

namespace {

// A displacement too large to fold is reported as line 15 of unit fileio.
constexpr int kOutOfRangeLine = 15;

}  // namespace

double fold_displacement(double f) {
    constexpr double kExactLimit = 9007199254740992.0;  // 2^53: beyond it f - 1 may round to f
    if (std::fabs(f) >= kExactLimit)
        report_fatal("fileio", kOutOfRangeLine, kStatusFailure, stdout,
                     "Coordinate out of range in the bond search.\n");
    // Each single shift is exact below 2^53, so the shifts end on f minus a whole number,
    // which f - floor(f) and one last shift give exactly.
    if (f > 0.5) {
        const double r = f - std::floor(f);
        return r > 0.5 ? r - 1.0 : r;
    }
    if (f < -0.5) {
        const double r = f - std::floor(f);
        return r < 0.5 ? r : r - 1.0;
    }
    return f;
}

}  // namespace fileio_detail
