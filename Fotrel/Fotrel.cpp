#include "Fotrel/Fotrel.hpp"

#include "Fotrel/FotrelTexts.hpp"
#include "ZorbelKit/Host/Clock.hpp"
#include "ZorbelKit/Host/Language.hpp"
#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Host/Panels.hpp"
#include "ZorbelKit/Host/Pasteboard.hpp"
#include "ZorbelKit/Host/Pictures.hpp"
#include "ZorbelKit/Host/Processes.hpp"
#include "ZorbelKit/Host/SavePanel.hpp"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace Fotrel {

using namespace ZorbelKit;

namespace {

constexpr int warmUpSide = 32; // pixels; reading a blank picture only brings in all that reading takes

} // namespace

FotrelSpice::FotrelSpice(Services services)
    : Spice({.id = "fotrel",
             .name = "Fotrel",
             .role = "Screenshot & OCR",
             .summary = "Captures the screen, then lifts the text back out of it.",
             .reason =
                 "Named for the chilli held up to the light: one sharp look, and everything in it comes out.",
             .wave = Wave::nextBatch})
    , services_(std::move(services)) {
}

void FotrelSpice::steep() {
    if (!warmth_) {
        warmth_ = services_.recogniser.keepWarm();
    }
    if (!std::exchange(hasWarmed_, true)) {
        services_.recogniser.recognise(services_.pictures->blank(warmUpSide, warmUpSide), Priority::utility,
                                       [](const auto&) {});
    }
}

void FotrelSpice::rest() {
    warmth_.reset();
    captures_.set({});
    lastError_.set({});
}

void FotrelSpice::captureRegion() {
    run(services_.tool.region);
}

void FotrelSpice::captureWindow() {
    run(services_.tool.window);
}

void FotrelSpice::captureScreen() {
    run(services_.tool.screen);
}

/// What is pressed to take a picture is not in it.
void FotrelSpice::run(const std::vector<std::string>& arguments) {
    services_.panels.putAway(lifetime_.guard([this, arguments] { start(arguments); }));
}

/// The picture is read on the thread that hears of the tool's end: a large one takes its time.
void FotrelSpice::start(std::vector<std::string> arguments) {
    const auto file = services_.pictures->temporaryFile("zorbel-" + Uuid::make().text() + ".png");
    arguments.push_back(file.string());
    auto take = lifetime_.guard([this](const Picture& image) { add(image); });
    const std::shared_ptr<ExpectedPicture> expected = services_.pictures->expect(file);
    auto ended = [pictures = services_.pictures, expected, &loop = services_.loop, file,
                  take = std::move(take)](int status) {
        const auto image = status == 0 ? expected->read() : std::nullopt;
        pictures->remove(file);
        if (image) {
            loop.post([take, image = *image]() mutable { take(image); });
        }
    };
    const auto refusal = services_.processes.start(services_.tool.executable, arguments, std::move(ended));
    if (refusal) {
        services_.pictures->remove(file);
        lastError_.set(errorText(*refusal));
    }
}

void FotrelSpice::load(const Picture& image) {
    add(image);
}

void FotrelSpice::add(const Picture& image) {
    const Capture capture{.image = image, .takenAt = services_.clock.now(), .isReading = true};
    captures_.edit([&](std::vector<Capture>& captures) {
        captures.insert(captures.begin(), capture);
        captures.resize(std::min(captures.size(), mostCaptures));
    });
    readText(capture.id, image);
    compact(capture.id, image);
}

void FotrelSpice::readText(const Uuid& id, const Picture& image) {
    if (image.isEmpty()) {
        finish(id, std::nullopt);
        return;
    }
    auto done = lifetime_.guard([this, id](const TextRecogniser::Lines& lines) {
        finish(id, lines && !lines->empty() ? std::optional(joined(*lines)) : std::nullopt);
    });
    services_.recogniser.recognise(image, Priority::userInitiated,
                                   [&loop = services_.loop, done = std::move(done)](auto lines) {
                                       loop.post([done, lines = std::move(lines)]() mutable { done(lines); });
                                   });
}

void FotrelSpice::finish(const Uuid& id, std::optional<std::string> text) {
    change(id, [&](Capture& capture) {
        capture.text = std::move(text);
        capture.isReading = false;
    });
}

/// The tool is asked for a file that is quickly written, not for a small one. Twenty of those would be too
/// much to keep.
void FotrelSpice::compact(const Uuid& id, const Picture& image) {
    if (image.isEmpty() || image.isCompact()) {
        return;
    }
    auto done = lifetime_.guard([this, id](const Picture& compacted) {
        change(id, [&](Capture& capture) { capture.image = compacted; });
    });
    services_.loop.background(Priority::utility, [pictures = services_.pictures, &loop = services_.loop,
                                                  image, done = std::move(done)] {
        loop.post([done, compacted = pictures->compacted(image)]() mutable { done(compacted); });
    });
}

/// Nothing where it is gone: forgotten, pushed out, or the list was emptied.
void FotrelSpice::change(const Uuid& id, const std::function<void(Capture&)>& change) {
    const auto found = std::ranges::find(captures(), id, &Capture::id);
    if (found != captures().end()) {
        const auto index = found - captures().begin();
        captures_.edit(
            [&](std::vector<Capture>& captures) { change(captures[static_cast<std::size_t>(index)]); });
    }
}

void FotrelSpice::copyImage(const Capture& capture) {
    services_.pasteboard.setPicture(capture.image);
}

void FotrelSpice::copyText(const Capture& capture) {
    if (capture.text) {
        services_.pasteboard.setString(*capture.text);
    }
}

void FotrelSpice::save(const Capture& capture) {
    services_.savePanel.open(saveName(services_.language.dateAndTime(capture.takenAt)),
                             [pictures = services_.pictures, &loop = services_.loop,
                              image = capture.image](const std::filesystem::path& file) {
                                 loop.background(Priority::userInitiated, [=] {
                                     static_cast<void>(pictures->write(pictures->compacted(image), file));
                                 });
                             });
}

void FotrelSpice::forget(const Capture& capture) {
    captures_.edit([&](std::vector<Capture>& captures) {
        std::erase_if(captures, [&](const Capture& other) { return other.id == capture.id; });
    });
}

} // namespace Fotrel
