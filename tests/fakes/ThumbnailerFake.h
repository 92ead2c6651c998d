#pragma once
#include "fakes/UntilStopped.h"
#include "ports/Thumbnailer.h"

#include <QHash>
#include <QMutex>
#include <QVector>

#include <algorithm>
#include <atomic>
#include <cmath>

namespace vennic::test {

/// Pictures kept in memory, each by its size alone: what is drawn is its path, in bytes that are no real PNG.
class ThumbnailerFake final : public Thumbnailer {
public:
    struct Asked {
        QString path;
        int edge = 0;
        double scale = 0;
        bool operator==(const Asked&) const = default;
    };

    void add(const QString& path, int width, int height) { pictures_.insert(path, {path.toUtf8(), width, height}); }
    /// What was asked so far, in order.
    QVector<Asked> asked() const {
        const QMutexLocker lock(&guard_);
        return asked_;
    }

    /// A path whose drawing takes until it is told to stop.
    std::optional<QString> endless;
    /// How often that happened.
    std::atomic<int> givenUp = 0;

    std::optional<Thumbnail> thumbnail(const QString& path, int edge, double scale, std::stop_token stop) override {
        {
            const QMutexLocker lock(&guard_);
            asked_.append({path, edge, scale});
        }
        if (path == endless) {
            waitUntilStopped(std::move(stop));
            ++givenUp;
            return std::nullopt;
        }
        const auto found = pictures_.constFind(path);
        if (found == pictures_.constEnd())
            return std::nullopt;
        const double most = edge * scale;
        const double shrunk = std::min(1.0, most / std::max(found->width, found->height));
        const auto side = [&](int length) { return std::max(1, static_cast<int>(std::lround(length * shrunk))); };
        return Thumbnail{found->png, side(found->width), side(found->height)};
    }

private:
    QHash<QString, Thumbnail> pictures_;
    mutable QMutex guard_;
    QVector<Asked> asked_;
};

} // namespace vennic::test
