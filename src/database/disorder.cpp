// Disorder parts on the asymmetric unit: the sites of one group and assembly; groups given
// without an assembly are paired as refined (parts whose occupancies add up to one belong
// together). A chosen group is chosen here, in each assembly (the major part where the group
// is not in it); the major choice is made in the cell, by position. Negative groups (disorder
// about a special position) stay whole here; the expansion keeps one orientation of them.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "database_detail.h"

namespace teska {
namespace database_detail {

namespace {

// Sites of one group with occupancies this close belong to one part.
constexpr double kPartTolerance = 0.01;

// Sites of one disorder group with one occupancy.
struct Part {
    std::string assembly;
    std::string group;
    double occupancy = 0.0;  // mean over its sites
    std::vector<int> sites;
    int assembly_index = -1;
};

bool parse_int(const std::string& text, long* value) {
    if (text.empty()) return false;
    char* end = nullptr;
    *value = std::strtol(text.c_str(), &end, 10);
    return *end == '\0';
}

// Group order for ties: numbers by value, before names.
bool group_before(const std::string& a, const std::string& b) {
    long x = 0, y = 0;
    const bool ax = parse_int(a, &x), by = parse_int(b, &y);
    if (ax && by) return x < y;
    if (ax != by) return ax;
    return a < b;
}

bool is_negative_group(const std::string& group) {
    long value = 0;
    return parse_int(group, &value) && value < 0;
}

std::vector<Part> collect_parts(const std::vector<Site>& sites) {
    std::vector<Part> parts;
    for (int i = 0; i < static_cast<int>(sites.size()); ++i) {
        const Site& site = sites[i];
        if (site.group.empty() || is_negative_group(site.group)) continue;
        Part* part = nullptr;
        for (Part& p : parts) {
            if (p.group != site.group || p.assembly != site.assembly) continue;
            // Without an assembly, one group number may serve several disordered places,
            // told apart by their refined occupancies.
            if (site.assembly.empty() && std::fabs(p.occupancy - site.occupancy) > kPartTolerance)
                continue;
            part = &p;
            break;
        }
        if (!part) {
            parts.push_back(Part{site.assembly, site.group, 0.0, {}, -1});
            part = &parts.back();
        }
        part->occupancy =
            (part->occupancy * part->sites.size() + site.occupancy) / (part->sites.size() + 1);
        part->sites.push_back(i);
    }
    return parts;
}

// Parts without an assembly: each with the first later parts of other groups whose
// occupancies complete it to one (pairs first, then triples); a part that completes with
// none stands alone.
void pair_as_refined(std::vector<Part>& parts, int* assemblies) {
    const int n = static_cast<int>(parts.size());
    auto free_part = [&](int q, int p) {
        return parts[q].assembly.empty() && parts[q].assembly_index < 0 &&
               parts[q].group != parts[p].group;
    };
    for (int p = 0; p < n; ++p) {
        if (!parts[p].assembly.empty() || parts[p].assembly_index >= 0) continue;
        const int index = (*assemblies)++;
        parts[p].assembly_index = index;
        bool done = false;
        for (int q = p + 1; q < n && !done; ++q) {
            if (!free_part(q, p)) continue;
            if (std::fabs(parts[p].occupancy + parts[q].occupancy - 1.0) <=
                kOccupancySumTolerance) {
                parts[q].assembly_index = index;
                done = true;
            }
        }
        for (int q = p + 1; q < n && !done; ++q) {
            if (!free_part(q, p)) continue;
            for (int r = q + 1; r < n && !done; ++r) {
                if (!free_part(r, p) || parts[r].group == parts[q].group) continue;
                const double sum = parts[p].occupancy + parts[q].occupancy + parts[r].occupancy;
                if (std::fabs(sum - 1.0) <= kOccupancySumTolerance) {
                    parts[q].assembly_index = index;
                    parts[r].assembly_index = index;
                    done = true;
                }
            }
        }
    }
}

int assign_assemblies(std::vector<Part>& parts) {
    int assemblies = 0;
    std::map<std::string, int> named;
    for (Part& part : parts) {
        if (part.assembly.empty()) continue;
        const auto found = named.emplace(part.assembly, assemblies);
        if (found.second) ++assemblies;
        part.assembly_index = found.first->second;
    }
    pair_as_refined(parts, &assemblies);
    return assemblies;
}

// The part that stays in one assembly, or -1 when none does (a lone part of occupancy
// below one half loses to its vacancy).
int chosen_part(const std::vector<Part>& parts, const std::vector<int>& members,
                const ReadOptions& options) {
    if (options.disorder == DisorderMode::kGroup)
        for (int p : members)
            if (parts[p].group == options.disorder_group) return p;
    int best = -1;
    for (int p : members) {
        if (best < 0 || parts[p].occupancy > parts[best].occupancy ||
            (parts[p].occupancy == parts[best].occupancy &&
             group_before(parts[p].group, parts[best].group)))
            best = p;
    }
    if (members.size() == 1 && parts[best].occupancy < 0.5) return -1;
    return best;
}

}  // namespace

DisorderChoice choose_disorder(const std::vector<Site>& sites, const ReadOptions& options,
                               Report& report) {
    DisorderChoice choice;
    const int n = static_cast<int>(sites.size());
    choice.keep.assign(n, 1);
    choice.copy_set.assign(n, -1);
    choice.every_part = options.disorder == DisorderMode::kAll;
    if (choice.every_part) return choice;

    std::map<std::pair<std::string, std::string>, int> negative;
    for (int i = 0; i < n; ++i) {
        if (!is_negative_group(sites[i].group)) continue;
        const auto key = std::make_pair(sites[i].assembly, sites[i].group);
        const auto found = negative.emplace(key, static_cast<int>(negative.size()));
        choice.copy_set[i] = found.first->second;
    }
    choice.negative_groups = static_cast<int>(negative.size());

    std::vector<Part> parts = collect_parts(sites);
    const int assemblies = assign_assemblies(parts);
    choice.part.assign(n, -1);
    std::vector<int> by_group(parts.size());
    for (int p = 0; p < static_cast<int>(parts.size()); ++p) {
        by_group[p] = p;
        choice.part_assembly.push_back(parts[p].assembly_index);
        for (int site : parts[p].sites) choice.part[site] = p;
    }
    std::stable_sort(by_group.begin(), by_group.end(), [&](int p, int q) {
        return group_before(parts[p].group, parts[q].group);
    });
    choice.part_rank.assign(parts.size(), 0);
    for (int r = 0; r < static_cast<int>(by_group.size()); ++r) choice.part_rank[by_group[r]] = r;
    if (options.disorder != DisorderMode::kGroup) return choice;
    choice.group_chosen = true;

    std::vector<std::vector<int>> members(assemblies);
    for (int p = 0; p < static_cast<int>(parts.size()); ++p)
        members[parts[p].assembly_index].push_back(p);
    std::vector<std::string> kept_groups;
    for (const std::vector<int>& assembly : members) {
        const int kept = chosen_part(parts, assembly, options);
        kept_groups.push_back(kept < 0 ? "none" : parts[kept].group);
        for (int p : assembly) {
            if (p == kept) continue;
            for (int site : parts[p].sites) choice.keep[site] = 0;
            choice.left_out += static_cast<int>(parts[p].sites.size());
        }
    }
    if (choice.left_out > 0)
        report.warn(0, "disorder: group " + options.disorder_group + " chosen in " +
                           count_of(assemblies, "assembly", "assemblies") + " (kept groups " +
                           join(kept_groups, ", ") + "); " +
                           count_of(choice.left_out, "site", "sites") + " left out");
    return choice;
}

}  // namespace database_detail
}  // namespace teska
