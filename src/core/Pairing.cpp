#include "core/Pairing.h"

#include "base/Localized.h"

namespace vennic {

Task<QString> pairSession(AppSession* session, VennicHTTP* http, const APIConfig* config, QString code) {
    const PairingClaimResponse claimed = co_await APIService::claimPairing(*http, *config, code);
    if (!session->setToken(claimed.user_token))
        throw LocalizedError(session->lastError().value_or(localized(
            "Impossible d'enregistrer le jeton dans le Trousseau. Essaie de désactiver « Mode haute sécurité ».")));
    co_return claimed.email;
}

} // namespace vennic
