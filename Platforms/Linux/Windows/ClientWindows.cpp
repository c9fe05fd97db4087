#include "Platforms/Linux/Windows/ClientWindows.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <utility>

namespace Linux {

namespace {

constexpr std::uint32_t normalState = 1; // of WM_STATE
constexpr std::uint32_t iconicState = 3;

constexpr unsigned looksBetweenClasses = 5; // office programs change theirs with what is opened in a window

bool holds(const std::vector<std::uint32_t>& numbers, std::uint32_t number) {
    return std::ranges::find(numbers, number) != numbers.end();
}

std::uint32_t first(const std::vector<std::uint32_t>& numbers) {
    return numbers.empty() ? 0 : numbers.front();
}

// Types of windows that are parts of the desktop, or here for a moment.
constexpr std::array leftAlone{
    DesktopName::windowTypeCombo,   DesktopName::windowTypeDesktop,      DesktopName::windowTypeDock,
    DesktopName::windowTypeDragged, DesktopName::windowTypeDropdown,     DesktopName::windowTypeMenu,
    DesktopName::windowTypePopup,   DesktopName::windowTypeNotification, DesktopName::windowTypeSplash,
    DesktopName::windowTypeTooltip,
};
constexpr std::array usual{DesktopName::windowTypeNormal, DesktopName::windowTypeDialog,
                           DesktopName::windowTypeToolbar, DesktopName::windowTypeUtility};

} // namespace

bool ClientWindows::connect() {
    if (connection_ && connection_->isLost()) {
        forget();
    }
    if (!connection_) {
        connection_ = DesktopConnection::open(display_, DesktopConnection::News::none);
    }
    if (connection_) {
        // Nothing is listened to, but some news is sent to everybody.
        while (owned(xcb_poll_for_event(connection_->get()))) {
        }
    }
    return connection_ != nullptr;
}

void ClientWindows::forget() {
    connection_.reset();
    manager_ = XCB_NONE;
    known_.clear();
    windows_.clear();
    active_ = XCB_NONE;
}

/// A window manager that has died leaves its name on the root window, but not the window that confirms it.
bool ClientWindows::isConfirmed(xcb_get_property_cookie_t question) const {
    return first(connection_->numbers(question)) == manager_ && manager_ != XCB_NONE;
}

ClientWindows::Desktop ClientWindows::lookForManager() {
    if (!connect()) {
        return Desktop::unreachable;
    }
    const auto named = connection_->ask(connection_->root(), DesktopName::supportingCheck, 1);
    manager_ = first(connection_->numbers(named));
    const bool isManaged =
        manager_ != XCB_NONE && isConfirmed(connection_->ask(manager_, DesktopName::supportingCheck, 1));
    return isManaged ? Desktop::managed : Desktop::unmanaged;
}

void ClientWindows::look() {
    windows_.clear();
    active_ = XCB_NONE;
    if (!connect()) {
        return;
    }
    const auto& connection = *connection_;
    const auto named = connection.ask(connection.root(), DesktopName::supportingCheck, 1);
    const auto supported = connection.ask(connection.root(), DesktopName::supported);
    const auto listed = connection.ask(connection.root(), DesktopName::clientList);
    const auto active = connection.ask(connection.root(), DesktopName::activeWindow, 1);
    auto confirmation =
        connection.ask(manager_ == XCB_NONE ? connection.root() : manager_, DesktopName::supportingCheck, 1);
    const bool asksClasses = ++looks_ % looksBetweenClasses == 0;
    std::vector<xcb_window_t> before;
    std::vector<Changing> questions;
    for (const auto& [window, known] : known_) {
        before.push_back(window);
        questions.push_back(
            askChanging(window, asksClasses || known.window.clues.windowClass == WindowClass{}));
    }
    const auto processQuestion = askProcesses(before);

    const xcb_window_t manager = first(connection.numbers(named));
    isTellingHidden_ = holds(connection.numbers(supported), connection.atom(DesktopName::stateHidden));
    const auto list = connection.numbers(listed);
    active_ = first(connection.numbers(active));
    bool isManaged = isConfirmed(confirmation) && manager == manager_;
    const auto processes = takeProcesses(processQuestion);
    std::set<xcb_window_t> current(list.begin(), list.end());
    std::vector<xcb_window_t> order;
    std::vector<xcb_window_t> unknown;
    for (std::size_t index = 0; index < before.size(); ++index) {
        // Every answer is taken, wanted or not: those that are not would be kept for ever.
        const auto known = known_.find(before[index]);
        if (!takeChanging(questions[index], processes, known->second) || !current.contains(before[index])) {
            known_.erase(known);
        }
    }
    for (const xcb_window_t window : list) {
        if (current.erase(window) > 0) { // the first time that it is listed
            order.push_back(window);
            if (!known_.contains(window)) {
                unknown.push_back(window);
            }
        }
    }
    const bool isNewManager = std::exchange(manager_, manager) != manager;
    if (isNewManager && manager != XCB_NONE) {
        confirmation = connection.ask(manager, DesktopName::supportingCheck, 1);
        readNew(unknown);
        isManaged = isConfirmed(confirmation);
    } else if (isManaged) {
        readNew(unknown);
    }
    if (isManaged) {
        settle(order);
    }
}

/// Those of one batch. The number of the process comes from the server, which knows better than the window:
/// that may tell the number inside of a container.
void ClientWindows::readNew(const std::vector<xcb_window_t>& windows) {
    if (windows.empty()) {
        return;
    }
    std::vector<std::pair<Changing, Lasting>> questions;
    questions.reserve(windows.size());
    for (const xcb_window_t window : windows) {
        questions.emplace_back(askChanging(window, true), askLasting(window));
    }
    const auto processes = takeProcesses(askProcesses(windows));
    for (std::size_t index = 0; index < windows.size(); ++index) {
        Known known;
        known.window.id = windows[index];
        known.window.reading = ++readings_;
        const auto process = processes.find(clientOf(windows[index]));
        known.serverPid = process == processes.end() ? 0 : process->second;
        static_cast<void>(takeChanging(questions[index].first, processes, known));
        takeLasting(questions[index].second, known);
        known_[windows[index]] = std::move(known);
    }
}

xcb_window_t ClientWindows::clientOf(xcb_window_t window) const {
    return connection_ ? window & ~xcb_get_setup(connection_->get())->resource_id_mask : window;
}

std::optional<xcb_res_query_client_ids_cookie_t>
ClientWindows::askProcesses(const std::vector<xcb_window_t>& windows) const {
    if (!connection_->hasProcesses() || windows.empty()) {
        return std::nullopt;
    }
    std::set<xcb_window_t> clients;
    for (const xcb_window_t window : windows) {
        clients.insert(clientOf(window));
    }
    std::vector<xcb_res_client_id_spec_t> wanted;
    for (const xcb_window_t client : clients) {
        wanted.push_back({client, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID});
    }
    return xcb_res_query_client_ids(connection_->get(), static_cast<std::uint32_t>(wanted.size()),
                                    wanted.data());
}

ClientWindows::Processes
ClientWindows::takeProcesses(const std::optional<xcb_res_query_client_ids_cookie_t>& question) const {
    Processes processes;
    const auto reply =
        owned(question ? xcb_res_query_client_ids_reply(connection_->get(), *question, nullptr) : nullptr);
    if (reply) {
        auto ids = xcb_res_query_client_ids_ids_iterator(reply.get());
        for (; ids.rem > 0; xcb_res_client_id_value_next(&ids)) {
            if (xcb_res_client_id_value_value_length(ids.data) > 0) {
                processes[ids.data->spec.client] = *xcb_res_client_id_value_value(ids.data);
            }
        }
    }
    return processes;
}

ClientWindows::Changing ClientWindows::askChanging(xcb_window_t window, bool wantsClass) const {
    Changing questions{.managed = connection_->ask(window, DesktopName::managedState, 1),
                       .states = connection_->ask(window, DesktopName::windowState),
                       .windowClass = {}};
    if (wantsClass) {
        questions.windowClass = connection_->ask(window, XCB_ATOM_WM_CLASS);
    }
    return questions;
}

ClientWindows::Lasting ClientWindows::askLasting(xcb_window_t window) const {
    return {.type = connection_->ask(window, DesktopName::windowType),
            .transientFor = connection_->ask(window, XCB_ATOM_WM_TRANSIENT_FOR, 1),
            .gtkApplication = connection_->ask(window, DesktopName::gtkApplication),
            .leader = connection_->ask(window, DesktopName::clientLeader, 1),
            .machine = connection_->ask(window, XCB_ATOM_WM_CLIENT_MACHINE),
            .pid = connection_->ask(window, DesktopName::windowPid, 1)};
}

/// Numbers of windows are used again: another class, or another process, is another window.
bool ClientWindows::takeChanging(const Changing& questions, const Processes& processes, Known& known) const {
    const auto managed = connection_->numbers(questions.managed);
    const auto states = connection_->numbers(questions.states);
    const bool isHidden = holds(states, connection_->atom(DesktopName::stateHidden));
    ClientWindow& window = known.window;
    // Some managers call a window of another desktop iconic, too.
    window.isShown = !isHidden && (managed.empty() || managed.front() == normalState);
    window.isIconic = isTellingHidden_ ? isHidden : first(managed) == iconicState;
    known.isTaskless = holds(states, connection_->atom(DesktopName::stateSkipsTaskbar));
    const auto process = processes.find(clientOf(window.id));
    const std::int64_t pid = process == processes.end() ? 0 : process->second;
    bool isSame = pid == known.serverPid;
    if (questions.windowClass) {
        auto windowClass = Linux::windowClass(connection_->text(*questions.windowClass).bytes);
        isSame = isSame && windowClass == window.clues.windowClass;
        window.clues.windowClass = std::move(windowClass);
    }
    return isSame;
}

void ClientWindows::takeLasting(const Lasting& questions, Known& known) {
    const auto types = connection_->numbers(questions.type);
    const auto isOneOf = [&](std::uint32_t type, const auto& names) {
        return std::ranges::any_of(names, [&](DesktopName name) { return connection_->atom(name) == type; });
    };
    const auto told = std::ranges::find_if(types, [&](std::uint32_t type) { // the first that is understood
        return isOneOf(type, leftAlone) || isOneOf(type, usual);
    });
    known.isTypeOther = told != types.end() && isOneOf(*told, leftAlone);
    known.isTypeDialog = told != types.end() && *told == connection_->atom(DesktopName::windowTypeDialog);
    known.transientFor = first(connection_->numbers(questions.transientFor));
    known.leader = first(connection_->numbers(questions.leader));
    ClientWindow& window = known.window;
    window.clues.gtkApplication = connection_->text(questions.gtkApplication).bytes;
    const bool isHere = isOnThisMachine(connection_->text(questions.machine).bytes);
    const std::int64_t announced = first(connection_->numbers(questions.pid));
    if (isHere) {
        window.pid = known.serverPid != 0 ? known.serverPid : announced;
        window.clues.isOurs = window.pid == ::getpid();
        window.clues.process = processFacts(window.pid);
    }
}

/// None where it has none among the windows that are listed. A dialog of all windows of a program belongs to
/// its leader.
xcb_window_t ClientWindows::parentOf(const Known& known) const {
    const auto isParent = [&](xcb_window_t window) {
        return window != known.window.id && known_.contains(window);
    };
    if (isParent(known.transientFor)) {
        return known.transientFor;
    }
    const bool isDialog = known.transientFor != XCB_NONE || known.isTypeDialog;
    return isDialog && isParent(known.leader) ? known.leader : xcb_window_t{XCB_NONE};
}

void ClientWindows::settle(const std::vector<xcb_window_t>& order) {
    std::map<std::uint32_t, std::uint32_t> parents;
    for (const auto& [window, known] : known_) {
        if (const xcb_window_t parent = parentOf(known); parent != XCB_NONE) {
            parents[window] = parent;
        }
    }
    for (const xcb_window_t id : order) {
        const Known& known = known_.at(id);
        ClientWindow window = known.window;
        window.main = mainWindow(id, parents);
        const bool isDialog = known.isTypeDialog || parents.contains(id);
        if (known.isTypeOther || (known.isTaskless && !isDialog)) {
            window.kind = ClientWindow::Kind::other;
        } else if (known.isTaskless || parents.contains(id)) {
            window.kind = ClientWindow::Kind::dialog;
        }
        windows_.push_back(std::move(window));
    }
}

void ClientWindows::iconify(const std::vector<xcb_window_t>& windows) const {
    if (!connection_) {
        return;
    }
    for (const xcb_window_t window : windows) {
        connection_->send(window, DesktopName::changeState, {iconicState});
    }
    connection_->flush();
}

unsigned int ClientWindows::requestsForTesting() const {
    return connection_ ? xcb_no_operation(connection_->get()).sequence : 0;
}

} // namespace Linux
