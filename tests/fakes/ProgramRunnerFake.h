#pragma once
#include "base/LocalizedError.h"
#include "ports/ProgramRunner.h"

#include <map>
#include <memory>
#include <vector>

namespace vennic::test {

/// Programs that write what they were told to and end as they were told to; keeps what was started. One that nobody
/// has told anything writes nothing and ends well.
class ProgramRunnerFake final : public ProgramRunner {
public:
    struct Script {
        QByteArrayList pieces = {};              // of output, as they are read
        int status = 0;                          // how it ends
        std::function<void()> effect = {};       // what it does to the world; called before its output is heard
        std::optional<QString> unstartable = {}; // why it can't be started
        std::shared_ptr<Event<>> awaited = {};   // it doesn't end before that
    };

    Task<int> run(ProgramCommand command, OnOutput onOutput) override {
        started.push_back(command);
        struct Running {
            int& count;
            explicit Running(int& count) : count(count) { ++count; }
            Running(const Running&) = delete;
            Running& operator=(const Running&) = delete;
            ~Running() { --count; }
        };
        const Running here(running);
        const Script script = scripts[words(command)];
        if (script.unstartable)
            throw LocalizedError(*script.unstartable);
        if (script.effect)
            script.effect();
        for (const QByteArray& piece : script.pieces)
            onOutput(piece);
        if (script.awaited)
            co_await *script.awaited;
        co_return script.status;
    }

    /// The program's path and its arguments, joined by blanks.
    static QString words(const ProgramCommand& command) {
        return (QStringList{command.executable} + command.arguments).join(u' ');
    }
    QStringList startedWords() const {
        QStringList all;
        for (const ProgramCommand& command : started)
            all.append(words(command));
        return all;
    }

    std::map<QString, Script> scripts; // by the command's words
    std::vector<ProgramCommand> started;
    int running = 0; // started, neither ended nor given up
};

} // namespace vennic::test
