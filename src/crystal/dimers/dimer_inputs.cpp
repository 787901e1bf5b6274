// Inputs for dimer calculations: per class the dimer and both monomers, all in the crystal's
// Cartesian frame (monomer A where it stands in the dimer, monomer B moved by t), so that the
// monomer orbitals can be projected onto the dimer's. Each fragment carries the charge of its
// species and the lowest multiplicity its electron count allows.
#include <cstdio>

#include "teska/dimers.h"
#include "teska/paths.h"

namespace teska {

namespace {

struct Fragment {
    std::vector<std::string> symbols;
    std::vector<std::string> labels;
    std::vector<std::array<double, 3>> x;
    std::vector<int> numbers;
    int charge = 0;
    int multiplicity = 1;
};

// Molecule m moved by its placement shift and by t, with its species' charge.
Fragment fragment_of(const Crystal& c, const DimerSet& set, int m, const std::array<int, 3>& t,
                     const DimerInputSettings& settings) {
    const Molecule& molecule = c.molecules()[static_cast<std::size_t>(m)];
    const DimerMolecule& placed = set.molecules[static_cast<std::size_t>(m)];
    const auto L = c.lattice();
    Fragment f;
    for (const auto& [formula, q] : settings.charges)
        if (formula == molecule.formula) f.charge = q;
    int electrons = -f.charge;
    for (int a = molecule.first_atom; a < molecule.first_atom + molecule.atom_count; ++a) {
        const auto sa = static_cast<std::size_t>(a);
        double fr[3];
        for (std::size_t d = 0; d < 3; ++d) fr[d] = c.fractional()[3 * sa + d] + placed.shift[d] + t[d];
        std::array<double, 3> x{{0, 0, 0}};
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t d = 0; d < 3; ++d) x[d] += fr[k] * L[k][d];
        f.symbols.push_back(c.symbol(a));
        f.labels.push_back(sa < c.labels().size() ? c.labels()[sa] : c.symbol(a));
        f.x.push_back(x);
        f.numbers.push_back(c.elements()[sa]);
        electrons += c.elements()[sa];
    }
    f.multiplicity = (electrons % 2 + 2) % 2 == 0 ? 1 : 2;
    return f;
}

int total_charge(const std::vector<Fragment>& fragments) {
    int q = 0;
    for (const Fragment& f : fragments) q += f.charge;
    return q;
}

int total_multiplicity(const std::vector<Fragment>& fragments) {
    int odd = 0;
    for (const Fragment& f : fragments) odd += f.multiplicity == 2 ? 1 : 0;
    return odd % 2 == 0 ? 1 : 2;
}

std::string coordinates(const std::array<double, 3>& x) {
    char text[96];
    std::snprintf(text, sizeof text, "%14.6f %14.6f %14.6f", x[0], x[1], x[2]);
    return text;
}

std::string xyz_text(const std::vector<Fragment>& fragments, const std::string& title) {
    std::string atoms;
    std::size_t n = 0;
    for (const Fragment& f : fragments)
        for (std::size_t a = 0; a < f.x.size(); ++a, ++n)
            atoms += f.symbols[a] + " " + coordinates(f.x[a]) + "\n";
    return std::to_string(n) + "\n" + title + "\n" + atoms;
}

// Chains A and B, one residue each.
std::string pdb_text(const std::vector<Fragment>& fragments, const std::string& title) {
    std::string text = "REMARK   1 " + title + "\n";
    int serial = 0;
    for (std::size_t k = 0; k < fragments.size(); ++k) {
        const Fragment& f = fragments[k];
        for (std::size_t a = 0; a < f.x.size(); ++a) {
            char line[128];
            std::snprintf(line, sizeof line,
                          "HETATM%5d %-4.4s MOL %c%4d    %8.3f%8.3f%8.3f  1.00  0.00          %2s\n",
                          ++serial, f.labels[a].c_str(), static_cast<char>('A' + k),
                          static_cast<int>(k) + 1, f.x[a][0], f.x[a][1], f.x[a][2],
                          f.symbols[a].c_str());
            text += line;
        }
        text += "TER\n";
    }
    return text + "END\n";
}

std::string gaussian_text(const std::vector<Fragment>& fragments, const std::string& title,
                          const DimerInputSettings& s) {
    std::string text = "%nprocshared=" + std::to_string(s.nprocs) + "\n%mem=" +
                       std::to_string(s.memory_mb) + "MB\n#P " + s.method + "/" + s.basis +
                       " NoSymm Pop=Full IOp(3/33=1)\n\n" + title + "\n\n";
    text += std::to_string(total_charge(fragments)) + " " + std::to_string(total_multiplicity(fragments));
    const bool fragmented = fragments.size() > 1;
    if (fragmented)
        for (const Fragment& f : fragments)
            text += " " + std::to_string(f.charge) + " " + std::to_string(f.multiplicity);
    text += "\n";
    for (std::size_t k = 0; k < fragments.size(); ++k)
        for (std::size_t a = 0; a < fragments[k].x.size(); ++a)
            text += fragments[k].symbols[a] +
                    (fragmented ? "(Fragment=" + std::to_string(k + 1) + ")" : std::string()) + " " +
                    coordinates(fragments[k].x[a]) + "\n";
    return text + "\n";
}

std::string orca_text(const std::vector<Fragment>& fragments, const std::string& title,
                      const DimerInputSettings& s) {
    std::string text = "# " + title + "\n! " + s.method + " " + s.basis + " NoSym\n%pal nprocs " +
                       std::to_string(s.nprocs) + " end\n%maxcore " + std::to_string(s.memory_mb) +
                       "\n%output Print[P_MOs] 1 Print[P_Overlap] 1 end\n* xyz " +
                       std::to_string(total_charge(fragments)) + " " +
                       std::to_string(total_multiplicity(fragments)) + "\n";
    const bool fragmented = fragments.size() > 1;
    for (std::size_t k = 0; k < fragments.size(); ++k)
        for (std::size_t a = 0; a < fragments[k].x.size(); ++a)
            text += fragments[k].symbols[a] +
                    (fragmented ? "(" + std::to_string(k + 1) + ")" : std::string()) + " " +
                    coordinates(fragments[k].x[a]) + "\n";
    return text + "*\n";
}

std::string qchem_text(const std::vector<Fragment>& fragments, const std::string& title,
                       const DimerInputSettings& s) {
    std::string text = "$comment\n" + title + "\n$end\n\n$molecule\n" +
                       std::to_string(total_charge(fragments)) + " " +
                       std::to_string(total_multiplicity(fragments)) + "\n";
    const bool fragmented = fragments.size() > 1;
    for (const Fragment& f : fragments) {
        if (fragmented)
            text += "--\n" + std::to_string(f.charge) + " " + std::to_string(f.multiplicity) + "\n";
        for (std::size_t a = 0; a < f.x.size(); ++a) text += f.symbols[a] + " " + coordinates(f.x[a]) + "\n";
    }
    return text + "$end\n\n$rem\nMETHOD " + s.method + "\nBASIS " + s.basis +
           "\nSYM_IGNORE TRUE\nPRINT_ORBITALS TRUE\nIPRINT 200\n$end\n";
}

void write_text(const std::string& path, const std::string& text) {
    FILE* out = std::fopen(path.c_str(), "wb");
    const bool written = out != nullptr && std::fwrite(text.data(), 1, text.size(), out) == text.size();
    if (out != nullptr && std::fclose(out) != 0) throw Error(path, 0, 0, "cannot write the file");
    if (!written) throw Error(path, 0, 0, "cannot write the file");
}

}  // namespace

std::vector<std::string> write_dimer_inputs(const Crystal& crystal, const DimerSet& set,
                                            const std::string& directory,
                                            const DimerInputSettings& settings) {
    for (Format f : settings.formats)
        if (f != Format::kXyz && f != Format::kPdb && !is_quantum_chemistry(f))
            throw Error(crystal.file(), 0, 0,
                        std::string("dimer inputs are xyz, pdb, gaussian, orca or qchem, not ") +
                            traits(f).name);
    if (set.molecules.size() != crystal.molecules().size())
        throw Error(crystal.file(), 0, 0, "the dimers given are not those of this crystal");
    std::vector<std::string> written;
    for (std::size_t k = 0; k < set.classes.size(); ++k) {
        const DimerClass& c = set.classes[k];
        char number[32];
        std::snprintf(number, sizeof number, "class_%02zu", k + 1);
        const std::string folder = directory + "/" + number;
        const std::string problem = make_directories(folder);
        if (!problem.empty()) throw Error(folder, 0, 0, problem);
        const Fragment a = fragment_of(crystal, set, c.i, {{0, 0, 0}}, settings);
        const Fragment b = fragment_of(crystal, set, c.j, c.t, settings);
        char pair[160];
        std::snprintf(pair, sizeof pair, "molecules %d and %d + (%d %d %d), contact %.3f A",
                      c.i, c.j, c.t[0], c.t[1], c.t[2], c.closest_contact);
        const std::string stem = crystal.title() + " class " + std::to_string(k + 1) + ": ";
        const struct {
            const char* name;
            std::vector<Fragment> fragments;
            std::string title;
        } jobs[] = {{"dimer", {a, b}, stem + "dimer of " + pair},
                    {"monomer_a", {a}, stem + "monomer A, " + c.formula_a},
                    {"monomer_b", {b}, stem + "monomer B, " + c.formula_b}};
        for (const auto& job : jobs)
            for (Format f : settings.formats) {
                std::string text;
                switch (f) {
                    case Format::kPdb: text = pdb_text(job.fragments, job.title); break;
                    case Format::kGaussian: text = gaussian_text(job.fragments, job.title, settings); break;
                    case Format::kOrca: text = orca_text(job.fragments, job.title, settings); break;
                    case Format::kQchem: text = qchem_text(job.fragments, job.title, settings); break;
                    default: text = xyz_text(job.fragments, job.title); break;
                }
                const std::string path = folder + "/" + job.name + traits(f).extension;
                write_text(path, text);
                written.push_back(path);
            }
    }
    return written;
}

}  // namespace teska
