#pragma once
#include "ports/DocumentReader.h"
#include "support/FaultOf.h"

#include <thread>

namespace vennic::test {

/// A place with documents and a reader of them. Each `add…` makes one document and gives its path.
class DocumentReaderWorld {
public:
    virtual ~DocumentReaderWorld() = default;
    virtual DocumentReader& reader() = 0;
    virtual QString addText(const QString& text) = 0;
    virtual QString addRtf(const QString& text) = 0;
    /// One page that says `text`, ASCII, on one line.
    virtual QString addPdf(const QString& text) = 0;
    virtual QString missing() = 0;
};

/// What every DocumentReader promises. `World` is a DocumentReaderWorld that can be made without arguments.
template <class World>
class DocumentReaderContract : public ::testing::Test {
protected:
    World world_;
};

TYPED_TEST_SUITE_P(DocumentReaderContract);

TYPED_TEST_P(DocumentReaderContract, givesTheWholeTextWhenItIsShortEnough) {
    const QString text = QStringLiteral("Été à Noël.\n");
    const DocumentText read = this->world_.reader().plainText(this->world_.addText(text), 1000);
    EXPECT_EQ(read, (DocumentText{text, false, text.toUtf8().size()}));
}

TYPED_TEST_P(DocumentReaderContract, aTextOfExactlyTheAskedLengthIsNotTruncated) {
    const QString path = this->world_.addText(QStringLiteral("e\u0301te\u0301"));
    EXPECT_EQ(this->world_.reader().plainText(path, 3), (DocumentText{QStringLiteral("e\u0301te\u0301"), false, 7}));
}

TYPED_TEST_P(DocumentReaderContract, cutsBetweenUserPerceivedCharacters) {
    const QString path = this->world_.addText(QStringLiteral("e\u0301te\u0301"));
    EXPECT_EQ(this->world_.reader().plainText(path, 1), (DocumentText{QStringLiteral("e\u0301"), true, 7}));
}

TYPED_TEST_P(DocumentReaderContract, noCharactersGiveAnEmptyTruncatedText) {
    const QString path = this->world_.addText(QStringLiteral("abc"));
    EXPECT_EQ(this->world_.reader().plainText(path, 0), (DocumentText{QString(), true, 3}));
    EXPECT_EQ(this->world_.reader().plainText(path, -1), (DocumentText{QString(), true, 3}));
}

TYPED_TEST_P(DocumentReaderContract, anEmptyFileIsAnEmptyTextThatIsNotTruncated) {
    const QString path = this->world_.addText(QString());
    EXPECT_EQ(this->world_.reader().plainText(path, 0), (DocumentText{QString(), false, 0}));
}

TYPED_TEST_P(DocumentReaderContract, readsAndCutsRtf) {
    const QString path = this->world_.addRtf(QStringLiteral("Bonjour"));
    EXPECT_EQ(this->world_.reader().rtf(path, 100).text, QStringLiteral("Bonjour"));
    const DocumentText cut = this->world_.reader().rtf(path, 3);
    EXPECT_EQ(cut.text, QStringLiteral("Bon"));
    EXPECT_TRUE(cut.truncated);
}

TYPED_TEST_P(DocumentReaderContract, readsAndCutsPdf) {
    const QString path = this->world_.addPdf(QStringLiteral("Bonjour"));
    EXPECT_EQ(this->world_.reader().pdf(path, 100).text, QStringLiteral("Bonjour\n"));
    const DocumentText cut = this->world_.reader().pdf(path, 3);
    EXPECT_EQ(cut.text, QStringLiteral("Bon"));
    EXPECT_TRUE(cut.truncated);
}

TYPED_TEST_P(DocumentReaderContract, aMissingFileIsUnreadable) {
    const QString path = this->world_.missing();
    EXPECT_EQ(faultOf([&] { this->world_.reader().plainText(path, 9); }), DocumentFault::unreadable);
    EXPECT_EQ(faultOf([&] { this->world_.reader().pdf(path, 9); }), DocumentFault::unreadable);
}

TYPED_TEST_P(DocumentReaderContract, whatIsNotOfTheFormIsUnparsable) {
    const QString path = this->world_.addText(QStringLiteral("abc"));
    EXPECT_EQ(faultOf([&] { this->world_.reader().rtf(path, 9); }), DocumentFault::unparsable);
    EXPECT_EQ(faultOf([&] { this->world_.reader().pdf(path, 9); }), DocumentFault::unparsable);
}

TYPED_TEST_P(DocumentReaderContract, severalThreadsMayReadAtOnce) {
    const QString first = this->world_.addText(QStringLiteral("un"));
    const QString second = this->world_.addText(QStringLiteral("deux"));
    const auto readOften = [this](const QString& path, const QString& expected) {
        for (int i = 0; i < 50; ++i)
            EXPECT_EQ(this->world_.reader().plainText(path, 9).text, expected);
    };
    std::thread one([&] { readOften(first, QStringLiteral("un")); });
    std::thread two([&] { readOften(second, QStringLiteral("deux")); });
    one.join();
    two.join();
}

REGISTER_TYPED_TEST_SUITE_P(DocumentReaderContract, givesTheWholeTextWhenItIsShortEnough,
                            aTextOfExactlyTheAskedLengthIsNotTruncated, cutsBetweenUserPerceivedCharacters,
                            noCharactersGiveAnEmptyTruncatedText, anEmptyFileIsAnEmptyTextThatIsNotTruncated,
                            readsAndCutsRtf, readsAndCutsPdf, aMissingFileIsUnreadable, whatIsNotOfTheFormIsUnparsable,
                            severalThreadsMayReadAtOnce);

} // namespace vennic::test
