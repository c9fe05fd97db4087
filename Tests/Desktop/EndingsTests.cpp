#include "Tests/Desktop/BareServer.hpp"
#include "Tests/Desktop/DesktopTest.hpp"

#include <csignal>

using namespace Desktop;

class Endings : public DesktopTest {};

TEST_F(Endings, SignalsOfASessionEndItInGoodOrder) {
    struct Row {
        const char* name;
        int signal;
        bool hasWindows;
    };
    const Row rows[] = {{"terminate", SIGTERM, false},
                        {"interrupt", SIGINT, false},
                        {"hang up", SIGHUP, false},
                        {"terminate, windows open", SIGTERM, true},
                        {"interrupt, windows open", SIGINT, true}};
    const nlohmann::json stored{{"app.hasLaunched", true},       {"spice.hushel.enabled", true},
                                {"spice.mordan.enabled", false}, {"spice.pintho.enabled", true},
                                {"spice.rusket.enabled", true},  {"spice.sivrel.enabled", false},
                                {"stall.selection", "pintho"},   {"ledgra.showShelf", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        settings.write(stored);
        Program& zorbel = start();
        const QPoint place = glass();
        if (row.hasWindows) {
            screen().click(place, XCB_BUTTON_INDEX_3);
            ASSERT_TRUE(waitForDashboard());
            screen().click(place);
            ASSERT_TRUE(waitForPanel());
        }
        zorbel.send(row.signal);
        EXPECT_EQ(zorbel.waitForEnd(), 0) << zorbel.output();
        EXPECT_EQ(zorbel.output(), "");
        EXPECT_EQ(settings.read(), stored);
        EXPECT_TRUE(until([] { return !findBar(screen()); }));
    }
}

TEST_F(Endings, ASignalDuringStartUpEndsIt) {
    Program& zorbel = start();
    ASSERT_TRUE(until([&] { return findBar(screen()) || !zorbel.isRunning(); }));
    zorbel.send(SIGTERM); // the bar has only just been shown
    EXPECT_EQ(zorbel.waitForEnd(), 0) << zorbel.output();
}

TEST_F(Endings, TheEndOfTheServerEndsIt) {
    BareServer server;
    Program& zorbel = start({{"DISPLAY", server.display()}});
    {
        const Screen nested(server.display());
        ASSERT_TRUE(until([&] { return findBar(nested).has_value(); }));
        nested.click(glassOn(findBar(nested)).center());
        ASSERT_TRUE(until([&] { return findPanel(nested).has_value(); }));
    }
    server.end(SIGTERM);
    const auto status = zorbel.waitForEnd();
    ASSERT_TRUE(status) << "it hangs";
    EXPECT_LT(*status, 128) << "ended by a signal: " << zorbel.output();
    EXPECT_EQ(settings.read().value("spice.rusket.enabled", false), true);
}
