#pragma once
#include "Bridge/BridgeService.h"

namespace vennic {

/// The line that says what the bridge is doing.
struct StatusRow {
    enum class Color { gray, green, orange, red };

    BridgeService::Status status;

    QString label() const;
    Color color() const;
    static QString kindLabel(BridgeTaskKind kind);
};

} // namespace vennic
