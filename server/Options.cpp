#include "server/Options.h"

#include "base/LocalizedError.h"
#include "server/ModelAddress.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr int longestTaskTimeout = 86'400;

void takeListen(Options& options, const QString& value) {
    const qsizetype colon = value.lastIndexOf(u':');
    bool ok = false;
    const quint16 port = value.mid(colon + 1).toUShort(&ok);
    QString address = value.left(std::max<qsizetype>(colon, 0));
    if (address.startsWith(u'[') && address.endsWith(u']'))
        address = address.mid(1, address.size() - 2);
    if (!ok || address.isEmpty())
        throw LocalizedError(QStringLiteral("--listen attend ADRESSE:PORT, par exemple 127.0.0.1:8443."));
    options.listenAddress = address;
    options.listenPort = port;
}

void takeHost(Options& options, const QString& value) {
    const bool good = value.size() <= 253 && std::all_of(value.begin(), value.end(), [](QChar c) {
                          return c.unicode() < 128 && (c.isLetterOrNumber() || c == u'.' || c == u'-' || c == u':');
                      });
    if (!good || value.isEmpty())
        throw LocalizedError(QStringLiteral("--host attend un nom de machine ou une adresse IP."));
    options.hosts.append(value);
}

void takeTimeout(Options& options, const QString& value) {
    bool ok = false;
    const int seconds = value.toInt(&ok);
    if (!ok || seconds < 1 || seconds > longestTaskTimeout)
        throw LocalizedError(QStringLiteral("--task-timeout attend un nombre de secondes, de 1 à 86400."));
    options.taskTimeout = std::chrono::seconds{seconds};
}

/// The options of who answers, which belong together.
struct ModelOptions {
    QString url;
    QString name;
    QString keyFile;
    bool onMachine = false;
};

void settle(Options& options, const ModelOptions& model) {
    if (model.url.isEmpty() && (!model.name.isEmpty() || !model.keyFile.isEmpty()))
        throw LocalizedError(QStringLiteral("--model et --model-key-file vont avec --model-url."));
    if (options.help || options.version || (model.url.isEmpty() && !model.onMachine))
        return;
    AnswerChoice choice;
    choice.who = model.url.isEmpty() ? Answerer::Machine : Answerer::Server;
    choice.url = model.url;
    choice.model = modelName(model.name);
    if (!model.url.isEmpty())
        modelAddress(model.url); // which complains
    if (!model.keyFile.isEmpty())
        choice.key = modelKeyIn(model.keyFile);
    options.answering = choice;
}
} // namespace

Options readOptions(const QStringList& arguments) {
    Options options;
    ModelOptions model;
    for (qsizetype i = 0; i < arguments.size(); ++i) {
        QString name = arguments.at(i);
        if (name == QLatin1String("--help") || name == QLatin1String("-h")) {
            options.help = true;
            continue;
        }
        if (name == QLatin1String("--version")) {
            options.version = true;
            continue;
        }
        if (name == QLatin1String("--model-on-machine")) {
            model.onMachine = true;
            continue;
        }
        QString value;
        if (const qsizetype equals = name.indexOf(u'='); name.startsWith(QLatin1String("--")) && equals > 0) {
            value = name.mid(equals + 1);
            name.truncate(equals);
        } else if (i + 1 < arguments.size()) {
            value = arguments.at(++i);
        }
        if (name == QLatin1String("--data"))
            options.data = value;
        else if (name == QLatin1String("--listen"))
            takeListen(options, value);
        else if (name == QLatin1String("--host"))
            takeHost(options, value);
        else if (name == QLatin1String("--ready-file"))
            options.readyFile = value;
        else if (name == QLatin1String("--owner-email"))
            options.ownerEmail = value;
        else if (name == QLatin1String("--task-timeout"))
            takeTimeout(options, value);
        else if (name == QLatin1String("--model-url"))
            model.url = value;
        else if (name == QLatin1String("--model"))
            model.name = value;
        else if (name == QLatin1String("--model-key-file"))
            model.keyFile = value;
        else
            throw LocalizedError(QStringLiteral("Option inconnue : %1").arg(name));
        if (value.isEmpty())
            throw LocalizedError(QStringLiteral("Il manque une valeur à %1.").arg(name));
    }
    if (options.data.isEmpty() && !options.help && !options.version)
        throw LocalizedError(QStringLiteral("Il manque --data DOSSIER."));
    settle(options, model);
    return options;
}

QString optionsHelp() {
    return QStringLiteral(
        "Utilisation : vennic-server --data DOSSIER [options]\n"
        "\n"
        "Le serveur de Vennic : comptes, association des machines, pont, console.\n"
        "\n"
        "  --data DOSSIER          où le serveur garde tout son état (créé au premier démarrage)\n"
        "  --listen ADRESSE:PORT   où écouter ; par défaut 127.0.0.1:0. Le port 0 en prend un libre et le garde\n"
        "  --host NOM              nom ou adresse de plus dans le certificat ; répétable\n"
        "  --ready-file FICHIER    écrit, une fois prêt, l'adresse et les fichiers du serveur en JSON\n"
        "  --owner-email ADRESSE   adresse du compte du propriétaire, au premier démarrage\n"
        "  --task-timeout SECONDES temps laissé à une machine pour répondre, dix fois plus pour ce qui est long (texte "
        "à\n"
        "                          reconnaître, photos, automatisation, modèle) ; par défaut 60\n"
        "  --model-url ADRESSE     le serveur compatible OpenAI qui répond aux questions, par exemple\n"
        "                          https://modele.exemple/v1 ; http seulement vers cette machine. Sans lui ni\n"
        "                          --model-on-machine, le propriétaire choisit dans la console qui répond\n"
        "  --model NOM             le modèle à lui demander\n"
        "  --model-key-file FICHIER\n"
        "                          la clé à lui présenter\n"
        "  --model-on-machine      la machine du compte répond avec son propre modèle\n"
        "  --help                  cette aide\n"
        "  --version               la version\n");
}

} // namespace vennic::server
