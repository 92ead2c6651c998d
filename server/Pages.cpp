#include "server/Pages.h"

#include "base/LocalizedError.h"
#include "server/Router.h"

#include <QDirIterator>
#include <QFile>

#include <array>

static void initializePages() { Q_INIT_RESOURCE(pages); }

namespace vennic::server {

namespace {
// "require-trusted-types-for" makes a browser refuse every way of turning text into markup, whatever a script does.
constexpr auto policy = "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self' "
                        "data:; form-action 'none'; base-uri 'none'; frame-ancestors 'none'; "
                        "require-trusted-types-for 'script'; trusted-types 'none'";

struct Ending {
    QLatin1String ending;
    const char* contentType = nullptr;
};
constexpr std::array endings{
    Ending{QLatin1String(".html"), "text/html; charset=utf-8"},
    Ending{QLatin1String(".css"), "text/css; charset=utf-8"},
    Ending{QLatin1String(".js"), "text/javascript; charset=utf-8"},
    Ending{QLatin1String(".svg"), "image/svg+xml"},
};

QByteArray contentTypeOf(const QString& file) {
    for (const Ending& each : endings) {
        if (file.endsWith(each.ending))
            return each.contentType;
    }
    throw LocalizedError(QStringLiteral("Une page du serveur est d'un type inconnu : %1").arg(file));
}

Response pageResponse(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Une page du serveur manque."));
    Response response;
    response.contentType = contentTypeOf(path);
    response.body = file.readAll();
    response.fields = {{"Content-Security-Policy", policy},
                       {"X-Content-Type-Options", "nosniff"},
                       {"Referrer-Policy", "no-referrer"},
                       {"Cross-Origin-Opener-Policy", "same-origin"},
                       {"Cross-Origin-Resource-Policy", "same-origin"},
                       {"Cache-Control", "no-cache"}};
    return response;
}

void addPage(Router& router, const QByteArray& address, const QString& file) {
    router.add("GET", address, Access::Anyone, 0,
               [file](const Call& call) { call.exchange->respond(pageResponse(file)); });
}
} // namespace

void addPages(Router& router) {
    initializePages();
    const QString root = QStringLiteral(":/pages");
    addPage(router, "/console", root + QStringLiteral("/console.html"));
    addPage(router, "/pairing", root + QStringLiteral("/pairing.html"));
    // A client leads to both; the page's script asks for what its address names.
    addPage(router, "/discussions", root + QStringLiteral("/discussions.html"));
    addPage(router, "/discussions/*", root + QStringLiteral("/discussions.html"));
    for (QDirIterator each(root, QDir::Files, QDirIterator::Subdirectories); each.hasNext();) {
        const QString file = each.next();
        if (!file.endsWith(endings.front().ending))
            addPage(router, file.mid(1).toLatin1(), file); // "/pages/…"
    }
    router.add("GET", "/", Access::Anyone, 0, [](const Call& call) {
        Response response = emptyResponse(303);
        response.fields.emplaceBack("Location", "/console");
        call.exchange->respond(std::move(response));
    });
}

} // namespace vennic::server
