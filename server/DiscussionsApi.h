#pragma once
#include "server/Discussions.h"

namespace vennic::server {

class Router;

/// A list of discussions as clients and the owner's pages get it.
QByteArray discussionsJson(const QList<DiscussionSummary>& summaries);
/// What the owner's pages show of the discussions.
void addDiscussionRoutes(Router& router, Discussions& discussions);

} // namespace vennic::server
