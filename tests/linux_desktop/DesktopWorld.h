#pragma once
#include "ports/StatusItem.h"
#include "support/Await.h"
#include "support/PrivateBus.h"
#include "support/PrivateDisplay.h"

#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace vennic::test {

/// A session bus and an X server of the test's own, with nothing on either.
struct DesktopWorld {
    QTemporaryDir folder;
    PrivateBus bus{PrivateBus::Kind::session, folder.path()};
    PrivateDisplay display;

    /// A template that fills its whole place.
    static StatusImage square() {
        StatusImage image;
        image.svg = R"(<svg xmlns="http://www.w3.org/2000/svg" width="18" height="18"><path d="M0 0h18v18H0z"/></svg>)";
        image.isTemplate = true;
        image.size = QSize(18, 18);
        return image;
    }
};

} // namespace vennic::test
