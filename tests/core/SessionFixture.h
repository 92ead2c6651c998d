#pragma once
#include "core/AppSession.h"
#include "fakes/BridgeControlFake.h"
#include "fakes/CredentialStoreFake.h"
#include "fakes/LocalLLMTelemetrySinkFake.h"
#include "fakes/PreferenceSyncFake.h"
#include "support/Await.h"
#include "support/ScriptedBackend.h"

#include <QCoreApplication>
#include <QThreadPool>

#include <gtest/gtest.h>

namespace vennic::test {

/// Counts the emissions of one signal.
class Announcements {
public:
    Announcements(AppSession* session, void (AppSession::*signal)()) {
        QObject::connect(session, signal, &context_, [this] { ++count_; });
    }
    int count() const { return count_; }

private:
    QObject context_;
    int count_ = 0;
};

/// A session with everything around it in memory; it is built by the first call of `session`.
struct SessionFixture : testing::Test, ScriptedBackend {
    CredentialStoreFake credentials;
    BridgeControlFake bridge;
    PreferenceSyncFake preferences;
    LocalLLMTelemetrySinkFake telemetry;
    KeychainStore keychain{credentials.shared(), store, [] { return QStringLiteral("DEVICE"); }};
    QString hostName = QStringLiteral("atelier");
    std::unique_ptr<AppSession> built;

    /// What is still read on the pool uses the store of this fixture.
    ~SessionFixture() override { QThreadPool::globalInstance()->waitForDone(); }

    AppSession& session() {
        if (!built)
            built = std::make_unique<AppSession>(
                AppSession::Surroundings{store, keychain, http, config, bridge, preferences, telemetry, hostName});
        return *built;
    }
    void put(const char* key, StoredValue value) { store.values[QLatin1String(key)] = std::move(value); }
    void putText(const char* key, const char* value) { put(key, QString::fromUtf8(value)); }
    std::optional<StoredValue> stored(const char* key) { return store.value(QLatin1String(key)); }
    void putToken(const char* token) { keychain.save(SecretText{QByteArrayView{token}}); }
    QString storedToken() {
        const auto token = keychain.read({});
        return token ? QString::fromUtf8(token->reveal()) : QStringLiteral("none");
    }
    /// Signs in and forgets what that caused.
    AppSession& signedIn() {
        built.reset();
        putToken("tok");
        session();
        settle();
        bridge.calls.clear();
        preferences = {};
        return *built;
    }
    /// The conversation, each message behind "u:" or "a:".
    QStringList said() {
        QStringList texts;
        for (const ChatMessage& message : session().messages())
            texts.append((message.role == ChatMessage::Role::user ? QStringLiteral("u:") : QStringLiteral("a:")) +
                         message.content);
        return texts;
    }
    /// Lets the jobs that have been started run to their end or their first real wait.
    static void settle() {
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents();
    }
    /// As `settle`, and lets work beside the main thread end, too.
    static void settleEverywhere() {
        settle();
        QThreadPool::globalInstance()->waitForDone();
        settle();
    }
};

} // namespace vennic::test
