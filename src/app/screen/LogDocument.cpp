#include "app/screen/LogDocument.h"

#include "base/ShownText.h"

#include <QTextCursor>
#include <QTextDocument>

#include <algorithm>

namespace vennic {

namespace {

/// How many lines of `before`, from `dropped` on, `after` begins with.
qsizetype kept(const QStringList& before, const QStringList& after, qsizetype dropped) {
    const auto from = before.begin() + dropped;
    return std::mismatch(from, before.end(), after.begin(), after.end()).first - from;
}

/// How many lines have gone at the beginning: the fewest that make all others but perhaps the last one stay.
qsizetype droppedOf(const QStringList& before, const QStringList& after) {
    for (qsizetype dropped = 0; dropped < before.size(); ++dropped) {
        if (kept(before, after, dropped) >= std::max<qsizetype>(1, before.size() - dropped - 1))
            return dropped;
    }
    return before.size();
}

/// As many blocks of a document as there are lines: whatever begins a new block, or commands the document, is replaced.
QString blocks(const QStringList& lines) {
    QStringList drawn;
    for (const QString& line : lines)
        drawn.append(drawableLine(line));
    return drawn.join(u'\n');
}

} // namespace

void LogDocument::setTextDocument(QQuickTextDocument* document) {
    if (document_ == document)
        return;
    document_ = document;
    if (document_) {
        document_->textDocument()->setUndoRedoEnabled(false);
        document_->textDocument()->setDocumentMargin(0);
        write({});
    }
    Q_EMIT textDocumentChanged();
}

void LogDocument::setLines(const QStringList& lines) {
    if (lines_ == lines)
        return;
    const QStringList before = std::exchange(lines_, lines);
    if (document_)
        write(before);
    Q_EMIT linesChanged();
}

void LogDocument::write(const QStringList& before) {
    const qsizetype dropped = droppedOf(before, lines_);
    const qsizetype same = kept(before, lines_, dropped);
    QTextCursor cursor(document_->textDocument());
    cursor.beginEditBlock();
    if (same == 0) {
        cursor.select(QTextCursor::Document);
        cursor.insertText(blocks(lines_));
    } else {
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::KeepAnchor, static_cast<int>(dropped));
        cursor.removeSelectedText();
        cursor.movePosition(QTextCursor::NextBlock, QTextCursor::MoveAnchor, static_cast<int>(same) - 1);
        cursor.movePosition(QTextCursor::EndOfBlock);
        cursor.movePosition(QTextCursor::End, QTextCursor::KeepAnchor);
        const QStringList added = lines_.mid(same);
        cursor.insertText(added.isEmpty() ? QString() : u'\n' + blocks(added));
    }
    cursor.endEditBlock();
}

} // namespace vennic
