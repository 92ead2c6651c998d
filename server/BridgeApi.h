#pragma once
#include <cstddef>

namespace vennic::server {

class Machines;
class Router;
class TaskDesk;
class TimeKeeper;

/// The longest answer of a machine in bytes: a listing of 100,000 entries takes 20 MiB, with the longest names 60.
constexpr std::size_t longestAnswer = std::size_t{64} * 1024 * 1024;

/// The bridge as its clients see it: the long poll for the next task, and the words on a task.
void addBridgeRoutes(Router& router, Machines& machines, TaskDesk& tasks, const TimeKeeper& time);

} // namespace vennic::server
