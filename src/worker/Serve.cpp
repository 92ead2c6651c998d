#include "worker/Serve.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <malloc.h>
#include <new>
#include <optional>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace vennic::worker {
namespace {

class Descriptor {
public:
    explicit Descriptor(int number = -1) : number_(number) {}
    Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Descriptor& operator=(Descriptor&&) = delete;
    ~Descriptor() {
        if (number_ >= 0)
            close(number_);
    }
    int number() const { return number_; }

private:
    int number_;
};

bool sendAll(int socket, const void* data, std::size_t size) {
    const auto* at = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t sent = write(socket, at, size);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        at += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

struct Received {
    wire::Request request;
    Descriptor file;
};

enum class End { closed, malformed };

/// The next request with its descriptor, or how the conversation ended.
std::optional<Received> receive(int socket, End& end) {
    wire::Request request;
    iovec part{&request, sizeof request};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    ssize_t got = 0;
    do
        got = recvmsg(socket, &message, MSG_WAITALL);
    while (got < 0 && errno == EINTR);
    const cmsghdr* const rights = CMSG_FIRSTHDR(&message);
    int number = -1;
    if (rights != nullptr && rights->cmsg_level == SOL_SOCKET && rights->cmsg_type == SCM_RIGHTS &&
        rights->cmsg_len == CMSG_LEN(sizeof(int)))
        std::memcpy(&number, CMSG_DATA(rights), sizeof number);
    Received received{request, Descriptor(number)};
    end = got == 0 ? End::closed : End::malformed;
    if (got != sizeof request || number < 0 || (message.msg_flags & MSG_CTRUNC) != 0 || request.magic != wire::magic ||
        request.version != wire::version)
        return std::nullopt;
    return received;
}

const Reader* readerOf(wire::Form form, const BoxedProgram& program) {
    const auto found = std::ranges::find(program.readers, form, &Reader::form);
    return found == program.readers.end() ? nullptr : &*found;
}

struct Work {
    wire::Answer answer;
    std::string body;
    bool isLast = false; // nobody knows what state the libraries are in
};

Work work(const Received& received, const Reader& reader, const BoxedProgram& program) {
    Work work;
    work.answer.number = received.request.number;
    try {
        const std::int64_t mostBytes = wire::ceilingsOf(reader.form).fileBytes;
        const auto open = program.mapsFiles ? Document::map : Document::read;
        const Document document = open(received.file.number(), received.request.document, mostBytes);
        work.answer.outcome = document.outcome();
        work.answer.systemError = document.systemError();
        if (document.outcome() != wire::Outcome::done)
            return work;
        ReadResult result = reader.read(document, received.request.parameters);
        work.answer.outcome = result.outcome;
        work.answer.fileBytes = static_cast<std::int64_t>(document.bytes().size());
        work.answer.bodyBytes = result.body.size();
        work.answer.truncated = result.truncated ? 1 : 0;
        work.body = std::move(result.body);
    } catch (const std::bad_alloc&) {
        work.answer = {.outcome = wire::Outcome::beyondBox, .number = received.request.number};
        work.isLast = true;
    }
    return work;
}

} // namespace

bool sendHello(int socket, wire::BoxState box) {
    wire::Hello hello;
    hello.box = box;
    return sendAll(socket, &hello, sizeof hello);
}

bool serve(int socket, const BoxedProgram& program) {
    End end = End::closed;
    while (const auto received = receive(socket, end)) {
        const Reader* const reader = readerOf(received->request.form, program);
        if (reader == nullptr)
            return false;
        const Work done = work(*received, *reader, program);
        if (!sendAll(socket, &done.answer, sizeof done.answer) ||
            !sendAll(socket, done.body.data(), done.body.size()) || done.isLast)
            return true; // perhaps nobody listens any more
        malloc_trim(0);  // a waiting process holds no large document
    }
    return end == End::closed;
}

} // namespace vennic::worker
