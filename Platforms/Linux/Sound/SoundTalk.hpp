#pragma once

namespace Linux {

class SoundExchange;

/// The talk with a sound server: all that its thread does.
namespace SoundTalk {

/// Until nobody has asked for some time, or the program quits. Connects again and again meanwhile.
void hold(SoundExchange& exchange);

} // namespace SoundTalk

} // namespace Linux
