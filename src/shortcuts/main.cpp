#include "base/DrawableCharacter.h"
#include "base/SystemReason.h"
#include "base/Utf8.h"
#include "shortcuts/Automations.h"
#include "shortcuts/FrenchOrder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <clocale>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <pwd.h>
#include <string_view>
#include <unistd.h>

using namespace vennic;
using namespace vennic::shortcuts;

namespace {

// Where they don't come from the automation itself, these are the statuses that shells, env(1) and timeout(1) use.
constexpr int done = 0;
constexpr int failed = 1;
constexpr int wrongUsage = 2;
constexpr int cannotRun = 126;
constexpr int notFound = 127;

constexpr std::size_t shownBytes = 200; // of a name that is told back

constexpr const char* help = R"(Usage : vennic-shortcuts list
        vennic-shortcuts run NOM

Tes automatisations sont les programmes exécutables du dossier
  %s

  list        liste leurs noms, un par ligne
  run NOM     lance l'automatisation de ce nom, qui lit l'entrée standard
  --help      cette aide
  --version   version de Vennic

Le nom est celui du fichier sans sa terminaison. État de sortie de run : celui
de l'automatisation ; 126 si elle ne peut pas être lancée, 127 si aucune n'a ce nom.
)";

std::string automationsFolder() {
    // The XDG base directory specification: a relative path is invalid and is to be ignored.
    if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data == '/')
        return std::string(data) + "/vennic/shortcuts";
    const char* home = std::getenv("HOME");
    if (home == nullptr || *home != '/') {
        const passwd* const user = ::getpwuid(::getuid());
        home = user != nullptr ? user->pw_dir : "/";
    }
    return std::string(home) + "/.local/share/vennic/shortcuts";
}

/// The name as a message may show it: not without an end, and nothing in it commands a terminal.
std::string shown(std::string_view name) {
    std::string text = "« ";
    for (std::size_t at = 0; at < name.size();) {
        if (text.size() > shownBytes) {
            text += "…";
            break;
        }
        const Utf8Step step = utf8At(name, at);
        appendUtf8(text, isDrawable(step.codePoint) ? step.codePoint : U'\uFFFD');
        at += step.length;
    }
    return text + " »";
}

int fail(int status, const std::string& sentence) {
    std::fprintf(stderr, "%s\n", sentence.c_str());
    return status;
}

int list(const std::string& folder) {
    std::vector<std::string> names;
    for (const Automation& automation : automationsIn(folder)) {
        if (automation.state == Automation::State::runnable)
            names.push_back(automation.name);
    }
    sortAsFrench(names);
    for (const std::string& name : names)
        std::printf("%s\n", name.c_str());
    if (std::fflush(stdout) != 0)
        return fail(failed, "La liste n'a pas pu être écrite : " + systemReason(errno) + '.');
    return done;
}

/// Returns only when this process couldn't become the automation.
int become(const std::string& folder, const Automation& automation) {
    std::string path = folder + '/' + automation.file;
    std::array<char*, 2> arguments{path.data(), nullptr};
    ::execv(path.c_str(), arguments.data());
    if (errno == ENOENT) // the file itself was there a moment ago
        return fail(cannotRun,
                    shown(automation.name) + " nomme sur sa première ligne un interpréteur qui n'existe pas.");
    if (errno == ENOEXEC)
        return fail(cannotRun, shown(automation.name) + " n'est ni un programme de cette machine, ni un script dont la "
                                                        "première ligne est « #! » et son interpréteur.");
    return fail(cannotRun, shown(automation.name) + " ne peut pas être lancé : " + systemReason(errno) + '.');
}

int run(const std::string& folder, const std::string& name) {
    using State = Automation::State;
    const std::vector<Automation> automations = automationsIn(folder);
    const auto found = [&](auto fits) { return std::ranges::find_if(automations, fits); };
    const auto runnable =
        found([&](const Automation& each) { return each.state == State::runnable && each.name == name; });
    if (runnable != automations.end())
        return become(folder, *runnable);
    std::string alike;
    for (const Automation& each : automations) {
        if (each.state == State::runnable && nameWithoutEnding(each.file) == name)
            alike += (alike.empty() ? "" : ", ") + shown(each.file);
    }
    if (!alike.empty())
        return fail(notFound,
                    "Plusieurs automatisations s'appellent " + shown(name) + ", dis laquelle : " + alike + '.');
    const auto closed = found([&](const Automation& each) {
        return each.state != State::runnable && (each.name == name || each.file == name);
    });
    if (closed == automations.end())
        return fail(notFound, "Aucune automatisation ne s'appelle " + shown(name) + " dans " + folder + '.');
    if (closed->state == State::notExecutable)
        return fail(cannotRun,
                    shown(name) + " n'est pas exécutable : « chmod +x » sur " + shown(closed->file) + " le permettra.");
    return fail(cannotRun, shown(name) + " appartient à quelqu'un d'autre ou est ouvert à tous en écriture : il n'est "
                                         "pas lancé.");
}

} // namespace

int main(int count, char** words) {
    std::setlocale(LC_ALL, ""); // for the system's own words
    const std::vector<std::string> arguments(words + 1, words + count);
    const std::string folder = automationsFolder();
    try {
        const std::string verb = arguments.empty() ? std::string() : arguments[0];
        if (arguments.size() == 1 && (verb == "--help" || verb == "-h")) {
            std::printf(help, folder.c_str());
            return done;
        }
        if (arguments.size() == 1 && verb == "--version") {
            std::puts("vennic-shortcuts " VENNIC_VERSION);
            return done;
        }
        if (arguments.size() == 1 && verb == "list")
            return list(folder);
        // What follows "run" is a name, whatever it looks like.
        if (arguments.size() == 2 && verb == "run")
            return run(folder, arguments[1]);
        return fail(wrongUsage, "Usage : vennic-shortcuts list | run NOM. « vennic-shortcuts --help » en dit plus.");
    } catch (const std::exception& error) {
        return fail(failed, error.what());
    }
}
