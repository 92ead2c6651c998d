#include "linux/worker/AnswerRecord.h"
#include "linux/worker/WorkerLane.h"
#include "worker/PdfMaker.h"
#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace vennic;
using namespace vennic::test;

namespace {

class PictureWorker : public ::testing::Test {
protected:
    WorkerFolder folder_;
    WorkerLane lane_{DocumentWorkerOptions::pictures(pictureWorkerProgram())};

    static QString document(const char* name) {
        return dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name);
    }
    WorkerProcess::Reply ask(wire::Form form, const QString& path, const wire::Parameters& parameters = {}) {
        return lane_.ask(form, parameters, OpenedDocument(path, wire::ceilingsOf(form).fileBytes));
    }
    std::uint32_t pages(const QString& path) {
        return recordOf<wire::PageCount>(ask(wire::Form::pdfPages, path).body).value().pages;
    }
    QString pageText(const QString& path, std::uint32_t page) {
        return QString::fromUtf8(ask(wire::Form::pdfPageText, path, {.page = page}).body);
    }
};

} // namespace

TEST_F(PictureWorker, countsThePagesOfAPdf) {
    EXPECT_EQ(pages(document("small.pdf")), 1U);
    EXPECT_EQ(pages(document("three-pages.pdf")), 3U);
    EXPECT_EQ(pages(document("hundred-pages.pdf")), 100U);
}

TEST_F(PictureWorker, givesTheTextLayerOfEachPage) {
    EXPECT_EQ(pageText(document("three-pages.pdf"), 0), QStringLiteral("Première page."));
    EXPECT_EQ(pageText(document("three-pages.pdf"), 1), QString());
    EXPECT_EQ(pageText(document("three-pages.pdf"), 2), QStringLiteral("Troisième page."));
    EXPECT_EQ(pageText(document("japanese.pdf"), 0), QStringLiteral("日本語の文書です"));
}

TEST_F(PictureWorker, theTextOfAPageIsGivenAsItStandsToItsEnd) {
    const auto readAs = [&](const char* meaning) {
        return pageText(folder_.add(QStringLiteral("read-as.pdf"), pdfReadAs(meaning)), 0);
    };
    EXPECT_EQ(readAs("00620020"), QStringLiteral("ab "));
    EXPECT_EQ(readAs("0062000a000a"), QStringLiteral("ab\n\n"));
    EXPECT_EQ(readAs("0062000c"), QStringLiteral("ab\f"));
    EXPECT_EQ(readAs("0062000d"), QStringLiteral("ab\r"));
}

TEST_F(PictureWorker, aPageThatIsNotThereIsUnparsable) {
    const QString path = document("small.pdf");
    for (const std::uint32_t page : {1U, wire::mostPages, wire::mostPages + 1, 0xffffffffU})
        EXPECT_EQ(faultOf([&] { pageText(path, page); }), DocumentFault::unparsable) << page;
}

TEST_F(PictureWorker, aPdfThatCannotBeOpenedIsUnparsable) {
    for (const char* name : {"garbage.pdf", "not-a.pdf", "locked.pdf", "truncated.pdf", "empty.txt"}) {
        const QString path = document(name);
        EXPECT_EQ(faultOf([&] { pages(path); }), DocumentFault::unparsable) << name;
        EXPECT_EQ(faultOf([&] { pageText(path, 0); }), DocumentFault::unparsable) << name;
    }
    EXPECT_EQ(childProcesses().size(), 1);
}

TEST_F(PictureWorker, aFileBeyondItsCeilingIsUnreadable) {
    const QString path = folder_.add(QStringLiteral("large"), {});
    ASSERT_EQ(truncate(qPrintable(path), wire::mostMappedBytes + 1), 0);
    EXPECT_EQ(faultOf([&] { pages(path); }), DocumentFault::unreadable);
    EXPECT_TRUE(childProcesses().isEmpty());
}

TEST_F(PictureWorker, aFileLargerThanTheMemoryOfTheBoxIsRead) {
    const QByteArray pdf = pdfSaying("Bonjour");
    const QString path = folder_.add(QStringLiteral("large"), pdf);
    ASSERT_EQ(truncate(qPrintable(path), qint64{1} << 30), 0);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write(pdf.mid(pdf.indexOf("startxref")));
    file.close();
    EXPECT_EQ(pageText(path, 0), QStringLiteral("Bonjour"));
}

TEST_F(PictureWorker, theProcessIsLockedWhenItAnswers) {
    EXPECT_EQ(pages(document("small.pdf")), 1U);
    const pid_t process = childProcesses().value(0, -1);
    EXPECT_EQ(processStatus(process, "Seccomp"), "2");
    EXPECT_EQ(processStatus(process, "NoNewPrivs"), "1");
    const QString limits = QString::fromUtf8(fileBytes(QStringLiteral("/proc/%1/limits").arg(process))).simplified();
    EXPECT_TRUE(limits.contains(QStringLiteral("Max file size 0 0")));
    EXPECT_TRUE(limits.contains(QStringLiteral("Max core file size 0 0")));
#if !defined(VENNIC_SANITIZED)
    EXPECT_TRUE(limits.contains(QStringLiteral("Max data size 805306368 805306368")));
#endif
}

TEST_F(PictureWorker, aFormOfTheOtherProgramEndsIt) {
    const QString path = document("utf8.txt");
    EXPECT_EQ(faultOf([&] { ask(wire::Form::plainText, path, {.mostCharacters = 9}); }), DocumentFault::worker);
    EXPECT_EQ(pages(document("small.pdf")), 1U);
}
