#include "linux/worker/DocumentReaderWorker.h"

#include "linux/FileDescriptor.h"
#include "linux/worker/OpenedDocument.h"
#include "support/Await.h"
#include "worker/PdfMaker.h"
#include "worker/TextReaders.h"
#include "worker/Unboxed.h"
#include "worker/WorkerFolder.h"

#include <QDirIterator>

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <future>
#include <gtest/gtest.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

class DocumentReaderWorkerTest : public ::testing::Test {
protected:
    WorkerFolder folder_;
    DocumentReaderWorker reader_{DocumentWorkerOptions::interactive(workerProgram())};

    QString add(const QByteArray& bytes) { return folder_.add(QStringLiteral("document"), bytes); }
    pid_t onlyChild() {
        const QList<pid_t> children = childProcesses();
        EXPECT_EQ(children.size(), 1);
        return children.value(0, -1);
    }
};

constexpr qint64 mostBytes = wire::ceilingsOf(wire::Form::plainText).fileBytes;

wire::Form formOf(const QString& path) {
    return path.endsWith(QLatin1String(".pdf"))   ? wire::Form::pdf
           : path.endsWith(QLatin1String(".rtf")) ? wire::Form::rtf
                                                  : wire::Form::plainText;
}

DocumentText readAs(DocumentReader& reader, wire::Form form, const QString& path, qint64 most) {
    return form == wire::Form::pdf   ? reader.pdf(path, most)
           : form == wire::Form::rtf ? reader.rtf(path, most)
                                     : reader.plainText(path, most);
}

/// What the readers say in this very process, without a box.
std::optional<DocumentText> unboxed(const QString& path, qint64 most) {
    const auto read =
        readUnboxed(worker::textReaders(), formOf(path), path, {.mostCharacters = static_cast<std::uint64_t>(most)});
    if (read.outcome != wire::Outcome::done)
        return std::nullopt;
    return DocumentText{QString::fromStdString(read.body), read.truncated, QFileInfo(path).size()};
}

} // namespace

TEST_F(DocumentReaderWorkerTest, theEndOfAPageIsOneCharacterWhereItsTextEndsWithACarriageReturn) {
    const QString path = add(pdfReadAs("0062000d").replace("/Kids [4 0 R] /Count 1", "/Kids [4 0 R 4 0 R] /Count 2"));
    struct Read {
        QString text;
        bool isTruncated = false;
    };
    const QList<Read> byMost{{QString(), true},
                             {QStringLiteral("a"), true},
                             {QStringLiteral("ab"), true},
                             {QStringLiteral("ab\r"), false}, // as many as were asked: no further page is looked at
                             {QStringLiteral("ab\r\na"), true},
                             {QStringLiteral("ab\r\nab"), true},
                             {QStringLiteral("ab\r\nab\r"), false},
                             {QStringLiteral("ab\r\nab\r\n"), false}};
    for (qsizetype most = 0; most < byMost.size(); ++most) {
        const DocumentText read = reader_.pdf(path, most);
        EXPECT_EQ(read.text, byMost[most].text) << most;
        EXPECT_EQ(read.truncated, byMost[most].isTruncated) << most;
    }
}

TEST_F(DocumentReaderWorkerTest, readsTheSameBoxedAndUnboxed) {
    int texts = 0;
    QDirIterator files(dataFolder(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        for (const qint64 most : {0, 1, 7, 20, 1000000}) {
            const std::optional<DocumentText> expected = unboxed(path, most);
            std::optional<DocumentText> boxed;
            const auto fault = faultOf([&] { boxed = readAs(reader_, formOf(path), path, most); });
            EXPECT_EQ(boxed, expected) << path.toStdString();
            EXPECT_EQ(fault.value_or(DocumentFault::unparsable), DocumentFault::unparsable) << path.toStdString();
            texts += boxed && !boxed->text.isEmpty() ? 1 : 0;
        }
    }
    EXPECT_GT(texts, 150);
    EXPECT_EQ(childProcesses().size(), 1);
}

TEST_F(DocumentReaderWorkerTest, readsPdfsOfManyKinds) {
    const auto text = [&](const char* name) {
        return reader_.pdf(dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name), 10000).text;
    };
    EXPECT_EQ(text("small.pdf"), QStringLiteral("Bonjour, voici une petite page.\nElle a deux lignes.\n"));
    EXPECT_EQ(text("accents.pdf"),
              QStringLiteral("Élève à l’école, où l’œuvre coûte 12 €.\nÇa va (très) bien — merci…\n"));
    EXPECT_EQ(text("three-pages.pdf"), QStringLiteral("Première page.\nTroisième page.\n"));
    EXPECT_EQ(text("japanese.pdf"), QStringLiteral("日本語の文書です\n"));
    EXPECT_EQ(text("to-unicode.pdf"), QStringLiteral("éfin 😀\n"));
    EXPECT_EQ(text("rotated.pdf"), QStringLiteral("Page tournée.\n"));
    EXPECT_EQ(text("compressed.pdf"), QStringLiteral("Texte comprimé.\n"));
    EXPECT_EQ(text("owner-locked.pdf"), QStringLiteral("Page lisible par tous.\n"));
    EXPECT_EQ(text("huge-page.pdf"), QStringLiteral("Une page immense.\n"));
    EXPECT_EQ(text("no-text.pdf"), QString());
}

TEST_F(DocumentReaderWorkerTest, readsAColumnBeforeTheNextOne) {
    const QString text = reader_.pdf(dataFolder() + QStringLiteral("/documents/groff-columns.pdf"), 10000).text;
    const auto left = text.indexOf(QStringLiteral("Fin de la gauche."));
    const auto right = text.indexOf(QStringLiteral("Bravo"));
    EXPECT_GT(left, 0);
    EXPECT_GT(right, left);
}

TEST_F(DocumentReaderWorkerTest, aPdfStopsAtThePageThatReachesTheAskedLength) {
    const QString path = dataFolder() + QStringLiteral("/documents/hundred-pages.pdf");
    const QString first = QStringLiteral("Page 1 sur cent.\nUne phrase ordinaire qui se répète.");
    const DocumentText whole = reader_.pdf(path, first.size());
    EXPECT_EQ(whole.text, first);
    EXPECT_FALSE(whole.truncated); // the asked length isn't exceeded, whatever the other pages hold
    const DocumentText oneMore = reader_.pdf(path, first.size() + 1);
    EXPECT_EQ(oneMore.text, first + QStringLiteral("\n"));
    EXPECT_TRUE(oneMore.truncated);
}

TEST_F(DocumentReaderWorkerTest, aPdfThatCannotBeOpenedIsUnparsable) {
    for (const char* name : {"garbage.pdf", "not-a.pdf", "locked.pdf", "truncated.pdf"}) {
        const QString path = dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name);
        EXPECT_EQ(faultOf([&] { reader_.pdf(path, 100); }), DocumentFault::unparsable) << name;
    }
    const QString empty = add({});
    EXPECT_EQ(faultOf([&] { reader_.pdf(empty, 100); }), DocumentFault::unparsable);
}

TEST_F(DocumentReaderWorkerTest, everyBeginningOfAPdfEndsInATextOrAFault) {
    const QByteArray whole = pdfSaying("Bonjour");
    for (qsizetype length = 0; length < whole.size(); ++length) {
        const QString path = add(whole.left(length));
        const auto fault = faultOf([&] { reader_.pdf(path, 100); });
        EXPECT_NE(fault, DocumentFault::worker) << length;
    }
}

TEST_F(DocumentReaderWorkerTest, aThousandRequestsReuseOneProcess) {
    const QString path = add("abc");
    reader_.plainText(path, 9);
    const pid_t process = onlyChild();
    for (int i = 0; i < 1000; ++i)
        ASSERT_EQ(reader_.plainText(path, 2).text, QStringLiteral("ab"));
    EXPECT_EQ(onlyChild(), process);
}

TEST_F(DocumentReaderWorkerTest, theProcessIsLockedBeforeItGetsADocument) {
    // An unreadable document starts nothing; a document that is refused as too short for a PDF starts the process.
    EXPECT_EQ(faultOf([&] { reader_.plainText(folder_.path(QStringLiteral("absent")), 9); }),
              DocumentFault::unreadable);
    EXPECT_TRUE(childProcesses().isEmpty());
    reader_.plainText(add("abc"), 9);
    const pid_t process = onlyChild();
    EXPECT_EQ(processStatus(process, "Seccomp"), "2");
    EXPECT_EQ(processStatus(process, "NoNewPrivs"), "1");
    const QString limits = QString::fromUtf8(fileBytes(QStringLiteral("/proc/%1/limits").arg(process))).simplified();
    EXPECT_TRUE(limits.contains(QStringLiteral("Max file size 0 0")));
    EXPECT_TRUE(limits.contains(QStringLiteral("Max core file size 0 0")));
    EXPECT_TRUE(limits.contains(QStringLiteral("Max processes 0 0")));
#if !defined(VENNIC_SANITIZED)
    EXPECT_TRUE(limits.contains(QStringLiteral("Max address space 805306368 805306368")));
#endif
}

TEST_F(DocumentReaderWorkerTest, theProcessHoldsNothingOfOurs) {
    const FileDescriptor inherited(dup(STDIN_FILENO)); // without close-on-exec
    reader_.plainText(add("abc"), 9);
    const pid_t process = onlyChild();
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(process));
    const QStringList expected{QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2"), QStringLiteral("3")};
    // The document itself is closed just after its answer is sent.
    EXPECT_TRUE(waitUntil(
        [&] { return descriptors.entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System) == expected; }));
#if !defined(VENNIC_SANITIZED)
    EXPECT_TRUE(fileBytes(QStringLiteral("/proc/%1/environ").arg(process)).isEmpty());
#endif
}

TEST_F(DocumentReaderWorkerTest, aKilledProcessIsOneFailedRequestAndTheNextWorks) {
    const QString bomb = folder_.add(QStringLiteral("bomb"), flateBomb(2048));
    reader_.plainText(add("abc"), 9);
    const pid_t process = onlyChild();
    std::thread killer([process] {
        // Its first page keeps it busy for seconds; it is killed while it works.
        while (!processStatus(process, "State").startsWith('R'))
            std::this_thread::yield();
        kill(process, SIGKILL);
    });
    EXPECT_EQ(causeOf([&] { reader_.pdf(bomb, 100); }), WorkerFailure::Cause::interrupted);
    killer.join();
    EXPECT_EQ(reader_.plainText(add("abc"), 9).text, QStringLiteral("abc"));
    EXPECT_NE(onlyChild(), process);
}

TEST_F(DocumentReaderWorkerTest, aProcessKilledBetweenRequestsIsReplacedWithoutAFailure) {
    const QString path = add("abc");
    reader_.plainText(path, 9);
    const pid_t process = onlyChild();
    kill(process, SIGKILL);
    EXPECT_TRUE(waitUntil([&] { return childProcesses().isEmpty(); }));
    EXPECT_EQ(reader_.plainText(path, 9).text, QStringLiteral("abc"));
}

TEST_F(DocumentReaderWorkerTest, aBombEndsAtItsProcessorTimeAndTheNextRequestWorks) {
    DocumentReaderWorker hurried({.executable = workerProgram(), .mostCpu = 300ms});
    const QString bomb = folder_.add(QStringLiteral("bomb"), flateBomb(4096));
    EXPECT_EQ(causeOf([&] { hurried.pdf(bomb, 100); }), WorkerFailure::Cause::document);
    EXPECT_EQ(hurried.pdf(add(pdfSaying("apres")), 100).text, QStringLiteral("apres\n"));
}

#if !defined(VENNIC_SANITIZED)
TEST_F(DocumentReaderWorkerTest, aDocumentThatUnfoldsBeyondTheMemoryIsAFailureOrAnEmptyText) {
    // A cross-reference stream of 2 GiB, which has to be unfolded to be read.
    QByteArray pdf = "%PDF-1.5\n1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n2 0 obj\n<< /Type /Pages /Kids [] "
                     "/Count 0 >>\nendobj\n";
    const qsizetype start = pdf.size();
    pdf += "3 0 obj\n" +
           pdfStream(qCompress(QByteArray(1 << 24, '\0'), 9).mid(4),
                     "/Type /XRef /Size 500000000 /W [1 4 1] /Root 1 0 R /Filter /FlateDecode ") +
           "\nendobj\nstartxref\n" + QByteArray::number(start) + "\n%%EOF\n";
    const QString path = add(pdf);
    std::optional<DocumentText> text;
    const auto fault = faultOf([&] { text = reader_.pdf(path, 100); });
    EXPECT_TRUE(fault.has_value() || text->text.isEmpty());
    EXPECT_EQ(reader_.plainText(add("abc"), 9).text, QStringLiteral("abc"));
}
#endif

TEST_F(DocumentReaderWorkerTest, refusesWhatIsNoRegularFile) {
    const QString fifo = folder_.path(QStringLiteral("fifo"));
    ASSERT_EQ(mkfifo(qPrintable(fifo), 0600), 0);
    const QString loop = folder_.path(QStringLiteral("loop"));
    ASSERT_TRUE(QFile::link(loop, loop));
    for (const QString& path :
         {fifo, loop, folder_.path(QString()), QStringLiteral("/dev/zero"), QStringLiteral("/dev/tty"),
          QStringLiteral("/proc/self/root/etc/passwd"), QStringLiteral("relative"), QString(),
          QStringLiteral("/etc/passwd") + QChar(QChar::Null) + QStringLiteral("x")})
        EXPECT_EQ(faultOf([&] { reader_.plainText(path, 9); }), DocumentFault::unreadable) << path.toStdString();
    EXPECT_TRUE(childProcesses().isEmpty());
}

TEST_F(DocumentReaderWorkerTest, saysInFrenchWhyAFileIsUnreadable) {
    try {
        reader_.plainText(folder_.path(QStringLiteral("absent.txt")), 9);
        ADD_FAILURE();
    } catch (const DocumentReadError& error) {
        EXPECT_EQ(error.errorDescription(),
                  QStringLiteral("Le fichier « absent.txt » n'a pas pu être ouvert car il n'existe pas."));
    }
    EXPECT_EQ(unreadableSentence(QStringLiteral("/a/clos.txt"), EACCES),
              QStringLiteral(
                  "Le fichier « clos.txt » n'a pas pu être ouvert car tu n'as pas l'autorisation de le consulter."));
}

TEST_F(DocumentReaderWorkerTest, followsALinkToARegularFile) {
    const QString link = folder_.path(QStringLiteral("link"));
    ASSERT_TRUE(QFile::link(add("abc"), link));
    EXPECT_EQ(reader_.plainText(link, 9).text, QStringLiteral("abc"));
}

TEST_F(DocumentReaderWorkerTest, refusesAFileBeyondItsCeiling) {
    const QString path = add({});
    ASSERT_EQ(truncate(qPrintable(path), mostBytes + 1), 0);
    EXPECT_EQ(faultOf([&] { reader_.plainText(path, 9); }), DocumentFault::unreadable);
    ASSERT_EQ(truncate(qPrintable(path), mostBytes), 0);
    const DocumentText zeros = reader_.plainText(path, 9);
    EXPECT_EQ(zeros.fileBytes, mostBytes);
    EXPECT_EQ(zeros.text.size(), 9);
}

TEST_F(DocumentReaderWorkerTest, namesWithAccentsAndSpacesAreRead) {
    const QString path = folder_.add(QStringLiteral("Été à Noël — « œuvre ».txt"), "abc");
    EXPECT_EQ(reader_.plainText(path, 9).text, QStringLiteral("abc"));
}

TEST_F(DocumentReaderWorkerTest, theBackgroundLaneIsIdleAndDoesNotHoldUpTheOther) {
    DocumentReaderWorker background(DocumentWorkerOptions::backgroundLane(workerProgram()));
    const QString bomb = folder_.add(QStringLiteral("bomb"), flateBomb(4096));
    const QString path = add("abc");
    background.plainText(path, 9);
    const pid_t idle = onlyChild();
    EXPECT_EQ(sched_getscheduler(idle), SCHED_IDLE);
    EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(idle)), 19);
    auto slow = std::async(std::launch::async, [&] { return faultOf([&] { background.pdf(bomb, 100); }); });
    EXPECT_EQ(reader_.plainText(path, 9).text, QStringLiteral("abc"));
    EXPECT_EQ(childProcesses().size(), 2);
    EXPECT_EQ(slow.wait_for(0s), std::future_status::timeout);
    background.close();
    EXPECT_EQ(slow.get(), DocumentFault::worker);
}

TEST_F(DocumentReaderWorkerTest, anIdleProcessIsEndedAndComesBackWhenAsked) {
    DocumentReaderWorker brief({.executable = workerProgram(), .idleEnd = 50ms});
    const QString path = add("abc");
    brief.plainText(path, 9);
    EXPECT_TRUE(waitUntil([] { return childProcesses().isEmpty(); }));
    EXPECT_EQ(brief.plainText(path, 9).text, QStringLiteral("abc"));
}

TEST_F(DocumentReaderWorkerTest, theProcessOutlivesTheThreadThatAskedFirst) {
    const QString path = add("abc");
    std::thread([&] { reader_.plainText(path, 9); }).join();
    const pid_t process = onlyChild();
    EXPECT_EQ(reader_.plainText(path, 9).text, QStringLiteral("abc"));
    EXPECT_EQ(onlyChild(), process);
}

TEST_F(DocumentReaderWorkerTest, closingFailsWhoWaitsAndWhoComesLater) {
    const QString bomb = folder_.add(QStringLiteral("bomb"), flateBomb(4096));
    reader_.plainText(add("abc"), 9);
    const pid_t process = onlyChild();
    auto waiting = std::async(std::launch::async, [&] { return faultOf([&] { reader_.pdf(bomb, 100); }); });
    EXPECT_TRUE(waitUntil([&] { return processStatus(process, "State").startsWith('R'); }));
    reader_.close();
    EXPECT_EQ(waiting.get(), DocumentFault::worker);
    EXPECT_TRUE(waitUntil([] { return childProcesses().isEmpty(); }));
    EXPECT_EQ(causeOf([&] { reader_.plainText(add("abc"), 9); }), WorkerFailure::Cause::unavailable);
}

TEST_F(DocumentReaderWorkerTest, theProcessEndsWithItsClient) {
    const QString path = add("abc");
    std::array<int, 2> ends{};
    ASSERT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    const pid_t client = fork();
    if (client == 0) {
        // A client that dies without a word, leaving its process behind.
        reader_.plainText(path, 9);
        const pid_t process = childProcesses().value(0, -1);
        [[maybe_unused]] const ssize_t told = write(ends[1], &process, sizeof process);
        kill(getpid(), SIGKILL);
    }
    int status = 0;
    ASSERT_EQ(waitpid(client, &status, 0), client);
    EXPECT_EQ(WTERMSIG(status), SIGKILL);
    pid_t process = -1;
    ASSERT_EQ(read(ends[0], &process, sizeof process), static_cast<ssize_t>(sizeof process));
    ASSERT_GT(process, 0);
    EXPECT_TRUE(waitUntil([&] {
        const QByteArray state = processStatus(process, "State");
        return state.isEmpty() || state.startsWith('Z') ||
               QFile::symLinkTarget(QStringLiteral("/proc/%1/exe").arg(process)) != workerProgram();
    }));
    close(ends[0]);
    close(ends[1]);
}

TEST_F(DocumentReaderWorkerTest, withoutAProgramToStartEveryRequestFails) {
    DocumentReaderWorker nowhere(DocumentWorkerOptions::interactive(QStringLiteral("/nulle/part")));
    const QString path = add("abc");
    EXPECT_EQ(causeOf([&] { nowhere.plainText(path, 9); }), WorkerFailure::Cause::unavailable);
    EXPECT_EQ(faultOf([&] { nowhere.plainText(path, 9); }), DocumentFault::worker);
}

TEST_F(DocumentReaderWorkerTest, withoutABoxNothingIsRead) {
    DocumentReaderWorker open(DocumentWorkerOptions::interactive(QStringLiteral(VENNIC_WITHOUT_LANDLOCK)));
    const QString path = add("abc");
    try {
        open.plainText(path, 9);
        ADD_FAILURE();
    } catch (const DocumentReadError& error) {
        EXPECT_EQ(error.fault(), DocumentFault::worker);
        EXPECT_TRUE(error.errorDescription().contains(QStringLiteral("isoler")));
    }
}
