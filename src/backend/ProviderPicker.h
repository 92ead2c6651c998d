#pragma once
#include "backend/CloudCatalog.h"
#include "core/AppSession.h"
#include "localllm/LocalLLMModel.h"

#include <QObject>
#include <QSet>

#include <functional>

namespace vennic {

/// The small menu in which the user chooses who answers. Main thread only.
class ProviderPicker final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString pillLabel READ pillLabel NOTIFY pillChanged)
    Q_PROPERTY(QString pillIcon READ pillIcon NOTIFY pillChanged)
public:
    /// One line of the menu.
    struct Item {
        enum class Action { cloudModel, provider, localModel, manageModels };

        Action action = Action::cloudModel;
        QString title{};
        QString subtitle{}; // may be empty
        QString icon{};     // the symbol's name
        bool current = false;
        QString providerSlug{}; // of a cloud model or provider
        QString model{};        // slug or identifier; empty leaves the choice to who answers
        bool operator==(const Item&) const = default;
    };
    struct Section {
        QString title{}; // may be empty
        std::vector<Item> items{};
        bool operator==(const Section&) const = default;
    };

    /// What the picker touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        CloudCatalog& catalog;
        std::function<QSet<QString>()> downloadedIds; // identifiers of the local models on disk; run on the pool
        std::function<void()> manageModels;           // opens the settings of the local model; may be empty
    };

    explicit ProviderPicker(Surroundings surroundings);

    /// What the pill shows of the present choice.
    QString pillLabel() const;
    QString pillIcon() const;

    /// The menu as it is now: cloud first, then local.
    std::vector<Section> sections() const;
    void choose(const Item& item);
    /// To be called when the picker appears: fetches what is offered by now, in the cloud and on the disk. Until that
    /// has come the menu offers what was there the last time.
    Q_INVOKABLE void appear();

Q_SIGNALS:
    void pillChanged();
    void sectionsChanged();

private:
    /// The first model of the catalog with that slug; null when it has none.
    const CloudModel* catalogCloudModel(const QString& slug) const;
    std::vector<Section> cloudSections() const;
    std::vector<Item> fixedItems() const;
    Section localSection() const;
    Item localItem(const QString& id) const;
    bool isCurrent(Provider provider) const;
    Task<> readDisk();

    Surroundings with_;
    QStringList downloaded_; // in ascending order
    bool isReadingDisk_ = false;
    Scope jobs_;
};

} // namespace vennic
