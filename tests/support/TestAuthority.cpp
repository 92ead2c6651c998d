#include "support/TestAuthority.h"

#include <QFile>

#include <atomic>
#include <openssl/pem.h>
#include <openssl/x509v3.h>
#include <stdexcept>

namespace vennic::test {

namespace {

using Key = std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)>;
using Certificate = std::unique_ptr<X509, decltype(&X509_free)>;

Key makeKey() {
    Key key(EVP_EC_gen("P-256"), &EVP_PKEY_free);
    if (!key)
        throw std::runtime_error("no key could be made");
    return key;
}

void addExtension(X509* certificate, X509* issuer, int nid, const QByteArray& value) {
    X509V3_CTX context;
    X509V3_set_ctx_nodb(&context);
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    X509_EXTENSION* extension = X509V3_EXT_conf_nid(nullptr, &context, nid, value.constData());
    if (!extension)
        throw std::runtime_error("a certificate extension was refused");
    X509_add_ext(certificate, extension, -1);
    X509_EXTENSION_free(extension);
}

Certificate blankCertificate(EVP_PKEY* key, const QString& commonName, int fromDays, int toDays) {
    static std::atomic<long> serial{1};
    Certificate certificate(X509_new(), &X509_free);
    X509_set_version(certificate.get(), X509_VERSION_3);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial++);
    X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 86400L * fromDays);
    X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400L * toDays);
    X509_set_pubkey(certificate.get(), key);
    const QByteArray name = commonName.toUtf8();
    X509_NAME_add_entry_by_txt(X509_get_subject_name(certificate.get()), "CN", MBSTRING_UTF8,
                               reinterpret_cast<const unsigned char*>(name.constData()), -1, -1, 0);
    return certificate;
}

template <class F>
QByteArray pemOf(F write) {
    BIO* memory = BIO_new(BIO_s_mem());
    write(memory);
    char* at = nullptr;
    const long size = BIO_get_mem_data(memory, &at);
    QByteArray text(at, size);
    BIO_free(memory);
    return text;
}

bool isAddress(const QString& name) {
    const auto parts = name.split(u'.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](const QString& part) {
               bool isNumber = false;
               part.toInt(&isNumber);
               return isNumber;
           });
}

} // namespace

struct TestAuthority::Parts {
    Key key{nullptr, &EVP_PKEY_free};
    Certificate certificate{nullptr, &X509_free};
};

TestAuthority::TestAuthority(const QString& name) : parts_(std::make_unique<Parts>()) {
    parts_->key = makeKey();
    parts_->certificate = blankCertificate(parts_->key.get(), name, -2, 60);
    X509* root = parts_->certificate.get();
    X509_set_issuer_name(root, X509_get_subject_name(root));
    addExtension(root, root, NID_basic_constraints, "critical,CA:TRUE");
    addExtension(root, root, NID_key_usage, "critical,keyCertSign,cRLSign");
    addExtension(root, root, NID_subject_key_identifier, "hash");
    X509_sign(root, parts_->key.get(), EVP_sha256());
}

TestAuthority::~TestAuthority() = default;

ServerCertificate TestAuthority::issue(const Wish& wish) const {
    const Key key = makeKey();
    X509* issuer = parts_->certificate.get();
    const Certificate leaf = blankCertificate(key.get(), wish.names.value(0), wish.validFromDays, wish.validToDays);
    X509_set_issuer_name(leaf.get(), X509_get_subject_name(issuer));
    QStringList entries;
    for (const QString& name : wish.names)
        entries << (isAddress(name) ? QStringLiteral("IP:") : QStringLiteral("DNS:")) + name;
    addExtension(leaf.get(), issuer, NID_basic_constraints, "CA:FALSE");
    addExtension(leaf.get(), issuer, NID_ext_key_usage, "serverAuth");
    addExtension(leaf.get(), issuer, NID_subject_alt_name, entries.join(u',').toLatin1());
    X509_sign(leaf.get(), parts_->key.get(), EVP_sha256());
    return {pemOf([&](BIO* to) { PEM_write_bio_PrivateKey(to, key.get(), nullptr, nullptr, 0, nullptr, nullptr); }),
            pemOf([&](BIO* to) { PEM_write_bio_X509(to, leaf.get()); })};
}

QByteArray TestAuthority::der() const {
    unsigned char* bytes = nullptr;
    const int size = i2d_X509(parts_->certificate.get(), &bytes);
    QByteArray der(reinterpret_cast<const char*>(bytes), size);
    OPENSSL_free(bytes);
    return der;
}

std::shared_ptr<const TrustAnchors> TestAuthority::anchors() const {
    return std::make_shared<const TrustAnchors>(TrustAnchors{{der()}});
}

void TestAuthority::installInto(const QString& folder) const {
    const auto hash = X509_NAME_hash_ex(X509_get_subject_name(parts_->certificate.get()), nullptr, nullptr, nullptr);
    QFile file(folder + QStringLiteral("/%1.0").arg(hash, 8, 16, QLatin1Char('0')));
    if (!file.open(QIODevice::WriteOnly))
        throw std::runtime_error("the root could not be written");
    file.write(pemOf([&](BIO* to) { PEM_write_bio_X509(to, parts_->certificate.get()); }));
}

} // namespace vennic::test
