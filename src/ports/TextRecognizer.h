#pragma once
#include "ports/DocumentReadError.h"

#include <QStringList>

#include <memory>
#include <stop_token>

namespace vennic {

/// What was recognised: lines of best candidates in reading order, joined by newlines; empty where there are none.
struct RecognizedText {
    QString text;
    QStringList languages; // BCP 47, that the recogniser was set to, the preferred one first
    bool operator==(const RecognizedText&) const = default;
};

/// An open PDF, the same file as long as this object lives. Its operations block, may be called from several threads,
/// and raise DocumentReadError; one that fails says nothing of the other pages, unless it was given up because the
/// token that the PDF was opened with asked for it.
class PdfPages {
public:
    virtual ~PdfPages() = default;
    /// At least 1.
    virtual qint64 count() const = 0;
    /// The text layer of a page, from 0 on; empty where it has none.
    virtual QString text(qint64 page) = 0;
    /// The text that is recognised on the picture of a page, at 200 pixels an inch.
    virtual RecognizedText recognize(qint64 page) = 0;
};

/// Reads the text out of pictures that nobody vetted, in a boxed process: French and English, accurately, with
/// language correction. Each operation blocks, takes an absolute path, may be called from several threads, gives up
/// soon after `stop` asks for it, and raises DocumentReadError, then too.
class TextRecognizer {
public:
    virtual ~TextRecognizer() = default;
    /// An image file, of PNG, JPEG, TIFF, GIF, BMP, HEIC or HEIF; unparsable when no picture can be made of it.
    virtual RecognizedText image(const QString& path, std::stop_token stop) = 0;
    /// Unparsable when the file is no PDF that opens without a password, or has no pages.
    virtual std::unique_ptr<PdfPages> openPdf(const QString& path, std::stop_token stop) = 0;
};

} // namespace vennic
