#pragma once
#include "core/AppDelegate.h"
#include "core/SessionFixture.h"
#include "fakes/ApplicationWindowsFake.h"
#include "fakes/IncomingURLsFake.h"
#include "fakes/ModalDialogsFake.h"
#include "fakes/PointerFake.h"
#include "fakes/PopoverFake.h"
#include "fakes/StatusItemFake.h"
#include "fakes/SummonMonitorFake.h"
#include "support/TestClock.h"

namespace vennic::test {

/// The shell of the program with everything around it in memory.
struct ShellFixture : SessionFixture {
    ApplicationWindowsFake windows;
    ModalDialogsFake dialogs;
    PopoverFake popover;
    PointerFake pointer;
    StatusImagesFake images;
    SummonMonitorFake summonKeys;
    IncomingURLsFake urls;
    TestClock clock;
    StatusItemFake* item = nullptr; // the last one made
    int itemsMade = 0;
    MenuBarController menuBar{{.popover = popover,
                               .windows = windows,
                               .dialogs = dialogs,
                               .pointer = pointer,
                               .images = images,
                               .makeStatusItem = [this] { return makeItem(); },
                               .clock = clock}};
    AppCommands commands{{.store = store, .windows = windows, .menuBar = menuBar, .clock = clock}};
    std::unique_ptr<AppDelegate> builtDelegate;

    AppDelegate& delegate() {
        if (!builtDelegate)
            builtDelegate = std::make_unique<AppDelegate>(
                AppDelegate::Surroundings{session(), store, windows, dialogs, menuBar, commands, summonKeys, urls});
        return *builtDelegate;
    }
    QString storedWord(const char* key) {
        return storedAs<QString>(store, QString(QLatin1String(key))).value_or(QStringLiteral("none"));
    }

private:
    std::unique_ptr<StatusItem> makeItem() {
        auto made = std::make_unique<StatusItemFake>();
        item = made.get();
        ++itemsMade;
        return made;
    }
};

} // namespace vennic::test
