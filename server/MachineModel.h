#pragma once
#include "server/MachineTasks.h"
#include "server/ModelSource.h"

namespace vennic::server {

/// The model on the user's own machine, asked by llm_infer tasks.
class MachineModel final : public ModelSource {
public:
    explicit MachineModel(MachineTasks& tasks) : tasks_(tasks) {}
    std::shared_ptr<void> infer(const ModelRequest& request, RoundListener listener) override;

private:
    MachineTasks& tasks_;
};

} // namespace vennic::server
