#pragma once
#include "backend/RecentDiscussion.h"
#include "core/AppSession.h"

#include <QObject>
#include <QUrl>
#include <QVariantList>

#include <functional>

namespace vennic {

/// The account's latest discussions, which open on the web. Main thread only.
class RecentsMenu final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QVariantList entries READ entries NOTIFY itemsChanged)
    Q_PROPERTY(QString placeholder READ placeholder NOTIFY itemsChanged)
public:
    /// What the menu touches; each outlives it.
    struct Surroundings {
        AppSession& session;
        VennicHTTP& http;
        const APIConfig& config;
        std::function<void(const QUrl&)> openURL; // in the default browser
    };

    explicit RecentsMenu(Surroundings surroundings) : with_(std::move(surroundings)) {}

    const std::vector<RecentDiscussion>& items() const { return items_; }
    bool isLoading() const { return loading_; }
    /// The title of each item as it is drawn, in their order.
    QVariantList entries() const;
    /// The line that stands in for the items; empty when there are some.
    QString placeholder() const;
    static QString title(const RecentDiscussion& discussion);

    /// To be called when the menu appears.
    Q_INVOKABLE void appear();
    /// Asks the backend for the items, unless that is under way. A failure empties the list without a word.
    Task<> load();
    /// Opens the item at that place; nothing when there is none.
    Q_INVOKABLE void open(int item) const;
    Q_INVOKABLE void openAll() const;

Q_SIGNALS:
    void itemsChanged();

private:
    void set(std::vector<RecentDiscussion> items, bool loading);
    void openPage(const QString& path) const;

    Surroundings with_;
    std::vector<RecentDiscussion> items_;
    bool loading_ = false;
    Scope jobs_;
};

} // namespace vennic
