#pragma once
#include "base/LocalizedError.h"
#include "ports/Workspace.h"

#include <QHash>
#include <QMutex>
#include <QStringList>

namespace vennic::test {

/// Opens nothing and remembers what it was asked to.
class WorkspaceFake final : public Workspace {
public:
    /// Paths that can't be opened, each with the platform's words.
    QHash<QString, QString> refused;

    void open(const QString& path) override {
        const QMutexLocker lock(&guard_);
        if (refused.contains(path))
            throw LocalizedError(refused.value(path));
        opened_ << path;
    }
    QStringList opened() const {
        const QMutexLocker lock(&guard_);
        return opened_;
    }

private:
    mutable QMutex guard_;
    QStringList opened_;
};

} // namespace vennic::test
