#include "Tests/Desktop/Desktop.hpp"

#include <QCoreApplication>
#include <QDir>
#include <unistd.h>

#include <X11/keysym.h>
#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

/// Takes pictures of the Zorbel that runs on this display with a menu bar of its own:
///
///     portrait FOLDER            bar, panel, dashboard, desktop
///     portrait FOLDER --empty    only the dashboard, of a Zorbel in which nothing is selected
///     portrait FOLDER --icons    only the bar, with the icons of three other programs that run too
///     portrait FOLDER --window   panel and dashboard beside the window of another program, which is placed
///
/// It looks and clicks as a user would and needs no accessibility bus.

using namespace Desktop;

namespace {

constexpr QColor brass(0xC4, 0x66, 0x1A);
constexpr QColor kettleHi(0x2A, 0x20, 0x16); // the selected row

constexpr int listWidth = 268;
constexpr int rowSpacing = 10;
constexpr QSize switchCorner(120, 110); // where in the page's top right corner the switch is
constexpr int rowMargin = 16;           // inside a row, before its icon
constexpr QPoint rusketsRow(128, 334);  // from the window's corner, the list not scrolled
constexpr Seconds worthwhileHistory{9};
constexpr QPoint dividersMiddle(49, 14); // from the screen's top right corner, leftwards
constexpr QPoint firstIconsMiddle(74, 14);
constexpr int iconPitch = 28;
constexpr int otherPrograms = 3;
constexpr Seconds stillness{0.35}; // figures change once a second, so there is such a moment in each

void check(bool isTrue, const std::string& wanted) {
    if (!isTrue) {
        throw std::runtime_error(wanted);
    }
}

/// How long a process has been running.
Seconds age(std::uint32_t process) {
    std::ifstream stat("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    std::getline(stat, line);
    std::istringstream fields(line.substr(line.rfind(')') + 1)); // a name may hold blanks
    std::string field;
    for (int number = 3; number <= 22; ++number) {
        fields >> field; // 22: the start, in clock ticks after the machine's
    }
    double uptime = 0;
    std::ifstream("/proc/uptime") >> uptime;
    return Seconds(uptime - std::stod(field) / static_cast<double>(::sysconf(_SC_CLK_TCK)));
}

class Photographer {
public:
    explicit Photographer(QDir folder)
        : folder_(std::move(folder)) {
        screen_.movePointer(aside());
        check(until([this] { return findBar(screen_).has_value(); }), "Zorbel shows no menu bar here");
        bar_ = *findBar(screen_);
        glass_ = glassOn(bar_).center();
    }

    void takeAll() {
        const QRect strip(0, 0, screen_.size().width(), 64);
        take(strip, strip, "bar.png");
        waitForHistory();

        openPanel();
        const QRect panel = findPanel(screen_)->frame;
        take(panel, panel.adjusted(-24, -32, 24, 24), "panel.png");
        closePanel();

        openDashboard();
        selectRusket();
        take(dashboard(), dashboard(), "dashboard.png");
        takeHover();
        openPanel();
        take(panel, QRect(QPoint(0, 0), screen_.size()), "desktop.png");
        closePanel();

        takeDormant(); // late: switched off, Rusket forgets its history
        takeMordan();
        closeDashboard();
    }

    void takeEmpty() {
        openDashboard();
        take(dashboard(), dashboard(), "dashboard-empty.png");
    }

    /// The bar with other programs' icons: shown, hidden, and with the menu of the first of them.
    void takeIcons() const {
        const QRect strip(screen_.size().width() - 480, 0, 480, 44);
        const QPoint last = fromRight(firstIconsMiddle) - QPoint((otherPrograms - 1) * iconPitch, 0);
        const QRect lastIcon(last - QPoint(11, 11), QSize(22, 22));
        const auto isShown = [&] { return !isPlain(screen_.picture(lastIcon)); };
        check(until(isShown), "three programs with icons do not show them");
        take(strip, strip, "bar-revealed.png");

        screen_.click(fromRight(dividersMiddle));
        check(until([&] { return !isShown(); }), "the icons do not go");
        screen_.movePointer(aside());
        take(strip, strip, "bar-collapsed.png");
        screen_.click(fromRight(dividersMiddle));
        check(until(isShown), "the icons do not come back");

        const std::size_t windows = screen_.windows().size();
        screen_.click(fromRight(firstIconsMiddle), XCB_BUTTON_INDEX_3);
        check(until([&] { return screen_.windows().size() > windows; }), "no menu opens");
        const QRect menu = screen_.windows().back().frame;
        screen_.movePointer(menu.topLeft() + QPoint(menu.width() / 2, 48));
        const QRect part = (strip | menu.adjusted(-24, 0, 0, 24)) & QRect(QPoint(0, 0), screen_.size());
        take(part, part, "bar-menu.png");
        screen_.press(XK_Escape);
        screen_.movePointer(aside());
    }

    /// The window in front, put into the lower left quarter from the keyboard.
    void takeWindow() const {
        const auto active = [this] {
            const auto found = screen_.rootProperty("_NET_ACTIVE_WINDOW", 1);
            return found.empty() ? xcb_window_t{XCB_NONE} : found.front();
        };
        check(until([&] { return active() != XCB_NONE; }), "no window is in front");
        screen_.setKeyDown(XK_Control_L, true);
        screen_.setKeyDown(XK_Alt_L, true);
        screen_.press(XK_j);
        screen_.setKeyDown(XK_Alt_L, false);
        screen_.setKeyDown(XK_Control_L, false);
        check(until([&] { return screen_.frame(active()).value_or(QRect(9, 9, 0, 0)).x() <= 1; }),
              "the window is not placed");
        openPanel();
        take(findPanel(screen_)->frame, QRect(QPoint(0, 0), screen_.size()), "desktop-pintho.png");
        closePanel();
        openDashboard();
        selectRusket();
        select(-1, "Pintho");
        take(dashboard(), dashboard(), "dashboard-pintho.png");
        closeDashboard();
    }

private:
    QPoint fromRight(QPoint distance) const { return {screen_.size().width() - distance.x(), distance.y()}; }

    static bool isPlain(const QImage& picture) {
        return boundsOf(picture, picture.pixelColor(0, 0), 2).size() == picture.size() &&
               boundsOf(picture, picture.pixelColor(picture.rect().center()), 2).size() == picture.size();
    }

    /// A place of the bare desktop.
    QPoint aside() const { return {4, screen_.size().height() - 4}; }

    QRect dashboard() const { return findDashboard(screen_)->frame; }

    /// Waits until nothing moves in `still`, and keeps `part`.
    void take(const QRect& still, const QRect& part, const char* name) const {
        QImage picture;
        const auto isStill = [&] {
            const QImage before = screen_.picture(still);
            picture = screen_.picture(part);
            return holds([&] { return screen_.picture(still) == before; }, stillness);
        };
        check(until(isStill), std::string("no moment of rest for ") + name);
        const QString file = folder_.filePath(name);
        check(!picture.isNull() && picture.save(file), "cannot write " + file.toStdString());
        std::printf("%s\n", qPrintable(file));
        std::fflush(stdout);
    }

    void waitForHistory() const {
        const auto process = screen_.property(bar_.id, "_NET_WM_PID");
        check(process.size() == 1, "the bar does not say whose it is");
        check(until([&] { return age(process[0]) >= worthwhileHistory; }), "Zorbel has no history");
    }

    void openPanel() const {
        screen_.click(glass_);
        check(until([this] { return findPanel(screen_).has_value(); }), "the panel does not open");
        screen_.movePointer(aside());
    }

    void closePanel() const {
        screen_.press(XK_Escape);
        check(until([this] { return !findPanel(screen_); }), "the panel does not close");
    }

    void openDashboard() const {
        screen_.click(glass_, XCB_BUTTON_INDEX_3);
        check(until([this] { return findDashboard(screen_).has_value(); }), "the dashboard does not open");
        screen_.movePointer(aside());
    }

    void closeDashboard() const {
        screen_.press(XK_Escape);
        check(until([this] { return !findDashboard(screen_); }), "the dashboard does not close");
    }

    void selectRusket() const {
        const QPoint row = dashboard().topLeft() + rusketsRow;
        screen_.click(row);
        check(until([&] { return selectedRow().contains(row) && !onSwitch().isEmpty(); }),
              "Rusket is off, or cannot be selected");
        screen_.movePointer(aside());
    }

    /// The selected row on the screen, found by its colour in the margin before the icons; empty where there
    /// is none.
    QRect selectedRow() const {
        const QRect window = dashboard();
        const QRect margin(window.x() + rowMargin, window.y(), 4, window.height());
        const QRect found = boundsOf(screen_.picture(margin), kettleHi, 0);
        return found.isEmpty() ? found
                               : QRect(window.x() + rowMargin, window.y() + found.y(),
                                       listWidth - 2 * rowMargin, found.height());
    }

    /// The switch in the page's top right corner, on the screen; empty while it is off.
    QRect onSwitch() const {
        const QRect window = dashboard();
        const QRect corner(QPoint(window.right() - switchCorner.width(), window.top()), switchCorner);
        const QRect found = boundsOf(screen_.picture(corner), brass, 2);
        return found.isEmpty() ? found : found.translated(corner.topLeft());
    }

    /// The row above the selected one, with the pointer resting on it.
    void takeHover() const {
        const QRect selected = selectedRow();
        check(!selected.isEmpty(), "no row is selected");
        screen_.movePointer({selected.center().x(), selected.top() - rowSpacing - selected.height() / 2});
        check(until([&] { return selectedRow().top() > selected.top(); }), "no reason is shown");
        take(dashboard(), dashboard(), "dashboard-hover.png");
        screen_.movePointer(aside());
        check(until([&] { return selectedRow() == selected; }), "the reason stays");
    }

    /// Rusket switched off, and on again.
    void takeDormant() const {
        const QPoint control = onSwitch().center();
        screen_.click(control);
        check(until([this] { return onSwitch().isEmpty(); }), "the switch does not turn");
        screen_.movePointer(aside());
        take(dashboard(), dashboard(), "dashboard-dormant.png");
        screen_.click(control);
        check(until([this] { return !onSwitch().isEmpty(); }), "the switch does not turn back");
        screen_.movePointer(aside());
    }

    /// So many rows below the selected one.
    void select(int rows, const std::string& name) const {
        const QRect selected = selectedRow();
        const QPoint row = selected.center() + QPoint(0, rows * (selected.height() + rowSpacing));
        screen_.click(row);
        check(until([&] { return selectedRow().contains(row) && !onSwitch().isEmpty(); }),
              name + " is off, or cannot be selected");
        screen_.movePointer(aside());
    }

    void takeMordan() const {
        select(-2, "Mordan");
        take(dashboard(), dashboard(), "dashboard-mordan.png");
    }

    QDir folder_;
    Screen screen_;
    Window bar_;
    QPoint glass_;
};

} // namespace

int main(int argumentCount, char** arguments) {
    const std::string_view wish = argumentCount == 3 ? arguments[2] : "";
    if (argumentCount != 2 && wish != "--empty" && wish != "--icons" && wish != "--window") {
        std::fprintf(stderr, "usage: portrait FOLDER [--empty|--icons|--window]\n");
        return 2;
    }
    const QCoreApplication application(argumentCount, arguments);
    try {
        const QDir folder(QString::fromLocal8Bit(arguments[1]));
        check(folder.mkpath("."), "cannot make the folder " + folder.path().toStdString());
        Photographer photographer(folder);
        if (wish == "--empty") {
            photographer.takeEmpty();
        } else if (wish == "--icons") {
            photographer.takeIcons();
        } else if (wish == "--window") {
            photographer.takeWindow();
        } else {
            photographer.takeAll();
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "portrait: %s\n", failure.what());
        return 1;
    }
    return 0;
}
