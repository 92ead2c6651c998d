#pragma once
namespace vennic::server {

class ChosenAnswering;
class Discussions;
class Router;
class TimeKeeper;

/// What the conversation's routes work on.
struct QueryDesks {
    Discussions& discussions;
    ChosenAnswering& answering;
    TimeKeeper& time;
};

/// The conversation as the clients see it: queries with their streamed replies, turns that were answered elsewhere, the
/// latest discussions, and what may be chosen from.
void addQueryRoutes(Router& router, const QueryDesks& desks);

} // namespace vennic::server
