#pragma once
#include "backend/APIService.h"
#include "backend/DirectLocalChat.h"
#include "base/Clock.h"
#include "base/Waiters.h"
#include "core/AppSession.h"

#include <QObject>

namespace vennic {

/// The conversation's input: turns a draft into a message, decides who answers, and files the answer. One turn at a
/// time in the whole session. It outlives what shows it, and so do its turns. Main thread only.
class ChatView final : public QObject {
    Q_OBJECT
    Q_PROPERTY(QString draft READ draft WRITE setDraft NOTIFY draftChanged)
    Q_PROPERTY(bool canSend READ canSend NOTIFY canSendChanged)
    Q_PROPERTY(bool canForget READ canForget NOTIFY canForgetChanged)
    Q_PROPERTY(bool inputFocused READ inputFocused WRITE setInputFocused NOTIFY inputFocusedChanged)
public:
    /// All that a turn needs; each outlives the view.
    struct Surroundings {
        AppSession& session;
        VennicHTTP& http;
        const APIConfig& config;
        Clock& clock;
        DirectLocalChat& local;
    };

    explicit ChatView(Surroundings surroundings);

    const QString& draft() const { return draft_; }
    void setDraft(const QString& draft);
    /// Whether the draft holds more than blanks and no turn runs.
    bool canSend() const;
    /// Whether there is a conversation that a new one would take the place of.
    bool canForget() const { return couldForget_; }
    bool inputFocused() const { return inputFocused_; }
    void setInputFocused(bool focused);

    /// Sends the draft and empties it; without something to send, or while a turn runs, nothing happens. A draft longer
    /// than the backend takes stays, and the session's `lastError` says so.
    Q_INVOKABLE void send();
    /// Sends `text` as `send` would a draft, leaving the draft alone, and waits for the turn's end. None when there
    /// is nothing to send or a turn runs. A cancelled wait leaves the turn running. `provider` answers this one turn
    /// instead of the session's.
    Task<std::optional<TurnEnd>> ask(QString text, std::optional<Provider> provider = std::nullopt);
    /// Forgets the conversation, if there is one, and gives the input the focus.
    Q_INVOKABLE void newConversation();

Q_SIGNALS:
    void draftChanged();
    void canSendChanged();
    void canForgetChanged();
    void inputFocusedChanged();

private:
    /// What a turn keeps of the moment when it was sent.
    struct Turn {
        QString prompt;
        std::optional<SecretText> token;
        Provider provider = Provider::openai;
        std::optional<qint64> discussionId;
        QUuid conversation; // the id of its first message
    };

    /// Appends the user's message and starts the turn. False when there is nothing to send or a turn runs.
    bool begin(const QString& text, std::optional<Provider> provider = std::nullopt);
    Task<> run(Turn turn);
    Task<TurnEnd> answer(Turn turn);
    Task<ChatReply> complete(Turn turn);
    /// The discussion of a turn: that of its sending, or the one that is being opened by the turn before.
    Task<std::optional<qint64>> discussionOf(Turn turn);
    void say(const QString& text);
    void followConversation();

    Surroundings with_;
    QString draft_;
    bool couldForget_ = false; // as it was told last
    bool inputFocused_ = false;
    Waiters<TurnEnd> waiting_; // for the end of the turn that runs
    Scope jobs_;
};

} // namespace vennic
