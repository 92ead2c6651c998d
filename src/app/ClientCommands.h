#pragma once
#include "app/Client.h"
#include "app/CommandMessage.h"
#include "app/Shell.h"

#include <functional>

namespace vennic {

/// What the verbs of the command line do in the running client.
class ClientCommands {
public:
    /// `quit` ends the program.
    ClientCommands(Client& client, Shell& shell, std::function<void()> quit);

    /// Answers one request line; never fails but with Cancelled.
    Task<QByteArray> answer(QByteArray request);

private:
    Task<CommandAnswer> run(CommandRequest request);
    Task<CommandAnswer> pair(QString code);
    Task<CommandAnswer> search(QString words);
    Task<CommandAnswer> ask(QString text, bool local);
    CommandAnswer token(const QString& secret);
    CommandAnswer share(const QStringList& paths);
    Task<CommandAnswer> shares();
    Task<CommandAnswer> unshare(QStringList names);
    Task<CommandAnswer> status();
    CommandAnswer bridge(bool on);
    Task<CommandAnswer> open(QString address);
    CommandAnswer activate();
    CommandAnswer toggle();
    CommandAnswer photos(const QString& word);
    Task<CommandAnswer> model(QStringList words);

    Client& client_;
    Shell& shell_;
    std::function<void()> quit_;
};

} // namespace vennic
