#include "Bridge/OcrEngine.h"

#include "Bridge/OcrError.h"
#include "base/Task.h"
#include "fakes/FileSystemFake.h"
#include "fakes/TextRecognizerFake.h"

#include <gtest/gtest.h>

using namespace vennic;
using namespace vennic::test;

namespace {

using Page = TextRecognizerFake::Page;
using Failure = TextRecognizerFake::Failure;

struct OcrEngineTest : ::testing::Test {
    std::shared_ptr<TextRecognizerFake> recognizer = std::make_shared<TextRecognizerFake>();
    std::shared_ptr<FileSystemFake> files = std::make_shared<FileSystemFake>();
    OcrEngine engine{recognizer, files};
    const Failure lost{DocumentFault::worker, QStringLiteral("La lecture du document s'est interrompue.")};
    const QStringList sorted{QStringLiteral("en-US"), QStringLiteral("fr-FR")};

    void image(const QString& path, const QString& text) {
        files->addFile(path, 4096);
        recognizer->addImage(path, text);
    }
    void pdf(const QString& path, std::vector<Page> pages) {
        files->addFile(path, 4096);
        recognizer->addPdf(path, std::move(pages));
    }
    BridgeOcrResult recognize(const QString& path) const { return engine.recognize(FileURL{path}); }
    QString failure(const QString& path) const {
        try {
            recognize(path);
        } catch (const OcrError& error) {
            return error.errorDescription();
        }
        return {};
    }
    static Page written(const QString& text) { return {text, QString()}; }
    static Page scanned(const QString& text) { return {QString(), text}; }
};

} // namespace

TEST_F(OcrEngineTest, anImageGivesItsLinesBothLanguagesAndItsSize) {
    image(QStringLiteral("/a.png"), QStringLiteral("un\ndeux"));
    EXPECT_EQ(recognize(QStringLiteral("/a.png")),
              (BridgeOcrResult{QStringLiteral("un\ndeux"), {QStringLiteral("fr-FR"), QStringLiteral("en-US")}, 4096}));
}

TEST_F(OcrEngineTest, aBlankImageGivesAnEmptyTextAndBothLanguages) {
    image(QStringLiteral("/a.png"), QString());
    EXPECT_EQ(recognize(QStringLiteral("/a.png")),
              (BridgeOcrResult{QString(), {QStringLiteral("fr-FR"), QStringLiteral("en-US")}, 4096}));
}

TEST_F(OcrEngineTest, everyListedExtensionIsRecognisedInAnyCase) {
    for (const char* extension :
         {"png", "jpg", "jpeg", "heic", "heif", "tiff", "tif", "gif", "bmp", "PNG", "Jpg", "HEIC", "tIFF"}) {
        const QString path = QStringLiteral("/a.") + QString::fromLatin1(extension);
        image(path, QStringLiteral("x"));
        EXPECT_EQ(recognize(path).text, QStringLiteral("x")) << extension;
    }
}

TEST_F(OcrEngineTest, anExtensionInCapitalsIsAPdf) {
    pdf(QStringLiteral("/A.PDF"), {written(QStringLiteral("x"))});
    EXPECT_EQ(recognize(QStringLiteral("/A.PDF")).text, QStringLiteral("x"));
}

TEST_F(OcrEngineTest, anythingElseIsUnsupportedAndNamedByItsExtensionInSmallLetters) {
    EXPECT_EQ(failure(QStringLiteral("/a.WebP")), QStringLiteral("Format non supporté: webp"));
    EXPECT_EQ(failure(QStringLiteral("/a.txt")), QStringLiteral("Format non supporté: txt"));
    EXPECT_EQ(failure(QStringLiteral("/a.png.gz")), QStringLiteral("Format non supporté: gz"));
    EXPECT_EQ(failure(QStringLiteral("/png")), QStringLiteral("Format non supporté: "));
    EXPECT_EQ(failure(QStringLiteral("/.png")), QStringLiteral("Format non supporté: "));
    EXPECT_TRUE(recognizer->asked().isEmpty());
}

TEST_F(OcrEngineTest, anImageThatCannotBeLoadedSaysSo) {
    const QString words = QStringLiteral("VisionKit a échoué: impossible de charger l'image");
    recognizer->addImage(QStringLiteral("/corrupt.png"), Failure{DocumentFault::unparsable, QStringLiteral("non")});
    recognizer->addImage(QStringLiteral("/locked.png"), Failure{DocumentFault::unreadable, QStringLiteral("non")});
    EXPECT_EQ(failure(QStringLiteral("/corrupt.png")), words);
    EXPECT_EQ(failure(QStringLiteral("/locked.png")), words);
    EXPECT_EQ(failure(QStringLiteral("/absent.png")), words);
}

TEST_F(OcrEngineTest, aRecognitionThatCannotRunGivesItsReason) {
    recognizer->addImage(QStringLiteral("/a.png"), lost);
    EXPECT_EQ(failure(QStringLiteral("/a.png")),
              QStringLiteral("VisionKit a échoué: La lecture du document s'est interrompue."));
}

TEST_F(OcrEngineTest, aSizeThatCannotBeReadCountsAsNothing) {
    recognizer->addImage(QStringLiteral("/a.png"), QStringLiteral("x"));
    EXPECT_EQ(recognize(QStringLiteral("/a.png")).bytes_processed, 0);
}

TEST_F(OcrEngineTest, textLayersAreTakenAsTheyStandAndHaveNoLanguage) {
    pdf(QStringLiteral("/a.pdf"), {written(QStringLiteral("  un \n")), written(QStringLiteral("deux"))});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")), (BridgeOcrResult{QStringLiteral("  un \n\n\f\ndeux"), {}, 4096}));
    EXPECT_EQ(recognizer->asked(), (QStringList{QStringLiteral("open /a.pdf"), QStringLiteral("text /a.pdf 0"),
                                                QStringLiteral("text /a.pdf 1")}));
}

TEST_F(OcrEngineTest, aPageOfWhiteSpaceAloneIsRecognised) {
    for (const char16_t* layer : {u"", u"  ", u"\n\r\t\f", u"\u00a0\u2003"}) {
        pdf(QStringLiteral("/a.pdf"), {{QStringView(layer).toString(), QStringLiteral("scan")}});
        EXPECT_EQ(recognize(QStringLiteral("/a.pdf")), (BridgeOcrResult{QStringLiteral("scan"), sorted, 4096}));
    }
}

TEST_F(OcrEngineTest, partsAreJoinedByNewlineFormFeedNewlineAndLanguagesAreSorted) {
    pdf(QStringLiteral("/a.pdf"), {scanned(QStringLiteral("un")), written(QStringLiteral("deux")), scanned(QString()),
                                   scanned(QStringLiteral("quatre"))});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")),
              (BridgeOcrResult{QStringLiteral("un\n\f\ndeux\n\f\nquatre"), sorted, 4096}));
}

TEST_F(OcrEngineTest, aPageThatFailsAddsNothingAndTheOthersAreRead) {
    pdf(QStringLiteral("/a.pdf"), {{lost, lost}, {QString(), lost}, written(QStringLiteral("trois"))});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")), (BridgeOcrResult{QStringLiteral("trois"), {}, 4096}));
}

TEST_F(OcrEngineTest, aPageWhoseTextLayerFailsIsRecognised) {
    pdf(QStringLiteral("/a.pdf"), {{lost, QStringLiteral("vu")}});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")).text, QStringLiteral("vu"));
}

TEST_F(OcrEngineTest, pagesThatHaveNotBeenBegunAfterHalfAnHourAddNothing) {
    pdf(QStringLiteral("/a.pdf"), std::vector<Page>(100, written(QStringLiteral("x"))));
    std::chrono::steady_clock::time_point now;
    const OcrEngine hurried(recognizer, files, [&now] { return now += std::chrono::minutes(5); });
    EXPECT_EQ(hurried.recognize(FileURL{QStringLiteral("/a.pdf")}).text,
              QStringList(5, QStringLiteral("x")).join(QStringLiteral("\n\f\n")));
}

TEST_F(OcrEngineTest, pagesOfTextWithoutEndAreGivenUp) {
    const QString endless(qsizetype{4} * 1024 * 1024, u'x');
    pdf(QStringLiteral("/a.pdf"),
        {written(endless), written(endless), written(endless), written(endless), written(endless)});
    EXPECT_EQ(failure(QStringLiteral("/a.pdf")),
              QStringLiteral("VisionKit a échoué: le texte du document est trop long"));
}

TEST_F(OcrEngineTest, aPdfWhosePagesAllFailIsASuccessWithoutText) {
    pdf(QStringLiteral("/a.pdf"), {{lost, lost}, {QString(), lost}});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")), (BridgeOcrResult{QString(), {}, 4096}));
}

TEST_F(OcrEngineTest, aPdfOfBlankPagesIsASuccessWithoutText) {
    pdf(QStringLiteral("/a.pdf"), {scanned(QString()), scanned(QString())});
    EXPECT_EQ(recognize(QStringLiteral("/a.pdf")), (BridgeOcrResult{QString(), sorted, 4096}));
}

TEST_F(OcrEngineTest, aPdfThatCannotBeOpenedOrHasNoPagesIsEmpty) {
    pdf(QStringLiteral("/none.pdf"), {});
    recognizer->addPdf(QStringLiteral("/locked.pdf"), Failure{DocumentFault::unreadable, QStringLiteral("non")});
    recognizer->addPdf(QStringLiteral("/lost.pdf"), lost);
    image(QStringLiteral("/image.pdf"), QStringLiteral("x"));
    for (const char16_t* path : {u"/none.pdf", u"/locked.pdf", u"/lost.pdf", u"/image.pdf", u"/absent.pdf"})
        EXPECT_EQ(failure(QStringView(path).toString()), QStringLiteral("Le PDF est vide."));
}

TEST_F(OcrEngineTest, nobodyReadsOnOnceItIsToldToStop) {
    pdf(QStringLiteral("/a.pdf"), {written(QStringLiteral("un")), written(QStringLiteral("deux"))});
    std::stop_source stop;
    recognizer->onAsked = [&](const QString& asked) {
        if (asked == QStringLiteral("text /a.pdf 0"))
            stop.request_stop();
    };
    EXPECT_THROW(engine.recognize(FileURL{QStringLiteral("/a.pdf")}, stop.get_token()), Cancelled);
    EXPECT_FALSE(recognizer->asked().contains(QStringLiteral("text /a.pdf 1")));
}
