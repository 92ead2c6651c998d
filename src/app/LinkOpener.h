#pragma once
#include "app/Client.h"

namespace vennic {

/// Opens what the links in answers lead to: documents that were found, and photos. Main thread only.
class LinkOpener {
public:
    /// Why a link wasn't opened.
    struct Failure {
        QString reason;
        bool wasShown = false; // the person at the screen has read it
    };

    /// `client` outlives the opener.
    explicit LinkOpener(Client& client) : client_(client) {}

    /// None when it is open. Raises LocalizedError.
    Task<std::optional<Failure>> open(QString address);

private:
    Task<std::optional<Failure>> openPhoto(QString percentEncodedIdentifier);

    Client& client_;
};

} // namespace vennic
