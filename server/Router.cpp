#include "server/Router.h"

#include "server/HttpError.h"
#include "server/OwnerGate.h"

namespace vennic::server {

namespace {
std::optional<QStringList> match(const QByteArrayList& pattern, const QByteArrayList& path) {
    if (pattern.size() != path.size())
        return std::nullopt;
    QStringList parameters;
    for (qsizetype i = 0; i < pattern.size(); ++i) {
        // A pattern may end its segment behind the star, as in "*.json".
        const QByteArray& wanted = pattern.at(i);
        if (wanted.startsWith('*')) {
            const QByteArray ending = wanted.mid(1);
            if (path.at(i).size() <= ending.size() || !path.at(i).endsWith(ending))
                return std::nullopt;
            parameters.append(QString::fromUtf8(QByteArray::fromPercentEncoding(path.at(i).chopped(ending.size()))));
        } else if (wanted != path.at(i)) {
            return std::nullopt;
        }
    }
    return parameters;
}
} // namespace

void Router::add(const QByteArray& method, const QByteArray& pattern, Access access, std::size_t bodyLimit,
                 Handler handler, Handler oversized) {
    routes_.append({method, pattern.split('/'), access, bodyLimit, std::move(handler), std::move(oversized)});
}

Admission Router::admit(RequestHead head) const {
    const QByteArrayList path = head.path.split('/');
    QByteArrayList allowed;
    for (const Route& route : routes_) {
        auto parameters = match(route.pattern, path);
        if (!parameters)
            continue;
        // A HEAD of a poll would take a task and drop it: only pages have one.
        const bool pageHead = head.method == "HEAD" && route.method == "GET" && route.access == Access::Anyone;
        if (route.method != head.method && !pageHead) {
            allowed.append(route.method);
            continue;
        }
        Call call;
        if (route.access == Access::Client) {
            const auto holder = accounts_.holder(head.field("x-user-token"));
            if (!holder)
                throw HttpError(401, QStringLiteral("Le jeton est absent ou n'est plus valable."));
            call.caller = *holder;
        } else if (route.access == Access::Owner) {
            owner_.admit(head);
        }
        call.head = std::move(head);
        call.parameters = *std::move(parameters);
        Admission admission;
        admission.bodyLimit = route.bodyLimit;
        if (route.oversized)
            admission.oversized = [call, tell = route.oversized] { tell(call); };
        admission.handle = [call = std::move(call),
                            handler = route.handler](std::string body, std::shared_ptr<Exchange> exchange) mutable {
            call.body = std::move(body);
            call.exchange = std::move(exchange);
            handler(std::move(call));
        };
        return admission;
    }
    if (allowed.isEmpty())
        throw HttpError(404, QStringLiteral("Il n'y a rien à cette adresse."));
    HttpError error(405, QStringLiteral("Cette adresse ne connaît pas cette méthode."));
    error.allow = allowed.join(", ");
    throw error;
}

} // namespace vennic::server
