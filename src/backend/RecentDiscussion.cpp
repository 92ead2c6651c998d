#include "backend/RecentDiscussion.h"

#include "base/Json.h"

namespace vennic {

std::vector<RecentDiscussion> RecentDiscussion::decodeList(const QByteArray& body) {
    std::vector<RecentDiscussion> list;
    for (const QJsonValue element : parseJsonArray(body)) {
        const QJsonObject object = objectOf(element);
        RecentDiscussion discussion;
        discussion.id = requiredInteger(object, QLatin1String("id"));
        discussion.name = optionalString(object, QLatin1String("name"));
        discussion.updated_at = optionalString(object, QLatin1String("updated_at"));
        discussion.queries_count = optionalInteger(object, QLatin1String("queries_count"));
        list.push_back(std::move(discussion));
    }
    return list;
}

} // namespace vennic
