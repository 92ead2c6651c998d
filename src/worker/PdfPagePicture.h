#pragma once
#include "worker/Picture.h"

#include <memory>
#include <string_view>

class PDFDoc;

namespace vennic::worker {

/// Loads the fonts that a document may name without bringing them.
void warmUpPdfPictures();

/// A PDF whose pages are drawn. Not to be used from two threads at once.
class PdfDrawing {
public:
    /// The bytes outlive it. Of those that aren't a PDF that opens without a password no page can be drawn.
    explicit PdfDrawing(std::string_view bytes);
    ~PdfDrawing();
    PdfDrawing(const PdfDrawing&) = delete;
    PdfDrawing& operator=(const PdfDrawing&) = delete;

    /// The whole media box of page `index` from 0 on, turned as it is shown, on white paper, at `dpi` pixels for each
    /// 72 of its points, cut to whole pixels. What lies outside the crop box is drawn too. Null when there is no such
    /// page, when it has no size, and when its picture doesn't fit into memory.
    Picture page(int index, double dpi) const;
    /// Whether page `index` is there: a document may claim millions of pages that it doesn't have.
    bool hasPage(int index) const;

private:
    std::unique_ptr<PDFDoc> document_;
};

} // namespace vennic::worker
