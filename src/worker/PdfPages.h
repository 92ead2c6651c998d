#pragma once
#include "worker/Reader.h"

namespace vennic::worker {

/// How many pages a PDF has. Unparsable when it has none or doesn't open without a password.
ReadResult readPdfPages(const Document& document, const wire::Parameters& parameters);

/// The text layer of one page, empty where the page has none. Unparsable when there is no such page.
ReadResult readPdfPageText(const Document& document, const wire::Parameters& parameters);

/// The text that is recognised on one page's picture. Beyond the box where the page can't be drawn.
ReadResult readPdfPageScan(const Document& document, const wire::Parameters& parameters);

} // namespace vennic::worker
