#pragma once

#include <QRect>
#include <atspi/atspi.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Desktop {

/// One thing a screen reader can tell of: a window, a button, a label.
class Node {
public:
    explicit Node(AtspiAccessible* taken); // takes over the reference

    std::string name() const;
    std::string description() const;
    AtspiRole role() const;
    std::string roleName() const;
    bool is(AtspiStateType state) const;
    QRect frame() const; // on the screen, y downwards; empty where it has none

    std::optional<Node> parent() const;
    std::vector<Node> children() const;

    /// Presses a button, toggles a switch. False where there is nothing to press.
    bool press() const;

    /// This node and everything below it, parents first. `visit` says whether to go on below the node.
    void walk(const std::function<bool(const Node&)>& visit) const;

    /// The first at or below this node, in reading order; empty `name` or no `role` match all.
    std::optional<Node> find(const std::string& name, std::optional<AtspiRole> role = std::nullopt) const;
    std::vector<Node> all(AtspiRole role) const;

    /// Every name at or below this node.
    std::vector<std::string> names() const;

private:
    struct Unreference {
        void operator()(AtspiAccessible* node) const { g_object_unref(node); }
    };
    std::shared_ptr<AtspiAccessible> node_;
};

/// Reads Zorbel's windows as a screen reader does: walking from the application, and following the focus into
/// windows that an application does not list. One in a process.
class Reader {
public:
    Reader();
    Reader(const Reader&) = delete;
    Reader& operator=(const Reader&) = delete;
    ~Reader();

    /// The pane with this name in any window of Zorbel that can be seen; none while there is no such.
    std::optional<Node> pane(const std::string& name) const;

    /// The bar, the windows and whatever has the focus.
    std::vector<Node> windows() const;

private:
    static void focused(AtspiEvent* event, void* reader);

    AtspiEventListener* listener_ = nullptr;
    std::optional<Node> focusedWindow_;
};

} // namespace Desktop
