#pragma once
#include "base/LocalizedError.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>

#include <functional>
#include <memory>

namespace vennic::server {

/// A tool that a model asks for.
struct ToolCall {
    QString id;
    QString name;
    QString arguments; // JSON text, unchecked
    bool operator==(const ToolCall&) const = default;
};

/// What a model said in one go.
struct ModelRound {
    QString text;
    QList<ToolCall> calls;
    bool operator==(const ModelRound&) const = default;
};

/// A model that didn't say its say, in words for the user.
class ModelError : public LocalizedError {
public:
    explicit ModelError(QString sentence, bool requestWasRefused = false)
        : LocalizedError(std::move(sentence)), refused(requestWasRefused) {}
    bool refused; // the request itself was, as by a model that knows no tools
};

/// What a model is asked.
struct ModelRequest {
    qint64 account = 0;
    QString model;       // what the asker would like; may be empty
    QJsonArray messages; // of the OpenAI chat completions
    QJsonArray tools;    // the same; may be empty
};

/// Who hears a model. Nothing is said after `done` or `failed`, one of which ends it.
struct RoundListener {
    std::function<void(const QString& delta)> said;
    std::function<void(const ModelRound& whole)> done;
    std::function<void(const ModelError& error)> failed;
};

/// A model that answers. A round goes on until its end or until the last copy of the handle goes; it never ends inside
/// the call that began it.
class ModelSource {
public:
    virtual ~ModelSource() = default;
    [[nodiscard]] virtual std::shared_ptr<void> infer(const ModelRequest& request, RoundListener listener) = 0;
};

/// The longest text that a model may say in one go, and the longest arguments of a tool, in characters.
inline constexpr qsizetype longestModelText = 256LL * 1024;
inline constexpr qsizetype longestToolArguments = 64LL * 1024;
/// The most tools that are asked for in one go; further ones are not heard.
inline constexpr int mostToolCalls = 16;

} // namespace vennic::server
