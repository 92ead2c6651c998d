// Answers as a document process that somebody took over might. Which lie it tells is in the name it is started by.
#include "base/DocumentWire.h"

#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <sys/socket.h>
#include <unistd.h>

using namespace vennic;

namespace {

constexpr int clientSocket = 3;

template <class Record>
void say(const Record& record) {
    if (write(clientSocket, &record, sizeof record) < 0)
        _exit(1);
}

void sayText(std::string_view text) {
    if (write(clientSocket, text.data(), text.size()) < 0)
        _exit(1);
}

void greet(std::string_view lie) {
    wire::Hello hello;
    if (lie == "silent-from-the-start")
        pause();
    if (lie == "strange-hello")
        hello.magic = 7;
    if (lie == "hello-of-tomorrow")
        hello.version = 99;
    if (lie == "unboxed")
        hello.box = wire::BoxState::noFileRules;
    if (lie == "ends-at-once")
        _exit(0);
    say(hello);
}

wire::Request hear() {
    wire::Request request;
    char control[64];
    iovec part{&request, sizeof request};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    if (recvmsg(clientSocket, &message, 0) != sizeof request)
        _exit(0);
    return request;
}

template <class Record>
std::string bytesOf(const Record& record) {
    return {reinterpret_cast<const char*>(&record), sizeof record};
}

// A PDF of two pages.
void answerOfPages(std::string_view lie, const wire::Request& request) {
    wire::Answer answer;
    answer.number = request.number;
    answer.fileBytes = 4;
    wire::PageCount count{2};
    if (lie == "no-page")
        count.pages = 0;
    if (lie == "more-pages-than-can-be")
        count.pages = wire::mostPages + 1;
    wire::RecognizedIn recognized{3};
    if (lie == "no-language")
        recognized.languages = 0;
    if (lie == "unknown-language")
        recognized.languages = 4;
    std::string body(request.form == wire::Form::pdfPages      ? bytesOf(count)
                     : request.form == wire::Form::pdfPageText ? std::string("ab")
                                                               : bytesOf(recognized) + "ab");
    if (lie == "half-a-language")
        body.resize(sizeof recognized - 1);
    if (lie == "longer-count")
        body += "x";
    if (lie == "shorter-count")
        body.pop_back();
    if (lie == "truncated-page")
        answer.truncated = 1;
    if (lie == "page-not-utf8")
        body.back() = '\xC3';
    if (lie == "nothing-installed-for-a-layer")
        answer.outcome = wire::Outcome::unavailable;
    if (lie == "beyond-the-box-with-a-body")
        answer.outcome = wire::Outcome::beyondBox;
    if (lie == "nothing-installed-for-a-layer")
        body.clear();
    answer.bodyBytes = lie == "endless-page" ? wire::mostPdfTextBytes + 1 : body.size();
    say(answer);
    sayText(body);
}

// Every document here has four bytes and at most two characters are asked of it.
void answer(std::string_view lie, const wire::Request& request) {
    wire::Answer answer;
    answer.number = request.number;
    answer.fileBytes = 4;
    std::string text = "ab";
    answer.truncated = 1;
    if (lie == "crashes")
        abort();
    if (lie == "never-answers")
        pause();
    if (lie == "busy-for-ever")
        for (volatile int spin = 0;; spin = spin + 1) {
        }
    if (lie == "strange-answer")
        answer.magic = 7;
    if (lie == "answer-of-tomorrow")
        answer.version = 99;
    if (lie == "answer-to-another")
        ++answer.number;
    if (lie == "unknown-outcome")
        answer.outcome = static_cast<wire::Outcome>(77);
    if (lie == "half-truncated")
        answer.truncated = 2;
    if (lie == "longer-file")
        answer.fileBytes = 5;
    if (lie == "negative-file")
        answer.fileBytes = -4;
    if (lie == "not-utf8")
        text = "a\xC3";
    if (lie == "surrogate")
        text = "\xED\xA0\x80";
    if (lie == "more-than-asked")
        text = "abc";
    if (lie == "cut-too-early")
        text = "a";
    if (lie == "error-with-text")
        answer.outcome = wire::Outcome::unparsable;
    answer.bodyBytes = text.size();
    if (lie == "endless-text")
        answer.bodyBytes = ~std::uint64_t{0};
    if (lie == "more-text-than-possible")
        answer.bodyBytes = 13;
    if (lie == "unparsable-text-file" || lie == "too-large-a-file" || lie == "strange-error") {
        answer.outcome = lie == "unparsable-text-file" ? wire::Outcome::unparsable
                         : lie == "too-large-a-file"   ? wire::Outcome::tooLarge
                                                       : wire::Outcome::unreadable;
        answer.systemError = lie == "strange-error" ? -5 : 0;
        answer.bodyBytes = 0;
        answer.truncated = 0;
        text.clear();
    }
    if (lie == "half-an-answer") {
        sayText(std::string_view(reinterpret_cast<const char*>(&answer), sizeof answer / 2));
        _exit(0);
    }
    if (lie == "half-a-text") {
        say(answer);
        sayText("a");
        _exit(0);
    }
    say(answer);
    sayText(text);
    if (lie == "talks-on")
        sayText(text);
}

} // namespace

int main(int, char** arguments) {
    const std::string_view path = arguments[0];
    const std::string_view lie = path.substr(path.rfind('/') + 1);
    greet(lie);
    while (true) {
        const wire::Request request = hear();
        (request.form == wire::Form::plainText ? answer : answerOfPages)(lie, request);
    }
}
