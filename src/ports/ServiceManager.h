#pragma once
#include "ports/ProgramRunner.h"

namespace vennic {

/// A program that is to run for the user from login on, and again ten seconds after a crash, though not after an end of
/// its own.
struct UserService {
    QString label;                                        // what the manager knows it by, like "com.vennic.local-llm"
    QString definitionFile;                               // absolute path of the file that tells the manager of it
    QStringList arguments;                                // of its command line; the first is its absolute path
    std::vector<std::pair<QString, QString>> environment; // names and values, in the order in which they are written
    QString logFile;                                      // both its streams are appended to it
    bool operator==(const UserService&) const = default;
};

/// How the platform is told of a service: what stands in its file, and the commands that have it read. It touches
/// nothing itself.
class ServiceManager {
public:
    virtual ~ServiceManager() = default;
    /// What is to stand in the service's file. Raises LocalizedError for what the file can't say.
    virtual QByteArray definition(const UserService& service) const = 0;
    /// Ends the service and has it forgotten; fails for one that isn't known.
    virtual ProgramCommand unload(const UserService& service) const = 0;
    /// Read the file and start the service, now and at each login: one after another.
    virtual std::vector<ProgramCommand> load(const UserService& service) const = 0;
    /// Ends the service's program, if it runs, and starts it.
    virtual ProgramCommand restart(const UserService& service) const = 0;
};

} // namespace vennic
