#pragma once

#include "ZorbelKit/Host/Pasteboard.hpp"
#include "ZorbelKit/Time.hpp"

#include <cstddef>
#include <memory>

namespace Linux {

/// The CLIPBOARD selection of an X server. All talk with other programs happens on a thread and an X
/// connection of its own, which exist only while somebody watches or something of ours is there to be pasted;
/// this object hands finished things over to it and back, and never waits.
///
/// Counted as a change: a new owner, once its content has arrived or is known not to be for us; an owner that
/// gives the selection up on purpose; our own write, at once. Not counted: an owner that ends, an owner that
/// does not answer, and the PRIMARY selection, which is not even looked at.
class X11Pasteboard : public ZorbelKit::Pasteboard {
public:
    struct Limits {
        ZorbelKit::Seconds stalledOwner{5};   // without a further piece of a text that comes in pieces
        ZorbelKit::Seconds stalledReader{10}; // without fetching the next piece from us
        ZorbelKit::Seconds handover{1};       // for a clipboard manager to take over what is ours at the end
        std::size_t longestText = std::size_t{256} << 20; // bytes; a longer one reads as nothing
    };

    /// `display`: the X display, null for the environment's. Where it cannot be reached nothing is ever seen.
    explicit X11Pasteboard(const char* display = nullptr);
    X11Pasteboard(const char* display, const Limits& limits);
    X11Pasteboard(const X11Pasteboard&) = delete;
    X11Pasteboard& operator=(const X11Pasteboard&) = delete;
    ~X11Pasteboard() override; // hands what is ours over to the clipboard manager, where there is one

    ZorbelKit::Token watch() override;
    std::int64_t changeCount() const override;
    std::vector<ZorbelKit::PasteboardUrl> urls() const override;
    std::optional<ZorbelKit::SharedText> string() const override;
    bool hasPicture(ZorbelKit::PictureType type) const override;
    void setString(const ZorbelKit::SharedText& text) override;
    void setPicture(const ZorbelKit::Picture& picture) override;
    std::string watchingHint() const override;

private:
    class Link;
    std::unique_ptr<Link> link_;
};

} // namespace Linux
