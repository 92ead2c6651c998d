#pragma once
#include "ports/CredentialStore.h"

#include <vector>

namespace vennic {

struct VaultItem {
    CredentialItem name;
    SecretText secret;
    bool requiresUserPresence = false;
    bool operator==(const VaultItem&) const = default;
};

/// The vault's text: a JSON object with `version` 1 and `items`, an array of objects with `service`, `account`,
/// `requires_user_presence` (optional, false) and `secret`, or `secret_base64` for a secret that isn't UTF-8 text.
QByteArray encodeVault(const std::vector<VaultItem>& items);

enum class VaultState { sound, damaged, newer };
struct DecodedVault {
    VaultState state = VaultState::damaged;
    std::vector<VaultItem> items; // only of a sound vault
};
/// A vault with one item of a wrong shape, or with two of one name, is damaged as a whole.
DecodedVault decodeVault(const QByteArray& bytes);

} // namespace vennic
