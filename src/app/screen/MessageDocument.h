#pragma once
#include "base/InlineMarkdown.h"

#include <QColor>
#include <QPointer>
#include <QQuickTextDocument>
#include <QTextCharFormat>
#include <QVariantList>

#include <vector>

namespace vennic {

/// Fills a text item's document with runs of text, as characters and their formats: nothing is ever read as markup, so
/// there is nothing in it that could load anything. What two fillings have in common at their beginning stays.
class MessageDocument : public QObject {
    Q_OBJECT
    Q_PROPERTY(QQuickTextDocument* textDocument READ textDocument WRITE setTextDocument NOTIFY textDocumentChanged)
    Q_PROPERTY(QVariant runs READ runs WRITE setRuns NOTIFY runsChanged)
    Q_PROPERTY(QColor linkColor READ linkColor WRITE setLinkColor NOTIFY looksChanged)
    Q_PROPERTY(QColor codeGround READ codeGround WRITE setCodeGround NOTIFY looksChanged)
    Q_PROPERTY(QVariantList links READ links NOTIFY linksChanged)
public:
    using QObject::QObject;

    QQuickTextDocument* textDocument() const { return document_; }
    void setTextDocument(QQuickTextDocument* document);
    /// A std::vector<MarkdownRun>; given back as it is shown.
    QVariant runs() const { return QVariant::fromValue(runs_); }
    void setRuns(const QVariant& runs);
    const QColor& linkColor() const { return linkColor_; }
    void setLinkColor(const QColor& color);
    const QColor& codeGround() const { return codeGround_; }
    void setCodeGround(const QColor& color);
    /// Of each link: `address`, `label`, `start` and `end`, the places of its first character and behind its last.
    const QVariantList& links() const { return links_; }

Q_SIGNALS:
    void textDocumentChanged();
    void runsChanged();
    void looksChanged();
    void linksChanged();

private:
    void fill(std::vector<MarkdownRun> runs);
    void fillAgain();
    void findLinks();
    QTextCharFormat format(const MarkdownRun& run) const;

    QPointer<QQuickTextDocument> document_;
    std::vector<MarkdownRun> runs_;
    QColor linkColor_;
    QColor codeGround_;
    QVariantList links_;
};

} // namespace vennic
