#include "server/Authority.h"

#include "base/LocalizedError.h"
#include "server/DataFolder.h"

#include <algorithm>
#include <memory>
#include <openssl/ec.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>

namespace vennic::server {

namespace {
constexpr long day = 24L * 3600;
constexpr int authorityDays = 3650;
constexpr int serverDays = 825;
constexpr int renewalDays = 400;
constexpr long x509Version3 = 2;

template <auto Free>
struct Freed {
    template <class T>
    void operator()(T* object) const {
        Free(object);
    }
};
using Key = std::unique_ptr<EVP_PKEY, Freed<EVP_PKEY_free>>;
using Certificate = std::unique_ptr<X509, Freed<X509_free>>;
using Bio = std::unique_ptr<BIO, Freed<BIO_free_all>>;
using Extension = std::unique_ptr<X509_EXTENSION, Freed<X509_EXTENSION_free>>;

void require(bool worked) {
    if (!worked)
        throw LocalizedError(QStringLiteral("Impossible de préparer le certificat du serveur."));
}

QByteArray content(BIO* bio) {
    char* data = nullptr;
    const long length = BIO_get_mem_data(bio, &data);
    return {data, length};
}

QByteArray pem(X509* certificate) {
    const Bio bio(BIO_new(BIO_s_mem()));
    require(bio && PEM_write_bio_X509(bio.get(), certificate) == 1);
    return content(bio.get());
}

QByteArray pem(EVP_PKEY* key) {
    const Bio bio(BIO_new(BIO_s_secmem()));
    require(bio && PEM_write_bio_PKCS8PrivateKey(bio.get(), key, nullptr, nullptr, 0, nullptr, nullptr) == 1);
    return content(bio.get());
}

Bio reader(const QByteArray& text) { return Bio(BIO_new_mem_buf(text.constData(), static_cast<int>(text.size()))); }
Certificate readCertificate(const QByteArray& text) {
    return Certificate(PEM_read_bio_X509(reader(text).get(), nullptr, nullptr, nullptr));
}
Key readKey(const QByteArray& text) {
    return Key(PEM_read_bio_PrivateKey(reader(text).get(), nullptr, nullptr, nullptr));
}

void extend(X509* certificate, X509* issuer, int kind, const QByteArray& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    const Extension extension(X509V3_EXT_conf_nid(nullptr, &context, kind, value.constData()));
    require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Certificate blank(EVP_PKEY* key, const QByteArray& name, int days) {
    Certificate certificate(X509_new());
    require(certificate && X509_set_version(certificate.get(), x509Version3) == 1);
    unsigned char serial[16];
    require(RAND_bytes(serial, sizeof serial) == 1);
    serial[0] &= 0x7F; // serial numbers are positive
    const std::unique_ptr<BIGNUM, Freed<BN_free>> number(BN_bin2bn(serial, sizeof serial, nullptr));
    require(number && BN_to_ASN1_INTEGER(number.get(), X509_get_serialNumber(certificate.get())));
    // An hour back: the machines of one household don't agree on the time.
    require(X509_gmtime_adj(X509_getm_notBefore(certificate.get()), -3600L) &&
            X509_gmtime_adj(X509_getm_notAfter(certificate.get()), day * days));
    X509_NAME* subject = X509_get_subject_name(certificate.get());
    require(X509_NAME_add_entry_by_txt(subject, "CN", MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(name.constData()),
                                       static_cast<int>(name.size()), -1, 0) == 1);
    require(X509_set_pubkey(certificate.get(), key) == 1);
    return certificate;
}

struct Issuer {
    Certificate certificate;
    Key key;
};

Issuer makeAuthority(const DataFolder& folder) {
    Issuer made{nullptr, Key(EVP_EC_gen("P-256"))};
    require(made.key != nullptr);
    made.certificate = blank(made.key.get(), "Vennic : autorité de ce serveur", authorityDays);
    X509* certificate = made.certificate.get();
    require(X509_set_issuer_name(certificate, X509_get_subject_name(certificate)) == 1);
    extend(certificate, certificate, NID_basic_constraints, "critical,CA:TRUE,pathlen:0");
    extend(certificate, certificate, NID_key_usage, "critical,keyCertSign,cRLSign");
    extend(certificate, certificate, NID_subject_key_identifier, "hash");
    require(X509_sign(certificate, made.key.get(), EVP_sha256()) > 0);
    folder.writeSecret(QStringLiteral("ca.key"), pem(made.key.get()));
    folder.writePublic(QStringLiteral("ca.pem"), pem(certificate));
    return made;
}

Issuer authority(const DataFolder& folder) {
    const auto certificate = folder.read(QStringLiteral("ca.pem"));
    const auto key = folder.read(QStringLiteral("ca.key"));
    if (!certificate || !key)
        return makeAuthority(folder);
    Issuer kept{readCertificate(*certificate), readKey(*key)};
    if (!kept.certificate || !kept.key || X509_check_private_key(kept.certificate.get(), kept.key.get()) != 1)
        throw LocalizedError(QStringLiteral("L'autorité de certification de %1 est abîmée.").arg(folder.path({})));
    return kept;
}

bool isAddress(const QString& host) {
    const std::unique_ptr<ASN1_OCTET_STRING, Freed<ASN1_OCTET_STRING_free>> parsed(
        a2i_IPADDRESS(host.toLatin1().constData()));
    return parsed != nullptr;
}

bool isStillGood(X509* certificate, const Issuer& issuer, const QStringList& hosts) {
    time_t limit = time(nullptr) + day * renewalDays;
    if (X509_cmp_time(X509_get0_notAfter(certificate), &limit) <= 0 || X509_verify(certificate, issuer.key.get()) != 1)
        return false;
    return std::all_of(hosts.begin(), hosts.end(), [certificate](const QString& host) {
        const QByteArray name = host.toLatin1();
        return isAddress(host)
                   ? X509_check_ip_asc(certificate, name.constData(), 0) == 1
                   : X509_check_host(certificate, name.constData(), std::size_t(name.size()), 0, nullptr) == 1;
    });
}
} // namespace

ServerIdentity obtainIdentity(const DataFolder& folder, const QStringList& hosts) {
    const Issuer issuer = authority(folder);
    QStringList names{QStringLiteral("localhost"), QStringLiteral("127.0.0.1"), QStringLiteral("::1")};
    names += hosts;
    const auto keptCertificate = folder.read(QStringLiteral("server.pem"));
    const auto keptKey = folder.read(QStringLiteral("server.key"));
    if (keptCertificate && keptKey) {
        const Certificate certificate = readCertificate(*keptCertificate);
        const Key key = readKey(*keptKey);
        if (certificate && key && X509_check_private_key(certificate.get(), key.get()) == 1 &&
            isStillGood(certificate.get(), issuer, names))
            return {*keptCertificate, *keptKey};
    }
    const Key key(EVP_EC_gen("P-256"));
    require(key != nullptr);
    const Certificate certificate = blank(key.get(), "localhost", serverDays);
    X509* made = certificate.get();
    require(X509_set_issuer_name(made, X509_get_subject_name(issuer.certificate.get())) == 1);
    QByteArray alternatives;
    for (const QString& name : names)
        alternatives +=
            (alternatives.isEmpty() ? "" : ",") + QByteArray(isAddress(name) ? "IP:" : "DNS:") + name.toLatin1();
    extend(made, issuer.certificate.get(), NID_basic_constraints, "critical,CA:FALSE");
    extend(made, issuer.certificate.get(), NID_key_usage, "critical,digitalSignature");
    extend(made, issuer.certificate.get(), NID_ext_key_usage, "serverAuth");
    extend(made, issuer.certificate.get(), NID_authority_key_identifier, "keyid:always");
    extend(made, issuer.certificate.get(), NID_subject_alt_name, alternatives);
    require(X509_sign(made, issuer.key.get(), EVP_sha256()) > 0);
    ServerIdentity identity{pem(made), pem(key.get())};
    folder.writeSecret(QStringLiteral("server.key"), identity.key);
    folder.writePublic(QStringLiteral("server.pem"), identity.certificate);
    return identity;
}

} // namespace vennic::server
