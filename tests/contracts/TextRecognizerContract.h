#pragma once
#include "ports/TextRecognizer.h"
#include "support/FaultOf.h"

#include <thread>

namespace vennic::test {

/// A place with images and PDFs and a recogniser of them. Each `add…` makes one file and gives its path.
class TextRecognizerWorld {
public:
    struct Page {
        QString layer;    // ASCII, one line; empty for none
        QStringList scan; // ASCII lines on a page without a layer
    };

    virtual ~TextRecognizerWorld() = default;
    virtual TextRecognizer& recognizer() = 0;
    /// Black on white; blank without lines.
    virtual QString addImage(const QStringList& asciiLines) = 0;
    virtual QString addPdf(const QList<Page>& pages) = 0;
    virtual QString missing() = 0;
    virtual void remove(const QString& path) = 0;
};

/// What every TextRecognizer promises. `World` is a TextRecognizerWorld that can be made without arguments.
template <class World>
class TextRecognizerContract : public ::testing::Test {
protected:
    World world_;
    const QStringList languages_{QStringLiteral("fr-FR"), QStringLiteral("en-US")};
    const QStringList lines_{QStringLiteral("Facture de janvier"), QStringLiteral("Total 42 euros")};

    TextRecognizer& recognizer() { return world_.recognizer(); }
    RecognizedText both() const { return {lines_.join(u'\n'), languages_}; }
};

TYPED_TEST_SUITE_P(TextRecognizerContract);

TYPED_TEST_P(TextRecognizerContract, givesTheLinesOfAnImageInReadingOrder) {
    EXPECT_EQ(this->recognizer().image(this->world_.addImage(this->lines_), {}), this->both());
}

TYPED_TEST_P(TextRecognizerContract, aBlankImageGivesAnEmptyTextAndBothLanguages) {
    EXPECT_EQ(this->recognizer().image(this->world_.addImage({}), {}), (RecognizedText{QString(), this->languages_}));
}

TYPED_TEST_P(TextRecognizerContract, aPageHasItsTextLayerOrIsRecognised) {
    const QString path = this->world_.addPdf({{QStringLiteral("Bonjour"), {}}, {QString(), this->lines_}});
    const auto pages = this->recognizer().openPdf(path, {});
    ASSERT_EQ(pages->count(), 2);
    EXPECT_EQ(pages->text(0), QStringLiteral("Bonjour"));
    EXPECT_EQ(pages->text(1), QString());
    EXPECT_EQ(pages->recognize(1), this->both());
}

TYPED_TEST_P(TextRecognizerContract, aBlankPageIsRecognisedAsEmpty) {
    const auto pages = this->recognizer().openPdf(this->world_.addPdf({{QString(), {}}}), {});
    EXPECT_EQ(pages->recognize(0), (RecognizedText{QString(), this->languages_}));
}

TYPED_TEST_P(TextRecognizerContract, anOpenPdfStaysTheSameFile) {
    const QString path = this->world_.addPdf({{QStringLiteral("Bonjour"), {}}});
    const auto pages = this->recognizer().openPdf(path, {});
    this->world_.remove(path);
    EXPECT_EQ(pages->text(0), QStringLiteral("Bonjour"));
    EXPECT_EQ(faultOf([&] { this->recognizer().openPdf(path, {}); }), DocumentFault::unreadable);
}

TYPED_TEST_P(TextRecognizerContract, aPageThatIsNotThereFailsAndTheOthersDoNot) {
    const auto pages = this->recognizer().openPdf(this->world_.addPdf({{QStringLiteral("Bonjour"), {}}}), {});
    EXPECT_TRUE(faultOf([&] { pages->text(1); }).has_value());
    EXPECT_TRUE(faultOf([&] { pages->recognize(1); }).has_value());
    EXPECT_EQ(pages->text(0), QStringLiteral("Bonjour"));
}

TYPED_TEST_P(TextRecognizerContract, twoPdfsMayBeOpenAtOnce) {
    const auto first = this->recognizer().openPdf(this->world_.addPdf({{QStringLiteral("un"), {}}}), {});
    const auto second = this->recognizer().openPdf(this->world_.addPdf({{QStringLiteral("deux"), {}}}), {});
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(first->text(0), QStringLiteral("un"));
        EXPECT_EQ(second->text(0), QStringLiteral("deux"));
    }
}

TYPED_TEST_P(TextRecognizerContract, whatIsNotOfTheFormIsUnparsable) {
    const QString image = this->world_.addImage({});
    const QString pdf = this->world_.addPdf({{QStringLiteral("Bonjour"), {}}});
    EXPECT_EQ(faultOf([&] { this->recognizer().openPdf(image, {}); }), DocumentFault::unparsable);
    EXPECT_EQ(faultOf([&] { this->recognizer().image(pdf, {}); }), DocumentFault::unparsable);
}

TYPED_TEST_P(TextRecognizerContract, aPdfWithoutPagesIsUnparsable) {
    const QString path = this->world_.addPdf({});
    EXPECT_EQ(faultOf([&] { this->recognizer().openPdf(path, {}); }), DocumentFault::unparsable);
}

TYPED_TEST_P(TextRecognizerContract, aMissingFileIsUnreadable) {
    const QString path = this->world_.missing();
    EXPECT_EQ(faultOf([&] { this->recognizer().image(path, {}); }), DocumentFault::unreadable);
    EXPECT_EQ(faultOf([&] { this->recognizer().openPdf(path, {}); }), DocumentFault::unreadable);
}

TYPED_TEST_P(TextRecognizerContract, severalThreadsMayAskAtOnce) {
    const QString first = this->world_.addPdf({{QStringLiteral("un"), {}}});
    const QString second = this->world_.addPdf({{QStringLiteral("deux"), {}}});
    const auto readOften = [this](const QString& path, const QString& expected) {
        for (int i = 0; i < 30; ++i)
            EXPECT_EQ(this->recognizer().openPdf(path, {})->text(0), expected);
    };
    std::thread one([&] { readOften(first, QStringLiteral("un")); });
    std::thread two([&] { readOften(second, QStringLiteral("deux")); });
    one.join();
    two.join();
}

REGISTER_TYPED_TEST_SUITE_P(TextRecognizerContract, givesTheLinesOfAnImageInReadingOrder,
                            aBlankImageGivesAnEmptyTextAndBothLanguages, aPageHasItsTextLayerOrIsRecognised,
                            aBlankPageIsRecognisedAsEmpty, anOpenPdfStaysTheSameFile,
                            aPageThatIsNotThereFailsAndTheOthersDoNot, twoPdfsMayBeOpenAtOnce,
                            whatIsNotOfTheFormIsUnparsable, aPdfWithoutPagesIsUnparsable, aMissingFileIsUnreadable,
                            severalThreadsMayAskAtOnce);

} // namespace vennic::test
