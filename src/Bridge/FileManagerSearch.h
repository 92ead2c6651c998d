#pragma once
#include "Bridge/SearchResult.h"
#include "base/Task.h"
#include "ports/FileSystem.h"
#include "ports/FileTypes.h"

#include <QStringList>

#include <memory>
#include <vector>

namespace vennic {

/// Finds files and folders by name alone, by walking the folders on disk.
class FileManagerSearch {
public:
    FileManagerSearch(std::shared_ptr<FileSystem> files, std::shared_ptr<FileTypes> types)
        : files_(std::move(files)), types_(std::move(types)) {}

    /// The newest `limit` of the first 3 × `limit` entries whose name holds every token, without regard to case and
    /// accents. Looks at `maxEntries` entries of each folder at most. The walk runs on the pool and ends soon after
    /// its waiter.
    Task<std::vector<SearchResult>> search(QStringList tokens, std::vector<FileURL> folders, qint64 limit,
                                           qint64 maxEntries) const;

    /// The MIME type of a type identifier; an unknown identifier itself.
    static QString mimeFromUTI(const QString& type);

private:
    std::shared_ptr<FileSystem> files_;
    std::shared_ptr<FileTypes> types_;
};

} // namespace vennic
