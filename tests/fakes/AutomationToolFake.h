#pragma once
#include "base/LocalizedError.h"
#include "fakes/UntilStopped.h"
#include "ports/AutomationTool.h"

#include <functional>
#include <map>
#include <mutex>
#include <vector>

namespace vennic::test {

/// Automations in memory, listed in the order of their names.
class AutomationToolFake final : public AutomationTool {
public:
    using Automation = std::function<AutomationRun(const std::optional<QByteArray>& input, std::stop_token stop)>;
    struct Call {
        QStringList arguments;
        std::optional<QByteArray> input;
        bool operator==(const Call&) const = default;
    };

    AutomationRun run(const QStringList& arguments, const std::optional<QByteArray>& input,
                      std::stop_token stop) override {
        {
            const std::scoped_lock guard(lock_);
            calls_.push_back({arguments, input});
        }
        for (const QString& argument : arguments) {
            if (argument.contains(QChar::Null))
                throw LocalizedError(QStringLiteral("Un argument contient un caractère nul."));
        }
        if (missing)
            throw LocalizedError(QStringLiteral("L'outil n'est pas installé."));
        if (arguments == QStringList{QStringLiteral("list")})
            return listed.value_or(AutomationRun{0, names(), {}});
        if (arguments.size() != 2 || arguments[0] != QLatin1String("run"))
            return {2, {}, "usage\n"};
        const auto found = automations.find(arguments[1]);
        if (found == automations.end())
            return {127, {}, "Aucune automatisation ne s'appelle « " + arguments[1].toUtf8() + " ».\n"};
        return found->second(input, std::move(stop));
    }

    /// An automation that ends in that way, whatever it is given.
    static Automation ending(const AutomationRun& run) {
        return [run](const std::optional<QByteArray>&, const std::stop_token&) { return run; };
    }
    /// Gives its input back.
    static AutomationRun echo(const std::optional<QByteArray>& input, const std::stop_token&) {
        return {0, input.value_or(QByteArray()), {}};
    }
    /// Runs until it is stopped.
    static AutomationRun endless(const std::optional<QByteArray>&, std::stop_token stop) {
        waitUntilStopped(std::move(stop));
        throw LocalizedError(QStringLiteral("L'automatisation a été interrompue."));
    }

    std::vector<Call> calls() const {
        const std::scoped_lock guard(lock_);
        return calls_;
    }

    // Set before the first run.
    std::map<QString, Automation> automations;
    std::optional<AutomationRun> listed; // how "list" ends, where it isn't by the names
    bool missing = false;                // the tool can't be started

private:
    QByteArray names() const {
        QByteArray text;
        for (const auto& automation : automations)
            text += automation.first.toUtf8() + '\n';
        return text;
    }

    mutable std::mutex lock_;
    std::vector<Call> calls_;
};

} // namespace vennic::test
