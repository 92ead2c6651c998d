#pragma once
#include "support/LoopbackServer.h"

namespace vennic::test {

/// The bytes of a well-formed HTTP/1.1 answer with its Content-Length. `headers` are whole lines with CRLF.
QByteArray answerBytes(int status, const QByteArray& body = {}, const QByteArray& headers = {});

/// Scripts for LoopbackServer::onRequest. Each says in its name what the client meets.
namespace answers {

AnswerScript plain(int status, const QByteArray& body = {}, const QByteArray& headers = {});
AnswerScript bytes(const QByteArray& raw);          // as they are; the connection stays open
AnswerScript bytesThenClose(const QByteArray& raw); // as they are, then a proper farewell
AnswerScript bytesThenCut(const QByteArray& raw);   // as they are, then the connection is gone
AnswerScript bytesThenReset(const QByteArray& raw);
AnswerScript bytesThenSilence(const QByteArray& raw);
AnswerScript redirect(int status, const QUrl& to);
AnswerScript endlessHeader();
AnswerScript endlessHeaderLine();
AnswerScript endlessBody();                          // without a length
AnswerScript hugeBody(qint64 declared, qint64 sent); // a length, and as many bytes as `sent`
AnswerScript gzipBomb();                             // 1 MB that unpack to 1 GiB, with Content-Encoding: gzip
AnswerScript drip(const QByteArray& raw, std::chrono::milliseconds interval); // byte after byte, then a farewell
AnswerScript corruptedTls(); // half an answer, then a record that doesn't decrypt

} // namespace answers
} // namespace vennic::test
