#include "base/LineReader.h"

namespace vennic {

void LineReader::feed(QByteArrayView bytes) {
    if (at_ > 0) {
        pending_.remove(0, at_);
        searched_ -= at_;
        at_ = 0;
    }
    pending_.append(bytes.data(), bytes.size());
}

std::optional<QByteArray> LineReader::next() {
    const qsizetype end = pending_.indexOf('\n', searched_);
    if (end < 0) {
        searched_ = pending_.size();
        return std::nullopt;
    }
    qsizetype length = end - at_;
    if (length > mostBytes_) {
        searched_ = at_;
        return std::nullopt;
    }
    if (length > 0 && pending_.at(end - 1) == '\r')
        --length;
    QByteArray line = pending_.mid(at_, length);
    at_ = searched_ = end + 1;
    return line;
}

bool LineReader::overflowed() const {
    const qsizetype end = pending_.indexOf('\n', searched_);
    return (end < 0 ? pending_.size() : end) - at_ > mostBytes_;
}

} // namespace vennic
