#pragma once
#include "Bridge/BridgeService.h"

namespace vennic {

/// The line that says what the bridge is doing.
struct StatusRow {
    Q_GADGET
public:
    enum class Color { gray, green, orange, red };
    Q_ENUM(Color)

    BridgeService::Status status;

    QString label() const;
    Color color() const;
    static QString kindLabel(BridgeTaskKind kind);
};

} // namespace vennic
