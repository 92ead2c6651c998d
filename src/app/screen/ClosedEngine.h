#pragma once
#include <QQmlEngine>
#include <QQmlNetworkAccessManagerFactory>

namespace vennic {

/// A QML engine that reaches nothing but what was built into this module: no network, and no file. What a model wrote
/// is shown by it, and an address in that must never be followed by itself.
class ClosedEngine final : public QQmlEngine {
public:
    ClosedEngine();
    ~ClosedEngine() override;

private:
    class Refusing;
    class OnlyResources;

    std::unique_ptr<Refusing> network_;
    std::unique_ptr<OnlyResources> addresses_;
};

} // namespace vennic
