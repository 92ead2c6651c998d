#pragma once
#include "ports/CredentialStore.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <vector>

namespace vennic::test {

/// Secrets in memory. Remembers what was done and fails as told.
class CredentialStoreFake final : public CredentialStore {
public:
    struct Entry {
        CredentialItem item;
        SecretText data;
        CredentialProtection protection;
    };
    std::vector<Entry> entries;
    std::vector<std::optional<QString>> prompts; // of each read
    std::vector<CredentialItem> removals;        // each that was asked for
    bool presenceAvailable = true;
    /// What reading a protected item with a prompt comes to.
    CredentialStatus presenceStatus = CredentialStatus::success;
    /// When set, the operation gives it and does nothing.
    std::optional<CredentialStatus> readFailure;
    std::optional<CredentialStatus> addFailure;
    std::optional<CredentialStatus> removeFailure;

    /// What a read waits for, on the thread that reads.
    std::function<void(const std::stop_token&)> whileReading;

    /// Itself, for who shares a store. It outlives them.
    std::shared_ptr<CredentialStore> shared() { return {std::shared_ptr<void>(), this}; }

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt,
                              const std::stop_token& stop = {}) override {
        prompts.push_back(prompt);
        if (whileReading)
            whileReading(stop);
        if (readFailure)
            return {*readFailure, std::nullopt};
        const auto found = find(item);
        if (found == entries.end())
            return {CredentialStatus::itemNotFound, std::nullopt};
        if (found->protection.requiresUserPresence) {
            const auto status = prompt ? presenceStatus : CredentialStatus::interactionNotAllowed;
            if (status != CredentialStatus::success)
                return {status, std::nullopt};
        }
        return {CredentialStatus::success, found->data};
    }
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override {
        if (addFailure)
            return *addFailure;
        if (protection.requiresUserPresence && !presenceAvailable)
            return CredentialStatus::authFailed;
        if (find(item) != entries.end())
            return CredentialStatus::duplicateItem;
        entries.push_back({item, data, protection});
        return CredentialStatus::success;
    }
    CredentialStatus remove(const CredentialItem& item) override {
        removals.push_back(item);
        if (removeFailure)
            return *removeFailure;
        const auto found = find(item);
        if (found == entries.end())
            return CredentialStatus::itemNotFound;
        entries.erase(found);
        return CredentialStatus::success;
    }
    bool canRequireUserPresence() override { return presenceAvailable; }
    QString kind() const override { return QStringLiteral("file"); }

private:
    std::vector<Entry>::iterator find(const CredentialItem& item) {
        return std::find_if(entries.begin(), entries.end(), [&](const Entry& entry) { return entry.item == item; });
    }
};

} // namespace vennic::test
