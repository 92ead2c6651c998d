#pragma once
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

#include <memory>

namespace vennic {

/// The desktop's Secret Service if one answers, else the file vault at `vaultPath`. `presence` outlives the store.
///
/// What a vault still holds when a Secret Service has appeared was written after it had last been seen, so it is the
/// newer: the first read takes it over into the service and removes it from the vault. Until that succeeds the vault
/// goes on being read.
std::unique_ptr<CredentialStore> makeCredentialStore(UserPresence& presence, const QString& vaultPath);

} // namespace vennic
