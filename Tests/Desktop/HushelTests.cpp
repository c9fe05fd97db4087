#include "Tests/Desktop/DesktopTest.hpp"

#include <QDir>

#include <algorithm>
#include <deque>
#include <string>
#include <vector>

using namespace Desktop;

namespace {

constexpr auto panel = "Zorbel panel";
constexpr auto dashboard = "Dashboard";

} // namespace

/// The whole program with the spice that keeps programs away alone, and three programs beside it.
class Hushel : public DesktopTest {
protected:
    Hushel() {
        choose("hushel");
        for (const std::vector<std::string>& command :
             {std::vector<std::string>{"mousepad", "--disable-server"},
              {"featherpad", "--standalone"},
              {"xterm"}}) {
            neighbours_.emplace_back(command, unread());
        }
        for (const char* name : {"Mousepad", "FeatherPad", "XTerm"}) {
            EXPECT_TRUE(until([&] { return find(name).has_value(); })) << name;
        }
    }

    ~Hushel() override { neighbours_.clear(); }

    /// A program's window that is in sight.
    static std::optional<Window> find(const QString& className) {
        for (const Window& window : screen().windows()) {
            if (window.isManaged && window.className.compare(className, Qt::CaseInsensitive) == 0) {
                return window;
            }
        }
        return std::nullopt;
    }

    static bool areAllHidden(const std::vector<xcb_window_t>& windows) {
        return until([&] {
            return std::ranges::none_of(
                windows, [](xcb_window_t window) { return screen().frame(window).has_value(); });
        });
    }

    std::vector<xcb_window_t> windows() const {
        return {find("Mousepad")->id, find("FeatherPad")->id, find("XTerm")->id};
    }

    /// Puts all three on the list through the picker.
    void listAll() const {
        ASSERT_TRUE(openDashboard());
        ASSERT_TRUE(click(dashboard, "Add an app"));
        for (const std::string name : {"Mousepad", "FeatherPad", "XTerm"}) {
            ASSERT_TRUE(click(dashboard, name, ATSPI_ROLE_LIST_ITEM)) << name;
            ASSERT_TRUE(says(dashboard, "Remove " + name));
        }
        EXPECT_TRUE(says(dashboard, "Everything running is already on the list."));
        screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-hushel.png"));
    }

private:
    std::deque<Program> neighbours_;
};

TEST_F(Hushel, ASessionKeepsTheListedProgramsAwayAndCountsWhatIsReachedFor) {
    start();
    listAll();
    const auto all = windows();
    ASSERT_TRUE(openPanel());
    ASSERT_TRUE(click(panel, "Start 25m session", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(areAllHidden(all));
    ASSERT_TRUE(openDashboard());
    EXPECT_TRUE(says(dashboard, "Session running"));

    for (const std::string count : {"1 time", "2 times"}) {
        screen().activate(all[1]);
        EXPECT_TRUE(until([&] { return screen().frame(all[1]).has_value(); }));
        EXPECT_TRUE(areAllHidden(all));
        EXPECT_TRUE(says(dashboard, count + " you reached for something"));
    }
    screen().picture().save(QDir(ZORBEL_PICTURES).filePath("desktop-hushel-running.png"));
    ASSERT_TRUE(click(dashboard, "Stop", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(says(dashboard, "How long?"));
    screen().activate(all[0]);
    EXPECT_TRUE(until([&] { return screen().frame(all[0]).has_value(); }));
    EXPECT_TRUE(holds([&] { return screen().frame(all[0]).has_value(); }, Seconds(2.5)))
        << "once it is over, they stay";
}

TEST_F(Hushel, H10_AfterAnEndInTheMiddleWindowsAreLeftToTheirUser) {
    start();
    listAll();
    const auto all = windows();
    ASSERT_TRUE(click(dashboard, "Start", ATSPI_ROLE_PUSH_BUTTON));
    EXPECT_TRUE(areAllHidden(all));
    EXPECT_EQ(end(programs.back()), 0);
    for (const xcb_window_t window : all) {
        screen().activate(window);
        EXPECT_TRUE(until([&] { return screen().frame(window).has_value(); }));
    }
}
