#pragma once
#include "app/CommandMessage.h"
#include "localllm/LocalLLMInstaller.h"

#include <chrono>

namespace vennic {

/// Whether these words after `vennic model` need no running client: `detect`, `install`, `download ID`.
bool isRuntimeVerb(const QStringList& words);

/// Does what they say, printing lines as they come to standard output, or to standard error when that is for `json`.
/// Runs an event loop. SIGINT, SIGTERM and SIGHUP end the command that runs; a server that is being started anew is
/// started first, unless that takes longer than `reloadPatience` or another signal comes. Data: `components`, each with
/// `id`, `label`, `installed`, `detail` (its path, or null); after a download `model`.
CommandAnswer runRuntimeVerb(const QStringList& words, bool json, LocalLLMInstaller& installer,
                             std::chrono::milliseconds reloadPatience = std::chrono::seconds{5});

} // namespace vennic
