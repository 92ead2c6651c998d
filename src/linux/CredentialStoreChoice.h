#pragma once
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

#include <memory>

namespace vennic {

/// Whether the environment chooses the file vault whatever answers, by VENNIC_CREDENTIALS=file: for a Vennic that is
/// being tried beside the one that its user has.
bool isVaultChosen();

/// The desktop's Secret Service if one answers and nothing else is chosen, else the file vault at `vaultPath`.
/// `presence` outlives the store.
///
/// What a vault still holds when a Secret Service has appeared was written after it had last been seen, so it is the
/// newer: the first read takes it over into the service and removes it from the vault. Until that succeeds the vault
/// goes on being read.
std::unique_ptr<CredentialStore> makeCredentialStore(UserPresence& presence, const QString& vaultPath);

} // namespace vennic
