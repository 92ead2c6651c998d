#include "linux/worker/BoxedThumbnail.h"

#include "linux/worker/WorkerLane.h"
#include "worker/PdfMaker.h"
#include "worker/PictureReaders.h"
#include "worker/Unboxed.h"
#include "worker/WorkerFolder.h"
#include "worker/thumbnail/ThumbnailReader.h"

#include <array>
#include <gtest/gtest.h>
#include <random>

using namespace vennic;
using namespace vennic::test;

namespace {

class BoxedThumbnail : public ::testing::Test {
protected:
    WorkerFolder folder_;
    WorkerLane lane_{impatient()};

    /// A picture that takes so long is as good as one that takes for ever.
    static DocumentWorkerOptions impatient() {
        auto options = DocumentWorkerOptions::pictures(pictureWorkerProgram());
        options.mostCpu = std::chrono::seconds{1};
        return options;
    }

    static QString picture(const char* name) {
        return dataFolder() + QStringLiteral("/pictures/") + QString::fromLatin1(name);
    }
    static QStringList everyDocument() {
        QStringList paths;
        for (const char* name : {"/pictures", "/documents"}) {
            const QDir folder(dataFolder() + QString::fromLatin1(name));
            for (const QFileInfo& entry : folder.entryInfoList(QDir::Files))
                paths.append(entry.filePath());
        }
        return paths;
    }
    Thumbnail draw(const QString& path, int edge = 64) {
        return boxedThumbnail(lane_, OpenedDocument(path, wire::ceilingsOf(wire::Form::thumbnail).fileBytes), edge);
    }
    std::optional<DocumentFault> fault(const QByteArray& bytes) {
        const QString path = folder_.add(QStringLiteral("hostile"), bytes);
        return faultOf([&] { draw(path); });
    }
    /// That the next task succeeds, whatever became of the one before.
    void expectNextSucceeds() {
        const Thumbnail drawn = draw(picture("corners.png"), 64);
        EXPECT_EQ(std::pair(drawn.width, drawn.height), std::pair(64, 48));
    }
    /// That the bytes give no picture, in the same process or in its successor, and the next ones do.
    void expectNone(const QByteArray& bytes, const char* what) {
        EXPECT_TRUE(fault(bytes).has_value()) << what;
        expectNextSucceeds();
    }
    /// That whatever comes of the bytes is over soon, and the next picture is drawn.
    void expectSurvived(const QByteArray& bytes, const char* what) {
        try {
            const Thumbnail drawn = draw(folder_.add(QStringLiteral("hostile"), bytes));
            EXPECT_TRUE(drawn.width <= 64 && drawn.height <= 64) << what;
        } catch (const DocumentReadError& error) {
            EXPECT_NE(error.fault(), DocumentFault::unreadable) << what;
        }
        expectNextSucceeds();
    }
};

QByteArray big32(quint32 number) { return QByteArray::fromHex(QByteArray::number(number, 16).rightJustified(8, '0')); }

QByteArray svg(const QByteArray& content, const QByteArray& attributes = "viewBox='0 0 9 9'") {
    return "<svg xmlns='http://www.w3.org/2000/svg' xmlns:xlink='http://www.w3.org/1999/xlink' " + attributes + ">" +
           content + "</svg>";
}

} // namespace

TEST_F(BoxedThumbnail, isByteForByteWhatIsDrawnWithoutTheBox) {
    worker::warmUpPictureReaders();
    static constexpr std::array<worker::Reader, 1> readers{{{wire::Form::thumbnail, worker::readThumbnail}}};
    int drawn = 0;
    for (const QString& path : everyDocument()) {
        const wire::Parameters parameters{.edge = 100};
        const worker::ReadResult expected = readUnboxed(readers, wire::Form::thumbnail, path, parameters);
        if (expected.outcome != wire::Outcome::done) {
            EXPECT_EQ(faultOf([&] { draw(path, 100); }), DocumentFault::unparsable) << path.toStdString();
            continue;
        }
        EXPECT_EQ(draw(path, 100).png.toStdString(), expected.body.substr(sizeof(wire::PictureSize)))
            << path.toStdString();
        ++drawn;
    }
    EXPECT_GE(drawn, 40);
    EXPECT_EQ(childProcesses().size(), 1); // nobody died
}

TEST_F(BoxedThumbnail, fontsFiltersAndEmbeddedPicturesWorkInTheBox) {
    const QByteArray png = fileBytes(picture("corners.png")).toBase64();
    const QByteArray jpeg = fileBytes(picture("corners.jpg")).toBase64();
    const QByteArray drawing =
        svg("<filter id='b'><feGaussianBlur stdDeviation='1'/></filter>"
            "<filter id='l'><feDiffuseLighting><fePointLight x='1' y='1' z='9'/></feDiffuseLighting></filter>"
            "<filter id='t'><feTurbulence baseFrequency='0.1'/></filter>"
            "<text x='1' y='5' font-size='4'>Été 日本 عربى</text>"
            "<rect width='3' height='3' filter='url(#b)'/><rect x='3' width='3' height='3' filter='url(#l)'/>"
            "<rect x='6' width='3' height='3' filter='url(#t)'/>"
            "<image width='3' height='3' xlink:href='data:image/png;base64," +
            png + "'/><image y='6' width='3' height='3' xlink:href='data:image/jpeg;base64," + jpeg + "'/>");
    worker::warmUpPictureReaders();
    const QString path = folder_.add(QStringLiteral("drawing.svg"), drawing);
    static constexpr std::array<worker::Reader, 1> readers{{{wire::Form::thumbnail, worker::readThumbnail}}};
    const auto expected = readUnboxed(readers, wire::Form::thumbnail, path, {.edge = 200});
    ASSERT_EQ(expected.outcome, wire::Outcome::done);
    EXPECT_EQ(draw(path, 200).png.toStdString(), expected.body.substr(sizeof(wire::PictureSize)));
    expectNextSucceeds();
    EXPECT_EQ(childProcesses().size(), 1);
}

TEST_F(BoxedThumbnail, everyThreadOfTheProcessIsInTheBox) {
    draw(picture("corners.heic"));
    draw(folder_.add(QStringLiteral("blurred.svg"), svg("<filter id='b'><feGaussianBlur stdDeviation='1'/></filter>"
                                                        "<rect width='3' height='3' filter='url(#b)'/>")));
    const QList<pid_t> processes = childProcesses();
    ASSERT_EQ(processes.size(), 1);
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(processes[0]));
    const QStringList threads = tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot);
    EXPECT_GE(threads.size(), 1);
    for (const QString& thread : threads)
        EXPECT_TRUE(fileBytes(tasks.filePath(thread + QStringLiteral("/status"))).contains("Seccomp:\t2"));
}

TEST_F(BoxedThumbnail, theNameOfAFileSaysNothing) {
    const Thumbnail drawn = draw(folder_.add(QStringLiteral("lie.pdf"), fileBytes(picture("corners.jpg"))));
    EXPECT_EQ(drawn.width, 64);
    EXPECT_EQ(fault("no picture at all"), DocumentFault::unparsable);
}

TEST_F(BoxedThumbnail, anEdgeThatNobodyAsksForGivesNothing) {
    const QString path = picture("corners.png");
    for (const int edge : {0, -1, 1025})
        EXPECT_TRUE(faultOf([&] { draw(path, edge); }).has_value()) << edge;
    EXPECT_EQ(draw(path, 1024).width, 64);
}

TEST_F(BoxedThumbnail, whatClaimsToBeHugeGivesNothingAndHarmsNobody) {
    QByteArray png = fileBytes(picture("corners.png"));
    for (const quint32 side : {0U, 32768U, 60000U, 0x7fffffffU, 0xffffffffU})
        expectNone(png.replace(16, 4, big32(side)).replace(20, 4, big32(side)), "png");
    QByteArray gif = fileBytes(picture("corners.gif"));
    expectNone(gif.replace(6, 4, QByteArray(4, '\xff')), "gif screen");
    QByteArray jpeg = fileBytes(picture("corners.jpg"));
    const qsizetype frame = jpeg.indexOf("\xff\xc0");
    ASSERT_GT(frame, 0);
    expectSurvived(jpeg.replace(frame + 5, 4, QByteArray("\xff\xdc\xff\xdc", 4)), "jpeg");
    QByteArray bmp = fileBytes(picture("corners.bmp"));
    expectNone(bmp.replace(18, 8, QByteArray("\xff\xff\0\0\xff\xff\0\0", 8)), "bmp");
    for (const char* size : {"width='1e30' height='1e30'", "width='1e-30' height='1'", "viewBox='0 0 1e38 1'",
                             "viewBox='0 0 nan nan'", "viewBox='0 0 -1 -1'", "width='0' height='0'"})
        expectSurvived(svg("<rect width='9' height='9'/>", size), size);
    expectSurvived(assemblePdf({"<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
                                "<</Type/Page/Parent 2 0 R/MediaBox[0 0 1e30 1e30]>>"}),
                   "pdf");
}

TEST_F(BoxedThumbnail, whatUnfoldsToMoreThanTheBoxHoldsGivesNothing) {
    QByteArray bomb = "<!DOCTYPE svg [<!ENTITY a0 '<rect width=\"9\" height=\"9\"/>'>";
    for (int i = 1; i < 12; ++i) {
        const QByteArray before = "&a" + QByteArray::number(i - 1) + ";";
        bomb += "<!ENTITY a" + QByteArray::number(i) + " '" + before.repeated(10) + "'>";
    }
    expectNone(bomb + "]>" + svg("&a11;"), "laughs");
    expectSurvived(svg("<g id='a'><use xlink:href='#a'/></g>"), "a drawing in itself");
    QByteArray uses = "<g id='a0'><rect width='9' height='9'/></g>";
    for (int i = 1; i < 12; ++i) {
        const QByteArray before = "<use xlink:href='#a" + QByteArray::number(i - 1) + "'/>";
        uses += "<g id='a" + QByteArray::number(i) + "'>" + before.repeated(10) + "</g>";
    }
    expectSurvived(svg(uses), "uses of uses");
    expectSurvived(svg(QByteArray("<g>").repeated(100'000)), "open groups");
    expectSurvived(svg(QByteArray("<g>").repeated(100'000) + QByteArray("</g>").repeated(100'000)), "deep groups");
    expectSurvived(svg("<filter id='b'><feGaussianBlur stdDeviation='1e9'/></filter>"
                       "<rect width='9' height='9' filter='url(#b)'/>"),
                   "a wide blur");
    expectSurvived(svg("<pattern id='p' width='1e-9' height='1e-9' patternUnits='userSpaceOnUse'><rect width='1'/>"
                       "</pattern><rect width='9' height='9' fill='url(#p)'/>"),
                   "a fine pattern");
}

TEST_F(BoxedThumbnail, aPdfThatDrawsForEverEndsInTime) {
    const QByteArray again = "/X Do /X Do /X Do /X Do /X Do /X Do /X Do /X Do";
    const QByteArray form = "<</Type/XObject/Subtype/Form/BBox[0 0 9 9]/Resources<</XObject<</X 4 0 R>>>>/Length " +
                            QByteArray::number(again.size()) + ">>stream\n" + again + "\nendstream";
    expectSurvived(assemblePdf({"<</Type/Catalog/Pages 2 0 R>>", "<</Type/Pages/Kids[3 0 R]/Count 1>>",
                                "<</Type/Page/Parent 2 0 R/MediaBox[0 0 9 9]/Resources<</XObject<</X 4 0 R>>>>"
                                "/Contents 5 0 R>>",
                                form, "<</Length 5>>stream\n/X Do\nendstream"}),
                   "a form in itself");
}

TEST_F(BoxedThumbnail, noDrawingTellsOfOtherFiles) {
    const QByteArray word = "secret-4711";
    const QString secret = folder_.add(QStringLiteral("secret.txt"), word);
    const QByteArray address = "file://" + secret.toUtf8();
    const QString other = folder_.add(QStringLiteral("other.svg"), svg("<rect width='9' height='9'/>"));
    const auto text = [](const QByteArray& content) {
        return svg("<text x='0' y='5' font-size='2'>" + content + "</text>");
    };
    const QString empty = folder_.add(QStringLiteral("empty.svg"), text({}));
    const Thumbnail nothing = draw(empty);
    for (const QByteArray& hostile :
         {"<!DOCTYPE svg [<!ENTITY x SYSTEM '" + address + "'>]>" + text("&x;"),
          "<!DOCTYPE svg [<!ENTITY % x SYSTEM '" + address + "'> %x;]>" + text({}),
          svg("<xi:include xmlns:xi='http://www.w3.org/2001/XInclude' href='" + address + "' parse='text'/>"),
          svg("<text y='5' font-size='2'><xi:include xmlns:xi='http://www.w3.org/2001/XInclude' parse='text' href='" +
              address + "'/></text>"),
          svg("<image width='9' height='9' xlink:href='file://" + other.toUtf8() + "'/>"),
          svg("<use xlink:href='file://" + other.toUtf8() + "#a'/>"),
          svg("<style>@import url('" + address + "');</style>"),
          svg("<image width='9' height='9' xlink:href='file:///etc/passwd'/>"),
          svg("<image width='9' height='9' xlink:href='http://127.0.0.1:1/x.png'/>")}) {
        const QString path = folder_.add(QStringLiteral("hostile.svg"), hostile);
        try {
            EXPECT_EQ(draw(path).png, nothing.png) << hostile.toStdString();
        } catch (const DocumentReadError& error) { // refusing it is as good
            EXPECT_EQ(error.fault(), DocumentFault::unparsable) << hostile.toStdString();
        }
    }
    expectNextSucceeds();
}

TEST_F(BoxedThumbnail, everyPictureMayBeCutAnywhere) {
    for (const QString& path : everyDocument()) {
        const QByteArray whole = fileBytes(path);
        for (const qsizetype length : {whole.size() - 1, whole.size() / 2, qsizetype{40}, qsizetype{12}})
            expectSurvived(whole.first(std::clamp<qsizetype>(length, 0, whole.size())), path.toUtf8().constData());
    }
}

TEST_F(BoxedThumbnail, everyPictureMayBeDamagedAnywhere) {
    std::mt19937 random(4711); // NOLINT(cert-msc51-cpp): the same damage each time
    for (const QString& path : everyDocument()) {
        if (!path.contains(QStringLiteral("/pictures/")))
            continue;
        const QByteArray whole = fileBytes(path);
        for (int i = 0; i < 12; ++i) {
            QByteArray damaged = whole;
            for (int j = 0; j <= i; ++j)
                damaged[static_cast<qsizetype>(random() % static_cast<unsigned>(whole.size()))] =
                    static_cast<char>(random());
            expectSurvived(damaged, path.toUtf8().constData());
        }
    }
}
