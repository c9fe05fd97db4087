#pragma once

#include "Fotrel/Capture.hpp"
#include "Fotrel/CaptureTool.hpp"
#include "Fotrel/TextRecogniser.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Lifetime.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Fotrel {

/// Takes pictures of the screen with another program, keeps the last twenty and reads the words in them.
/// Nothing is stored but what the user saves. Main thread only.
class FotrelSpice : public ZorbelKit::Spice {
public:
    static constexpr std::size_t mostCaptures = 20;

    /// What it asks of the system.
    struct Services {
        ZorbelKit::MainLoop& loop;
        const ZorbelKit::Clock& clock;
        ZorbelKit::Processes& processes;
        ZorbelKit::Pasteboard& pasteboard;
        ZorbelKit::SavePanel& savePanel;
        ZorbelKit::Panels& panels;
        const ZorbelKit::Language& language; // for the names of files
        TextRecogniser& recogniser;
        std::shared_ptr<const ZorbelKit::Pictures> pictures; // used off the main thread too
        CaptureTool tool;
    };

    explicit FotrelSpice(Services services);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    // Each press starts a capture of its own, also while another one runs.
    void captureRegion();
    void captureWindow();
    void captureScreen();

    /// Adds a picture that came from elsewhere, as if it had just been taken.
    void load(const ZorbelKit::Picture& image);

    void copyImage(const Capture& capture);
    void copyText(const Capture& capture); // nothing where there is none
    void save(const Capture& capture);     // where the user says, as a PNG
    void forget(const Capture& capture);

    const std::vector<Capture>& captures() const { return captures_.get(); } // newest first

    /// Why the last capture that could not be started was not; none until one was not, and after `rest`.
    const std::optional<std::string>& lastError() const { return lastError_.get(); }

private:
    void run(const std::vector<std::string>& arguments);
    void start(std::vector<std::string> arguments);
    void add(const ZorbelKit::Picture& image);
    void readText(const ZorbelKit::Uuid& id, const ZorbelKit::Picture& image);
    void finish(const ZorbelKit::Uuid& id, std::optional<std::string> text);
    void compact(const ZorbelKit::Uuid& id, const ZorbelKit::Picture& image);
    void change(const ZorbelKit::Uuid& id, const std::function<void(Capture&)>& change);

    Services services_;
    ZorbelKit::Published<std::vector<Capture>> captures_{*this};
    ZorbelKit::Published<std::optional<std::string>> lastError_{*this};
    bool hasWarmed_ = false;
    ZorbelKit::Token warmth_;
    ZorbelKit::Lifetime lifetime_;
};

} // namespace Fotrel
