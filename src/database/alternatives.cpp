// Disorder chosen by where the atoms are: the images of partial sites in the cell form
// pieces, pieces that overlap (or that their labels make alternatives) form sets, and each
// set keeps its major pieces that do not overlap each other. Labels that spread one
// disordered place over several assemblies, or over an assembly and none, and guests
// disordered about a special position are resolved alike.
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <map>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "database_detail.h"
#include "index/cell_bins.h"
#include "teska/fileio.h"

namespace teska {
namespace database_detail {

namespace {

// Unlabelled partial sites whose occupancies differ by more than this are not one piece.
constexpr double kPieceOccupancyTolerance = 0.01;
// A set made of one labelled part keeps it from this total occupancy on.
constexpr double kVacancyLimit = 0.5;
// Real cells have a few per partial atom; a file that piles thousands of partial sites onto
// one place is refused rather than compared pair by pair.
constexpr std::size_t kMaxContacts = 20000000;

class UnionFind {
   public:
    explicit UnionFind(int n) : parent_(n) { std::iota(parent_.begin(), parent_.end(), 0); }
    int find(int a) {
        while (parent_[a] != a) a = parent_[a] = parent_[parent_[a]];
        return a;
    }
    void join(int a, int b) {
        a = find(a);
        b = find(b);
        if (a != b) parent_[std::max(a, b)] = std::min(a, b);
    }

   private:
    std::vector<int> parent_;
};

double radius_of(int element) { return nw_elem_radius_m[element]; }

struct Piece {
    std::vector<int> images;  // indices into the partial images
    double occupancy = 0.0;   // mean over its atoms
    int part = -1;            // labelled part, -1 when unlabelled
    int op = 0;
};

}  // namespace

double clash_limit(int element_a, int element_b) {
    if (element_a == 1 && element_b == 1) return kHydrogenClash;
    return std::max(kMergeDistance, kClashFraction * (radius_of(element_a) + radius_of(element_b)));
}

Alternatives choose_alternatives(const std::vector<Site>& sites, const DisorderChoice& disorder,
                                 const std::vector<SiteImage>& images, const Lattice& lattice,
                                 double bond_scale, std::vector<char>* removed,
                                 const Report& report) {
    Alternatives result;
    result.site_left_out.assign(sites.size(), 0);
    // The partial images still in the cell.
    std::vector<int> partial;
    double largest_radius = 0.0;
    for (int a = 0; a < static_cast<int>(images.size()); ++a) {
        if ((*removed)[a] || sites[images[a].site].occupancy >= kFullOccupancy) continue;
        partial.push_back(a);
        largest_radius = std::max(largest_radius, radius_of(sites[images[a].site].element));
    }
    const int n = static_cast<int>(partial.size());
    if (n == 0) return result;
    auto site_of = [&](int k) -> const Site& { return sites[images[partial[k]].site]; };
    auto part_of = [&](int k) {
        return disorder.part.empty() ? -1 : disorder.part[images[partial[k]].site];
    };
    auto op_of = [&](int k) { return images[partial[k]].op; };
    auto distance2 = [&](int j, int k) {
        double d[3];
        for (int c = 0; c < 3; ++c) d[c] = images[partial[k]].frac[c] - images[partial[j]].frac[c];
        return lattice.min_image_distance2(d);
    };

    // Contacts within the longest clash or bond limit, each pair once.
    const double reach =
        std::max({kMergeDistance, kHydrogenClash, kClashFraction * 2.0 * largest_radius,
                  2.0 * largest_radius * bond_scale});
    fileio_detail::CellBins bins = lattice.grid(reach, n);
    std::vector<std::pair<int, int>> contacts;
    for (int k = 0; k < n; ++k) {
        bins.for_each_near(images[partial[k]].frac, [&](int j) {
            contacts.emplace_back(j, k);
            return true;
        });
        bins.add(k, images[partial[k]].frac);
        if (contacts.size() > kMaxContacts)
            report.fail(0, 0,
                        "more than " + std::to_string(kMaxContacts) +
                            " contacts among partial sites: too many overlapping "
                            "alternatives to choose from");
    }

    // The full atoms that each partial atom bonds to: alternatives of one atom bond to the
    // same neighbour, and to each other when they are too far apart to clash.
    auto bond_limit = [&](int element_a, int element_b) {
        return (radius_of(element_a) + radius_of(element_b)) * bond_scale;
    };
    std::vector<std::vector<int>> anchors(n);
    {
        std::vector<int> full;
        double largest_full = 0.0;
        for (int a = 0; a < static_cast<int>(images.size()); ++a) {
            if ((*removed)[a] || sites[images[a].site].occupancy < kFullOccupancy) continue;
            full.push_back(a);
            largest_full = std::max(largest_full, radius_of(sites[images[a].site].element));
        }
        fileio_detail::CellBins full_bins = lattice.grid(
            (largest_full + largest_radius) * bond_scale, static_cast<int>(full.size()));
        for (int a : full) full_bins.add(a, images[a].frac);
        for (int k = 0; k < n; ++k) {
            const SiteImage& image = images[partial[k]];
            full_bins.for_each_near(image.frac, [&](int a) {
                double d[3];
                for (int c = 0; c < 3; ++c) d[c] = images[a].frac[c] - image.frac[c];
                const double limit =
                    bond_limit(sites[image.site].element, sites[images[a].site].element);
                if (lattice.min_image_distance2(d) < limit * limit) anchors[k].push_back(a);
                return true;
            });
            std::sort(anchors[k].begin(), anchors[k].end());
        }
    }
    auto share_anchor = [&](int j, int k) {
        for (int a : anchors[j])
            if (std::binary_search(anchors[k].begin(), anchors[k].end(), a)) return true;
        return false;
    };

    // Pieces: a labelled part under one operation; bonded unlabelled sites of one occupancy.
    UnionFind same_piece(n);
    std::map<std::pair<int, int>, int> first_of_part;  // (part, operation) -> first image
    for (int k = 0; k < n; ++k) {
        if (part_of(k) < 0) continue;
        const auto found = first_of_part.emplace(std::make_pair(part_of(k), op_of(k)), k);
        if (!found.second) same_piece.join(found.first->second, k);
    }
    for (const auto& contact : contacts) {
        const int j = contact.first, k = contact.second;
        if (part_of(j) >= 0 || part_of(k) >= 0 || op_of(j) != op_of(k)) continue;
        if (std::fabs(site_of(j).occupancy - site_of(k).occupancy) > kPieceOccupancyTolerance)
            continue;
        const double limit = bond_limit(site_of(j).element, site_of(k).element);
        if (distance2(j, k) < limit * limit && !share_anchor(j, k)) same_piece.join(j, k);
    }
    std::vector<int> piece_of(n, -1);
    std::vector<Piece> pieces;
    for (int k = 0; k < n; ++k) {
        const int root = same_piece.find(k);
        if (piece_of[root] < 0) {
            piece_of[root] = static_cast<int>(pieces.size());
            pieces.push_back(Piece{{}, 0.0, part_of(k), op_of(k)});
        }
        piece_of[k] = piece_of[root];
        Piece& piece = pieces[piece_of[k]];
        piece.images.push_back(k);
        piece.occupancy += site_of(k).occupancy;
    }
    for (Piece& piece : pieces) piece.occupancy /= static_cast<double>(piece.images.size());
    const int np = static_cast<int>(pieces.size());

    // Alternatives: overlapping pieces, and parts of one assembly under one operation.
    std::vector<std::vector<int>> rivals(np), piece_bonds(np);
    auto rival = [&](int p, int q) {
        rivals[p].push_back(q);
        rivals[q].push_back(p);
    };
    auto lone_unlabelled = [&](int p) {
        return pieces[p].part < 0 && pieces[p].images.size() == 1;
    };
    for (const auto& contact : contacts) {
        const int j = contact.first, k = contact.second;
        const int p = piece_of[j], q = piece_of[k];
        if (p == q) continue;
        const double d2 = distance2(j, k);
        const double clash = clash_limit(site_of(j).element, site_of(k).element);
        const double bond = bond_limit(site_of(j).element, site_of(k).element);
        const bool one_part = pieces[p].part >= 0 && pieces[p].part == pieces[q].part;
        // Two atoms bonded to each other and to one neighbour: a triangle that alternative
        // positions of one atom make (a side chain in two orientations).
        const bool triangle = !one_part && d2 < bond * bond && share_anchor(j, k);
        if (d2 < bond * bond) {
            piece_bonds[p].push_back(q);
            piece_bonds[q].push_back(p);
        }
        if (d2 >= clash * clash && !triangle) continue;
        if (d2 < kMergeDistance * kMergeDistance &&
            (images[partial[j]].site == images[partial[k]].site ||
             (lone_unlabelled(p) && lone_unlabelled(q))))
            continue;
        rival(p, q);
    }
    std::map<std::pair<int, int>, std::vector<int>> by_assembly_op;
    for (int p = 0; p < np; ++p)
        if (pieces[p].part >= 0)
            by_assembly_op[{disorder.part_assembly[pieces[p].part], pieces[p].op}].push_back(p);
    for (const auto& entry : by_assembly_op)  // one piece per part: a few each
        for (std::size_t i = 0; i < entry.second.size(); ++i)
            for (std::size_t j = 0; j < i; ++j) rival(entry.second[i], entry.second[j]);
    for (std::vector<std::vector<int>>* lists : {&rivals, &piece_bonds})
        for (std::vector<int>& list : *lists) {
            std::sort(list.begin(), list.end());
            list.erase(std::unique(list.begin(), list.end()), list.end());
        }

    // Sets of alternatives, and the pieces of each taken in order.
    UnionFind same_set(np);
    for (int p = 0; p < np; ++p)
        for (int q : rivals[p]) same_set.join(p, q);
    std::vector<int> order(np);
    std::iota(order.begin(), order.end(), 0);
    auto rank = [&](int p) { return pieces[p].part < 0 ? -1 : disorder.part_rank[pieces[p].part]; };
    std::stable_sort(order.begin(), order.end(), [&](int p, int q) {
        if (pieces[p].occupancy != pieces[q].occupancy)
            return pieces[p].occupancy > pieces[q].occupancy;
        return rank(p) < rank(q);
    });
    std::vector<double> set_occupancy(np, 0.0);
    std::vector<int> set_part(np, -2);  // -2: none yet; -1: not one part
    for (int p = 0; p < np; ++p) {
        const int s = same_set.find(p);
        set_occupancy[s] += pieces[p].occupancy;
        if (set_part[s] == -2)
            set_part[s] = pieces[p].part;
        else if (set_part[s] != pieces[p].part)
            set_part[s] = -1;
    }
    std::vector<char> kept(np, 0);
    for (int p : order) {
        const int s = same_set.find(p);
        const bool vacant =
            !disorder.group_chosen && set_part[s] >= 0 && set_occupancy[s] < kVacancyLimit;
        kept[p] = !vacant && std::none_of(rivals[p].begin(), rivals[p].end(),
                                          [&](int q) { return kept[q] != 0; });
    }
    // A kept piece bonded to a piece left out that is no alternative of it, and to nothing
    // else kept, is a fragment of that orientation (its hydrogens, labelled apart): it goes
    // too, until none is left.
    std::vector<char> fragment(np, 0);
    for (bool changed = true; changed;) {
        changed = false;
        for (int p = 0; p < np; ++p) {
            if (!kept[p]) continue;
            bool held = false, orphaned = false;
            for (int k : pieces[p].images) held = held || !anchors[k].empty();
            for (const auto& bonded : piece_bonds[p]) {
                if (kept[bonded])
                    held = true;
                else if (!std::binary_search(rivals[p].begin(), rivals[p].end(), bonded))
                    orphaned = true;
            }
            if (orphaned && !held) {
                kept[p] = 0;
                fragment[p] = 1;
                changed = true;
            }
        }
    }
    std::vector<char> counted(np, 0);
    std::vector<char> site_kept(sites.size(), 0), site_seen(sites.size(), 0);
    for (int p = 0; p < np; ++p) {
        const int s = same_set.find(p);
        for (int k : pieces[p].images) {
            const int site = images[partial[k]].site;
            site_seen[site] = 1;
            if (kept[p]) site_kept[site] = 1;
        }
        if (kept[p]) continue;
        if (!counted[s] && !fragment[p]) {
            counted[s] = 1;
            ++result.sets;
        }
        for (int k : pieces[p].images) (*removed)[partial[k]] = 1;
        result.atoms_left_out += static_cast<int>(pieces[p].images.size());
    }
    for (std::size_t i = 0; i < sites.size(); ++i)
        result.site_left_out[i] = site_seen[i] && !site_kept[i];
    return result;
}

}  // namespace database_detail
}  // namespace teska
