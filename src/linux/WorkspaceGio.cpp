#include "linux/WorkspaceGio.h"

#include "linux/DefaultHandler.h"

namespace vennic {

void WorkspaceGio::open(const QString& path) { openWithDefaultHandler(path); }

} // namespace vennic
