#include "Tests/Desktop/MenuBarTest.hpp"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDir>

#include <algorithm>
#include <sstream>

namespace Desktop {

namespace {

constexpr auto watcherPath = "/StatusNotifierWatcher";
constexpr int dividerWidth = 22;
constexpr int leastIcon = 16; // pixels of a picture's side that count as drawn

} // namespace

MenuBarTest::MenuBarTest() {
    set("sivrel.autoCollapse", 0);
}

void MenuBarTest::set(const std::string& key, const nlohmann::json& value) {
    nlohmann::json values = settings.read();
    values[key] = value;
    settings.write(values);
}

Program& MenuBarTest::startBar(const Program::Environment& changes) {
    Program& zorbel = start(changes);
    EXPECT_TRUE(until([] { return hasWatcher() && findBar(screen()); })) << zorbel.output();
    return zorbel;
}

bool MenuBarTest::hasWatcher() {
    return QDBusConnection::sessionBus().interface()->isServiceRegistered(watcherService);
}

QString MenuBarTest::watcherOwner() {
    return QDBusConnection::sessionBus().interface()->serviceOwner(watcherService);
}

QVariant MenuBarTest::watcherProperty(const QString& name) {
    QDBusMessage question =
        QDBusMessage::createMethodCall(watcherService, watcherPath, "org.freedesktop.DBus.Properties", "Get");
    question << watcherService << name;
    const QVariantList answer = QDBusConnection::sessionBus().call(question).arguments();
    return answer.value(0).value<QDBusVariant>().variant();
}

QStringList MenuBarTest::listed() {
    return watcherProperty("RegisteredStatusNotifierItems").toStringList();
}

QRect MenuBarTest::icon(QColor colour) {
    const auto bar = findBar(screen());
    if (!bar) {
        return {};
    }
    const QRect found = boundsOf(screen().picture(bar->frame), colour, 4);
    return found.width() < leastIcon || found.height() < leastIcon ? QRect()
                                                                   : found.translated(bar->frame.topLeft());
}

bool MenuBarTest::waitForIcon(QColor colour, bool isShown) {
    return until([&] { return icon(colour).isEmpty() != isShown; });
}

bool MenuBarTest::isNeverSeen(QColor colour, Seconds duration) {
    return holds([&] { return icon(colour).isEmpty(); }, duration);
}

std::vector<std::size_t> MenuBarTest::row(const std::vector<QColor>& colours) {
    std::vector<std::pair<int, std::size_t>> found;
    for (std::size_t index = 0; index < colours.size(); ++index) {
        if (const QRect place = icon(colours[index]); !place.isEmpty()) {
            found.emplace_back(place.x(), index);
        }
    }
    std::ranges::sort(found);
    std::vector<std::size_t> result;
    for (const auto& [x, index] : found) {
        result.push_back(index);
    }
    return result;
}

QRect MenuBarTest::dividerCell() {
    const QRect glass = glassOn(findBar(screen()));
    return {glass.x() - dividerWidth, glass.y(), dividerWidth, glass.height()};
}

QRect MenuBarTest::cell(int number) {
    const QRect divider = dividerCell();
    return {divider.x() - (number + 1) * iconWidth, divider.y(), iconWidth, divider.height()};
}

bool MenuBarTest::waitForRightOfDivider(QColor colour) {
    const QRect glass = glassOn(findBar(screen()));
    return until(
        [&] { return icon(colour).right() > glass.x() - iconWidth && icon(colour).right() < glass.x(); });
}

bool MenuBarTest::toggle(const std::vector<QColor>& left, bool isShown) {
    screen().click(dividerCell().center());
    // The window manager holds a click back for a moment; a pointer that leaves at once would take it along.
    const bool isDone = until([&] {
        return std::ranges::all_of(left, [&](QColor colour) { return icon(colour).isEmpty() != isShown; });
    });
    screen().movePointer(nowhere);
    return isDone;
}

std::optional<Window> MenuBarTest::openedMenu(const std::function<void()>& act) {
    const std::vector<Window> before = screen().windows();
    act();
    std::optional<Window> menu;
    EXPECT_TRUE(until([&] {
        for (const Window& window : screen().windows()) {
            const bool isNew = std::ranges::find(before, window.id, &Window::id) == before.end();
            if (isNew && !window.isManaged) {
                menu = window;
            }
        }
        return menu.has_value();
    })) << "no menu opens";
    return menu;
}

bool MenuBarTest::waitForMenuGone(const Window& menu) {
    // A press within a moment of its end counts as the one that ended it, and opens nothing.
    const auto isGone = [&] { return !screen().frame(menu.id); };
    return until(isGone) && holds(isGone, Seconds{0.3});
}

std::optional<Node> MenuBarTest::entry(const std::string& name) {
    for (const Node& window : reader().windows()) {
        std::optional<Node> found;
        window.walk([&](const Node& node) {
            const bool isEntry = node.role() == ATSPI_ROLE_MENU_ITEM ||
                                 node.role() == ATSPI_ROLE_CHECK_MENU_ITEM ||
                                 node.role() == ATSPI_ROLE_RADIO_MENU_ITEM;
            if (!found && isEntry && node.name() == name && !node.frame().isEmpty()) {
                found = node;
            }
            return !found;
        });
        if (found) {
            return found;
        }
    }
    return std::nullopt;
}

bool MenuBarTest::point(const Window& menu, const std::string& name) {
    // A menu is told to readers once an entry of it is pointed at.
    const auto frame = screen().frame(menu.id);
    if (frame && reader().windows().empty()) {
        return false;
    }
    screen().movePointer(menu.frame.topLeft() + QPoint(menu.frame.width() / 2, 12));
    QRect place;
    const bool isThere = until([&] {
        const auto node = entry(name);
        place = node ? node->frame() : QRect();
        return !place.isEmpty();
    });
    if (isThere) {
        screen().movePointer(place.center());
    }
    return isThere;
}

bool MenuBarTest::choose(const Window& menu, const std::string& name) {
    if (!point(menu, name)) {
        return false;
    }
    const auto node = entry(name);
    if (node) {
        screen().click(node->frame().center());
    }
    return node.has_value();
}

bool MenuBarTest::says(Program& program, const std::string& line) {
    return until([&] { return ("\n" + program.output()).find("\n" + line + "\n") != std::string::npos; });
}

void MenuBarTest::keepPicture(const QRect& part, const char* name) {
    const QDir folder(ZORBEL_PICTURES);
    EXPECT_TRUE(folder.mkpath("."));
    EXPECT_TRUE(screen().picture(part).save(folder.filePath(name))) << name;
}

std::vector<TrayMenuDoubleEntry> usualMenu() {
    return {{1, {{"label", "Open"}}},
            {2, {{"label", "Awake"}, {"toggle-type", "checkmark"}, {"toggle-state", 0}}},
            {3, {{"type", "separator"}}},
            {4, {{"label", "More"}, {"children-display", "submenu"}}, {{5, {{"label", "Deep"}}}}, true},
            {6, {{"label", "Leave"}}}};
}

} // namespace Desktop
