#pragma once
#include "ports/Workspace.h"

namespace vennic {

/// Desktop entries and default handlers of the desktop (Desktop Entry Specification, MIME Applications,
/// freedesktop.org), by GIO. Without state, from any thread.
class WorkspaceGio final : public Workspace {
public:
    /// `systemData` is the data folder of what came with the system (Filesystem Hierarchy Standard 3.0, 4.11).
    explicit WorkspaceGio(QString systemData = QStringLiteral("/usr/share")) : systemData_(std::move(systemData)) {}

    /// Whether there is an application that opens files of that type.
    static bool hasDefaultApplication(const char* mimeType);
    /// The desktop entry's file name of that application; empty without one.
    static QString defaultApplication(const char* mimeType);

    std::vector<Application> applications() override;
    void openApplication(const QString& entry, std::stop_token stop) override;
    void open(const QString& path, std::stop_token stop) override;
    void openURL(const QString& url, std::stop_token stop) override;

private:
    QString systemData_;
};

} // namespace vennic
