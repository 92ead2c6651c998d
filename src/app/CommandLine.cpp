#include "app/CommandLine.h"

#include <algorithm>
#include <array>
#include <limits>

namespace vennic {

namespace {

constexpr qsizetype many = std::numeric_limits<qsizetype>::max();
constexpr qsizetype maxArguments = 4096;
constexpr qsizetype maxCharacters = qsizetype{64} * 1024;

const QLatin1String asking("ask"); // the one verb with an option --local

constexpr std::array verbTable{
    Verb{QLatin1String("status"), QLatin1String(""), 0, 0, true, u"dit où en sont le compte, le pont et l'index", u""},
    Verb{QLatin1String("pair"), QLatin1String("CODE"), 1, 1, false, u"appaire ce Mac avec un code à 8 caractères",
         u"Le code s'affiche sur la page d'appairage du site, une fois connecté à ton compte."},
    Verb{QLatin1String("token"), QLatin1String(""), 0, 0, false, u"enregistre un jeton lu sur l'entrée standard",
         u"Le jeton ne se donne jamais en argument : il serait visible des autres programmes."},
    Verb{QLatin1String("sign-out"), QLatin1String(""), 0, 0, false, u"déconnecte ce Mac et oublie le jeton", u""},
    Verb{QLatin1String("share"), QLatin1String("DOSSIER..."), 1, many, false, u"partage un ou plusieurs dossiers",
         u"Le serveur peut alors y chercher et y lire des documents ; les fichiers restent ici, seules les réponses "
         u"partent."},
    Verb{QLatin1String("shares"), QLatin1String(""), 0, 0, true, u"liste les dossiers partagés", u""},
    Verb{QLatin1String("unshare"), QLatin1String("ID..."), 1, many, false, u"retire un dossier du partage",
         u"L'identifiant est celui que donne « vennic shares » ; le chemin du dossier convient aussi."},
    Verb{QLatin1String("bridge"), QLatin1String("on|off"), 1, 1, false, u"active ou désactive le pont local", u""},
    Verb{QLatin1String("search"), QLatin1String("MOTS..."), 1, many, true,
         u"cherche dans les dossiers partagés, comme le ferait le serveur", u""},
    Verb{QLatin1String("ask"), QLatin1String("TEXTE..."), 1, many, true,
         u"pose une question et affiche la réponse ; la discussion continue d'une question à l'autre",
         u"Avec --local, le modèle de ce Mac répond à cette question, et peut chercher et lire dans les dossiers "
         u"partagés ; l'échange fini est classé dans la discussion du compte. Si le modèle ne répond pas, la question "
         u"passe par le serveur."},
    Verb{QLatin1String("open"), QLatin1String("ADRESSE"), 1, 1, false,
         u"ouvre un document trouvé, une photo ou un réglage, par son adresse",
         u"Les adresses vennic://local_file/open/... sont celles que donne « vennic search » ; elles valent jusqu'à la "
         u"fin de Vennic. Celles des photos, vennic://local_photo/view/..., restent valables."},
    Verb{QLatin1String("photos"), QLatin1String("allow|deny|status"), 1, 1, true,
         u"autorise ou refuse l'accès aux photos, ou dit où il en est",
         u"Le serveur peut alors demander le nom, la date, le type et le lieu des photos du dossier d'images ; les "
         u"photos elles-mêmes restent ici. Un refus efface ce que Vennic en savait."},
    Verb{QLatin1String("model"), QLatin1String("ACTION [VALEUR]"), 1, 2, true,
         u"règle le modèle local, dit où il en est, ou l'installe",
         u"\n  on, off           permet ou non au serveur de faire travailler le modèle de cette machine\n"
         u"  status            dit s'il répond, ce qu'il a chargé et à quelle vitesse il écrit\n"
         u"  endpoint ADRESSE  où il répond, comme http://localhost:8080/v1 ; demandes et réponses passent par là\n"
         u"  name NOM          le modèle à demander quand le serveur n'en nomme pas\n"
         u"  install           installe uv par Homebrew, mlx-lm par uv, et un service qui sert les modèles ici\n"
         u"  detect            dit ce qui en est déjà là\n"
         u"  download ID       télécharge un modèle par son identifiant Hugging Face\n\n"
         u"Les trois dernières actions se passent du client ; Ctrl-C les interrompt."},
    Verb{QLatin1String("toggle"), QLatin1String(""), 0, 0, false, u"ouvre ou ferme la fenêtre de Vennic",
         u"À lier à une touche du bureau, là où Vennic ne peut pas les écouter lui-même."},
    Verb{QLatin1String("autostart"), QLatin1String("on|off|status"), 1, 1, true,
         u"lance Vennic à l'ouverture de la session, ou plus, ou dit ce qu'il en est", u""},
    Verb{QLatin1String("doctor"), QLatin1String(""), 0, 0, true, u"vérifie ce dont Vennic a besoin sur cette machine",
         u""},
    Verb{QLatin1String("quit"), QLatin1String(""), 0, 0, false, u"arrête Vennic", u""},
};

const QStringList autostartWords{QStringLiteral("on"), QStringLiteral("off"), QStringLiteral("status")};
const QStringList photoWords{QStringLiteral("allow"), QStringLiteral("deny"), QStringLiteral("status")};

/// What is wrong with the arguments of `model`.
std::optional<QString> checkModel(const QStringList& words) {
    static const QStringList alone{QStringLiteral("on"), QStringLiteral("off"), QStringLiteral("status"),
                                   QStringLiteral("install"), QStringLiteral("detect")};
    static const QStringList withValue{QStringLiteral("endpoint"), QStringLiteral("name"), QStringLiteral("download")};
    const QString& word = words[0];
    if (!alone.contains(word) && !withValue.contains(word))
        return QStringLiteral("« %1 » n'est ni « on », ni « off », ni « endpoint », ni « name », ni « status », ni "
                              "« install », ni « detect », ni « download ».")
            .arg(word);
    if (withValue.contains(word) && words.value(1).isEmpty())
        return QStringLiteral("Il manque une valeur après « %1 ».").arg(word);
    if (alone.contains(word) && words.size() > 1)
        return QStringLiteral("« %1 » se donne seul.").arg(word);
    return std::nullopt;
}

const Verb* find(const QString& name) {
    const auto found = std::ranges::find_if(verbTable, [&](const Verb& verb) { return name == verb.name; });
    return found == verbTable.end() ? nullptr : &*found;
}

/// An address that the desktop hands over by starting the program with it.
bool isAddress(const QString& word) { return word.startsWith(QLatin1String("vennic:"), Qt::CaseInsensitive); }

QString usage(const Verb& verb) {
    QString line = QStringLiteral("vennic ") + verb.name;
    if (!verb.arguments.isEmpty())
        line += QLatin1Char(' ') + verb.arguments;
    if (verb.printsData)
        line += QStringLiteral(" [--json]");
    if (verb.name == asking)
        line += QStringLiteral(" [--local]");
    return line;
}

QString countError(const Verb& verb, qsizetype count) {
    if (count < verb.least)
        return QStringLiteral("Il manque un argument. Usage : %1").arg(usage(verb));
    return QStringLiteral("Il y a un argument de trop. Usage : %1").arg(usage(verb));
}

std::optional<QString> check(const CommandLine& line) {
    if (!line.verb || line.help || line.version)
        return std::nullopt;
    const Verb& verb = *find(*line.verb);
    if (line.json && !verb.printsData)
        return QStringLiteral("« %1 » n'a pas d'option --json.").arg(verb.name);
    if (line.local && verb.name != asking)
        return QStringLiteral("« %1 » n'a pas d'option --local.").arg(verb.name);
    if (line.arguments.size() < verb.least || line.arguments.size() > verb.most)
        return countError(verb, line.arguments.size());
    if (verb.name == QLatin1String("bridge") && line.arguments[0] != QLatin1String("on") &&
        line.arguments[0] != QLatin1String("off"))
        return QStringLiteral("« %1 » n'est ni « on » ni « off ».").arg(line.arguments[0]);
    if (verb.name == QLatin1String("autostart") && !autostartWords.contains(line.arguments[0]))
        return QStringLiteral("« %1 » n'est ni « on », ni « off », ni « status ».").arg(line.arguments[0]);
    if (verb.name == QLatin1String("photos") && !photoWords.contains(line.arguments[0]))
        return QStringLiteral("« %1 » n'est ni « allow », ni « deny », ni « status ».").arg(line.arguments[0]);
    if (verb.name == QLatin1String("model"))
        return checkModel(line.arguments);
    return std::nullopt;
}

} // namespace

std::span<const Verb> verbs() { return verbTable; }

ParsedCommandLine parseCommandLine(const QStringList& arguments) {
    ParsedCommandLine parsed;
    qsizetype characters = 0;
    for (const QString& argument : arguments)
        characters += argument.size();
    if (arguments.size() > maxArguments || characters > maxCharacters) {
        parsed.error = QStringLiteral("La ligne de commande est trop longue.");
        return parsed;
    }
    bool optionsEnded = false;
    for (const QString& argument : arguments) {
        if (!optionsEnded && argument == QLatin1String("--"))
            optionsEnded = true;
        else if (!optionsEnded && (argument == QLatin1String("--help") || argument == QLatin1String("-h")))
            parsed.line.help = true;
        else if (!optionsEnded && argument == QLatin1String("--version"))
            parsed.line.version = true;
        else if (!optionsEnded && argument == QLatin1String("--json"))
            parsed.line.json = true;
        else if (!optionsEnded && argument == QLatin1String("--local"))
            parsed.line.local = true;
        else if (!optionsEnded && argument.startsWith(QLatin1Char('-')) && argument.size() > 1)
            parsed.error = QStringLiteral("Option inconnue : %1").arg(argument);
        else if (!parsed.line.verb)
            parsed.line.verb = argument;
        else
            parsed.line.arguments.append(argument);
    }
    if (parsed.error)
        return parsed;
    if (parsed.line.verb && isAddress(*parsed.line.verb)) {
        parsed.line.addresses = QStringList{*parsed.line.verb} + parsed.line.arguments;
        parsed.line.verb.reset();
        parsed.line.arguments.clear();
        for (const QString& address : parsed.line.addresses) {
            if (!isAddress(address))
                parsed.error = QStringLiteral("Ce n'est pas une adresse de Vennic : %1").arg(address);
        }
    }
    if (parsed.error)
        return parsed;
    if (parsed.line.verb && !find(*parsed.line.verb))
        parsed.error = QStringLiteral("Commande inconnue : %1. « vennic --help » les liste.").arg(*parsed.line.verb);
    else if (!parsed.line.verb && (parsed.line.json || parsed.line.local))
        parsed.error = QStringLiteral("%1 accompagne une commande.")
                           .arg(parsed.line.json ? QLatin1String("--json") : QLatin1String("--local"));
    else
        parsed.error = check(parsed.line);
    return parsed;
}

QString helpText(const std::optional<QString>& name) {
    if (const Verb* verb = name ? find(*name) : nullptr) {
        QString summary = verb->summary.toString();
        summary.front() = summary.front().toUpper();
        QString text = QStringLiteral("Usage : %1\n\n%2.\n").arg(usage(*verb), summary);
        if (!verb->details.isEmpty())
            text += QStringLiteral("%1\n").arg(verb->details);
        if (verb->printsData)
            text += QStringLiteral("\n  --json   données en JSON\n");
        if (verb->name == asking)
            text += QStringLiteral("  --local  fait répondre le modèle de ce Mac\n");
        return text;
    }
    QString text = QStringLiteral("Usage : vennic [COMMANDE] [ARGUMENTS]\n\n"
                                  "Sans commande, démarre Vennic ; s'il tourne déjà, l'amène au premier plan.\n"
                                  "Avec des adresses vennic://, les ouvre aussi.\n\nCommandes :\n");
    const auto left = [](const Verb& verb) {
        return QString(verb.name) + (verb.arguments.isEmpty() ? QString() : QLatin1Char(' ') + verb.arguments);
    };
    qsizetype width = 0;
    for (const Verb& verb : verbTable)
        width = std::max(width, left(verb).size());
    const auto row = [width](const QString& word, QStringView meaning) {
        return QStringLiteral("  %1  %2\n").arg(word, -static_cast<int>(width)).arg(meaning);
    };
    for (const Verb& verb : verbTable)
        text += row(left(verb), verb.summary);
    text += QStringLiteral("\nOptions :\n");
    text += row(QStringLiteral("--json"),
                u"données en JSON (status, shares, search, ask, photos, model, autostart, doctor)");
    text += row(QStringLiteral("--local"), u"fait répondre le modèle de ce Mac (ask)");
    text += row(QStringLiteral("--"), u"ce qui suit n'est plus une option, même avec un tiret");
    text += row(QStringLiteral("--help"), u"cette aide, ou celle d'une commande");
    text += row(QStringLiteral("--version"), u"version de Vennic");
    text += QStringLiteral("\nÉtat de sortie : 0 fait, 1 échec, 2 mauvais usage, 3 Vennic ne tourne pas.\n");
    return text;
}

} // namespace vennic
