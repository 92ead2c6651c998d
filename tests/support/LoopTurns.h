#pragma once
#include <QObject>

#include <functional>

namespace vennic::test {

/// Calls a function once in each turn of this thread's event loop, as anybody's timer or paint would be called.
class LoopTurns {
public:
    void each(std::function<void()> function) {
        function_ = std::move(function);
        post();
    }

private:
    void post() {
        QMetaObject::invokeMethod(
            &context_,
            [this] {
                function_();
                post();
            },
            Qt::QueuedConnection);
    }

    std::function<void()> function_;
    QObject context_;
};

} // namespace vennic::test
