#pragma once
#include <QList>
#include <QString>

namespace vennic {

/// What files of an extension are after shared-mime-info: "public.text" and the like, "public.data" at least. Where
/// several MIME types share the extension only what all of them are counts. The first call loads the system's data.
QList<QLatin1String> mimeKinship(const QString& extension);

} // namespace vennic
