#include "Platforms/Linux/Windows/DesktopReader.hpp"

#include "ZorbelKit/Utf8.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

namespace {

constexpr std::size_t longestTitle = 1024; // characters
constexpr std::uint32_t everyDesktop = 0xFFFFFFFF;

bool holds(const std::vector<std::uint32_t>& numbers, std::uint32_t number) {
    return std::ranges::find(numbers, number) != numbers.end();
}

std::string fromLatin1(const std::string& bytes) {
    std::string result;
    for (const char byte : bytes) {
        const auto code = static_cast<unsigned char>(byte);
        if (code < 0x80) {
            result += byte;
        } else {
            result += static_cast<char>(0xC0 | code >> 6);
            result += static_cast<char>(0x80 | (code & 0x3F));
        }
    }
    return result;
}

/// The first so many characters, and valid.
std::string cut(const std::string& text) {
    std::string_view rest = text;
    for (std::size_t count = 0; count < longestTitle && !rest.empty(); ++count) {
        rest.remove_prefix(ZorbelKit::utf8::first(rest).length);
    }
    return ZorbelKit::utf8::repaired(text.substr(0, text.size() - rest.size()));
}

} // namespace

void readFrame(const DesktopConnection& connection, const DesktopConnection::Place& place,
               const std::vector<std::uint32_t>& told, WindowShape& shape) {
    constexpr int deepest = 4; // window managers put a client into a window or two
    shape.frame = edges(told);
    shape.border = place.border;
    if (!told.empty()) {
        return;
    }
    auto outer = place;
    for (int depth = 0; depth < deepest && outer.parent != connection.root(); ++depth) {
        const auto next = connection.place(connection.askPlace(outer.parent));
        if (!next) {
            return; // on its way into another frame, or gone
        }
        outer = *next;
    }
    shape.frame = edgesAround(shape.client, {outer.x, outer.y, outer.width, outer.height});
    shape.isFrameTold = shape.frame == Edges{};
}

// The window manager

void ManagerReader::askFirst() {
    supported_ = connection_.ask(connection_.root(), DesktopName::supported);
    check_ = connection_.ask(connection_.root(), DesktopName::supportingCheck, 1);
}

/// A window manager that has died leaves its name on the root window, but not the window that confirms it.
void ManagerReader::askSecond() {
    const auto supported = connection_.numbers(supported_);
    const auto check = connection_.numbers(check_);
    isSufficient_ = holds(supported, connection_.atom(DesktopName::activeWindow)) &&
                    holds(supported, connection_.atom(DesktopName::moveResizeWindow));
    isMaximising_ = holds(supported, connection_.atom(DesktopName::maximisedVertically));
    hasWorkAreas_ = holds(supported, connection_.atom(DesktopName::gtkWorkAreas));
    connection_.unwatchAll(Interest::manager);
    const bool isNamed = !check.empty() && check.front() != connection_.root();
    checkWindow_ = isNamed ? check.front() : xcb_window_t{XCB_NONE};
    if (checkWindow_ != XCB_NONE) {
        connection_.watch(checkWindow_, Interest::manager);
        check_ = connection_.ask(checkWindow_, DesktopName::supportingCheck, 1);
    }
}

void ManagerReader::take() {
    const auto check = checkWindow_ != XCB_NONE ? connection_.numbers(check_) : std::vector<std::uint32_t>();
    isManaged_ = isSufficient_ && check == std::vector<std::uint32_t>{checkWindow_};
    if (check.empty()) {
        connection_.forget(checkWindow_);
    }
}

// The active window

void ActiveWindowReader::askFirst() {
    activeWindow_ = connection_.ask(connection_.root(), DesktopName::activeWindow, 1);
}

void ActiveWindowReader::askSecond() {
    const auto found = connection_.numbers(activeWindow_);
    connection_.unwatchAll(Interest::active);
    window_ = found.empty() || found.front() == connection_.root() ? xcb_window_t{XCB_NONE} : found.front();
    if (window_ == XCB_NONE) {
        return;
    }
    connection_.watch(window_, Interest::active);
    questions_ = {.type = connection_.ask(window_, DesktopName::windowType),
                  .pid = connection_.ask(window_, DesktopName::windowPid, 1),
                  .machine = connection_.ask(window_, XCB_ATOM_WM_CLIENT_MACHINE),
                  .gtkApplication = connection_.ask(window_, DesktopName::gtkApplication),
                  .windowClass = connection_.ask(window_, XCB_ATOM_WM_CLASS),
                  .name = connection_.ask(window_, DesktopName::windowName),
                  .legacyName = connection_.ask(window_, XCB_ATOM_WM_NAME),
                  .frame = connection_.ask(window_, DesktopName::frameExtents),
                  .shadow = connection_.ask(window_, DesktopName::gtkFrameExtents),
                  .place = connection_.askPlace(window_),
                  .attributes = xcb_get_window_attributes(connection_.get(), window_),
                  .process = std::nullopt};
    if (connection_.hasProcesses()) {
        const xcb_res_client_id_spec_t wanted{window_, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        questions_.process = xcb_res_query_client_ids(connection_.get(), 1, &wanted);
    }
}

void ActiveWindowReader::take() {
    active_.reset();
    if (window_ == XCB_NONE) {
        return;
    }
    // Every answer is taken, wanted or not: those that are not would be kept for ever.
    const auto place = connection_.place(questions_.place);
    const auto names = windowClass(connection_.text(questions_.windowClass).bytes);
    const std::string gtkApplication = connection_.text(questions_.gtkApplication).bytes;
    const bool isRemote = !isOnThisMachine(connection_.text(questions_.machine).bytes);
    const bool isPart = isPartOfDesktop(connection_.numbers(questions_.type));
    const auto attributes =
        owned(xcb_get_window_attributes_reply(connection_.get(), questions_.attributes, nullptr));
    WindowShape shape;
    const auto frame = connection_.numbers(questions_.frame);
    shape.shadow = edges(connection_.numbers(questions_.shadow));
    Active active{window_, processOf(), isRemote, gtkApplication, names, titleOf(), {}};
    if (!place || !attributes) {
        connection_.forget(window_);
        return;
    }
    shape.client = {place->x, place->y, place->width, place->height};
    readFrame(connection_, *place, frame, shape);
    active.visible = visibleRect(shape);
    if (!isPart && !attributes->override_redirect) { // out of the window manager's hands
        active_ = std::move(active);
    }
}

bool ActiveWindowReader::isPartOfDesktop(const std::vector<std::uint32_t>& types) const {
    return holds(types, connection_.atom(DesktopName::windowTypeDesktop)) ||
           holds(types, connection_.atom(DesktopName::windowTypeDock)) ||
           holds(types, connection_.atom(DesktopName::windowTypeSplash));
}

/// As the server knows it; what the window says may be the number inside of a container.
std::int64_t ActiveWindowReader::processOf() const {
    const auto announced = connection_.numbers(questions_.pid);
    std::int64_t known = 0;
    if (questions_.process) {
        const auto reply =
            owned(xcb_res_query_client_ids_reply(connection_.get(), *questions_.process, nullptr));
        if (reply) {
            auto ids = xcb_res_query_client_ids_ids_iterator(reply.get());
            for (; ids.rem > 0 && known == 0; xcb_res_client_id_value_next(&ids)) {
                if (xcb_res_client_id_value_value_length(ids.data) > 0) {
                    known = *xcb_res_client_id_value_value(ids.data);
                }
            }
        }
    }
    if (known == 0 && !announced.empty()) {
        known = announced.front();
    }
    return known;
}

std::string ActiveWindowReader::titleOf() const {
    const auto name = connection_.text(questions_.name);
    const auto legacyName = connection_.text(questions_.legacyName);
    if (!name.bytes.empty()) {
        return cut(name.bytes);
    }
    const bool isUtf8 = legacyName.type == connection_.atom(DesktopName::utf8String);
    return cut(isUtf8 ? legacyName.bytes : fromLatin1(legacyName.bytes));
}

// The monitors

void MonitorsReader::askFirst() {
    list_.reset();
    if (connection_.hasMonitors()) {
        list_ = xcb_randr_get_monitors(connection_.get(), connection_.root(), 1);
    }
    screenSize_ = xcb_get_geometry(connection_.get(), connection_.root());
    clients_ = connection_.ask(connection_.root(), DesktopName::clientList);
    current_ = connection_.ask(connection_.root(), DesktopName::currentDesktop, 1);
}

void MonitorsReader::askSecond(bool hasWorkAreas) {
    readMonitors();
    askNames();
    const auto current = connection_.numbers(current_);
    desktop_ = current.empty() ? 0 : current.front();
    panels_.clear();
    for (const xcb_window_t client : connection_.numbers(clients_)) {
        panels_.push_back({.window = client,
                           .partial = connection_.ask(client, DesktopName::strutPartial, 13),
                           .whole = connection_.ask(client, DesktopName::strut, 5),
                           .desktop = connection_.ask(client, DesktopName::windowDesktop, 1),
                           .type = connection_.ask(client, DesktopName::windowType),
                           .attributes = xcb_get_window_attributes(connection_.get(), client)});
    }
    workAreas_.reset();
    const xcb_atom_t areas = connection_.workAreasOf(desktop_);
    if (hasWorkAreas && areas != XCB_ATOM_NONE) {
        workAreas_ = connection_.ask(connection_.root(), areas);
    }
}

bool MonitorsReader::take() {
    bool isNew = false;
    const std::vector<Strut> struts = takeStruts(isNew);
    const auto areas = workAreas_ ? connection_.numbers(*workAreas_) : std::vector<std::uint32_t>();
    for (const auto& [atom, question] : std::exchange(nameQuestions_, {})) {
        const auto reply = owned(xcb_get_atom_name_reply(connection_.get(), question, nullptr));
        if (reply) {
            names_[atom] = ZorbelKit::utf8::repaired(
                {xcb_get_atom_name_name(reply.get()), static_cast<std::size_t>(reply->name_len)});
        }
    }
    for (Monitor& monitor : monitors_) {
        monitor.name = names_[static_cast<xcb_atom_t>(monitor.id)];
        const auto area = workAreaOn(monitor.frame, areas);
        monitor.usable = area ? *area : usableArea(monitor.frame, screen_, struts);
    }
    return isNew;
}

void MonitorsReader::readMonitors() {
    const auto size = owned(xcb_get_geometry_reply(connection_.get(), screenSize_, nullptr));
    screen_ = size ? PixelRect{0, 0, size->width, size->height} : PixelRect{};
    monitors_.clear();
    const auto reply =
        owned(list_ ? xcb_randr_get_monitors_reply(connection_.get(), *list_, nullptr) : nullptr);
    if (reply) {
        auto found = xcb_randr_get_monitors_monitors_iterator(reply.get());
        for (; found.rem > 0; xcb_randr_monitor_info_next(&found)) {
            const xcb_randr_monitor_info_t& info = *found.data;
            const Monitor monitor{.id = info.name, .frame = {info.x, info.y, info.width, info.height}};
            if (info.width > 0 && info.height > 0) { // a monitor without room holds no window
                monitors_.insert(info.primary ? monitors_.begin() : monitors_.end(), monitor);
            }
        }
    }
    if (monitors_.empty() && size) {
        monitors_.push_back({.frame = screen_});
    }
}

void MonitorsReader::askNames() {
    for (const Monitor& monitor : monitors_) {
        const auto atom = static_cast<xcb_atom_t>(monitor.id);
        if (atom != XCB_ATOM_NONE && !names_.contains(atom)) {
            nameQuestions_[atom] = xcb_get_atom_name(connection_.get(), atom);
        }
    }
}

/// Of the windows that can be seen on the current desktop.
std::vector<Strut> MonitorsReader::takeStruts(bool& isNew) {
    std::vector<Strut> struts;
    for (const Panel& panel : std::exchange(panels_, {})) {
        const auto partial = strut(connection_.numbers(panel.partial));
        const auto whole = strut(connection_.numbers(panel.whole));
        const auto desktop = connection_.numbers(panel.desktop);
        const auto types = connection_.numbers(panel.type);
        const auto attributes =
            owned(xcb_get_window_attributes_reply(connection_.get(), panel.attributes, nullptr));
        const auto kept = partial ? partial : whole;
        const bool isDock = holds(types, connection_.atom(DesktopName::windowTypeDock));
        if (!attributes || (!kept && !isDock)) {
            continue;
        }
        if (!connection_.isWatched(panel.window, Interest::panel)) {
            connection_.watch(panel.window, Interest::panel);
            isNew = true;
        }
        const bool isHere = desktop.empty() || desktop.front() == desktop_ || desktop.front() == everyDesktop;
        const bool isSeen = attributes->map_state == XCB_MAP_STATE_VIEWABLE;
        if (kept && isHere && isSeen) {
            struts.push_back(*kept);
        }
    }
    return struts;
}

} // namespace Linux
