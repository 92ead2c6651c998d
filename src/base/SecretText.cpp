#include "base/SecretText.h"

#include <cstring>
#include <sys/mman.h>
#include <unistd.h>

namespace vennic {

class SecretText::Page {
public:
    explicit Page(QByteArrayView text) : size_(text.size()) {
        const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        mapped_ = (static_cast<std::size_t>(size_) / page + 1) * page;
        void* at = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (at == MAP_FAILED)
            throw std::bad_alloc{};
        at_ = static_cast<char*>(at);
        // Each of these only narrows where a copy may land; where one is refused the secret still works.
        madvise(at_, mapped_, MADV_DONTDUMP);
        madvise(at_, mapped_, MADV_DONTFORK);
        mlock(at_, mapped_);
        std::memcpy(at_, text.data(), static_cast<std::size_t>(size_));
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;
    ~Page() {
        explicit_bzero(at_, mapped_);
        munmap(at_, mapped_);
    }
    QByteArrayView view() const noexcept { return {at_, size_}; }

private:
    char* at_ = nullptr;
    qsizetype size_ = 0;
    std::size_t mapped_ = 0;
};

SecretText::SecretText(QByteArrayView text) {
    if (!text.isEmpty())
        page_ = std::make_shared<const Page>(text);
}

QByteArrayView SecretText::reveal() const noexcept { return page_ ? page_->view() : QByteArrayView{}; }

SecretText SecretText::trimmed() const {
    QString text = QString::fromUtf8(reveal());
    QByteArray bytes = QStringView{text}.trimmed().toUtf8();
    wipe(text);
    SecretText result{bytes};
    wipe(bytes);
    return result;
}

bool operator==(const SecretText& a, const SecretText& b) noexcept {
    const auto left = a.reveal();
    const auto right = b.reveal();
    if (left.size() != right.size())
        return false;
    unsigned char difference = 0;
    for (qsizetype i = 0; i < left.size(); ++i)
        difference |= static_cast<unsigned char>(left[i] ^ right[i]);
    return difference == 0;
}

QDebug operator<<(QDebug debug, const SecretText&) { return debug << "•••"; }

void wipe(QByteArray& bytes) noexcept {
    if (!bytes.isEmpty() && bytes.isDetached())
        explicit_bzero(bytes.data(), static_cast<std::size_t>(bytes.size()));
    bytes.clear();
}

void wipe(QString& text) noexcept {
    if (!text.isEmpty() && text.isDetached())
        explicit_bzero(text.data(), static_cast<std::size_t>(text.size()) * sizeof(QChar));
    text.clear();
}

} // namespace vennic
