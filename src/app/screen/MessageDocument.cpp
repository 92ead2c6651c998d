#include "app/screen/MessageDocument.h"

#include "app/screen/FrenchSpacing.h"

#include <QFontDatabase>
#include <QTextBlock>
#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace vennic {

namespace {

constexpr double lineHeight = 122; // percent of what the font asks for

bool looksLike(const MarkdownRun& a, const MarkdownRun& b) {
    return a.emphasis == b.emphasis && a.strong == b.strong && a.code == b.code && a.link == b.link;
}

/// A paragraph stands on the side where its own script begins, whatever the others of the message do.
void shapeParagraph(const QTextBlock& block) {
    const bool isRightToLeft = block.text().isRightToLeft();
    QTextBlockFormat format;
    format.setLineHeight(lineHeight, QTextBlockFormat::ProportionalHeight);
    format.setLayoutDirection(isRightToLeft ? Qt::RightToLeft : Qt::LeftToRight);
    format.setAlignment((isRightToLeft ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignAbsolute);
    if (block.blockFormat() != format)
        QTextCursor(block).setBlockFormat(format);
}

qsizetype sharedBeginning(const QString& a, const QString& b) {
    const qsizetype shared = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
    return shared > 0 && a[shared - 1].isHighSurrogate() ? shared - 1 : shared; // no half characters
}

} // namespace

void MessageDocument::setTextDocument(QQuickTextDocument* document) {
    if (document_ == document)
        return;
    document_ = document;
    if (document_) {
        QTextDocument& text = *document_->textDocument();
        text.setUndoRedoEnabled(false);
        text.setDocumentMargin(0);
    }
    Q_EMIT textDocumentChanged();
    fillAgain();
}

void MessageDocument::setRuns(const QVariant& runs) {
    auto shown = qvariant_cast<std::vector<MarkdownRun>>(runs);
    for (MarkdownRun& run : shown) {
        if (!run.code)
            run.text = withFrenchSpacing(std::move(run.text));
    }
    fill(std::move(shown));
    Q_EMIT runsChanged();
}

void MessageDocument::setLinkColor(const QColor& color) {
    if (linkColor_ == color)
        return;
    linkColor_ = color;
    Q_EMIT looksChanged();
    fillAgain();
}

void MessageDocument::setCodeGround(const QColor& color) {
    if (codeGround_ == color)
        return;
    codeGround_ = color;
    Q_EMIT looksChanged();
    fillAgain();
}

QTextCharFormat MessageDocument::format(const MarkdownRun& run) const {
    QTextCharFormat format;
    if (run.strong)
        format.setFontWeight(QFont::DemiBold);
    if (run.emphasis)
        format.setFontItalic(true);
    if (run.code) {
        format.setFontFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
        format.setFontFixedPitch(true);
        format.setBackground(codeGround_);
    }
    if (!run.link.isEmpty()) {
        format.setAnchor(true);
        format.setAnchorHref(run.link);
        format.setForeground(linkColor_);
        format.setFontUnderline(true);
    }
    return format;
}

void MessageDocument::fillAgain() {
    std::vector<MarkdownRun> runs = std::exchange(runs_, {});
    fill(std::move(runs));
}

void MessageDocument::fill(std::vector<MarkdownRun> runs) {
    if (!document_) {
        runs_ = std::move(runs);
        return;
    }
    std::size_t same = 0;
    int kept = 0;
    while (same < runs.size() && same < runs_.size() && runs[same] == runs_[same])
        kept += static_cast<int>(runs[same++].text.size());
    QTextCursor cursor(document_->textDocument());
    cursor.beginEditBlock();
    qsizetype from = 0; // within the first run that differs
    if (same < runs.size() && same < runs_.size() && looksLike(runs[same], runs_[same]))
        from = sharedBeginning(runs[same].text, runs_[same].text);
    cursor.setPosition(kept + static_cast<int>(from));
    cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
    cursor.removeSelectedText();
    for (std::size_t i = same; i < runs.size(); ++i, from = 0)
        cursor.insertText(runs[i].text.mid(from), format(runs[i]));
    for (QTextBlock block = document_->textDocument()->findBlock(kept + static_cast<int>(from)); block.isValid();
         block = block.next())
        shapeParagraph(block);
    cursor.endEditBlock();
    runs_ = std::move(runs);
    findLinks();
}

void MessageDocument::findLinks() {
    QVariantList links;
    qsizetype at = 0;
    QString before; // the address of the run before, of which this one may be the rest
    for (const MarkdownRun& run : runs_) {
        const qsizetype end = at + run.text.size();
        if (!run.link.isEmpty() && run.link == before) {
            QVariantMap whole = links.takeLast().toMap();
            whole[QStringLiteral("label")] = whole.value(QStringLiteral("label")).toString() + run.text;
            whole[QStringLiteral("end")] = end;
            links.append(whole);
        } else if (!run.link.isEmpty()) {
            links.append(QVariantMap{{QStringLiteral("address"), run.link},
                                     {QStringLiteral("label"), run.text},
                                     {QStringLiteral("start"), at},
                                     {QStringLiteral("end"), end}});
        }
        before = run.link;
        at = end;
    }
    if (links == links_)
        return;
    links_ = std::move(links);
    Q_EMIT linksChanged();
}

} // namespace vennic
