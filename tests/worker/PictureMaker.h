#pragma once
#include "contracts/TextRecognizerContract.h"
#include "worker/PdfMaker.h"
#include "worker/Picture.h"

namespace vennic::test {

/// ASCII lines of Helvetica, black on white, at 200 pixels an inch, 32 bits deep.
worker::Picture pictureSaying(const QStringList& lines);

/// The same ink, black or white, on nothing.
enum class Ink { black, white };
worker::Picture inkOnNothing(const QStringList& lines, Ink ink);

enum class ImageForm { png, jpeg, tiff, gif, bmp };
QByteArray encoded(const worker::Picture& picture, ImageForm form);
/// A PNG of one colour; `colourType` as in the file: 0 grey, 2 colours.
QByteArray plainPng(quint32 width, quint32 height, int depth, int colourType);

/// A PDF whose pages have a text layer or are pictures of their lines.
QByteArray pdfOf(const QList<TextRecognizerWorld::Page>& pages);

/// One page, and the word of its tree that there are `claimed`.
QByteArray pdfClaimingPages(const QString& first, int claimed);

/// Three pages, of which the second has no text and takes seconds to draw: its contents unfold to `megabytes`.
QByteArray pdfWithBombBetween(const QString& first, const QString& last, int megabytes);

} // namespace vennic::test
