#pragma once

namespace vennic::server {

class Accounts;
class Machines;
class OwnerGate;
class PairingDesk;
class Router;
class TaskDesk;
class TaskStore;
class TimeKeeper;

/// What the owner's routes work on.
struct OwnerDesks {
    Accounts& accounts;
    PairingDesk& pairings;
    Machines& machines;
    TaskDesk& tasks;
    TaskStore& store;
    OwnerGate& gate;
    TimeKeeper& time;
};

/// The owner's calls: pairing codes, machines, tasks with their events, and the console's session.
void addOwnerRoutes(Router& router, const OwnerDesks& desks);

} // namespace vennic::server
