#pragma once
#include "server/Answering.h"

namespace vennic::server {

class Router;
class TimeKeeper;

/// What the conversation's routes work on.
struct QueryDesks {
    Discussions& discussions;
    Answering& answering;
    TimeKeeper& time;
    QByteArray providers; // the body of /providers.json
};

/// The conversation as the clients see it: queries with their streamed replies, turns that were answered elsewhere, the
/// latest discussions, and what may be chosen from.
void addQueryRoutes(Router& router, const QueryDesks& desks);

} // namespace vennic::server
