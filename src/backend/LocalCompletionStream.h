#pragma once
#include "base/LineReader.h"

#include <QJsonObject>
#include <QString>

#include <map>
#include <optional>
#include <vector>

namespace vennic {

/// A tool call as it has been put together from its fragments.
struct LocalToolCall {
    QString id;
    QString type = QStringLiteral("function");
    QString name;
    QString args;
    bool operator==(const LocalToolCall&) const = default;
};

/// Reads the event stream of an OpenAI-compatible server's /chat/completions, in whatever pieces it comes. Only lines
/// that begin with "data: " count; one that can't be read as a chunk is passed over.
class LocalCompletionStream {
public:
    struct Usage {
        qint64 promptTokens = 0;
        qint64 completionTokens = 0;
        bool operator==(const Usage&) const = default;
    };

    /// The next bytes of the body.
    void feed(QByteArrayView bytes) { lines_.feed(bytes); }
    /// The body has ended: what stands behind its last line end is a line too.
    void feedEnd() { lines_.feed("\n"); }
    /// The next piece of text, not empty; none until more has been fed. Raises TransportError (tooLarge) at a line of
    /// more than 1 MiB, and when what is gathered outgrows 16 MiB.
    std::optional<QString> nextText();
    /// Whether the stream has said that it is over. Nothing is read past it.
    bool done() const { return done_; }

    /// All text so far.
    const QString& text() const { return text_; }
    /// In the order of their indices.
    std::vector<LocalToolCall> toolCalls() const;
    /// The last one that wasn't empty.
    const std::optional<QString>& finishReason() const { return finishReason_; }
    const Usage& usage() const { return usage_; }

private:
    std::optional<QString> takeLine(QByteArrayView line);
    QString takeChoice(const QJsonObject& choice);
    void takeToolCall(const QJsonObject& fragment);
    void takeUsage(const QJsonObject& usage);
    /// Makes room for `more` UTF-16 code units.
    void count(qsizetype more);

    LineReader lines_{mostLineBytes};
    bool done_ = false;
    QString text_;
    std::map<qint64, LocalToolCall> calls_; // by index
    std::optional<QString> finishReason_;
    Usage usage_;
    qsizetype gathered_ = 0;
};

} // namespace vennic
