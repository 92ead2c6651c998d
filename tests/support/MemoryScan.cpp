#include "support/MemoryScan.h"

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <unistd.h>

namespace vennic::test {

namespace {

constexpr std::size_t chunk = std::size_t{1} << 20;

/// A place for what is read, which is not looked through itself.
class Window {
public:
    Window() : at_(mmap(nullptr, chunk, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0)) {
        if (at_ == MAP_FAILED)
            throw std::runtime_error("no memory to look at memory with");
    }
    Window(const Window&) = delete;
    Window& operator=(const Window&) = delete;
    ~Window() { munmap(at_, chunk); }
    unsigned char* data() const { return static_cast<unsigned char*>(at_); }
    bool isAt(std::uintptr_t address) const {
        const auto begin = reinterpret_cast<std::uintptr_t>(at_);
        return address >= begin && address < begin + chunk;
    }

private:
    void* at_;
};

bool holdsRun(const unsigned char* bytes, std::size_t size, std::array<unsigned char, 2> pair, std::size_t times) {
    std::size_t run = 0; // bytes
    for (std::size_t i = 0; i < size; ++i) {
        run = bytes[i] == pair[run % 2] ? run + 1 : bytes[i] == pair[0] ? 1 : 0;
        if (run == 2 * times)
            return true;
    }
    return false;
}

} // namespace

bool memoryHoldsRun(std::array<unsigned char, 2> pair, std::size_t times) {
    const Window window;
    const int memory = open("/proc/self/mem", O_RDONLY | O_CLOEXEC);
    if (memory < 0)
        throw std::runtime_error("/proc/self/mem can't be read");
    std::ifstream maps("/proc/self/maps");
    bool found = false;
    for (std::string line; !found && std::getline(maps, line);) {
        std::uintptr_t from = 0;
        std::uintptr_t to = 0;
        std::array<char, 5> access{};
        if (std::sscanf(line.c_str(), "%lx-%lx %4s", &from, &to, access.data()) != 3 || access[0] != 'r' ||
            access[1] != 'w')
            continue;
        // Pieces overlap, so that a run across their border is seen.
        for (std::uintptr_t at = from; !found && at < to; at += chunk - 2 * times) {
            if (window.isAt(at))
                continue;
            const auto got =
                pread(memory, window.data(), std::min<std::size_t>(chunk, to - at), static_cast<off_t>(at));
            found = got > 0 && holdsRun(window.data(), static_cast<std::size_t>(got), pair, times);
        }
    }
    close(memory);
    return found;
}

} // namespace vennic::test
