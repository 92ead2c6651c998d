#pragma once
#include "core/AppSession.h"

namespace vennic {

/// Exchanges a pairing code for a token and signs in with it. Gives the account's address. Raises what claiming raises,
/// and LocalizedError when the credential store refuses the token. All three outlive it.
Task<QString> pairSession(AppSession* session, VennicHTTP* http, const APIConfig* config, QString code);

} // namespace vennic
