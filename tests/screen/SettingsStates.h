#pragma once
#include "screen/SettingsWindowFixture.h"

namespace vennic::test {

/// The states that the first two tabs can be in.
struct SettingsStates : SettingsWindowFixture {
    void paired() {
        signedIn();
        session().setUserEmail(QStringLiteral("marie@exemple.fr"));
        put("suppressQuitConfirmation", true);
    }
    void shares() {
        world.share(QStringLiteral("/home/marie/Documents"));
        world.share(QStringLiteral("/home/marie/Images/Été à Noël"));
        world.share(QStringLiteral("/media/sauvegarde/Archives"));
        world.bookmarks->moved[QStringLiteral("/home/marie/Images/Été à Noël")] = QStringLiteral(
            "/home/marie/Images/Vacances/Un très long nom de dossier qui ne tient pas sur la ligne/Été à Noël");
        world.bookmarks->lost.insert(QStringLiteral("/media/sauvegarde/Archives"));
    }
    void bridgeAtWork() {
        session().setBridgeEnabled(true);
        world.backend.preparePoll(taskJson("list_folders"));
        world.service->start(SecretText{"token"});
        ASSERT_TRUE(waitUntil([this] { return world.service->tasksServed() == 1; }));
        world.clock.advance(std::chrono::minutes{3});
        clock.advance(std::chrono::minutes{3});
    }
    bool foldersFound() {
        return waitUntil([this] {
            return !settings->bridge()->folders().isEmpty() && !settings->bridge()
                                                                    ->folders()
                                                                    .last()
                                                                    .toMap()
                                                                    .value(QStringLiteral("path"))
                                                                    .toString()
                                                                    .startsWith(u'R');
        });
    }
};

} // namespace vennic::test
