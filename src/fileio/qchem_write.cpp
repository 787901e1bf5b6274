// Quantum-chemistry inputs for one list of atoms: Gaussian, ORCA and Q-Chem, each as a
// single point that prints orbitals and populations (HL) or as an optimisation followed by a
// frequency job (RE).
#include <cstdio>
#include <string>

#include "element_rows.h"
#include "teska/fileio.h"
#include "teska/mmutil.h"
#include "writer_support.h"

namespace {

using fileio_detail::OpenFailure;

// The progress line (silent unless bverbose_local) is lead, path and trail.
FILE* open_job_file(const char* path, OpenFailure failure, const char* lead, const char* trail) {
    FILE* out = fileio_detail::open_output_file(path, failure);
    if (bverbose_local) std::printf("%s%s%s\n", lead, path, trail);
    return out;
}

FILE* open_gaussian_file(const char* path) {
    return open_job_file(path, OpenFailure::kPlainOnStderr, "Writing gaussian com file ", "...");
}

FILE* open_orca_file(const char* path) {
    return open_job_file(path, OpenFailure::kPlainOnStderr, "Writing ORCA inp file ", "...");
}

FILE* open_qchem_file(const char* path) {
    return open_job_file(path, OpenFailure::kPlainOnStderr, "Writing Q-Chem inp file ", "...");
}

// The symbol is left-aligned so that the coordinates line up for one- and two-letter symbols.
void write_atom_lines(FILE* out, int n, const int* atypes, const double* x) {
    for (int i = 0; i < n; ++i) {
        const double* r = x + 3 * i;
        std::fprintf(out, "%-2s %9.4f %9.4f %9.4f\n",
                     fileio_detail::element_symbol(atypes[i]).c_str(), r[0], r[1], r[2]);
    }
}

// Closes the file with the caller's free text verbatim.
int close_with_tail(FILE* out, const std::string& tail) {
    std::fwrite(tail.data(), 1, tail.size(), out);
    return std::fclose(out);
}

// A Q-Chem $molecule section: the charge and multiplicity line, then the atoms.
void write_qchem_molecule(FILE* out, const char* charge_multiplicity, int n, const int* atypes,
                          const double* x) {
    std::fprintf(out, "$molecule\n%s\n", charge_multiplicity);
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "$end\n\n");
}

// A Q-Chem $rem line: keyword left-aligned, value from column 17.
void write_rem(FILE* out, const char* keyword, const char* value) {
    std::fprintf(out, "%-16s%s\n", keyword, value);
}

// Every Q-Chem job runs without symmetry; this closes its $rem section.
void end_rem_section(FILE* out) {
    write_rem(out, "symmetry", "off");
    write_rem(out, "sym_ignore", "true");
    std::fprintf(out, "$end\n\n");
}

}  // namespace

int FileIO::write_data_gjf_one(const char* path, int n, int* atypes, double* x, int nprocs,
                               int memory_mb, const char* method) {
    const std::string stem = mmutil::remove_filename_extension(path);
    FILE* out = open_job_file(path, OpenFailure::kQuotedOnStderr, "Writing file \"", "\"... ");
    std::fprintf(out, "%%chk=%s.chk\n", stem.c_str());
    std::fprintf(out, "%%nprocs=%d\n", nprocs);
    std::fprintf(out, "%%mem=%dMB\n", memory_mb);
    std::fprintf(out, "#P %s iop(3/33=1,5/33=2) pop=full nosymm\n", method);
    std::fprintf(out, "\n%s\n\n", stem.c_str());
    std::fprintf(out, "0 1\n");
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "\n\n");
    return std::fclose(out);
}

int FileIO::write_gau_mol_com_HL(const char* path, int n, int* atypes, double* x, const char* title,
                                 const char* checkpoint, const char* method, int memory_mb, int,
                                 int nprocs, std::string tail) {
    FILE* out = open_gaussian_file(path);
    std::fprintf(out, "%%chk=%s.chk\n", checkpoint);
    std::fprintf(out, "%%mem=%dMB\n", memory_mb);
    std::fprintf(out, "%%nprocs=%d\n", nprocs);
    std::fprintf(out, "#P %s iop(3/33=1,5/33=2) pop=full nosymm\n", method);
    std::fprintf(out, "\n%s\n\n", title);
    std::fprintf(out, "0 1\n");
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "\n");
    return close_with_tail(out, tail);
}

int FileIO::write_gau_mol_com_RE(const char* path, int n, int* atypes, double* x, const char* title,
                                 const char* checkpoint, const char* charge_multiplicity,
                                 const char* method, int memory_mb, int, int nprocs,
                                 std::string tail) {
    FILE* out = open_gaussian_file(path);
    std::fprintf(out, "%%mem=%dMB\n", memory_mb);
    std::fprintf(out, "%%nprocs=%d\n", nprocs);
    std::fprintf(out, "%%chk=%s.chk\n", checkpoint);
    std::fprintf(out, "#P opt freq %s pop=full nosymm\n", method);
    std::fprintf(out, "scf=(maxcycle=100,xqc)\n");
    std::fprintf(out, "\n%s\n\n", title);
    std::fprintf(out, "%s\n", charge_multiplicity);
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "\n");
    return close_with_tail(out, tail);
}

int FileIO::write_orca_mol_inp_HL(const char* path, int n, int* atypes, double* x, int max_core,
                                  int nprocs, const char* method, const char* basis,
                                  std::string tail) {
    FILE* out = open_orca_file(path);
    std::fprintf(out, "! SP %s %s NoUseSym\n", method, basis);
    std::fprintf(out, "\n");
    std::fprintf(out, "%%MaxCore %d\n", max_core);
    std::fprintf(out, "%%PAL NPROCS %d END\n", nprocs);
    std::fprintf(out, "\n");
    std::fputs(orca_output_block.c_str(), out);
    std::fprintf(out, "\n");
    std::fprintf(out, "*xyz 0 1\n");
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "*\n");
    return close_with_tail(out, tail);
}

int FileIO::write_orca_mol_inp_RE(const char* path, int n, int* atypes, double* x, int max_core,
                                  int nprocs, const char* charge_multiplicity, const char* method,
                                  const char* basis, std::string tail) {
    FILE* out = open_orca_file(path);
    std::fprintf(out, "! opt freq %s %s NoUseSym\n", method, basis);
    std::fprintf(out, "\n");
    std::fprintf(out, "%%MaxCore %d\n", max_core);
    std::fprintf(out, "%%PAL NPROCS %d END\n", nprocs);
    std::fprintf(out, "\n");
    std::fprintf(out, "*xyz %s\n", charge_multiplicity);
    write_atom_lines(out, n, atypes, x);
    std::fprintf(out, "*\n");
    return close_with_tail(out, tail);
}

int FileIO::write_qchem_mol_inp_HL(const char* path, int n, int* atypes, double* x, int, int,
                                   const char* method, const char* basis, std::string tail) {
    FILE* out = open_qchem_file(path);
    write_qchem_molecule(out, "0 1", n, atypes, x);
    std::fprintf(out, "$rem\n");
    write_rem(out, "JOBTYPE", "SP");
    write_rem(out, "METHOD", method);
    write_rem(out, "BASIS", basis);
    write_rem(out, "EXCHANGE", "wb97x");
    write_rem(out, "gui", "2");
    end_rem_section(out);
    return close_with_tail(out, tail);
}

// Two chained jobs: the optimisation, then a frequency job that reads its geometry.
int FileIO::write_qchem_mol_inp_RE(const char* path, int n, int* atypes, double* x, int, int,
                                   const char* charge_multiplicity, const char* method,
                                   const char* basis, std::string tail) {
    FILE* out = open_qchem_file(path);
    write_qchem_molecule(out, charge_multiplicity, n, atypes, x);
    std::fprintf(out, "$rem\n");
    write_rem(out, "JOBTYPE", "opt");
    write_rem(out, "METHOD", method);
    write_rem(out, "BASIS", basis);
    end_rem_section(out);
    std::fprintf(out, "@@@\n\n");
    std::fprintf(out, "$molecule\n  read\n$end\n\n");
    std::fprintf(out, "$rem\n");
    write_rem(out, "JOBTYPE", "freq");
    write_rem(out, "METHOD", method);
    write_rem(out, "BASIS", basis);
    write_rem(out, "iprint", "10000000");
    write_rem(out, "gui", "2");
    end_rem_section(out);
    return close_with_tail(out, tail);
}
