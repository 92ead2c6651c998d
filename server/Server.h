#pragma once
#include "server/Accounts.h"
#include "server/AnswerChoices.h"
#include "server/ChosenAnswering.h"
#include "server/DataFolder.h"
#include "server/Database.h"
#include "server/Discussions.h"
#include "server/HttpServer.h"
#include "server/Loop.h"
#include "server/MachineTasks.h"
#include "server/Machines.h"
#include "server/Options.h"
#include "server/OwnerGate.h"
#include "server/PairingDesk.h"
#include "server/Router.h"
#include "server/TaskDesk.h"

namespace vennic::server {

/// The whole server: opens its folder, listens, answers until it is told to stop. Raises LocalizedError.
class Server {
public:
    /// Opens everything and listens; answers nothing before `run`. `wallClock` replaces the machine's date where it is
    /// given.
    explicit Server(const Options& options, std::function<qint64()> wallClock = {});
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;
    QString url() const;
    quint16 port() const { return port_; }
    /// What the ready file says.
    QByteArray description() const;
    /// Answers until `stop`.
    void run();
    /// Ends `run`; may be called from any thread. Waiting polls end with nothing; tasks stay.
    void stop();
    /// Ends `run` at SIGTERM or SIGINT.
    void stopOnTermination();

private:
    void finish();
    void chooseAnswerer();
    Options options_;
    DataFolder folder_;
    Loop loop_;
    Database database_;
    Accounts accounts_{database_};
    PairingDesk pairings_{database_, accounts_, loop_};
    Machines machines_{database_};
    TaskStore store_{database_};
    OwnerGate gate_;
    std::unique_ptr<TaskDesk> tasks_;
    Discussions discussions_{database_};
    std::unique_ptr<MachineTasks> machineTasks_;
    AnswerChoices choices_{database_};
    std::unique_ptr<ChosenAnswering> answering_;
    Router router_{accounts_, gate_};
    std::unique_ptr<HttpServer> http_;
    quint16 port_ = 0;
};

} // namespace vennic::server
