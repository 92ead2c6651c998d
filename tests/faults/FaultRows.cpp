#include "faults/FaultRows.h"

namespace vennic::test {

namespace {

using namespace std::chrono_literals;

Outcomes all(const std::string& outcome) { return {outcome, outcome, outcome, outcome}; }

/// What a success with a body that nobody can read means: two calls want the body, two ignore it.
Outcomes unreadable() { return {"unreadable", "done", "done", "unreadable"}; }

std::function<AnswerScript(Call)> always(const AnswerScript& script) {
    return [script](Call) { return script; };
}

std::function<AnswerScript(Call)> good(AnswerScript (*shape)(const QByteArray&)) {
    return [shape](Call call) { return shape(answerBytes(200, goodBody(call))); };
}

/// A good answer of which only a part arrives: all but its last `missing` bytes.
std::function<AnswerScript(Call)> part(AnswerScript (*shape)(const QByteArray&), qsizetype missing) {
    return [shape, missing](Call call) { return shape(answerBytes(200, goodBody(call)).chopped(missing)); };
}

Fault greeting(const std::string& name, Greeting greeting, const std::string& outcome) {
    return {name, always(answers::plain(200)), all(outcome), greeting, outcome == "timedOut"};
}

Fault success(const std::string& name, const QByteArray& body) {
    return {name, always(answers::plain(200, body)), unreadable()};
}

/// More than an answer about an account may be; tasks may be larger.
Fault tooMuch(const std::string& name, const QByteArray& body) {
    Fault fault = success(name, body);
    fault.expected.update = fault.expected.revoke = fault.expected.claim = "tooLarge";
    return fault;
}

Fault refusal(int status) {
    const std::string number = std::to_string(status);
    Fault fault{"status" + number, always(answers::plain(status, "dit")), all("http " + number + " dit")};
    if (status == 304) // has no body (RFC 9110, 15.4.5)
        fault = {"status304", always(answers::bytes("HTTP/1.1 304 None\r\n\r\n")), all("http 304 ")};
    fault.announced = status == 401;
    return fault;
}

} // namespace

QByteArray methodOf(Call call) {
    switch (call) {
    case Call::poll:
        return "GET";
    case Call::update:
        return "PATCH";
    case Call::revoke:
        return "DELETE";
    case Call::claim:
        return "POST";
    }
    Q_UNREACHABLE();
}

QByteArray targetOf(Call call) {
    switch (call) {
    case Call::poll:
        return "/api/v1/bridge/tasks/next?wait=25";
    case Call::update:
        return "/api/v1/bridge/tasks/t-1";
    case Call::revoke:
        return "/api/v1/session";
    case Call::claim:
        return "/api/v1/pairings/claim";
    }
    Q_UNREACHABLE();
}

QByteArray goodBody(Call call) {
    switch (call) {
    case Call::poll:
        return R"({"id":"t-1","kind":"search","args":{"query":"facture edf"}})";
    case Call::update:
    case Call::revoke:
        return R"({"ok":true})";
    case Call::claim:
        return R"({"user_token":"fresh","email":"a@b.test"})";
    }
    Q_UNREACHABLE();
}

const std::string& Outcomes::of(Call call) const {
    switch (call) {
    case Call::poll:
        return poll;
    case Call::update:
        return update;
    case Call::revoke:
        return revoke;
    case Call::claim:
        return claim;
    }
    Q_UNREACHABLE();
}

std::vector<Fault> wireFaults() {
    const auto drip = [](std::chrono::milliseconds interval) {
        return [interval](Call call) { return answers::drip(answerBytes(200, goodBody(call)), interval); };
    };
    const auto late = [](Call call) -> AnswerScript {
        return [call](Wire& wire, const ReceivedRequest&) {
            wire.pause(120ms);
            wire.send(answerBytes(200, goodBody(call)));
        };
    };
    return {
        greeting("closedAtOnce", Greeting::closeAtOnce, "cutOff"),
        greeting("resetAtOnce", Greeting::resetAtOnce, "cutOff"),
        greeting("closedDuringTheHandshake", Greeting::closeInFlight, "cutOff"),
        greeting("acceptedAndSilent", Greeting::silence, "timedOut"),
        greeting("noTls", Greeting::garbage, "tlsRefused"),
        greeting("oldTls", Greeting::tls11Only, "tlsRefused"),
        {"nothing", good(answers::bytes), all("done")},
        {"latency", late, all("done")},
        {"slices", drip(1ms), all("done")},
        {"cutBeforeTheAnswer", always(answers::bytesThenCut({})), all("cutOff")},
        {"resetBeforeTheAnswer", always(answers::bytesThenReset({})), all("cutOff")},
        {"closedBeforeTheAnswer", always(answers::bytesThenClose({})), all("cutOff")},
        {"cutInTheHeader", always(answers::bytesThenCut("HTTP/1.1 200 OK\r\nConte")), all("cutOff")},
        {"cutBeforeTheBody", always(answers::bytesThenCut("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n")),
         all("cutOff")},
        {"cutInTheBody", part(answers::bytesThenCut, 5), all("cutOff")},
        {"resetInTheBody", part(answers::bytesThenReset, 5), all("cutOff")},
        {"closedInTheBody", part(answers::bytesThenClose, 1), all("cutOff")},
        {"corruptedRecord", always(answers::corruptedTls()), all("cutOff")},
        {.name = "blackHole",
         .script = always(answers::bytesThenSilence({})),
         .expected = all("timedOut"),
         .hurried = true},
        {.name = "silenceInTheBody",
         .script = part(answers::bytesThenSilence, 5),
         .expected = all("timedOut"),
         .hurried = true},
        {.name = "dripWithoutEnd",
         .script = always(answers::drip(answerBytes(200, QByteArray(100'000, ' ')), 5ms)),
         .expected = all("timedOut"),
         .hurried = true},
    };
}

std::vector<Fault> hostileAnswers() {
    std::vector<Fault> faults{
        {"endlessHeader", always(answers::endlessHeader()), all("tooLarge")},
        {"endlessHeaderLine", always(answers::endlessHeaderLine()), all("tooLarge")},
        {"endlessBody", always(answers::endlessBody()), all("tooLarge")},
        {"hugeDeclaredBody", always(answers::hugeBody(512LL << 20, 512LL << 20)), all("tooLarge")},
        {"hugeErrorPage",
         [](Call) -> AnswerScript {
             return [](Wire& wire, const ReceivedRequest&) {
                 wire.send("HTTP/1.1 500 No\r\nConnection: close\r\n\r\n");
                 while (wire.send(QByteArray(1 << 16, '<'))) {
                 }
             };
         },
         all("tooLarge")},
        {"anotherProtocol", always(answers::bytesThenClose("220 mail.test ESMTP\r\n")), all("notHttp")},
        {"brokenChunk",
         always(answers::bytesThenClose("HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\nzz\r\nab\r\n")),
         all("badAnswer")},
        {"interimOnly", always(answers::bytesThenClose("HTTP/1.1 199 Odd\r\n\r\n")), all("http 199 ")},
        {"noContent", always(answers::bytes("HTTP/1.1 204 None\r\n\r\n")), {"nothing", "done", "done", "unreadable"}},
        {"errorThatIsNotText", always(answers::plain(500, "\xff\xfe")), all("http 500 -")},
        success("emptyBody", {}),
        success("page", "<html><body>Portail captif</body></html>"),
        success("array", "[]"),
        success("emptyObject", "{}"),
        success("truncatedJson", R"({"id":"t-1","kind":"search","args":{"que)"),
        success("wrongTypes", R"({"id":5,"kind":[],"args":"x","user_token":7,"email":null})"),
        success("unknownKind", R"({"id":"t-1","kind":"format_disk","args":{}})"),
        success("badUtf8", "{\"id\":\"\xff\xfe\"}"),
        success("nulBytes", QByteArray(4096, '\0')),
        success("deepNesting", QByteArray(1 << 20, '[')),
        tooMuch("manyKeys", '{' + QByteArray("\"a\":1,").repeated(200'000) + "\"b\":2}"),
        tooMuch("longString", "{\"id\":\"" + QByteArray(8 << 20, 'x') + "\"}"),
    };
    for (const int status : {300, 304, 400, 401, 403, 404, 407, 413, 429, 500, 502, 503})
        faults.push_back(refusal(status));
    return faults;
}

} // namespace vennic::test
