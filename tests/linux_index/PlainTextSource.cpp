#include "linux_index/PlainTextSource.h"

#include <unistd.h>

namespace vennic::index::test {

namespace {

bool takeOne(std::atomic<int>& left) {
    if (left <= 0)
        return false;
    --left;
    return true;
}

} // namespace

TextSource::Form PlainTextSource::formOf(std::string_view name) const {
    return name.ends_with(".txt") ? Form::plain : name.ends_with(".rtf") ? Form::rich : Form::none;
}

TextSource::Result PlainTextSource::read(int file, std::string_view name) {
    ++reads;
    if (ended)
        return {Outcome::ended, {}};
    if (dead)
        return {Outcome::unavailable, {}};
    if (takeOne(killed))
        return {Outcome::interrupted, {}};
    if (name.find(deadly) != std::string_view::npos)
        return {Outcome::crashed, {}};
    if (during)
        during(name);
    if (takeOne(halves))
        return {Outcome::refused, {}};
    Result result{Outcome::text, {}};
    char buffer[65536];
    off_t at = 0;
    for (ssize_t got = 0; (got = pread(file, buffer, sizeof buffer, at)) > 0; at += got)
        result.text.append(buffer, static_cast<std::size_t>(got));
    return result;
}

} // namespace vennic::index::test
