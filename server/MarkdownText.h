#pragma once
#include <QString>

namespace vennic::server {

/// Text that inline Markdown shows as it is.
QString literalMarkdown(const QString& text);
/// The beginning of words that come from elsewhere, on one line and literal.
QString briefForeign(const QString& words);

} // namespace vennic::server
