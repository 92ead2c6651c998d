#include "backend/ChatView.h"

#include "backend/LocalCompletionReader.h"
#include "base/Localized.h"

namespace vennic {

namespace {

constexpr std::chrono::seconds filingPatience{5};

QUuid conversationOf(const AppSession& session) {
    return session.messages().empty() ? QUuid() : session.messages().front().id;
}

constexpr qsizetype longestPrompt = 256LL * 1024; // UTF-16 units, as the backend counts them

bool isTooLong(const QString& text) { return text.trimmed().size() > longestPrompt; }

QString tooLong() {
    return localized("Ton message est trop long pour être envoyé : %1 caractères au plus.").arg(longestPrompt);
}

} // namespace

ChatView::ChatView(Surroundings surroundings) : with_(surroundings) {
    connect(&with_.session, &AppSession::isStreamingChanged, this, &ChatView::canSendChanged);
    for (const auto signal : {&AppSession::messagesChanged, &AppSession::discussionIdChanged})
        connect(&with_.session, signal, this, &ChatView::followConversation);
    followConversation();
}

void ChatView::followConversation() {
    const bool can = !with_.session.messages().empty() || with_.session.discussionId();
    if (can == couldForget_)
        return;
    couldForget_ = can;
    Q_EMIT canForgetChanged();
}

void ChatView::setDraft(const QString& draft) {
    if (draft_ == draft)
        return;
    draft_ = draft;
    Q_EMIT draftChanged();
    Q_EMIT canSendChanged();
}

void ChatView::setInputFocused(bool focused) {
    if (inputFocused_ == focused)
        return;
    inputFocused_ = focused;
    Q_EMIT inputFocusedChanged();
}

bool ChatView::canSend() const { return !draft_.trimmed().isEmpty() && !with_.session.isStreaming(); }

void ChatView::send() {
    if (!canSend())
        return;
    if (isTooLong(draft_))
        return with_.session.setLastError(tooLong());
    const QString text = draft_;
    setDraft({});
    begin(text);
}

Task<std::optional<TurnEnd>> ChatView::ask(QString text, std::optional<Provider> provider) {
    if (isTooLong(text) && !with_.session.isStreaming())
        co_return TurnEnd{.failed = true, .text = tooLong()};
    if (!begin(text, provider))
        co_return std::nullopt;
    Waiters<TurnEnd>::Place place(waiting_);
    co_return co_await place.event();
}

void ChatView::newConversation() {
    if (canForget())
        with_.session.clearConversation();
    setInputFocused(true);
}

bool ChatView::begin(const QString& text, std::optional<Provider> provider) {
    AppSession& session = with_.session;
    const QString prompt = text.trimmed();
    if (prompt.isEmpty() || session.isStreaming())
        return false;
    session.appendMessage(ChatMessage::make(ChatMessage::Role::user, prompt, with_.clock.now()));
    session.setIsStreaming(true);
    session.setLastError(std::nullopt);
    jobs_.start(run({prompt, session.userToken(), provider.value_or(session.provider()), session.discussionId(),
                     conversationOf(session)}));
    return true;
}

Task<> ChatView::run(Turn turn) {
    const TurnEnd end = co_await answer(std::move(turn));
    waiting_.wake(end);
}

Task<TurnEnd> ChatView::answer(Turn turn) {
    AppSession& session = with_.session;
    if (turn.provider == Provider::local) {
        if (co_await with_.local.isReachable(session.localLLMEndpoint(), localServerPatience))
            co_return co_await with_.local.runDirectLocal(turn.prompt);
    }
    std::optional<QString> failure;
    try {
        const ChatReply reply = co_await complete(turn);
        if (session.discussionId() != reply.discussionId)
            session.setDiscussionId(reply.discussionId);
        say(reply.text);
        session.setIsStreaming(false);
        co_return TurnEnd{false, reply.text};
    } catch (const std::exception& error) {
        failure = localizedDescription(error);
    }
    session.setLastError(failure);
    say(QStringLiteral("⚠️ ") + *failure);
    session.setIsStreaming(false);
    co_return TurnEnd{true, *failure};
}

Task<ChatReply> ChatView::complete(Turn turn) {
    CompletionRequest request;
    request.prompt = turn.prompt;
    request.provider = turn.provider;
    request.discussionId = co_await discussionOf(turn);
    if (turn.provider == Provider::local)
        request.localModel = with_.session.selectedLocalModel();
    else
        request.cloudModel = with_.session.selectedCloudModel();
    const APIService api(with_.http, with_.config, turn.token, {});
    co_return co_await api.complete(request);
}

Task<std::optional<qint64>> ChatView::discussionOf(Turn turn) {
    if (turn.discussionId || !with_.local.isFiling())
        co_return turn.discussionId;
    co_await with_.local.filed(filingPatience);
    co_return conversationOf(with_.session) == turn.conversation ? with_.session.discussionId() : std::nullopt;
}

void ChatView::say(const QString& text) {
    with_.session.appendMessage(ChatMessage::make(ChatMessage::Role::assistant, text, with_.clock.now()));
}

} // namespace vennic
