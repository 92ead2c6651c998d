#pragma once
#include "core/AppSession.h"

#include <QObject>

#include <functional>

namespace vennic {

/// What a user can do with a message beside reading it, and whether another is awaited.
class ChatLinks final : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isStreaming READ isStreaming NOTIFY isStreamingChanged)
public:
    /// `session` outlives this object.
    ChatLinks(AppSession& session, std::function<void(const QString&)> follow);

    bool isStreaming() const { return session_.isStreaming(); }
    Q_INVOKABLE void follow(const QString& address) const;
    /// What is shown of the address before it is followed: what it does, for documents and photos of this machine; else
    /// itself, short enough for a line or two and with nothing in it that turns text around.
    Q_INVOKABLE QString shownAddress(const QString& address) const;
    Q_INVOKABLE void copy(const QString& text) const;

Q_SIGNALS:
    void isStreamingChanged();

private:
    AppSession& session_;
    std::function<void(const QString&)> follow_;
};

} // namespace vennic
