#pragma once
#include "ports/FolderPicker.h"

#include <optional>

namespace vennic {

/// Shows a window in which folders are chosen, and gives them; none when the user confirmed nothing. Needs a
/// QApplication.
std::optional<QStringList> chooseFolders(const FolderPanel& panel);

} // namespace vennic
