// Species by colour refinement and atom matching.
#include "species.h"

#include <algorithm>
#include <functional>
#include <map>
#include <unordered_map>

namespace teska::crystal_detail {

namespace {

using Adjacency = std::vector<std::vector<int>>;

Adjacency adjacency_of(const MoleculeGraph& g) {
    Adjacency adj(g.elements.size());
    for (const Bond& bond : g.bonds) {
        adj[static_cast<std::size_t>(bond.a)].push_back(bond.b);
        adj[static_cast<std::size_t>(bond.b)].push_back(bond.a);
    }
    return adj;
}

struct VectorHash {
    std::size_t operator()(const std::vector<int>& v) const {
        std::size_t h = v.size();
        for (int x : v) h ^= std::hash<int>()(x) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2);
        return h;
    }
};

// Colours of every atom of every molecule, refined until the number of colours stops growing.
std::vector<std::vector<int>> refined_colours(const std::vector<MoleculeGraph>& molecules,
                                              const std::vector<Adjacency>& adjacency) {
    std::vector<std::vector<int>> colours;
    std::unordered_map<std::vector<int>, int, VectorHash> ids;
    for (const MoleculeGraph& g : molecules) {
        std::vector<int> c;
        for (int e : g.elements) c.push_back(ids.emplace(std::vector<int>{e}, ids.size()).first->second);
        colours.push_back(c);
    }
    std::size_t count = ids.size();
    std::size_t largest = 0;
    for (const MoleculeGraph& g : molecules) largest = std::max(largest, g.elements.size());
    for (std::size_t round = 0; round < largest; ++round) {
        ids.clear();
        std::vector<std::vector<int>> next(colours.size());
        std::vector<int> key;
        for (std::size_t m = 0; m < molecules.size(); ++m) {
            const std::vector<int>& c = colours[m];
            for (std::size_t a = 0; a < c.size(); ++a) {
                key.assign(1, c[a]);
                for (int b : adjacency[m][a]) key.push_back(c[static_cast<std::size_t>(b)]);
                std::sort(key.begin() + 1, key.end());
                next[m].push_back(ids.emplace(key, ids.size()).first->second);
            }
        }
        colours.swap(next);
        if (ids.size() == count) break;
        count = ids.size();
    }
    return colours;
}

// Backtracking over a's atoms in breadth-first order, each onto an unused atom of b of the
// same colour whose bonds to the atoms already placed are a's bonds to them. An atom with a
// placed parent in that order can only go to a neighbour of its parent's image. Iterative, so
// that a molecule of any size keeps the stack flat.
class Matcher {
   public:
    Matcher(const MoleculeGraph& a, const MoleculeGraph& b, const std::vector<int>& ca,
            const std::vector<int>& cb, long long max_steps)
        : adj_a_(adjacency_of(a)), adj_b_(adjacency_of(b)), ca_(ca), cb_(cb), steps_(max_steps) {
        const std::size_t n = ca.size();
        map_.assign(n, -1);
        used_.assign(cb.size(), 0);
        std::vector<char> queued(n, 0);
        for (std::size_t start = 0; start < n; ++start) {
            if (queued[start]) continue;
            queued[start] = 1;
            order_.push_back(static_cast<int>(start));
            parent_.push_back(-1);
            for (std::size_t q = order_.size() - 1; q < order_.size(); ++q)
                for (int nb : adj_a_[static_cast<std::size_t>(order_[q])])
                    if (!queued[static_cast<std::size_t>(nb)]) {
                        queued[static_cast<std::size_t>(nb)] = 1;
                        order_.push_back(nb);
                        parent_.push_back(order_[q]);
                    }
        }
    }

    bool run() {
        const std::size_t n = order_.size();
        std::vector<std::size_t> next(n + 1, 0);  // per depth: the next candidate to try
        std::size_t depth = 0;
        while (depth < n) {
            const int u = order_[depth];
            const int p = parent_[depth];
            const std::size_t candidates =
                p < 0 ? cb_.size() : adj_b_[static_cast<std::size_t>(map_[p])].size();
            bool placed = false;
            while (next[depth] < candidates) {
                const std::size_t k = next[depth]++;
                const int v =
                    p < 0 ? static_cast<int>(k) : adj_b_[static_cast<std::size_t>(map_[p])][k];
                if (used_[static_cast<std::size_t>(v)] ||
                    cb_[static_cast<std::size_t>(v)] != ca_[static_cast<std::size_t>(u)])
                    continue;
                if (--steps_ < 0) return false;
                if (!consistent(u, v)) continue;
                map_[static_cast<std::size_t>(u)] = v;
                used_[static_cast<std::size_t>(v)] = 1;
                placed = true;
                break;
            }
            if (placed) {
                next[++depth] = 0;
                continue;
            }
            if (depth == 0) return false;
            --depth;  // undo the atom before and try its next candidate
            const int back = order_[depth];
            used_[static_cast<std::size_t>(map_[static_cast<std::size_t>(back)])] = 0;
            map_[static_cast<std::size_t>(back)] = -1;
        }
        return true;
    }
    const std::vector<int>& map() const { return map_; }

   private:
    bool consistent(int u, int v) const {
        const auto& nu = adj_a_[static_cast<std::size_t>(u)];
        const auto& nv = adj_b_[static_cast<std::size_t>(v)];
        if (nu.size() != nv.size()) return false;
        for (int w : nu) {
            const int image = map_[static_cast<std::size_t>(w)];
            if (image >= 0 && std::find(nv.begin(), nv.end(), image) == nv.end()) return false;
        }
        return true;
    }
    Adjacency adj_a_, adj_b_;
    const std::vector<int>& ca_;
    const std::vector<int>& cb_;
    long long steps_;
    std::vector<int> order_, parent_, map_;
    std::vector<char> used_;
};

std::optional<std::vector<int>> match_coloured(const MoleculeGraph& a, const MoleculeGraph& b,
                                               const std::vector<int>& ca,
                                               const std::vector<int>& cb, long long max_steps) {
    if (ca.size() != cb.size() || a.bonds.size() != b.bonds.size()) return std::nullopt;
    Matcher matcher(a, b, ca, cb, max_steps);
    if (!matcher.run()) return std::nullopt;
    return matcher.map();
}

}  // namespace

std::optional<std::vector<int>> match_atoms(const MoleculeGraph& a, const MoleculeGraph& b,
                                            long long max_steps) {
    const std::vector<MoleculeGraph> both = {a, b};
    const std::vector<Adjacency> adjacency = {adjacency_of(a), adjacency_of(b)};
    const std::vector<std::vector<int>> colours = refined_colours(both, adjacency);
    return match_coloured(a, b, colours[0], colours[1], max_steps);
}

std::vector<int> species_of(const std::vector<MoleculeGraph>& molecules) {
    std::vector<Adjacency> adjacency;
    for (const MoleculeGraph& g : molecules) adjacency.push_back(adjacency_of(g));
    const std::vector<std::vector<int>> colours = refined_colours(molecules, adjacency);
    // Molecules of one species have the same sorted colours; those are matched atom by atom
    // against the first molecule of each species with them.
    std::map<std::vector<int>, std::vector<int>> species_by_colours;  // -> species indices
    std::vector<int> representative, result(molecules.size(), -1);
    for (std::size_t m = 0; m < molecules.size(); ++m) {
        std::vector<int> sorted = colours[m];
        std::sort(sorted.begin(), sorted.end());
        std::vector<int>& candidates = species_by_colours[sorted];
        for (int s : candidates) {
            const std::size_t r = static_cast<std::size_t>(representative[static_cast<std::size_t>(s)]);
            if (match_coloured(molecules[m], molecules[r], colours[m], colours[r], 1000000)) {
                result[m] = s;
                break;
            }
        }
        if (result[m] < 0) {
            result[m] = static_cast<int>(representative.size());
            representative.push_back(static_cast<int>(m));
            candidates.push_back(result[m]);
        }
    }
    return result;
}

}  // namespace teska::crystal_detail
