#pragma once
#include "server/HttpServer.h"

#include <QStringList>

namespace vennic::server {

class DataFolder;

/// Gives the server its certificate: signed by an authority of its own that is made at the first start (ca.pem,
/// ca.key), for localhost, 127.0.0.1, ::1 and `hosts`. It is kept and made anew where it has less than 400 days left
/// or other names. Raises LocalizedError.
ServerIdentity obtainIdentity(const DataFolder& folder, const QStringList& hosts);

} // namespace vennic::server
