#include "Tests/Desktop/Reader.hpp"

#include <stdexcept>
#include <utility>

namespace Desktop {

namespace {

constexpr int callPatience = 2000;   // milliseconds
constexpr int startPatience = 10000; // milliseconds, for a program that has just started

std::string text(gchar* taken) {
    const std::unique_ptr<gchar, decltype(&g_free)> owned(taken, &g_free);
    return owned ? owned.get() : "";
}

} // namespace

// Every question may fail: on a live desktop a widget can go between two of them. It then reads as nothing.

Node::Node(AtspiAccessible* taken)
    : node_(taken, Unreference()) {
}

std::string Node::name() const {
    return text(atspi_accessible_get_name(node_.get(), nullptr));
}

std::string Node::description() const {
    return text(atspi_accessible_get_description(node_.get(), nullptr));
}

AtspiRole Node::role() const {
    return atspi_accessible_get_role(node_.get(), nullptr);
}

std::string Node::roleName() const {
    return text(atspi_accessible_get_role_name(node_.get(), nullptr));
}

bool Node::is(AtspiStateType state) const {
    AtspiStateSet* states = atspi_accessible_get_state_set(node_.get());
    const bool result = states && atspi_state_set_contains(states, state);
    g_clear_object(&states);
    return result;
}

QRect Node::frame() const {
    AtspiComponent* component = atspi_accessible_get_component_iface(node_.get());
    if (!component) {
        return {};
    }
    QRect result;
    if (AtspiRect* place = atspi_component_get_extents(component, ATSPI_COORD_TYPE_SCREEN, nullptr)) {
        result = QRect(place->x, place->y, place->width, place->height);
        g_free(place);
    }
    g_object_unref(component);
    return result;
}

std::optional<Node> Node::parent() const {
    AtspiAccessible* parent = atspi_accessible_get_parent(node_.get(), nullptr);
    return parent ? std::optional(Node(parent)) : std::nullopt;
}

std::vector<Node> Node::children() const {
    std::vector<Node> result;
    const int count = atspi_accessible_get_child_count(node_.get(), nullptr);
    for (int index = 0; index < count; ++index) {
        if (AtspiAccessible* child = atspi_accessible_get_child_at_index(node_.get(), index, nullptr)) {
            result.emplace_back(child);
        }
    }
    return result;
}

bool Node::press() const {
    AtspiAction* action = atspi_accessible_get_action_iface(node_.get());
    if (!action) {
        return false;
    }
    const bool isDone = atspi_action_do_action(action, 0, nullptr) != 0;
    g_object_unref(action);
    return isDone;
}

void Node::walk(const std::function<bool(const Node&)>& visit) const {
    if (!visit(*this)) {
        return;
    }
    for (const Node& child : children()) {
        child.walk(visit);
    }
}

std::optional<Node> Node::find(const std::string& name, std::optional<AtspiRole> role) const {
    std::optional<Node> found;
    walk([&](const Node& node) {
        if (!found && (name.empty() || node.name() == name) && (!role || node.role() == *role)) {
            found = node;
        }
        return !found;
    });
    return found;
}

std::vector<Node> Node::all(AtspiRole role) const {
    std::vector<Node> found;
    walk([&](const Node& node) {
        if (node.role() == role) {
            found.push_back(node);
        }
        return true;
    });
    return found;
}

std::vector<std::string> Node::names() const {
    std::vector<std::string> result;
    walk([&](const Node& node) {
        result.push_back(node.name());
        return true;
    });
    return result;
}

Reader::Reader() {
    if (atspi_init() > 1) {
        throw std::runtime_error("no accessibility bus");
    }
    atspi_set_timeout(callPatience, startPatience);
    // What was read a moment ago says nothing about now.
    AtspiAccessible* desktop = atspi_get_desktop(0);
    atspi_accessible_set_cache_mask(desktop, ATSPI_CACHE_NONE);
    g_object_unref(desktop);
    listener_ = atspi_event_listener_new(focused, this, nullptr);
    atspi_event_listener_register(listener_, "object:state-changed:focused", nullptr);
}

Reader::~Reader() {
    atspi_event_listener_deregister(listener_, "object:state-changed:focused", nullptr);
    g_object_unref(listener_);
}

void Reader::focused(AtspiEvent* event, void* reader) {
    if (event->source && event->detail1 != 0) {
        Node node(ATSPI_ACCESSIBLE(g_object_ref(event->source)));
        for (auto above = node.parent(); above && above->role() != ATSPI_ROLE_APPLICATION;
             above = node.parent()) {
            node = *above;
        }
        static_cast<Reader*>(reader)->focusedWindow_ = node;
    }
    g_boxed_free(ATSPI_TYPE_EVENT, event);
}

std::vector<Node> Reader::windows() const {
    std::vector<Node> result;
    AtspiAccessible* root = atspi_get_desktop(0);
    for (const Node& application : Node(root).children()) {
        if (application.name() == "zorbel") {
            for (const Node& window : application.children()) {
                result.push_back(window);
            }
        }
    }
    if (focusedWindow_) {
        result.push_back(*focusedWindow_);
    }
    return result;
}

std::optional<Node> Reader::pane(const std::string& name) const {
    for (const Node& window : windows()) {
        if (const auto found = window.find(name); found && found->is(ATSPI_STATE_SHOWING)) {
            return found;
        }
    }
    return std::nullopt;
}

} // namespace Desktop
