#include "server/QueryApi.h"

#include "server/ChosenAnswering.h"
#include "server/Database.h"
#include "server/DiscussionsApi.h"
#include "server/EventPieces.h"
#include "server/HttpError.h"
#include "server/JsonText.h"
#include "server/Router.h"
#include "server/TimeKeeper.h"

#include <algorithm>

namespace vennic::server {

namespace {
constexpr std::size_t queryBody = std::size_t{1024} * 1024;
constexpr std::size_t importBody = std::size_t{4} * 1024 * 1024;
constexpr qsizetype longestText = 256LL * 1024; // characters
constexpr qsizetype longestReply = 1024LL * 1024;
constexpr qsizetype longestWord = 200;
constexpr qint64 rememberedTurns = 20; // that an answer may look back on

QString requiredText(const QJsonObject& body, QLatin1String key, qsizetype longest) {
    const QJsonValue value = body.value(key);
    if (!value.isString() || value.toString().trimmed().isEmpty())
        throw HttpError(422, QStringLiteral("Le champ « %1 » doit être un texte.").arg(key));
    if (value.toString().size() > longest)
        throw HttpError(422, QStringLiteral("Le champ « %1 » est trop long.").arg(key));
    return value.toString();
}

QString optionalWord(const QJsonObject& body, QLatin1String key) {
    const QJsonValue value = body.value(key);
    if (value.isUndefined() || value.isNull())
        return {};
    if (!value.isString() || value.toString().size() > longestWord)
        throw HttpError(422, QStringLiteral("Le champ « %1 » doit être un texte court.").arg(key));
    return value.toString();
}

/// The discussion that the body names, or a new one. 0 names none.
qint64 discussionOf(const QueryDesks& desks, const Call& call, const QJsonObject& body, const QString& text) {
    const QJsonValue value = body.value(QLatin1String("discussion_id"));
    const qint64 id = value.toInteger(0);
    const bool isAbsent = value.isUndefined() || value.isNull();
    // Two different fall-backs tell a whole number from anything else.
    if (!isAbsent && (!value.isDouble() || id != value.toInteger(1)))
        throw HttpError(422, QStringLiteral("Le champ « discussion_id » doit être un nombre entier."));
    if (isAbsent || id == 0)
        return desks.discussions.begin(call.caller.account, text, desks.time.wallMs());
    if (!desks.discussions.has(call.caller.account, id))
        throw HttpError(404, QStringLiteral("Cette discussion n'existe pas."));
    return id;
}

/// Still without a discussion, which is begun only for what can be filed.
Turn turnOf(const QJsonObject& body, const QString& text, qint64 now) {
    Turn turn;
    turn.createdAt = now;
    turn.text = text;
    turn.provider = optionalWord(body, QLatin1String("provider"));
    turn.model = optionalWord(body, QLatin1String("model"));
    turn.channel = optionalWord(body, QLatin1String("channel"));
    return turn;
}

QByteArray discussionJson(qint64 discussion) { return jsonText({{QStringLiteral("discussion_id"), discussion}}); }

QByteArray replyJson(const Turn& turn) {
    return jsonText({{QStringLiteral("discussion_id"), turn.discussion}, {QStringLiteral("text"), turn.reply}});
}

/// A query whose reply is being made. It owns what makes the reply, which holds it only weakly.
class Conversing : public std::enable_shared_from_this<Conversing> {
public:
    Conversing(Discussions& discussions, std::shared_ptr<Exchange> exchange, Turn turn, bool streams)
        : discussions_(discussions), exchange_(std::move(exchange)), turn_(std::move(turn)), streams_(streams) {}

    void begin(Answering& answering, const Question& question) {
        const std::weak_ptr<Conversing> weak = weak_from_this();
        exchange_->onGone([self = shared_from_this()] { self->abandon(); });
        if (streams_) {
            exchange_->startEvents();
            exchange_->sendEvent("initial", discussionJson(turn_.discussion));
        }
        Listener listener;
        listener.said = [weak](const QString& delta) {
            if (const auto self = weak.lock())
                self->said(delta);
        };
        listener.done = [weak](const Reply& reply) {
            if (const auto self = weak.lock())
                self->done(reply);
        };
        try {
            making_ = answering.answer(question, std::move(listener));
        } catch (const HttpError& error) { // an event stream that has begun can say so only in words
            said(error.errorDescription());
            done({turn_.reply, {}});
        }
    }

private:
    void said(const QString& delta) {
        turn_.reply += delta;
        if (streams_)
            send(pieces_.take(delta));
    }

    void send(const QString& piece) {
        if (exchange_ && !piece.isEmpty())
            exchange_->sendEvent("message", piece.toUtf8());
    }

    void done(const Reply& reply) {
        turn_.reply = reply.text;
        turn_.findings = reply.findings;
        file();
        if (streams_)
            send(pieces_.rest());
        const auto exchange = std::exchange(exchange_, nullptr);
        // What makes the reply is in the middle of telling so: it goes with this object, once it has returned.
        if (!exchange)
            return;
        if (!streams_)
            return exchange->respond(jsonResponse(200, replyJson(turn_)));
        exchange->sendEvent("final", replyJson(turn_));
        exchange->endEvents();
    }

    /// The asker has gone: what has been said so far is kept, the rest is never made.
    void abandon() {
        exchange_.reset();
        making_.reset();
        file();
    }

    void file() {
        try {
            if (!std::exchange(filed_, true))
                discussions_.append(turn_);
        } catch (const DatabaseError&) { // NOLINT(bugprone-empty-catch): who asked gets the words all the same
        }
    }

    Discussions& discussions_;
    std::shared_ptr<Exchange> exchange_;
    Turn turn_;
    bool streams_;
    bool filed_ = false;
    EventPieces pieces_;
    std::shared_ptr<void> making_;
};

void query(const QueryDesks& desks, const Call& call) {
    const QJsonObject body = jsonObject(call.body);
    const QString text = requiredText(body, QLatin1String("text"), longestText);
    Turn turn = turnOf(body, text, desks.time.wallMs());
    turn.discussion = discussionOf(desks, call, body, text);
    Question question;
    question.account = call.caller.account;
    question.text = text;
    question.provider = turn.provider;
    question.model = turn.model;
    question.earlier = desks.discussions.turns(turn.discussion, rememberedTurns);
    const bool streams = body.value(QLatin1String("stream")).toBool();
    // The exchange's own wait for the asker's going holds the conversation until it has been answered.
    const auto conversing = std::make_shared<Conversing>(desks.discussions, call.exchange, std::move(turn), streams);
    conversing->begin(desks.answering, question);
}

void importTurn(const QueryDesks& desks, const Call& call) {
    const QJsonObject body = jsonObject(call.body);
    const QString text = requiredText(body, QLatin1String("text"), longestText);
    const QString reply = requiredText(body, QLatin1String("response_text"), longestReply);
    Turn turn = turnOf(body, text, desks.time.wallMs());
    turn.discussion = discussionOf(desks, call, body, text);
    turn.provider = QStringLiteral("local");
    turn.reply = reply;
    desks.discussions.append(turn);
    call.exchange->respond(jsonResponse(200, discussionJson(turn.discussion)));
}

void listDiscussions(const QueryDesks& desks, const Call& call) {
    const qint64 limit = std::clamp<qint64>(call.head.number("limit", 20), 1, 20);
    call.exchange->respond(jsonResponse(200, discussionsJson(desks.discussions.newest(call.caller.account, limit))));
}
} // namespace

void addQueryRoutes(Router& router, const QueryDesks& desks) {
    router.add("POST", "/api/v1/queries.json", Access::Client, queryBody,
               [desks](const Call& call) { query(desks, call); });
    router.add("POST", "/api/v1/queries/import.json", Access::Client, importBody,
               [desks](const Call& call) { importTurn(desks, call); });
    router.add("GET", "/api/v1/discussions.json", Access::Client, 0,
               [desks](const Call& call) { listDiscussions(desks, call); });
    router.add("GET", "/api/v1/providers.json", Access::Anyone, 0,
               [desks](const Call& call) { call.exchange->respond(jsonResponse(200, desks.answering.providers())); });
    router.add("GET", "/api/v1/local_llm/catalog.json", Access::Anyone, 0, [](const Call& call) {
        // Nothing to add to what the clients know by themselves.
        call.exchange->respond(jsonResponse(200, R"({"models":[]})"));
    });
}

} // namespace vennic::server
