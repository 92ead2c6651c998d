#include "linux/index/ScopeFilter.h"

#include "linux/index/DiskFolder.h"

#include <algorithm>

namespace vennic::index {

namespace {

constexpr int deepest = 1000;

std::string withoutSlashes(std::string path) {
    while (!path.empty() && path.back() == '/')
        path.pop_back();
    return path;
}

} // namespace

void FolderTree::load(const Database& database) {
    parents_.clear();
    Statement rows = database.prepare("SELECT id, parent FROM dir");
    while (rows.step()) {
        const auto id = static_cast<std::size_t>(rows.integer(0));
        if (id >= parents_.size())
            parents_.resize(id + 1, unknown);
        parents_[id] = static_cast<std::uint32_t>(rows.integer(1));
    }
}

std::vector<ScopeBase> scopeBases(const std::vector<std::string>& scopes, const std::vector<std::string>& allowed) {
    std::vector<std::string> grants;
    grants.reserve(allowed.size());
    for (const std::string& folder : allowed)
        grants.push_back(canonicalPath(folder));
    std::vector<ScopeBase> bases;
    for (const std::string& scope : scopes) {
        if (!scope.starts_with('/'))
            continue;
        const std::string canonical = canonicalPath(scope);
        const std::string spelled = withoutSlashes(scope);
        bool whole = false;
        for (const std::string& grant : grants)
            whole = whole || pathBelow(canonical, grant);
        if (whole) {
            bases.push_back({canonical, spelled});
            continue;
        }
        for (const std::string& grant : grants) { // the scope reaches beyond what is granted
            const auto below = pathBelow(grant, canonical);
            if (below && !leadsThroughHidden(*below))
                bases.push_back({grant, spelled + '/' + *below});
        }
    }
    return bases;
}

ScopeFilter::ScopeFilter(const Database& database, const FolderTree& tree, const std::vector<std::string>& scopes,
                         const std::vector<std::string>& allowed)
    : row_(database.prepare("SELECT parent, name FROM dir WHERE id=?")) {
    FolderFinder finder(database);
    for (const ScopeBase& base : scopeBases(scopes, allowed)) {
        if (const auto folder = finder.find(base.canonical))
            bases_.emplace(*folder, base.spelled);
    }
    fill(tree);
}

void ScopeFilter::fill(const FolderTree& tree) {
    inside_.assign(tree.size(), open);
    std::vector<std::uint32_t> chain;
    for (std::uint32_t folder = 0; folder < tree.size(); ++folder) {
        chain.clear();
        std::uint32_t at = folder;
        State state = open;
        while (chain.size() <= deepest) {
            if (at == 0 || at >= tree.size()) {
                state = out;
                break;
            }
            if (inside_[at] != open) {
                state = inside_[at];
                break;
            }
            if (bases_.contains(at)) {
                chain.push_back(at);
                state = in;
                break;
            }
            if (tree.parentOf(at) == FolderTree::unknown)
                break; // made or removed since: decided by its row
            chain.push_back(at);
            at = tree.parentOf(at);
        }
        for (const std::uint32_t each : chain)
            inside_[each] = state;
    }
}

const std::optional<std::string>& ScopeFilter::pathOf(std::uint32_t folder) {
    findPath(folder, 0);
    return paths_[folder];
}

std::optional<std::string> ScopeFilter::findPath(std::uint32_t folder, int depth) {
    if (const auto known = paths_.find(folder); known != paths_.end())
        return known->second;
    std::optional<std::string> path;
    if (const auto base = bases_.find(folder); base != bases_.end()) {
        path = base->second;
    } else if (depth < deepest && row_.with(folder).step()) {
        const auto parent = static_cast<std::uint32_t>(row_.integer(0));
        const std::string name(row_.blob(1));
        row_.reset();
        if (parent != 0)
            path = findPath(parent, depth + 1);
        if (path)
            *path += '/' + name;
    }
    return paths_[folder] = path;
}

std::vector<std::string> ScopeFilter::components(std::uint32_t folder) {
    std::vector<std::string> result;
    while (folder != 0 && result.size() < deepest && row_.with(folder).step()) {
        folder = static_cast<std::uint32_t>(row_.integer(0));
        result.emplace_back(row_.blob(1));
        row_.reset();
    }
    std::ranges::reverse(result);
    return result;
}

} // namespace vennic::index
