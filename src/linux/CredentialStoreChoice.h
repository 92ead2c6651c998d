#pragma once
#include "ports/CredentialStore.h"
#include "ports/UserPresence.h"

#include <memory>

namespace vennic {

/// The store of this machine: the Secret Service where one answers, else the file at `vaultPath`. Decided once, in
/// two seconds at most. `presence` outlives the store.
std::unique_ptr<CredentialStore> makeCredentialStore(const QString& vaultPath, UserPresence& presence);

} // namespace vennic
