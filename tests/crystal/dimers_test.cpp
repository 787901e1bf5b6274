// Neighbour pairs: goldens reasoned from the packing of naphthalene and benzene, the same
// crystal described other ways, the cutoff deciding per class, mixed pairs of a cocrystal,
// refusals, and the accounting of every shared file checked against a plain search.
#include "teska/dimers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <tuple>

#include "teska/crystal.h"
#include "test_support.h"

namespace {

using teska::Crystal;
using teska::DimerClass;
using teska::DimerSet;

double length(const std::array<double, 3>& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

std::array<double, 3> lattice_sum(const Crystal& c, double fa, double fb, double fc) {
    const auto L = c.lattice();
    std::array<double, 3> v{};
    for (std::size_t d = 0; d < 3; ++d) v[d] = fa * L[0][d] + fb * L[1][d] + fc * L[2][d];
    return v;
}

const DimerClass* class_at(const DimerSet& set, double com_distance) {
    for (const DimerClass& c : set.classes)
        if (std::fabs(c.com_distance - com_distance) < 1e-3) return &c;
    return nullptr;
}

bool has_name(const DimerClass& c, const std::string& name) {
    return std::find(c.relation_names.begin(), c.relation_names.end(), name) !=
           c.relation_names.end();
}

// Naphthalene (P2_1/a or P2_1/c, Z = 2) sits on the inversion centres at the origin and at the
// centre of the face the screw axis crosses: the herringbone edge-to-face neighbours lie half a
// face diagonal away, four per molecule, made by the screw (or equally the glide); the parallel
// neighbours one short b axis away, two per molecule, by translation.
TEST(Dimers, NaphthaleneHerringbone) {
    struct Case {
        std::string path;
        double face[3];  // the face diagonal from the origin molecule to the other
    };
    const Case cases[] = {{test_support::example("naphthalene.cif"), {0, 1, 1}},
                          {test_support::shared_cif("cod_2100603_naphthalene.cif"), {1, 1, 0}}};
    for (const Case& k : cases) {
        if (k.path.empty()) continue;
        SCOPED_TRACE(k.path);
        const Crystal c = Crystal::read(k.path);
        const DimerSet set = teska::find_dimers(c);
        const double diagonal = 0.5 * length(lattice_sum(c, k.face[0], k.face[1], k.face[2]));
        const DimerClass* edge = class_at(set, diagonal);
        ASSERT_NE(edge, nullptr) << diagonal;
        EXPECT_EQ(edge->multiplicity, 4);
        EXPECT_EQ(edge->neighbours, 4);
        EXPECT_NE(edge->i, edge->j);
        EXPECT_TRUE(has_name(*edge, "2-fold screw"));
        EXPECT_TRUE(has_name(*edge, "glide"));
        const DimerClass* stack = class_at(set, c.cell()[1]);
        ASSERT_NE(stack, nullptr);
        EXPECT_EQ(stack->neighbours, 2);
        EXPECT_EQ(stack->multiplicity, 2);
        EXPECT_EQ(stack->t, (std::array<int, 3>{{0, 1, 0}}));
        EXPECT_TRUE(has_name(*stack, "translation"));
        EXPECT_EQ(set.dimers_per_cell, 14);
        for (const DimerClass& d : set.classes) EXPECT_EQ(d.formula_a, "C10H8");
    }
}

// Benzene (Pbca, Z = 4, molecules on inversion centres) packs with twelve neighbours per
// molecule: three classes, one per 2_1 screw axis, each four neighbours of every molecule.
TEST(Dimers, BenzeneTwelveNeighbours) {
    SKIP_WITHOUT_SHARED_CIFS();
    const DimerSet set =
        teska::find_dimers(Crystal::read(test_support::shared_cif("cod_2100348_benzene.cif")));
    EXPECT_DOUBLE_EQ(set.neighbours_per_molecule(), 12.0);
    ASSERT_EQ(set.classes.size(), 3u);
    for (const DimerClass& c : set.classes) {
        EXPECT_EQ(c.multiplicity, 8);
        EXPECT_EQ(c.neighbours, 4);
        EXPECT_TRUE(has_name(c, "2-fold screw"));
    }
}

// (closest contact, centre distance) of every dimer of the cell, rounded, with its count per
// cell of the original crystal.
std::map<std::pair<long, long>, double> contacts_per_cell(const DimerSet& set, int cells) {
    std::map<std::pair<long, long>, double> counts;
    for (const DimerClass& c : set.classes)
        counts[{std::lround(c.closest_contact * 1e4), std::lround(c.com_distance * 1e4)}] +=
            static_cast<double>(c.multiplicity) / cells;
    return counts;
}

// The same crystal written out in P1 and as a 2x1x1 supercell, read back: the same pairs per
// cell, though every pair is now a class of its own.
TEST(Dimers, SameCrystalOtherDescriptions) {
    SKIP_WITHOUT_SHARED_CIFS();
    test_support::ScratchDir dir;
    for (const char* name : {"cod_2100603_naphthalene.cif", "cod_2100348_benzene.cif"}) {
        SCOPED_TRACE(name);
        const Crystal original = Crystal::read(test_support::shared_cif(name));
        const auto expected = contacts_per_cell(teska::find_dimers(original), 1);
        for (const auto& [file, cells] : {std::pair{"p1.cif", 1}, std::pair{"super.cif", 2}}) {
            teska::WriteSettings settings;
            settings.format = teska::Format::kCif;
            settings.supercell[0] = cells;
            original.write(dir.file(file), settings);
            const DimerSet set = teska::find_dimers(Crystal::read(dir.file(file)));
            EXPECT_EQ(contacts_per_cell(set, cells), expected) << file;
        }
    }
}

// A P1 CIF of the crystal's atoms, listed in the order given, in the cell whose axes are the
// rows of basis (integers) times the crystal's axes; fractional coordinates f become f inverse.
std::string p1_cif(const Crystal& c, const std::vector<int>& order, const int basis[3][3],
                   const int inverse[3][3]) {
    const auto L = c.lattice();
    std::array<std::array<double, 3>, 3> axes{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t k = 0; k < 3; ++k)
            for (std::size_t d = 0; d < 3; ++d) axes[i][d] += basis[i][k] * L[k][d];
    const auto angle = [&](std::size_t i, std::size_t j) {
        const double cosine =
            (axes[i][0] * axes[j][0] + axes[i][1] * axes[j][1] + axes[i][2] * axes[j][2]) /
            (length(axes[i]) * length(axes[j]));
        return std::acos(cosine) * 180.0 / std::acos(-1.0);
    };
    char line[256];
    std::snprintf(line, sizeof line,
                  "data_p1\n_cell_length_a %.10f\n_cell_length_b %.10f\n_cell_length_c %.10f\n"
                  "_cell_angle_alpha %.10f\n_cell_angle_beta %.10f\n_cell_angle_gamma %.10f\n",
                  length(axes[0]), length(axes[1]), length(axes[2]), angle(1, 2), angle(0, 2),
                  angle(0, 1));
    std::string cif = line;
    cif +=
        "_symmetry_space_group_name_H-M 'P 1'\nloop_\n_symmetry_equiv_pos_as_xyz\n'x,y,z'\n"
        "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
        "_atom_site_fract_y\n_atom_site_fract_z\n";
    for (int a : order) {
        const double* f = &c.fractional()[3 * static_cast<std::size_t>(a)];
        double g[3];
        for (int j = 0; j < 3; ++j)
            g[j] = f[0] * inverse[0][j] + f[1] * inverse[1][j] + f[2] * inverse[2][j];
        std::snprintf(line, sizeof line, "%s%d %s %.10f %.10f %.10f\n", c.symbol(a).c_str(), a + 1,
                      c.symbol(a).c_str(), g[0], g[1], g[2]);
        cif += line;
    }
    return cif;
}

// The same P1 crystal with its atoms listed backwards, and in the cell a + b, b, c: the same
// pairs.
TEST(Dimers, ShuffledAtomsAndAnotherCell) {
    const Crystal c = Crystal::read(test_support::example("naphthalene.cif"));
    std::vector<int> forwards, backwards;
    for (int a = 0; a < c.atom_count(); ++a) forwards.push_back(a);
    backwards.assign(forwards.rbegin(), forwards.rend());
    const int same[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const int sheared[3][3] = {{1, 1, 0}, {0, 1, 0}, {0, 0, 1}},
              unsheared[3][3] = {{1, -1, 0}, {0, 1, 0}, {0, 0, 1}};
    const auto expected = contacts_per_cell(teska::find_dimers(c), 1);
    for (const Crystal& variant :
         {Crystal::read_text(p1_cif(c, backwards, same, same), "cif", "backwards.cif"),
          Crystal::read_text(p1_cif(c, forwards, sheared, unsheared), "cif", "sheared.cif")}) {
        ASSERT_EQ(variant.molecules().size(), 2u);
        EXPECT_EQ(contacts_per_cell(teska::find_dimers(variant), 1), expected);
    }
}

// Naphthalene's P2_1/c cell in the P2_1/a setting (a' = c, b' = -b, c' = a; the operations
// -x+1/2,y+1/2,-z and x+1/2,-y+1/2,z): the same pairs, classes and multiplicities.
TEST(Dimers, AnotherSettingOfTheSpaceGroup) {
    const std::string path = test_support::example("naphthalene.cif");
    const Crystal original = Crystal::read(path);
    std::string cif =
        "data_p21a\n_cell_length_a 8.2350\n_cell_length_b 6.0030\n_cell_length_c 8.6580\n"
        "_cell_angle_alpha 90\n_cell_angle_beta 122.920\n_cell_angle_gamma 90\nloop_\n"
        "_symmetry_equiv_pos_as_xyz\n'x,y,z'\n'-x+1/2,y+1/2,-z'\n'-x,-y,-z'\n'x+1/2,-y+1/2,z'\n"
        "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
        "_atom_site_fract_y\n_atom_site_fract_z\n";
    std::istringstream lines(test_support::read_file(path));
    int sites = 0;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string label, type, x, y, z;
        if (!(words >> label >> type >> x >> y >> z) || (type != "C" && type != "H")) continue;
        const double f[3] = {std::atof(x.c_str()), std::atof(y.c_str()), std::atof(z.c_str())};
        char row[128];
        std::snprintf(row, sizeof row, "%s %s %.4f %.4f %.4f\n", label.c_str(), type.c_str(), f[2],
                      -f[1], f[0]);
        cif += row;
        ++sites;
    }
    ASSERT_EQ(sites, 9);
    const Crystal other = Crystal::read_text(cif, "cif", "p21a.cif");
    const DimerSet a = teska::find_dimers(original), b = teska::find_dimers(other);
    EXPECT_EQ(contacts_per_cell(b, 1), contacts_per_cell(a, 1));
    ASSERT_EQ(b.classes.size(), a.classes.size());
    for (std::size_t k = 0; k < a.classes.size(); ++k)
        EXPECT_EQ(b.classes[k].multiplicity, a.classes[k].multiplicity);
}

// A cutoff a hair above a class's contact takes the whole class, a hair below leaves it out.
TEST(Dimers, CutoffDecidesPerClass) {
    const Crystal c = Crystal::read(test_support::example("naphthalene.cif"));
    const DimerSet all = teska::find_dimers(c);
    for (const DimerClass& k : all.classes) {
        SCOPED_TRACE(k.closest_contact);
        const DimerSet above = teska::find_dimers(c, k.closest_contact + 1e-9);
        const DimerSet below = teska::find_dimers(c, k.closest_contact - 1e-9);
        ASSERT_FALSE(above.classes.empty());
        EXPECT_EQ(above.classes.back().multiplicity, k.multiplicity);
        EXPECT_TRUE(above.classes.back().near_cutoff);
        EXPECT_EQ(above.dimers_per_cell - below.dimers_per_cell, k.multiplicity);
    }
    // Without hydrogens the contacts are between carbons only, and no shorter.
    const DimerSet heavy = teska::find_dimers(c, 4.0, true);
    for (const DimerClass& k : heavy.classes) {
        EXPECT_EQ(c.symbol(k.contact_atoms[0]), "C");
        EXPECT_EQ(c.symbol(k.contact_atoms[1]), "C");
    }
    EXPECT_LT(heavy.dimers_per_cell, all.dimers_per_cell);
}

// A butadiyne rod lying across a short 3.2 A axis: its images one and two cells along are both
// within a 7 A cutoff, as dimers (0, 0, a) and (0, 0, 2a) at contacts a and 2a.
TEST(Dimers, ShortAxisGivesTAndTwiceT) {
    std::string cif =
        "data_rod\n_cell_length_a 3.2\n_cell_length_b 12\n_cell_length_c 12\n"
        "_cell_angle_alpha 90\n_cell_angle_beta 90\n_cell_angle_gamma 90\n"
        "_symmetry_space_group_name_H-M 'P 1'\nloop_\n_symmetry_equiv_pos_as_xyz\n'x,y,z'\n"
        "loop_\n_atom_site_label\n_atom_site_type_symbol\n_atom_site_fract_x\n"
        "_atom_site_fract_y\n_atom_site_fract_z\n";
    const char* symbols[] = {"H", "C", "C", "C", "C", "H"};
    const double along_b[] = {0.0, 1.06, 2.26, 3.63, 4.83, 5.89};  // angstrom
    for (int k = 0; k < 6; ++k)
        cif += symbols[k] + std::to_string(k + 1) + " " + symbols[k] + " 0.5 " +
               std::to_string(0.25 + along_b[k] / 12.0) + " 0.5\n";
    const Crystal c = Crystal::read_text(cif, "cif", "rod.cif");
    ASSERT_EQ(c.molecules().size(), 1u);
    const DimerSet set = teska::find_dimers(c, 7.0);
    const auto at = [&](const std::array<int, 3>& t) -> const DimerClass* {
        for (const DimerClass& k : set.classes)
            if (k.t == t) return &k;
        return nullptr;
    };
    const DimerClass* one = at({{1, 0, 0}});
    const DimerClass* two = at({{2, 0, 0}});
    ASSERT_NE(one, nullptr);
    ASSERT_NE(two, nullptr);
    EXPECT_NEAR(one->closest_contact, 3.2, 1e-6);
    EXPECT_NEAR(two->closest_contact, 6.4, 1e-6);
    EXPECT_EQ(at({{3, 0, 0}}), nullptr);
    EXPECT_EQ(two->relation, std::vector<std::string>{"x+2,y,z"});
}

// No operation maps one kind of molecule onto another: in a cocrystal and in a salt (the
// tetraphenylarsonium and tetraphenylborate ions) mixed pairs have no relation; a framework
// has no dimers at all.
TEST(Dimers, CocrystalSaltAndFramework) {
    SKIP_WITHOUT_SHARED_CIFS();
    for (const char* name : {"cod_2007325_cocrystal.cif", "cod_2101915_ph4as_ph4b.cif"}) {
        SCOPED_TRACE(name);
        const DimerSet set = teska::find_dimers(Crystal::read(test_support::shared_cif(name)));
        int mixed = 0;
        for (const DimerClass& c : set.classes) {
            if (c.formula_a == c.formula_b) continue;
            ++mixed;
            EXPECT_TRUE(c.relation.empty());
        }
        EXPECT_GT(mixed, 0);
    }
    const std::string framework = test_support::shared_cif("cod_1000000_alpo_template.cif");
    try {
        teska::find_dimers(Crystal::read(framework));
        ADD_FAILURE() << "a framework has no dimers";
    } catch (const teska::Error& e) {
        EXPECT_EQ(e.file(), framework);
        EXPECT_NE(e.message().find("periodic image"), std::string::npos) << e.message();
    }
}

// The lines of a file that start with prefix.
std::vector<std::string> lines_starting(const std::string& path, const std::string& prefix) {
    std::vector<std::string> lines;
    std::istringstream in(test_support::read_file(path));
    for (std::string line; std::getline(in, line);)
        if (line.compare(0, prefix.size(), prefix) == 0) lines.push_back(line);
    return lines;
}

// The inputs of every class read back: the dimer's XYZ file is two molecules at the class's
// closest contact; Gaussian's fragment 1 is molecule A and fragment 2 the atoms of monomer B's
// file, to 1e-4 angstrom; the charges of two cations add up; PDB chains A and B.
TEST(Dimers, CalculationInputsReadBack) {
    const Crystal c = Crystal::read(test_support::example("naphthalene.cif"));
    const DimerSet set = teska::find_dimers(c);
    test_support::ScratchDir dir;
    teska::DimerInputSettings settings;
    settings.formats = {teska::Format::kXyz, teska::Format::kPdb, teska::Format::kGaussian,
                        teska::Format::kOrca, teska::Format::kQchem};
    settings.charges = {{"C10H8", 1}};
    const auto written = teska::write_dimer_inputs(c, set, dir.path(), settings);
    EXPECT_EQ(written.size(), set.classes.size() * 3 * 5);
    for (std::size_t k = 0; k < set.classes.size(); ++k) {
        const DimerClass& d = set.classes[k];
        SCOPED_TRACE(k);
        const std::string folder = dir.path() + "/class_0" + std::to_string(k + 1) + "/";
        const Crystal dimer = Crystal::read(folder + "dimer.xyz");
        ASSERT_EQ(dimer.molecules().size(), 2u);
        double closest = 1e9;
        const auto& x = dimer.positions();
        for (int a = 0; a < 18; ++a)
            for (int b = 18; b < 36; ++b)
                closest =
                    std::min(closest, std::hypot(x[3 * b] - x[3 * a], x[3 * b + 1] - x[3 * a + 1],
                                                 x[3 * b + 2] - x[3 * a + 2]));
        EXPECT_NEAR(closest, d.closest_contact, 1e-4);
        // Fragment 1: molecule A's first atom where the crystal has it, moved by its placement;
        // fragment 2: monomer B's file, atom for atom.
        const auto& f = c.fractional();
        const auto& shift = set.molecules.at(d.i).shift;
        const int first = 3 * c.molecules().at(d.i).first_atom;
        const Crystal b = Crystal::read(folder + "monomer_b.xyz");
        const std::array<double, 3> expected[2] = {
            lattice_sum(c, f[first] + shift[0], f[first + 1] + shift[1], f[first + 2] + shift[2]),
            {b.positions()[0], b.positions()[1], b.positions()[2]}};
        for (int fragment = 1; fragment <= 2; ++fragment) {
            const std::string head = "C(Fragment=" + std::to_string(fragment) + ")";
            const auto lines = lines_starting(folder + "dimer.com", head);
            double g[3];
            ASSERT_FALSE(lines.empty());
            ASSERT_EQ(
                std::sscanf(lines[0].c_str() + head.size(), "%lf %lf %lf", &g[0], &g[1], &g[2]), 3);
            for (int i = 0; i < 3; ++i)
                EXPECT_NEAR(g[i], expected[fragment - 1][i], 1e-4) << fragment;
        }
        // Two C10H8+ doublets: the dimer 2+, each fragment 1+ doublet.
        EXPECT_EQ(lines_starting(folder + "dimer.com", "2 1 1 2 1 2").size(), 1u);
        EXPECT_EQ(lines_starting(folder + "monomer_a.inp", "* xyz 1 2").size(), 1u);
        EXPECT_EQ(lines_starting(folder + "dimer.inp", "C(2)").size(), 10u);
        EXPECT_EQ(lines_starting(folder + "dimer.in", "--").size(), 2u);
        EXPECT_EQ(lines_starting(folder + "dimer.pdb", "HETATM").size(), 36u);
        EXPECT_NE(test_support::read_file(folder + "dimer.pdb").find(" MOL B   2 "),
                  std::string::npos);
    }
}

// The picture holds the central molecule and each of its 14 neighbours once, every neighbour in
// the group of its class: as many groups of a class as the class gives each molecule.
TEST(Dimers, PictureDrawsEveryNeighbourOnce) {
    const Crystal c = Crystal::read(test_support::example("naphthalene.cif"));
    const DimerSet set = teska::find_dimers(c);
    const std::string svg = teska::dimers_svg(c, set);
    const auto count = [&](const std::string& what) {
        int n = 0;
        for (std::size_t at = svg.find(what); at != std::string::npos; at = svg.find(what, at + 1))
            ++n;
        return n;
    };
    EXPECT_EQ(svg.compare(0, 5, "<?xml"), 0);
    EXPECT_EQ(count("<circle"), 15 * 18);
    EXPECT_EQ(count("<line"), 15 * 19);
    EXPECT_EQ(count("<g class=\"centre\""), 1);
    for (std::size_t k = 0; k < set.classes.size(); ++k)
        EXPECT_EQ(count("<g class=\"class-" + std::to_string(k + 1) + "\""),
                  set.classes[k].neighbours)
            << k;
    EXPECT_EQ(count("</g>"), count("<g"));
}

TEST(Dimers, SymmetryCodesAndNames) {
    struct Case {
        double r[3][3];
        double t[3];
        const char* code;
        const char* name;
    };
    const Case cases[] = {
        {{{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, {0.5, 0.5, 0}, "-x+1/2,y+1/2,-z", "2-fold screw"},
        {{{-1, 0, 0}, {0, 1, 0}, {0, 0, -1}}, {0, 0, 0.5}, "-x,y,-z+1/2", "2-fold rotation"},
        {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}, {0.5, 0.5, 0}, "x+1/2,-y+1/2,z", "glide"},
        {{{1, 0, 0}, {0, -1, 0}, {0, 0, 1}}, {0, 1, 0}, "x,-y+1,z", "mirror"},
        {{{-1, 0, 0}, {0, -1, 0}, {0, 0, -1}}, {1, 0, -1}, "-x+1,-y,-z-1", "inversion"},
        {{{1, 0, 0}, {0, 1, 0}, {0, 0, 1}}, {0, 1, 0}, "x,y+1,z", "translation"},
        {{{0, -1, 0}, {1, -1, 0}, {0, 0, 1}}, {0, 0, 1.0 / 3}, "-y,x-y,z+1/3", "3-fold screw"},
        {{{0, 1, 0}, {-1, 0, 0}, {0, 0, -1}}, {0, 0, 0}, "y,-x,-z", "4-fold rotoinversion"},
    };
    for (const Case& k : cases) {
        teska::SymmetryOperation op;
        for (int i = 0; i < 3; ++i) {
            op.t[i] = k.t[i];
            for (int j = 0; j < 3; ++j) op.r[i][j] = k.r[i][j];
        }
        EXPECT_EQ(teska::symmetry_code(op), k.code);
        EXPECT_EQ(teska::operation_name(op), k.name) << k.code;
    }
}

// Every shared file the reader takes: the classes partition a plain search of a wide box of
// translations, each orbit is in rule form and its size divides the operations; files the
// dimers refuse name themselves.
TEST(Dimers, AccountingOnEverySharedFile) {
    SKIP_WITHOUT_SHARED_CIFS();
    int checked = 0;
    for (const std::string& file : test_support::shared_cif_names()) {
        const std::string path = test_support::shared_cif(file);
        std::unique_ptr<Crystal> c;
        try {
            c = std::make_unique<Crystal>(Crystal::read(path));
        } catch (const teska::Error&) {
            continue;
        }
        SCOPED_TRACE(file);
        DimerSet set;
        try {
            set = teska::find_dimers(*c);
        } catch (const teska::Error& e) {
            EXPECT_EQ(e.file(), path);
            continue;
        }
        ++checked;
        int total = 0;
        std::set<std::tuple<int, int, std::array<int, 3>>> seen;
        for (const DimerClass& k : set.classes) {
            total += k.multiplicity;
            EXPECT_EQ(static_cast<int>(k.orbit.size()), k.multiplicity);
            EXPECT_EQ(set.operations % k.multiplicity, 0);
            EXPECT_LT(k.closest_contact, set.cutoff);
            for (const teska::Dimer& d : k.orbit) {
                EXPECT_TRUE(d.i < d.j || (d.i == d.j && d.t > (std::array<int, 3>{{0, 0, 0}})));
                EXPECT_TRUE(seen.insert({d.i, d.j, d.t}).second) << "a dimer in two classes";
            }
        }
        EXPECT_EQ(total, set.dimers_per_cell);
        if (c->atom_count() > 400) continue;
        // Every pair of molecules within the cutoff, over translations up to 3 cells.
        const auto& mols = c->molecules();
        const auto& f = c->fractional();
        int plain = 0;
        for (std::size_t i = 0; i < mols.size(); ++i)
            for (std::size_t j = i; j < mols.size(); ++j)
                for (int t0 = -3; t0 <= 3; ++t0)
                    for (int t1 = -3; t1 <= 3; ++t1)
                        for (int t2 = -3; t2 <= 3; ++t2) {
                            const std::array<int, 3> t{{t0, t1, t2}};
                            if (i == j && !(t > std::array<int, 3>{{0, 0, 0}})) continue;
                            bool near = false;
                            for (int a = 0; a < mols[i].atom_count && !near; ++a)
                                for (int b = 0; b < mols[j].atom_count && !near; ++b) {
                                    const int ia = mols[i].first_atom + a,
                                              jb = mols[j].first_atom + b;
                                    const auto v = lattice_sum(*c, f[3 * jb] + t0 - f[3 * ia],
                                                               f[3 * jb + 1] + t1 - f[3 * ia + 1],
                                                               f[3 * jb + 2] + t2 - f[3 * ia + 2]);
                                    near = length(v) < set.cutoff;
                                }
                            plain += near;
                        }
        EXPECT_EQ(plain, set.dimers_per_cell);
    }
    EXPECT_GT(checked, 20);
}

}  // namespace
