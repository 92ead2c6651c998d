#include "shortcuts/Automations.h"

#include "base/SystemReason.h"
#include "base/Utf8.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <stdexcept>
#include <sys/stat.h>
#include <unicode/uchar.h>
#include <unistd.h>

namespace vennic::shortcuts {

namespace {

constexpr std::size_t longestEnding = 16;

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isLetterOrDigit(char c) { return isLetter(c) || (c >= '0' && c <= '9'); }

bool isBlank(char32_t c) { return u_isUWhiteSpace(static_cast<UChar32>(c)) != 0; }

/// Whether the name is one that a line of a list can carry and give back.
bool isLine(const std::string& name) {
    if (name.starts_with('.') || !isUtf8(name))
        return false;
    char32_t last = U' ';
    for (std::size_t at = 0; at < name.size();) {
        const Utf8Step step = utf8At(name, at);
        if (u_iscntrl(static_cast<UChar32>(step.codePoint)) != 0 || (at == 0 && isBlank(step.codePoint)))
            return false;
        last = step.codePoint;
        at += step.length;
    }
    return !isBlank(last);
}

/// Its group may: on many systems each user has one of their own.
bool othersMayChange(const struct stat& about) {
    return (about.st_mode & S_IWOTH) != 0 || (about.st_uid != ::geteuid() && about.st_uid != 0);
}

std::runtime_error failure(const std::string& folder, const std::string& what) {
    return std::runtime_error("Le dossier " + folder + ' ' + what);
}

} // namespace

std::string nameWithoutEnding(const std::string& file) {
    const std::size_t dot = file.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return file;
    const std::string ending = file.substr(dot + 1);
    const bool isOne = !ending.empty() && ending.size() <= longestEnding && isLetter(ending.front()) &&
                       std::ranges::all_of(ending, isLetterOrDigit);
    return isOne ? file.substr(0, dot) : file;
}

void giveNames(std::vector<Automation>& automations) {
    for (Automation& automation : automations) {
        const std::string shorter = nameWithoutEnding(automation.file);
        automation.name = isLine(shorter) ? shorter : automation.file;
    }
    // A whole name can be what is left of another one's, so it may take more than one turn.
    for (bool changed = true; changed;) {
        changed = false;
        std::map<std::string, int> uses;
        for (const Automation& automation : automations)
            uses[automation.name] += automation.state == Automation::State::runnable ? 1 : 0;
        for (Automation& automation : automations) {
            if (uses[automation.name] > 1 && automation.name != automation.file) {
                automation.name = automation.file;
                changed = true;
            }
        }
    }
}

std::vector<Automation> automationsIn(const std::string& path) {
    const std::unique_ptr<DIR, CloseFolder> folder(::opendir(path.c_str()));
    if (!folder) {
        if (errno == ENOENT)
            return {};
        throw failure(path, "ne peut pas être lu : " + systemReason(errno) + '.');
    }
    const int descriptor = ::dirfd(folder.get());
    struct stat about{};
    if (::fstat(descriptor, &about) == 0 && othersMayChange(about))
        throw failure(path, "appartient à quelqu'un d'autre ou est ouvert à tous en écriture : rien n'y est exécuté.");
    std::vector<Automation> found;
    while (const dirent* const entry = ::readdir(folder.get())) {
        Automation automation{.file = entry->d_name, .name = {}};
        if (!isLine(automation.file) || ::fstatat(descriptor, entry->d_name, &about, 0) != 0 || !S_ISREG(about.st_mode))
            continue;
        if (::faccessat(descriptor, entry->d_name, X_OK, AT_EACCESS) != 0)
            automation.state = Automation::State::notExecutable;
        else if (othersMayChange(about))
            automation.state = Automation::State::changeableByOthers;
        found.push_back(std::move(automation));
    }
    giveNames(found);
    return found;
}

} // namespace vennic::shortcuts
