#include "Bridge/PhotoOpener.h"

#include "fakes/ModalDialogsFake.h"
#include "fakes/PhotoLibraryFake.h"
#include "fakes/WorkspaceFake.h"
#include "support/Await.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <csignal>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace vennic;
using namespace vennic::test;

namespace {

struct PhotoOpenerTest : ::testing::Test {
    std::shared_ptr<PhotoLibraryFake> library = std::make_shared<PhotoLibraryFake>();
    std::shared_ptr<WorkspaceFake> workspace = std::make_shared<WorkspaceFake>();
    ModalDialogsFake dialogs;
    QTemporaryDir folder;
    QString temporary = folder.path();

    void photo(const QString& identifier, const char* type = "public.jpeg", const QByteArray& data = "image") {
        library->photos.push_back({identifier, {}, {}, {}});
        library->images[identifier] = {data, QString::fromLatin1(type)};
    }
    void open(const QString& identifier) {
        const PhotoOpener opener(library, workspace, dialogs, [] { return QStringLiteral("UUID"); }, temporary);
        await(opener.open(identifier));
    }
    QString warning() {
        EXPECT_EQ(dialogs.warnings.size(), 1U);
        if (dialogs.warnings.empty())
            return {};
        const auto [title, text] = dialogs.warnings.back();
        EXPECT_EQ(title, QStringLiteral("Photo"));
        dialogs.warnings.clear();
        return text;
    }
    /// The identifier that is looked for, told by which photo opens.
    bool finds(const QString& stored, const QString& asked) {
        library->photos.clear();
        photo(stored);
        workspace->opened.clear();
        dialogs.warnings.clear();
        open(asked);
        return workspace->opened.size() == 1;
    }
};

} // namespace

TEST_F(PhotoOpenerTest, theImageIsWrittenToATemporaryFileAndOpened) {
    const QByteArray image = QByteArrayLiteral("\x89PNG\0 and more\0");
    ASSERT_EQ(image.size(), 15);
    photo(QStringLiteral("A"), "public.png", image);
    open(QStringLiteral("A"));
    ASSERT_EQ(workspace->opened, QStringList{temporary + QStringLiteral("/vennic-UUID.png")});
    QFile file(workspace->opened[0]);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly)); // and it stays there
    EXPECT_EQ(file.readAll(), image);
    EXPECT_TRUE(dialogs.warnings.empty());
}

TEST_F(PhotoOpenerTest, theTypeDecidesTheExtension) {
    for (const auto& [type, extension] :
         std::initializer_list<std::pair<const char*, const char*>>{{"public.heic", "heic"},
                                                                    {"public.heif", "heic"},
                                                                    {"public.png", "png"},
                                                                    {"public.tiff", "tiff"},
                                                                    {"com.compuserve.gif", "gif"},
                                                                    {"public.jpeg", "jpg"},
                                                                    {"org.webmproject.webp", "jpg"},
                                                                    {"", "jpg"}}) {
        workspace->opened.clear();
        library->photos.clear();
        photo(QStringLiteral("A"), type);
        open(QStringLiteral("A"));
        EXPECT_TRUE(workspace->opened.value(0).endsWith(QLatin1String("/vennic-UUID.") + QLatin1String(extension)))
            << type;
    }
}

TEST_F(PhotoOpenerTest, eachOpeningHasAFileOfItsOwn) {
    photo(QStringLiteral("A"));
    const PhotoOpener opener(library, workspace, dialogs, newIdentifier, temporary);
    await(opener.open(QStringLiteral("A")));
    await(opener.open(QStringLiteral("A")));
    ASSERT_EQ(workspace->opened.size(), 2);
    EXPECT_NE(workspace->opened[0], workspace->opened[1]);
}

TEST_F(PhotoOpenerTest, thePercentEncodingIsRemovedOrElseTheIdentifierTakenAsItStands) {
    EXPECT_TRUE(finds(QStringLiteral("1F/L0 é"), QStringLiteral("1F%2FL0%20%C3%a9")));
    EXPECT_TRUE(finds(QStringLiteral("a+b"), QStringLiteral("a+b")));
    EXPECT_TRUE(finds(QStringLiteral("100%"), QStringLiteral("100%")));
    EXPECT_TRUE(finds(QStringLiteral("%2"), QStringLiteral("%2")));
    EXPECT_TRUE(finds(QStringLiteral("%zz%20"), QStringLiteral("%zz%20")));
    EXPECT_TRUE(finds(QStringLiteral("%E9"), QStringLiteral("%E9"))); // no UTF-8
    EXPECT_FALSE(finds(QStringLiteral("%41"), QStringLiteral("%41")));
    EXPECT_TRUE(finds(QStringLiteral("%41"), QStringLiteral("%2541")));
    const QString withNul = QStringLiteral("A") + QChar::Null + QStringLiteral("B");
    EXPECT_TRUE(finds(withNul, QStringLiteral("A%00B")));
    EXPECT_TRUE(finds(withNul, withNul));
    EXPECT_FALSE(finds(QStringLiteral("A"), QStringLiteral("A%00B")));
}

TEST_F(PhotoOpenerTest, anUnknownPhotoIsToldInAnAlert) {
    open(QStringLiteral("nobody"));
    EXPECT_EQ(warning(), QStringLiteral("Photo introuvable dans la bibliothèque."));
    photo(QStringLiteral("A"));
    library->status = PhotoAuthorization::denied;
    open(QStringLiteral("A"));
    EXPECT_EQ(warning(), QStringLiteral("Photo introuvable dans la bibliothèque."));
    EXPECT_TRUE(workspace->opened.isEmpty());
}

TEST_F(PhotoOpenerTest, aPhotoWithoutDataIsToldWithItsReasonIfThereIsOne) {
    photo(QStringLiteral("A"));
    library->images.clear();
    open(QStringLiteral("A"));
    EXPECT_EQ(warning(), QStringLiteral("Impossible d'exporter la photo."));
    library->exportFailure = QStringLiteral("Le disque a signalé une erreur.");
    open(QStringLiteral("A"));
    EXPECT_EQ(warning(), QStringLiteral("Le disque a signalé une erreur."));
    EXPECT_TRUE(workspace->opened.isEmpty());
}

TEST_F(PhotoOpenerTest, aTemporaryFileThatCannotBeWrittenIsTold) {
    photo(QStringLiteral("A"));
    temporary = folder.filePath(QStringLiteral("absent"));
    open(QStringLiteral("A"));
    EXPECT_EQ(warning(), QStringLiteral("Écriture temporaire échouée: Le dossier temporaire n'a pas pu être ouvert."));
    EXPECT_TRUE(workspace->opened.isEmpty());
}

TEST_F(PhotoOpenerTest, aTemporaryFolderThatIsNotOursToWriteInIsToldSo) {
    photo(QStringLiteral("A"));
    temporary = folder.filePath(QStringLiteral("locked"));
    ASSERT_TRUE(QDir().mkdir(temporary));
    QFile::setPermissions(temporary, QFile::ReadOwner | QFile::ExeOwner);
    const bool isRoot = geteuid() == 0; // who may write everywhere
    ASSERT_EQ(isRoot ? seteuid(65534) : 0, 0);
    open(QStringLiteral("A"));
    ASSERT_EQ(isRoot ? seteuid(0) : 0, 0);
    EXPECT_EQ(warning(), QStringLiteral("Écriture temporaire échouée: Tu n'as pas l'autorisation d'enregistrer dans le "
                                        "dossier temporaire."));
    EXPECT_TRUE(workspace->opened.isEmpty());
}

TEST_F(PhotoOpenerTest, aDiskThatTakesNoMoreIsToldAndNothingIsLeftBehind) {
    // A file that can't grow is what a full disk makes of it. What is small is written when the file is closed.
    for (const int size : {1 << 20, 5000}) {
        photo(QString::number(size), "public.jpeg", QByteArray(size, 'x'));
        const auto handler = std::signal(SIGXFSZ, SIG_IGN);
        rlimit before{};
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small{4096, before.rlim_max};
        ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
        open(QString::number(size));
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
        EXPECT_EQ(warning(),
                  QStringLiteral("Écriture temporaire échouée: Le disque est plein ou a signalé une erreur."))
            << size;
    }
    EXPECT_TRUE(workspace->opened.isEmpty());
    EXPECT_TRUE(QDir(temporary).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

TEST_F(PhotoOpenerTest, whenNoApplicationOpensItThePlatformsWordsAreTold) {
    photo(QStringLiteral("A"));
    workspace->failures[temporary + QStringLiteral("/vennic-UUID.jpg")] =
        QStringLiteral("Aucune application n'est enregistrée.");
    open(QStringLiteral("A"));
    EXPECT_EQ(warning(), QStringLiteral("Aucune application n'est enregistrée."));
}
