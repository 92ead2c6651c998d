#include "base/MainQueue.h"

#include <QCoreApplication>

namespace vennic {

void postToMain(std::function<void()> function) {
    if (auto* application = QCoreApplication::instance())
        QMetaObject::invokeMethod(application, std::move(function), Qt::QueuedConnection);
}

} // namespace vennic
