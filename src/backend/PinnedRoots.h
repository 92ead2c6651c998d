#pragma once
#include "ports/HttpTransport.h"

#include <QString>

#include <memory>
#include <vector>

namespace vennic {

/// The DER form of each certificate block of a PEM text (RFC 7468), in order. Text between the blocks is ignored; a
/// block that isn't Base64 (RFC 4648, padded, nothing else in it) or isn't closed is dropped.
std::vector<QByteArray> certificateDERs(const QString& pem);

/// The roots in the file at `path`: UTF-8, at most 1 MiB. A file that can't be read that way gives no root, and a
/// session without roots trusts nobody.
std::shared_ptr<const TrustAnchors> loadPinnedRoots(const QString& path);

} // namespace vennic
