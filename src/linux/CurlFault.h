#pragma once
#include "base/TransportError.h"

#include <QByteArrayView>

#include <curl/curl.h>

namespace vennic {

/// What a failed transfer means to the user. `systemError` is the errno of the failed connection (0 when unknown),
/// `detail` libcurl's own words, which alone tell some cases apart.
TransportFault curlFault(CURLcode code, long systemError, QByteArrayView detail);

} // namespace vennic
