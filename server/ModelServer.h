#pragma once
#include "server/Loop.h"
#include "server/ModelAddress.h"
#include "server/ModelSource.h"

namespace vennic::server {

/// How long a model's server may take. Its answer is bounded in bytes too. Its name is looked up by the system's rules;
/// of these limits only `whole` holds for that.
struct ModelLimits {
    std::chrono::milliseconds connect = std::chrono::seconds{15};  // each of connection and TLS greeting
    std::chrono::milliseconds silence = std::chrono::seconds{120}; // before the first byte, and between two
    std::chrono::milliseconds whole = std::chrono::seconds{600};
};

/// An OpenAI-compatible server: one connection per request, its answer as it streams. TLS is verified against the
/// system's authorities.
class ModelServer final : public ModelSource {
public:
    ModelServer(Loop& loop, ModelAddress address, const ModelLimits& limits = {});
    ~ModelServer() override;
    std::shared_ptr<void> infer(const ModelRequest& request, RoundListener listener) override;

private:
    class Asking;
    struct Engine;
    Loop& loop_;
    ModelAddress address_;
    ModelLimits limits_;
    std::unique_ptr<Engine> engine_;
};

} // namespace vennic::server
