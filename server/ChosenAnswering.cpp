#include "server/ChosenAnswering.h"

#include "server/JsonText.h"
#include "server/Loop.h"
#include "server/ModelServer.h"

namespace vennic::server {

struct ChosenAnswering::OwnersServer {
    OwnersServer(Loop& loop, const ModelAddress& address, MachineTasks& tasks)
        : model(loop, address), answering(model, tasks, loop) {}
    ModelServer model;
    ModelAnswering answering;
};

ChosenAnswering::ChosenAnswering(MachineTasks& tasks, Loop& loop)
    : tasks_(tasks), loop_(loop), simple_(tasks, loop), machineModel_(tasks), byMachine_(machineModel_, tasks, loop) {}

ChosenAnswering::~ChosenAnswering() = default;

void ChosenAnswering::choose(const AnswerChoice& choice) {
    std::shared_ptr<OwnersServer> server;
    if (choice.who == Answerer::Server) {
        ModelAddress address = modelAddress(choice.url);
        address.model = choice.model;
        address.key = choice.key;
        server = std::make_shared<OwnersServer>(loop_, address, tasks_);
    }
    server_ = std::move(server);
    choice_ = choice;
}

QByteArray ChosenAnswering::providers() const {
    QString slug = QStringLiteral("vennic-simple");
    QString name = QStringLiteral("Réponses simples");
    if (choice_.who == Answerer::Machine) {
        slug = QStringLiteral("local");
        name = QStringLiteral("Modèle du Mac");
    } else if (choice_.who == Answerer::Server) {
        slug = choice_.model.isEmpty() ? QStringLiteral("default") : choice_.model;
        name = choice_.model.isEmpty() ? QStringLiteral("Modèle du serveur") : choice_.model;
    }
    return R"([{"id":1,"slug":"openai","name":"vennic","display_name":"Ce serveur","models":[{"id":1,"slug":)" +
           jsonLiteral(slug) + R"(,"display_name":)" + jsonLiteral(name) +
           R"(,"kind":"chat","status":"active","supports_tools":true,"supports_streaming":true}]}])";
}

std::shared_ptr<void> ChosenAnswering::answer(const Question& question, Listener listener) {
    if (choice_.who == Answerer::Simple)
        return simple_.answer(question, std::move(listener));
    // Who asks for the model on his own machine doesn't want his words to go elsewhere.
    if (choice_.who == Answerer::Machine || question.provider == QLatin1String("local"))
        return byMachine_.answer(question, std::move(listener));
    struct Held {
        std::shared_ptr<OwnersServer> by;
        std::shared_ptr<void> answer; // goes first
    };
    return std::make_shared<Held>(Held{server_, server_->answering.answer(question, std::move(listener))});
}

} // namespace vennic::server
