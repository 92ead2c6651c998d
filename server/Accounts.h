#pragma once
#include <QByteArray>
#include <QString>

#include <optional>

namespace vennic::server {

class Database;

/// An account with the defaults that its clients share; what was never set is absent.
struct Account {
    qint64 id = 0;
    QString email;
    std::optional<QString> default_voice_mode; // "ptt" or "realtime"
    std::optional<QString> default_provider;
    std::optional<qint64> transcribe_audio;
    std::optional<qint64> audio_output;
    std::optional<QString> default_audio_voice;
    bool operator==(const Account&) const = default;
};

/// The account that a server makes at its first start, its owner's.
inline constexpr qint64 ownerAccount = 1;

/// Who holds a token.
struct TokenHolder {
    qint64 account = 0;
    qint64 token = 0;
};

/// The accounts and the tokens of their clients.
class Accounts {
public:
    explicit Accounts(Database& database) : database_(database) {}
    /// Makes account 1, the owner's, where there is none yet.
    void ensureOwner(const QString& email);
    Account account(qint64 id);
    void update(const Account& account);
    /// A new token; it is shown this once. It outlives a power cut.
    QByteArray issueToken(qint64 account, const QString& clientKind, qint64 now);
    std::optional<TokenHolder> holder(const QByteArray& token);
    void revoke(qint64 token);

private:
    Database& database_;
};

} // namespace vennic::server
