#pragma once
#include "Bridge/BridgeWorld.h"
#include "Bridge/LocalToolRegistry.h"
#include "support/Await.h"

#include <QJsonObject>
#include <QRegularExpression>

#include <gtest/gtest.h>

namespace vennic::test {

/// The tools among fakes, with the handles of the bridge beside them.
struct LocalToolWorld : BridgeWorld {
    LocalToolRegistry tools{{.store = store,
                             .index = index,
                             .clock = clock,
                             .idCache = service->idCache(),
                             .bookmarks = bookmarks,
                             .files = files,
                             .types = types,
                             .reader = reader,
                             .recognizer = recognizer,
                             .photos = photos,
                             .workspace = workspace,
                             .automations = automations}};

    /// What the model reads, given the arguments as it wrote them.
    QString runRaw(const char* tool, const QString& argumentsJSON) {
        return await(tools.dispatch(QString::fromUtf8(tool), argumentsJSON));
    }
    QString run(const char* tool, const QJsonObject& arguments = {}) {
        return runRaw(tool, QString::fromUtf8(QJsonDocument(arguments).toJson(QJsonDocument::Compact)));
    }
    BridgeIDCache& handles() { return service->idCache(); }
    /// Puts a path behind a handle, which is the path.
    void handOut(const QString& path) { handles().put(path, FileURL{path}); }

    /// `text` with each handle in it, a random UUID, replaced by "ID".
    static QString withoutHandles(QString text) {
        static const QRegularExpression uuid(QStringLiteral("[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
        return text.replace(uuid, QStringLiteral("ID"));
    }
    /// The paths behind the handles of `text`, in order; "?" for one that the cache doesn't know.
    QStringList pathsIn(const QString& text) {
        static const QRegularExpression uuid(QStringLiteral("[0-9A-F]{8}(?:-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
        QStringList paths;
        for (auto match = uuid.globalMatch(text); match.hasNext();) {
            const auto url = handles().get(match.next().captured());
            paths.append(url ? url->path : QStringLiteral("?"));
        }
        return paths;
    }
};

} // namespace vennic::test
