#pragma once
#include "Bridge/BridgeService.h"
#include "Bridge/BridgeWorld.h"
#include "support/Await.h"

#include <gtest/gtest.h>

namespace vennic::test {

/// The service with doubles around it, and what its status has been.
struct BridgeServiceTest : ::testing::Test {
    BridgeWorld world;
    BridgeService& service = *world.service;
    std::vector<BridgeService::Status> seen;

    BridgeServiceTest() {
        QObject::connect(&service, &BridgeService::statusChanged, &service,
                         [this] { seen.push_back(service.status()); });
    }
    void start(const char* token = "token") { service.start(SecretText(token)); }
    bool polling(std::size_t polls) const {
        return waitUntil(
            [this, polls] { return world.backend.polls.size() == polls && world.backend.openPolls() == 1; });
    }
    bool sleeping() const {
        return waitUntil([this] { return world.clock.sleeping() == 1; });
    }
    bool answered(std::size_t updates) const {
        return waitUntil([this, updates] { return world.backend.updates.size() == updates; });
    }
    static QByteArray header(const HttpRequest& request, const char* name) {
        for (const HttpHeader& header : request.headers) {
            if (header.name == name)
                return header.value;
        }
        return {};
    }
    QByteArray tokenOf(std::size_t poll) const {
        return world.backend.polls.at(poll).secretHeaders.at(0).value.reveal().toByteArray();
    }
    QString message(std::size_t update) const {
        return world.backend.updates.at(update).body.value(QLatin1String("error_message")).toString();
    }
};

} // namespace vennic::test
