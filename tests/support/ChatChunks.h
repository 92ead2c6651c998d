#pragma once
#include <QByteArray>

/// Lines of a local server's event stream.
namespace vennic::test::chunks {

inline QByteArray line(const QByteArray& json) { return "data: " + json + "\n\n"; }
inline QByteArray delta(const QByteArray& json) { return line(R"({"choices":[{"index":0,"delta":)" + json + "}]}"); }
/// A piece of text without anything that JSON would escape.
inline QByteArray text(const QByteArray& words) { return delta(R"({"content":")" + words + "\"}"); }
/// Fragments of tool calls: the elements of an array.
inline QByteArray calls(const QByteArray& fragments) { return delta(R"({"tool_calls":[)" + fragments + "]}"); }
inline QByteArray finish(const QByteArray& reason) {
    return line(R"({"choices":[{"index":0,"delta":{},"finish_reason":")" + reason + "\"}]}");
}
inline QByteArray usage(int promptTokens, int completionTokens) {
    return line(R"({"choices":[],"usage":{"prompt_tokens":)" + QByteArray::number(promptTokens) +
                R"(,"completion_tokens":)" + QByteArray::number(completionTokens) + "}}");
}
inline QByteArray done() { return "data: [DONE]\n\n"; }

} // namespace vennic::test::chunks
