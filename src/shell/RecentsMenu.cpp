#include "shell/RecentsMenu.h"

#include "base/Localized.h"
#include "base/ShownText.h"

namespace vennic {

namespace {
constexpr std::size_t limit = 5;
} // namespace

QVariantList RecentsMenu::entries() const {
    QVariantList titles;
    for (const RecentDiscussion& item : items_)
        titles.append(shownTitle(title(item)));
    return titles;
}

QString RecentsMenu::placeholder() const {
    if (!items_.empty())
        return {};
    return loading_ ? localized("Chargement…") : localized("Aucune discussion récente");
}

QString RecentsMenu::title(const RecentDiscussion& discussion) {
    const QString name = discussion.name.value_or(QString());
    return name.isEmpty() ? localized("Discussion %1").arg(discussion.id) : name;
}

void RecentsMenu::appear() { jobs_.start(load()); }

Task<> RecentsMenu::load() {
    if (loading_)
        co_return;
    const std::optional<SecretText> token = with_.session.userToken();
    if (!with_.session.isAuthenticated()) {
        set({}, false);
        co_return;
    }
    set(items_, true);
    std::vector<RecentDiscussion> answer;
    try {
        answer = co_await APIService(with_.http, with_.config, token, {}).fetchRecentDiscussions(limit);
    } catch (const std::exception&) {
        answer.clear(); // the list is a convenience: without an answer it is empty
    }
    if (answer.size() > limit) // no more than was asked for
        answer.resize(limit);
    set(std::move(answer), false);
}

void RecentsMenu::open(int item) const {
    if (item >= 0 && item < static_cast<int>(items_.size()))
        openPage(QStringLiteral("/discussions/") + QString::number(items_[static_cast<std::size_t>(item)].id));
}

void RecentsMenu::openAll() const { openPage(QStringLiteral("/discussions")); }

void RecentsMenu::openPage(const QString& path) const {
    const QUrl url(with_.config.baseURL() + path, QUrl::StrictMode);
    if (url.isValid())
        with_.openURL(url);
}

void RecentsMenu::set(std::vector<RecentDiscussion> items, bool loading) {
    if (items == items_ && loading == loading_)
        return;
    items_ = std::move(items);
    loading_ = loading;
    Q_EMIT itemsChanged();
}

} // namespace vennic
