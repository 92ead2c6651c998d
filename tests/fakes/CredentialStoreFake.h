#pragma once
#include "ports/CredentialStore.h"

#include <vector>

namespace vennic::test {

/// Secrets in memory, with every refusal that a real store may give.
class CredentialStoreFake final : public CredentialStore {
public:
    struct Item {
        CredentialItem name;
        SecretText data;
        CredentialProtection protection;
    };

    CredentialReadResult read(const CredentialItem& item, const std::optional<QString>& prompt) override {
        prompts.push_back(prompt);
        if (readStatus != CredentialStatus::success)
            return {readStatus, std::nullopt};
        for (const Item& stored : items) {
            if (stored.name != item)
                continue;
            if (stored.protection.requiresUserPresence && !prompt)
                return {CredentialStatus::interactionNotAllowed, std::nullopt};
            return {CredentialStatus::success, stored.data};
        }
        return {CredentialStatus::itemNotFound, std::nullopt};
    }
    CredentialStatus add(const CredentialItem& item, const SecretText& data, CredentialProtection protection) override {
        if (addStatus != CredentialStatus::success)
            return addStatus;
        if (contains(item))
            return CredentialStatus::duplicateItem;
        items.push_back({item, data, protection});
        return CredentialStatus::success;
    }
    CredentialStatus remove(const CredentialItem& item) override {
        if (removeStatus != CredentialStatus::success)
            return removeStatus;
        return std::erase_if(items, [&](const Item& stored) { return stored.name == item; }) > 0
                   ? CredentialStatus::success
                   : CredentialStatus::itemNotFound;
    }
    bool canRequireUserPresence() override { return presencePossible; }
    QString kind() const override { return QStringLiteral("file"); }

    bool contains(const CredentialItem& item) const {
        return std::any_of(items.begin(), items.end(), [&](const Item& stored) { return stored.name == item; });
    }

    std::vector<Item> items;
    std::vector<std::optional<QString>> prompts; // of each read
    CredentialStatus readStatus = CredentialStatus::success;
    CredentialStatus addStatus = CredentialStatus::success;
    CredentialStatus removeStatus = CredentialStatus::success;
    bool presencePossible = true;
};

} // namespace vennic::test
