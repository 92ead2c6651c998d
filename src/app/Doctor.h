#pragma once
#include "app/CommandMessage.h"
#include "app/Paths.h"
#include "base/RecognitionLanguage.h"
#include "ports/Instance.h"

namespace vennic {

/// Looks at everything that Vennic needs of this machine, with or without a running client. The answer is failed when
/// something is missing without which it doesn't work; its text then says so too.
CommandAnswer examine(const Paths& paths, Instance& instance,
                      std::span<const char* const> recognitionFolders = recognitionDataFolders);

} // namespace vennic
