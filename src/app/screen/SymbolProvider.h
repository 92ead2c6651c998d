#pragma once
#include <QQuickImageProvider>

namespace vennic {

/// Draws the named symbols (`src/ui/symbols`) in any colour and size: "image://symbols/NAME/RRGGBB", or AARRGGBB.
class SymbolProvider final : public QQuickImageProvider {
public:
    SymbolProvider() : QQuickImageProvider(QQuickImageProvider::Image) {}
    QImage requestImage(const QString& id, QSize* size, const QSize& requestedSize) override;
};

} // namespace vennic
