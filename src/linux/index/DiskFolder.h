#pragma once
#include "linux/FileDescriptor.h"
#include "linux/index/Catalogue.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vennic::index {

/// Reading of the disk that follows no link: a folder that is swapped for a link while it is walked leads nowhere.
/// Failures leave errno.

/// Opens a folder from an absolute root path and the names below it.
FileDescriptor openFolder(std::span<const std::string> components);
/// Opens a folder in an open one.
FileDescriptor openFolderAt(int folder, const std::string& name);
/// Opens a regular file for reading; pipes and devices are never opened for good.
FileDescriptor openFileAt(int folder, const std::string& name);

/// What stands on disk under a name, without folder and identifier.
std::optional<Entry> statAt(int folder, const std::string& name);
/// The same of an open file.
std::optional<Entry> statOf(int file);

/// Whether an error of opening or looking at something tells that it isn't there or isn't ours to see. Others (out of
/// descriptors or memory, a disk or a network that fails) say nothing of what stands on disk.
bool tellsOfAbsence(int error);

struct Listing {
    std::vector<Entry> entries;      // that aren't hidden
    std::vector<std::string> unseen; // names of entries that couldn't be looked at, for reasons that aren't theirs
};
/// All of a folder; nothing when it can't be read.
std::optional<Listing> listFolder(int folder);

inline bool isHidden(std::string_view name) { return name.empty() || name.front() == '.'; }

enum class Volume {
    ordinary,
    remote, // others may change it without a word
    none,   // no place for files: process and device tables
};
Volume volumeOf(int folder);

/// The absolute path without links when it exists, else cleaned of "." and doubled slashes.
std::string canonicalPath(const std::string& path);
/// What follows `ancestor` in `path` without the slash; empty for the same folder, nothing when it isn't below.
std::optional<std::string> pathBelow(const std::string& path, const std::string& ancestor);
/// Whether a relative path has a hidden component.
bool leadsThroughHidden(std::string_view relative);

} // namespace vennic::index
