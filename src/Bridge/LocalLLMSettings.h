#pragma once
#include <QString>

namespace vennic {

/// How the user set up the local model.
struct LocalLLMSettings {
    bool enabled = false;
    QString endpoint; // base address of the server, as it was typed
    QString model;
    bool operator==(const LocalLLMSettings&) const = default;
};

} // namespace vennic
