#pragma once

#include "Benchmarks/Measure.hpp"

#include <xcb/damage.h>
#include <xcb/xcb.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace Bench {

/// Device pixels from the top left corner of the screen.
struct Point {
    int x = 0;
    int y = 0;
};

/// A rectangle read back from the screen; one 0xRRGGBB a pixel, row by row.
struct Picture {
    int width = 0;
    std::vector<std::uint32_t> pixels;
};

/// The screen as somebody in front of it has it: sees every drawing, reads pixels, clicks. A client of the X
/// server that is told of each drawing operation on the screen by the DAMAGE extension, in whatever window it
/// happens.
class Screen {
public:
    Screen();
    ~Screen();

    /// Drawing operations on the screen since the last call.
    int drawings();
    /// Of those, the ones that came together count as one: what the eye takes for a frame.
    int frames();

    /// Waits until something was drawn, one of these descriptors has something to say, or so many
    /// milliseconds have passed.
    void wait(const std::vector<int>& descriptors, int milliseconds);

    /// How many pixels of the uppermost rows have this colour.
    int countOnTop(std::uint32_t colour);

    Point size() const;

    /// Where zorbel's glass lies on zorbel's own bar, once it is drawn there: the middle of it.
    std::optional<Point> glass();
    /// When the glass was first seen. Fails when it does not come for ten seconds.
    Nanoseconds glassDrawn();

    void moveTo(Point place);
    void press();
    /// When the button of the mouse was let go.
    Nanoseconds release();

    /// When zorbel's panel was seen in full: its window is there and the brass button of its footer is drawn.
    /// A frame reaches the screen from top to bottom, so that the footer comes last. Fails when it does not
    /// for ten seconds.
    Nanoseconds panelDrawn();
    void panelGone();

private:
    bool isFooterDrawn();
    Picture read(int x, int y, int width, int height);
    /// Takes in what happens on the screen until `isDone`, which is asked again after each thing that did.
    void waitUntil(const char* what, const std::function<bool()>& isDone);
    void takeIn(const xcb_generic_event_t& event);
    void fakeInput(std::uint8_t type, std::uint8_t detail, Point place = {});

    struct Closer {
        void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
    };
    std::unique_ptr<xcb_connection_t, Closer> connection_;
    const xcb_screen_t* screen_ = nullptr;
    std::uint8_t firstDamageEvent_ = 0;
    int drawings_ = 0;
    int frames_ = 0;
    xcb_timestamp_t lastDrawing_ = 0; // milliseconds of the server's clock

    xcb_window_t panel_ = 0; // none while it is not mapped
    struct {
        int x = 0;
        int y = 0;
        int width = 0;
        int height = 0;
    } panelPlace_; // where it is, or was
};

} // namespace Bench
