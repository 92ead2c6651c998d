#include "backend/APIConfig.h"

#include <cstdint>
#include <cstdlib>
#include <curl/curl.h>

using namespace vennic;

namespace {

const auto domain = QStringLiteral("vennic.test");

/// Preferences that hold the override and nothing else.
class Override final : public KeyValueStore {
public:
    explicit Override(QString address) : address_(std::move(address)) {}
    std::optional<StoredValue> value(const QString&) const override { return address_; }
    void set(const QString&, StoredValue) override {}
    void remove(const QString&) override {}

private:
    QString address_;
};

void expect(bool holds) {
    if (!holds)
        std::abort();
}

QByteArray part(CURLU* handle, CURLUPart which) {
    char* text = nullptr;
    const QByteArray result = curl_url_get(handle, which, &text, 0) == CURLUE_OK ? QByteArray(text) : QByteArray();
    curl_free(text);
    return result;
}

/// The library that sends the request reads the address as we do: https, inside the domain, the same port.
void expectSafeOnTheWire(const QUrl& url, const QUrl& base) {
    CURLU* handle = curl_url();
    const CURLUcode code = curl_url_set(handle, CURLUPART_URL, url.toEncoded().constData(), 0);
    if (code == CURLUE_OK) { // what it can't read it doesn't send
        const QString host = QString::fromUtf8(part(handle, CURLUPART_HOST)).toLower();
        expect(part(handle, CURLUPART_SCHEME) == "https");
        expect(host == domain || host.endsWith(QChar(u'.') + domain));
        expect(host == base.host(QUrl::FullyEncoded).toLower());
        const QByteArray port = part(handle, CURLUPART_PORT);
        expect(port.toInt() == std::max(base.port(), 0) || (port.isEmpty() && base.port() == 443));
    }
    curl_url_cleanup(handle);
}

} // namespace

/// The first line is an override of the backend's address, the rest the id of a task.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    const qsizetype end = bytes.indexOf('\n') < 0 ? bytes.size() : bytes.indexOf('\n');
    const QString address = QString::fromUtf8(bytes.first(end));
    const QString id = QString::fromUtf8(bytes.sliced(std::min(end + 1, bytes.size())));

    const Override store(address);
    const APIConfig config(store, Deployment{.backendUrl = QStringLiteral("https://api.vennic.test"),
                                             .backendDomain = domain,
                                             .apiHost = QStringLiteral("api.vennic.test"),
                                             .pairingPage = {},
                                             .packageManagerSite = {}});
    const QUrl base(config.baseURL(), QUrl::StrictMode);
    expectSafeOnTheWire(base, base);
    expectSafeOnTheWire(config.bridgeNextTaskURL(25), base);
    expectSafeOnTheWire(config.userURL(1), base);
    if (const auto url = config.bridgeTaskURL(id))
        expectSafeOnTheWire(*url, base);
    return 0;
}
