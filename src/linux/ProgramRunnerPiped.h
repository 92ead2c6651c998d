#pragma once
#include "ports/ProgramRunner.h"

namespace vennic {

/// Programs started without a shell, each of them leading a session of its own. A program has ended when it does: what
/// it leaves behind goes on.
class ProgramRunnerPiped final : public ProgramRunner {
public:
    Task<int> run(ProgramCommand command, OnOutput onOutput) override;
};

} // namespace vennic
