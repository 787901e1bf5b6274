// FileIO: the structure store. Every reader fills it, the crystal pipeline turns it into
// whole molecules, and every writer reads it. One class; its members are defined in
// src/fileio/, one source file per concern.
#ifndef FILEIO_H
#define FILEIO_H

#include <cstdio>
#include <istream>
#include <map>
#include <string>
#include <vector>

// Process-wide switch for the "Writing file"/"Reading file" progress lines. False, and
// nothing sets it, so those lines stay silent.
extern bool bverbose_local;

// ---------------------------------------------------------------------------------------
// Element table: row = atomic number, row 0 a blank dummy, rows 1..103 H..Lr.
struct ElementRecord {
    char symbol[8];       // two characters, one-letter symbols padded with a blank
    double mass;          // dalton
    int covalent_radius;  // 1/250 angstrom
    int vdw_radius;       // 1/250 angstrom
    int colour_index;     // display colour, carried as data only
    const char* name;     // upper case, British spelling
};

constexpr int kElementRows = 104;
constexpr int kBondingRadiusEntries = 106;
extern const ElementRecord Elements_m[kElementRows];
// Bonding radii (angstrom) used by the crystal path; entry 0 can never bond.
extern const double nw_elem_radius_m[kBondingRadiusEntries];

// ---------------------------------------------------------------------------------------
// Atom-site columns of a CIF file, as read (text).
class Atoms {
   public:
    std::vector<std::string> cif_atom_label;
    std::vector<std::string> cif_atom_symbol;
    std::vector<std::string> cif_fx;
    std::vector<std::string> cif_fy;
    std::vector<std::string> cif_fz;
    ~Atoms();
};

// Bond-list columns of a CIF file, as read (text).
class Bonds {
   public:
    std::vector<std::string> bond_label1;
    std::vector<std::string> bond_label2;
    std::vector<std::string> bond_distance;
    std::vector<std::string> bond_symmetry;
    std::vector<std::string> bond_type;
    ~Bonds();
};

class FileIO {
   public:
    // ===== Store (fields in declaration order, defaults set by the constructor) =====
    bool is_periodic = false;
    int spacegroup_number = -1;
    std::string spare_text_1, spare_text_2, spare_text_3, spare_text_4;
    std::string identifier = "teska";
    std::string chemical_name;
    std::string spacegroup_name;
    std::vector<std::string> cif_symops;
    double cell_latt[6] = {0, 0, 0, 0, 0, 0};  // a, b, c (angstrom), alpha, beta, gamma (deg)
    Atoms cif_atoms;
    Bonds cif_bonds;
    int natoms_cif = 0;
    int* cif_atypes = nullptr;     // element row per crystal atom (-1 unknown)
    double* cif_x_s = nullptr;     // fractional, 3 per atom
    double* cif_x = nullptr;       // Cartesian angstrom, 3 per atom
    double* cif_radius = nullptr;  // bonding radius per atom while a CIF is read
    std::vector<std::string> mdl_tokens;
    std::map<int, int> mdl_atom_index;
    bool print_details = false;
    std::string data_dir = "data";
    std::string input_filename;
    std::vector<int> mol_natoms_list;  // atoms per separated molecule
    std::vector<int> mol_atom_list;    // crystal atom indices, molecule after molecule
    double cell_latt3x3[3][3] = {};    // columns a, b, c: Cartesian = L * fractional
    double cell_latt3x3_inv[3][3] = {};
    double cell_vectors[3][3] = {};  // rows a, b, c
    int* mol_natoms = nullptr;
    int** mol_atypes = nullptr;
    double** mol_x = nullptr;
    double** mol_x_s = nullptr;
    double** mol_extra_a = nullptr;  // 3 doubles per molecule
    double** mol_extra_b = nullptr;  // 3 doubles per molecule
    double* mol_value = nullptr;
    int* mol_ids = nullptr;
    double cell_latt3x3_copy[3][3] = {};
    double supercell_latt3x3[3][3] = {};
    int supercell_n[3] = {1, 1, 1};
    double cell_lengths[3] = {0, 0, 0};
    int input_kind = 0;  // 1: list of molfiles, 2: CIF already read
    int nmols = 0;
    char** mol_file_names = nullptr;
    // Duplicate-molecule check
    double** mol_triple = nullptr;  // 3 doubles per molecule
    int* re_mol_index = nullptr;
    int* re_unique_index = nullptr;
    int re_nunique = 0;
    int* hl_mol_index = nullptr;
    int* hl_unique_index = nullptr;
    int hl_nunique = 0;
    std::string log_suffix = "log";
    std::string fchk_suffix = "fchk";
    std::string orca_output_block =
        "%output\n"
        "  PrintLevel=Normal\n"
        "  Print[ P_Basis       ] 2\n"
        "  Print[ P_Overlap     ] 1\n"
        "  Print[ P_OrbEn       ] 1\n"
        "  Print[ P_MOs         ] 1\n"
        "end\n";
    double bond_scale = 1.15;
    std::vector<double> spare_list_1, spare_list_2;

    FileIO();
    ~FileIO();

    // ===== Accessors and molfile hooks (store.cpp) =====
    int* get_cif_atypes();
    double* get_cif_x();
    double* get_cif_x_s();
    void get_cif_lattice_vectors(double* a, double* b, double* c);
    std::string get_cif_atom_symbol(int i);
    double* get_cell_latt();
    const char* get_identifier();
    void set_cell_lattice(double* lengths, double alpha, double beta, double gamma);
    bool AddBond(int, int, int, int);
    void SetFormalCharge(int);
    void SetSpinMultiplicity(int);
    void SetIsotope(int);

    // ===== Element table lookups (elements.cpp) =====
    void find_element_name_from_mass(double mass, char* symbol);
    int find_element_index_from_name(const char* name);
    double find_element_radius_from_name(const char* name);
    void find_element_name_from_index(int row, char* symbol);
    double find_element_mass_from_index(int row);
    double find_element_radius_from_index_nw(int row);
    double find_element_radius_from_index(int row);

    // ===== Cell geometry (cell.cpp) =====
    void cell_cell6_to_latt3x3(double* cell6, double latt[3][3]);
    void coord_f2c(double& x, double& y, double& z);
    void coord_c2f(double& x, double& y, double& z);
    void coord_f2c(double* f, double* r);
    void coord_c2f(double* r, double* f);
    void PBC_scaled_x_wrap(double* f);
    void PBC_scaled_disp_wrap(double* d);

    // ===== CIF reading and symmetry (cif_read.cpp, symops.cpp, expand.cpp) =====
    void read_data_cif(const char* filename, bool verbose);
    void ParseTransformString(const std::string& op, double rot[3][3], double trans[3]);
    void make_spacegroup_P1(int fractional);

    // ===== Molecule building (bonds.cpp, separation.cpp, whole_molecule.cpp, pipeline.cpp) =====
    void find_bond_atom(int natoms, int* flags, int nlist, int* list, int* first, int* second,
                        double* distance);
    void find_bond_atom_cart(int natoms, int* flags, int nlist, int* list, int* first, int* second,
                             double* distance);
    void find_bond_atom_one(int natoms, double* x_s, double* radius, int* flags, int nlist,
                            int* list, int* first, int* second, double* distance);
    void separate_cif_molecules(bool verbose);
    void separate_gjf_molecules(bool verbose);
    void make_whole_molecule(int imol, int natoms, int* atypes, double* x_s, bool verbose);
    void read_crystal_strcuture_files(bool verbose, bool write_side_files);

    // ===== PDB writer and crystal conversions (pdb_write.cpp, conversions.cpp) =====
    int write_cif2pdb(const char* input, const char* output, bool verbose, bool write_side_files);
    int write_cif_unwrap(const char* input, const char* output, bool verbose,
                         bool write_side_files);
    int write_cif2mol(const char* input, const char* prefix, bool verbose, bool write_side_files);
    int write_cif2xyz(const char* input, const char* prefix, bool verbose, bool write_side_files);
    int write_cif2gjf(const char* input, const char* prefix, bool verbose, bool write_side_files,
                      int value1, int value2, const char* text);
    int write_cif_expand(const char* input, const char* output, bool verbose, bool write_side_files,
                         int na, int nb, int nc, bool also_pdb);

    // ===== Structure file writers (xyz_mol_write.cpp, cif_write.cpp, supercell_pdb_write.cpp)
    // =====
    int write_data_xyz(const char* path);
    int write_data_xyz(const char* path, int n, int* atypes, double* x);
    int write_data_mol(const char* path);
    int write_data_mol(const char* path, int n, int* atypes, double* x);
    int write_data_cif(const char* path, bool fractional);
    int write_unitcell_cif(const char* path, int nmol, int* natoms, int** atypes, double** x);
    int write_supercell_cif(const char* path, int nmol, int* natoms, int** atypes, double** x,
                            int na, int nb, int nc);
    int write_supercell_pdb(const char* path, int nmol, int* natoms, int** atypes, double** x,
                            int na, int nb, int nc);
    void write_cif_mol_one(FILE* out, int first, int n, int* atypes, double* x, double* shift,
                           double scale, int group);

    // ===== Quantum-chemistry input writers (qchem_write.cpp) =====
    int write_data_gjf_one(const char* path, int n, int* atypes, double* x, int nprocs,
                           int memory_mb, const char* method);
    int write_gau_mol_com_HL(const char* path, int n, int* atypes, double* x, const char* title,
                             const char* checkpoint, const char* method, int memory_mb, int unused,
                             int nprocs, std::string tail);
    int write_gau_mol_com_RE(const char* path, int n, int* atypes, double* x, const char* title,
                             const char* checkpoint, const char* charge_multiplicity,
                             const char* method, int memory_mb, int unused, int nprocs,
                             std::string tail);
    int write_orca_mol_inp_HL(const char* path, int n, int* atypes, double* x, int max_core,
                              int nprocs, const char* method, const char* basis, std::string tail);
    int write_orca_mol_inp_RE(const char* path, int n, int* atypes, double* x, int max_core,
                              int nprocs, const char* charge_multiplicity, const char* method,
                              const char* basis, std::string tail);
    int write_qchem_mol_inp_HL(const char* path, int n, int* atypes, double* x, int unused1,
                               int unused2, const char* method, const char* basis,
                               std::string tail);
    int write_qchem_mol_inp_RE(const char* path, int n, int* atypes, double* x, int unused1,
                               int unused2, const char* charge_multiplicity, const char* method,
                               const char* basis, std::string tail);

    // ===== Duplicate-molecule check (duplicates.cpp) =====
    bool RE_mols_if_the_same(int i, int j);
    bool HL_mols_if_the_same(int i, int j);
    void RE_check_unitcell_same_mols(bool verbose);
    void HL_check_unitcell_same_mols(bool verbose);
    int write_mol_files();
    int write_mol_files(const char* prefix);

    // ===== MDL molfile reader (mdl_read.cpp) =====
    void read_data_mol(const char* path, int slot, bool show_progress);
    bool ReadV3000Block(std::istream& in, int slot, bool show_progress);
    bool ReadV3000Line(std::istream& in, std::vector<std::string>& token_list);
    bool ReadAtomBlock(std::istream& in);
    bool ReadBondBlock(std::istream& in);
    bool ReadRGroupBlock(std::istream& in);
    bool ReadUnimplementedBlock(std::istream& in, std::string& blockname);

    // ===== PDB and XYZ readers (pdb_xyz_read.cpp) =====
    void read_data_pdb(const char* path);
    void read_data_xyz(const char* path);

   private:
    // Molfile source of the crystal pipeline (pipeline_molfiles.cpp).
    void read_molfile_molecules(bool verbose);
    void derive_molfile_fractions_and_cell();
};

#endif  // FILEIO_H
