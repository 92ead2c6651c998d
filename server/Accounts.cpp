#include "server/Accounts.h"

#include "server/Database.h"
#include "server/HttpError.h"
#include "server/Secrets.h"

namespace vennic::server {

void Accounts::ensureOwner(const QString& email) {
    database_.run("INSERT OR IGNORE INTO accounts(id, email) VALUES(1, ?)", email);
}

Account Accounts::account(qint64 id) {
    Query row = database_.query("SELECT id, email, default_voice_mode, default_provider, transcribe_audio, "
                                "audio_output, default_audio_voice FROM accounts WHERE id = ?",
                                id);
    if (!row.next())
        throw HttpError(404, QStringLiteral("Ce compte n'existe pas."));
    Account account;
    account.id = row.integer(0);
    account.email = row.text(1);
    account.default_voice_mode = row.maybeText(2);
    account.default_provider = row.maybeText(3);
    account.transcribe_audio = row.maybeInteger(4);
    account.audio_output = row.maybeInteger(5);
    account.default_audio_voice = row.maybeText(6);
    return account;
}

void Accounts::update(const Account& account) {
    database_.run("UPDATE accounts SET email = ?, default_voice_mode = ?, default_provider = ?, transcribe_audio = ?, "
                  "audio_output = ?, default_audio_voice = ? WHERE id = ?",
                  account.email, account.default_voice_mode, account.default_provider, account.transcribe_audio,
                  account.audio_output, account.default_audio_voice, account.id);
}

QByteArray Accounts::issueToken(qint64 account, const QString& clientKind, qint64 now) {
    const QByteArray token = newSecret();
    database_.run("INSERT INTO tokens(account_id, hash, client_kind, created_at) VALUES(?, ?, ?, ?)", account,
                  fingerprint(token), clientKind, now);
    return token;
}

std::optional<TokenHolder> Accounts::holder(const QByteArray& token) {
    if (token.isEmpty())
        return std::nullopt;
    Query row = database_.query("SELECT account_id, id FROM tokens WHERE hash = ?", fingerprint(token));
    if (!row.next())
        return std::nullopt;
    return TokenHolder{row.integer(0), row.integer(1)};
}

void Accounts::revoke(qint64 token) { database_.run("DELETE FROM tokens WHERE id = ?", token); }

} // namespace vennic::server
