#include "linux/worker/TextRecognizerWorker.h"

#include "base/RecognitionLanguage.h"
#include "linux/worker/WorkerLane.h"
#include "support/Await.h"
#include "worker/PictureMaker.h"
#include "worker/PictureReaders.h"
#include "worker/TextRecognition.h"
#include "worker/Unboxed.h"
#include "worker/WorkerFolder.h"

#include <QDirIterator>

#include <array>
#include <csignal>
#include <ctime>
#include <future>
#include <gtest/gtest.h>
#include <leptonica/allheaders.h>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

class TextRecognizerWorkerTest : public ::testing::Test {
protected:
    WorkerFolder folder_;
    std::shared_ptr<WorkerLane> lane_ =
        std::make_shared<WorkerLane>(DocumentWorkerOptions::pictures(pictureWorkerProgram()));
    TextRecognizerWorker recognizer_{lane_};
    const QStringList lines_{QStringLiteral("Facture de janvier"), QStringLiteral("Total 42 euros")};
    const QString text_ = lines_.join(u'\n');

    static QString data(const char* name) {
        return dataFolder() + QStringLiteral("/recognition/") + QString::fromLatin1(name);
    }
    static QString document(const char* name) {
        return dataFolder() + QStringLiteral("/documents/") + QString::fromLatin1(name);
    }
    QString add(const QByteArray& bytes) const { return folder_.add(QStringLiteral("file"), bytes); }
    QString textOf(const QByteArray& bytes) { return recognizer_.image(add(bytes), {}).text; }
    std::optional<DocumentFault> imageFault(const QString& path) {
        return faultOf([&] { recognizer_.image(path, {}); });
    }
};

/// Of every form one picture that says the lines.
QList<QByteArray> imagesSaying(const QStringList& lines) {
    const worker::Picture picture = pictureSaying(lines);
    QList<QByteArray> images;
    for (const ImageForm form : {ImageForm::png, ImageForm::jpeg, ImageForm::tiff, ImageForm::gif, ImageForm::bmp})
        images.append(encoded(picture, form));
    return images;
}

std::chrono::nanoseconds processorTime(pid_t process) {
    clockid_t clock{};
    timespec used{};
    EXPECT_TRUE(clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &used) == 0);
    return std::chrono::seconds(used.tv_sec) + std::chrono::nanoseconds(used.tv_nsec);
}

/// Whether the process has used so much processor time since this was asked: more than any honest page takes.
auto usesMoreThan(std::chrono::milliseconds time, pid_t process) {
    return [process, end = processorTime(process) + time] { return processorTime(process) > end; };
}

/// Application segment 1 of a JPEG file, with nothing but the orientation.
QByteArray exifSegment(quint16 orientation) {
    const QByteArray tiff = QByteArray("II*\0\x08\0\0\0\x01\0\x12\x01\x03\0\x01\0\0\0", 18) +
                            static_cast<char>(orientation & 0xff) + static_cast<char>(orientation >> 8) +
                            QByteArray(6, '\0');
    const QByteArray body = QByteArray("Exif\0\0", 6) + tiff;
    return QByteArray("\xff\xe1\0", 3) + static_cast<char>(body.size() + 2) + body;
}

} // namespace

TEST_F(TextRecognizerWorkerTest, readsEveryFormOfImageByItsContent) {
    for (const QByteArray& image : imagesSaying(lines_))
        EXPECT_EQ(textOf(image), text_) << image.left(8).toHex().toStdString();
    EXPECT_EQ(recognizer_.image(data("note.heic"), {}).text, QStringLiteral("Note de frais\nTotal 42 euros"));
    EXPECT_EQ(childProcesses().size(), 1);
}

TEST_F(TextRecognizerWorkerTest, readsTheTilesOfAGrid) {
    EXPECT_EQ(recognizer_.image(data("grid.heic"), {}).text,
              QStringLiteral("Note de frais\nTotal 42 euros\nNote de frais\nTotal 42 euros"));
}

TEST_F(TextRecognizerWorkerTest, readsPicturesOfEveryDepth) {
    const worker::Picture picture = pictureSaying(lines_);
    const worker::Picture grey(pixConvertTo8(picture.get(), 0));
    const worker::Picture sixteen(pixConvert8To16(grey.get(), 8));
    const worker::Picture four(pixThresholdTo4bpp(grey.get(), 16, 1));
    const worker::Picture one(pixThresholdToBinary(grey.get(), 128));
    for (const auto* depth : {&grey, &sixteen, &four, &one}) {
        EXPECT_EQ(textOf(encoded(*depth, ImageForm::png)), text_) << pixGetDepth(depth->get());
        EXPECT_EQ(textOf(encoded(*depth, ImageForm::tiff)), text_) << pixGetDepth(depth->get());
    }
}

TEST_F(TextRecognizerWorkerTest, readsTextOnNothingWhateverItsBrightness) {
    EXPECT_EQ(textOf(encoded(inkOnNothing(lines_, Ink::black), ImageForm::png)), text_);
    EXPECT_EQ(textOf(encoded(inkOnNothing(lines_, Ink::white), ImageForm::png)), text_);
}

TEST_F(TextRecognizerWorkerTest, readsAGifWhoseGroundIsTransparent) {
    const worker::Picture grey(pixConvertTo8(pictureSaying(lines_).get(), 0));
    const worker::Picture ink(pixThresholdToBinary(grey.get(), 128));
    QByteArray gif = encoded(ink, ImageForm::gif);
    // Every entry of the palette becomes black, and the one that was white means nothing.
    const qsizetype palette = 13;
    const qsizetype bytes = qsizetype{6} << (static_cast<quint8>(gif[10]) & 7);
    const auto white = (gif.indexOf("\xff\xff\xff", palette) - palette) / 3;
    gif.replace(palette, bytes, QByteArray(bytes, '\0'));
    gif.insert(palette + bytes, QByteArray("\x21\xf9\x04\x01\0\0", 6) + static_cast<char>(white) + QByteArray(1, '\0'));
    EXPECT_EQ(textOf(gif), text_);
}

TEST_F(TextRecognizerWorkerTest, turnsAPhotoAsItsCameraSays) {
    const worker::Picture seen = pictureSaying(lines_);
    const auto turned = [](const worker::Picture& picture, int quarters) {
        return worker::Picture(pixRotateOrth(picture.get(), quarters));
    };
    const auto mirrored = [](const worker::Picture& picture) {
        return worker::Picture(pixFlipLR(nullptr, picture.get()));
    };
    // What a camera stores for each orientation of the thing seen.
    const std::array<worker::Picture, 8> stored{
        turned(seen, 0),           mirrored(seen),  turned(seen, 2),           mirrored(turned(seen, 2)),
        mirrored(turned(seen, 1)), turned(seen, 3), mirrored(turned(seen, 3)), turned(seen, 1)};
    for (int orientation = 1; orientation <= 8; ++orientation) {
        QByteArray jpeg = encoded(stored[static_cast<std::size_t>(orientation - 1)], ImageForm::jpeg);
        jpeg.insert(2, exifSegment(static_cast<quint16>(orientation)));
        EXPECT_EQ(textOf(jpeg), text_) << orientation;
    }
}

TEST_F(TextRecognizerWorkerTest, anOrientationThatMakesNoSenseIsNone) {
    QByteArray jpeg = encoded(pictureSaying(lines_), ImageForm::jpeg);
    for (const quint16 orientation : {0, 9, 65535})
        EXPECT_EQ(textOf(QByteArray(jpeg).insert(2, exifSegment(orientation))), text_) << orientation;
    for (qsizetype length = 4; length < exifSegment(6).size(); ++length) {
        const QByteArray half = exifSegment(6).left(length);
        EXPECT_EQ(textOf(QByteArray(jpeg).insert(2, QByteArray("\xff\xe1\0", 3) + static_cast<char>(half.size() - 2) +
                                                        half.mid(4))),
                  text_)
            << length;
    }
}

TEST_F(TextRecognizerWorkerTest, readsAccents) {
    const QString text = recognizer_.openPdf(document("accents.pdf"), {})->recognize(0).text;
    for (const char16_t* word : {u"Élève", u"école", u"où", u"l’œuvre", u"coûte", u"12 €", u"très"})
        EXPECT_TRUE(text.contains(QStringView(word))) << text.toStdString();
}

TEST_F(TextRecognizerWorkerTest, readsAPictureThatIsTooLargeForColour) {
    const worker::Picture small = pictureSaying(lines_);
    const worker::Picture large(pixCreate(7000, 5000, 32));
    pixSetAll(large.get());
    pixRasterop(large.get(), 300, 300, pixGetWidth(small.get()), pixGetHeight(small.get()), PIX_SRC, small.get(), 0, 0);
    EXPECT_EQ(textOf(encoded(large, ImageForm::png)), text_);
}

TEST_F(TextRecognizerWorkerTest, aPictureOfOnePixelHasNoText) {
    for (const quint32 edge : {1U, 2U, 3U, 10U})
        EXPECT_EQ(recognizer_.image(add(plainPng(edge, edge, 8, 0)), {}).text, QString()) << edge;
}

TEST_F(TextRecognizerWorkerTest, whatIsNoPictureIsUnparsable) {
    for (const QByteArray& bytes :
         {QByteArray(), QByteArray("x"), QByteArray("GIF89a"), QByteArray("\x89PNG\r\n\x1a\n"), QByteArray(4096, '\0'),
          QByteArray("%PDF-1.4\n"), QByteArray("P6 1 1 255 abc")})
        EXPECT_EQ(imageFault(add(bytes)), DocumentFault::unparsable) << bytes.left(8).toHex().toStdString();
    EXPECT_EQ(childProcesses().size(), 1);
}

TEST_F(TextRecognizerWorkerTest, aPageIsReadAsItIsShown) {
    const auto rotated = recognizer_.openPdf(document("rotated.pdf"), {});
    EXPECT_EQ(rotated->recognize(0).text, QStringLiteral("Page tournée."));
}

TEST_F(TextRecognizerWorkerTest, theWholeMediaBoxOfAPageIsReadWhateverItsCropBoxShows) {
    const QByteArray lines = "BT /F1 14 Tf 20 TL 24 ";
    const QByteArray words = " Td (Facture de janvier) ' (Total 42 euros) ' ET";
    struct Cropped {
        QByteArray boxes;
        QByteArray from; // the left end of the line above the first
    };
    for (const auto& [boxes, from] :
         QList<Cropped>{{"/MediaBox [0 0 260 100] /CropBox [0 60 260 100]", "84"},
                        {"/MediaBox [0 0 260 100] /CropBox [0 60 260 100] /Rotate 90", "84"},
                        {"/MediaBox [0 -500 260 -400] /CropBox [10 -440 250 -410]", "-416"},
                        {"/MediaBox [0 0 260 100] /CropBox [0 0 1 1]", "84"}}) {
        const QString path = add(onePagePdf(boxes, "5 0 R", {pdfStream(lines + from + words)}));
        EXPECT_EQ(recognizer_.openPdf(path, {})->recognize(0).text, text_) << boxes.toStdString();
    }
}

TEST_F(TextRecognizerWorkerTest, aPageThatIsTooLargeToDrawFailsAloneAndItsTextLayerIsRead) {
    const auto pages = recognizer_.openPdf(document("huge-page.pdf"), {});
    EXPECT_EQ(faultOf([&] { pages->recognize(0); }), DocumentFault::worker);
    EXPECT_EQ(pages->text(0), QStringLiteral("Une page immense."));
}

TEST_F(TextRecognizerWorkerTest, pagesThatADocumentOnlyClaimsFailAtOnceAndCostNoProcess) {
    const auto pages = recognizer_.openPdf(add(pdfClaimingPages(QStringLiteral("un"), 1500)), {});
    ASSERT_EQ(pages->count(), 1500);
    EXPECT_EQ(pages->text(0), QStringLiteral("un"));
    const QList<pid_t> processes = childProcesses();
    for (const qint64 claimed : {1, 700, 1499}) {
        EXPECT_EQ(faultOf([&] { pages->text(claimed); }), DocumentFault::unparsable) << claimed;
        EXPECT_EQ(faultOf([&] { pages->recognize(claimed); }), DocumentFault::unparsable) << claimed;
    }
    EXPECT_EQ(childProcesses(), processes);
    EXPECT_EQ(pages->text(0), QStringLiteral("un"));
}

TEST_F(TextRecognizerWorkerTest, aPageThatTakesTooLongFailsAloneAndTheNextOnesAreReadByAnotherProcess) {
    lane_ = std::make_shared<WorkerLane>(
        DocumentWorkerOptions{.executable = pictureWorkerProgram(), .mostCpu = 1500ms, .life = wire::pictureLife});
    TextRecognizerWorker hurried(lane_);
    const QString path = add(pdfWithBombBetween(QStringLiteral("un"), QStringLiteral("trois"), 4096));
    const auto pages = hurried.openPdf(path, {});
    ASSERT_EQ(pages->count(), 3);
    EXPECT_EQ(pages->text(0), QStringLiteral("un"));
    const pid_t process = childProcesses().value(0, -1);
    EXPECT_EQ(faultOf([&] { pages->recognize(1); }), DocumentFault::worker);
    EXPECT_EQ(pages->text(2), QStringLiteral("trois"));
    EXPECT_EQ(pages->recognize(2).text, QStringLiteral("trois"));
    EXPECT_NE(childProcesses().value(0, -1), process);
}

TEST_F(TextRecognizerWorkerTest, aProcessThatIsKilledBetweenTwoPagesIsReplaced) {
    const auto pages = recognizer_.openPdf(document("three-pages.pdf"), {});
    EXPECT_EQ(pages->text(0), QStringLiteral("Première page."));
    kill(childProcesses().value(0, -1), SIGKILL);
    EXPECT_TRUE(waitUntil([] { return childProcesses().isEmpty(); }));
    EXPECT_EQ(pages->text(2), QStringLiteral("Troisième page."));
}

TEST_F(TextRecognizerWorkerTest, whoeverIsToldToStopGivesUpAPageAndTheNextIsReadByAnotherProcess) {
    const QString path = add(pdfWithBombBetween(QStringLiteral("un"), QStringLiteral("trois"), 4096));
    std::stop_source stop;
    const auto pages = recognizer_.openPdf(path, stop.get_token());
    EXPECT_EQ(pages->text(0), QStringLiteral("un"));
    const pid_t process = childProcesses().value(0, -1);
    const auto isAtWork = usesMoreThan(200ms, process);
    auto given = std::async(std::launch::async, [&] { return causeOf([&] { pages->recognize(1); }); });
    EXPECT_TRUE(waitUntil(isAtWork));
    stop.request_stop();
    EXPECT_EQ(given.get(), WorkerFailure::Cause::unavailable);
    EXPECT_EQ(causeOf([&] { pages->text(2); }), WorkerFailure::Cause::unavailable);
    EXPECT_EQ(recognizer_.openPdf(path, {})->text(2), QStringLiteral("trois"));
    EXPECT_NE(childProcesses().value(0, -1), process);
}

TEST_F(TextRecognizerWorkerTest, whoeverIsToldToStopWaitsNoLongerForWhoIsBefore) {
    const QString path = add(pdfWithBombBetween(QStringLiteral("un"), QStringLiteral("trois"), 4096));
    const auto pages = recognizer_.openPdf(path, {});
    const pid_t process = childProcesses().value(0, -1);
    const auto isAtWork = usesMoreThan(200ms, process);
    auto before = std::async(std::launch::async, [&] { return faultOf([&] { pages->recognize(1); }); });
    EXPECT_TRUE(waitUntil(isAtWork));
    std::stop_source stop;
    auto waiting = std::async(std::launch::async,
                              [&] { return causeOf([&] { recognizer_.image(data("note.heic"), stop.get_token()); }); });
    stop.request_stop();
    EXPECT_EQ(waiting.get(), WorkerFailure::Cause::unavailable);
    EXPECT_EQ(childProcesses(), QList<pid_t>{process}); // which is still at work on the other's page
    lane_->close();
    EXPECT_EQ(before.get(), DocumentFault::worker);
}

TEST_F(TextRecognizerWorkerTest, whatIsBeyondTheBoxFailsAloneAndWhateverIsAskedNextSucceeds) {
    const QString image = folder_.add(QStringLiteral("image"), encoded(pictureSaying(lines_), ImageForm::png));
    const auto next = [&](const char* after) {
        EXPECT_EQ(recognizer_.image(image, {}).text, text_) << after;
        EXPECT_EQ(recognizer_.openPdf(document("rotated.pdf"), {})->recognize(0).text, QStringLiteral("Page tournée."))
            << after;
    };
#if !defined(VENNIC_SANITIZED) // whose boxes have memory without end
    const QString huge = folder_.add(QStringLiteral("huge"), plainPng(30000, 30000, 8, 0));
    EXPECT_TRUE(imageFault(huge).has_value());
    next("an image");
#endif
    const auto pages = recognizer_.openPdf(document("huge-page.pdf"), {});
    EXPECT_EQ(faultOf([&] { pages->recognize(0); }), DocumentFault::worker);
    next("a page");
    EXPECT_EQ(faultOf([&] { pages->recognize(0); }), DocumentFault::worker);
    EXPECT_EQ(pages->text(0), QStringLiteral("Une page immense."));
}

TEST_F(TextRecognizerWorkerTest, aClosedLaneFailsEveryPage) {
    const auto pages = recognizer_.openPdf(document("three-pages.pdf"), {});
    lane_->close();
    EXPECT_EQ(faultOf([&] { pages->text(0); }), DocumentFault::worker);
    EXPECT_EQ(imageFault(data("note.heic")), DocumentFault::worker);
}

TEST_F(TextRecognizerWorkerTest, theSamePictureGivesTheSameTextHoweverOftenAndInWhateverOrder) {
    const QString image = folder_.add(QStringLiteral("image"), imagesSaying(lines_).first());
    const RecognizedText first = recognizer_.image(image, {});
    recognizer_.image(data("grid.heic"), {});
    EXPECT_EQ(recognizer_.image(image, {}), first);
    EXPECT_EQ(recognizer_.image(image, {}), first);
}

TEST_F(TextRecognizerWorkerTest, recognisesInTheOneLanguageThatIsInstalledAndNamesItAlone) {
    const QByteArray installed(installedRecognition(recognitionDataFolders).folder.c_str());
    const auto dataOf = [&](const char* language) {
        return QString::fromUtf8(installed) + u'/' + QLatin1String(language) + QStringLiteral(".traineddata");
    };
    const auto read = [&] {
        const QByteArray folder = QFile::encodeName(folder_.path(QStringLiteral("tessdata")));
        const std::array<const char*, 3> folders{"/proc/nowhere", folder.constData(), installed.constData()};
        return worker::TextRecognition(folders).read(pictureSaying(lines_));
    };
    const auto body = [&](char languages) { return QByteArray(1, languages) + QByteArray(3, '\0') + text_.toUtf8(); };
    const auto bytesOf = [](const worker::ReadResult& result) { return QByteArray::fromStdString(result.body); };
    QDir().mkpath(folder_.path(QStringLiteral("tessdata")));
    EXPECT_EQ(bytesOf(read()), body(3)); // a folder without a language is passed over
    ASSERT_TRUE(QFile::link(dataOf("eng"), folder_.path(QStringLiteral("tessdata/eng.traineddata"))));
    EXPECT_EQ(bytesOf(read()), body(2)); // one with any is used alone
    const QString french = folder_.add(QStringLiteral("tessdata/fra.traineddata"), "damaged");
    EXPECT_EQ(bytesOf(read()), body(2));
    ASSERT_TRUE(QFile::remove(french) && QFile::link(dataOf("fra"), french));
    EXPECT_EQ(bytesOf(read()), body(3));
    ASSERT_TRUE(QFile::remove(folder_.path(QStringLiteral("tessdata/eng.traineddata"))));
    EXPECT_EQ(bytesOf(read()), body(1));
}

TEST_F(TextRecognizerWorkerTest, withoutAnyLanguageNothingIsRecognised) {
    const std::array<const char*, 1> folders{"/proc/nowhere"};
    EXPECT_EQ(worker::TextRecognition(folders).read(pictureSaying(lines_)).outcome, wire::Outcome::unavailable);
}

TEST_F(TextRecognizerWorkerTest, readsTheSameBoxedAndUnboxed) {
    struct Asked {
        wire::Form form;
        QString path;
        std::uint32_t page;
    };
    QList<Asked> all{{wire::Form::imageText, data("note.heic"), 0}, {wire::Form::imageText, data("grid.heic"), 0}};
    int number = 0;
    for (const QByteArray& image : imagesSaying(lines_))
        all.append({wire::Form::imageText, folder_.add(QString::number(++number), image), 0});
    QDirIterator files(dataFolder() + QStringLiteral("/documents"), {QStringLiteral("*.pdf")});
    while (files.hasNext()) {
        const QString path = files.next();
        all.append({wire::Form::pdfPages, path, 0});
        for (const std::uint32_t page : {0U, 1U, 2U})
            all.append({wire::Form::pdfPageText, path, page});
        all.append({wire::Form::pdfPageScan, path, 0});
    }
    int texts = 0;
    for (const Asked& asked : all) {
        const auto unboxed = readUnboxed(worker::pictureReaders(), asked.form, asked.path, {.page = asked.page});
        const OpenedDocument opened(asked.path, wire::mostMappedBytes);
        std::optional<QByteArray> boxed;
        faultOf([&] { boxed = lane_->ask(asked.form, {.page = asked.page}, opened).body; });
        EXPECT_EQ(boxed.has_value(), unboxed.outcome == wire::Outcome::done) << asked.path.toStdString();
        EXPECT_EQ(boxed.value_or(QByteArray()).toStdString(), unboxed.body) << asked.path.toStdString();
        texts += unboxed.body.empty() ? 0 : 1;
    }
    EXPECT_GT(texts, 40);
    EXPECT_EQ(childProcesses().size(), 1);
}
