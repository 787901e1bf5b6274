// Supercell PDB writer: an na x nb x nc block of cells of a molecule list, one residue per
// molecule copy.
#include <cstdio>

#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "pdb_record.h"
#include "writer_support.h"

namespace {

// A counter that runs over the whole file and starts again at 1 when it reaches its limit,
// so that it always fits its PDB columns.
class WrappingCounter {
   public:
    explicit WrappingCounter(int limit) : limit_(limit) {}
    int next() {
        if (++value_ == limit_) value_ = 1;
        return value_;
    }
    int value() const { return value_; }

   private:
    int limit_;
    int value_ = 0;
};

constexpr int kResidueLimit = 10000;    // residue numbers 1..9999
constexpr int kSerialLimit = 100000;    // atom serials 1..99999
constexpr int kNameCounterLimit = 256;  // atom-name counter 1..FF

}  // namespace

int FileIO::write_supercell_pdb(const char* path, int nmol, int* natoms, int** atypes, double** x,
                                int na, int nb, int nc) {
    FILE* out = fileio_detail::open_output_file(path, fileio_detail::OpenFailure::kPlainOnStdout);
    std::fprintf(out, "REMARK   TESKA PDB file\n");
    std::fprintf(out, "REMARK   Created:  %s\n", mmutil::get_now_date_time().c_str());
    std::fprintf(out, "CRYST1 %8.3f %8.3f %8.3f %8.3f %8.3f %8.3f P 1           1\n",
                 na * cell_latt[0], nb * cell_latt[1], nc * cell_latt[2], cell_latt[3],
                 cell_latt[4], cell_latt[5]);
    WrappingCounter residue(kResidueLimit);
    WrappingCounter serial(kSerialLimit);
    WrappingCounter name_counter(kNameCounterLimit);
    fileio_detail::walk_supercell(
        na, nb, nc, nmol, natoms, [&](int) { residue.next(); },
        [&](const int cell[3], int m, int atom) {
            const double* f = x[m] + 3 * atom;
            double g[3] = {cell[0] + f[0], cell[1] + f[1], cell[2] + f[2]};
            double r[3];
            coord_f2c(g, r);
            fileio_detail::write_pdb_atom_record(out, serial.next(), atypes[m][atom],
                                                 name_counter.next(), residue.value(), r);
        });
    std::fprintf(out, "TER\n");
    return std::fclose(out);
}
