#pragma once
#include "app/CommandMessage.h"
#include "localllm/LocalLLMInstaller.h"

namespace vennic {

/// Whether these words after `vennic model` need no running client: `detect`, `install`, `download ID`.
bool isRuntimeVerb(const QStringList& words);

/// Does what they say, printing lines as they come to standard output, or to standard error when that is for `json`.
/// Runs an event loop. SIGINT, SIGTERM and SIGHUP end the command that runs. Data: `components`, each with `id`,
/// `label`, `installed`, `detail` (its path, or null); after a download `model`.
CommandAnswer runRuntimeVerb(const QStringList& words, bool json, LocalLLMInstaller& installer);

} // namespace vennic
