#pragma once
#include "server/Accounts.h"
#include "server/Http.h"

#include <QStringList>

namespace vennic::server {

class OwnerGate;

/// Who may call a route.
enum class Access { Anyone, Client, Owner };

/// One admitted request with its body.
struct Call {
    RequestHead head;
    QStringList parameters; // what stood for each * of the pattern, decoded
    TokenHolder caller;     // with Access::Client
    std::string body;
    std::shared_ptr<Exchange> exchange;
};

/// Finds the handler of a request and lets only those through who may call it.
class Router {
public:
    using Handler = std::function<void(Call)>;
    static constexpr std::size_t usualBody = std::size_t{4} * 1024 * 1024;

    Router(Accounts& accounts, OwnerGate& owner) : accounts_(accounts), owner_(owner) {}
    /// `pattern` is a path whose segments "*" stand for anything. A call with a longer body than `bodyLimit` is refused
    /// and told to `oversized`, without body and exchange.
    void add(const QByteArray& method, const QByteArray& pattern, Access access, std::size_t bodyLimit, Handler handler,
             Handler oversized = {});
    /// Raises HttpError: 404, 405, and 401 or 403 for who may not.
    Admission admit(RequestHead head) const;

private:
    struct Route {
        QByteArray method;
        QByteArrayList pattern;
        Access access;
        std::size_t bodyLimit;
        Handler handler;
        Handler oversized;
    };
    Accounts& accounts_;
    OwnerGate& owner_;
    QList<Route> routes_;
};

} // namespace vennic::server
