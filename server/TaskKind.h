#pragma once
#include <QStringView>

namespace vennic::server {

/// Whether a machine can be asked for this kind (one of thirteen).
bool isTaskKind(QStringView kind);
/// Whether asking twice does no more than asking once: such a task is delivered a second time where its answer is lost.
bool isRepeatable(QStringView kind);

} // namespace vennic::server
