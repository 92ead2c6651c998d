#include "app/Doctor.h"

#include "app/DesktopChecks.h"
#include "app/LocalModelReport.h"
#include "app/PhotosReport.h"
#include "app/SampleHeic.h"
#include "backend/Deployment.h"
#include "backend/PinnedRoots.h"
#include "base/RecognitionLanguage.h"
#include "linux/AutomationToolProgram.h"
#include "linux/CredentialStoreChoice.h"
#include "linux/PipedProgram.h"
#include "linux/UserPresencePolkit.h"
#include "linux/WorkspaceGio.h"
#include "linux/dialog/ModalDialogsProgram.h"
#include "linux/thumbnail/InstalledThumbnailer.h"
#include "linux/thumbnail/SandboxedCommand.h"
#include "linux/worker/BoxedThumbnail.h"
#include "linux/worker/DocumentReaderWorker.h"
#include "linux/worker/TextRecognizerWorker.h"
#include "linux/worker/WorkerLane.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QTemporaryDir>

#include <algorithm>
#include <array>
#include <functional>
#include <variant>
#include <vector>

namespace vennic {

namespace {

struct Check {
    QString subject;
    std::function<Finding()> look;
};

Finding deployment(const Paths& paths) {
    const Deployment found = Deployment::load(paths.resources + QStringLiteral("/deployment.json"));
    return {Verdict::good, found.backendUrl, {}};
}

Finding pinnedRoots(const Paths& paths) {
    const QString path = paths.resources + QStringLiteral("/pinned-roots.pem");
    const auto count = loadPinnedRoots(path)->ders.size();
    if (count == 0)
        return {Verdict::bad, QStringLiteral("aucun certificat dans %1").arg(path),
                QStringLiteral("Installe le fichier pinned-roots.pem de ce serveur.")};
    return {Verdict::good, QStringLiteral("%1 certificat(s)").arg(count), {}};
}

/// A file to try something on. Raises LocalizedError.
class Sample {
public:
    Sample(const QString& name, const QByteArray& bytes) : path_(folder_.filePath(name)) {
        QFile file(path_);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
            throw LocalizedError(QStringLiteral("le dossier temporaire n'accepte pas de fichier"));
    }
    const QString& path() const { return path_; }
    qint64 size() const { return QFileInfo(path_).size(); }

private:
    QTemporaryDir folder_;
    QString path_;
};

/// Has one of the boxed programs read a document of `bytes`; `read` says whether it did so rightly.
Finding boxed(const QString& program, const QByteArray& bytes, const std::function<bool(const QString&)>& read) {
    const QString remedy = QStringLiteral("Réinstalle %1 à côté de vennic ; il a besoin d'un noyau avec Landlock et "
                                          "seccomp.")
                               .arg(QFileInfo(program).fileName());
    const Sample sample(QStringLiteral("essai"), bytes);
    try {
        if (!read(sample.path()))
            return {Verdict::bad, QStringLiteral("le lecteur a mal lu un document d'essai"), remedy};
    } catch (const LocalizedError& error) {
        return {Verdict::bad, error.errorDescription(), remedy};
    }
    return {Verdict::good, QStringLiteral("enfermé, et lit"), {}};
}

/// Pictures are drawn in the boxed process; films by an installed program, if there is one and a box for it.
Finding thumbnails(const Paths& paths) {
    const Sample sample(QStringLiteral("essai.svg"), "<svg xmlns='http://www.w3.org/2000/svg'/>");
    WorkerLane pictures(DocumentWorkerOptions::pictures(paths.pictureWorker()));
    try {
        (void)boxedThumbnail(pictures, OpenedDocument(sample.path(), sample.size()), 32);
    } catch (const LocalizedError& error) {
        return {Verdict::bad, error.errorDescription(),
                QStringLiteral("Réinstalle vennic-picture-worker à côté de vennic ; il a besoin d'un noyau avec "
                               "Landlock et seccomp.")};
    }
    const QString picturesOnly = QStringLiteral("images, dessins et pages de PDF, mais pas les vidéos");
    if (!SandboxedCommand::isPossible())
        return {Verdict::limited, picturesOnly, QStringLiteral("Pour les vidéos, installe bubblewrap.")};
    if (!SandboxedCommand{.command = {"true"}}.run(OpenedDocument(sample.path(), sample.size()), sample.path(), -1))
        return {Verdict::limited, picturesOnly,
                QStringLiteral("bubblewrap n'arrive pas à isoler un programme : permets les espaces de noms "
                               "d'utilisateur (user.max_user_namespaces).")};
    if (!installedThumbnailer(QStringLiteral("video/mp4"), dataFolders()))
        return {Verdict::limited, picturesOnly, QStringLiteral("Pour les vidéos, installe ffmpegthumbnailer.")};
    return {Verdict::good, QStringLiteral("images, dessins, pages de PDF et vidéos"), {}};
}

/// The library that reads them may be there without what decodes them.
Finding telephonePhotos(const Paths& paths) {
    const Sample sample(QStringLiteral("essai.heic"), QByteArray::fromBase64(sampleHeic));
    WorkerLane pictures(DocumentWorkerOptions::pictures(paths.pictureWorker()));
    try {
        (void)boxedThumbnail(pictures, OpenedDocument(sample.path(), sample.size()), 32);
    } catch (const LocalizedError& error) {
        return {Verdict::limited, QStringLiteral("illisibles (%1)").arg(error.errorDescription()),
                QStringLiteral("Réinstalle libheif1 et, là où le système l'a mis à part, son décodeur "
                               "(libheif-plugin-libde265).")};
    }
    return {Verdict::good, QStringLiteral("lues"), {}};
}

Finding textWorker(const Paths& paths) {
    DocumentReaderWorker reader(DocumentWorkerOptions::interactive(paths.textWorker()));
    return boxed(paths.textWorker(), "été",
                 [&](const QString& path) { return reader.plainText(path, 100).text == QStringLiteral("été"); });
}

Finding pictureWorker(const Paths& paths) {
    TextRecognizerWorker recognizer(
        std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(paths.pictureWorker())));
    return boxed(paths.pictureWorker(),
                 "%PDF-1.1\n1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                 "2 0 obj<</Type/Pages/Kids[3 0 R]/Count 1>>endobj\n"
                 "3 0 obj<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]>>endobj\ntrailer<</Root 1 0 R>>\n%%EOF",
                 [&](const QString& path) { return recognizer.openPdf(path, {})->count() == 1; });
}

Finding recognition(std::span<const char* const> folders) {
    const auto installed = installedRecognition(folders).languages;
    QStringList names;
    QStringList missing;
    for (const RecognitionLanguage& language : recognitionLanguages) {
        if (std::ranges::find(installed, language) != installed.end())
            names.append(QString::fromUtf8(language.name));
        else
            missing.append(QString::fromLatin1(language.package));
    }
    if (missing.isEmpty())
        return {Verdict::good, names.join(QStringLiteral(", ")), {}};
    const QString words = names.isEmpty() ? QStringLiteral("aucune langue n'est installée")
                                          : QStringLiteral("seulement en ") + names.join(QStringLiteral(", "));
    return {Verdict::limited, words, QStringLiteral("Installe %1.").arg(missing.join(QStringLiteral(" et ")))};
}

Finding credentials(const Paths& paths) {
    UserPresencePolkit presence;
    const auto store = makeCredentialStore(presence, paths.data + QStringLiteral("/credentials.json"));
    if (isVaultChosen())
        return {Verdict::limited, QStringLiteral("coffre dans un fichier 0600, comme VENNIC_CREDENTIALS le demande"),
                QStringLiteral("Sans cette variable, le trousseau de la session garde le jeton.")};
    if (store->kind() == QLatin1String("file"))
        return {Verdict::limited, QStringLiteral("aucun trousseau de session ne répond : coffre dans un fichier 0600"),
                QStringLiteral("Installe et ouvre un trousseau (gnome-keyring) pour que le jeton soit chiffré.")};
    return {Verdict::good, QStringLiteral("trousseau de session"), {}};
}

Finding presence() {
    UserPresencePolkit presence;
    if (!presence.isAvailable())
        return {Verdict::limited, QStringLiteral("le système ne sait pas la demander"),
                QStringLiteral("Pour le mode haute sécurité, installe polkit et la règle com.vennic.desktop.policy.")};
    return {Verdict::good, QStringLiteral("polkit"), {}};
}

Finding watches() {
    QFile file(QStringLiteral("/proc/sys/fs/inotify/max_user_watches"));
    const bool known = file.open(QIODevice::ReadOnly);
    const qint64 most = known ? file.readAll().trimmed().toLongLong() : 0;
    if (most == 0)
        return {Verdict::limited, QStringLiteral("inotify n'est pas disponible"),
                QStringLiteral("Les changements ne seront vus qu'aux relectures.")};
    if (most < 65536)
        return {Verdict::limited, QStringLiteral("%1 dossiers surveillés au plus").arg(most),
                QStringLiteral("Augmente fs.inotify.max_user_watches si tu partages de très grands dossiers.")};
    return {Verdict::good, QStringLiteral("%1 dossiers surveillés au plus").arg(most), {}};
}

Finding types() {
    if (!QFileInfo::exists(QStringLiteral("/usr/share/mime/globs2")))
        return {Verdict::limited, QStringLiteral("seule la table intégrée est connue"),
                QStringLiteral("Installe shared-mime-info.")};
    return {Verdict::good, QStringLiteral("shared-mime-info"), {}};
}

/// What the running client says of one of its parts, or the finding that it says nothing.
std::variant<QJsonObject, Finding> statusOf(Instance& instance, const QString& part) {
    const auto answer =
        instance.ask(encodeCommandRequest({part, {QStringLiteral("status")}, {}}), std::chrono::seconds{5});
    const auto decoded = answer ? decodeCommandAnswer(*answer) : std::nullopt;
    if (!decoded)
        return Finding{Verdict::limited, QStringLiteral("Vennic ne tourne pas"), {}};
    if (decoded->status != ExitStatus::done)
        return Finding{Verdict::limited, decoded->reason, {}};
    return decoded->data;
}

/// Without a running client nobody knows what the user has decided.
Finding photoAccess(Instance& instance) {
    const auto told = statusOf(instance, QStringLiteral("photos"));
    if (const auto* silence = std::get_if<Finding>(&told))
        return *silence;
    const QJsonObject& data = std::get<QJsonObject>(told);
    const bool isAllowed = data[QLatin1String("access")] == QLatin1String("allowed");
    Finding finding{isAllowed ? Verdict::good : Verdict::limited, photosAccessSentence(data), {}};
    const bool isUndecided = data[QLatin1String("access")] == QLatin1String("undetermined");
    if (isUndecided)
        finding.remedy = QStringLiteral("« vennic photos allow » l'autorise, « vennic photos deny » le refuse.");
    if (!isAllowed)
        return finding;
    const bool isRead = data[QLatin1String("ready")].toBool();
    if (isRead && data[QLatin1String("folder")].toString().isEmpty())
        return {Verdict::limited, QStringLiteral("autorisé, mais ce Mac n'a pas de dossier d'images"),
                QStringLiteral("Choisis-en un : « xdg-user-dirs-update --set PICTURES CHEMIN ».")};
    if (data[QLatin1String("missing")].toBool())
        return {Verdict::limited, QStringLiteral("autorisé, mais le dossier d'images n'existe pas"),
                QStringLiteral("Crée %1.").arg(data[QLatin1String("folder")].toString())};
    if (const QString problem = data[QLatin1String("problem")].toString(); !problem.isEmpty())
        return {Verdict::limited, problem, {}};
    return finding;
}

Finding applications() {
    const auto known = WorkspaceGio().applications();
    if (known.empty())
        return {Verdict::limited, QStringLiteral("aucune application de bureau n'est installée"),
                QStringLiteral("Installe des applications qui apportent un fichier .desktop ; le serveur pourra les "
                               "ouvrir.")};
    return {Verdict::good, QStringLiteral("%1 application(s) que le serveur peut ouvrir").arg(known.size()), {}};
}

/// What the tasks that open a document will find.
Finding defaultApplications() {
    struct Type {
        const char* mime;
        const char* name;
    };
    constexpr std::array types{Type{"application/pdf", "PDF"}, Type{"text/plain", "textes"},
                               Type{"image/jpeg", "photos"}};
    QStringList opened;
    QStringList missing;
    for (const Type& type : types)
        (WorkspaceGio::hasDefaultApplication(type.mime) ? opened : missing).append(QString::fromUtf8(type.name));
    if (missing.isEmpty())
        return {Verdict::good, opened.join(QStringLiteral(", ")), {}};
    return {Verdict::limited, QStringLiteral("aucune application n'ouvre : %1").arg(missing.join(QStringLiteral(", "))),
            QStringLiteral("Installe une application pour ces documents, ou choisis-la dans les réglages du bureau.")};
}

/// Whether questions and warnings reach the user.
Finding dialogs(const Paths& paths) {
    const QString remedy = QStringLiteral("Réinstalle vennic-dialog à côté de vennic.");
    if (!QFileInfo(paths.dialogProgram()).isExecutable())
        return {Verdict::limited, QStringLiteral("vennic-dialog manque"), remedy};
    PipedProgram program(paths.dialogProgram(), {}, QByteArray()); // it is told of nothing to show, and shows nothing
    const bool hasExited = program.await(0, {}) == PipedProgram::End::exited;
    if (!hasExited || program.number() != static_cast<int>(DialogExit::notShown))
        return {Verdict::limited, QStringLiteral("vennic-dialog ne démarre pas"), remedy};
    if (!ModalDialogsProgram(paths.dialogProgram()).hasScreen())
        return {Verdict::limited, QStringLiteral("pas d'écran ici pour poser une question"),
                QStringLiteral("Réponds d'avance : « vennic photos allow » ou « vennic photos deny ».")};
    return {Verdict::good, QStringLiteral("vennic-dialog"), {}};
}

Finding automations(const Paths& paths) {
    const QString folder = paths.data + QStringLiteral("/shortcuts");
    AutomationToolProgram tool(paths.programs + QStringLiteral("/vennic-shortcuts"));
    try {
        const AutomationRun run = tool.run({QStringLiteral("list")}, std::nullopt, {});
        if (run.status != 0)
            return {Verdict::limited, QString::fromUtf8(run.error).trimmed(),
                    QStringLiteral("Corrige le propriétaire et les droits de %1.").arg(folder)};
        if (run.output.isEmpty())
            return {
                Verdict::good, QStringLiteral("aucune ; les programmes exécutables de %1 en seront").arg(folder), {}};
        return {Verdict::good, QStringLiteral("%1 dans %2").arg(run.output.count('\n')).arg(folder), {}};
    } catch (const LocalizedError& error) {
        return {Verdict::limited, error.errorDescription(),
                QStringLiteral("Réinstalle vennic-shortcuts à côté de vennic.")};
    }
}

Finding client(Instance& instance) {
    if (!instance.ask(encodeCommandRequest({QStringLiteral("status"), {}, {}}), std::chrono::seconds{5}))
        return {Verdict::limited, QStringLiteral("Vennic ne tourne pas"), QStringLiteral("Lance « vennic ».")};
    return {Verdict::good, QStringLiteral("Vennic tourne"), {}};
}

/// What the running client says of the server that the user named.
Finding localModel(Instance& instance) {
    const auto told = statusOf(instance, QStringLiteral("model"));
    if (const auto* silence = std::get_if<Finding>(&told))
        return *silence;
    const QJsonObject& data = std::get<QJsonObject>(told);
    const bool isOff = !data[QLatin1String("enabled")].toBool();
    const bool isThere = data[QLatin1String("reachable")].toBool() && !data[QLatin1String("timed_out")].toBool();
    if (isOff || isThere)
        return {Verdict::good, localModelSentence(data), {}};
    return {Verdict::limited, localModelSentence(data),
            QStringLiteral("Lance le serveur du modèle, ou nomme-en un autre : « vennic model endpoint ADRESSE ».")};
}

Finding lookAt(const Check& check) {
    try {
        return check.look();
    } catch (const std::exception& error) {
        return {Verdict::bad, localizedDescription(error), {}};
    }
}

QLatin1String word(Verdict verdict) {
    switch (verdict) {
    case Verdict::good:
        return QLatin1String("ok");
    case Verdict::limited:
        return QLatin1String("limited");
    case Verdict::bad:
        return QLatin1String("bad");
    }
    Q_UNREACHABLE();
}

QString mark(Verdict verdict) {
    return verdict == Verdict::good      ? QStringLiteral("✓")
           : verdict == Verdict::limited ? QStringLiteral("–")
                                         : QStringLiteral("✗");
}

} // namespace

CommandAnswer examine(const Paths& paths, Instance& instance, std::span<const char* const> recognitionFolders) {
    const std::vector<Check> checks{
        {QStringLiteral("Réglages du déploiement"), [&] { return deployment(paths); }},
        {QStringLiteral("Racines du serveur"), [&] { return pinnedRoots(paths); }},
        {QStringLiteral("Lecteur de documents"), [&] { return textWorker(paths); }},
        {QStringLiteral("Lecteur d'images"), [&] { return pictureWorker(paths); }},
        {QStringLiteral("Reconnaissance de texte"), [&] { return recognition(recognitionFolders); }},
        {QStringLiteral("Vignettes"), [&] { return thumbnails(paths); }},
        {QStringLiteral("Photos HEIC"), [&] { return telephonePhotos(paths); }},
        {QStringLiteral("Trousseau"), [&] { return credentials(paths); }},
        {QStringLiteral("Présence de l'utilisateur"), presence},
        {QStringLiteral("Suivi des dossiers"), watches},
        {QStringLiteral("Types de fichiers"), types},
        {QStringLiteral("Photos"), [&] { return photoAccess(instance); }},
        {QStringLiteral("Icône d'état"), statusItemPlace},
        {QStringLiteral("Démarrage avec la session"), [&] { return startWithSession(paths); }},
        {QStringLiteral("Liens vennic://"), linkHandler},
        {QStringLiteral("Dialogues"), [&] { return dialogs(paths); }},
        {QStringLiteral("Applications"), applications},
        {QStringLiteral("Ouverture des documents"), defaultApplications},
        {QStringLiteral("Automatisations"), [&] { return automations(paths); }},
        {QStringLiteral("Modèle local"), [&] { return localModel(instance); }},
        {QStringLiteral("Client"), [&] { return client(instance); }},
    };
    CommandAnswer answer;
    QJsonArray data;
    for (const Check& check : checks) {
        const Finding finding = lookAt(check);
        if (finding.verdict == Verdict::bad)
            answer.status = ExitStatus::failed;
        answer.text += QStringLiteral("%1 %2 : %3\n").arg(mark(finding.verdict), check.subject, finding.words);
        if (!finding.remedy.isEmpty())
            answer.text += QStringLiteral("    %1\n").arg(finding.remedy);
        data.append(QJsonObject{{QStringLiteral("name"), check.subject},
                                {QStringLiteral("verdict"), QString(word(finding.verdict))},
                                {QStringLiteral("finding"), finding.words},
                                {QStringLiteral("remedy"), finding.remedy}});
    }
    answer.text.chop(1);
    answer.data = {{QStringLiteral("checks"), data}};
    return answer;
}

} // namespace vennic
