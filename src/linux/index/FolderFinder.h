#pragma once
#include "linux/index/Database.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vennic::index {

/// Finds folders of the catalogue by their path.
class FolderFinder {
public:
    explicit FolderFinder(const Database& database);
    /// The folder of an absolute path without links, when the catalogue has it.
    std::optional<std::uint32_t> find(const std::string& path);
    std::optional<std::uint32_t> child(std::uint32_t folder, std::string_view name);

private:
    Statement roots_, child_;
};

} // namespace vennic::index
