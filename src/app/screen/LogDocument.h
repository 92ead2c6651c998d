#pragma once
#include <QPointer>
#include <QQuickTextDocument>
#include <QStringList>

namespace vennic {

/// Fills a text item's document with lines that grow at the end and go at the beginning. What two fillings have in
/// common stays, and with it what is selected there. Each line is one block of the document, whatever stands in it.
class LogDocument : public QObject {
    Q_OBJECT
    Q_PROPERTY(QQuickTextDocument* textDocument READ textDocument WRITE setTextDocument NOTIFY textDocumentChanged)
    Q_PROPERTY(QStringList lines READ lines WRITE setLines NOTIFY linesChanged)
public:
    using QObject::QObject;

    QQuickTextDocument* textDocument() const { return document_; }
    void setTextDocument(QQuickTextDocument* document);
    const QStringList& lines() const { return lines_; }
    void setLines(const QStringList& lines);

Q_SIGNALS:
    void textDocumentChanged();
    void linesChanged();

private:
    /// Writes what differs from the lines before, which the document holds.
    void write(const QStringList& before);

    QPointer<QQuickTextDocument> document_;
    QStringList lines_;
};

} // namespace vennic
