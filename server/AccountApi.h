#pragma once

namespace vennic::server {

class Accounts;
class PairingDesk;
class Router;
class TaskDesk;

/// The account calls of the clients: pairing, preferences and sign-out.
void addAccountRoutes(Router& router, Accounts& accounts, PairingDesk& pairings, TaskDesk& tasks);

} // namespace vennic::server
