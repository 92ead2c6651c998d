#include "linux/CredentialStoreChoice.h"

#include "linux/CredentialStoreFile.h"

namespace vennic {

std::unique_ptr<CredentialStore> makeCredentialStore(const QString& vaultPath, UserPresence& presence) {
    return std::make_unique<CredentialStoreFile>(vaultPath, presence);
}

} // namespace vennic
