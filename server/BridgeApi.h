#pragma once

namespace vennic::server {

class Machines;
class Router;
class TaskDesk;
class TimeKeeper;

/// The bridge as its clients see it: the long poll for the next task, and the words on a task.
void addBridgeRoutes(Router& router, Machines& machines, TaskDesk& tasks, const TimeKeeper& time);

} // namespace vennic::server
