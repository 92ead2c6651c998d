#pragma once
#include "base/LocalizedError.h"
#include "fakes/UntilStopped.h"
#include "ports/Workspace.h"

#include <QStringList>

#include <algorithm>
#include <atomic>
#include <map>

namespace vennic::test {

/// Applications in memory; remembers what was opened, in order.
class WorkspaceFake final : public Workspace {
public:
    std::vector<Application> applications() override {
        ++listings;
        if (unreadable)
            throw LocalizedError(*unreadable);
        return known;
    }
    void openApplication(const QString& entry, std::stop_token) override {
        const auto isIt = [&](const Application& application) { return application.entry == entry; };
        if (std::ranges::none_of(known, isIt))
            throw LocalizedError(QStringLiteral("L'application n'est plus installée."));
        open(entry, {});
    }
    void open(const QString& path, std::stop_token stop) override {
        if (path == endless) {
            ++asked;
            waitUntilStopped(std::move(stop));
            ++givenUp;
            throw LocalizedError(QStringLiteral("L'ouverture a été abandonnée."));
        }
        if (const auto words = failures.find(path); words != failures.end())
            throw LocalizedError(words->second);
        opened.append(path);
    }

    /// One of the folder /apps, or of one below it; its name is the file's.
    Application& add(const QString& pathInFolder, Application::Place place = Application::Place::installed) {
        Application application;
        application.entry = QStringLiteral("/apps/") + pathInFolder;
        application.identifier = QString(pathInFolder).replace(u'/', u'-');
        application.pathInFolder = pathInFolder;
        application.name = pathInFolder.section(u'/', -1).chopped(8);
        application.localizedName = application.name;
        application.place = place;
        known.push_back(application);
        return known.back();
    }

    std::vector<Application> known;
    std::map<QString, QString> failures; // by path
    std::optional<QString> unreadable;
    std::optional<QString> endless; // a path whose opening takes until it is told to stop
    std::atomic<int> asked = 0;
    std::atomic<int> givenUp = 0;
    QStringList opened;
    int listings = 0;
};

} // namespace vennic::test
