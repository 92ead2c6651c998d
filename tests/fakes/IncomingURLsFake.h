#pragma once
#include "core/IncomingURLs.h"

#include <utility>

namespace vennic::test {

/// A desktop whose addresses come from a test.
class IncomingURLsFake final : public IncomingURLs {
public:
    void setHandler(Handler given) override { handler = std::move(given); }
    void removeHandler() override { handler = {}; }

    Handler handler;
};

} // namespace vennic::test
