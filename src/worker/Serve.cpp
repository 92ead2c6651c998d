#include "worker/Serve.h"

#include "worker/ReadDocument.h"

#include <cerrno>
#include <cstring>
#include <malloc.h>
#include <memory>
#include <optional>
#include <sys/socket.h>
#include <sys/stat.h>
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

struct FileBytes {
    std::unique_ptr<char[]> data;
    std::size_t size = 0;
    wire::Outcome outcome = wire::Outcome::text;
    int error = 0;
};

FileBytes readFile(int file) {
    struct stat status{};
    if (fstat(file, &status) != 0)
        return {nullptr, 0, wire::Outcome::unreadable, errno};
    if (!S_ISREG(status.st_mode))
        return {nullptr, 0, wire::Outcome::unreadable, EINVAL};
    if (status.st_size > wire::mostFileBytes)
        return {nullptr, 0, wire::Outcome::tooLarge, 0};
    FileBytes bytes;
    const auto size = static_cast<std::size_t>(status.st_size);
    bytes.data = std::make_unique_for_overwrite<char[]>(size + 1);
    while (bytes.size < size) {
        const ssize_t got =
            pread(file, bytes.data.get() + bytes.size, size - bytes.size, static_cast<off_t>(bytes.size));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return {nullptr, 0, wire::Outcome::unreadable, errno};
        if (got == 0)
            break; // it has become shorter
        bytes.size += static_cast<std::size_t>(got);
    }
    return bytes;
}

bool answer(int socket, const Received& received) {
    const FileBytes bytes = readFile(received.file.number());
    wire::Answer answer;
    answer.number = received.request.number;
    answer.outcome = bytes.outcome;
    answer.systemError = bytes.error;
    ReadResult result;
    if (bytes.outcome == wire::Outcome::text) {
        result = readDocument(received.request.form, {bytes.data.get(), bytes.size}, received.request.mostCharacters);
        answer.outcome = result.outcome;
        answer.fileBytes = static_cast<std::int64_t>(bytes.size);
        answer.textBytes = result.text.size();
        answer.truncated = result.truncated ? 1 : 0;
    }
    return sendAll(socket, &answer, sizeof answer) && sendAll(socket, result.text.data(), result.text.size());
}

} // namespace

bool sendHello(int socket, wire::BoxState box) {
    wire::Hello hello;
    hello.box = box;
    return sendAll(socket, &hello, sizeof hello);
}

bool serve(int socket) {
    End end = End::closed;
    while (const auto received = receive(socket, end)) {
        if (!answer(socket, *received))
            return true; // nobody listens any more
        malloc_trim(0);  // a waiting process holds no large document
    }
    return end == End::closed;
}

} // namespace vennic::worker
