#pragma once
#include <QString>

namespace vennic {

/// The user's applications.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// Opens a file or folder (absolute path) with the application that the user chose for its type. Raises
    /// LocalizedError with the platform's own words.
    virtual void open(const QString& path) = 0;
};

} // namespace vennic
