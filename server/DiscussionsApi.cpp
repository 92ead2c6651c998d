#include "server/DiscussionsApi.h"

#include "server/Accounts.h"
#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/Router.h"
#include "server/TaskJson.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr qint64 usualDiscussions = 100;
constexpr qint64 mostDiscussions = 1000;
constexpr qint64 shownTurns = 200;

QJsonObject summaryJson(const DiscussionSummary& summary) {
    return {{QStringLiteral("id"), summary.id},
            {QStringLiteral("name"), summary.name},
            {QStringLiteral("updated_at"), isoMoment(summary.updatedAt)},
            {QStringLiteral("queries_count"), summary.turns}};
}

void showDiscussion(Discussions& discussions, const Call& call) {
    bool ok = false;
    const qint64 id = call.parameters.constFirst().toLongLong(&ok);
    const auto summary = ok ? discussions.find(ownerAccount, id) : std::nullopt;
    if (!summary)
        throw HttpError(404, QStringLiteral("Cette discussion n'existe pas."));
    QByteArray body = jsonText(summaryJson(*summary));
    body.chop(1);
    body += ",\"turns\":[";
    const QList<Turn> turns = discussions.turns(id, shownTurns);
    for (const Turn& turn : turns) {
        if (!body.endsWith('['))
            body += ',';
        body += jsonText({{QStringLiteral("created_at"), isoMoment(turn.createdAt)},
                          {QStringLiteral("text"), turn.text},
                          {QStringLiteral("reply"), turn.reply},
                          {QStringLiteral("provider"), turn.provider},
                          {QStringLiteral("model"), turn.model}});
    }
    call.exchange->respond(jsonResponse(200, body + "]}"));
}
} // namespace

QByteArray discussionsJson(const QList<DiscussionSummary>& summaries) {
    QByteArray body = "[";
    for (const DiscussionSummary& summary : summaries) {
        if (body.size() > 1)
            body += ',';
        body += jsonText(summaryJson(summary));
    }
    return body + ']';
}

void addDiscussionRoutes(Router& router, Discussions& discussions) {
    router.add("GET", "/owner/discussions", Access::Owner, 0, [&discussions](const Call& call) {
        const qint64 limit = std::clamp<qint64>(call.head.number("limit", usualDiscussions), 1, mostDiscussions);
        call.exchange->respond(jsonResponse(200, discussionsJson(discussions.newest(ownerAccount, limit))));
    });
    router.add("GET", "/owner/discussions/*", Access::Owner, 0,
               [&discussions](const Call& call) { showDiscussion(discussions, call); });
}

} // namespace vennic::server
