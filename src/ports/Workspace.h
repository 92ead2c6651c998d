#pragma once
#include <QString>

namespace vennic {

/// The user's applications. Each operation blocks, and may be called from several threads.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// Opens a file or folder (absolute path) with the application that the user chose for its type; a folder for
    /// which none is chosen, in the file manager. Done once the application has been started, or has been told. Raises
    /// LocalizedError with the platform's own words.
    virtual void open(const QString& path) = 0;
};

} // namespace vennic
