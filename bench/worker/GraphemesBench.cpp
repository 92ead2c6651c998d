// Counts user-perceived characters, by us and by ICU's break iterator. Each figure is one line: name, value, unit.
//
//   graphemes_bench MEGABYTES
#include "base/Graphemes.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <unicode/brkiter.h>
#include <unicode/utext.h>

namespace {

double secondsOf(const auto& count, std::size_t& characters) {
    const auto start = std::chrono::steady_clock::now();
    characters = count();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

std::size_t countByIcu(const std::string& text) {
    UErrorCode status = U_ZERO_ERROR;
    UText view = UTEXT_INITIALIZER;
    utext_openUTF8(&view, text.data(), static_cast<std::int64_t>(text.size()), &status);
    const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getFrench(), status));
    if (U_FAILURE(status))
        return 0;
    breaks->setText(&view, status);
    std::size_t characters = 0;
    while (breaks->next() != icu::BreakIterator::DONE)
        ++characters;
    utext_close(&view);
    return U_FAILURE(status) ? 0 : characters;
}

bool measure(const char* name, const char* piece, std::size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += piece;
    std::size_t ours = 0;
    std::size_t theirs = 0;
    const double oursTook = secondsOf([&] { return vennic::graphemeCount(text); }, ours);
    const double theirsTook = secondsOf([&] { return countByIcu(text); }, theirs);
    if (ours != theirs) {
        std::fprintf(stderr, "graphemes_bench: %s: %zu characters by us, %zu by ICU\n", name, ours, theirs);
        return false;
    }
    const double megabytes = static_cast<double>(text.size()) / 1e6;
    std::printf("%s.ours\t%.4g\tMB/s\n%s.icu\t%.4g\tMB/s\n", name, megabytes / oursTook, name, megabytes / theirsTook);
    return true;
}

} // namespace

int main(int count, char** arguments) {
    const std::size_t bytes = (count > 1 ? std::strtoul(arguments[1], nullptr, 10) : 20) * 1000000;
    bool equal =
        measure("french", "À l’été, l'élève Œdipe paiera 12,50 € de électricité à Besançon : c'est réglé.\n", bytes);
    equal = measure("ascii", "The quick brown fox jumps over the lazy dog; 1234 times, as ever.\n", bytes) && equal;
    equal = measure("mixed",
                    "E\xCC\x81te\xCC\x81 \xF0\x9F\x87\xAB\xF0\x9F\x87\xB7 \xED\x95\x9C\xEA\xB5\xAD "
                    "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB fin\r\n",
                    bytes) &&
            equal;
    return equal ? 0 : 1;
}
