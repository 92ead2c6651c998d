#include "app/LocalRuntime.h"

#include <QDir>

namespace vennic {

LocalRuntime::LocalRuntime(const Paths& paths, const QString& packageManagerSite)
    : services_(ServiceManagerSystemd::installedSystemctl()),
      installer_({.paths = RuntimePaths::ofSystemd(QDir::homePath(), paths.configuration),
                  .programs = programs_,
                  .services = services_,
                  .clock = clock_,
                  .packageManagerSite = packageManagerSite}) {}

} // namespace vennic
