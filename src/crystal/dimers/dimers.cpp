// Dimer classes. The search runs a little beyond the cutoff so that every member of a class
// near it is found; each operation maps a dimer (i, j, t) onto (p(i), p(j), s(j) + R t - s(i)),
// and the images of a dimer under all operations are its class. The cutoff then decides per
// class, and two accounting checks catch operations that do not fit the structure: the
// classes partition the dimers the search found, and multiplicity times the operations that
// fix a dimer equals the number of operations.
#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

#include "dimers_detail.h"

namespace teska {

using dimers_detail::FoundDimer;
using dimers_detail::MoleculeImages;
using dimers_detail::Placed;

namespace {

constexpr double kSearchMargin = 0.1;  // angstrom searched beyond the cutoff
constexpr double kNearCutoff = 0.05;   // angstrom
constexpr double kEdge = 1e-6;         // a contact this near the cutoff goes with its class
constexpr double kLargestCutoff = 50.0;  // angstrom: beyond any contact between neighbours

using Key = std::tuple<int, int, int, int, int>;

Key key_of(const Dimer& d) { return Key(d.i, d.j, d.t[0], d.t[1], d.t[2]); }

// (i, j, t) in rule form: i < j, or i = j and t > 0.
Dimer normalized(int i, int j, const std::array<int, 3>& t) {
    const std::array<int, 3> zero{{0, 0, 0}};
    if (i > j || (i == j && t < zero)) return Dimer{j, i, {{-t[0], -t[1], -t[2]}}};
    return Dimer{i, j, t};
}

Dimer image_of(const Dimer& d, const SymmetryOperation& op, const MoleculeImages& m) {
    const auto si = static_cast<std::size_t>(d.i), sj = static_cast<std::size_t>(d.j);
    std::array<int, 3> t;
    for (std::size_t r = 0; r < 3; ++r) {
        double rt = 0.0;
        for (std::size_t c = 0; c < 3; ++c) rt += op.r[r][c] * d.t[c];
        t[r] = m.shift[sj][r] + static_cast<int>(std::lround(rt)) - m.shift[si][r];
    }
    return normalized(m.image[si], m.image[sj], t);
}

double distance_of(const Placed& placed, const Dimer& d) {
    const double ft[3] = {static_cast<double>(d.t[0]), static_cast<double>(d.t[1]),
                          static_cast<double>(d.t[2])};
    const auto shift = placed.to_cartesian(ft);
    double d2 = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double delta = placed.centre[static_cast<std::size_t>(d.j)][k] + shift[k] -
                             placed.centre[static_cast<std::size_t>(d.i)][k];
        d2 += delta * delta;
    }
    return std::sqrt(d2);
}

// Lowest i, then j, then length of t (to a millionth of a square angstrom), then t.
auto representative_order(const Placed& placed, const Dimer& d) {
    const double ft[3] = {static_cast<double>(d.t[0]), static_cast<double>(d.t[1]),
                          static_cast<double>(d.t[2])};
    const auto x = placed.to_cartesian(ft);
    const long long length2 = std::llround((x[0] * x[0] + x[1] * x[1] + x[2] * x[2]) * 1e6);
    return std::make_tuple(d.i, d.j, length2, d.t);
}

std::string dimer_text(const Dimer& d) {
    return "(" + std::to_string(d.i) + ", " + std::to_string(d.j) + ", [" +
           std::to_string(d.t[0]) + " " + std::to_string(d.t[1]) + " " + std::to_string(d.t[2]) +
           "])";
}

struct Orbit {
    std::size_t seed = 0;
    std::vector<std::size_t> members;  // indices into the found dimers
    bool kept = false;
};

}  // namespace

double DimerSet::neighbours_per_molecule() const {
    return molecules.empty() ? 0.0 : 2.0 * dimers_per_cell / static_cast<double>(molecules.size());
}

int DimerSet::near_cutoff_classes() const {
    return static_cast<int>(std::count_if(classes.begin(), classes.end(),
                                          [](const DimerClass& c) { return c.near_cutoff; }));
}

DimerSet find_dimers(const Crystal& crystal, double cutoff, bool heavy_only) {
    if (!(cutoff > 0.0) || !(cutoff <= kLargestCutoff))
        throw Error(crystal.file(), 0, 0,
                    "the dimer cutoff must be a distance above 0 and up to 50 angstrom");
    const Placed placed = dimers_detail::place_molecules(crystal);
    const std::vector<SymmetryOperation> ops =
        dimers_detail::distinct_operations(crystal.operations());
    const std::vector<MoleculeImages> images = dimers_detail::molecule_images(placed, ops);
    std::vector<FoundDimer> found =
        dimers_detail::search_dimers(placed, cutoff + kSearchMargin, heavy_only);
    std::sort(found.begin(), found.end(), [&](const FoundDimer& a, const FoundDimer& b) {
        return representative_order(placed, a.dimer) < representative_order(placed, b.dimer);
    });
    std::map<Key, std::size_t> index;
    for (std::size_t k = 0; k < found.size(); ++k) index[key_of(found[k].dimer)] = k;

    const auto fail = [&](const std::string& message) {
        return Error(crystal.file(), 0, 0, message);
    };
    // Orbits, each seeded by the first dimer in representative order not yet in one.
    std::vector<int> orbit_of(found.size(), -1);
    std::vector<Orbit> orbits;
    for (std::size_t s = 0; s < found.size(); ++s) {
        if (orbit_of[s] >= 0) continue;
        const int current = static_cast<int>(orbits.size());
        Orbit orbit;
        orbit.seed = s;
        orbit.kept = found[s].contact.distance < cutoff;
        const Dimer& seed = found[s].dimer;
        int fixing = 0;
        for (std::size_t g = 0; g < ops.size(); ++g) {
            const Dimer image = image_of(seed, ops[g], images[g]);
            if (key_of(image) == key_of(seed)) ++fixing;
            const auto at = index.find(key_of(image));
            if (at == index.end()) {
                if (!orbit.kept) continue;
                throw fail("symmetry operation " + symmetry_code(ops[g]) + " maps dimer " +
                           dimer_text(seed) + " onto " + dimer_text(image) +
                           ", which is not a neighbour pair: the operations do not fit the "
                           "structure");
            }
            const int owner = orbit_of[at->second];
            if (owner == current) continue;
            if (owner >= 0) {
                if (!orbit.kept) continue;
                throw fail("the symmetry operations do not form a group: dimer " +
                           dimer_text(image) + " falls in two classes");
            }
            orbit_of[at->second] = current;
            orbit.members.push_back(at->second);
        }
        if (orbit.kept && orbit.members.size() * static_cast<std::size_t>(fixing) != ops.size())
            throw fail("dimer accounting: the class of " + dimer_text(seed) + " has " +
                       std::to_string(orbit.members.size()) + " dimers and " +
                       std::to_string(fixing) + " operations fixing it, but " +
                       std::to_string(ops.size()) + " operations");
        orbits.push_back(std::move(orbit));
    }

    DimerSet set;
    set.cutoff = cutoff;
    set.heavy_only = heavy_only;
    set.operations = static_cast<int>(ops.size());
    set.molecules = placed.molecules;
    int searched = 0;  // dimers below the cutoff by their own contact
    for (std::size_t k = 0; k < found.size(); ++k) {
        const double c = found[k].contact.distance;
        const bool kept = orbits[static_cast<std::size_t>(orbit_of[k])].kept;
        if (std::fabs(c - cutoff) <= kEdge ? kept : c < cutoff) ++searched;
    }
    const std::vector<std::string>& labels = crystal.labels();
    for (const Orbit& orbit : orbits) {
        if (!orbit.kept) continue;
        const FoundDimer& seed = found[orbit.seed];
        DimerClass c;
        c.i = seed.dimer.i;
        c.j = seed.dimer.j;
        c.t = seed.dimer.t;
        const auto si = static_cast<std::size_t>(c.i), sj = static_cast<std::size_t>(c.j);
        c.formula_a = placed.molecules[si].formula;
        c.formula_b = placed.molecules[sj].formula;
        c.com_distance = distance_of(placed, seed.dimer);
        c.closest_contact = seed.contact.distance;
        c.contact_atoms = {{seed.contact.a, seed.contact.b}};
        for (std::size_t k = 0; k < 2; ++k) {
            const auto atom = static_cast<std::size_t>(c.contact_atoms[k]);
            c.contact_labels[k] = atom < labels.size() ? labels[atom] : std::string();
        }
        c.multiplicity = static_cast<int>(orbit.members.size());
        for (std::size_t k : orbit.members) {
            c.orbit.push_back(found[k].dimer);
            c.neighbours += (found[k].dimer.i == c.i) + (found[k].dimer.j == c.i);
        }
        std::sort(c.orbit.begin(), c.orbit.end(),
                  [](const Dimer& a, const Dimer& b) { return key_of(a) < key_of(b); });
        // The operations mapping A onto B: those taking molecule i to molecule j, followed by
        // the lattice vector that lands the image on j moved by t.
        for (std::size_t g = 0; g < ops.size(); ++g) {
            if (images[g].image[si] != c.j) continue;
            SymmetryOperation op = ops[g];
            for (std::size_t d = 0; d < 3; ++d) op.t[d] += c.t[d] - images[g].shift[si][d];
            const std::string code = symmetry_code(op);
            if (std::find(c.relation.begin(), c.relation.end(), code) != c.relation.end()) continue;
            c.relation.push_back(code);
            c.relation_names.push_back(operation_name(op));
        }
        c.near_cutoff = cutoff - c.closest_contact <= kNearCutoff;
        set.dimers_per_cell += c.multiplicity;
        set.classes.push_back(std::move(c));
    }
    if (set.dimers_per_cell != searched)
        throw fail("dimer accounting: the classes hold " + std::to_string(set.dimers_per_cell) +
                   " dimers per cell, but the search found " + std::to_string(searched));
    std::stable_sort(set.classes.begin(), set.classes.end(),
                     [](const DimerClass& a, const DimerClass& b) {
                         if (a.closest_contact != b.closest_contact)
                             return a.closest_contact < b.closest_contact;
                         return a.com_distance < b.com_distance;
                     });
    return set;
}

}  // namespace teska
