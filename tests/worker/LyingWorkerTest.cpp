#include "linux/worker/WorkerLane.h"
#include "worker/WorkerFolder.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

/// A reader whose process tells one lie, named by `lie`.
class Liar {
public:
    explicit Liar(const QString& lie) : reader_(options(folder_.path(lie))) {
        EXPECT_TRUE(QFile::link(QStringLiteral(VENNIC_LYING_WORKER), folder_.path(lie)));
    }
    DocumentReaderWorker& reader() { return reader_; }
    QString document() { return folder_.add(QStringLiteral("document"), "abcd"); }

private:
    static DocumentWorkerOptions options(const QString& program) {
        return {.executable = program, .mostCpu = 200ms, .mostWall = 3s};
    }

    WorkerFolder folder_;
    DocumentReaderWorker reader_;
};

/// A PDF of two pages in a lane whose process tells one lie about them.
class PageLiar {
public:
    explicit PageLiar(const QString& lie) {
        EXPECT_TRUE(QFile::link(QStringLiteral(VENNIC_LYING_WORKER), folder_.path(lie)));
        lane_ = std::make_unique<WorkerLane>(DocumentWorkerOptions{.executable = folder_.path(lie), .mostCpu = 200ms});
    }
    QByteArray ask(wire::Form form) {
        const QString path = folder_.add(QStringLiteral("document"), "abcd");
        return lane_->ask(form, {}, OpenedDocument(path, 4)).body;
    }

private:
    WorkerFolder folder_;
    std::unique_ptr<WorkerLane> lane_;
};

class LyingAboutPageCounts : public ::testing::TestWithParam<const char*> {};
class LyingAboutPageTexts : public ::testing::TestWithParam<const char*> {};
class LyingAboutRecognition : public ::testing::TestWithParam<const char*> {};

std::string nameOfLie(const ::testing::TestParamInfo<const char*>& info) {
    QString name = QString::fromLatin1(info.param);
    return name.remove(u'-').toStdString();
}

class LyingWorker : public ::testing::TestWithParam<const char*> {};

} // namespace

TEST_P(LyingWorker, isNotBelieved) {
    Liar liar(QString::fromLatin1(GetParam()));
    const QString document = liar.document();
    EXPECT_EQ(faultOf([&] { liar.reader().plainText(document, 2); }), DocumentFault::worker);
    EXPECT_TRUE(childProcesses().isEmpty());
    EXPECT_EQ(faultOf([&] { liar.reader().plainText(document, 2); }), DocumentFault::worker);
}

INSTANTIATE_TEST_SUITE_P(Lies, LyingWorker,
                         ::testing::Values("strange-hello", "hello-of-tomorrow", "unboxed", "ends-at-once",
                                           "strange-answer", "answer-of-tomorrow", "answer-to-another",
                                           "unknown-outcome", "half-truncated", "longer-file", "negative-file",
                                           "not-utf8", "surrogate", "more-than-asked", "cut-too-early",
                                           "error-with-text", "endless-text", "more-text-than-possible",
                                           "unparsable-text-file", "too-large-a-file", "strange-error",
                                           "half-an-answer", "half-a-text", "crashes", "busy-for-ever", "never-answers",
                                           "silent-from-the-start"),
                         nameOfLie);

TEST_P(LyingAboutPageCounts, isNotBelieved) {
    PageLiar liar(QString::fromLatin1(GetParam()));
    EXPECT_EQ(faultOf([&] { liar.ask(wire::Form::pdfPages); }), DocumentFault::worker);
    EXPECT_TRUE(childProcesses().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lies, LyingAboutPageCounts,
                         ::testing::Values("no-page", "more-pages-than-can-be", "longer-count", "shorter-count",
                                           "truncated-page", "nothing-installed-for-a-layer",
                                           "beyond-the-box-with-a-body"),
                         nameOfLie);

TEST_P(LyingAboutPageTexts, isNotBelieved) {
    PageLiar liar(QString::fromLatin1(GetParam()));
    EXPECT_EQ(faultOf([&] { liar.ask(wire::Form::pdfPageText); }), DocumentFault::worker);
    EXPECT_TRUE(childProcesses().isEmpty());
}

INSTANTIATE_TEST_SUITE_P(Lies, LyingAboutPageTexts,
                         ::testing::Values("truncated-page", "page-not-utf8", "nothing-installed-for-a-layer",
                                           "beyond-the-box-with-a-body", "endless-page"),
                         nameOfLie);

TEST_P(LyingAboutRecognition, isNotBelieved) {
    PageLiar liar(QString::fromLatin1(GetParam()));
    EXPECT_EQ(faultOf([&] { liar.ask(wire::Form::imageText); }), DocumentFault::worker);
    EXPECT_EQ(faultOf([&] { liar.ask(wire::Form::pdfPageScan); }), DocumentFault::worker);
}

INSTANTIATE_TEST_SUITE_P(Lies, LyingAboutRecognition,
                         ::testing::Values("no-language", "unknown-language", "half-a-language", "truncated-page",
                                           "page-not-utf8", "beyond-the-box-with-a-body"),
                         nameOfLie);

TEST(LyingWorkerOnce, honestPagesAreTaken) {
    PageLiar liar(QStringLiteral("honest"));
    EXPECT_EQ(liar.ask(wire::Form::pdfPages), QByteArray("\2\0\0\0", 4));
    EXPECT_EQ(liar.ask(wire::Form::pdfPageText), "ab");
    EXPECT_EQ(liar.ask(wire::Form::imageText), QByteArray("\3\0\0\0ab", 6));
}

TEST(LyingWorkerOnce, whatFailedSaysWhetherTheDocumentMayBeToBlame) {
    using Cause = WorkerFailure::Cause;
    for (const auto& [lie, cause] : {std::pair{"strange-hello", Cause::unavailable},
                                     {"hello-of-tomorrow", Cause::unavailable},
                                     {"unboxed", Cause::unavailable},
                                     {"ends-at-once", Cause::unavailable},
                                     {"crashes", Cause::document},
                                     {"half-an-answer", Cause::document},
                                     {"strange-answer", Cause::document},
                                     {"not-utf8", Cause::document},
                                     {"busy-for-ever", Cause::document},
                                     {"never-answers", Cause::interrupted}}) {
        Liar liar(QString::fromLatin1(lie));
        const QString document = liar.document();
        EXPECT_EQ(causeOf([&] { liar.reader().plainText(document, 2); }), cause) << lie;
    }
}

TEST(LyingWorkerOnce, anHonestAnswerIsTaken) {
    Liar liar(QStringLiteral("honest"));
    EXPECT_EQ(liar.reader().plainText(liar.document(), 2), (DocumentText{QStringLiteral("ab"), true, 4}));
}

TEST(LyingWorkerOnce, whatItSaysUnaskedIsNoAnswerToTheNextRequest) {
    Liar liar(QStringLiteral("talks-on"));
    const QString document = liar.document();
    for (int i = 0; i < 10; ++i) {
        // Seen in time, the process is replaced; seen late, the request fails. It is never taken for an answer.
        std::optional<DocumentText> read;
        const auto fault = faultOf([&] { read = liar.reader().plainText(document, 2); });
        EXPECT_EQ(fault.value_or(DocumentFault::worker), DocumentFault::worker);
        EXPECT_EQ(read.value_or(DocumentText{QStringLiteral("ab"), true, 4}),
                  (DocumentText{QStringLiteral("ab"), true, 4}));
    }
}
