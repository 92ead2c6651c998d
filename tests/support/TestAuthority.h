#pragma once
#include "ports/HttpTransport.h"

#include <QStringList>

#include <memory>

namespace vennic::test {

/// A server's private key and the certificate for it, PEM.
struct ServerCertificate {
    QByteArray key;
    QByteArray certificate;
};

/// A certificate authority made in memory. Keys are P-256 and live as long as the object.
class TestAuthority {
public:
    explicit TestAuthority(const QString& name = QStringLiteral("Test root"));
    TestAuthority(const TestAuthority&) = delete;
    TestAuthority& operator=(const TestAuthority&) = delete;
    ~TestAuthority();

    /// What a server certificate says. Names that are IPv4 addresses become address entries.
    struct Wish {
        QStringList names = {QStringLiteral("localhost"), QStringLiteral("127.0.0.1"), QStringLiteral("*.localhost")};
        int validFromDays = -1; // counted from now
        int validToDays = 30;
    };
    ServerCertificate issue(const Wish& wish) const;
    ServerCertificate issue() const { return issue(Wish{}); }

    QByteArray der() const;
    std::shared_ptr<const TrustAnchors> anchors() const;
    /// Puts the root into a folder that serves as a system's trust store, under its hashed name.
    void installInto(const QString& folder) const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace vennic::test
