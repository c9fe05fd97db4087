#include "Platforms/Linux/Clipboard/X11Pasteboard.hpp"

#include "Platforms/Linux/Clipboard/OfferedContent.hpp"
#include "Platforms/Linux/Clipboard/SelectionConnection.hpp"
#include "Platforms/Linux/Clipboard/SelectionExchange.hpp"
#include "Platforms/Linux/Clipboard/SelectionWorker.hpp"
#include "Platforms/Linux/WithoutSignals.hpp"
#include "ZorbelKit/Lifetime.hpp"

#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

namespace Linux {

namespace {

constexpr auto reconnectionPause = std::chrono::milliseconds(100);

} // namespace

class X11Pasteboard::Link {
public:
    Link(const char* display, const Limits& limits)
        : display_(display ? std::optional<std::string>(display) : std::nullopt)
        , limits_{.reading = {.stalledOwner = limits.stalledOwner, .longestText = limits.longestText},
                  .stalledReader = limits.stalledReader,
                  .handover = limits.handover} {}
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;
    ~Link();

    ZorbelKit::Token watch();
    void write(const OfferedContent& content);

    std::shared_ptr<const SelectionExchange::Snapshot> snapshot() const { return exchange_.snapshot(); }
    bool isReachable();

private:
    void unwatch();
    void serve();
    void work(std::unique_ptr<SelectionConnection> connection); // on the thread

    const std::optional<std::string> display_;
    const SelectionWorker::Limits limits_;
    SelectionExchange exchange_;
    std::thread thread_; // joined when the next one starts, if not at the end: it needs nobody to stop
    int watchers_ = 0;
    std::optional<bool> isReachable_;
    ZorbelKit::Lifetime lifetime_;
};

X11Pasteboard::Link::~Link() {
    exchange_.setEnding();
    if (thread_.joinable()) {
        thread_.join();
    }
}

ZorbelKit::Token X11Pasteboard::Link::watch() {
    if (++watchers_ == 1) {
        exchange_.beginWatching();
    }
    serve();
    return ZorbelKit::Token(lifetime_.guard([this] { unwatch(); }));
}

void X11Pasteboard::Link::unwatch() {
    if (--watchers_ == 0) {
        exchange_.endWatching();
    }
}

void X11Pasteboard::Link::write(const OfferedContent& content) {
    exchange_.write(content);
    serve();
}

/// The connection is made here, so that no change after the return is missed; only the X server is waited
/// for.
void X11Pasteboard::Link::serve() {
    if (exchange_.isServed()) {
        return;
    }
    if (thread_.joinable()) {
        thread_.join(); // it is done but for saying so
    }
    auto connection = SelectionConnection::open(display_);
    isReachable_ = connection != nullptr;
    if (!connection) {
        exchange_.giveUpServing();
        return;
    }
    exchange_.setServed();
    const WithoutSignals blocked;
    try {
        thread_ = std::thread(
            [this, connection = std::move(connection)]() mutable { work(std::move(connection)); });
    } catch (const std::system_error&) { // the system has no thread left
        exchange_.giveUpServing();
    }
}

/// Any program can take our connection, or a window of it, from us. It is made again then, though not as
/// quickly as it could be taken; only without an X server it is over.
void X11Pasteboard::Link::work(std::unique_ptr<SelectionConnection> connection) {
    while (connection) {
        SelectionWorker worker(std::move(connection), limits_, exchange_);
        if (worker.run()) {
            return;
        }
        std::this_thread::sleep_for(reconnectionPause);
        connection = SelectionConnection::open(display_);
        const auto content = worker.content();
        if (content && connection && connection->owner(SelectionName::clipboard) == XCB_WINDOW_NONE) {
            exchange_.writeAgain(*content);
        }
    }
    exchange_.giveUpServing();
}

bool X11Pasteboard::Link::isReachable() {
    if (!isReachable_) {
        isReachable_ = SelectionConnection::open(display_) != nullptr;
    }
    return *isReachable_;
}

X11Pasteboard::X11Pasteboard(const char* display)
    : X11Pasteboard(display, Limits{}) {
}

X11Pasteboard::X11Pasteboard(const char* display, const Limits& limits)
    : link_(std::make_unique<Link>(display, limits)) {
}

X11Pasteboard::~X11Pasteboard() = default;

ZorbelKit::Token X11Pasteboard::watch() {
    return link_->watch();
}

std::int64_t X11Pasteboard::changeCount() const {
    return link_->snapshot()->changeCount;
}

std::vector<ZorbelKit::PasteboardUrl> X11Pasteboard::urls() const {
    return link_->snapshot()->content.urls;
}

std::optional<ZorbelKit::SharedText> X11Pasteboard::string() const {
    return link_->snapshot()->content.text;
}

bool X11Pasteboard::hasPicture(ZorbelKit::PictureType type) const {
    const auto snapshot = link_->snapshot();
    return type == ZorbelKit::PictureType::tiff ? snapshot->content.hasTiff : snapshot->content.hasPng;
}

void X11Pasteboard::setString(const ZorbelKit::SharedText& text) {
    link_->write({OfferedContent::Kind::text, text});
}

void X11Pasteboard::setPicture(const ZorbelKit::Picture& picture) {
    if (!picture.isEmpty()) {
        link_->write({OfferedContent::Kind::png, picture.png()});
    }
}

std::string X11Pasteboard::watchingHint() const {
    if (!link_->isReachable()) {
        return "The clipboard of this desktop cannot be watched.";
    }
    const char* wayland = std::getenv("WAYLAND_DISPLAY");
    return wayland && *wayland ? "On Wayland only what programs running under X11 copy can be seen." : "";
}

} // namespace Linux
