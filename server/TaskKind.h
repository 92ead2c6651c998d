#pragma once
#include <QStringView>

namespace vennic::server {

/// Whether a machine can be asked for this kind (one of thirteen).
bool isTaskKind(QStringView kind);
/// Whether asking twice does no more than asking once: such a task is delivered a second time where its answer is lost.
bool isRepeatable(QStringView kind);
/// Whether it may rightly take much longer than the others: a scan of many pages, a question to the person at the
/// machine, an automation or a model at work.
bool isSlow(QStringView kind);

} // namespace vennic::server
