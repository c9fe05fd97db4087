#pragma once

#include "ZorbelKit/Host/MainLoop.hpp"
#include "ZorbelKit/Picture.hpp"
#include "ZorbelKit/Token.hpp"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Fotrel {

/// Reads the words in a picture. Main thread only; the work is done elsewhere, one picture at a time, more
/// urgent ones first.
class TextRecogniser {
public:
    /// The best reading of each line, UTF-8, in reading order; none where reading failed.
    using Lines = std::optional<std::vector<std::string>>;

    virtual ~TextRecogniser() = default;

    /// `done` is called from another thread.
    virtual void recognise(const ZorbelKit::Picture& picture, ZorbelKit::Priority priority,
                           std::function<void(Lines lines)> done) = 0;

    /// Keeps at hand what the first reading had to load, until the token goes and some time has passed.
    virtual ZorbelKit::Token keepWarm() = 0;
};

} // namespace Fotrel
