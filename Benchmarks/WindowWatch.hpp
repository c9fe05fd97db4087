#pragma once

#include "Benchmarks/Measure.hpp"
#include "Benchmarks/WindowHand.hpp"

#include <atomic>
#include <mutex>
#include <optional>
#include <thread>

namespace Bench {

/// Looks at a window whenever the X server tells of a change of its place, and notes when it was seen where
/// it is wanted. In a thread and over a connection of its own, so that whoever moves it need not.
class WindowWatch {
public:
    explicit WindowWatch(xcb_window_t window);
    WindowWatch(const WindowWatch&) = delete;
    WindowWatch& operator=(const WindowWatch&) = delete;
    ~WindowWatch();

    /// Where the window is to be seen next. Before it is asked to go there.
    void expect(const PixelPlace& wanted);

    /// When the server reported it there; none until then.
    std::optional<Nanoseconds> reached() const;

private:
    void listen();
    void run();
    bool takeEvents();
    void look();

    const XClient client_ = connectToDisplay();
    const xcb_window_t window_;
    const int stop_; // readable once this object goes
    std::mutex mutex_;
    PixelPlace wanted_;
    std::atomic<Nanoseconds> reached_ = 0;
    std::thread thread_;
};

} // namespace Bench
