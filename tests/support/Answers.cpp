#include "support/Answers.h"

#include <zlib.h>

namespace vennic::test {

namespace {

AnswerScript send(QByteArray raw, void (Wire::*end)()) {
    return [raw = std::move(raw), end](Wire& wire, const ReceivedRequest&) {
        wire.send(raw);
        (wire.*end)();
    };
}

} // namespace

QByteArray answerBytes(int status, const QByteArray& body, const QByteArray& headers) {
    return "HTTP/1.1 " + QByteArray::number(status) + " Said\r\n" + headers +
           "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
}

namespace answers {

AnswerScript plain(int status, const QByteArray& body, const QByteArray& headers) {
    return bytes(answerBytes(status, body, headers));
}

AnswerScript bytes(const QByteArray& raw) {
    return [raw](Wire& wire, const ReceivedRequest&) { wire.send(raw); };
}

AnswerScript bytesThenClose(const QByteArray& raw) { return send(raw, &Wire::close); }
AnswerScript bytesThenCut(const QByteArray& raw) { return send(raw, &Wire::cut); }
AnswerScript bytesThenReset(const QByteArray& raw) { return send(raw, &Wire::reset); }
AnswerScript bytesThenSilence(const QByteArray& raw) { return send(raw, &Wire::hold); }

AnswerScript redirect(int status, const QUrl& to) {
    return plain(status, "moved", "Location: " + to.toEncoded() + "\r\n");
}

AnswerScript endlessHeader() {
    return [](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\n");
        for (int i = 0; wire.send("X-" + QByteArray::number(i) + ": " + QByteArray(100, 'a') + "\r\n"); ++i) {
        }
    };
}

AnswerScript endlessHeaderLine() {
    return [](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\nX-Long: ");
        while (wire.send(QByteArray(4096, 'a'))) {
        }
    };
}

AnswerScript endlessBody() {
    return [](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
        while (wire.send(QByteArray(1 << 16, 'x'))) {
        }
    };
}

AnswerScript hugeBody(qint64 declared, qint64 sent) {
    return [declared, sent](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\nContent-Length: " + QByteArray::number(declared) + "\r\n\r\n");
        for (qint64 left = sent; left > 0;) {
            const qint64 now = std::min<qint64>(left, 1 << 16);
            if (!wire.send(QByteArray(now, 'x')))
                return;
            left -= now;
        }
    };
}

AnswerScript gzipBomb() {
    return [](Wire& wire, const ReceivedRequest&) {
        z_stream stream{};
        deflateInit2(&stream, 9, Z_DEFLATED, 15 + 16, 9, Z_DEFAULT_STRATEGY); // 16: with gzip's head
        QByteArray zeros(1 << 20, '\0');
        QByteArray body(2 << 20, Qt::Uninitialized);
        stream.next_out = reinterpret_cast<Bytef*>(body.data());
        stream.avail_out = static_cast<uInt>(body.size());
        for (int i = 0; i < 1024; ++i) {
            stream.next_in = reinterpret_cast<Bytef*>(zeros.data());
            stream.avail_in = static_cast<uInt>(zeros.size());
            deflate(&stream, i == 1023 ? Z_FINISH : Z_NO_FLUSH);
        }
        body.truncate(static_cast<qsizetype>(stream.total_out));
        deflateEnd(&stream);
        wire.send(answerBytes(200, body, "Content-Encoding: gzip\r\n"));
    };
}

AnswerScript drip(const QByteArray& raw, std::chrono::milliseconds interval) {
    return [raw, interval](Wire& wire, const ReceivedRequest&) {
        for (const char c : raw) {
            if (!wire.send(QByteArrayView(&c, 1)) || !wire.pause(interval))
                return;
        }
        wire.close();
    };
}

AnswerScript corruptedTls() {
    return [](Wire& wire, const ReceivedRequest&) {
        wire.send("HTTP/1.1 200 OK\r\nContent-Length: 1000\r\n\r\nhalf");
        wire.sendRaw(QByteArray("\x17\x03\x03\x00\x20", 5) + QByteArray(32, 'z'));
        wire.hold();
    };
}

} // namespace answers
} // namespace vennic::test
