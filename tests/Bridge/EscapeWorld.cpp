#include "Bridge/EscapeWorld.h"

#include "linux/FileSystemPosix.h"
#include "linux/FileTypesShared.h"
#include "linux/FolderBookmarksInode.h"
#include "linux/worker/OpenedDocument.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>

#include <cstdio>
#include <fcntl.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace vennic::test {

namespace {

/// Opens documents as the program does and gives their bytes as they are, like a document process without a box.
DocumentText openedText(const QString& path) {
    const OpenedDocument document(path, 1'000'000);
    QByteArray bytes(64, '\0'); // enough to tell what it is
    const ssize_t got = ::read(document.descriptor(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    if (got < 0)
        throw DocumentReadError(DocumentFault::unreadable, QStringLiteral("Illisible."));
    return {QString::fromUtf8(bytes.first(got)), false, document.size()};
}

class OpeningReader final : public DocumentReader {
public:
    DocumentText plainText(const QString& path, qint64) override { return openedText(path); }
    DocumentText rtf(const QString& path, qint64) override { return openedText(path); }
    DocumentText pdf(const QString& path, qint64) override { return openedText(path); }
};

class OpeningRecognizer final : public TextRecognizer {
public:
    RecognizedText image(const QString& path, std::stop_token) override { return {openedText(path).text, {}}; }
    std::unique_ptr<PdfPages> openPdf(const QString& path, std::stop_token) override {
        return std::make_unique<OnePage>(openedText(path).text);
    }

private:
    class OnePage final : public PdfPages {
    public:
        explicit OnePage(QString text) : text_(std::move(text)) {}
        qint64 count() const override { return 1; }
        QString text(qint64) override { return text_; }
        RecognizedText recognize(qint64) override { return {text_, {}}; }

    private:
        QString text_;
    };
};

void require(bool held, const char* what) {
    if (!held)
        throw std::runtime_error(what);
}

void makeFolder(const QString& path) { require(QDir().mkpath(path), "mkpath"); }

void write(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    require(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size(), "write");
}

void link(const QString& target, const QString& path) {
    require(::symlink(QFile::encodeName(target).constData(), QFile::encodeName(path).constData()) == 0, "symlink");
}

void bindSocket(const QString& folder, const char* name) {
    const FileDescriptor open(::open(QFile::encodeName(folder).constData(), O_PATH | O_CLOEXEC));
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    // By way of the descriptor, since the address of a socket is short.
    std::snprintf(address.sun_path, sizeof address.sun_path, "/proc/self/fd/%d/%s", open.number(), name);
    require(::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "bind");
}

} // namespace

EscapeWorld::EscapeWorld()
    : bookmarks(std::make_shared<FolderBookmarksInode>([this](const FolderIdentity&) { return movedTo; },
                                                       [] { return FolderBookmarksInode::Moment::clock::now(); })),
      files(std::make_shared<FileSystemPosix>()), grants(world.store, *bookmarks, *files, world.clock) {
    layOutFiles();
    layOutLinks();
    layOutWhatIsNoFile();
    grant = grants.add(FileURL{at("grant")});
    BridgeService::Surroundings surroundings = world.surroundings;
    surroundings.bookmarks = bookmarks;
    surroundings.files = files;
    surroundings.types = std::make_shared<FileTypesShared>();
    surroundings.reader = std::make_shared<OpeningReader>();
    surroundings.recognizer = std::make_shared<OpeningRecognizer>();
    service = std::make_unique<BridgeService>(surroundings);
    service->start(SecretText("token"));
}

EscapeWorld::~EscapeWorld() { service->stop(); }

void EscapeWorld::layOutFiles() {
    for (const char* folder : {"grant/inner", "grant/Reçus", "grant/folder.pdf", "grant/-rf", "grant/a\nb", "grant/..x",
                               "grant/...", "grant/.hidden", "grantor", "grant-old", "Grant", "outside"})
        makeFolder(at(folder));
    makeFolder(at("grant/") + QString(255, u'd'));
    for (const char* name : {"plain.pdf", "inner/deep.pdf", "été.pdf", "nfd-e\u0301.pdf", "a\nb.pdf", "-rf.pdf",
                             " .pdf", "%2f.pdf", "$(reboot).pdf", "\u202etxt.pdf", "\u200b.pdf", "a\\b.pdf",
                             "'\"`;.pdf", ".hidden/x.pdf", "..x/x.pdf", "Reçus/edf.pdf"})
        write(at("grant/") + QString::fromUtf8(name), "shared");
    write(at("grant/") + QString(251, u'n') + QStringLiteral(".pdf"), "shared");
    for (const char* path : {"grantor/near.pdf", "grant-old/near.pdf", "grant.pdf", "Grant/plain.pdf",
                             "outside/secret.pdf", "outside/hard.pdf"})
        write(at(path), "secret");
}

void EscapeWorld::layOutLinks() {
    const QString secret = QStringLiteral("../outside/secret.pdf");
    link(secret, at("grant/link.pdf"));
    link(at("outside/secret.pdf"), at("grant/absolute.pdf"));
    link(QStringLiteral("../outside"), at("grant/dir"));
    link(QStringLiteral("."), at("grant/self"));
    link(QStringLiteral(".."), at("grant/up"));
    link(at("grant"), at("outside/back"));
    link(QStringLiteral("loop.pdf"), at("grant/loop.pdf"));
    link(QStringLiteral("nothing"), at("grant/dangling.pdf"));
    // Links to links: the kernel follows 40.
    link(secret, at("grant/chain0.pdf"));
    link(QStringLiteral("inner"), at("grant/hop0"));
    for (int step = 1; step < 50; ++step) {
        link(QStringLiteral("chain%1.pdf").arg(step - 1), at("grant/chain%1.pdf").arg(step));
        link(QStringLiteral("hop%1").arg(step - 1), at("grant/hop%1").arg(step));
    }
    for (const auto& [from, to] :
         {std::pair("outside/hard.pdf", "grant/hard.pdf"), std::pair("grant/plain.pdf", "outside/hard-back.pdf")})
        require(::link(QFile::encodeName(at(from)).constData(), QFile::encodeName(at(to)).constData()) == 0, "link");
}

void EscapeWorld::layOutWhatIsNoFile() {
    require(::mkfifo(QFile::encodeName(at("grant/pipe.pdf")).constData(), 0600) == 0, "mkfifo");
    bindSocket(at("grant"), "socket.pdf");
    for (const char* device : {"zero", "null", "random", "tty", "full", "stdin"})
        link(QStringLiteral("/dev/%1").arg(QLatin1String(device)), at("grant/%1.pdf").arg(QLatin1String(device)));
    link(QStringLiteral("/proc/self/root"), at("grant/magic"));
    link(QStringLiteral("/proc/self/cwd"), at("grant/cwd"));
    link(QStringLiteral("/proc/self/fd/0"), at("grant/descriptor.pdf"));
    link(QStringLiteral("/proc/self/exe"), at("grant/program.pdf"));
}

QString EscapeWorld::handleOf(const QString& path) {
    const QString id = QStringLiteral("H-%1").arg(++handles_);
    service->idCache().put(id, FileURL{path});
    return id;
}

QJsonObject EscapeWorld::answer(const char* kind, const QJsonObject& args) {
    const std::size_t before = world.backend.updates.size();
    const QByteArray task =
        taskJson(kind, QJsonDocument(args).toJson(QJsonDocument::Compact), QByteArray::number(++asked_));
    if (!waitUntil([&] { return world.backend.openPolls() == 1; }))
        throw std::runtime_error("the bridge doesn't poll");
    world.backend.answerPoll(200, task);
    if (!waitUntil([&] { return world.backend.updates.size() > before; }))
        throw std::runtime_error("the bridge doesn't answer");
    return world.backend.updates.back().body;
}

std::string shownPath(const QString& path) {
    return QJsonDocument(QJsonArray{path.left(300)}).toJson(QJsonDocument::Compact).toStdString();
}

} // namespace vennic::test
