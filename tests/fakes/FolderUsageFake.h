#pragma once
#include "ports/FolderUsage.h"
#include "support/HungDisk.h"

#include <QDir>
#include <QStringList>

namespace vennic::test {

/// Says a size, and removes folders and remembers them, or refuses to.
class FolderUsageFake final : public FolderUsage {
public:
    qint64 allocatedBytes(const QString&) override { return bytes; }
    void removeFolder(const QString& path) override {
        if (refuses)
            throw LocalizedError(QStringLiteral("Le disque est en lecture seule."));
        if (disk)
            disk->read();
        QDir(path).removeRecursively();
        removed.append(path);
    }

    qint64 bytes = 0;
    bool refuses = false;
    HungDisk* disk = nullptr; // on which it removes; none answers at once
    QStringList removed;
};

} // namespace vennic::test
