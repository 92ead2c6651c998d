#pragma once
#include "base/LineReader.h"
#include "server/ModelSource.h"

#include <map>

namespace vennic::server {

/// Reads the event stream of an OpenAI-compatible chat completion, in whatever pieces it comes. Lines that aren't
/// "data:" are passed over, and so are chunks that can't be read.
class CompletionReader {
public:
    /// Takes bytes; gives the text that they bring, which may be empty.
    QString feed(QByteArrayView bytes);
    /// Whether nothing more is read: the end was said, or what came was an error or too much.
    bool isOver() const { return over_; }
    /// Whether the model has told why it ended; without that, a connection that closes has been cut.
    bool isConcluded() const { return concluded_; }
    /// What was said, once nothing more comes. Raises ModelError when that can't have been an answer.
    ModelRound round() const;

private:
    void takeLine(const QByteArray& line);
    void takeChunk(const QJsonObject& chunk);
    void takeCalls(const QJsonArray& fragments);

    LineReader lines_{mostLineBytes};
    bool readable_ = false; // a chunk has come
    bool concluded_ = false;
    bool over_ = false;
    std::optional<ModelError> error_;
    QString text_;
    std::map<qint64, ToolCall> calls_; // by index
};

} // namespace vennic::server
