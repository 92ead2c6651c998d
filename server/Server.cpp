#include "server/Server.h"

#include "server/AccountApi.h"
#include "server/AnsweringApi.h"
#include "server/Authority.h"
#include "server/BridgeApi.h"
#include "server/DiscussionsApi.h"
#include "server/JsonText.h"
#include "server/OwnerApi.h"
#include "server/Pages.h"
#include "server/QueryApi.h"
#include "server/Schema.h"

#include <unistd.h>

namespace vennic::server {

Server::Server(const Options& options, std::function<qint64()> wallClock)
    : options_(options), folder_(options.data), loop_(std::move(wallClock)),
      database_(folder_.path(QStringLiteral("vennic.sqlite"))), gate_(folder_.ownerKey(), loop_) {
    prepareSchema(database_);
    accounts_.ensureOwner(options_.ownerEmail);
    tasks_ = std::make_unique<TaskDesk>(store_, loop_, options_.taskTimeout);
    addAccountRoutes(router_, accounts_, pairings_, *tasks_);
    addBridgeRoutes(router_, machines_, *tasks_, loop_);
    addOwnerRoutes(router_, {accounts_, pairings_, machines_, *tasks_, store_, gate_, loop_});
    machineTasks_ = std::make_unique<MachineTasks>(machines_, *tasks_, store_, loop_);
    answering_ = std::make_unique<ChosenAnswering>(*machineTasks_, loop_);
    chooseAnswerer();
    addAnsweringRoutes(router_, *answering_, choices_, options_.answering ? ChosenBy::CommandLine : ChosenBy::Owner);
    addQueryRoutes(router_, {discussions_, *answering_, loop_});
    addDiscussionRoutes(router_, discussions_);
    addPages(router_);
    http_ = std::make_unique<HttpServer>(
        loop_, obtainIdentity(folder_, options_.hosts),
        [this](RequestHead head) { return router_.admit(std::move(head)); }, options_.limits);
    if (options_.listenPort == 0 && folder_.port() != 0) {
        try {
            port_ = http_->listen(options_.listenAddress, folder_.port());
        } catch (const LocalizedError&) {
            port_ = 0; // someone else has it now: any other does
        }
    }
    if (port_ == 0)
        port_ = http_->listen(options_.listenAddress, options_.listenPort);
    folder_.keepPort(port_);
    if (!options_.readyFile.isEmpty())
        writeWhole(options_.readyFile, description(), false);
}

Server::~Server() = default;

void Server::chooseAnswerer() {
    if (options_.answering)
        return answering_->choose(*options_.answering);
    try {
        answering_->choose(choices_.kept());
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch): the console shows the plain rules
        // Kept by a server that took other addresses.
    }
}

QString Server::url() const { return QStringLiteral("https://localhost:%1").arg(port_); }

QByteArray Server::description() const {
    return jsonText({{QStringLiteral("url"), url()},
                     {QStringLiteral("api_host"), QStringLiteral("localhost")},
                     {QStringLiteral("backend_domain"), QStringLiteral("localhost")},
                     {QStringLiteral("pairing_page"), url() + QStringLiteral("/pairing")},
                     {QStringLiteral("console"), url() + QStringLiteral("/console")},
                     {QStringLiteral("ca"), folder_.path(QStringLiteral("ca.pem"))},
                     {QStringLiteral("owner_key_file"), folder_.path(QStringLiteral("owner.key"))},
                     {QStringLiteral("pid"), static_cast<qint64>(getpid())}});
}

void Server::run() { loop_.run(); }

void Server::stop() {
    loop_.post([this] { finish(); });
}

void Server::stopOnTermination() {
    loop_.onTermination([this] { finish(); });
}

void Server::finish() {
    http_->stop([this] { loop_.stop(); });
    tasks_->endAllPolls();
}

} // namespace vennic::server
