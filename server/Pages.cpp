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

const QString root = QStringLiteral(":/pages/");

/// What the owner opens in a browser: its name, which is that of its file and of its script too, and its title.
struct Page {
    const char* name = nullptr;
    const char* title = nullptr;
};
constexpr Page console{"console", "Console"};
constexpr Page pairing{"pairing", "Association"};
constexpr Page discussions{"discussions", "Discussions"};

QByteArray contentOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        throw LocalizedError(QStringLiteral("Une page du serveur manque."));
    return file.readAll();
}

QByteArray markupOf(const char* page) { return contentOf(root + QLatin1String(page) + QStringLiteral(".html")); }

/// The page in the frame that all share: its head, the way to the others, the login.
QByteArray framed(const Page& page) {
    QByteArray others;
    for (const Page& each : {console, pairing, discussions}) {
        others += QByteArray("<a href=\"/") + each.name + '"' +
                  (qstrcmp(each.name, page.name) == 0 ? " aria-current=\"page\">" : ">") + each.title + "</a>";
    }
    return markupOf("frame")
        .replace("{title}", page.title)
        .replace("{page}", page.name)
        .replace("{nav}", others)
        .replace("{content}", markupOf(page.name));
}

Response pageResponse(const QByteArray& contentType, const QByteArray& body) {
    Response response;
    response.contentType = contentType;
    response.body = body;
    response.fields = {{"Content-Security-Policy", policy},
                       {"X-Content-Type-Options", "nosniff"},
                       {"Referrer-Policy", "no-referrer"},
                       {"Cross-Origin-Opener-Policy", "same-origin"},
                       {"Cross-Origin-Resource-Policy", "same-origin"},
                       {"Cache-Control", "no-cache"}};
    return response;
}

void addPage(Router& router, const QByteArray& address, const Page& page) {
    router.add("GET", address, Access::Anyone, 0, [page](const Call& call) {
        call.exchange->respond(pageResponse(contentTypeOf(QStringLiteral(".html")), framed(page)));
    });
}

void addFile(Router& router, const QByteArray& address, const QString& file) {
    router.add("GET", address, Access::Anyone, 0, [file](const Call& call) {
        call.exchange->respond(pageResponse(contentTypeOf(file), contentOf(file)));
    });
}
} // namespace

void addPages(Router& router) {
    initializePages();
    addPage(router, "/console", console);
    addPage(router, "/pairing", pairing);
    // A client leads to both; the page's script asks for what its address names.
    addPage(router, "/discussions", discussions);
    addPage(router, "/discussions/*", discussions);
    for (QDirIterator each(root, QDir::Files, QDirIterator::Subdirectories); each.hasNext();) {
        const QString file = each.next();
        if (!file.endsWith(endings.front().ending))
            addFile(router, file.mid(1).toLatin1(), file); // "/pages/…"
    }
    router.add("GET", "/", Access::Anyone, 0, [](const Call& call) {
        Response response = emptyResponse(303);
        response.fields.emplaceBack("Location", "/console");
        call.exchange->respond(std::move(response));
    });
}

} // namespace vennic::server
