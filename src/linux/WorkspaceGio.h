#pragma once
#include "ports/Workspace.h"

namespace vennic {

/// Default handlers of the desktop (freedesktop.org MIME applications), by GIO.
class WorkspaceGio final : public Workspace {
public:
    void open(const QString& path) override;
};

} // namespace vennic
