#pragma once
#include "core/BridgeControl.h"

#include <QStringList>

namespace vennic::test {

/// A bridge that only remembers what it was asked: "start TOKEN" and "stop".
class BridgeControlFake final : public BridgeControl {
public:
    void start(SecretText token) override {
        calls.append(QStringLiteral("start ") + QString::fromUtf8(token.reveal()));
    }
    void stop() override { calls.append(QStringLiteral("stop")); }

    QStringList calls;
};

} // namespace vennic::test
