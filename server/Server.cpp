#include "server/Server.h"

#include "server/AccountApi.h"
#include "server/AnsweringByProvider.h"
#include "server/Authority.h"
#include "server/BridgeApi.h"
#include "server/DiscussionsApi.h"
#include "server/JsonText.h"
#include "server/MachineModel.h"
#include "server/ModelAnswering.h"
#include "server/ModelServer.h"
#include "server/OwnerApi.h"
#include "server/Pages.h"
#include "server/QueryApi.h"
#include "server/Schema.h"
#include "server/SimpleAnswering.h"

#include <unistd.h>

namespace vennic::server {

namespace {
constexpr auto simpleModel = "vennic-simple";

/// What there is to choose from: whoever is chosen, it is this server that answers.
QByteArray providersOf(const Options& options) {
    QString slug = QLatin1String(simpleModel);
    QString name = QStringLiteral("Réponses simples");
    if (options.model) {
        slug = options.model->model.isEmpty() ? QStringLiteral("default") : options.model->model;
        name = options.model->model.isEmpty() ? QStringLiteral("Modèle du serveur") : options.model->model;
    } else if (options.modelOnMachine) {
        slug = QStringLiteral("local");
        name = QStringLiteral("Modèle du Mac");
    }
    return R"([{"id":1,"slug":"openai","name":"vennic","display_name":"Ce serveur","models":[{"id":1,"slug":)" +
           jsonLiteral(slug) + R"(,"display_name":)" + jsonLiteral(name) +
           R"(,"kind":"chat","status":"active","supports_tools":true,"supports_streaming":true}]}])";
}
} // namespace

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
    answering_ = makeAnswering();
    addQueryRoutes(router_, {discussions_, *answering_, loop_, providersOf(options_)});
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

std::unique_ptr<Answering> Server::makeAnswering() {
    if (!options_.model && !options_.modelOnMachine)
        return std::make_unique<SimpleAnswering>(*machineTasks_, loop_);
    machineModel_ = std::make_unique<MachineModel>(*machineTasks_);
    auto byMachine = std::make_unique<ModelAnswering>(*machineModel_, *machineTasks_, loop_);
    if (!options_.model)
        return byMachine;
    modelServer_ = std::make_unique<ModelServer>(loop_, *options_.model);
    // Who asks for the model on his own machine doesn't want his words to go elsewhere.
    return std::make_unique<AnsweringByProvider>(
        std::move(byMachine), std::make_unique<ModelAnswering>(*modelServer_, *machineTasks_, loop_));
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
