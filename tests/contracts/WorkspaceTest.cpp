#include "base/LocalizedError.h"
#include "fakes/WorkspaceFake.h"
#include "linux/WorkspaceGio.h"
#include "support/Await.h"
#include "support/MadeUpDesktop.h"

#include <gtest/gtest.h>

namespace vennic::test {

namespace {

/// The double, with two applications.
struct DoubleDesktop {
    WorkspaceFake workspace;

    DoubleDesktop() {
        workspace.add(QStringLiteral("org.example.Notes.desktop")).localizedName = QStringLiteral("Carnet");
        workspace.known.back().name = QStringLiteral("Notes");
        workspace.add(QStringLiteral("vendor/tool.desktop")).isShown = false;
        workspace.known.back().name = workspace.known.back().localizedName = QStringLiteral("Tool");
    }
    static QString folder() { return QStringLiteral("/apps"); }
    bool hasStarted(const char* name) const {
        for (const Application& application : workspace.known) {
            if (application.name == QLatin1String(name))
                return workspace.opened.contains(application.entry);
        }
        return false;
    }
};

/// The same as desktop entries.
struct RealDesktop {
    WorkspaceGio workspace;
    MadeUpDesktop& desktop = MadeUpDesktop::shared();

    RealDesktop() {
        desktop.add("installed", "org.example.Notes.desktop", "Notes", "Name[fr]=Carnet\n");
        desktop.add("installed", "vendor/tool.desktop", "Tool", "NoDisplay=true\n");
    }
    QString folder() const { return desktop.data("installed") + QStringLiteral("/applications"); }
    bool hasStarted(const char* name) const {
        return waitUntil([&] { return QFile::exists(desktop.log(name)); });
    }
};

} // namespace

template <class T>
class WorkspaceContract : public testing::Test {
protected:
    T desktop;
};
using AllDesktops = testing::Types<DoubleDesktop, RealDesktop>;
TYPED_TEST_SUITE(WorkspaceContract, AllDesktops);

TYPED_TEST(WorkspaceContract, everyApplicationIsToldWithItsNamesAndItsPlace) {
    std::vector<Application> known = this->desktop.workspace.applications();
    std::ranges::sort(known, {}, &Application::entry);
    const QString folder = this->desktop.folder();
    const Application notes{.entry = folder + QStringLiteral("/org.example.Notes.desktop"),
                            .identifier = QStringLiteral("org.example.Notes.desktop"),
                            .pathInFolder = QStringLiteral("org.example.Notes.desktop"),
                            .name = QStringLiteral("Notes"),
                            .localizedName = QStringLiteral("Carnet")};
    const Application tool{.entry = folder + QStringLiteral("/vendor/tool.desktop"),
                           .identifier = QStringLiteral("vendor-tool.desktop"),
                           .pathInFolder = QStringLiteral("vendor/tool.desktop"),
                           .name = QStringLiteral("Tool"),
                           .localizedName = QStringLiteral("Tool"),
                           .isShown = false};
    EXPECT_EQ(known, (std::vector{notes, tool}));
}

TYPED_TEST(WorkspaceContract, anApplicationIsStartedByItsEntry) {
    for (const Application& application : this->desktop.workspace.applications())
        this->desktop.workspace.openApplication(application.entry, {});
    EXPECT_TRUE(this->desktop.hasStarted("Notes"));
    EXPECT_TRUE(this->desktop.hasStarted("Tool"));
}

TYPED_TEST(WorkspaceContract, anEntryThatHasGoneFailsInWords) {
    try {
        this->desktop.workspace.openApplication(this->desktop.folder() + QStringLiteral("/gone.desktop"), {});
        FAIL();
    } catch (const LocalizedError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("L'application n'est plus installée."));
    }
}

} // namespace vennic::test
