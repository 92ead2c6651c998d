#pragma once
#include "linux/index/FolderFinder.h"

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace vennic::index {

/// The folders' parents, as of one moment.
class FolderTree {
public:
    static constexpr std::uint32_t unknown = ~std::uint32_t{0};
    void load(const Database& database);
    std::uint32_t parentOf(std::uint32_t folder) const { return parents_[folder]; }
    std::size_t size() const { return parents_.size(); }

private:
    std::vector<std::uint32_t> parents_;
};

/// A folder in which a query looks.
struct ScopeBase {
    std::string canonical; // absolute and without links
    std::string spelled;   // that results begin with
};
/// Where to look for absolute paths of folders: only within the allowed ones, hidden folders left out.
std::vector<ScopeBase> scopeBases(const std::vector<std::string>& scopes, const std::vector<std::string>& allowed);

/// Which folders lie within the scopes of a query, and how their paths are spelled.
class ScopeFilter {
public:
    /// Bases of the scopes by folder identifier, with the path that results begin with. Only what lies within an
    /// allowed folder is in.
    ScopeFilter(const Database& database, const FolderTree& tree, const std::vector<std::string>& scopes,
                const std::vector<std::string>& allowed);

    bool nothing() const { return bases_.empty(); }
    /// False when the folder is surely out; true may still turn out as out by `pathOf`.
    bool mayHold(std::uint32_t folder) const { return folder >= inside_.size() || inside_[folder] != out; }
    /// The spelled path of a folder, nothing when it is out of scope.
    const std::optional<std::string>& pathOf(std::uint32_t folder);
    /// The real path of a folder as components, see `openFolder`.
    std::vector<std::string> components(std::uint32_t folder);

private:
    enum State : std::uint8_t { open, in, out };

    void fill(const FolderTree& tree);
    std::optional<std::string> findPath(std::uint32_t folder, int depth);

    Statement row_;
    std::unordered_map<std::uint32_t, std::string> bases_;
    std::unordered_map<std::uint32_t, std::optional<std::string>> paths_;
    std::vector<State> inside_;
};

} // namespace vennic::index
