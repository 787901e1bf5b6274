// Expansion of the kept sites to the full cell with the operations as exact matrices, then
// the atoms that are not distinct: overlapping copies of negative disorder groups, images
// and sites on one position, partial sites that clash with an atom kept.
#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "database_detail.h"
#include "index/bond_growth.h"
#include "index/cell_bins.h"
#include "teska/fileio.h"

namespace teska {
namespace database_detail {

namespace {

using gemmi::Op;

using Image = SiteImage;

double wrapped(double f) {
    const double w = f - std::floor(f);
    return w >= 1.0 ? 0.0 : w;  // a tiny negative f rounds up to exactly 1
}

// Every operation on every kept site, operation by operation. The sites are wrapped first:
// the rotations are integer matrices, so the images differ from those of the unwrapped
// sites by lattice vectors only, and no coordinate can grow large.
std::vector<Image> images_of(const std::vector<Site>& sites, const std::vector<char>& keep,
                             const std::vector<Op>& ops) {
    std::vector<Image> images;
    std::vector<int> kept;
    for (int i = 0; i < static_cast<int>(sites.size()); ++i)
        if (keep[i]) kept.push_back(i);
    images.reserve(kept.size() * ops.size());
    for (int k = 0; k < static_cast<int>(ops.size()); ++k) {
        double rot[3][3], tran[3];
        for (int r = 0; r < 3; ++r) {
            for (int c = 0; c < 3; ++c) rot[r][c] = ops[k].rot[r][c] / Op::DEN;
            tran[r] = static_cast<double>(ops[k].tran[r]) / Op::DEN;
        }
        for (int i : kept) {
            double s[3];
            for (int c = 0; c < 3; ++c) s[c] = wrapped(sites[i].frac[c]);
            Image image{i, k, {0, 0, 0}};
            for (int r = 0; r < 3; ++r)
                image.frac[r] =
                    wrapped(rot[r][0] * s[0] + rot[r][1] * s[1] + rot[r][2] * s[2] + tran[r]);
            images.push_back(image);
        }
    }
    return images;
}

double radius_of(int element) { return nw_elem_radius_m[element]; }

// A negative group overlaps its own symmetry copies: its copies are taken operation by
// operation, and a copy that overlaps or bonds to a copy already kept is dropped whole.
int drop_overlapping_copies(const std::vector<Site>& sites, const DisorderChoice& disorder,
                            const std::vector<Image>& images, const Lattice& lattice,
                            double bond_scale, std::vector<char>* removed) {
    if (disorder.negative_groups == 0) return 0;
    double largest_radius = 0.0;
    for (const Image& image : images)
        if (disorder.copy_set[image.site] >= 0)
            largest_radius = std::max(largest_radius, radius_of(sites[image.site].element));
    const double reach = 2.0 * largest_radius * bond_scale;
    int dropped = 0;
    for (int set = 0; set < disorder.negative_groups; ++set) {
        fileio_detail::CellBins kept = lattice.grid(reach, static_cast<int>(images.size()));
        std::vector<int> copy;
        auto touches_kept = [&](int a) {
            bool touches = false;
            kept.for_each_near(images[a].frac, [&](int b) {
                double d[3];
                for (int c = 0; c < 3; ++c) d[c] = images[b].frac[c] - images[a].frac[c];
                const double limit = (radius_of(sites[images[a].site].element) +
                                      radius_of(sites[images[b].site].element)) *
                                     bond_scale;
                if (lattice.min_image_distance2(d) < limit * limit) touches = true;
                return !touches;
            });
            return touches;
        };
        auto flush_copy = [&]() {
            const bool touches = std::any_of(copy.begin(), copy.end(), touches_kept);
            for (int a : copy) {
                if (touches) {
                    (*removed)[a] = 1;
                    ++dropped;
                } else {
                    kept.add(a, images[a].frac);
                }
            }
            copy.clear();
        };
        int op = -1;
        for (int a = 0; a < static_cast<int>(images.size()); ++a) {
            if (disorder.copy_set[images[a].site] != set) continue;
            if (images[a].op != op) flush_copy();
            op = images[a].op;
            copy.push_back(a);
        }
        flush_copy();
    }
    return dropped;
}

// Labels "A into B" of merged or dropped sites, first few only.
class LabelPairs {
   public:
    void add(const std::string& pair) {
        if (seen_.insert(pair).second && shown_.size() < 4) shown_.push_back(pair);
    }
    std::string text() const {
        return join(shown_, ", ") + (seen_.size() > shown_.size() ? ", ..." : "");
    }

   private:
    std::set<std::string> seen_;
    std::vector<std::string> shown_;
};

bool is_partial(const Site& site) { return site.occupancy < kFullOccupancy; }

int drop_alternative_copies(const std::vector<Site>& sites, const DisorderChoice& disorder,
                            const Lattice& lattice, double bond_scale,
                            std::vector<CellAtom>* atoms) {
    const int n = static_cast<int>(atoms->size());
    auto candidate = [&](const CellAtom& atom) {
        return is_partial(sites[atom.site]) && disorder.copy_set[atom.site] < 0;
    };
    if (std::none_of(atoms->begin(), atoms->end(), candidate)) return 0;

    fileio_detail::BondRule rule;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) rule.latt[r][c] = lattice.matrix()[r][c];
    rule.bond_scale = bond_scale;
    rule.image = fileio_detail::ImageRule::kMinimumImage;
    std::vector<double> x(3 * static_cast<std::size_t>(n));
    std::vector<double> radius(n);
    for (int a = 0; a < n; ++a) {
        for (int d = 0; d < 3; ++d) x[3 * a + d] = (*atoms)[a].frac[d];
        radius[a] = radius_of((*atoms)[a].element);
    }
    std::vector<int> sizes, order;
    fileio_detail::grow_components(rule, n, x.data(), radius.data(), &sizes, &order);

    std::vector<char> removed(n, 0);
    int dropped = 0, start = 0;
    for (int size : sizes) {
        std::map<int, std::vector<int>> copies;  // site -> its atoms in this molecule
        for (int k = start; k < start + size; ++k)
            if (candidate((*atoms)[order[k]])) copies[(*atoms)[order[k]].site].push_back(order[k]);
        start += size;
        for (auto& entry : copies) {
            std::vector<int>& list = entry.second;
            if (list.size() < 2 ||
                list.size() * sites[entry.first].occupancy > 1.0 + kOccupancySumTolerance)
                continue;
            std::sort(list.begin(), list.end());
            for (std::size_t c = 1; c < list.size(); ++c) removed[list[c]] = 1;
            dropped += static_cast<int>(list.size()) - 1;
        }
    }
    if (dropped == 0) return 0;
    std::vector<CellAtom> kept;
    kept.reserve(n - dropped);
    for (int a = 0; a < n; ++a)
        if (!removed[a]) kept.push_back((*atoms)[a]);
    atoms->swap(kept);
    return dropped;
}

}  // namespace

Expansion expand_sites(const std::vector<Site>& sites, const DisorderChoice& disorder,
                       const std::vector<gemmi::Op>& ops, const Lattice& lattice, double bond_scale,
                       long long max_cell_atoms, Report& report) {
    long long kept_sites = 0;
    for (char keep : disorder.keep) kept_sites += keep;
    if (kept_sites * static_cast<long long>(ops.size()) > max_cell_atoms)
        report.fail(0, 0,
                    "too many atoms in the cell: " + std::to_string(kept_sites) + " sites x " +
                        std::to_string(ops.size()) + " operations, more than " +
                        std::to_string(max_cell_atoms));
    const std::vector<Image> images = images_of(sites, disorder.keep, ops);
    const int n = static_cast<int>(images.size());
    std::vector<char> removed(n, 0);
    Expansion cell;
    cell.copies_dropped =
        drop_overlapping_copies(sites, disorder, images, lattice, bond_scale, &removed);
    if (!disorder.every_part)
        cell.disorder = choose_alternatives(sites, disorder, images, lattice, bond_scale, &removed,
                                            report);

    // Higher occupancy first, file order among equals: the atom kept is the one that wins.
    std::vector<int> order;
    order.reserve(n);
    double largest_radius = 0.0, largest_partial_radius = -1.0;
    for (int a = 0; a < n; ++a) {
        if (removed[a]) continue;
        order.push_back(a);
        const Site& site = sites[images[a].site];
        largest_radius = std::max(largest_radius, radius_of(site.element));
        if (!disorder.every_part && is_partial(site))
            largest_partial_radius = std::max(largest_partial_radius, radius_of(site.element));
    }
    // The bins reach as far as the longest clash test that a partial site can make.
    double reach = kMergeDistance;
    if (largest_partial_radius >= 0.0)
        reach = std::max(
            {reach, kHydrogenClash, kClashFraction * (largest_partial_radius + largest_radius)});
    const auto higher_occupancy = [&](int a, int b) {
        return sites[images[a].site].occupancy > sites[images[b].site].occupancy;
    };
    if (!std::is_sorted(order.begin(), order.end(), higher_occupancy))
        std::stable_sort(order.begin(), order.end(), higher_occupancy);

    // Only the atoms kept so far are in the grid. Of several kept atoms that a site merges
    // into or clashes with, the warning names the last one found.
    fileio_detail::CellBins bins = lattice.grid(reach, n);
    LabelPairs merged_labels, clash_labels;
    for (int a : order) {
        const Site& site = sites[images[a].site];
        const bool partial = !disorder.every_part && is_partial(site);
        int same_site = -1, other_site = -1, clash = -1;
        bins.for_each_near(images[a].frac, [&](int b) {
            double d[3];
            for (int c = 0; c < 3; ++c) d[c] = images[b].frac[c] - images[a].frac[c];
            const double d2 = lattice.min_image_distance2(d);
            if (d2 < kMergeDistance * kMergeDistance) {
                if (images[b].site == images[a].site)
                    same_site = b;
                else
                    other_site = b;
            } else if (partial) {
                const double limit = clash_limit(site.element, sites[images[b].site].element);
                if (d2 < limit * limit) clash = b;
            }
            return true;
        });
        if (same_site >= 0) {
            ++cell.merged_images;
        } else if (other_site >= 0) {
            ++cell.merged_sites;
            merged_labels.add(site.label + " into " + sites[images[other_site].site].label);
        } else if (clash >= 0) {
            ++cell.clashes;
            clash_labels.add(site.label + " by " + sites[images[clash].site].label);
        } else {
            bins.add(a, images[a].frac);
            continue;
        }
        removed[a] = 1;
    }

    cell.atoms.reserve(n);
    for (int a = 0; a < n; ++a) {
        if (removed[a]) continue;
        const Image& image = images[a];
        cell.atoms.push_back(CellAtom{
            image.site, sites[image.site].element, {image.frac[0], image.frac[1], image.frac[2]}});
    }

    if (!disorder.every_part)
        cell.alternatives =
            drop_alternative_copies(sites, disorder, lattice, bond_scale, &cell.atoms);

    if (cell.copies_dropped > 0)
        report.warn(0, count_of(disorder.negative_groups, "negative disorder group",
                                "negative disorder groups") +
                           " (about special positions): one orientation kept, " +
                           count_of(cell.copies_dropped, "atom", "atoms") +
                           " of symmetry copies that overlap or bond to it left out");
    if (cell.disorder.atoms_left_out > 0) {
        std::vector<std::string> labels;
        for (std::size_t i = 0; i < sites.size(); ++i)
            if (cell.disorder.site_left_out[i]) labels.push_back(sites[i].label);
        if (labels.size() > 6) {
            labels.resize(6);
            labels.push_back("...");
        }
        report.warn(0, "disorder: the major alternative kept in " +
                           count_of(cell.disorder.sets, "place", "places") + " of the cell, " +
                           count_of(cell.disorder.atoms_left_out, "atom", "atoms") + " left out" +
                           (labels.empty() ? std::string()
                                           : " (every copy of " + join(labels, ", ") + ")"));
    }
    if (cell.merged_sites > 0)
        report.warn(0, count_of(cell.merged_sites, "atom", "atoms") +
                           " of distinct sites on one position merged, the higher occupancy "
                           "kept: " +
                           merged_labels.text());
    if (cell.clashes > 0)
        report.warn(0, count_of(cell.clashes, "partial site", "partial sites") +
                           " left out, each clashing with an atom kept (" + clash_labels.text() + ")");
    if (cell.alternatives > 0)
        report.warn(0, count_of(cell.alternatives, "copy", "copies") +
                           " of partial sites left out: each falls into one molecule with a "
                           "copy of its site kept, their occupancies adding up to at most one "
                           "(disorder about a special position)");
    return cell;
}

}  // namespace database_detail
}  // namespace teska
