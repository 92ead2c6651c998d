#include "settings/SecretDraft.h"

#include <algorithm>

namespace vennic {

namespace {

bool continuesCharacter(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

} // namespace

void SecretDraft::set(const SecretText& secret) { replace(secret); }

int SecretDraft::length() const {
    int characters = 0;
    for (const char byte : secret_.reveal())
        characters += continuesCharacter(byte) ? 0 : 1;
    return characters;
}

void SecretDraft::insert(const QString& text) {
    if (text.size() > mostBytes) // which has more bytes still
        return;
    const QByteArrayView kept = selected_ ? QByteArrayView{} : secret_.reveal();
    QByteArray added = text.toUtf8();
    if (!added.isEmpty() && kept.size() + added.size() <= mostBytes) {
        QByteArray bytes;
        bytes.reserve(kept.size() + added.size()); // grown in one place, so that one place is to be wiped
        bytes.append(kept).append(added);
        replace(SecretText{bytes});
        wipe(bytes);
    }
    wipe(added);
}

void SecretDraft::erase() {
    if (selected_)
        return replace({});
    const QByteArrayView bytes = secret_.reveal();
    qsizetype kept = std::max(bytes.size() - 1, qsizetype(0));
    while (kept > 0 && continuesCharacter(bytes[kept]))
        --kept;
    replace(SecretText{bytes.first(kept)});
}

void SecretDraft::scrub() {
    replace(SecretText{QByteArray(length(), '0')});
    replace({});
}

void SecretDraft::select(bool selected) {
    if (selected_ == selected)
        return;
    selected_ = selected;
    Q_EMIT changed();
}

void SecretDraft::replace(const SecretText& secret) {
    secret_ = secret;
    selected_ = false;
    Q_EMIT changed();
}

} // namespace vennic
