#include "app/screen/ClosedEngine.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QQmlAbstractUrlInterceptor>

namespace vennic {

namespace {

/// Answers every request with a failure, before anything is looked up.
class NoNetwork final : public QNetworkAccessManager {
public:
    using QNetworkAccessManager::QNetworkAccessManager;

protected:
    QNetworkReply* createRequest(Operation operation, const QNetworkRequest& request, QIODevice* data) override {
        QNetworkRequest nowhere(request);
        nowhere.setUrl(QUrl());
        return QNetworkAccessManager::createRequest(operation, nowhere, data);
    }
};

} // namespace

class ClosedEngine::Refusing final : public QQmlNetworkAccessManagerFactory {
public:
    QNetworkAccessManager* create(QObject* parent) override { return new NoNetwork(parent); }
};

class ClosedEngine::OnlyResources final : public QQmlAbstractUrlInterceptor {
public:
    QUrl intercept(const QUrl& url, DataType type) override {
        const QString scheme = url.scheme();
        if (scheme == u"qrc" || scheme == u"image" || url.isEmpty())
            return url;
        // The engine looks for its own modules in the file system.
        if (type == QmldirFile || (type == QmlFile && scheme != u"http" && scheme != u"https"))
            return url;
        return {};
    }
};

ClosedEngine::ClosedEngine() : network_(std::make_unique<Refusing>()), addresses_(std::make_unique<OnlyResources>()) {
    setNetworkAccessManagerFactory(network_.get());
    addUrlInterceptor(addresses_.get());
    addImportPath(QStringLiteral("qrc:/"));
}

ClosedEngine::~ClosedEngine() {
    removeUrlInterceptor(addresses_.get());
    setNetworkAccessManagerFactory(nullptr);
}

} // namespace vennic
