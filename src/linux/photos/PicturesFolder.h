#pragma once
#include <QString>

namespace vennic::photos {

/// The user's pictures folder (`XDG_PICTURES_DIR` of xdg-user-dirs), whether it is there or not: absolute, without
/// links where it exists. Empty when the user has none, which xdg-user-dirs writes as the home folder itself.
QString picturesFolder();

/// What stands for a pictures folder of that path: empty when it holds the whole home folder.
QString asPicturesFolder(const QString& path, const QString& home);

} // namespace vennic::photos
