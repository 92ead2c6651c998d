#pragma once
#include "backend/APIConfig.h"
#include "backend/CloudModel.h"
#include "backend/VennicHTTP.h"
#include "base/Clock.h"

#include <QObject>

namespace vennic {

/// The cloud providers and models that the backend offers, fetched without a token and kept in memory. Main thread
/// only.
class CloudCatalog final : public QObject {
    Q_OBJECT
    Q_PROPERTY(std::vector<vennic::CloudProvider> providers READ providers NOTIFY providersChanged)
public:
    CloudCatalog(VennicHTTP& http, const APIConfig& config, Clock& clock)
        : http_(http), config_(config), clock_(clock) {}

    /// The catalog that the program installed.
    static CloudCatalog& shared() { return *shared_; }
    static void install(CloudCatalog* catalog) { shared_ = catalog; }

    /// The last good answer; empty until there has been one.
    const std::vector<CloudProvider>& providers() const { return providers_; }
    /// When the last good answer came.
    const std::optional<QDateTime>& lastFetch() const { return lastFetch_; }

    /// `refresh`, unless the last good answer is less than half a minute old.
    Task<> refreshIfStale();
    /// GET /providers.json. A failure leaves everything as it is.
    Task<> refresh();

    /// The name of the symbol of a provider.
    static QLatin1String iconFor(QStringView slug);

Q_SIGNALS:
    void providersChanged();

private:
    static CloudCatalog* shared_;

    VennicHTTP& http_;
    const APIConfig& config_;
    Clock& clock_;
    std::vector<CloudProvider> providers_;
    std::optional<QDateTime> lastFetch_;
};

} // namespace vennic
