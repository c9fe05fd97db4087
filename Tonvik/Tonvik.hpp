#pragma once

#include "Tonvik/Audio.hpp"
#include "ZorbelKit/Forward.hpp"
#include "ZorbelKit/Spice.hpp"
#include "ZorbelKit/Time.hpp"
#include "ZorbelKit/Token.hpp"

#include <cstdint>
#include <optional>
#include <vector>

namespace Tonvik {

/// Shows where sound goes and comes from, and changes it. Looks every two seconds while it is on. Nothing is
/// stored. Main thread only.
class TonvikSpice : public ZorbelKit::Spice {
public:
    static constexpr ZorbelKit::Seconds refreshInterval{2.0};

    TonvikSpice(ZorbelKit::MainLoop& loop, AudioHardware& hardware);

    void steep() override;
    void rest() override;
    ZorbelKit::AnyView dashboard() override;
    ZorbelKit::AnyView menuSection() override;

    const std::vector<AudioDevice>& outputs() const { return outputs_.get(); } // in the hardware's order
    const std::vector<AudioDevice>& inputs() const { return inputs_.get(); }
    const std::optional<float>& volume() const { return volume_.get(); } // none: no level of its own
    bool muted() const { return muted_.get(); }

    /// The default output; null where there is none.
    const AudioDevice* currentOutput() const;

    void refresh();
    void use(const AudioDevice& device); // makes it the default of its direction

    /// Of the current output. What is stored is the level as given, until the next look.
    void setVolume(float level);
    void toggleMute();

private:
    ZorbelKit::MainLoop& loop_;
    Audio audio_;
    ZorbelKit::Published<std::vector<AudioDevice>> outputs_{*this};
    ZorbelKit::Published<std::vector<AudioDevice>> inputs_{*this};
    ZorbelKit::Published<std::optional<float>> volume_{*this};
    ZorbelKit::Published<bool> muted_{*this, false};
    std::uint64_t looks_ = 0; // also counts the times it was turned off
    ZorbelKit::Token timer_;
};

} // namespace Tonvik
