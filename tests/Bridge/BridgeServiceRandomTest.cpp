#include "Bridge/BridgeService.h"
#include "Bridge/BridgeWorld.h"

#include <QCoreApplication>

#include <gtest/gtest.h>
#include <random>

using namespace vennic;
using namespace vennic::test;
using namespace std::chrono_literals;

namespace {

using Status = BridgeService::Status;

/// What the bridge ought to be doing, told beside it step by step.
class BridgeModel {
public:
    enum class Doing { nothing, polling, task, sleeping };

    void failed() {
        ++failures;
        doing = Doing::sleeping;
    }
    void recovered(Doing next) {
        failures = 0;
        doing = next;
    }
    std::chrono::nanoseconds delay() const {
        constexpr std::array delays{1s, 2s, 4s, 8s, 16s};
        return failures <= 5 ? delays.at(static_cast<std::size_t>(failures - 1)) : 30s;
    }

    Doing doing = Doing::nothing;
    QByteArray token;
    int failures = 0;
    qint64 served = 0;
    std::size_t updates = 0;
};

class RandomRun {
public:
    explicit RandomRun(unsigned seed) : random_(seed) { world_.backend.holdUpdates = true; }

    void run(int steps) {
        for (int step = 0; step < steps && !::testing::Test::HasFailure(); ++step) {
            act();
            QCoreApplication::sendPostedEvents();
            check();
        }
        world_.service->stop();
        if (model_.doing == BridgeModel::Doing::task)
            ++model_.served;
        model_ = {BridgeModel::Doing::nothing, {}, 0, model_.served, model_.updates};
        QCoreApplication::sendPostedEvents();
        check();
    }

private:
    using Doing = BridgeModel::Doing;

    unsigned upTo(unsigned count) { return static_cast<unsigned>(random_() % count); }

    void act() {
        switch (upTo(10)) {
        case 0:
            return stop();
        case 1:
            return start(upTo(2) == 0 ? "one" : "two");
        case 2:
            return start("");
        default:
            break;
        }
        switch (model_.doing) {
        case Doing::nothing:
            return start("one");
        case Doing::polling:
            return answerPoll();
        case Doing::task:
            return answerUpdate();
        case Doing::sleeping:
            world_.clock.advance(model_.delay());
            model_.doing = Doing::polling;
            return;
        }
    }
    void stop() {
        world_.service->stop();
        if (model_.doing == Doing::task)
            ++model_.served;
        model_.doing = Doing::nothing;
        model_.token.clear();
    }
    void start(const char* token) {
        world_.service->start(SecretText(token));
        if (*token == '\0' || (model_.doing != Doing::nothing && model_.token == token))
            return;
        if (model_.doing == Doing::task)
            ++model_.served;
        model_.token = token;
        model_.recovered(Doing::polling);
    }
    void answerPoll() {
        switch (upTo(8)) {
        case 0:
            world_.backend.answerPoll(204);
            return model_.recovered(Doing::polling);
        case 1:
            world_.backend.answerPoll(TransportFault::timedOut);
            return model_.recovered(Doing::polling);
        case 2:
            world_.backend.answerPoll(upTo(2) == 0 ? 401 : 502, "x");
            return model_.failed();
        case 3:
            world_.backend.answerPoll(200, "{\"id\":");
            return model_.failed();
        case 4: {
            constexpr std::array faults{TransportFault::noNetwork, TransportFault::cutOff, TransportFault::cancelled,
                                        TransportFault::tlsRefused};
            world_.backend.answerPoll(faults.at(upTo(faults.size())));
            return model_.failed();
        }
        default: {
            constexpr std::array kinds{"search", "read", "llm_infer"}; // each answers at once
            world_.context.enabled = upTo(3) > 0;
            world_.backend.answerPoll(200, taskJson(kinds.at(upTo(kinds.size())),
                                                    R"({"query":"a","document_id":"x","openai_body_json":""})"));
            ++model_.updates;
            return model_.recovered(Doing::task);
        }
        }
    }
    void answerUpdate() {
        switch (upTo(3)) {
        case 0:
            world_.backend.answerUpdate(TransportFault::cutOff);
            break;
        case 1:
            world_.backend.answerUpdate(HttpResponse{.status = 404, .headers = {}, .body = {}});
            break;
        default:
            world_.backend.answerUpdate(HttpResponse{.status = 200, .headers = {}, .body = {}});
        }
        ++model_.served;
        model_.doing = Doing::polling;
    }

    void check() {
        const auto& service = *world_.service;
        EXPECT_EQ(world_.backend.openPolls(), model_.doing == Doing::polling ? 1U : 0U);
        EXPECT_EQ(world_.backend.openUpdates(), model_.doing == Doing::task ? 1U : 0U);
        EXPECT_EQ(world_.clock.sleeping(), model_.doing == Doing::sleeping ? 1U : 0U);
        EXPECT_LE(world_.backend.mostOpen, 1U);
        EXPECT_EQ(service.tasksServed(), model_.served);
        EXPECT_EQ(world_.backend.updates.size(), model_.updates);
        switch (model_.doing) {
        case Doing::nothing:
            EXPECT_EQ(service.status(), Status::off());
            break;
        case Doing::polling:
            EXPECT_EQ(service.status(), Status::polling());
            EXPECT_EQ(world_.backend.polls.back().secretHeaders.at(0).value, SecretText(model_.token));
            break;
        case Doing::task:
            EXPECT_EQ(service.status().state, Status::State::busy);
            break;
        case Doing::sleeping:
            EXPECT_EQ(service.status(), Status::error(service.lastErrorMessage().value_or(QString())));
            EXPECT_EQ(world_.clock.asked.back(), model_.delay());
            break;
        }
    }

    std::mt19937 random_;
    BridgeWorld world_;
    BridgeModel model_;
};

} // namespace

/// Eight parts of 1,250 sequences each.
class BridgeServiceRandom : public ::testing::TestWithParam<unsigned> {};

TEST_P(BridgeServiceRandom, tenThousandSequencesOfFaultsKeepOneLoopOrNone) {
    constexpr unsigned sequences = 1250;
    for (unsigned seed = GetParam() * sequences; seed < (GetParam() + 1) * sequences && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        RandomRun(seed).run(24);
    }
}

INSTANTIATE_TEST_SUITE_P(Parts, BridgeServiceRandom, ::testing::Range(0U, 8U));
