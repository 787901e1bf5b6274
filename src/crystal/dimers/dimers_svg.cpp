// The picture of the dimer classes. For each species its first molecule stands at the centre;
// its neighbours are the other ends of the dimers of every class's orbit that hold it. All are
// projected onto the central molecule's mean plane (the two leading principal axes of its
// atoms), drawn far to near, atoms as dots and bonds as lines, each neighbour in its class's
// colour with the class number at its centre.
#include <algorithm>
#include <cmath>
#include <cstdio>

#include "teska/dimers.h"

namespace teska {

namespace {

constexpr double kPanel = 480.0;  // pixels per species
constexpr double kMargin = 30.0;
const char* const kColours[] = {"#1f77b4", "#d62728", "#2ca02c", "#ff7f0e", "#9467bd",
                                "#8c564b", "#e377c2", "#17becf", "#bcbd22", "#7f7f7f"};

using Vector = std::array<double, 3>;

// Eigenvectors of a symmetric 3x3 matrix by Jacobi rotations, as columns ordered by decreasing
// eigenvalue.
std::array<Vector, 3> principal_axes(double a[3][3]) {
    double v[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    for (int sweep = 0; sweep < 50; ++sweep) {
        const double off = a[0][1] * a[0][1] + a[0][2] * a[0][2] + a[1][2] * a[1][2];
        if (off < 1e-22) break;
        for (int p = 0; p < 2; ++p)
            for (int q = p + 1; q < 3; ++q) {
                if (std::fabs(a[p][q]) < 1e-30) continue;
                const double theta = 0.5 * std::atan2(2 * a[p][q], a[q][q] - a[p][p]);
                const double c = std::cos(theta), s = std::sin(theta);
                for (int k = 0; k < 3; ++k) {  // columns p and q
                    const double akp = a[k][p], akq = a[k][q];
                    a[k][p] = c * akp - s * akq;
                    a[k][q] = s * akp + c * akq;
                }
                for (int k = 0; k < 3; ++k) {  // rows p and q
                    const double apk = a[p][k], aqk = a[q][k];
                    a[p][k] = c * apk - s * aqk;
                    a[q][k] = s * apk + c * aqk;
                }
                for (int k = 0; k < 3; ++k) {
                    const double vkp = v[k][p], vkq = v[k][q];
                    v[k][p] = c * vkp - s * vkq;
                    v[k][q] = s * vkp + c * vkq;
                }
            }
    }
    int order[3] = {0, 1, 2};
    std::sort(order, order + 3, [&](int x, int y) { return a[x][x] > a[y][y]; });
    std::array<Vector, 3> axes;
    for (int k = 0; k < 3; ++k)
        for (int d = 0; d < 3; ++d) axes[static_cast<std::size_t>(k)][static_cast<std::size_t>(d)] = v[d][order[k]];
    return axes;
}

struct Drawn {
    int molecule = 0;
    std::array<int, 3> t{{0, 0, 0}};
    int class_number = 0;  // 0 for the central molecule
};

// Cartesian positions of molecule m placed as the dimers place it, moved by t.
std::vector<Vector> positions_of(const Crystal& c, const DimerSet& set, int m, const std::array<int, 3>& t) {
    const Molecule& molecule = c.molecules()[static_cast<std::size_t>(m)];
    const auto& shift = set.molecules[static_cast<std::size_t>(m)].shift;
    const auto L = c.lattice();
    std::vector<Vector> x;
    for (int a = molecule.first_atom; a < molecule.first_atom + molecule.atom_count; ++a) {
        Vector p{{0, 0, 0}};
        for (std::size_t k = 0; k < 3; ++k) {
            const double f = c.fractional()[3 * static_cast<std::size_t>(a) + k] + shift[k] + t[k];
            for (std::size_t d = 0; d < 3; ++d) p[d] += f * L[k][d];
        }
        x.push_back(p);
    }
    return x;
}

double dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }

std::string number_text(double v) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f", v);
    return text;
}

std::string panel(const Crystal& c, const DimerSet& set, const Species& species, double left) {
    const int centre = species.representative;
    std::vector<Drawn> drawn = {{centre, {{0, 0, 0}}, 0}};
    for (std::size_t k = 0; k < set.classes.size(); ++k)
        for (const Dimer& d : set.classes[k].orbit) {
            if (d.i == centre) drawn.push_back({d.j, d.t, static_cast<int>(k) + 1});
            if (d.j == centre) drawn.push_back({d.i, {{-d.t[0], -d.t[1], -d.t[2]}}, static_cast<int>(k) + 1});
        }
    // The central molecule's mean plane.
    const std::vector<Vector> own = positions_of(c, set, centre, {{0, 0, 0}});
    Vector mean{{0, 0, 0}};
    for (const Vector& p : own)
        for (std::size_t d = 0; d < 3; ++d) mean[d] += p[d] / static_cast<double>(own.size());
    double covariance[3][3] = {};
    for (const Vector& p : own)
        for (std::size_t i = 0; i < 3; ++i)
            for (std::size_t j = 0; j < 3; ++j) covariance[i][j] += (p[i] - mean[i]) * (p[j] - mean[j]);
    const std::array<Vector, 3> axes = principal_axes(covariance);

    struct Projected {
        std::vector<Vector> uvw;  // along the two in-plane axes and the normal
        Vector centre{{0, 0, 0}};
        const Drawn* what = nullptr;
    };
    std::vector<Projected> projected;
    double lo[2] = {INFINITY, INFINITY}, hi[2] = {-INFINITY, -INFINITY};
    for (const Drawn& d : drawn) {
        Projected p;
        p.what = &d;
        for (const Vector& x : positions_of(c, set, d.molecule, d.t)) {
            const Vector r{{x[0] - mean[0], x[1] - mean[1], x[2] - mean[2]}};
            const Vector uvw{{dot(r, axes[0]), dot(r, axes[1]), dot(r, axes[2])}};
            p.uvw.push_back(uvw);
            for (std::size_t k = 0; k < 3; ++k) p.centre[k] += uvw[k];
            for (std::size_t k = 0; k < 2; ++k) {
                lo[k] = std::min(lo[k], uvw[k]);
                hi[k] = std::max(hi[k], uvw[k]);
            }
        }
        for (std::size_t k = 0; k < 3; ++k) p.centre[k] /= static_cast<double>(std::max<std::size_t>(1, p.uvw.size()));
        projected.push_back(std::move(p));
    }
    const double span = std::max({hi[0] - lo[0], hi[1] - lo[1], 1.0});
    const double scale = (kPanel - 2 * kMargin) / span;
    // Centred in the panel, y upwards.
    const double cx = left + 0.5 * kPanel - 0.5 * (lo[0] + hi[0]) * scale;
    const double cy = 0.5 * kPanel + 0.5 * (lo[1] + hi[1]) * scale;
    const auto sx = [&](const Vector& p) { return cx + p[0] * scale; };
    const auto sy = [&](const Vector& p) { return cy - p[1] * scale; };
    // Far to near along the normal; the central molecule last, on top.
    std::stable_sort(projected.begin(), projected.end(), [](const Projected& a, const Projected& b) {
        if ((a.what->class_number == 0) != (b.what->class_number == 0)) return b.what->class_number == 0;
        return a.centre[2] < b.centre[2];
    });
    std::string svg = "  <g>\n    <text x=\"" + number_text(left + kMargin) + "\" y=\"20\" font-size=\"14\">" +
                      species.formula + ", molecule " + std::to_string(centre) + "</text>\n";
    for (const Projected& p : projected) {
        const int number = p.what->class_number;
        const std::string colour =
            number == 0 ? "#000000" : kColours[static_cast<std::size_t>(number - 1) % 10];
        svg += "    <g class=\"" + (number == 0 ? std::string("centre") : "class-" + std::to_string(number)) +
               "\" stroke=\"" + colour + "\" fill=\"" + colour + "\">\n";
        for (const Bond& b : c.bonds(p.what->molecule)) {
            const Vector& x = p.uvw[static_cast<std::size_t>(b.a)];
            const Vector& y = p.uvw[static_cast<std::size_t>(b.b)];
            svg += "      <line x1=\"" + number_text(sx(x)) + "\" y1=\"" + number_text(sy(x)) +
                   "\" x2=\"" + number_text(sx(y)) + "\" y2=\"" + number_text(sy(y)) + "\"/>\n";
        }
        for (const Vector& x : p.uvw)
            svg += "      <circle cx=\"" + number_text(sx(x)) + "\" cy=\"" + number_text(sy(x)) +
                   "\" r=\"2.5\"/>\n";
        if (number > 0)
            svg += "      <text x=\"" + number_text(sx(p.centre)) + "\" y=\"" + number_text(sy(p.centre)) +
                   "\" stroke=\"none\" font-size=\"16\" font-weight=\"bold\">" + std::to_string(number) +
                   "</text>\n";
        svg += "    </g>\n";
    }
    return svg + "  </g>\n";
}

}  // namespace

std::string dimers_svg(const Crystal& crystal, const DimerSet& set) {
    if (set.molecules.size() != crystal.molecules().size())
        throw Error(crystal.file(), 0, 0, "the dimers given are not those of this crystal");
    const std::vector<Species>& species = crystal.species();
    const double width = kPanel * static_cast<double>(std::max<std::size_t>(1, species.size()));
    std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                      "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + number_text(width) +
                      "\" height=\"" + number_text(kPanel) + "\" viewBox=\"0 0 " + number_text(width) +
                      " " + number_text(kPanel) + "\" font-family=\"sans-serif\">\n" +
                      "  <rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    for (std::size_t s = 0; s < species.size(); ++s)
        svg += panel(crystal, set, species[s], kPanel * static_cast<double>(s));
    return svg + "</svg>\n";
}

}  // namespace teska
