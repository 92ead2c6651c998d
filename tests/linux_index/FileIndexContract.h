#pragma once
#include "ports/FileIndex.h"

#include <functional>
#include <gtest/gtest.h>
#include <memory>

namespace vennic::test {

/// What the contract of FileIndex needs around an index.
class FileIndexWorld {
public:
    virtual ~FileIndexWorld() = default;
    virtual FileIndex& index() = 0;
    /// A folder that exists; nothing is shared at first.
    virtual QString folder() const = 0;
    /// A document below `folder()`, changed at that second since 1970.
    virtual void write(const QString& relativePath, const QString& text, qint64 changedAt) = 0;
    /// Waits until the index knows all that was written.
    virtual void settle() = 0;
};

struct FileIndexContractCase {
    const char* name;
    std::function<std::unique_ptr<FileIndexWorld>()> make;
};

class FileIndexContract : public ::testing::TestWithParam<FileIndexContractCase> {};

/// One query to its end: the paths found, below `world.folder()`.
QStringList found(FileIndexWorld& world, const IndexPredicate& predicate, const QStringList& scopes,
                  qint64 limit = 100);
/// Every word between stars, all of them needed.
IndexPredicate allOf(const QStringList& words);

} // namespace vennic::test
