#include "linux/CredentialStoreFile.h"

#include <algorithm>

namespace vennic {

namespace {

enum class Readability { readable, damaged, unusable };

struct OpenedVault {
    Readability readability = Readability::unusable;
    std::vector<VaultItem> items;
};

OpenedVault opened(PrivateFile::Content content) {
    switch (content.state) {
    case PrivateFile::State::missing:
        return {Readability::readable, {}};
    case PrivateFile::State::tooLarge:
        return {Readability::damaged, {}};
    case PrivateFile::State::refused:
        return {};
    case PrivateFile::State::sound:
        break;
    }
    auto decoded = decodeVault(content.bytes);
    wipe(content.bytes);
    if (decoded.state == VaultState::newer)
        return {};
    return {decoded.state == VaultState::sound ? Readability::readable : Readability::damaged,
            std::move(decoded.items)};
}

auto find(auto& items, const CredentialItem& name) {
    return std::find_if(items.begin(), items.end(), [&](const VaultItem& item) { return item.name == name; });
}

} // namespace

CredentialStatus credentialStatus(PresenceOutcome outcome) {
    switch (outcome) {
    case PresenceOutcome::confirmed:
        return CredentialStatus::success;
    case PresenceOutcome::refused:
        return CredentialStatus::authFailed;
    case PresenceOutcome::dismissed:
        return CredentialStatus::userCancelled;
    case PresenceOutcome::unavailable:
        break;
    }
    return CredentialStatus::notAvailable;
}

CredentialReadResult CredentialStoreFile::read(const CredentialItem& item, const std::optional<QString>& prompt) {
    const auto vault = opened(file_.read());
    if (vault.readability == Readability::unusable)
        return {CredentialStatus::ioFailed, std::nullopt};
    const auto found = find(vault.items, item);
    if (found == vault.items.end())
        return {CredentialStatus::itemNotFound, std::nullopt};
    if (found->requiresUserPresence) {
        const auto status =
            prompt ? credentialStatus(presence_.confirm(*prompt)) : CredentialStatus::interactionNotAllowed;
        if (status != CredentialStatus::success)
            return {status, std::nullopt};
    }
    return {CredentialStatus::success, found->secret};
}

CredentialStatus CredentialStoreFile::add(const CredentialItem& item, const SecretText& data,
                                          CredentialProtection protection) {
    if (data.reveal().size() > maxSecretBytes)
        return CredentialStatus::dataTooLarge;
    auto writer = file_.write();
    if (!writer)
        return CredentialStatus::ioFailed;
    auto vault = opened(writer->read());
    if (vault.readability == Readability::unusable)
        return CredentialStatus::ioFailed;
    if (find(vault.items, item) != vault.items.end())
        return CredentialStatus::duplicateItem;
    vault.items.push_back({item, data, protection.requiresUserPresence});
    QByteArray bytes = encodeVault(vault.items);
    auto status = CredentialStatus::success;
    if (bytes.size() > maxFileBytes)
        status = CredentialStatus::dataTooLarge;
    else if (vault.readability == Readability::damaged && !writer->setAside(QStringLiteral("corrupt")))
        status = CredentialStatus::ioFailed;
    else if (!writer->replace(bytes))
        status = CredentialStatus::ioFailed;
    wipe(bytes);
    return status;
}

CredentialStatus CredentialStoreFile::remove(const CredentialItem& item) {
    if (file_.read().state == PrivateFile::State::missing)
        return CredentialStatus::itemNotFound; // nothing to make a folder for
    auto writer = file_.write();
    if (!writer)
        return CredentialStatus::ioFailed;
    auto vault = opened(writer->read());
    if (vault.readability == Readability::unusable)
        return CredentialStatus::ioFailed;
    const auto found = find(vault.items, item);
    if (found == vault.items.end())
        return CredentialStatus::itemNotFound;
    vault.items.erase(found);
    QByteArray bytes = encodeVault(vault.items);
    const bool written = writer->replace(bytes);
    wipe(bytes);
    return written ? CredentialStatus::success : CredentialStatus::ioFailed;
}

std::optional<CredentialProtection> CredentialStoreFile::protection(const CredentialItem& item) const {
    const auto vault = opened(file_.read());
    const auto found = find(vault.items, item);
    if (found == vault.items.end())
        return std::nullopt;
    return CredentialProtection{.requiresUserPresence = found->requiresUserPresence};
}

} // namespace vennic
