#include "worker/Document.h"

#include <cerrno>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace vennic::worker {

void Document::refuse(wire::Outcome outcome, int error) {
    *this = Document(number_);
    outcome_ = outcome;
    systemError_ = error;
}

/// False when the file is refused.
bool Document::measure(int file, std::int64_t mostBytes) {
    struct stat status{};
    if (fstat(file, &status) != 0)
        refuse(wire::Outcome::unreadable, errno);
    else if (!S_ISREG(status.st_mode))
        refuse(wire::Outcome::unreadable, EINVAL);
    else if (status.st_size > mostBytes)
        refuse(wire::Outcome::tooLarge);
    else
        size_ = static_cast<std::size_t>(status.st_size);
    return outcome_ == wire::Outcome::done;
}

Document Document::read(int file, std::uint64_t number, std::int64_t mostBytes) {
    Document document(number);
    if (!document.measure(file, mostBytes))
        return document;
    const std::size_t size = document.size_;
    const std::shared_ptr<char> data(new char[size + 1], std::default_delete<char[]>());
    std::size_t had = 0;
    while (had < size) {
        const ssize_t got = pread(file, data.get() + had, size - had, static_cast<off_t>(had));
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0) {
            document.refuse(wire::Outcome::unreadable, errno);
            return document;
        }
        if (got == 0)
            break; // it has become shorter
        had += static_cast<std::size_t>(got);
    }
    document.data_ = data;
    document.size_ = had;
    return document;
}

Document Document::map(int file, std::uint64_t number, std::int64_t mostBytes) {
    Document document(number);
    if (!document.measure(file, mostBytes) || document.size_ == 0)
        return document;
    const std::size_t size = document.size_;
    void* const mapped = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
    if (mapped == MAP_FAILED) {
        const int error = errno;
        document.refuse(error == ENOMEM ? wire::Outcome::beyondBox : wire::Outcome::unreadable,
                        error == ENOMEM ? 0 : error);
        return document;
    }
    document.data_ = std::shared_ptr<const char>(static_cast<const char*>(mapped),
                                                 [size](const char* data) { munmap(const_cast<char*>(data), size); });
    return document;
}

} // namespace vennic::worker
