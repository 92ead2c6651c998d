#include "backend/LocalToolChat.h"

#include "backend/ToolLine.h"
#include "localllm/LocalDirectClient.h"

#include <QHash>
#include <QScopeGuard>

namespace vennic {

namespace {

constexpr int mostRounds = 5;

QString systemPrompt() {
    return QStringLiteral("Tu es Vennic, un assistant IA personnel qui tourne en local sur le Mac de l'utilisateur. "
                          "Réponds de manière concise et naturelle.");
}

Task<> setAfter(Clock* clock, std::chrono::milliseconds limit, Event<>* event) {
    co_await clock->sleep(limit);
    event->set();
}

LocalChatRequest requestWith(const QString& model, const QJsonArray& tools, const std::vector<ChatMessage>& history) {
    LocalChatRequest request(model, tools);
    request.addMessage(QLatin1String("system"), systemPrompt());
    for (const ChatMessage& message : history)
        request.addMessage(QLatin1String(message.role == ChatMessage::Role::assistant ? "assistant" : "user"),
                           message.content);
    return request;
}

} // namespace

/// The assistant message that a turn writes in. Once it has gone from the list it takes no more.
class LocalToolChat::Writing {
public:
    explicit Writing(const Surroundings& with) : session_(with.session), clock_(with.clock) { begin(); }

    /// Leaves the message as it is and goes on in a new one, unless it has gone: a conversation that was cleared
    /// meanwhile gets nothing of the turn.
    void goOnInNewMessage() {
        if (isListed())
            begin();
    }
    void set(const QString& content) {
        if (isListed())
            session_.setMessageContent(index_, content);
    }
    void append(const QString& delta) {
        if (isListed())
            session_.appendToMessage(index_, delta);
    }

private:
    void begin() {
        const auto message = ChatMessage::make(ChatMessage::Role::assistant, {}, clock_.now());
        index_ = session_.messages().size();
        id_ = message.id;
        session_.appendMessage(message);
    }
    bool isListed() const {
        const auto& messages = session_.messages();
        return index_ < messages.size() && messages[index_].id == id_;
    }

    AppSession& session_;
    Clock& clock_;
    std::size_t index_ = 0;
    QUuid id_;
};

Task<bool> LocalToolChat::isReachable(QString endpoint, std::chrono::milliseconds timeout) {
    return LocalDirectClient::isReachable(&with_.http, std::move(endpoint), timeout);
}

Task<TurnEnd> LocalToolChat::runDirectLocal(QString prompt) {
    AppSession& session = with_.session;
    const QString model =
        session.selectedLocalModel().isEmpty() ? session.localLLMModel() : session.selectedLocalModel();
    const QJsonArray tools = LocalToolRegistry::isToolCapable(model) ? LocalToolRegistry::schemas() : QJsonArray();
    const std::vector<ChatMessage> history = session.messages();
    Writing writing(with_);
    QString failure;
    try {
        LocalChatRequest request = requestWith(model, tools, history);
        const QString text = co_await converse(&request, !tools.isEmpty(), &writing);
        finish(prompt, text, model);
        co_return TurnEnd{.failed = false, .text = text};
    } catch (const Cancelled&) {
        failure = transportFaultText(TransportFault::cancelled);
    } catch (const std::exception& error) {
        failure = localizedDescription(error);
    }
    session.setLastError(failure);
    writing.set(QStringLiteral("⚠️ ") + failure);
    session.setIsStreaming(false);
    co_return TurnEnd{.failed = true, .text = failure};
}

Task<QString> LocalToolChat::converse(LocalChatRequest* request, bool hasTools, Writing* writing) {
    const QString endpoint = with_.session.localLLMEndpoint();
    const std::function<void(const QString&)> onDelta = [writing](const QString& delta) { writing->append(delta); };
    for (int round = 0; round < mostRounds; ++round) {
        const LocalDirectClient::Reply reply =
            co_await LocalDirectClient::streamChatRaw(&with_.http, endpoint, request->body(), onDelta);
        if (reply.toolCalls.isEmpty() || !hasTools) // a model that was offered nothing has nothing to call
            co_return reply.text;
        request->addToolCalls(reply.text, reply.toolCalls);
        if (!reply.text.isEmpty())
            writing->goOnInNewMessage();
        co_await runTools(reply.toolCalls, request, writing);
        writing->set({});
    }
    co_return QString();
}

Task<> LocalToolChat::runTools(QJsonArray calls, LocalChatRequest* request, Writing* writing) {
    for (qsizetype i = 0; i < calls.size(); ++i) {
        const QJsonObject call = calls[i].toObject();
        const QJsonObject function = call.value(QLatin1String("function")).toObject();
        const QString name = function.value(QLatin1String("name")).toString();
        const QString arguments = function.value(QLatin1String("arguments")).toString(QStringLiteral("{}"));
        writing->set(toolLine(toolLabel(name)));
        request->addToolResult(call.value(QLatin1String("id")).toString(),
                               co_await with_.tools.dispatch(name, arguments));
    }
}

void LocalToolChat::finish(const QString& prompt, const QString& text, const QString& model) {
    AppSession& session = with_.session;
    session.setIsStreaming(false);
    const auto& token = session.userToken();
    if (!token || token->isEmpty() || text.isEmpty())
        return;
    const auto& messages = session.messages();
    filings_.push_back(
        {.turn = {.prompt = prompt, .responseText = text, .model = model, .discussionId = session.discussionId()},
         .token = *token,
         .conversation = messages.empty() ? QUuid() : messages.front().id});
    if (filings_.size() == 1)
        imports_.start(fileTurns());
}

Task<> LocalToolChat::fileTurns() {
    while (!filings_.empty()) {
        const auto discussion = co_await importTurn(filings_.front().turn, filings_.front().token);
        const QUuid conversation = filings_.front().conversation;
        filings_.pop_front();
        for (Filing& behind : filings_) {
            if (!conversation.isNull() && behind.conversation == conversation && !behind.turn.discussionId)
                behind.turn.discussionId = discussion;
        }
    }
    for (Event<>* waiting : waiting_)
        waiting->set();
}

/// Nobody is told when it fails: the turn is shown already.
Task<std::optional<qint64>> LocalToolChat::importTurn(LocalTurn turn, SecretText token) {
    try {
        const APIService api(with_.http, with_.config, std::move(token), {});
        const auto discussion = co_await api.importLocalTurn(turn);
        if (discussion && with_.session.discussionId() != discussion)
            with_.session.setDiscussionId(discussion);
        co_return discussion;
    } catch (const LocalizedError&) { // NOLINT(bugprone-empty-catch)
    }
    co_return std::nullopt;
}

Task<> LocalToolChat::filed(std::chrono::milliseconds limit) {
    if (!isFiling())
        co_return;
    Event<> over;
    waiting_.push_back(&over);
    const auto left = qScopeGuard([this, &over] { std::erase(waiting_, &over); });
    Scope patience;
    patience.start(setAfter(&with_.clock, limit, &over));
    co_await over;
}

QString LocalToolChat::toolLabel(const QString& tool) {
    static const QHash<QString, QString> labels{
        {QStringLiteral("search_local_documents"), QStringLiteral("Recherche locale")},
        {QStringLiteral("read_local_document"), QStringLiteral("Lecture du document")},
        {QStringLiteral("list_local_folders"), QStringLiteral("Liste des dossiers")},
        {QStringLiteral("browse_local_folder"), QStringLiteral("Parcours du dossier")},
        {QStringLiteral("list_recent_photos"), QStringLiteral("Photos récentes")},
        {QStringLiteral("list_photos_from_date"), QStringLiteral("Photos par date")},
        {QStringLiteral("open_app"), QStringLiteral("Ouverture de l'app")},
        {QStringLiteral("list_shortcuts"), QStringLiteral("Liste des raccourcis")},
        {QStringLiteral("run_shortcut"), QStringLiteral("Exécution du raccourci")},
        {QStringLiteral("ocr_local_image"), QStringLiteral("OCR du document")}};
    return labels.value(tool, tool);
}

} // namespace vennic
