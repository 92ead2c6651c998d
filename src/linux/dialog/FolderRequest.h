#pragma once
#include "ports/FolderPicker.h"

#include <QByteArray>

#include <optional>

namespace vennic {

/// What the client has its dialog program show for folders to be chosen: one JSON object on its standard input.
QByteArray encoded(const FolderPanel& panel);
/// None for anything that `encoded` doesn't give.
std::optional<FolderPanel> decodedFolderPanel(const QByteArray& json);

/// What it answers on its standard output: each path as the file system has it, then a NUL.
constexpr qsizetype mostChosenBytes = qsizetype{1024} * 1024;
QByteArray encodedChoice(const QStringList& paths);
/// The absolute paths of an answer, in their order.
QStringList decodedChoice(const QByteArray& answer);

} // namespace vennic
