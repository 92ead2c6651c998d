#pragma once
#include "base/LocalizedError.h"
#include "ports/Instance.h"

#include <vector>

namespace vennic::test {

/// A running client that answers from memory and remembers what it was asked. Without an answer nobody runs.
class InstanceFake final : public Instance {
public:
    struct Asked {
        QByteArray request;
        std::chrono::milliseconds limit;
    };

    bool claim(Handler handler) override {
        handler_ = std::move(handler);
        return true;
    }
    void hangUp() override { handler_ = {}; }
    std::optional<QByteArray> ask(const QByteArray& request, std::chrono::milliseconds limit) override {
        asked.push_back({request, limit});
        if (silent)
            throw LocalizedError(QStringLiteral("Vennic tourne, mais n'a pas répondu à temps."));
        return answer;
    }

    std::optional<QByteArray> answer;
    bool silent = false; // runs, and never answers
    std::vector<Asked> asked;

private:
    Handler handler_;
};

} // namespace vennic::test
