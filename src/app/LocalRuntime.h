#pragma once
#include "app/Paths.h"
#include "linux/ProgramRunnerPiped.h"
#include "linux/ServiceManagerSystemd.h"
#include "localllm/LocalLLMInstaller.h"

namespace vennic {

/// The installer of the local model's server, with what it takes on this machine.
class LocalRuntime {
public:
    LocalRuntime(const Paths& paths, const QString& packageManagerSite);

    LocalLLMInstaller& installer() { return installer_; }
    const LocalLLMInstaller& installer() const { return installer_; }

private:
    SystemClock clock_;
    ProgramRunnerPiped programs_;
    ServiceManagerSystemd services_;
    LocalLLMInstaller installer_;
};

} // namespace vennic
