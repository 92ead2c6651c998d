// Counts user-perceived characters, by us and by ICU's break iterator. Each figure is one line: name, value, unit.
//
//   graphemes_bench FILE
#include "base/Graphemes.h"

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <iterator>
#include <limits>
#include <memory>
#include <string>
#include <unicode/brkiter.h>
#include <unicode/utext.h>

namespace {

/// The least processor time of a few rounds, in seconds.
double secondsOf(const auto& count, std::size_t& characters) {
    double least = std::numeric_limits<double>::max();
    for (int round = 0; round < 5; ++round) {
        const std::clock_t start = std::clock();
        characters = count();
        least = std::min(least, static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    return least;
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

std::string repeated(const char* piece, std::size_t bytes) {
    std::string text;
    while (text.size() < bytes)
        text += piece;
    return text;
}

bool measure(const char* name, const std::string& text) {
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
    std::ifstream file(count > 1 ? arguments[1] : "");
    const std::string documents{std::istreambuf_iterator<char>(file), {}};
    if (documents.empty()) {
        std::fprintf(stderr, "usage: graphemes_bench FILE\n");
        return 2;
    }
    bool equal = measure("documents", documents);
    equal =
        measure("ascii", repeated("The quick brown fox jumps over the lazy dog; 1234 times.\n", documents.size())) &&
        equal;
    equal = measure("mixed", repeated("E\xCC\x81te\xCC\x81 \xF0\x9F\x87\xAB\xF0\x9F\x87\xB7 \xED\x95\x9C\xEA\xB5\xAD "
                                      "\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x92\xBB fin\r\n",
                                      documents.size())) &&
            equal;
    return equal ? 0 : 1;
}
