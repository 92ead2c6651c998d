// Builds an index of a folder and measures it. Each figure is one line: name, value, unit.
//
//   index_bench FOLDER STORE [--rounds N] [--idle SECONDS] [--hits FILE] WORD…
//
// A WORD argument may hold several words ("contrat kwartzite"): all are needed. STORE is made anew, or reused when it
// holds a settled index (then "open" tells how long it took to answer). FILE gets a line for each hit: the argument, a
// tab, the path; and one without a path for an argument that has none.
#include "base/TextExtensions.h"
#include "linux/index/Indexer.h"
#include "linux/index/Searcher.h"

#include <QString>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/resource.h>
#include <thread>
#include <time.h>
#include <unistd.h>

namespace {

using namespace vennic;
using namespace vennic::index;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

/// Reads text files as they stand, in this process: the cost of the index alone.
class FileTexts final : public TextSource {
public:
    Form formOf(std::string_view name) const override {
        const auto dot = name.rfind('.');
        if (dot == std::string_view::npos)
            return Form::none;
        const auto extension = QString::fromUtf8(name.data() + dot + 1, static_cast<qsizetype>(name.size() - dot - 1));
        return countsAsText(extension) ? Form::plain : Form::none;
    }
    Result read(int file, std::string_view) override {
        Result result{Outcome::text, {}};
        char buffer[65536];
        for (ssize_t got = 0; (got = ::read(file, buffer, sizeof buffer)) > 0;)
            result.text.append(buffer, static_cast<std::size_t>(got));
        bytes += static_cast<std::int64_t>(result.text.size());
        return result;
    }
    std::atomic<std::int64_t> bytes = 0;
};

double seconds(timeval time) { return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6; }

double cpu() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double threadCpu() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double since(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

void print(const std::string& name, double value, const char* unit) {
    std::printf("%s\t%.4g\t%s\n", name.c_str(), value, unit);
}

long memory(const char* field) { // kB
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field))
            return std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
    }
    return 0;
}

long wakeUps() {
    long sum = 0;
    for (const auto& task : fs::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(getpid()))
            continue; // the bench's own thread
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.find("voluntary_ctxt_switches") == 0)
                sum += std::strtol(line.c_str() + line.find(':') + 1, nullptr, 10);
        }
    }
    return sum;
}

SearchRequest requestOf(const std::string& words, const std::string& folder, std::size_t limit) {
    SearchRequest request;
    std::vector<int> group;
    std::istringstream in(words);
    for (std::string word; in >> word;) {
        group.push_back(static_cast<int>(group.size()));
        request.patterns.push_back('*' + word + '*');
    }
    request.groups = {group};
    request.scopes = request.folders = {folder};
    request.limit = limit;
    return request;
}

void measureWords(const std::vector<std::string>& words, Searcher& searcher, const Indexer& indexer,
                  const std::string& folder, int rounds, std::ostream* paths) {
    const std::atomic<bool> stop = false;
    for (const std::string& word : words) {
        std::size_t hits = 0;
        searcher.run(requestOf(word, folder, 10'000'000), indexer.folderGeneration(), stop, [&](const SearchHit& hit) {
            ++hits;
            if (paths)
                *paths << word << '\t' << hit.path << '\n';
        });
        if (paths && hits == 0)
            *paths << word << "\t\n";
        std::vector<double> times;
        std::vector<double> processor;
        for (int i = 0; i < rounds; ++i) {
            const auto start = Clock::now();
            const double before = threadCpu();
            searcher.run(requestOf(word, folder, 10), indexer.folderGeneration(), stop, [](const SearchHit&) {});
            processor.push_back((threadCpu() - before) * 1e3);
            times.push_back(since(start) * 1e3);
        }
        std::ranges::sort(times);
        std::ranges::sort(processor);
        print("search." + word, times[times.size() / 2], "ms");
        print("cpu." + word, processor[processor.size() / 2], "ms");
        print("hits." + word, static_cast<double>(hits), "files");
    }
}

void measureFreshness(Searcher& searcher, const Indexer& indexer, const std::string& folder, int rounds) {
    const std::atomic<bool> stop = false;
    std::vector<double> names;
    std::vector<double> texts;
    for (int i = 0; i < rounds; ++i) {
        const std::string path = (fs::path(folder) / ("fraicheur" + std::to_string(i) + "n.txt")).string();
        const auto start = Clock::now();
        std::ofstream(path) << "fraicheur" << i << "t\n";
        for (const auto& [word, times] : {std::pair("fraicheur" + std::to_string(i) + "n", &names),
                                          std::pair("fraicheur" + std::to_string(i) + "t", &texts)}) {
            bool found = false;
            while (!found && since(start) < 30) {
                searcher.run(requestOf(word, folder, 1), indexer.folderGeneration(), stop,
                             [&](const SearchHit&) { found = true; });
                std::this_thread::sleep_for(std::chrono::milliseconds(2));
            }
            times->push_back(since(start) * 1e3);
        }
        fs::remove(path);
    }
    std::ranges::sort(names);
    std::ranges::sort(texts);
    print("created_to_found.name.median", names[names.size() / 2], "ms");
    print("created_to_found.name.worst", names.back(), "ms");
    print("created_to_found.text.median", texts[texts.size() / 2], "ms");
    print("created_to_found.text.worst", texts.back(), "ms");
}

} // namespace

int main(int count, char** arguments) {
    if (count < 3) {
        std::fprintf(stderr, "usage: index_bench FOLDER STORE [--rounds N] [--idle SECONDS] [--hits FILE] WORD…\n");
        return 2;
    }
    const std::string folder = fs::canonical(arguments[1]).string();
    const std::string store = fs::absolute(arguments[2]).string();
    int rounds = 15;
    int idle = 0;
    std::ofstream hits;
    std::vector<std::string> words;
    for (int i = 3; i < count; ++i) {
        if (std::string(arguments[i]) == "--rounds" && i + 1 < count)
            rounds = std::atoi(arguments[++i]);
        else if (std::string(arguments[i]) == "--idle" && i + 1 < count)
            idle = std::atoi(arguments[++i]);
        else if (std::string(arguments[i]) == "--hits" && i + 1 < count)
            hits.open(arguments[++i]);
        else
            words.emplace_back(arguments[i]);
    }
    FileTexts texts;
    const auto start = Clock::now();
    const double cpuBefore = cpu();
    IndexerSettings settings;
    settings.directory = store;
    Indexer indexer(settings, texts);
    indexer.setFolders({folder});
    if (!indexer.waitUntilOpen(std::chrono::minutes{1}))
        return 1;
    Searcher searcher(store, texts);
    const std::atomic<bool> stop = false;
    searcher.run(requestOf("premiere", folder, 1), indexer.folderGeneration(), stop, [](const SearchHit&) {});
    print("open", since(start) * 1e3, "ms");
    while (!indexer.status().ready)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    print("build.wall", since(start), "s");
    print("build.cpu", cpu() - cpuBefore, "s");
    print("files", static_cast<double>(indexer.status().files), "files");
    print("index.bytes", static_cast<double>(indexer.status().bytes), "bytes");
    if (texts.bytes > 0) {
        print("text.bytes", static_cast<double>(texts.bytes), "bytes");
        print("index.ratio", static_cast<double>(indexer.status().bytes) / static_cast<double>(texts.bytes), "of text");
    }
    print("memory.peak", static_cast<double>(memory("VmHWM")) / 1024, "MiB");
    print("memory.anonymous", static_cast<double>(memory("RssAnon")) / 1024, "MiB");
    measureWords(words, searcher, indexer, folder, rounds, hits.is_open() ? &hits : nullptr);
    measureFreshness(searcher, indexer, folder, std::min(rounds, 10));
    if (idle > 0) {
        std::this_thread::sleep_for(std::chrono::seconds(3)); // what the last removal set off
        const long before = wakeUps();
        std::this_thread::sleep_for(std::chrono::seconds(idle));
        print("idle.wakeups", static_cast<double>(wakeUps() - before), "switches");
    }
    return 0;
}
