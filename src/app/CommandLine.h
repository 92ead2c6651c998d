#pragma once
#include <QString>
#include <QStringList>

#include <optional>
#include <span>

namespace vennic {

/// Exit statuses of the program, the same for every verb.
enum class ExitStatus { done = 0, failed = 1, usage = 2, noClient = 3 };

/// One verb of the command line.
struct Verb {
    QLatin1String name;
    QLatin1String arguments; // as shown in the usage line
    qsizetype least = 0;     // number of arguments
    qsizetype most = 0;
    bool printsData = false; // takes --json
    QStringView summary;     // one French line
    QStringView details;     // French, may be empty
};

/// All verbs, in the order of the help.
std::span<const Verb> verbs();

/// What the user typed.
struct CommandLine {
    std::optional<QString> verb; // none: start the client
    QStringList arguments;
    QStringList addresses = {}; // to open once the client runs; only without a verb
    bool json = false;
    bool local = false; // the local model answers; `ask` only
    bool help = false;
    bool version = false;
    bool operator==(const CommandLine&) const = default;
};

/// Either the command line or the French sentence that says what is wrong with it. `arguments` are without the
/// program's name; at most 4096 of them, 64 KiB in all.
struct ParsedCommandLine {
    CommandLine line;
    std::optional<QString> error;
};
ParsedCommandLine parseCommandLine(const QStringList& arguments);

/// The help of the program, or of one verb.
QString helpText(const std::optional<QString>& verb);

} // namespace vennic
