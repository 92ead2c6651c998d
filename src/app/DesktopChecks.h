#pragma once
#include "app/Finding.h"
#include "app/Paths.h"

namespace vennic {

/// Where the status item stands, if anywhere.
Finding statusItemPlace();
/// Whether the client starts with the session.
Finding startWithSession(const Paths& paths);
/// What opens links of the scheme "vennic".
Finding linkHandler();

} // namespace vennic
