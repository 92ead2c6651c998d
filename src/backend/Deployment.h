#pragma once
#include "base/LocalizedError.h"

#include <QString>

namespace vennic {

/// A deployment file that can't be used; the sentence says what is wrong with which field.
class DeploymentError : public LocalizedError {
public:
    using LocalizedError::LocalizedError;
};

/// Which backend this installation belongs to.
struct Deployment {
    QString backendUrl;         // https, without path, query or user; its host is apiHost
    QString backendDomain;      // lower case; the token goes to this host and to hosts below it, nowhere else
    QString apiHost;            // lower case, backendDomain or below it: the one host whose roots are pinned
    QString pairingPage;        // https page that shows the pairing code
    QString packageManagerSite; // https page of the package manager that the local runtime needs
    bool operator==(const Deployment&) const = default;

    /// Reads and checks a deployment file: a JSON object of at most 64 KiB with the strings "backend_url",
    /// "backend_domain", "api_host", "pairing_page", "package_manager_site". Raises DeploymentError.
    static Deployment load(const QString& path);
    /// The same of bytes already read.
    static Deployment parse(const QByteArray& json);
};

} // namespace vennic
