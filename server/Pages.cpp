#include "server/Pages.h"

#include "base/LocalizedError.h"
#include "server/Router.h"

#include <QFile>

static void initializePages() { Q_INIT_RESOURCE(pages); }

namespace vennic::server {

namespace {
struct Page {
    const char* path;
    const char* file;
    const char* contentType;
};
constexpr Page pages[] = {
    {"/console", ":/pages/console.html", "text/html; charset=utf-8"},
    {"/pairing", ":/pages/pairing.html", "text/html; charset=utf-8"},
    {"/pages/style.css", ":/pages/style.css", "text/css; charset=utf-8"},
    {"/pages/icon.svg", ":/pages/icon.svg", "image/svg+xml"},
    {"/pages/owner.js", ":/pages/owner.js", "text/javascript; charset=utf-8"},
    {"/pages/console.js", ":/pages/console.js", "text/javascript; charset=utf-8"},
    {"/pages/kinds.js", ":/pages/kinds.js", "text/javascript; charset=utf-8"},
    {"/pages/results.js", ":/pages/results.js", "text/javascript; charset=utf-8"},
    {"/pages/pairing.js", ":/pages/pairing.js", "text/javascript; charset=utf-8"},
};
constexpr auto policy = "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self' "
                        "data:; form-action 'none'; base-uri 'none'; frame-ancestors 'none'";

Response pageResponse(const Page& page) {
    QFile file(QString::fromLatin1(page.file));
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Une page du serveur manque."));
    Response response;
    response.contentType = page.contentType;
    response.body = file.readAll();
    response.fields = {{"Content-Security-Policy", policy},
                       {"X-Content-Type-Options", "nosniff"},
                       {"Referrer-Policy", "no-referrer"},
                       {"Cross-Origin-Opener-Policy", "same-origin"},
                       {"Cache-Control", "no-cache"}};
    return response;
}
} // namespace

void addPages(Router& router) {
    initializePages();
    for (const Page& page : pages) {
        router.add("GET", page.path, Access::Anyone, 0,
                   [&page](const Call& call) { call.exchange->respond(pageResponse(page)); });
    }
    router.add("GET", "/", Access::Anyone, 0, [](const Call& call) {
        Response response = emptyResponse(303);
        response.fields.emplaceBack("Location", "/console");
        call.exchange->respond(std::move(response));
    });
}

} // namespace vennic::server
